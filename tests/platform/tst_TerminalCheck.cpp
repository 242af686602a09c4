#include "platform/ModifierFlags.h"
#include "platform/linux/TerminalCheck.h"

#include <QProcess>
#include <QTest>

#include <xkbcommon/xkbcommon-keysyms.h>

#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

using namespace quillmarsh;

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
