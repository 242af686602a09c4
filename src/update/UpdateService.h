#pragma once

#include "base/Task.h"
#include "update/CheckResult.h"
#include "update/UpdateEnvironment.h"

#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>

namespace quillmarsh {

/// The updater: it looks for a newer release at once and every 24 hours, and installs one when it is asked
/// to. A copy that a package manager owns is left to that manager: nothing here acts then. Main thread only.
class UpdateService final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isChecking READ isChecking NOTIFY isCheckingChanged)
    Q_PROPERTY(bool isUpdating READ isUpdating NOTIFY isUpdatingChanged)

public:
    /// `installedVersion`: counts as installed; none means the running bundle's version. `presentsWindows`:
    /// whether the service may open its own window.
    UpdateService(QNetworkAccessManager* session, UpdateEnvironment environment,
                  std::optional<QString> installedVersion = {}, bool presentsWindows = true,
                  QObject* parent = nullptr);
    ~UpdateService() override;

    [[nodiscard]] bool isChecking() const { return isChecking_; }
    [[nodiscard]] bool isUpdating() const { return isUpdating_; }
    [[nodiscard]] const std::optional<UpdateRelease>& availableRelease() const { return availableRelease_; }
    [[nodiscard]] const std::optional<CheckResult>& lastCheckResult() const { return lastCheckResult_; }
    [[nodiscard]] const std::optional<QString>& updateError() const { return updateError_; }
    [[nodiscard]] const std::optional<QString>& updateProgress() const { return updateProgress_; }
    /// The installed bundle once the swap succeeded: ready to relaunch.
    [[nodiscard]] const std::optional<QString>& installedAppPath() const { return installedAppPath_; }
    [[nodiscard]] const QString& installedVersion() const { return installedVersion_; }
    /// Whether this copy updates itself; false when a package manager owns it.
    [[nodiscard]] bool updatesItself() const;

    /// Performs one check; does nothing while one runs, while an installation runs or waits for a relaunch.
    Task<> checkForUpdates(bool automatically);
    /// Checks at once and then every 86,400 seconds. Only the first call counts.
    void startAutomaticChecks();
    /// Starts installing the available release and returns at once. Nothing happens while an installation
    /// runs or when no release is available.
    void installAvailableUpdate();
    /// Opens the installed copy and ends this one; nothing happens before an installation succeeded.
    void relaunch();
    /// Opens the page from which a release is downloaded by hand.
    void openDownloadPage();

    /// How the update window is opened or brought forward; set by the application before the first check.
    void setPresentWindow(std::function<void()> presentWindow) { presentWindow_ = std::move(presentWindow); }
    void showUpdateWindow();

signals:
    void isCheckingChanged();
    void isUpdatingChanged();
    void availableReleaseChanged();
    void lastCheckResultChanged();
    void updateErrorChanged();
    void updateProgressChanged();
    void installedAppPathChanged();

private:
    template <typename T>
    void set(T& member, T value, void (UpdateService::*changed)());

    [[nodiscard]] bool mayCheck() const;
    void checkSucceeded(const UpdateRelease& release, bool automatically);
    void checkFailed(const QString& description, bool automatically);
    Task<> install(UpdateRelease release);
    void installationSucceeded(const QString& installed);
    void installationFailed(const QString& description);
    Task<> openInstalledCopy(QString path);

    QPointer<QNetworkAccessManager> session_;
    UpdateEnvironment environment_;
    QString installedVersion_;
    bool presentsWindows_;
    std::function<void()> presentWindow_;
    std::stop_source stop_;
    bool checksAutomatically_ = false;
    bool isRelaunching_ = false;

    bool isChecking_ = false;
    bool isUpdating_ = false;
    std::optional<UpdateRelease> availableRelease_;
    std::optional<CheckResult> lastCheckResult_;
    std::optional<QString> updateError_;
    std::optional<QString> updateProgress_;
    std::optional<QString> installedAppPath_;
};

} // namespace quillmarsh
