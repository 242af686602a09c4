// The product as far as its updater can tell: it runs from a bundle, reads the settings, checks, installs and
// relaunches. What happened goes line by line into $HOME/report. The way it runs is in the environment:
// STAND_IN=update installs what it finds, STAND_IN=probe only says which version starts.
#include "base/UserDefaults.h"
#include "platform/Bundle.h"
#include "platform/ProcessRunner.h"
#include "platform/Workspace.h"
#include "update/BundleInformation.h"
#include "update/MoveToApplications.h"
#include "update/UpdateInstaller.h"
#include "update/UpdateService.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>

#include <qcoro/qcoroprocess.h>

using namespace quillmarsh;

namespace {

class RunningBundle final : public Bundle
{
public:
    [[nodiscard]] QString path() const override { return path_; }
    [[nodiscard]] bool isPackageManaged() const override { return false; }
    [[nodiscard]] QVariantMap infoDictionary() const override
    {
        const BundleInformation information = BundleInformation::read(path_);
        return {{QStringLiteral("CFBundleIdentifier"), information.identifier.value_or(QString())},
                {QStringLiteral("CFBundleShortVersionString"), information.version.value_or(QString())}};
    }

private:
    QString path_ = QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../.."));
};

class Tools final : public ProcessRunner
{
public:
    Task<int> run(QString program, QStringList arguments, std::stop_token) override
    {
        if (!QFileInfo(program).isExecutable())
            co_return -1;
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(program, arguments);
        if (process.state() != QProcess::NotRunning)
            co_await qCoro(process).waitForFinished(std::chrono::seconds(60));
        if (process.error() == QProcess::FailedToStart || process.exitStatus() != QProcess::NormalExit)
            co_return -1;
        co_return process.exitCode();
    }
};

class Desktop final : public Workspace
{
public:
    [[nodiscard]] std::optional<RunningApplication> frontmostApplication() const override
    {
        return std::nullopt;
    }
    void activate(const RunningApplication&) override {}
    Task<bool> open(QUrl) override { co_return true; }
    Task<bool> reveal(QString) override { co_return true; }
    Task<bool> openApplication(QString path, QStringList arguments) override
    {
        co_return QProcess::startDetached(path + QStringLiteral("/Contents/Linux/quillmarsh"), arguments);
    }
};

void report(const QString& line)
{
    QFile file(QDir::homePath() + QStringLiteral("/report"));
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(line.toUtf8() + '\n');
}

QString setting()
{
    return UserDefaults(UserDefaults::standardPath())
        .string(QStringLiteral("kept"))
        .value_or(QStringLiteral("lost"));
}

void finish()
{
    report(QStringLiteral("end"));
    QCoreApplication::quit();
}

/// What the user does when the window opens: install, then relaunch; give up on an error.
void onWindow(UpdateService& service)
{
    if (service.updateError()) {
        report(QStringLiteral("error ") + *service.updateError());
        finish();
    } else if (service.availableRelease()) {
        report(QStringLiteral("available ") + service.availableRelease()->version);
        service.installAvailableUpdate();
    } else {
        report(QStringLiteral("nothing new"));
        finish();
    }
}

void watch(UpdateService& service)
{
    service.setPresentWindow([&service] {
        QMetaObject::invokeMethod(
            &service, [&service] { onWindow(service); }, Qt::QueuedConnection);
    });
    QObject::connect(&service, &UpdateService::lastCheckResultChanged, [&service] {
        if (const auto* error = std::get_if<CheckResult::Error>(&service.lastCheckResult()->value))
            report(QStringLiteral("check ") + error->text);
    });
    QObject::connect(&service, &UpdateService::updateProgressChanged, [&service] {
        if (service.updateProgress())
            report(QStringLiteral("step ") + *service.updateProgress());
    });
    QObject::connect(&service, &UpdateService::installedAppPathChanged, [&service] {
        QMetaObject::invokeMethod(&service, &UpdateService::relaunch, Qt::QueuedConnection);
    });
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    RunningBundle bundle;
    Tools tools;
    Desktop desktop;
    UpdateEnvironment environment = UpdateEnvironment::standard(bundle, tools, desktop);
    environment.systemApplications = qEnvironmentVariable("STAND_IN_SYSTEM_APPLICATIONS");
    environment.terminate = finish;
    const bool isRelaunch = application.arguments().contains(QLatin1String(relaunchArgument));
    report(QStringLiteral("%1 %2 %3")
               .arg(isRelaunch ? QStringLiteral("relaunched") : QStringLiteral("started"),
                    currentVersion(bundle), setting()));
    if (recoverInterruptedUpdate(environment))
        report(QStringLiteral("recovered"));
    if (isRelaunch || qgetenv("STAND_IN") != "update")
        return 0;

    QSslConfiguration trust = QSslConfiguration::defaultConfiguration();
    trust.setCaCertificates({QSslCertificate(qgetenv("QUILLMARSH_TEST_CODESIGN_ANCHOR"))});
    QSslConfiguration::setDefaultConfiguration(trust);
    QNetworkAccessManager session;
    UpdateService service(&session, environment);
    watch(service);
    detach(service.checkForUpdates(false));
    return application.exec();
}
