#include "platform/linux/QtProcessRunner.h"

#include "base/Log.h"
#include "platform/linux/ChildProcess.h"

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
    const std::unique_ptr<ChildProcess, KillAndDelete> process(new ChildProcess(program, arguments));
    const std::stop_callback killOnStop(stop, [guard = QPointer(process.get())] {
        QMetaObject::invokeMethod(guard, &QProcess::kill, Qt::QueuedConnection);
    });
    process->start();
    while (process->state() != QProcess::NotRunning)
        co_await qCoro(process.get(), &ChildProcess::ended);
    throwIfStopped(stop);
    if (process->error() == QProcess::FailedToStart)
        qCWarning(lcQuillmarsh, "A tool could not be started: %s", qUtf8Printable(program));
    co_return process->status();
}

} // namespace quillmarsh
