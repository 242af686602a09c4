#pragma once

#include <QObject>
#include <QStringList>

namespace quillmarsh {

class UpdateService;

/// What the update window shows and does in each state of the updater. The window draws it.
class UpdatePrompt final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString subtitle READ subtitle NOTIFY changed)
    Q_PROPERTY(bool showsRelease READ showsRelease NOTIFY changed)
    Q_PROPERTY(QStringList notes READ notes NOTIFY changed)
    Q_PROPERTY(QString reassurance READ reassurance CONSTANT)
    Q_PROPERTY(bool showsProgress READ showsProgress NOTIFY changed)
    Q_PROPERTY(QString progress READ progress NOTIFY changed)
    Q_PROPERTY(QString continueLabel READ continueLabel CONSTANT)
    Q_PROPERTY(QString error READ error NOTIFY changed)
    Q_PROPERTY(QString downloadLabel READ downloadLabel CONSTANT)
    Q_PROPERTY(QString dismissLabel READ dismissLabel NOTIFY changed)
    Q_PROPERTY(bool showsDismiss READ showsDismiss NOTIFY changed)
    Q_PROPERTY(QString mainLabel READ mainLabel NOTIFY changed)
    Q_PROPERTY(bool showsMain READ showsMain NOTIFY changed)
    Q_PROPERTY(bool isMainEnabled READ isMainEnabled NOTIFY changed)

public:
    /// `service` outlives the prompt.
    explicit UpdatePrompt(UpdateService& service, QObject* parent = nullptr);

    [[nodiscard]] QString title() const;
    [[nodiscard]] QString subtitle() const;
    /// Whether a release is described: its notes and the reassurance under them.
    [[nodiscard]] bool showsRelease() const;
    /// The release's notes, or one general line when it has none.
    [[nodiscard]] QStringList notes() const;
    [[nodiscard]] QString reassurance() const;
    /// While an installation runs: an indeterminate indicator, the step, and "Continue in background", which
    /// takes the place of the other buttons.
    [[nodiscard]] bool showsProgress() const;
    [[nodiscard]] QString progress() const;
    [[nodiscard]] QString continueLabel() const;
    /// The failure to show, with "Download manually" beside it; empty when there is none.
    [[nodiscard]] QString error() const;
    [[nodiscard]] QString downloadLabel() const;
    [[nodiscard]] QString dismissLabel() const;
    [[nodiscard]] bool showsDismiss() const { return !showsProgress(); }
    /// Empty when there is nothing to do but to close.
    [[nodiscard]] QString mainLabel() const;
    [[nodiscard]] bool showsMain() const { return !mainLabel().isEmpty(); }
    [[nodiscard]] bool isMainEnabled() const;

    Q_INVOKABLE void pressMain();
    Q_INVOKABLE void pressDownload();
    /// "Close", "Later" and "Continue in background".
    Q_INVOKABLE void close() { emit closeRequested(); }

signals:
    void changed();
    void closeRequested();

private:
    UpdateService& service_;
};

} // namespace quillmarsh
