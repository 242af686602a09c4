#include "support/Shortest.h"
#include "update/BundleSwap.h"
#include "update/FileTree.h"
#include "update/UpdateHarness.h"
#include "update/ZipWriter.h"

#include <QDir>
#include <QTest>

#include <memory>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

using Prepare = std::function<void(UpdateHarness&)>;

const auto keptSentence = QStringLiteral(
    " Your current version and settings are still available. Try again or download the update manually.");
const auto checkSentence = QStringLiteral("Couldn’t check for updates. Check your connection and try again, "
                                          "or download Quillmarsh from our website.");

constexpr auto unavailable = "The update service is temporarily unavailable.";
constexpr auto notDownloaded = "The update could not be downloaded.";
constexpr auto notExtracted = "The update could not be extracted.";
constexpr auto notExpected = "The download does not contain the expected version of Quillmarsh.";
constexpr auto notSigned = "The update’s developer signature could not be verified.";
constexpr auto notMoved = "The update could not be moved to Applications.";
constexpr auto invalidManifest = "Invalid update manifest";

/// A redirect of the archive to `target`.
void redirect(UpdateHarness& harness, const QString& target)
{
    harness.server().on("/Quillmarsh.zip",
                        TlsTestServer::answer(302, {}, "Location: " + target.toUtf8() + "\r\n"));
}

/// An archive of the release 1.1 in which `change` was done to the signed bundle.
void publishChanged(UpdateHarness& harness, const std::function<void(const QString&)>& change)
{
    (void)harness.archiveOf(QStringLiteral("1.1"));
    const QString bundle = harness.path("release/Quillmarsh.app");
    change(bundle);
    ZipWriter zip;
    zip.addTree(bundle, "Quillmarsh.app");
    harness.publish(zip.archive());
}

/// The release 1.1 and one more entry.
void publishWith(UpdateHarness& harness, const QByteArray& name, const QByteArray& content, unsigned mode)
{
    (void)harness.archiveOf(QStringLiteral("1.1"));
    ZipWriter zip;
    zip.addTree(harness.path("release/Quillmarsh.app"), "Quillmarsh.app");
    zip.add(name, content, mode);
    harness.publish(zip.archive());
}

void publishManifest(UpdateHarness& harness, const QString& version, const QString& url)
{
    harness.publish({});
    harness.server().on("/update.json", TlsTestServer::answer(200, harness.manifest(version, url)));
}

/// No file may grow beyond this size, as on a full disk.
void limitFileSize(UpdateHarness& harness, int kilobytes)
{
    harness.setPrefix({QStringLiteral("bash"), QStringLiteral("-c"),
                       QStringLiteral("trap '' XFSZ; ulimit -f %1; exec \"$0\" \"$@\"").arg(kilobytes)});
}

/// The disk is full from the moment at which the new version was verified, before it is copied.
void limitFileSizeOnceVerified(UpdateHarness& harness)
{
    harness.setPrefix(
        {QStringLiteral("bash"), QStringLiteral("-c"), QStringLiteral("trap '' XFSZ; exec \"$0\"")});
    const QString tool = harness.installed() + QStringLiteral("/Contents/Linux/quillmarsh-codesign");
    QVERIFY(QFile::rename(tool, tool + QStringLiteral(".true")));
    writeFile(tool, "#!/bin/sh\n\"$0.true\" \"$@\" && prlimit --pid \"$PPID\" --fsize=4096:4096\n", 0755);
}

} // namespace

Q_DECLARE_METATYPE(Prepare)

