#include "platform/Workspace.h"
#include "support/CoroutineTest.h"
#include "support/FakePlatform.h"
#include "update/BundleFixture.h"
#include "update/BundleInformation.h"
#include "update/InstallationModel.h"
#include "update/MoveToApplications.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace quillmarsh;
using namespace quillmarsh::test;
using namespace quillmarsh::MoveToApplications;

namespace {

const auto identifier = QStringLiteral("com.quillmarsh.app");
const auto notInstalled =
    QStringLiteral("Move this version of Quillmarsh.app into Applications first, then try again. If "
                   "Finder asks, choose Replace for an older copy.");

} // namespace

class tst_MoveToApplications final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        root_ = std::make_unique<QTemporaryDir>();
        for (const char* folder : {"system", "home/Applications"})
            QDir().mkpath(root_->filePath(QString::fromLatin1(folder)));
        qputenv("HOME", QFile::encodeName(root_->filePath(QStringLiteral("home"))));
        qunsetenv("XDG_CONFIG_HOME");
        fakes_ = std::make_unique<FakePlatform>();
        fakes_->bundle->bundlePath = root_->filePath(QStringLiteral("home/Downloads/Quillmarsh.app"));
        fakes_->bundle->info.insert(QStringLiteral("CFBundleIdentifier"), identifier);
        terminated_ = 0;
    }

    void isInApplicationsFolder_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("inside");
        const auto row = [](const char* path, bool inside) {
            QTest::newRow(path) << QString::fromLatin1(path) << inside;
        };
        row("/Applications/Quillmarsh.app", true);
        row("/Applications/Utilities/Quillmarsh.app", true);
        row("/home/me/Applications/Quillmarsh.app", true);
        row("/home/me/Applications/Tools/Deep/Quillmarsh.app", true);
        row("/home/me/./Applications/../Applications/Quillmarsh.app", true);
        row("/Applications", false);
        row("/Applications/", false);
        row("/Applications/.", false);
        row("/home/me/Applications", false);
        row("/ApplicationsOld/Quillmarsh.app", false);
        row("/home/me/ApplicationsOld/Quillmarsh.app", false);
        row("/Applications/../Quillmarsh.app", false);
        row("/home/me/Downloads/Quillmarsh.app", false);
        row("/home/you/Applications/Quillmarsh.app", false);
        row("/tmp/Applications/Quillmarsh.app", false);
    }

    void isInApplicationsFolder()
    {
        QFETCH(QString, path);
        QFETCH(bool, inside);
        QCOMPARE(MoveToApplications::isInApplicationsFolder(path, QStringLiteral("/home/me")), inside);
        QCOMPARE(MoveToApplications::isInApplicationsFolder(path, QStringLiteral("/home/me/")), inside);
    }

    void numericCompare_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("order");
        const auto row = [](const char* a, const char* b, int order) {
            QTest::addRow("%s and %s", a, b) << QString::fromLatin1(a) << QString::fromLatin1(b) << order;
        };
        row("1.9", "1.10", -1);
        row("1.10", "1.9", 1);
        row("1.2", "1.2", 0);
        row("1.2", "1.2.0", -1);
        row("1.02", "1.2", 0);
        row("99999999999999999999999", "100000000000000000000000", -1);
        row("1.0b", "1.0a", 1);
        row("", "1", -1);
        row("", "", 0);
        row("1.0.1", "1.0b", -1);
    }

    void numericCompare()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, order);
        const auto sign = [](int value) { return (value > 0) - (value < 0); };
        QCOMPARE(sign(MoveToApplications::numericCompare(a, b)), order);
        QCOMPARE(sign(MoveToApplications::numericCompare(b, a)), -order);
    }

    void theSystemsCopyComesFirst()
    {
        install("system", "1.0");
        install("home/Applications", "1.0");
        QCOMPARE(copy("1.0"), root_->filePath(QStringLiteral("system/Quillmarsh.app")));
    }

    void anOlderCopyIsPassedOver()
    {
        install("system", "1.9");
        QCOMPARE(copy("1.10"), QString());
        install("home/Applications", "1.10");
        QCOMPARE(copy("1.10"), root_->filePath(QStringLiteral("home/Applications/Quillmarsh.app")));
        QCOMPARE(copy("1.9"), root_->filePath(QStringLiteral("system/Quillmarsh.app")));
    }

    void aCopyThatCannotBeReadIsNone()
    {
        install("system", "1.0");
        const QString plist = root_->filePath(QStringLiteral("system/Quillmarsh.app/Contents/Info.plist"));
        for (const char* content :
             {"", "no list", "<plist version=\"1.0\"><array/></plist>",
              "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key>",
              "<plist "
              "version=\"1.0\"><dict><key>CFBundleIdentifier</key><integer>1</integer></dict></plist>"}) {
            writeFile(plist, content);
            QCOMPARE(copy("1.0"), QString());
        }
    }

    void aListThatIsTooDeepIsNotRead_data()
    {
        QTest::addColumn<int>("levels");
        for (const int levels : {10, 3'000, 100'000})
            QTest::addRow("%d levels", levels) << levels;
    }

    /// Of arrays in arrays, in the binary form; the bundle's author decides how deep it goes.
    void aListThatIsTooDeepIsNotRead()
    {
        QFETCH(int, levels);
        const auto bigEndian = [](quint64 value, int bytes) {
            QByteArray text;
            for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
                text.append(static_cast<char>((value >> shift) & 0xFF));
            return text;
        };
        const int width = levels < 65'000 ? 2 : 4;
        QByteArray list = "bplist00";
        QByteArray offsets;
        for (int level = 0; level < levels; ++level) {
            offsets += bigEndian(static_cast<quint64>(list.size()), width);
            list += level + 1 < levels ? '\xa1' + bigEndian(static_cast<quint64>(level) + 1, width)
                                       : QByteArray("\xa0");
        }
        const auto table = static_cast<quint64>(list.size());
        list += offsets + QByteArray(6, '\0') + bigEndian(static_cast<quint64>(width), 1) +
                bigEndian(static_cast<quint64>(width), 1) + bigEndian(static_cast<quint64>(levels), 8) +
                bigEndian(0, 8) + bigEndian(table, 8);
        QVERIFY(!BundleInformation::parse(list).identifier);
    }

    void withoutIdentifierOrVersionThereIsNoCopy()
    {
        install("system", "1.0");
        const QString home = root_->filePath(QStringLiteral("home"));
        const QString system = root_->filePath(QStringLiteral("system"));
        QVERIFY(!installedCopy(std::nullopt, QStringLiteral("1.0"), home, system));
        QVERIFY(!installedCopy(identifier, std::nullopt, home, system));
        QVERIFY(!installedCopy(QStringLiteral("com.example.other"), QStringLiteral("1.0"), home, system));
    }

    void theMovedCopyTakesOver()
    {
        install("home/Applications", "1.0.0");
        InstallationModel model(environment());
        QVERIFY(model.isNeeded());
        model.openInstalled();
        QTRY_COMPARE(terminated_, 1);
        QCOMPARE(fakes_->workspace->launched.size(), 1U);
        QCOMPARE(fakes_->workspace->launched[0].first,
                 root_->filePath(QStringLiteral("home/Applications/Quillmarsh.app")));
        QCOMPARE(fakes_->workspace->launched[0].second, QStringList{QLatin1String(relaunchArgument)});
        QVERIFY(model.errorMessage().isEmpty());
    }

    void withoutACopyTheUserIsToldAndMayTryAgain()
    {
        InstallationModel model(environment());
        QSignalSpy opening(&model, &InstallationModel::isOpeningChanged);
        model.openInstalled();
        QTRY_COMPARE(model.errorMessage(), notInstalled);
        QVERIFY(!model.isOpening());
        QCOMPARE(opening.size(), 2);
        install("home/Applications", "1.0.0");
        model.openInstalled();
        QTRY_COMPARE(terminated_, 1);
    }

    void aCopyThatDoesNotOpenIsTold()
    {
        install("home/Applications", "1.0.0");
        fakes_->workspace->result = false;
        InstallationModel model(environment());
        model.openInstalled();
        QTRY_VERIFY(!model.errorMessage().isEmpty());
        QVERIFY(!model.isOpening());
        QCOMPARE(terminated_, 0);
    }

    void continuingHereLastsAsLongAsTheModel()
    {
        InstallationModel model(environment());
        QSignalSpy changed(&model, &InstallationModel::isNeededChanged);
        model.continueHere();
        model.continueHere();
        QVERIFY(!model.isNeeded());
        QCOMPARE(changed.size(), 1);
        QVERIFY(InstallationModel(environment()).isNeeded());
    }

    void aPackageManagersCopyIsInstalled()
    {
        fakes_->bundle->packageManaged = true;
        QVERIFY(!InstallationModel(environment()).isNeeded());
    }

    void showDownloadRevealsTheBundle()
    {
        test::runTask(showDownload(fakes_->bundle->bundlePath, fakes_->workspace));
        QCOMPARE(fakes_->workspace->revealed, std::vector<QString>{fakes_->bundle->bundlePath});
        QVERIFY(fakes_->workspace->opened.empty());
    }

    void aTranslocatedCopyShowsDownloadsInstead()
    {
        test::runTask(showDownload(QStringLiteral("/private/var/AppTranslocation/X/d/Quillmarsh.app"),
                                   fakes_->workspace));
        QVERIFY(fakes_->workspace->revealed.empty());
        QVERIFY(fakes_->workspace->opened.empty()); // there is no such folder
        QDir().mkpath(root_->filePath(QStringLiteral("home/Downloads")));
        test::runTask(showDownload(QStringLiteral("/private/var/AppTranslocation/X/d/Quillmarsh.app"),
                                   fakes_->workspace));
        QVERIFY(fakes_->workspace->revealed.empty());
        QCOMPARE(fakes_->workspace->opened.size(), 1U);
        QCOMPARE(fakes_->workspace->opened[0].toLocalFile(),
                 root_->filePath(QStringLiteral("home/Downloads")));
    }

    void aLinkInApplicationsIsNoMovedCopy()
    {
        const QString running = root_->filePath(QStringLiteral("home/Downloads/Quillmarsh.app"));
        QDir().mkpath(root_->filePath(QStringLiteral("home/Downloads")));
        makeBundle(running, {QStringLiteral("1.0.0"), identifier, {}, 10});
        QVERIFY(QFile::link(running, root_->filePath(QStringLiteral("home/Applications/Quillmarsh.app"))));
        InstallationModel model(environment());
        QVERIFY(model.isNeeded());
        model.openInstalled();
        QTRY_COMPARE(model.errorMessage(), notInstalled);
        QVERIFY(fakes_->workspace->launched.empty());
        QCOMPARE(terminated_, 0);
    }

    void aHomeBehindALinkIsStillAHome()
    {
        UpdateEnvironment linked = environment();
        linked.homeFolder = root_->filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(root_->filePath(QStringLiteral("home")), linked.homeFolder));
        fakes_->bundle->bundlePath = root_->filePath(QStringLiteral("home/Applications/Quillmarsh.app"));
        QVERIFY(!InstallationModel(linked).isNeeded());
    }

    void openApplicationsFindsTheFolderOfThisSystem()
    {
        InstallationModel model(environment());
        model.openApplications();
        QTRY_COMPARE(fakes_->workspace->opened.size(), 1U);
        QCOMPARE(fakes_->workspace->opened[0].toLocalFile(), root_->filePath(QStringLiteral("system")));
        QDir(root_->filePath(QStringLiteral("system"))).removeRecursively();
        model.openApplications();
        QTRY_COMPARE(fakes_->workspace->opened.size(), 2U);
        QCOMPARE(fakes_->workspace->opened[1].toLocalFile(),
                 root_->filePath(QStringLiteral("home/Applications")));
    }

    void theTextsAreExact()
    {
        const InstallationModel model(environment(), QStringLiteral("given"));
        QCOMPARE(model.caption(), QStringLiteral("Welcome to Quillmarsh"));
        QCOMPARE(model.headline(), QStringLiteral("Move Quillmarsh to Applications."));
        QCOMPARE(model.line(), QStringLiteral("Open it from Applications to keep your installation and "
                                              "permissions in one place."));
        QCOMPARE(model.folderLabel(), QStringLiteral("Applications folder"));
        QCOMPARE(model.showDownloadLabel(), QStringLiteral("Show download"));
        QCOMPARE(model.openApplicationsLabel(), QStringLiteral("Open Applications"));
        QCOMPARE(model.continueLabel(), QStringLiteral("Continue here for now"));
        QCOMPARE(model.openInstalledLabel(), QStringLiteral("I've moved it — open Quillmarsh"));
        QCOMPARE(model.steps(),
                 QStringList({QStringLiteral("Find Quillmarsh.app in your downloads."),
                              QStringLiteral("Drag it into the Applications folder."),
                              QStringLiteral("Open Quillmarsh from Applications to finish setup.")}));
        QCOMPARE(model.errorMessage(), QStringLiteral("given"));
    }

private:
    void install(const char* folder, const char* version)
    {
        makeBundle(root_->filePath(QLatin1String(folder) + QStringLiteral("/Quillmarsh.app")),
                   {QLatin1String(version), identifier, {}, 10});
    }

    QString copy(const char* version) const
    {
        return installedCopy(identifier, QString::fromLatin1(version),
                             root_->filePath(QStringLiteral("home")),
                             root_->filePath(QStringLiteral("system")))
            .value_or(QString());
    }

    UpdateEnvironment environment()
    {
        UpdateEnvironment environment;
        environment.bundle = fakes_->bundle;
        environment.processRunner = fakes_->processRunner;
        environment.workspace = fakes_->workspace;
        environment.homeFolder = root_->filePath(QStringLiteral("home"));
        environment.systemApplications = root_->filePath(QStringLiteral("system"));
        environment.terminate = [this] { ++terminated_; };
        return environment;
    }

    std::unique_ptr<QTemporaryDir> root_;
    std::unique_ptr<FakePlatform> fakes_;
    int terminated_ = 0;
};

QTEST_GUILESS_MAIN(tst_MoveToApplications)
#include "tst_MoveToApplications.moc"
