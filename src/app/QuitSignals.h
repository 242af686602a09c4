#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace quillmarsh {

/// Turns SIGTERM, SIGINT and SIGHUP into an orderly end: clipboard handed over, keys given back. Without a
/// pipe to wake the event loop with, they end the process at once, as they do by themselves.
class QuitSignals final : public QObject
{
    Q_OBJECT

public:
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;

signals:
    void quitRequested();

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace quillmarsh
