#include "platform/ClipboardPeer.h"
#include "platform/ModifierFlags.h"
#include "platform/NextConnection.h"
#include "platform/XTestSession.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XEventTap.h"
#include "platform/linux/XKeyPoster.h"
#include "platform/linux/XKeyboard.h"
#include "platform/linux/XPasteboard.h"
#include "platform/linux/XWorker.h"
#include "support/CoroutineTest.h"

#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <array>
#include <atomic>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

using Keys = std::vector<xcb_keycode_t>;

bool isModifier(const TargetWindow::Press& press)
{
    return press.symbol >= XKB_KEY_Shift_L && press.symbol <= XKB_KEY_Hyper_R;
}

} // namespace

class tst_XKeyPoster final : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<XWorker> worker_ = XWorker::start();
    XKeyPoster poster_{worker_};

    bool copy() { return runTask(poster_.post(VirtualKey::c, ModifierFlags::command)).has_value(); }
    bool paste() { return runTask(poster_.post(VirtualKey::v, ModifierFlags::command)).has_value(); }

    /// What the window got apart from modifier keys.
    static std::vector<TargetWindow::Press> typed(TargetWindow& target)
    {
        target.catchUp();
        std::vector<TargetWindow::Press> result;
        std::copy_if(target.presses.begin(), target.presses.end(), std::back_inserter(result),
                     [](const auto& press) { return !isModifier(press); });
        return result;
    }

    /// Exactly one press of the key that yields `symbol`, with exactly `modifiers`.
    static bool gotOnly(TargetWindow& target, xcb_keysym_t symbol, uint16_t modifiers)
    {
        const auto presses = typed(target);
        const bool ok =
            presses.size() == 1 && presses[0].symbol == symbol && presses[0].modifiers == modifiers;
        for (const auto& press : presses) {
            if (!ok)
                qInfo("got key %d symbol %x modifiers %x", press.keycode, press.symbol, press.modifiers);
        }
        return ok;
    }

