#include "update/InstallationModel.h"

#include "base/LocalizedError.h"
#include "platform/Bundle.h"
#include "platform/Workspace.h"
#include "update/MoveToApplications.h"

#include <QDir>
#include <QPointer>

namespace quillmarsh {

namespace {

std::optional<QString> text(const QVariantMap& dictionary, const char* key)
{
    const QVariant value = dictionary.value(QLatin1String(key));
    if (value.typeId() != QMetaType::QString)
        return std::nullopt;
    return value.toString();
}

} // namespace

InstallationModel::InstallationModel(UpdateEnvironment environment, QString error, QObject* parent)
    : QObject(parent), environment_(std::move(environment)), errorMessage_(std::move(error))
{
    const QVariantMap information = environment_.bundle->infoDictionary();
    identifier_ = text(information, "CFBundleIdentifier");
    version_ = text(information, "CFBundleShortVersionString");
}

bool InstallationModel::isNeeded() const
{
    return !continuesHere_ && !environment_.bundle->isPackageManaged() &&
           !MoveToApplications::isInApplicationsFolder(environment_.bundlePath(), environment_.homeFolder,
                                                       environment_.systemApplications);
}

QString InstallationModel::caption() const
{
    return QStringLiteral("Welcome to Quillmarsh");
}

QString InstallationModel::headline() const
{
    return QStringLiteral("Move Quillmarsh to Applications.");
}

QString InstallationModel::line() const
{
    return QStringLiteral(
        "Open it from Applications to keep your installation and permissions in one place.");
}

QString InstallationModel::folderLabel() const
{
    return QStringLiteral("Applications folder");
}

QStringList InstallationModel::steps() const
{
    return {QStringLiteral("Find Quillmarsh.app in your downloads."),
            QStringLiteral("Drag it into the Applications folder."),
            QStringLiteral("Open Quillmarsh from Applications to finish setup.")};
}

QString InstallationModel::showDownloadLabel() const
{
    return QStringLiteral("Show download");
}

QString InstallationModel::openApplicationsLabel() const
{
    return QStringLiteral("Open Applications");
}

QString InstallationModel::openInstalledLabel() const
{
    return QStringLiteral("I've moved it — open Quillmarsh");
}

QString InstallationModel::continueLabel() const
{
    return QStringLiteral("Continue here for now");
}

void InstallationModel::showDownload()
{
    detach(MoveToApplications::showDownload(environment_.bundle->path(), environment_.workspace));
}

void InstallationModel::openApplications()
{
    QString folder = environment_.systemApplications;
    if (!QDir(folder).exists()) {
        folder = environment_.userApplications();
        QDir().mkpath(folder);
    }
    openDetached(*environment_.workspace, QUrl::fromLocalFile(folder));
}

void InstallationModel::openInstalled()
{
    if (isOpening_)
        return;
    setOpening(true);
    detach(openMovedCopy());
}

Task<> InstallationModel::openMovedCopy()
{
    const QPointer<InstallationModel> self(this);
    const auto copy = MoveToApplications::installedCopy(identifier_, version_, environment_.homeFolder,
                                                        environment_.systemApplications);
    QString failure;
    try {
        co_await MoveToApplications::openInstalledCopy(copy, environment_.bundle->path(),
                                                       environment_.workspace, environment_.terminate);
    } catch (const std::exception& error) {
        failure = errorDescription(error);
    }
    if (!self || failure.isEmpty())
        co_return;
    setErrorMessage(failure);
    setOpening(false);
}

void InstallationModel::continueHere()
{
    if (continuesHere_)
        return;
    continuesHere_ = true;
    emit isNeededChanged();
}

void InstallationModel::setOpening(bool isOpening)
{
    if (isOpening_ == isOpening)
        return;
    isOpening_ = isOpening;
    emit isOpeningChanged();
}

void InstallationModel::setErrorMessage(const QString& message)
{
    if (errorMessage_ == message)
        return;
    errorMessage_ = message;
    emit errorMessageChanged();
}

} // namespace quillmarsh
