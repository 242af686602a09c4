#include "base/Http.h"
#include "support/CoroutineTest.h"
#include "support/FakePlatform.h"
#include "support/FloodServer.h"
#include "support/HttpTestServer.h"
#include "support/ImpatientSession.h"
#include "support/Shortest.h"
#include "update/BundleFixture.h"
#include "update/BundleInformation.h"
#include "update/TlsTestServer.h"
#include "update/UpdateDownload.h"
#include "update/UpdateError.h"
#include "update/UpdateInstaller.h"
#include "update/UpdatePrompt.h"
#include "update/UpdateService.h"
#include "update/UpdateSettingsRow.h"

#include <QDir>
#include <QEventLoop>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <sys/resource.h>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

const auto checkSentence = QStringLiteral("Couldn’t check for updates. Check your connection and try again, "
                                          "or download Quillmarsh from our website.");
const auto unavailable = QStringLiteral("The update service is temporarily unavailable.");

} // namespace

class tst_UpdateService final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        TlsTestServer::trustTestAuthority(TestCertificates::certificate(QStringLiteral("anchor")));
    }

    void init()
    {
        root_ = std::make_unique<QTemporaryDir>();
        for (const char* folder : {"home/Applications", "tmp"})
            QDir().mkpath(root_->filePath(QString::fromLatin1(folder)));
        fakes_ = std::make_unique<FakePlatform>();
        fakes_->bundle->bundlePath = installed();
        server_ = std::make_unique<TlsTestServer>();
        session_ = std::make_unique<QNetworkAccessManager>();
        service_ = std::make_unique<UpdateService>(session_.get(), environment(), QStringLiteral("1.0"));
        windows_ = 0;
        terminated_ = 0;
        service_->setPresentWindow([this] { ++windows_; });
    }

    void cleanup()
    {
        service_.reset();
        session_.reset();
        server_.reset();
    }

    void theRequestIsTheOneOfTheManifest()
    {
        offer("1.0");
        check();
        QCOMPARE(server_->requests().size(), 1);
        const QByteArray request = server_->requests().first();
        QVERIFY(request.startsWith("GET /update.json HTTP/1.1\r\n"));
        QVERIFY(request.contains("\r\nAccept: application/json\r\n"));
        QVERIFY(!request.toLower().contains("cookie"));
    }

    void anInstalledVersionComesFromTheBundle()
    {
        fakes_->bundle->info.insert(QStringLiteral("CFBundleShortVersionString"), QStringLiteral("3.4"));
        QCOMPARE(UpdateService(session_.get(), environment()).installedVersion(), QStringLiteral("3.4"));
        fakes_->bundle->info.insert(QStringLiteral("CFBundleShortVersionString"), 3);
        QCOMPARE(UpdateService(session_.get(), environment()).installedVersion(), QStringLiteral("1.0"));
        fakes_->bundle->info.clear();
        QCOMPARE(UpdateService(session_.get(), environment()).installedVersion(), QStringLiteral("1.0"));
    }

    void aNewerReleaseIsAvailable_data() { manualAndAutomatic(); }
    void aNewerReleaseIsAvailable()
    {
        QFETCH(bool, automatically);
        offer("1.1");
        QSignalSpy checking(service_.get(), &UpdateService::isCheckingChanged);
        check(automatically);
        QCOMPARE(service_->availableRelease()->version, QStringLiteral("1.1"));
        QVERIFY(std::holds_alternative<UpdateRelease>(service_->lastCheckResult()->value));
        QCOMPARE(windows_, 1);
        QCOMPARE(checking.size(), 2);
        QVERIFY(!service_->isChecking());
    }

    void upToDateShowsAWindowOnlyWhenAsked_data() { manualAndAutomatic(); }
    void upToDateShowsAWindowOnlyWhenAsked()
    {
        QFETCH(bool, automatically);
        offer("1.0");
        check(automatically);
        QVERIFY(!service_->availableRelease());
        QVERIFY(std::holds_alternative<CheckResult::UpToDate>(service_->lastCheckResult()->value));
        QCOMPARE(windows_, automatically ? 0 : 1);
    }

    void aFailureIsSilentUnlessAsked_data() { manualAndAutomatic(); }
    void aFailureIsSilentUnlessAsked()
    {
        QFETCH(bool, automatically);
        server_->on("/update.json", TlsTestServer::answer(503, {}));
        check(automatically);
        QCOMPARE(*service_->lastCheckResult(), CheckResult{CheckResult::Error{unavailable}});
        QCOMPARE(service_->updateError(), automatically ? std::optional<QString>() : checkSentence);
        QCOMPARE(windows_, automatically ? 0 : 1);
        QVERIFY(!service_->isChecking());
    }

    void aFailureKeepsTheReleaseOfBefore()
    {
        offer("1.1");
        check();
        server_->on("/update.json", TlsTestServer::answer(500, {}));
        check();
        QCOMPARE(service_->availableRelease()->version, QStringLiteral("1.1"));
        QCOMPARE(service_->updateError(), checkSentence);
        offer("1.0");
        check();
        QVERIFY(!service_->availableRelease());
        QVERIFY(!service_->updateError());
    }

    void anAddressThatCannotBeFormedFails()
    {
        UpdateEnvironment broken = environment();
        broken.deployment.updateHost = QStringLiteral("not a host");
        UpdateService service(session_.get(), broken, QStringLiteral("1.0"));
        runTask(service.checkForUpdates(true));
        QCOMPARE(*service.lastCheckResult(),
                 CheckResult{CheckResult::Error{QStringLiteral("The update download address is invalid.")}});
    }

    void anInstalledVersionThatIsNoneReceivesNothing()
    {
        offer("99");
        UpdateService service(session_.get(), environment(), QStringLiteral("unknown"));
        runTask(service.checkForUpdates(true));
        QCOMPARE(*service.lastCheckResult(), CheckResult{CheckResult::UpToDate{}});
    }

    void aSecondCheckReturnsAtOnce()
    {
        server_->on("/update.json", [](QSslSocket&) {});
        auto first = service_->checkForUpdates(true);
        QTRY_COMPARE(server_->requests().size(), 1);
        QVERIFY(service_->checkForUpdates(false).isReady());
        QVERIFY(service_->isChecking());
        QCOMPARE(server_->requests().size(), 1);
        service_.reset();
        runTask(std::move(first));
    }

    void aServiceMayDieWhileItChecks()
    {
        server_->on("/update.json", [](QSslSocket&) {});
        auto first = service_->checkForUpdates(true);
        QTRY_COMPARE(server_->requests().size(), 1);
        service_.reset();
        runTask(std::move(first));
    }

    void withoutWindowsNoneIsShown()
    {
        offer("1.1");
        UpdateService service(session_.get(), environment(), QStringLiteral("1.0"), false);
        service.setPresentWindow([this] { ++windows_; });
        runTask(service.checkForUpdates(false));
        QCOMPARE(windows_, 0);
    }

    void automaticChecksBeginAtOnceAndOnce()
    {
        offer("1.0");
        service_->startAutomaticChecks();
        service_->startAutomaticChecks();
        QVERIFY(service_->isChecking());
        QTRY_VERIFY(service_->lastCheckResult());
        QCOMPARE(server_->requests().size(), 1);
    }

    void aPackageManagersCopyIsLeftAlone()
    {
        fakes_->bundle->packageManaged = true;
        offer("1.1");
        UpdateService service(session_.get(), environment(), QStringLiteral("1.0"));
        service.startAutomaticChecks();
        check(false, service);
        service.installAvailableUpdate();
        QVERIFY(server_->requests().isEmpty());
        UpdateSettingsRow row(service);
        QVERIFY(!row.showsButton());
        QCOMPARE(recoverInterruptedUpdate(environment()), std::nullopt);
    }

    void aCheckIsQuick()
    {
        offer("1.0");
        check(); // the first one also loads what TLS needs
        VERIFY_TAKES_AT_MOST(50, [&] { check(); });
    }

    void theManifestIsWaitedForTwentySeconds()
    {
        offer("1.0");
        ImpatientSession session;
        UpdateService service(&session, environment(), QStringLiteral("1.0"));
        check(false, service);
        QCOMPARE(session.timeouts, (QHash<QString, int>{{QStringLiteral("/update.json"), 20'000}}));
    }

    void betweenChecksNothingWakes()
    {
        offer("1.0");
        service_->startAutomaticChecks();
        QTRY_VERIFY(service_->lastCheckResult());
        QTRY_VERIFY(!service_->isChecking());
        session_->clearConnectionCache();
        long wakes = std::numeric_limits<long>::max();
        for (int round = 0; round < 5 && wakes > 5; ++round) { // what goes on never lets one be quiet
            QEventLoop idle;
            QTimer::singleShot(std::chrono::seconds(2), &idle, &QEventLoop::quit);
            struct rusage before = {};
            struct rusage after = {};
            ::getrusage(RUSAGE_SELF, &before);
            idle.exec();
            ::getrusage(RUSAGE_SELF, &after);
            wakes = std::min(wakes, after.ru_nvcsw - before.ru_nvcsw);
        }
        // The whole process slept until this test's own timer woke it.
        QVERIFY2(wakes <= 5, qPrintable(QString::number(wakes)));
    }

    void installsWithTheToolsItWasGiven()
    {
        offer("1.1");
        check();
        const auto shown = stepsOfAnInstallation();
        QCOMPARE(shown, QStringList({QStringLiteral("Downloading Quillmarsh 1.1…"),
                                     QStringLiteral("Preparing the new version…"),
                                     QStringLiteral("Verifying the update…"),
                                     QStringLiteral("Installing Quillmarsh…"),
                                     QStringLiteral("Update installed. Relaunch when you’re ready.")}));
        QCOMPARE(*service_->installedAppPath(), installed());
        const auto& runs = fakes_->processRunner->runs;
        QCOMPARE(runs.size(), 2U);
        const QString archive = runs[0].second.at(2);
        const QString folder = runs[0].second.at(4);
        QCOMPARE(runs[0].first, QStringLiteral("/usr/bin/bsdtar"));
        QCOMPARE(runs[0].second,
                 QStringList({QStringLiteral("-x"), QStringLiteral("-f"),
                              folder + QStringLiteral("/Quillmarsh.zip"), QStringLiteral("-C"), folder}));
        QCOMPARE(runs[1].first, QStringLiteral("/tools/quillmarsh-codesign"));
        QCOMPARE(runs[1].second,
                 QStringList({QStringLiteral("--verify"), QStringLiteral("--deep"),
                              QStringLiteral("--strict"), QStringLiteral("-R=") + QLatin1String(requirement),
                              folder + QStringLiteral("/Quillmarsh.app")}));
        QVERIFY(folder.startsWith(root_->filePath(QStringLiteral("tmp/Quillmarsh-update-"))));
        QVERIFY(!QFileInfo::exists(folder) && !QFileInfo::exists(archive));
    }

    void aDownloadHasALimit_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::newRow("told") << QByteArray("Content-Length: 100000000000\r\n");
        QTest::newRow("not told") << QByteArray();
    }
    void aDownloadHasALimit()
    {
        QFETCH(QByteArray, head);
        const auto send = [this, head](qsizetype size) {
            server_->on("/archive", [head, size](QSslSocket& socket) {
                socket.write("HTTP/1.1 200 OK\r\n" + head + "\r\n" + QByteArray(size, 'x'));
                if (head.isEmpty())
                    socket.disconnectFromHost(); // else more is to come
            });
        };
        const QUrl url(QStringLiteral("https://%1/archive").arg(server_->host()));
        const QString path = root_->filePath(QStringLiteral("tmp/archive"));
        send(head.isEmpty() ? 1001 : 1);
        try {
            runTask(downloadFile(session_.get(), url, path, {}, 1000));
            QFAIL("it was accepted");
        } catch (const UpdateError& error) {
            QCOMPARE(error.kind(), UpdateError::Kind::DownloadFailed);
        }
        QVERIFY(QFile::remove(path));
        if (!head.isEmpty())
            return;
        send(1000);
        runTask(downloadFile(session_.get(), url, path, {}, 1000));
        QCOMPARE(QFileInfo(path).size(), 1000);
    }

    /// Faster than any disk.
    void aDownloadWithoutEndIsNotCollected_data()
    {
        QTest::addColumn<bool>("isRedirected");
        QTest::newRow("at once") << false;
        QTest::newRow("behind a redirect") << true;
    }
    void aDownloadWithoutEndIsNotCollected()
    {
        QFETCH(bool, isRedirected);
        constexpr qint64 limit = 100 << 20;
        const FloodServer flood("HTTP/1.1 200 OK\r\n\r\n", QByteArray(1 << 20, 'x'));
        HttpTestServer redirecting;
        redirecting.answer(302, {}, "Location: " + flood.origin().toLatin1() + "/\r\n");
        const QUrl url(isRedirected ? redirecting.origin() : flood.origin());
        const QString path = root_->filePath(QStringLiteral("tmp/archive"));
        QVERIFY_EXCEPTION_THROWN(runTask(downloadFile(session_.get(), url, path, {}, limit)), UpdateError);
        QVERIFY2(flood.sent() < limit + (48 << 20), QByteArray::number(flood.sent()));
        QVERIFY(QFileInfo(path).size() <= limit);
        QVERIFY(QFile::remove(path));
    }

    /// Qt follows a redirect only when it is whole.
    void aRedirectWithoutEndRunsIntoTheTimeOut()
    {
        ImpatientSession session;
        session.haste = 600;
        const FloodServer flood("HTTP/1.1 302 Found\r\nLocation: /x\r\n\r\n", QByteArray(1 << 16, 'x'));
        const QString path = root_->filePath(QStringLiteral("tmp/archive"));
        QVERIFY_EXCEPTION_THROWN(runTask(downloadFile(&session, QUrl(flood.origin()), path, {})),
                                 TransportError);
        QCOMPARE(QFileInfo(path).size(), 0);
    }

    void aLongDownloadArrivesWhole()
    {
        HttpTestServer server;
        const QByteArray archive = QByteArray("0123456789abcde").repeated(2 << 20);
        server.answer(200, archive);
        const QString path = root_->filePath(QStringLiteral("tmp/archive"));
        runTask(downloadFile(session_.get(), QUrl(server.origin()), path, {}));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll() == archive);
    }

    void aNewerCopyThatCameMeanwhileStays()
    {
        offer("1.1");
        check();
        makeBundle(installed(), {QStringLiteral("1.10"), QStringLiteral("com.quillmarsh.app"), {}, 10});
        stepsOfAnInstallation();
        QCOMPARE(BundleInformation::read(installed()).version, QStringLiteral("1.10"));
        QVERIFY(!service_->installedAppPath());
        QVERIFY(service_->updateError()->startsWith(
            QStringLiteral("The update could not be moved to Applications. Your current version")));
        QCOMPARE(QDir(root_->filePath(QStringLiteral("home/Applications")))
                     .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{QStringLiteral("Quillmarsh.app")});
    }

    void nothingElseHappensBeforeTheRelaunch()
    {
        offer("1.1");
        check();
        stepsOfAnInstallation();
        const auto requests = server_->requests().size();
        check();
        QCOMPARE(server_->requests().size(), requests);
        service_->relaunch();
        service_->relaunch();
        QTRY_COMPARE(terminated_, 1);
        QCOMPARE(fakes_->workspace->launched.size(), 1U);
        QCOMPARE(fakes_->workspace->launched[0].first, installed());
        QCOMPARE(fakes_->workspace->launched[0].second, QStringList{QLatin1String(relaunchArgument)});
    }

    void aRelaunchThatFailsKeepsThisCopy()
    {
        service_->relaunch(); // nothing is installed: nothing happens
        offer("1.1");
        check();
        stepsOfAnInstallation();
        fakes_->workspace->result = false;
        service_->relaunch();
        QTRY_COMPARE(
            service_->updateError(),
            QStringLiteral("The update is installed. Quit and reopen Quillmarsh from Applications."));
        QCOMPARE(terminated_, 0);
        QCOMPARE(UpdatePrompt(*service_).title(), QStringLiteral("Ready to relaunch"));
    }

    void noCheckRunsDuringAnInstallation()
    {
        offer("1.1");
        check();
        server_->on("/Quillmarsh.zip", [](QSslSocket&) {});
        service_->installAvailableUpdate();
        service_->installAvailableUpdate();
        QTRY_COMPARE(server_->requests().size(), 2);
        check();
        QCOMPARE(server_->requests().size(), 2);
        UpdatePrompt prompt(*service_);
        QCOMPARE(prompt.title(), QStringLiteral("Updating Quillmarsh"));
        QVERIFY(prompt.showsProgress() && !prompt.showsMain() && !prompt.showsDismiss());
        QCOMPARE(prompt.progress(), QStringLiteral("Downloading Quillmarsh 1.1…"));
        service_.reset();
        QTRY_VERIFY(QDir(root_->filePath(QStringLiteral("tmp"))).isEmpty());
    }

    void withoutAReleaseNothingIsInstalled()
    {
        service_->installAvailableUpdate();
        QVERIFY(!service_->isUpdating());
    }

    void theInstalledPlaceIsWhereThisCopyRuns()
    {
        UpdateEnvironment place = environment();
        const QString own = installed();
        QCOMPARE(UpdateInstaller::installedLocation(place), own);
        fakes_->bundle->bundlePath =
            root_->filePath(QStringLiteral("home/Applications/Tools/Quillmarsh.app"));
        QCOMPARE(UpdateInstaller::installedLocation(place), own);
        fakes_->bundle->bundlePath = root_->filePath(QStringLiteral("home/Downloads/Quillmarsh.app"));
        QCOMPARE(UpdateInstaller::installedLocation(place), own);
        QDir().mkpath(place.systemApplications);
        QCOMPARE(UpdateInstaller::installedLocation(place),
                 place.systemApplications + QStringLiteral("/Quillmarsh.app"));
    }

    void theWayToApplicationsMayLeadThroughALink()
    {
        UpdateEnvironment place = environment();
        QDir().mkpath(place.systemApplications);
        place.homeFolder = root_->filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(root_->filePath(QStringLiteral("home")), place.homeFolder));
        const QString linked = place.homeFolder + QStringLiteral("/Applications/Quillmarsh.app");
        QCOMPARE(place.bundlePath(), linked);
        QCOMPARE(UpdateInstaller::installedLocation(place), linked);
        fakes_->bundle->bundlePath = root_->filePath(QStringLiteral("home/ApplicationsOld/Quillmarsh.app"));
        QCOMPARE(place.bundlePath(), fakes_->bundle->bundlePath);
    }

    void theWindowsTextsFollowTheState()
    {
        UpdatePrompt prompt(*service_);
        QSignalSpy changed(&prompt, &UpdatePrompt::changed);
        offer("1.0");
        check();
        QCOMPARE(texts(prompt), QStringList({QStringLiteral("You’re up to date"),
                                             QStringLiteral("You’re running Quillmarsh 1.0."),
                                             QStringLiteral("Close"), QString()}));
        server_->on("/update.json", TlsTestServer::answer(500, {}));
        check();
        QCOMPARE(texts(prompt), QStringList({QStringLiteral("Couldn’t check for updates"),
                                             QStringLiteral("You’re running Quillmarsh 1.0."),
                                             QStringLiteral("Close"), QStringLiteral("Try again")}));
        QCOMPARE(prompt.error(), checkSentence);
        offer("1.1");
        prompt.pressMain();
        QCOMPARE(prompt.mainLabel(), QStringLiteral("Checking…"));
        QVERIFY(!prompt.isMainEnabled());
        QTRY_VERIFY(!service_->isChecking());
        QCOMPARE(texts(prompt),
                 QStringList({QStringLiteral("An update is ready"), QStringLiteral("Quillmarsh 1.0 → 1.1"),
                              QStringLiteral("Later"), QStringLiteral("Install update")}));
        QCOMPARE(prompt.notes(),
                 QStringList{QStringLiteral("The latest improvements and fixes for Quillmarsh.")});
        server_->on("/Quillmarsh.zip", TlsTestServer::answer(404, {}));
        prompt.pressMain();
        QTRY_VERIFY(!service_->isUpdating());
        QCOMPARE(texts(prompt), QStringList({QStringLiteral("Couldn’t update Quillmarsh"),
                                             QStringLiteral("Quillmarsh 1.0 → 1.1"), QStringLiteral("Later"),
                                             QStringLiteral("Install update")}));
        QVERIFY(prompt.error().startsWith(
            QStringLiteral("The update could not be downloaded. Your current version")));
        prompt.pressDownload();
        QCOMPARE(fakes_->workspace->opened.at(0), QUrl(QStringLiteral("https://web.example/api/download")));
        QVERIFY(!changed.isEmpty());
    }

    void theRowsTextsFollowTheState()
    {
        UpdateSettingsRow row(*service_);
        QCOMPARE(row.title(), QStringLiteral("Quillmarsh 1.0"));
        QCOMPARE(row.subtitle(), QStringLiteral("Automatically checks for updates."));
        QCOMPARE(row.buttonLabel(), QStringLiteral("Check for updates"));
        offer("1.1");
        row.press();
        QCOMPARE(row.buttonLabel(), QStringLiteral("Checking…"));
        QTRY_COMPARE(row.buttonLabel(), QStringLiteral("View update"));
        QCOMPARE(row.subtitle(), QStringLiteral("Version 1.1 is available"));
        row.press();
        QCOMPARE(windows_, 2);
        QCOMPARE(server_->requests().size(), 1);
    }

    void theErrorsTextsAreExact()
    {
        using Kind = UpdateError::Kind;
        QCOMPARE(UpdateError(Kind::InvalidURL).errorDescription(),
                 QStringLiteral("The update download address is invalid."));
        QCOMPARE(UpdateError(Kind::CheckFailed).errorDescription(), unavailable);
        QCOMPARE(UpdateError(Kind::DownloadFailed).errorDescription(),
                 QStringLiteral("The update could not be downloaded."));
        QCOMPARE(UpdateError(Kind::UnzipFailed).errorDescription(),
                 QStringLiteral("The update could not be extracted."));
        QCOMPARE(UpdateError(Kind::AppNotFound).errorDescription(),
                 QStringLiteral("The download does not contain the expected version of Quillmarsh."));
        QCOMPARE(UpdateError(Kind::InvalidSignature).errorDescription(),
                 QStringLiteral("The update’s developer signature could not be verified."));
        QCOMPARE(UpdateError(Kind::InstallFailed).errorDescription(),
                 QStringLiteral("The update could not be moved to Applications."));
    }

private:
    static void manualAndAutomatic()
    {
        QTest::addColumn<bool>("automatically");
        QTest::newRow("manual") << false;
        QTest::newRow("automatic") << true;
    }

    static QStringList texts(const UpdatePrompt& prompt)
    {
        return {prompt.title(), prompt.subtitle(), prompt.dismissLabel(), prompt.mainLabel()};
    }

    QString installed() const { return root_->filePath(QStringLiteral("home/Applications/Quillmarsh.app")); }

    UpdateEnvironment environment()
    {
        UpdateEnvironment environment;
        environment.deployment.updateHost = server_->host();
        environment.deployment.gitHubHost = QStringLiteral("github.com");
        environment.deployment.webOrigin = QStringLiteral("https://web.example");
        environment.bundle = fakes_->bundle;
        environment.processRunner = fakes_->processRunner;
        environment.workspace = fakes_->workspace;
        environment.homeFolder = root_->filePath(QStringLiteral("home"));
        environment.systemApplications = root_->filePath(QStringLiteral("system"));
        environment.temporaryFolder = root_->filePath(QStringLiteral("tmp"));
        environment.signatureTool = QStringLiteral("/tools/quillmarsh-codesign");
        environment.terminate = [this] { ++terminated_; };
        return environment;
    }

    void offer(const char* version)
    {
        server_->on("/update.json",
                    TlsTestServer::answer(
                        200, QStringLiteral("{\"version\":\"%1\",\"url\":\"https://%2/Quillmarsh.zip\"}")
                                 .arg(QString::fromLatin1(version), server_->host())
                                 .toUtf8()));
    }

    void check(bool automatically = false) { check(automatically, *service_); }
    static void check(bool automatically, UpdateService& service)
    {
        runTask(service.checkForUpdates(automatically));
    }

    /// Installs with tools that do as they should; the steps that were shown.
    QStringList stepsOfAnInstallation()
    {
        server_->on("/Quillmarsh.zip", TlsTestServer::answer(200, "archive"));
        fakes_->processRunner->onRun = [](const QString& program, const QStringList& arguments) {
            if (program.endsWith(QLatin1String("bsdtar")))
                makeBundle(arguments.at(4) + QStringLiteral("/Quillmarsh.app"));
            return 0;
        };
        QStringList steps;
        connect(service_.get(), &UpdateService::updateProgressChanged, this,
                [&] { steps.append(service_->updateProgress().value_or(QString())); });
        service_->installAvailableUpdate();
        steps.prepend(service_->updateProgress().value_or(QString()));
        steps.removeDuplicates();
        [&] { QTRY_VERIFY(!service_->isUpdating()); }();
        disconnect(service_.get(), &UpdateService::updateProgressChanged, this, nullptr);
        return steps;
    }

    std::unique_ptr<QTemporaryDir> root_;
    std::unique_ptr<FakePlatform> fakes_;
    std::unique_ptr<TlsTestServer> server_;
    std::unique_ptr<QNetworkAccessManager> session_;
    std::unique_ptr<UpdateService> service_;
    int windows_ = 0;
    int terminated_ = 0;
};

QTEST_GUILESS_MAIN(tst_UpdateService)
#include "tst_UpdateService.moc"
