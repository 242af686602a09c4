#include "platform/XTestSession.h"
#include "platform/linux/XWindows.h"
#include "platform/linux/XWorkspace.h"
#include "support/CoroutineTest.h"

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

void writeFile(const QString& path, const QByteArray& content, bool executable = false)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
    if (executable)
        file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
}

QString home(const QString& below)
{
    return QDir::homePath() + QLatin1Char('/') + below;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// A file manager on the bus.
class FileManager final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public slots:
    Q_SCRIPTABLE void ShowItems(const QStringList& addresses, const QString&) { shown << addresses; }

public:
    QStringList shown;
};

class tst_XWorkspace final : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<XConnection> connection_;
    std::unique_ptr<XWorkspace> workspace_;

    /// What is in front, once it is this window: while the window manager turns to another, nothing may be.
    RunningApplication awaitInFront(quint64 window)
    {
        std::optional<RunningApplication> front;
        const auto isInFront = [&] {
            front = workspace_->frontmostApplication();
            return front && front->window == window;
        };
        return QTest::qWaitFor(isInFront) ? *front : RunningApplication{};
    }

    /// Puts an "xdg-open" of our own first in the path.
    static void setOpener(const QByteArray& script)
    {
        writeFile(home("bin/xdg-open"), "#!/bin/sh\n" + script, true);
    }

