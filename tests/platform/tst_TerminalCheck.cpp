#include "platform/ModifierFlags.h"
#include "platform/linux/TerminalCheck.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <xkbcommon/xkbcommon-keysyms.h>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

using namespace quillmarsh;

namespace {

/// The user's own desktop entries, instead of those of his HOME.
class Folder
{
public:
    Folder() { qputenv("XDG_DATA_HOME", folder_.path().toUtf8()); }
    ~Folder() { before_.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before_); }
    Q_DISABLE_COPY_MOVE(Folder)

    void write(const QString& id, const QByteArray& lines) const
    {
        QVERIFY(QDir(folder_.path()).mkpath(QStringLiteral("applications")));
        QFile file(folder_.filePath(QStringLiteral("applications/%1.desktop").arg(id)));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("[Desktop Entry]\nType=Application\nName=Unheard of\n" + lines);
    }

private:
    QByteArray before_ = qgetenv("XDG_DATA_HOME");
    QTemporaryDir folder_;
};

} // namespace

class tst_TerminalCheck final : public QObject
{
    Q_OBJECT

private slots:
    void terminalsAreKnownByTheirClass_data()
    {
        QTest::addColumn<QString>("windowClass");
        QTest::addColumn<int>("habit");
        for (const char* name : {"Alacritty",      "kitty",           "konsole",
                                 "Gnome-terminal", "Xfce4-terminal",  "Mate-terminal",
                                 "Lxterminal",     "Terminator",      "Tilix",
                                 "terminology",    "cool-retro-term", "qterminal",
                                 "Sakura",         "Guake",           "yakuake",
                                 "Tilda",          "Roxterm",         "org.wezfurlong.wezterm",
                                 "st-256color",    "Deepin-terminal"})
            QTest::newRow(name) << QString::fromLatin1(name) << int(Habit::Terminal);
        QTest::newRow("URxvt") << QStringLiteral("URxvt") << int(Habit::AltTerminal);
        for (const char* name : {"XTerm", "UXTerm", "Eterm", "mlterm", "pterm", "KOI8RXTerm", "Gvim"})
            QTest::newRow(name) << QString::fromLatin1(name) << int(Habit::Unsupported);
    }
    void terminalsAreKnownByTheirClass()
    {
        QFETCH(QString, windowClass);
        QFETCH(int, habit);
        const auto known = knownHabit({QStringLiteral("other"), windowClass});
        QVERIFY(known);
        QCOMPARE(int(*known), habit);
    }

