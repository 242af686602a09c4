#include "platform/ModifierFlags.h"
#include "platform/NextConnection.h"
#include "platform/PlatformContracts.h"
#include "platform/XTestSession.h"
#include "platform/linux/EvdevKeys.h"
#include "platform/linux/HotKeyGrabs.h"
#include "platform/linux/KeyInjector.h"
#include "platform/linux/XAccessibility.h"
#include "platform/linux/XEventTap.h"
#include "platform/linux/XWorker.h"

#include <QRegularExpression>
#include <QTest>

#include <xcb/xinput.h>
#include <xcb/xtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

using namespace quillmarsh;
using namespace quillmarsh::test;

namespace {

constexpr quint64 shiftCommand = ModifierFlags::shift | ModifierFlags::command;
const KeyCombination shiftCommandR{VirtualKey::r, shiftCommand};
constexpr uint16_t shiftSuperMask = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_4;

} // namespace

class tst_XEventTap final : public QObject
{
    Q_OBJECT

private:
    std::shared_ptr<XWorker> worker_ = XWorker::start();
    XEventTapSource source_{worker_};
    std::vector<KeyEvent> events_;
    std::unique_ptr<EventTap> tap_;

    void enable(std::vector<KeyCombination> interest)
    {
        tap_ = source_.create([this](const KeyEvent& event) {
            events_.push_back(event);
            return TapVerdict::Swallow;
        });
        QVERIFY(tap_);
        tap_->setInterest(std::move(interest));
        tap_->setEnabled(true);
    }

    [[nodiscard]] int freshPresses() const
    {
        return static_cast<int>(std::count_if(events_.begin(), events_.end(),
                                              [](const KeyEvent& event) { return !event.isAutorepeat; }));
    }

    static void pressShortcut(PhysicalKeyboard& keyboard)
    {
        keyboard.press(Key::shiftL);
        keyboard.press(Key::superL);
        keyboard.press(Key::r);
    }
    static void releaseShortcut(PhysicalKeyboard& keyboard)
    {
        keyboard.release(Key::r);
        keyboard.release(Key::superL);
        keyboard.release(Key::shiftL);
    }

    /// Shift-Command-R, which is free while the gesture of the same keys is injected.
    void takeDuringAnInjection(TargetWindow& other)
    {
        QTest::ignoreMessage(QtWarningMsg, "A shortcut was taken by another program");
        worker_->run([&other](XWorker::Parts& parts) {
            HotKeyGrabs::Injection injection(*parts.hotKeys);
            injection.allow(Key::r, shiftSuperMask);
            parts.connection->synchronize();
            xcb_grab_key(other.connection().get(), 0, other.connection().root(), shiftSuperMask, Key::r,
                         XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            other.connection().synchronize();
            return true;
        });
    }

    bool copy()
    {
        return worker_->run([](XWorker::Parts& parts) {
            return parts.injector->post(VirtualKey::c, ModifierFlags::command).has_value();
        });
    }
    std::set<xcb_keycode_t> lifted()
    {
        return worker_->run([](XWorker::Parts& parts) { return parts.hotKeys->liftedKeys(); });
    }

private slots:
    void init() { events_.clear(); }
    void cleanup() { tap_.reset(); }

    void theContractOfEveryTap()
    {
        PhysicalKeyboard keyboard;
        verifyEventTapContract(source_, [&keyboard](const KeyCombination& combination) {
            std::vector<xcb_keycode_t> held;
            const auto hold = [&](quint64 flag, xcb_keycode_t key) {
                if (combination.modifiers & flag)
                    held.push_back(key);
            };
            hold(ModifierFlags::shift, Key::shiftL);
            hold(ModifierFlags::control, Key::controlL);
            hold(ModifierFlags::option, Key::altL);
            hold(ModifierFlags::command, Key::superL);
            for (const xcb_keycode_t key : held)
                keyboard.press(key);
            keyboard.tap(*EvdevKeys::xKeycode(combination.keyCode));
            for (const xcb_keycode_t key : held)
                keyboard.release(key);
        });
    }

    void aMatchingPressIsReportedAndSwallowed()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        QVERIFY(tap_->refused().empty());
        pressShortcut(keyboard);
        QTRY_COMPARE(events_.size(), 1U);
        QCOMPARE(events_[0].keyCode, VirtualKey::r);
        QCOMPARE(events_[0].flags & ModifierFlags::shortcutMask, shiftCommand);
        QVERIFY(!events_[0].isAutorepeat);
        releaseShortcut(keyboard);
        target.catchUp();
        for (const auto& press : target.presses)
            QVERIFY(press.keycode != Key::r);
    }