class tst_UpdateEndToEnd final : public QObject
{
    Q_OBJECT

private slots:
    void installsAndRelaunches_data()
    {
        QTest::addColumn<Prepare>("prepare");
        QTest::newRow("plain") << Prepare([](UpdateHarness&) {});
        QTest::newRow("after a redirect to https") << Prepare([](UpdateHarness& h) {
            h.server().on("/elsewhere.zip", TlsTestServer::answer(200, h.archiveOf(QStringLiteral("1.1"))));
            redirect(h, QStringLiteral("https://%1/elsewhere.zip").arg(h.server().host()));
        });
        QTest::newRow("temporary folder on another disk") << Prepare([](UpdateHarness& h) {
            h.setTemporaryFolder(QStringLiteral("/dev/shm/quillmarsh-test-%1").arg(::getpid()));
        });
        QTest::newRow("temporary folder is missing")
            << Prepare([](UpdateHarness& h) { h.setVariable("TMPDIR", h.path("tmp/deeper/still")); });
        QTest::newRow("temporary folder on another disk, user mask 077") << Prepare([](UpdateHarness& h) {
            h.setTemporaryFolder(QStringLiteral("/dev/shm/quillmarsh-test-%1").arg(::getpid()));
            h.setPrefix(
                {QStringLiteral("bash"), QStringLiteral("-c"), QStringLiteral("umask 077; exec \"$0\"")});
        });
        QTest::newRow("user mask 077") << Prepare([](UpdateHarness& h) {
            h.setPrefix(
                {QStringLiteral("bash"), QStringLiteral("-c"), QStringLiteral("umask 077; exec \"$0\"")});
        });
    }

    void installsAndRelaunches()
    {
        QFETCH(Prepare, prepare);
        UpdateHarness harness;
        harness.publish(harness.archiveOf(QStringLiteral("1.1")));
        prepare(harness);
        const QStringList report = harness.run(harness.installed());
        const QStringList expected{QStringLiteral("started 1.0 yes"),
                                   QStringLiteral("available 1.1"),
                                   QStringLiteral("step Downloading Quillmarsh 1.1…"),
                                   QStringLiteral("step Preparing the new version…"),
                                   QStringLiteral("step Verifying the update…"),
                                   QStringLiteral("step Installing Quillmarsh…"),
                                   QStringLiteral("step Update installed. Relaunch when you’re ready.")};
        QCOMPARE(report.mid(0, expected.size()), expected);
        QVERIFY(harness.awaitReport(QStringLiteral("relaunched 1.1 yes")));
        harness.setVariable("TMPDIR", harness.path("tmp"));
        QCOMPARE(harness.whatStarts(), QStringLiteral("started 1.1 yes"));
        QDir().rmdir(harness.path("tmp/deeper/still"));
        QDir().rmdir(harness.path("tmp/deeper"));
        QCOMPARE(harness.leftovers(), QStringList());
        QVERIFY(harness.settingsAreUntouched());
    }

    void aFirstCopyIsMovedIn()
    {
        UpdateHarness harness;
        harness.publish(harness.archiveOf(QStringLiteral("1.1")));
        const QString elsewhere = harness.path("home/Quillmarsh.app");
        QVERIFY(QDir().rename(harness.installed(), elsewhere));
        QVERIFY(QDir().rmdir(harness.applications()));
        harness.run(elsewhere);
        QVERIFY(harness.awaitReport(QStringLiteral("relaunched 1.1 yes")));
        QCOMPARE(harness.leftovers(), QStringList());
    }

    void aFirstCopyThatCannotBeMovedInIsTold()
    {
        UpdateHarness harness;
        harness.publish(harness.archiveOf(QStringLiteral("1.1")));
        const QString elsewhere = harness.path("home/Quillmarsh.app");
        QVERIFY(QDir().rename(harness.installed(), elsewhere));
        setMode(harness.applications(), 0555);
        const QStringList report = harness.run(elsewhere);
        setMode(harness.applications(), 0755);
        QCOMPARE(report.last(), QStringLiteral("error ") + notMoved + keptSentence);
        QCOMPARE(harness.leftovers(), QStringList());
        QVERIFY(harness.settingsAreUntouched());
        QCOMPARE(harness.run(elsewhere, "probe"), QStringList{QStringLiteral("started 1.0 yes")});
    }

    void nothingNewerIsOffered_data()
    {
        QTest::addColumn<QString>("version");
        for (const char* version : {"1.0", "1.0.0", "01.0", "0.9", "0.9.9.9"})
            QTest::newRow(version) << QString::fromLatin1(version);
    }

    void nothingNewerIsOffered()
    {
        QFETCH(QString, version);
        UpdateHarness harness;
        harness.publish(harness.archiveOf(version), version);
        QCOMPARE(harness.run(harness.installed()),
                 QStringList({QStringLiteral("started 1.0 yes"), QStringLiteral("nothing new")}));
        QCOMPARE(harness.server().requests().size(), 1);
    }

