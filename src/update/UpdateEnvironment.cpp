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