    void anUnregisteredShortcutReachesTheApplication()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        keyboard.press(Key::shiftL);
        keyboard.press(Key::controlL);
        keyboard.press(Key::superL);
        keyboard.tap(Key::r); // one modifier too many
        keyboard.release(Key::controlL);
        keyboard.tap(Key::t); // another key
        target.catchUp();
        QTest::qWait(50);
        QVERIFY(events_.empty());
        QCOMPARE(target.presses.size(), 5U);
    }

    void lockKeysDoNotMatter_data()
    {
        QTest::addColumn<int>("locks");
        for (int caps : {0, int{XCB_MOD_MASK_LOCK}}) {
            for (int num : {0, int{XCB_MOD_MASK_2}})
                QTest::addRow("%d", caps | num) << (caps | num);
        }
    }
    void lockKeysDoNotMatter()
    {
        QFETCH(int, locks);
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        keyboard.lockModifiers(static_cast<uint16_t>(locks));
        pressShortcut(keyboard);
        QTRY_COMPARE(events_.size(), 1U);
        releaseShortcut(keyboard);
    }

    void aHeldShortcutFiresOnceAndSoonStopsRepeating()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        pressShortcut(keyboard);
        QTest::qWait(2000); // the server repeats after 660 ms, every 40 ms
        QCOMPARE(freshPresses(), 1);
        QVERIFY2(target.focusLosses <= 2, qPrintable(QString::number(target.focusLosses)));
        target.catchUp();
        releaseShortcut(keyboard);
        pressShortcut(keyboard);
        QTRY_COMPARE(freshPresses(), 2);
        releaseShortcut(keyboard);
    }

    void quickPressesInARowAreAllFresh()
    {
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        keyboard.press(Key::shiftL);
        keyboard.press(Key::superL);
        for (int round = 1; round <= 20; ++round) {
            keyboard.tap(Key::r);
            QTRY_COMPARE(freshPresses(), round);
        }
    }

    void aShortcutPressedAgainWithItsModifiersHeldIsCaught()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        pressShortcut(keyboard);
        for (int again = 2; again <= 4; ++again) {
            keyboard.release(Key::r);
            QVERIFY(copy()); // lifts the modifiers
            keyboard.press(Key::r);
            QTRY_COMPARE(freshPresses(), again);
        }
        releaseShortcut(keyboard);
        target.catchUp();
        const auto isR = [](const auto& press) { return press.keycode == Key::r; };
        QVERIFY(std::ranges::none_of(target.presses, isR));
        QTRY_VERIFY(lifted().empty());
        keyboard.tap(Key::r); // a letter again
        target.catchUp();
        QVERIFY(std::ranges::any_of(target.presses, isR));
        QCOMPARE(freshPresses(), 4);
    }

    void aModifierThatWasLetGoOfUnseenIsNotMeant()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        worker_->run([](XWorker::Parts& parts) { // as if the keyboard had been unplugged with both held
            HotKeyGrabs::Injection injection(*parts.hotKeys);
            parts.hotKeys->noteLifted({Key::shiftL, Key::superL});
            return true;
        });
        keyboard.tap(Key::r);
        QTRY_VERIFY(lifted().empty());
        keyboard.tap(Key::r);
        target.catchUp();
        QTRY_COMPARE(target.presses.size(), 2U);
        for (const auto& press : target.presses)
            QCOMPARE(press, (TargetWindow::Press{Key::r, 0, XKB_KEY_r}));
        QVERIFY(events_.empty());
    }

    void aDisabledTapHoldsNothing()
    {
        TargetWindow target;
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        tap_->setEnabled(false);
        pressShortcut(keyboard);
        releaseShortcut(keyboard);
        target.catchUp();
        QCOMPARE(target.presses.back().keycode, Key::r);
        QVERIFY(events_.empty());
        tap_->setEnabled(true);
        pressShortcut(keyboard);
        QTRY_COMPARE(events_.size(), 1U);
    }

    void interestChangesTakeEffectAtOnce()
    {
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        tap_->setInterest({{17, shiftCommand}}); // T
        pressShortcut(keyboard);
        releaseShortcut(keyboard);
        keyboard.press(Key::shiftL);
        keyboard.press(Key::superL);
        keyboard.tap(Key::t);
        QTRY_COMPARE(events_.size(), 1U);
        QCOMPARE(events_[0].keyCode, quint16{17});
    }

    void noCallbackRunsAfterInvalidate()
    {
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        pressShortcut(keyboard);
        tap_->invalidate(); // the press may be on its way
        QTest::qWait(50);
        QVERIFY(events_.empty());
    }

    void aGrabOfAnotherCoreClientIsReported_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::newRow("the same") << int{shiftSuperMask};
        QTest::newRow("only with Caps Lock") << int{shiftSuperMask | XCB_MOD_MASK_LOCK};
        QTest::newRow("any modifier") << int{XCB_MOD_MASK_ANY};
    }
    void aGrabOfAnotherCoreClientIsReported()
    {
        QFETCH(int, modifiers);
        TargetWindow other;
        xcb_grab_key(other.connection().get(), 0, other.connection().root(), static_cast<uint16_t>(modifiers),
                     Key::r, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        other.catchUp();
        enable({shiftCommandR, {17, shiftCommand}});
        QCOMPARE(tap_->refused(), std::vector{shiftCommandR});
        // Nothing of the refused one is kept: the other program's variants work.
        PhysicalKeyboard keyboard;
        keyboard.press(Key::shiftL);
        keyboard.press(Key::superL);
        keyboard.tap(Key::r);
        other.catchUp();
        QTest::qWait(50);
        QVERIFY(events_.empty());
        keyboard.tap(Key::t);
        QTRY_COMPARE(events_.size(), 1U);
    }

    void aGrabOfAnInput2ClientIsReported()
    {
        TargetWindow other;
        constexpr uint32_t mask = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS;
        constexpr uint32_t modifiers = shiftSuperMask;
        xcb_connection_t* const connection = other.connection().get();
        const auto grabbed = replyOf<xcb_input_xi_passive_grab_device_reply>(
            connection,
            xcb_input_xi_passive_grab_device(
                connection, XCB_CURRENT_TIME, other.connection().root(), XCB_NONE, Key::r,
                XCB_INPUT_DEVICE_ALL_MASTER, 1, 1, XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_ASYNC,
                XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER, &mask, &modifiers));
        QVERIFY(grabbed && grabbed->num_modifiers == 0);
        enable({shiftCommandR});
        QCOMPARE(tap_->refused(), std::vector{shiftCommandR});
    }

    void aLostConnectionIsHeardAndReplaced()
    {
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        const XAccessibility accessibility(worker_, XConnection::open());
        TargetWindow other;
        const QByteArray display = qgetenv("DISPLAY");
        qputenv("DISPLAY", "nowhere");
        endConnection(*worker_, other.connection());
        QTRY_VERIFY(!accessibility.isProcessTrusted());
        QVERIFY(events_.empty());
        qputenv("DISPLAY", display);
        QTRY_COMPARE(events_.size(), 1U);
        QCOMPARE(events_[0].type, KeyEvent::Type::TapDisabledByTimeout);
        QVERIFY(accessibility.isProcessTrusted());
        tap_->setEnabled(true);
        QVERIFY(tap_->refused().empty());
        pressShortcut(keyboard);
        QTRY_COMPARE(events_.size(), 2U);
        QCOMPARE(events_[1].keyCode, VirtualKey::r);
        releaseShortcut(keyboard);
    }

    void aTapThatIsOffHearsNothingOfALostConnection()
    {
        enable({shiftCommandR});
        tap_->setEnabled(false);
        TargetWindow other;
        awaitNextConnection(*worker_, other.connection());
        QCoreApplication::processEvents();
        QVERIFY(events_.empty());
    }

    void aShortcutTakenDuringAnInjectionIsHeard()
    {
        TargetWindow other;
        enable({shiftCommandR});
        takeDuringAnInjection(other);
        QTRY_COMPARE(events_.size(), 1U);
        QCOMPARE(events_[0].type, KeyEvent::Type::TapDisabledByUserInput);
        tap_->setEnabled(true);
        QCOMPARE(tap_->refused(), std::vector{shiftCommandR});
    }

    void aTapThatWasDisabledGivesBackWhatItHolds()
    {
        const KeyCombination kept{17, shiftCommand};
        enable({shiftCommandR, kept});
        TargetWindow other;
        takeDuringAnInjection(other);
        QTRY_COMPARE(events_.size(), 1U);
        tap_.reset();
        const auto isFree = [&other] {
            const auto grab =
                xcb_grab_key_checked(other.connection().get(), 0, other.connection().root(), shiftSuperMask,
                                     Key::t, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
            return succeeded(other.connection().get(), grab);
        };
        QTRY_VERIFY(isFree()); // the server may hear of it a moment later
    }

    void shortcutsSurviveALayoutChange()
    {
        PhysicalKeyboard keyboard;
        enable({shiftCommandR});
        PhysicalKeyboard::setLayout({QStringLiteral("us,ru")});
        keyboard.lockGroup(1);
        pressShortcut(keyboard);
        QTRY_COMPARE(events_.size(), 1U);
        releaseShortcut(keyboard);
        PhysicalKeyboard::setLayout(
            {QStringLiteral("us"), QStringLiteral("-option"), QStringLiteral("altwin:swap_alt_win")});
        const auto isHeard = [&] { // once the tap has taken in the layout
            keyboard.press(Key::shiftL);
            keyboard.press(Key::altL); // is Super now
            keyboard.tap(Key::r);
            keyboard.release(Key::altL);
            keyboard.release(Key::shiftL);
            return QTest::qWaitFor([this] { return events_.size() > 1; }, 200);
        };
        QTRY_VERIFY(isHeard());
        PhysicalKeyboard::setLayout({QStringLiteral("us"), QStringLiteral("-option"), QString()});
    }

    void aPressThroughXTestIsFreshEachTime()
    {
        TargetWindow other;
        enable({shiftCommandR});
        const auto fake = [&other](uint8_t type, xcb_keycode_t key) {
            xcb_test_fake_input(other.connection().get(), type, key, 0, XCB_NONE, 0, 0, 0);
        };
        for (int round = 1; round <= 3; ++round) {
            for (const xcb_keycode_t key : {Key::shiftL, Key::superL, Key::r})
                fake(XCB_KEY_PRESS, key);
            other.catchUp();
            QTRY_COMPARE(freshPresses(), round);
            for (const xcb_keycode_t key : {Key::r, Key::superL, Key::shiftL})
                fake(XCB_KEY_RELEASE, key);
            other.catchUp();
        }
    }
};

QTEST_GUILESS_MAIN(tst_XEventTap)
#include "tst_XEventTap.moc"