private slots:
    void cleanup()
    {
        QCOMPARE(PhysicalKeyboard().keysDown(), Keys{});
        QCOMPARE(PhysicalKeyboard().keysDownOnXTest(), Keys{});
        PhysicalKeyboard::setLayout({QStringLiteral("us")});
    }

    void theGestureArrivesWhateverIsHeld_data()
    {
        QTest::addColumn<QList<int>>("held");
        QTest::newRow("nothing") << QList<int>{};
        QTest::newRow("Shift-Super-R") << QList<int>{Key::shiftL, Key::superL, Key::r};
        QTest::newRow("Super-R") << QList<int>{Key::superL, Key::r};
        QTest::newRow("Control-Alt-C") << QList<int>{Key::controlL, Key::altL, Key::c};
        QTest::newRow("Control-Shift-V") << QList<int>{Key::controlL, Key::shiftL, Key::v};
        QTest::newRow("Alt-Shift-R") << QList<int>{Key::altL, Key::shiftL, Key::r};
        QTest::newRow("Control-R") << QList<int>{Key::controlL, Key::r};
        QTest::newRow("right-hand keys") << QList<int>{105, 62, 134, 108, Key::r};
        QTest::newRow("all") << QList<int>{Key::controlL, Key::shiftL, Key::altL, Key::superL,
                                           105,           62,          Key::r};
    }
    void theGestureArrivesWhateverIsHeld()
    {
        QFETCH(QList<int>, held);
        TargetWindow target;
        PhysicalKeyboard keyboard;
        for (const int key : held)
            keyboard.press(static_cast<xcb_keycode_t>(key));
        target.catchUp();
        for (const bool isCopy : {true, false}) {
            target.presses.clear();
            QVERIFY(isCopy ? copy() : paste());
            QVERIFY(gotOnly(target, isCopy ? XKB_KEY_c : XKB_KEY_v, XCB_MOD_MASK_CONTROL));
        }
        for (const int key : held)
            keyboard.release(static_cast<xcb_keycode_t>(key));
        target.presses.clear();
        keyboard.tap(Key::w); // what the user types next is plain text
        QVERIFY(gotOnly(target, XKB_KEY_w, 0));
    }

    void theGestureFollowsItsOwnHotKey_data()
    {
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<int>("keycode");
        QTest::newRow("R") << int{VirtualKey::r} << int{Key::r};
        QTest::newRow("C, the copying key itself") << int{VirtualKey::c} << int{Key::c};
    }
    void theGestureFollowsItsOwnHotKey()
    {
        QFETCH(int, keyCode);
        QFETCH(int, keycode);
        TargetWindow target;
        PhysicalKeyboard keyboard;
        int fired = 0;
        XEventTapSource source(worker_);
        const auto tap = source.create([&](const KeyEvent& event) {
            fired += event.isAutorepeat ? 0 : 1;
            return TapVerdict::Swallow;
        });
        tap->setInterest({{static_cast<quint16>(keyCode), ModifierFlags::control | ModifierFlags::option}});
        tap->setEnabled(true);
        for (int round = 1; round <= 3; ++round) {
            keyboard.press(Key::controlL);
            keyboard.press(Key::altL);
            keyboard.press(static_cast<xcb_keycode_t>(keycode));
            QTRY_COMPARE(fired, round);
            target.presses.clear();
            QVERIFY(copy());
            QVERIFY(gotOnly(target, XKB_KEY_c, XCB_MOD_MASK_CONTROL));
            QTest::qWait(800); // long enough to repeat, if it did
            QCOMPARE(fired, round);
            keyboard.release(static_cast<xcb_keycode_t>(keycode));
            keyboard.release(Key::altL);
            keyboard.release(Key::controlL);
        }
    }

    void aHotKeyThatIsTheGestureItselfDoesNotFire()
    {
        TargetWindow target;
        int fired = 0;
        XEventTapSource source(worker_);
        const auto tap = source.create([&](const KeyEvent&) {
            ++fired;
            return TapVerdict::Swallow;
        });
        tap->setInterest({{VirtualKey::c, ModifierFlags::control}});
        tap->setEnabled(true);
        QVERIFY(copy());
        QVERIFY(gotOnly(target, XKB_KEY_c, XCB_MOD_MASK_CONTROL));
        QTest::qWait(30);
        QCOMPARE(fired, 0);
        PhysicalKeyboard keyboard;
        keyboard.press(Key::controlL);
        keyboard.tap(Key::c);
        QTRY_COMPARE(fired, 1); // and it is held again afterwards
    }

    void aKeyStuckOnXTestIsRepaired_data()
    {
        QTest::addColumn<int>("stuck");
        QTest::newRow("Control") << int{Key::controlL};
        QTest::newRow("right Control") << 105;
        QTest::newRow("Shift") << int{Key::shiftL};
        QTest::newRow("c") << int{Key::c};
    }
    void aKeyStuckOnXTestIsRepaired()
    {
        QFETCH(int, stuck);
        const auto key = static_cast<xcb_keycode_t>(stuck);
        TargetWindow target;
        PhysicalKeyboard keyboard;
        keyboard.press(key);
        xcb_test_fake_input(target.connection().get(), XCB_KEY_PRESS, key, 0, XCB_NONE, 0, 0, 0);
        target.catchUp();
        keyboard.release(key); // up for everybody but the XTEST keyboard
        QCOMPARE(keyboard.keysDownOnXTest(), Keys{key});
        target.presses.clear();
        QVERIFY(copy());
        QVERIFY(gotOnly(target, XKB_KEY_c, XCB_MOD_MASK_CONTROL));
    }

    void lockKeysDoNotMatter()
    {
        PhysicalKeyboard keyboard;
        for (int locks : {int{XCB_MOD_MASK_LOCK}, int{XCB_MOD_MASK_2}, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2}) {
            TargetWindow target;
            keyboard.lockModifiers(static_cast<uint16_t>(locks));
            QVERIFY(copy());
            QVERIFY(gotOnly(target, XKB_KEY_c, XCB_MOD_MASK_CONTROL));
        }
    }

    void aModifierThatCannotBeLiftedStopsTheGesture()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        keyboard.lockModifiers(XCB_MOD_MASK_SHIFT);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("modifier keys stayed down")));
        QVERIFY(!copy());
        QCOMPARE(typed(target).size(), 0U);
    }

    void layouts_data()
    {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QString>("variant");
        QTest::addColumn<int>("group");
        QTest::addColumn<bool>("latin");
        const auto add = [](const char* layout, const char* variant, int group, bool latin) {
            QTest::addRow("%s %s group %d", layout, variant, group)
                << QString::fromLatin1(layout) << QString::fromLatin1(variant) << group << latin;
        };
        for (const char* layout : {"us", "de", "fr", "es", "tr", "pl", "jp"})
            add(layout, "", 0, true);
        add("us", "dvorak", 0, true);
        add("us", "colemak", 0, true);
        add("fr", "bepo", 0, true);
        add("us,us", ",dvorak", 0, true);
        add("us,us", ",dvorak", 1, true);
        for (const char* layout : {"us,ru", "ru,us", "us,gr", "gr,us"}) {
            add(layout, "", 0, true);
            add(layout, "", 1, true);
        }
        for (const char* layout : {"ru", "gr", "il", "ara"})
            add(layout, "", 0, false);
    }
    void layouts()
    {
        QFETCH(QString, layout);
        QFETCH(QString, variant);
        QFETCH(int, group);
        QFETCH(bool, latin);
        PhysicalKeyboard::setLayout({layout, QStringLiteral("-variant"), variant});
        TargetWindow target;
        PhysicalKeyboard keyboard;
        keyboard.lockGroup(static_cast<unsigned>(group));
        keyboard.press(Key::shiftL);
        keyboard.press(Key::superL);
        for (const bool isCopy : {true, false}) {
            target.presses.clear();
            QVERIFY(isCopy ? copy() : paste());
            const auto presses = typed(target);
            QCOMPARE(presses.size(), 1U);
            if (latin) {
                const auto symbols = XKeySymbols::fetch(target.connection().get());
                const xcb_keysym_t wanted = isCopy ? XKB_KEY_c : XKB_KEY_v;
                QCOMPARE(presses[0].modifiers, uint16_t{XCB_MOD_MASK_CONTROL});
                QCOMPARE(presses[0].keycode, symbols.keyInAnyGroup(wanted, static_cast<unsigned>(group)));
            } else {
                QCOMPARE(presses[0].symbol, xcb_keysym_t{XKB_KEY_Insert});
                QCOMPARE(presses[0].modifiers, uint16_t(isCopy ? XCB_MOD_MASK_CONTROL : XCB_MOD_MASK_SHIFT));
            }
        }
    }

    void theRealKeyboardMayHaveAnotherMapThanXTest()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        keyboard.setOwnLayout(QStringLiteral("us"), QStringLiteral("dvorak"));
        for (int round = 0; round < 5; ++round) {
            keyboard.tap(31); // yields "c" there, "i" on the XTEST keyboard
            target.catchUp();
            QCOMPARE(target.presses.back().symbol, xcb_keysym_t{XKB_KEY_c});
            target.presses.clear();
            QVERIFY(copy());
            QVERIFY(gotOnly(target, XKB_KEY_c, XCB_MOD_MASK_CONTROL));
        }
        keyboard.setOwnLayout(QStringLiteral("us"), QString());
    }

    void anAnnouncedGestureFindsItsMapInForce()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        keyboard.setOwnLayout(QStringLiteral("us"), QStringLiteral("dvorak"));
        const auto symbol = [&] { return XKeySymbols::fetch(target.connection().get()).symbol(31, 0); };
        QVERIFY(copy());
        keyboard.tap(Key::shiftL);
        QCOMPARE(symbol(), xcb_keysym_t{XKB_KEY_c});
        target.catchUp();
        target.presses.clear();
        target.releases.clear();
        poster_.prepare();
        QTRY_COMPARE(symbol(), xcb_keysym_t{XKB_KEY_i});
        target.catchUp();
        QVERIFY(target.presses.empty() && target.releases.empty());
        QVERIFY(paste()); // it was not taken for the user's typing
        QVERIFY(gotOnly(target, XKB_KEY_v, XCB_MOD_MASK_CONTROL));
        keyboard.setOwnLayout(QStringLiteral("us"), QString());
    }

    void theUserTypesThroughEverything()
    {
        // On the real keyboard, in a thread of its own: letters, and Shift and Control, held as fast hands
        // hold them. A gesture may be given up; what is sent must be right.
        TargetWindow target;
        std::atomic_bool stop = false;
        const std::unique_ptr<QThread> user(QThread::create([&stop] {
            PhysicalKeyboard keyboard;
            for (unsigned round = 0; !stop; ++round) {
                const xcb_keycode_t held = round % 2 == 0 ? Key::shiftL : Key::controlL;
                keyboard.press(held);
                for (int letter = 0; letter < 5; ++letter) {
                    keyboard.tap(Key::a);
                    QThread::usleep(700 + round % 5 * 77);
                }
                keyboard.release(held);
            }
        }));
        user->start();
        int sent = 0;
        for (int round = 0; round < 1000; ++round)
            sent += copy() ? 1 : 0;
        stop = true;
        QVERIFY(user->wait(30000));
        const auto presses = typed(target);
        const auto copies = std::count_if(presses.begin(), presses.end(),
                                          [](const auto& press) { return press.keycode == Key::c; });
        const auto rightCopies = std::count_if(presses.begin(), presses.end(), [](const auto& press) {
            return press.keycode == Key::c && press.modifiers == XCB_MOD_MASK_CONTROL;
        });
        QCOMPARE(copies, sent);
        QCOMPARE(rightCopies, copies);
        QVERIFY2(sent > 950, qPrintable(QString::number(sent)));
    }

    void theUserLiftsBothControls()
    {
        // He presses now the one, now the other, while the server is busy reading its map out to an
        // application. Between the check of the modifiers and the letter there is then time for both.
        TargetWindow target;
        std::atomic_bool stop = false;
        const std::unique_ptr<QThread> user(QThread::create([&stop] {
            PhysicalKeyboard keyboard;
            for (unsigned round = 0; !stop; ++round) {
                keyboard.tap(round % 2 == 0 ? Key::controlL : Key::controlR);
                QThread::usleep(round % 7 * 100);
            }
        }));
        const std::unique_ptr<QThread> application(QThread::create([&stop] {
            const auto connection = XConnection::open();
            while (!stop) {
                std::array<uint32_t, 20> requests{};
                for (uint32_t& request : requests)
                    request = XKeySymbols::request(connection->get());
                for (const uint32_t request : requests)
                    static_cast<void>(XKeySymbols::fromReply(connection->get(), request));
            }
        }));
        user->start();
        application->start();
        int sent = 0;
        for (int round = 0; round < 600; ++round)
            sent += copy() ? 1 : 0;
        stop = true;
        QVERIFY(user->wait(30000) && application->wait(30000));
        const auto copies = typed(target);
        QCOMPARE(static_cast<int>(copies.size()), sent);
        QCOMPARE(std::count_if(copies.begin(), copies.end(),
                               [](const auto& press) { return press.modifiers != XCB_MOD_MASK_CONTROL; }),
                 0);
        QVERIFY2(sent > 300, qPrintable(QString::number(sent)));
    }

    void applicationsGetTheirOwnGesture_data()
    {
        QTest::addColumn<QByteArray>("instance");
        QTest::addColumn<QByteArray>("className");
        QTest::addColumn<uint>("symbol");
        QTest::addColumn<uint>("copyModifiers");
        QTest::addColumn<uint>("pasteModifiers");
        constexpr uint none = 0, c = XKB_KEY_c, control = XCB_MOD_MASK_CONTROL, shift = XCB_MOD_MASK_SHIFT,
                       alt = XCB_MOD_MASK_1;
        using Name = QByteArray;
        QTest::newRow("editor") << Name("mousepad") << Name("Mousepad") << c << control << control;
        QTest::newRow("not a terminal") << Name("stellarium") << Name("first") << c << control << control;
        QTest::newRow("VTE") << Name("gnome-terminal-server") << Name("Gnome-terminal") << c
                             << (control | shift) << (control | shift);
        QTest::newRow("by instance") << Name("Alacritty") << Name("other") << c << (control | shift)
                                     << (control | shift);
        QTest::newRow("Qt terminal") << Name("qterminal") << Name("qterminal") << c << (control | shift)
                                     << (control | shift);
        QTest::newRow("urxvt") << Name("urxvt") << Name("URxvt") << c << (control | alt) << (control | alt);
        QTest::newRow("xterm") << Name("xterm") << Name("XTerm") << none << none << none;
        QTest::newRow("virtual machine")
            << Name("VirtualBox Machine") << Name("VirtualBox Machine") << none << none << none;
    }
    void applicationsGetTheirOwnGesture()
    {
        QFETCH(QByteArray, instance);
        QFETCH(QByteArray, className);
        QFETCH(uint, symbol);
        QFETCH(uint, copyModifiers);
        QFETCH(uint, pasteModifiers);
        TargetWindow target(instance, className);
        QCOMPARE(copy(), symbol != 0);
        if (symbol == 0) {
            QCOMPARE(typed(target).size(), 0U);
            QVERIFY(!paste());
            return;
        }
        QVERIFY(gotOnly(target, symbol, static_cast<uint16_t>(copyModifiers)));
        target.presses.clear();
        QVERIFY(paste());
        QVERIFY(gotOnly(target, XKB_KEY_v, static_cast<uint16_t>(pasteModifiers)));
    }

    void nothingIsPastedWhereItWouldNotReplace()
    {
        TargetWindow emacs("emacs", "Emacs");
        QVERIFY(copy());
        QVERIFY(gotOnly(emacs, XKB_KEY_Insert, XCB_MOD_MASK_CONTROL));
        emacs.presses.clear();
        QVERIFY(!paste());
        QCOMPARE(typed(emacs).size(), 0U);
    }

    void tkApplicationsAreNotPastedInto()
    {
        TargetWindow target;
        XConnection& connection = target.connection();
        const auto set = [&connection](xcb_window_t window, const char* property, const QByteArray& value) {
            xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window, connection.atom(property),
                                XCB_ATOM_STRING, 8, static_cast<uint32_t>(value.size()), value.constData());
            connection.synchronize();
        };
        const QByteArray entry = QByteArray::number(target.window(), 16) + QByteArray(" notes\0", 7);
        set(connection.root(), "InterpRegistry", QByteArray("1 gone\0", 7) + entry);
        QVERIFY(paste()); // the entry of a program that was killed, whose number this one got
        set(target.window(), "TK_APPLICATION", "notes");
        QVERIFY(!paste());
        QVERIFY(copy());
        set(connection.root(), "InterpRegistry", {});
        QVERIFY(paste());
        QCOMPARE(typed(target).size(), 3U);
    }

    void terminalsGetNoTextTheyMightRun_data()
    {
        QTest::addColumn<QByteArray>("instance");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isPasted");
        const QByteArray terminal("qterminal"), altTerminal("urxvt"), editor("editor");
        QTest::newRow("one line") << terminal << QStringLiteral("söme 👍🏽 words") << true;
        QTest::newRow("two lines") << terminal << QStringLiteral("one\ntwo") << false;
        QTest::newRow("line break at the end") << terminal << QStringLiteral("one\n") << false;
        QTest::newRow("carriage return") << altTerminal << QStringLiteral("one\rtwo") << false;
        QTest::newRow("next line (C1)") << terminal << QStringLiteral("one\u0085two") << false;
        QTest::newRow("escape") << terminal << QStringLiteral("\x1b[201~ls") << false;
        QTest::newRow("tab, which completes") << terminal << QStringLiteral("l\t") << false;
        QTest::newRow("an editor") << editor << QStringLiteral("one\ntwo\t") << true;
    }
    void terminalsGetNoTextTheyMightRun()
    {
        QFETCH(QByteArray, instance);
        QFETCH(QString, text);
        QFETCH(bool, isPasted);
        TargetWindow target(instance, instance);
        XPasteboard pasteboard(worker_);
        QVERIFY(runTask(pasteboard.setString(text)));
        QCOMPARE(paste(), isPasted);
        QCOMPARE(typed(target).size(), size_t(isPasted ? 1 : 0));
    }

    void anyKeyCanBePosted()
    {
        TargetWindow target;
        QVERIFY(runTask(poster_.post(VirtualKey::r, ModifierFlags::command | ModifierFlags::shift)));
        QVERIFY(gotOnly(target, XKB_KEY_r, XCB_MOD_MASK_4 | XCB_MOD_MASK_SHIFT));
        target.presses.clear();
        QVERIFY(runTask(poster_.post(36, 0))); // Return
        QVERIFY(gotOnly(target, XKB_KEY_Return, 0));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("lacks the key 200")));
        QVERIFY(!runTask(poster_.post(200, 0)));
    }

    void nothingIsPastedWhereTheUserTypedOn()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        keyboard.tap(Key::a);
        QVERIFY(copy());
        keyboard.tap(Key::shiftL);
        keyboard.tap(Key::capsLock);
        keyboard.tap(Key::capsLock);
        QVERIFY(paste());
        QVERIFY(copy());
        keyboard.tap(Key::a);
        target.catchUp();
        target.presses.clear();
        QVERIFY(!paste());
        QVERIFY(typed(target).empty());
        QVERIFY(copy());
        QVERIFY(paste());
    }

    void nothingIsPastedWhereTheUserTypedAtARemoteKeyboard()
    {
        TargetWindow target;
        QVERIFY(copy());
        XConnection& remote = target.connection();
        for (const int type : {XCB_KEY_PRESS, XCB_KEY_RELEASE})
            xcb_test_fake_input(remote.get(), static_cast<uint8_t>(type), Key::a, XCB_CURRENT_TIME, XCB_NONE,
                                0, 0, 0);
        remote.synchronize();
        QVERIFY(!paste());
        QVERIFY(copy());
        QVERIFY(paste());
    }

    void nothingIsPastedWhereTheUserClicked_data()
    {
        QTest::addColumn<int>("button");
        QTest::addColumn<bool>("pasted");
        QTest::newRow("left") << 1 << false;
        QTest::newRow("wheel") << 5 << true;
        QTest::newRow("wheel, sideways") << 7 << true;
        QTest::newRow("back") << 8 << false;
    }
    void nothingIsPastedWhereTheUserClicked()
    {
        QFETCH(int, button);
        TargetWindow target;
        QVERIFY(copy());
        XConnection& mouse = target.connection();
        for (const int type : {XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE})
            xcb_test_fake_input(mouse.get(), static_cast<uint8_t>(type), static_cast<uint8_t>(button),
                                XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        mouse.synchronize();
        QTEST(paste(), "pasted");
    }

    void nothingIsPastedIntoAnotherWindow()
    {
        TargetWindow target;
        QVERIFY(copy());
        {
            TargetWindow another;
            QVERIFY(!paste());
            QVERIFY(typed(another).empty());
        }
        xcb_set_input_focus(target.connection().get(), XCB_INPUT_FOCUS_PARENT, target.window(),
                            XCB_CURRENT_TIME);
        target.catchUp();
        QVERIFY(paste());
    }

    void nothingIsPastedAfterATimeWithoutAConnection()
    {
        TargetWindow target;
        QVERIFY(copy());
        awaitNextConnection(*worker_, target.connection());
        QVERIFY(!paste()); // nobody saw what the user did meanwhile
        QVERIFY(copy());
        QVERIFY(paste());
    }

    void nothingIsPastedWhereTheSelectionEnded_data()
    {
        QTest::addColumn<QByteArrayList>("offered");
        QTest::addColumn<QByteArray>("windowClass");
        QTest::addColumn<bool>("pasted");
        const QByteArrayList gtk{"UTF8_STRING", "COMPOUND_TEXT", "STRING"};
        QTest::newRow("GTK") << gtk << QByteArray("editor") << false;
        QTest::newRow("a terminal") << gtk << QByteArray("some-terminal") << true;
        QTest::newRow("Firefox") << gtk + QByteArrayList{"text/x-moz-url-priv"} << QByteArray("editor")
                                 << true;
        QTest::newRow("Qt") << QByteArrayList{"UTF8_STRING", "STRING"} << QByteArray("editor") << true;
    }
    void nothingIsPastedWhereTheSelectionEnded()
    {
        QFETCH(QByteArrayList, offered);
        QFETCH(QByteArray, windowClass);
        QFETCH(bool, pasted);
        std::map<QByteArray, QByteArray> values;
        for (const QByteArray& target : offered)
            values[target] = "text";
        XPasteboard pasteboard(worker_);
        QVERIFY(runTask(pasteboard.setString(QStringLiteral("one line")))); // a terminal may be given it
        ClipboardPeer application, manager;
        application.comeToFront(windowClass);
        application.select(values);
        const auto copyFromApplication = [this, &application] {
            application.asked.clear();
            application.lastAnswer.reset();
            QVERIFY(copy());
            QTRY_VERIFY(application.asked.contains("TARGETS") && application.lastAnswer);
            application.connection()->synchronize(); // the answer is there before what others do next
        };
        copyFromApplication();
        QVERIFY(paste()); // it still has its selection
        copyFromApplication();
        application.select(values);
        QVERIFY(paste());
        copyFromApplication();
        manager.select("text");
        QCOMPARE(paste(), pasted);
        QVERIFY(copy()); // what is selected now was never the primary selection of this application
        QVERIFY(paste());
    }

    void lookingSomethingUpInAnotherWindowIsNotTyping()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        QVERIFY(copy());
        keyboard.press(Key::altL);
        keyboard.tap(Key::tab);
        QVERIFY(paste());
        QVERIFY(copy());
        keyboard.release(Key::altL);
        keyboard.tap(Key::tab);
        QVERIFY(!paste());
    }

    void bounceKeysDoNotMatter()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        keyboard.setBounceKeys(true);
        const auto off = qScopeGuard([&keyboard] { keyboard.setBounceKeys(false); });
        keyboard.press(Key::controlL);
        keyboard.press(Key::altL);
        keyboard.press(Key::r);
        target.catchUp();
        for (const bool isCopy : {true, false}) {
            target.presses.clear();
            QVERIFY(isCopy ? copy() : paste());
            QVERIFY(gotOnly(target, isCopy ? XKB_KEY_c : XKB_KEY_v, XCB_MOD_MASK_CONTROL));
        }
    }

    void modifiersThatSwitchTheLayoutDoNot_data()
    {
        QTest::addColumn<QString>("option");
        QTest::addColumn<QByteArray>("application");
        QTest::newRow("Control with Shift")
            << QStringLiteral("grp:ctrl_shift_toggle") << QByteArray("editor");
        QTest::newRow("both Controls") << QStringLiteral("grp:ctrls_toggle") << QByteArray("editor");
        QTest::newRow("Alt with Shift") << QStringLiteral("grp:alt_shift_toggle") << QByteArray("konsole");
    }
    void modifiersThatSwitchTheLayoutDoNot()
    {
        QFETCH(QString, option);
        QFETCH(QByteArray, application);
        PhysicalKeyboard::setLayout({QStringLiteral("us,ru"), QStringLiteral("-option"), option});
        TargetWindow target(application, application);
        PhysicalKeyboard keyboard;
        for (const unsigned group : {0U, 1U}) {
            keyboard.lockGroup(group);
            target.presses.clear();
            QVERIFY(copy());
            const auto presses = typed(target);
            QCOMPARE(presses.size(), size_t{1});
            QCOMPARE(presses[0].keycode, Key::c);
            QCOMPARE(XKeyState::fetch(target.connection().get())->group, group);
        }
        PhysicalKeyboard::setLayout({QStringLiteral("us"), QStringLiteral("-option"), QString()});
    }

    void aThousandGesturesLeaveNothingBehind()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        constexpr int rounds = 500;
        for (int round = 0; round < rounds; ++round) {
            keyboard.press(Key::shiftL);
            keyboard.press(Key::superL);
            QVERIFY(copy());
            keyboard.release(Key::superL);
            QVERIFY(paste());
            keyboard.tap(Key::a); // the user types on; Shift is lifted although it is still held
            keyboard.release(Key::shiftL);
        }
        const auto presses = typed(target);
        QCOMPARE(presses.size(), size_t{3} * rounds);
        for (size_t index = 0; index < presses.size(); ++index) {
            const bool isLetter = index % 3 == 2;
            QCOMPARE(presses[index].modifiers, uint16_t(isLetter ? 0 : XCB_MOD_MASK_CONTROL));
        }
    }
};

QTEST_GUILESS_MAIN(tst_XKeyPoster)
#include "tst_XKeyPoster.moc"
