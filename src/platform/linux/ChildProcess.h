#pragma once

#include <QProcess>

namespace quillmarsh {

/// A tool without input and with its output discarded, started from an argument list and never through a
/// shell.
class ChildProcess final : public QProcess
{
    Q_OBJECT

public:
    ChildProcess(const QString& program, const QStringList& arguments);

    /// Once it is not running any more: its exit status, -1 when it could not be started or died of a signal.
    [[nodiscard]] int status() const;

signals:
    /// It has ended, or could not be started.
    void ended();
};

} // namespace quillmarsh
