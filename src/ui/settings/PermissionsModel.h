#pragma once

#include <QObject>

namespace quillmarsh {

class RewriteService;
class UserDefaults;

/// The permissions guide: what the badge says, and what is shown while access is missing or given.
class PermissionsModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString badge READ badge NOTIFY changed)
    Q_PROPERTY(bool isEnabled READ isEnabled NOTIFY changed)
    Q_PROPERTY(QString waitingText READ waitingText NOTIFY changed)
    Q_PROPERTY(QString helpText READ helpText NOTIFY changed)
    Q_PROPERTY(QString enabledText READ enabledText NOTIFY changed)
    Q_PROPERTY(QString problem READ problem NOTIFY changed)

public:
    /// Both outlive the model.
    PermissionsModel(RewriteService& rewrites, UserDefaults& defaults, QObject* parent = nullptr);

    [[nodiscard]] QString badge() const;
    /// Access is granted and the shortcuts are active.
    [[nodiscard]] bool isEnabled() const;
    /// While access is missing; empty otherwise, as `helpText`.
    [[nodiscard]] QString waitingText() const;
    [[nodiscard]] QString helpText() const;
    /// Once enabled; empty before.
    [[nodiscard]] QString enabledText() const;
    /// Why the shortcuts are not active although access is granted; empty otherwise.
    [[nodiscard]] QString problem() const;

    Q_INVOKABLE void openSystemSettings();
    Q_INVOKABLE void checkAgain();
    /// The guide was shown: recorded under "hasSeenPermissionsGuide".
    Q_INVOKABLE void markSeen();

signals:
    void changed();

private:
    RewriteService& rewrites_;
    UserDefaults& defaults_;
};

} // namespace quillmarsh