private slots:
    void initTestCase()
    {
        qputenv("LC_ALL", "de_AT.UTF-8");
        qputenv("PATH", QFile::encodeName(home("bin:")) + qgetenv("PATH"));
        writeFile(home(".local/share/applications/org.test.Editor.desktop"),
                  "[Desktop Entry]\nName=Editor\nName[de]=Schreiber\nStartupWMClass=EditorClass\n");
        connection_ = XConnection::open();
        workspace_ = std::make_unique<XWorkspace>(connection_);
    }

    void theActiveWindowIsInFront()
    {
        QSignalSpy activated(workspace_.get(), &Workspace::didActivateApplication);
        TargetWindow first("first", "EditorClass");
        QTRY_COMPARE(activated.size(), 1);
        TargetWindow second("second", "Second");
        QTRY_COMPARE(activated.size(), 2);
        const RunningApplication front = awaitInFront(second.window());
        QCOMPARE(front.window, quint64{second.window()});
        QCOMPARE(front.identifier, QStringLiteral("Second"));
        QCOMPARE(front.localizedName, QStringLiteral("Second"));
        QCOMPARE(front.processIdentifier, QCoreApplication::applicationPid());
        const auto announced = activated[0][0].value<RunningApplication>();
        QCOMPARE(announced.window, quint64{first.window()});

        workspace_->activate(announced);
        const RunningApplication again = awaitInFront(first.window());
        QCOMPARE(again.window, quint64{first.window()});
        QCOMPARE(again.localizedName, QStringLiteral("Schreiber"));
    }

    void nothingIsInFrontOfAnEmptyDesktop()
    {
        QTRY_VERIFY(!workspace_->frontmostApplication());
        workspace_->activate({}); // nothing to bring forward
    }

    void aWindowWithoutAnyPropertyIsAnApplicationToo()
    {
        TargetWindow plain("", "");
        const RunningApplication front = awaitInFront(plain.window());
        QCOMPARE(front.window, quint64{plain.window()});
        QVERIFY(front.processIdentifier > 0);
        QVERIFY(front.client != 0);
        QVERIFY(isSameApplication(front, front));
    }

    void anIdentifierIsReadWithAndWithoutAZeroAtItsEnd()
    {
        for (const QByteArray& identifier :
             {QByteArray("org.test.Editor"), QByteArray("org.test.Editor", 16)}) {
            TargetWindow window("first", "First");
            XConnection& connection = window.connection();
            xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window.window(),
                                connection.atom("_GTK_APPLICATION_ID"), connection.atom("UTF8_STRING"), 8,
                                static_cast<uint32_t>(identifier.size()), identifier.constData());
            connection.synchronize();
            const RunningApplication front = awaitInFront(window.window());
            QCOMPARE(front.window, quint64{window.window()});
            QCOMPARE(front.identifier, QStringLiteral("org.test.Editor"));
            QCOMPARE(front.localizedName, QStringLiteral("Schreiber"));
        }
    }

    void activatingAClosedWindowBringsItsProgramForward()
    {
        QProcess editor;
        editor.start(QStringLiteral("xterm"), {}); // any second program will do
        QVERIFY(editor.waitForStarted());
        std::optional<RunningApplication> front;
        const auto isInFront = [&] {
            front = workspace_->frontmostApplication();
            return front && front->processIdentifier == editor.processId();
        };
        QTRY_VERIFY_WITH_TIMEOUT(isInFront(), 30'000); // it loads its fonts first
        RunningApplication gone = *front;
        const quint64 window = gone.window;
        gone.window = 0x7fffff0;
        TargetWindow other("other", "Other");
        QCOMPARE(awaitInFront(other.window()).window, quint64{other.window()});
        workspace_->activate(gone);
        QCOMPARE(awaitInFront(window).window, window);
        editor.kill();
        editor.waitForFinished();
    }

    void anAddressIsHandedOverAsOneArgument()
    {
        setOpener("printf '%s|' \"$@\" > \"$HOME/opened\"\n");
        QVERIFY(
            runTask(workspace_->open(QUrl(QStringLiteral("https://a.example/x y;$(touch bad)?q=ü&b=%20")))));
        QCOMPARE(contentOf(home("opened")),
                 QByteArray("https://a.example/x%20y;$(touch%20bad)?q=%C3%BC&b=%20|"));
        QVERIFY(!QFile::exists(QStringLiteral("bad")));
    }

    void anOpenerThatFailsIsReported()
    {
        setOpener("exit 3\n");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("could not be started")));
        QVERIFY(!runTask(workspace_->open(QUrl(QStringLiteral("https://a.example")))));
        QVERIFY(!runTask(workspace_->open(QUrl(QStringLiteral("no address")))));
    }

    void anOpenerThatStaysIsASuccess()
    {
        setOpener("echo $$ > \"$HOME/pid\"; exec sleep 60\n");
        QVERIFY(runTask(workspace_->open(QUrl(QStringLiteral("https://a.example")))));
        QTRY_VERIFY(contentOf(home("pid")).endsWith('\n'));
        const int pid = contentOf(home("pid")).trimmed().toInt();
        QVERIFY(pid > 0);
        QCOMPARE(::kill(pid, 0), 0); // still running
        ::kill(pid, SIGKILL);
    }

    void anApplicationStartsOnItsOwn()
    {
        const QString bundle = home("A.app");
        writeFile(bundle + "/Contents/Info.plist",
                  "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>CFBundleExecutable</key>"
                  "<string>tool</string></dict></plist>");
        writeFile(bundle + "/Contents/Linux/tool", "#!/bin/sh\nprintf '%s|' \"$@\" > \"$HOME/started\"\n",
                  true);
        QVERIFY(
            runTask(workspace_->openApplication(bundle, {QStringLiteral("--after"), QStringLiteral("a b")})));
        QTRY_COMPARE(contentOf(home("started")), QByteArray("--after|a b|"));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("could not be started")));
        QVERIFY(!runTask(workspace_->openApplication(home("Missing.app"), {})));
    }

    void revealingAsksTheFileManager()
    {
        QDBusConnection bus =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("manager"));
        FileManager manager;
        QVERIFY(bus.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &manager,
                                   QDBusConnection::ExportScriptableSlots));
        QVERIFY(bus.registerService(QStringLiteral("org.freedesktop.FileManager1")));
        QVERIFY(runTask(workspace_->reveal(home("a b.zip"))));
        QCOMPARE(manager.shown, QStringList{QUrl::fromLocalFile(home("a b.zip")).toEncoded()});
        QVERIFY(bus.unregisterService(QStringLiteral("org.freedesktop.FileManager1")));
    }

    void revealingOpensTheFolderWithoutAFileManager()
    {
        setOpener("printf '%s' \"$1\" > \"$HOME/revealed\"\n");
        QVERIFY(runTask(workspace_->reveal(home("a.zip"))));
        QCOMPARE(contentOf(home("revealed")), QUrl::fromLocalFile(QDir::homePath()).toEncoded());
    }
};

QTEST_GUILESS_MAIN(tst_XWorkspace)
#include "tst_XWorkspace.moc"
