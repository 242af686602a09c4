#include "update/UpdateEnvironment.h"

#include "platform/Bundle.h"

#include <QCoreApplication>
#include <QDir>

namespace quillmarsh {

namespace {

/// QDir answers nothing when the folder that the user chose is not there yet.
QString standardTemporaryFolder()
{
    const QString folder = QDir::tempPath();
    return folder.isEmpty() ? qEnvironmentVariable("TMPDIR") : folder;
}

} // namespace

QString UpdateEnvironment::userApplications() const
{
    return QDir::cleanPath(homeFolder + QStringLiteral("/Applications"));
}

QString UpdateEnvironment::bundlePath() const
{
    const QString path = QDir::cleanPath(bundle->path());
    for (const QString& folder : {systemApplications, userApplications()}) {
        const QString place = QFileInfo(folder).canonicalFilePath();
        if (!place.isEmpty() && path.startsWith(place + u'/'))
            return folder + path.mid(place.size());
    }
    return path;
}

UpdateEnvironment UpdateEnvironment::standard(Bundle& bundle, ProcessRunner& processRunner,
                                              Workspace& workspace)
{
    UpdateEnvironment environment;
    environment.deployment = Deployment::current();
    environment.bundle = &bundle;
    environment.processRunner = &processRunner;
    environment.workspace = &workspace;
    environment.homeFolder = QDir::homePath();
    environment.temporaryFolder = standardTemporaryFolder();
    environment.signatureTool =
        QCoreApplication::applicationDirPath() + QStringLiteral("/quillmarsh-codesign");
    environment.terminate = [] { QCoreApplication::quit(); };
    return environment;
}

QString currentVersion(const Bundle& bundle)
{
    const QVariant version = bundle.infoDictionary().value(QStringLiteral("CFBundleShortVersionString"));
    if (version.typeId() == QMetaType::QString)
        return version.toString();
    return QStringLiteral("1.0");
}

} // namespace quillmarsh
