#pragma once

#include "base/Task.h"
#include "update/UpdateEnvironment.h"

#include <QObject>
#include <QStringList>

#include <optional>

namespace quillmarsh {

/// The welcome screen of a copy that runs outside the Applications folders: its texts, its buttons, and
/// whether it is to be shown at all.
class InstallationModel final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString caption READ caption CONSTANT)
    Q_PROPERTY(QString headline READ headline CONSTANT)
    Q_PROPERTY(QString line READ line CONSTANT)
    Q_PROPERTY(QString folderLabel READ folderLabel CONSTANT)
    Q_PROPERTY(QStringList steps READ steps CONSTANT)
    Q_PROPERTY(QString showDownloadLabel READ showDownloadLabel CONSTANT)
    Q_PROPERTY(QString openApplicationsLabel READ openApplicationsLabel CONSTANT)
    Q_PROPERTY(QString openInstalledLabel READ openInstalledLabel CONSTANT)
    Q_PROPERTY(QString continueLabel READ continueLabel CONSTANT)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(bool isOpening READ isOpening NOTIFY isOpeningChanged)

public:
    /// Reads the running bundle's identifier and version now. `error` is shown at once.
    explicit InstallationModel(UpdateEnvironment environment, QString error = {}, QObject* parent = nullptr);

    /// Whether this copy is neither installed nor package-managed, and the user has not chosen to go on here.
    /// The choice is forgotten when the process ends.
    [[nodiscard]] bool isNeeded() const;
    [[nodiscard]] QString caption() const;
    [[nodiscard]] QString headline() const;
    [[nodiscard]] QString line() const;
    /// Under the folder of the illustration (application icon, "arrow.right", "folder.fill").
    [[nodiscard]] QString folderLabel() const;
    [[nodiscard]] QStringList steps() const;
    [[nodiscard]] QString showDownloadLabel() const;
    [[nodiscard]] QString openApplicationsLabel() const;
    [[nodiscard]] QString openInstalledLabel() const;
    [[nodiscard]] QString continueLabel() const;
    [[nodiscard]] const QString& errorMessage() const { return errorMessage_; }
    /// The primary button is disabled while it is true.
    [[nodiscard]] bool isOpening() const { return isOpening_; }

    Q_INVOKABLE void showDownload();
    /// Opens the system's Applications folder, or the user's where the system has none.
    Q_INVOKABLE void openApplications();
    /// Opens the moved copy and ends this one, or says why not.
    Q_INVOKABLE void openInstalled();
    Q_INVOKABLE void continueHere();

signals:
    void isNeededChanged();
    void errorMessageChanged();
    void isOpeningChanged();

private:
    Task<> openMovedCopy();
    void setOpening(bool isOpening);
    void setErrorMessage(const QString& message);

    UpdateEnvironment environment_;
    std::optional<QString> identifier_;
    std::optional<QString> version_;
    QString errorMessage_;
    bool isOpening_ = false;
    bool continuesHere_ = false;
};

} // namespace quillmarsh
