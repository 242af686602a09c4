#include "platform/linux/ChildProcess.h"

namespace quillmarsh {

ChildProcess::ChildProcess(const QString& program, const QStringList& arguments)
{
    setProgram(program);
    setArguments(arguments);
    setStandardInputFile(nullDevice());
    setStandardOutputFile(nullDevice());
    setStandardErrorFile(nullDevice());
    connect(this, &QProcess::finished, this, &ChildProcess::ended);
    connect(this, &QProcess::errorOccurred, this, [this](ProcessError error) {
        if (error == FailedToStart)
            emit ended();
    });
}

int ChildProcess::status() const
{
    return error() != FailedToStart && exitStatus() == NormalExit ? exitCode() : -1;
}

} // namespace quillmarsh