    void aHostileCheckChangesNothing_data()
    {
        QTest::addColumn<Prepare>("prepare");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* name, const char* reason, Prepare prepare) {
            QTest::newRow(name) << prepare << QString::fromUtf8(reason);
        };
        const auto address = [](const char* url) {
            return [url](UpdateHarness& h) {
                publishManifest(h, QStringLiteral("1.1"),
                                QString::fromUtf8(url).replace(u'#', h.server().host()));
            };
        };
        row("http", invalidManifest, address("http://#/Quillmarsh.zip"));
        row("user name", invalidManifest, address("https://me@#/Quillmarsh.zip"));
        row("other host", invalidManifest, address("https://evil.example/Quillmarsh.zip"));
        row("scheme in capitals", invalidManifest, address("HTTPS://#/Quillmarsh.zip"));
        row("host in capitals", invalidManifest, address("https://GitHub.com/Quillmarsh.zip"));
        row("version with a tag", invalidManifest,
            [](UpdateHarness& h) { publishManifest(h, QStringLiteral("1.1-beta"), h.archiveAddress()); });
        row("redirect to http", unavailable, [](UpdateHarness& h) {
            h.server().on(
                "/update.json",
                TlsTestServer::answer(302, {}, "Location: http://" + h.server().host().toUtf8() + "/x\r\n"));
        });
        row("no manifest", "The data couldn’t be read because it isn’t in the correct format.",
            [](UpdateHarness& h) { h.server().on("/update.json", TlsTestServer::answer(200, "<html>")); });
        for (const int status : {204, 206, 301, 302, 304, 403, 404, 500, 503}) {
            row(QByteArray::number(status).constData(), unavailable, [status](UpdateHarness& h) {
                h.server().on("/update.json",
                              TlsTestServer::answer(
                                  status, h.manifest(QStringLiteral("1.1"), h.archiveAddress()),
                                  status < 400 ? "Location: https://" + h.server().host().toUtf8() + "/x\r\n"
                                               : QByteArray()));
            });
        }
        row("server gone", "Couldn’t connect to the server.", [](UpdateHarness& h) { h.server().stop(); });
        row("gone before the answer", "The network connection was lost.",
            [](UpdateHarness& h) { h.server().on("/update.json", TlsTestServer::cutAfter(0, "x")); });
        row("gone in the headers", "The network connection was lost.",
            [](UpdateHarness& h) { h.server().on("/update.json", TlsTestServer::cutAfter(20, "x")); });
        row("gone in the body", "The network connection was lost.", [](UpdateHarness& h) {
            const QByteArray body = h.manifest(QStringLiteral("1.1"), h.archiveAddress());
            h.server().on("/update.json", TlsTestServer::cutAfter(body.size() + 20, body));
        });
        row("unknown authority", "A secure connection to the server couldn’t be made.", [](UpdateHarness& h) {
            h.setVariable(
                "QUILLMARSH_TEST_CODESIGN_ANCHOR",
                QString::fromLatin1(TestCertificates::certificate(QStringLiteral("other-anchor-authority"))));
        });
    }

    void aHostileCheckChangesNothing()
    {
        QFETCH(Prepare, prepare);
        QFETCH(QString, reason);
        UpdateHarness harness;
        harness.publish({});
        prepare(harness);
        QCOMPARE(harness.run(harness.installed()),
                 QStringList({QStringLiteral("started 1.0 yes"), QStringLiteral("check ") + reason,
                              QStringLiteral("error ") + checkSentence}));
        checkNothingChanged(harness);
    }

    void aHostileReleaseChangesNothing_data()
    {
        QTest::addColumn<Prepare>("prepare");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* name, const char* reason, Prepare prepare) {
            QTest::newRow(name) << prepare << QString::fromUtf8(reason);
        };
        contentRows(row);
        archiveRows(row);
        serverRows(row);
        diskRows(row);
    }

    void aHostileReleaseChangesNothing()
    {
        QFETCH(Prepare, prepare);
        QFETCH(QString, reason);
        UpdateHarness harness;
        harness.publish(harness.archiveOf(QStringLiteral("1.1")));
        prepare(harness);
        const QStringList report = harness.run(harness.installed());
        setMode(harness.applications(), 0755);
        QCOMPARE(report.last(), QStringLiteral("error ") + reason + keptSentence);
        QVERIFY(!exists(harness.path("tmp/outside")) && !exists(harness.path("home/outside")));
        checkNothingChanged(harness);
    }

    void noOtherUserReachesTheUnpackedBundle()
    {
        UpdateHarness harness;
        harness.publish(harness.archiveOf(QStringLiteral("1.1")));
        // Everything around the working folder is open, as a system's temporary folder is.
        setMode(harness.path("."), 0755);
        setMode(harness.temporaryFolder(), 01777);
        holdTheVerifier(harness);
        QProcess process;
        harness.start(process, harness.installed(), "update");
        QTRY_VERIFY_WITH_TIMEOUT(exists(harness.path("home/verifying")), 60'000);
        const QStringList folders =
            QDir(harness.temporaryFolder()).entryList({QStringLiteral("Quillmarsh-update-*")}, QDir::Dirs);
        QCOMPARE(folders.size(), 1);
        const QString folder = harness.temporaryFolder() + u'/' + folders.first();
        QVERIFY(exists(folder + QStringLiteral("/Quillmarsh.app/Contents/Info.plist")));
        struct stat status = {};
        QCOMPARE(::stat(QFile::encodeName(folder).constData(), &status), 0);
        QCOMPARE(static_cast<int>(status.st_mode & 07777), 0700);
        QVERIFY(runAsAnotherUser("ls \"$0\" && touch \"$0/own\" && rm \"$0/own\"",
                                 harness.temporaryFolder()) <= 0); // only the working folder itself is closed
        for (const char* attempt :
             {"ls \"$0\"", "touch \"$0/x\"", "cat \"$0/Quillmarsh.zip\"",
              "mv \"$0/Quillmarsh.app\" \"$0/../own\"", "touch \"$0/Quillmarsh.app/Contents/Info.plist\"",
              "echo x >>\"$0/Quillmarsh.app/Contents/Linux/quillmarsh\"", "mv \"$0\" \"$0.own\"",
              "rm -r \"$0\"", "chmod 0777 \"$0\""})
            QVERIFY2(runAsAnotherUser(attempt, folder) != 0, attempt);
        writeFile(harness.path("home/go"), {});
        QVERIFY(harness.awaitReport(QStringLiteral("relaunched 1.1 yes")));
        QTRY_COMPARE(process.state(), QProcess::NotRunning);
        QCOMPARE(harness.leftovers(), QStringList());
    }

    void aCheckAddsLittleToTheServersTime()
    {
        UpdateHarness harness;
        harness.publish({}, QStringLiteral("1.0"));
        harness.run(harness.installed()); // the disk is warm now
        // Start of the process, check over a new TLS connection, and end.
        VERIFY_TAKES_AT_MOST(1000, [&] { harness.run(harness.installed()); });
    }

private:
    static void checkNothingChanged(UpdateHarness& harness)
    {
        QCOMPARE(harness.leftovers(), QStringList());
        QVERIFY(harness.settingsAreUntouched());
        QCOMPARE(harness.whatStarts(), QStringLiteral("started 1.0 yes"));
    }

    /// The installed verifier tells when it is asked, and waits until it may go on.
    static void holdTheVerifier(UpdateHarness& harness)
    {
        const QString tool = harness.installed() + QStringLiteral("/Contents/Linux/quillmarsh-codesign");
        QVERIFY(QFile::rename(tool, tool + QStringLiteral(".held")));
        writeFile(tool,
                  "#!/bin/sh\n: >\"$HOME/verifying\"\nwhile [ -d \"$HOME\" ] && [ ! -e \"$HOME/go\" ]; do "
                  "sleep 0.05; done\n"
                  "exec \"$0.held\" \"$@\"\n",
                  0755);
    }

    /// Fails as it should for anybody but the owner and root. Without root there is no second user to be.
    static int runAsAnotherUser(const char* command, const QString& folder)
    {
        if (::geteuid() != 0)
            return -1;
        return runTool(QStringLiteral("setpriv"),
                       {QStringLiteral("--reuid=12345"), QStringLiteral("--regid=12345"),
                        QStringLiteral("--clear-groups"), QStringLiteral("sh"), QStringLiteral("-c"),
                        QString::fromLatin1(command), folder});
    }

    template <typename Row>
    static void contentRows(Row row)
    {
        row("wrong version inside", notExpected,
            [](UpdateHarness& h) { h.publish(h.archiveOf(QStringLiteral("1.2"))); });
        row("version written otherwise", notExpected,
            [](UpdateHarness& h) { h.publish(h.archiveOf(QStringLiteral("1.1.0"))); });
        row("another identifier", notExpected, [](UpdateHarness& h) {
            publishChanged(h, [&h](const QString& b) {
                removeTree(b);
                h.makeRelease(b, QStringLiteral("1.1"), QStringLiteral("developer"),
                              QStringLiteral("com.example.other"));
            });
        });
        row("no Info.plist", notExpected, [](UpdateHarness& h) {
            publishChanged(
                h, [](const QString& b) { QFile::remove(b + QStringLiteral("/Contents/Info.plist")); });
        });
        for (const char* signer :
             {"other-unit", "expired", "not-yet-valid", "other-anchor", "self-signed", "forged-chain"})
            row(signer, notSigned, [signer](UpdateHarness& h) {
                h.publish(h.archiveOf(QStringLiteral("1.1"), QString::fromLatin1(signer)));
            });
        row("unsigned", notSigned, [](UpdateHarness& h) {
            publishChanged(
                h, [](const QString& b) { removeTree(b + QStringLiteral("/Contents/_CodeSignature")); });
        });
        row("changed byte", notSigned, [](UpdateHarness& h) {
            publishChanged(h, [](const QString& b) {
                writeFile(b + QStringLiteral("/Contents/Resources/data"), QByteArray(999, 'd') + 'e');
            });
        });
        row("changed mode", notSigned, [](UpdateHarness& h) {
            publishChanged(
                h, [](const QString& b) { setMode(b + QStringLiteral("/Contents/Resources/data"), 0755); });
        });
        row("extra file in the bundle", notSigned,
            [](UpdateHarness& h) { publishWith(h, "Quillmarsh.app/Contents/extra", "x", 0100644); });
        row("link out of the bundle", notSigned,
            [](UpdateHarness& h) { publishWith(h, "Quillmarsh.app/Contents/l", "/etc/passwd", 0120777); });
    }

    template <typename Row>
    static void archiveRows(Row row)
    {
        row("truncated archive", notExtracted, [](UpdateHarness& h) {
            const QByteArray archive = h.archiveOf(QStringLiteral("1.1"));
            h.publish(archive.left(archive.size() / 2));
        });
        row("empty archive", notExpected, [](UpdateHarness& h) { h.publish({}); });
        row("no archive", notExtracted, [](UpdateHarness& h) { h.publish("this is no archive"); });
        row("name that climbs", notExtracted,
            [](UpdateHarness& h) { publishWith(h, "../outside", "x", 0100644); });
        row("name that climbs later", notExtracted,
            [](UpdateHarness& h) { publishWith(h, "Quillmarsh.app/../../outside", "x", 0100644); });
        row("absolute name", notExpected, [](UpdateHarness& h) {
            publishWith(h, QFile::encodeName(h.path("home/outside")), "x", 0100644);
        });
        row("something beside the bundle", notExpected,
            [](UpdateHarness& h) { publishWith(h, ".hidden", "x", 0100644); });
        row("the bundle is a link", notExpected, [](UpdateHarness& h) {
            ZipWriter zip;
            zip.add("Quillmarsh.app", QFile::encodeName(h.installed()), 0120777);
            h.publish(zip.archive());
        });
        row("file through a link", notExtracted, [](UpdateHarness& h) {
            (void)h.archiveOf(QStringLiteral("1.1"));
            ZipWriter zip;
            zip.addTree(h.path("release/Quillmarsh.app"), "Quillmarsh.app");
            zip.add("Quillmarsh.app/Contents/l", QFile::encodeName(h.path("home")), 0120777);
            zip.add("Quillmarsh.app/Contents/l/outside", "x");
            h.publish(zip.archive());
        });
        row("folder that nobody may enter", notSigned,
            [](UpdateHarness& h) { publishWith(h, "Quillmarsh.app/Contents/closed/", {}, 040000); });
        row("folders deeper than a path may be long", notSigned, [](UpdateHarness& h) {
            const QByteArray folder = QByteArray(200, 'd') + '/';
            publishWith(h, "Quillmarsh.app/Contents/" + folder.repeated(60) + "file", "x", 0100644);
        });
    }

    template <typename Row>
    static void serverRows(Row row)
    {
        for (const int status : {201, 204, 206, 304, 403, 404, 500, 503})
            row(QByteArray::number(status).constData(), notDownloaded, [status](UpdateHarness& h) {
                h.server().on("/Quillmarsh.zip",
                              TlsTestServer::answer(status, status == 204 || status == 304 ? "" : "x"));
            });
        row("redirect to http", notDownloaded, [](UpdateHarness& h) {
            redirect(h, QStringLiteral("http://%1/Quillmarsh.zip").arg(h.server().host()));
        });
        row("redirect to a file", notDownloaded,
            [](UpdateHarness& h) { redirect(h, QStringLiteral("file:///etc/passwd")); });
        row("redirect to a server that is gone", "Couldn’t connect to the server.",
            [](UpdateHarness& h) { redirect(h, QStringLiteral("https://127.0.0.1:1/Quillmarsh.zip")); });
        row("redirect in a circle", notDownloaded, [](UpdateHarness& h) { redirect(h, h.archiveAddress()); });
        row("gone before the answer", "The network connection was lost.",
            [](UpdateHarness& h) { h.server().on("/Quillmarsh.zip", TlsTestServer::cutAfter(0, "x")); });
        row("gone in the headers", "The network connection was lost.",
            [](UpdateHarness& h) { h.server().on("/Quillmarsh.zip", TlsTestServer::cutAfter(30, "x")); });
        row("gone in the body", "The network connection was lost.", [](UpdateHarness& h) {
            const QByteArray archive = h.archiveOf(QStringLiteral("1.1"));
            h.server().on("/Quillmarsh.zip", TlsTestServer::cutAfter(archive.size() / 2, archive));
        });
        row("gone after the check", "Couldn’t connect to the server.", [](UpdateHarness& h) {
            const auto answer =
                TlsTestServer::answer(200, h.manifest(QStringLiteral("1.1"), h.archiveAddress()));
            h.server().on("/update.json", [&h, answer](QSslSocket& socket) {
                answer(socket);
                h.server().stop();
            });
        });
    }

    template <typename Row>
    static void diskRows(Row row)
    {
        row("no space for the archive", "There isn’t enough space on the disk.",
            [](UpdateHarness& h) { limitFileSize(h, 64); });
        row("no space for what is in it", notExtracted, [](UpdateHarness& h) {
            const QString bundle = h.path("release/Quillmarsh.app");
            removeTree(bundle);
            h.makeRelease(bundle, QStringLiteral("1.1"), QStringLiteral("developer"),
                          QStringLiteral("com.quillmarsh.app"), 64 << 20);
            makeArchive(h.path("release/Quillmarsh.zip"), h.path("release"),
                        QStringLiteral("Quillmarsh.app"));
            h.publish(readFile(h.path("release/Quillmarsh.zip")));
            limitFileSize(h, 32 << 10);
        });
        row("no space on the disk of the Applications folder", notMoved, [](UpdateHarness& h) {
            h.setTemporaryFolder(QStringLiteral("/dev/shm/quillmarsh-test-%1").arg(::getpid()));
            limitFileSizeOnceVerified(h);
        });
        row("read-only Applications folder", "You don’t have permission to change the folder.",
            [](UpdateHarness& h) { setMode(h.applications(), 0555); });
        const auto lock = std::make_shared<std::optional<ApplicationsLock>>();
        row("another process installs", notMoved,
            [lock](UpdateHarness& h) { lock->emplace(h.applications()); });
        row("no verifier", "The program “quillmarsh-codesign” couldn’t be started.", [](UpdateHarness& h) {
            // The verifier of the installed copy is gone.
            QFile::remove(h.installed() + QStringLiteral("/Contents/Linux/quillmarsh-codesign"));
        });
    }
};

QTEST_GUILESS_MAIN(tst_UpdateEndToEnd)
#include "tst_UpdateEndToEnd.moc"