    void editorsWhoseTerminalIsElsewhereAreKnownByTheirClass_data()
    {
        QTest::addColumn<QString>("windowClass");
        for (const char* name :
             {"Code", "Code - Insiders", "Code - OSS", "code-oss", "VSCodium", "VSCodium - Insiders",
              "codium", "Cursor", "Windsurf", "Windsurf - Next", "Positron", "Kiro", "Antigravity"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void editorsWhoseTerminalIsElsewhereAreKnownByTheirClass()
    {
        QFETCH(QString, windowClass);
        const auto habit = knownHabit({windowClass.toLower(), windowClass});
        QVERIFY(habit);
        QCOMPARE(strokesFor(Gesture::Copy, *habit),
                 (std::vector<KeyStroke>{{XKB_KEY_Insert, ModifierFlags::control}}));
        QCOMPARE(strokesFor(Gesture::Paste, *habit),
                 (std::vector<KeyStroke>{{XKB_KEY_v, ModifierFlags::control}}));
    }

    void noKeyIsPressedInAWindowOfAnotherMachine_data()
    {
        QTest::addColumn<QString>("windowClass");
        for (const char* name : {"rdesktop",
                                 "xfreerdp",
                                 "RAIL",
                                 "krdc",
                                 "Vinagre",
                                 "Remmina",
                                 "Vncviewer",
                                 "Gvncviewer",
                                 "gnome-boxes",
                                 "org.gnome.Boxes",
                                 "gnome-connections",
                                 "org.gnome.Connections",
                                 "Xephyr",
                                 "X2GoAgent",
                                 "NXAgent",
                                 "nxplayer.bin",
                                 "Wfica",
                                 "Vmware-view",
                                 "looking-glass-client",
                                 "VirtualBox Machine",
                                 "Qemu-system-x86_64",
                                 "Qemu-system-aarch64",
                                 "qemu-system-riscv64",
                                 "qemu-kvm",
                                 "qemu"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void noKeyIsPressedInAWindowOfAnotherMachine()
    {
        QFETCH(QString, windowClass);
        for (const WindowClass& names :
             {WindowClass{windowClass, {}}, WindowClass{QStringLiteral("x"), windowClass}}) {
            const auto habit = knownHabit(names);
            QVERIFY(habit);
            for (const Gesture gesture : {Gesture::Copy, Gesture::Paste})
                QVERIFY(strokesFor(gesture, *habit).empty());
        }
    }

    void noGestureOfATerminalInterrupts()
    {
        for (const Habit habit : {Habit::Terminal, Habit::AltTerminal, Habit::Mixed, Habit::Unsupported}) {
            const auto ordinary = strokesFor(Gesture::Copy, Habit::Ordinary).front();
            for (const KeyStroke& stroke : strokesFor(Gesture::Copy, habit))
                QVERIFY(!(stroke == ordinary));
        }
        QVERIFY(strokesFor(Gesture::Copy, Habit::Unsupported).empty());
        QVERIFY(strokesFor(Gesture::Paste, Habit::Unsupported).empty());
    }

    void partsOfAClassAreNoMatch()
    {
        QVERIFY(!knownHabit({QStringLiteral("stardict"), QStringLiteral("Stellarium")}));
        QVERIFY(!knownHabit({QStringLiteral("codeblocks"), QStringLiteral("Codeblocks")}));
        QVERIFY(!knownHabit({QStringLiteral("aqemu"), QStringLiteral("aqemu-system-x")}));
        QVERIFY(!knownHabit({}));
    }

    void aMotifWindowGetsTheInsertKeysOnly()
    {
        WindowIdentity motif;
        motif.windowClass = {QStringLiteral("unheard-of"), QStringLiteral("UnheardOf")};
        QCOMPARE(int(habitOf(motif)), int(Habit::Ordinary));
        motif.isMotif = true;
        QCOMPARE(int(habitOf(motif)), int(Habit::InsertKeys));
        QCOMPARE(strokesFor(Gesture::Copy, Habit::InsertKeys),
                 (std::vector<KeyStroke>{{XKB_KEY_Insert, ModifierFlags::control}}));
        QCOMPARE(strokesFor(Gesture::Paste, Habit::InsertKeys),
                 (std::vector<KeyStroke>{{XKB_KEY_Insert, ModifierFlags::shift}}));
    }

    void theMastersEndIsSeen()
    {
        QVERIFY(!hasPseudoTerminal(getpid()));
        const int master = posix_openpt(O_RDWR | O_NOCTTY);
        QVERIFY(master >= 0);
        QVERIFY(hasPseudoTerminal(getpid()));
        ::close(master);
        QVERIFY(!hasPseudoTerminal(getpid()));
    }

    void theEntryTellsAnEditorWithATerminalFromATerminal_data()
    {
        QTest::addColumn<QString>("file"); // %1: the class
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<QString>("desktopFile");
        QTest::addColumn<int>("habit");
        const QByteArray editor = "Categories=Utility;TextEditor;\n";
        const QByteArray terminal = "Categories=System;TerminalEmulator;\n";
        const QByteArray claim = "StartupWMClass=%1\n";
        const QString named = QStringLiteral("org.example.Unheard");
        QTest::newRow("none") << named << editor << QString() << int(Habit::Unsupported);
        QTest::newRow("of its class") << QStringLiteral("%1") << editor << QString() << int(Habit::Mixed);
        QTest::newRow("named") << named << editor << named << int(Habit::Mixed);
        QTest::newRow("named with its path")
            << named << editor << QStringLiteral("/opt/org.example.Unheard.desktop") << int(Habit::Mixed);
        QTest::newRow("claims the class") << named << editor + claim << QString() << int(Habit::Mixed);
        QTest::newRow("emulator named") << named << terminal << named << int(Habit::Unsupported);
        QTest::newRow("emulator claims") << named << terminal + claim << QString() << int(Habit::Unsupported);
    }
    void theEntryTellsAnEditorWithATerminalFromATerminal()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, lines);
        QFETCH(QString, desktopFile);
        QFETCH(int, habit);
        // What was found for a class stays.
        const QString windowClass =
            QString::fromLatin1(QTest::currentDataTag()).replace(QLatin1Char(' '), QLatin1Char('-'));
        const Folder folder;
        folder.write(file.replace(QLatin1String("%1"), windowClass),
                     lines.replace("%1", windowClass.toUtf8()));
        const int master = posix_openpt(O_RDWR | O_NOCTTY);
        const auto closing = qScopeGuard([master] { ::close(master); });
        WindowIdentity target;
        target.windowClass = {windowClass, windowClass.toUpper()};
        target.desktopFile = desktopFile;
        target.process = getpid();
        for (int press = 0; press < 2; ++press)
            QCOMPARE(int(habitOf(target)), habit);
    }

    void nothingIsKnownOfNoProcess()
    {
        QVERIFY(!hasPseudoTerminal(0));
        QVERIFY(!hasPseudoTerminal(-1));
        QProcess ended;
        ended.start(QStringLiteral("sleep"), {QStringLiteral("60")});
        QVERIFY(ended.waitForStarted());
        const qint64 id = ended.processId();
        QVERIFY(!hasPseudoTerminal(id));
        ended.kill();
        QVERIFY(ended.waitForFinished());
        QVERIFY(!hasPseudoTerminal(id));
    }
};

QTEST_GUILESS_MAIN(tst_TerminalCheck)
#include "tst_TerminalCheck.moc"
