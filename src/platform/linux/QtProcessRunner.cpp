#include "platform/linux/QtProcessRunner.h"

#include "base/Log.h"

#include <QProcess>

#include <qcoro/qcorosignal.h>

namespace quillmarsh {

namespace {

struct KillAndDelete
{
    void operator()(QProcess* process) const
    {
        process->kill();
        process->deleteLater();
    }
};

} // namespace

Task<int> QtProcessRunner::run(QString program, QStringList arguments, std::stop_token stop)
{
    throwIfStopped(stop);
    const std::unique_ptr<QProcess, KillAndDelete> process(new QProcess);
    process->setProgram(program);
    process->setArguments(arguments);
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setStandardErrorFile(QProcess::nullDevice());
    const std::stop_callback killOnStop(stop, [guard = QPointer(process.get())] {
        QMetaObject::invokeMethod(guard, &QProcess::kill, Qt::QueuedConnection);
    });
    process->start();
    while (process->state() != QProcess::NotRunning)
        co_await qCoro(process.get(), &QProcess::stateChanged);
    throwIfStopped(stop);
    if (process->error() == QProcess::FailedToStart) {
        qCWarning(lcQuillmarsh, "A tool could not be started: %s", qUtf8Printable(program));
        co_return -1;
    }
    co_return process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
}

} // namespace quillmarsh
