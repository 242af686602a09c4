#include "platform/ModifierFlags.h"
#include "platform/XTestSession.h"
#include "platform/linux/XKeyPoster.h"
#include "platform/linux/XKeyboardLayout.h"
#include "platform/linux/XWorker.h"
#include "support/CoroutineTest.h"

#include <QSignalSpy>
#include <QTest>

using namespace quillmarsh;
using namespace quillmarsh::test;

class tst_XKeyboardLayout final : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        PhysicalKeyboard().lockGroup(0);
        PhysicalKeyboard::setLayout({QStringLiteral("us")});
    }

    void charactersOfALayout_data()
    {
        QTest::addColumn<QString>("layout");
        QTest::addColumn<QString>("variant");
        QTest::addColumn<int>("keyCode");
        QTest::addColumn<QString>("character");
        const auto add = [](const char* layout, const char* variant, int key, const char* text) {
            QTest::addRow("%s %s %d", layout, variant, key)
                << QString::fromLatin1(layout) << QString::fromLatin1(variant) << key
                << QString::fromUtf8(text);
        };
        add("us", "", 15, "r");
        add("us", "", 200, nullptr);
        add("us", "", 58, nullptr); // Alt yields nothing
        add("de", "", 16, "z");
        add("de", "", 41, "\u00F6");
        add("fr", "", 0, "q");
        add("us", "dvorak", 15, "p");
        add("ru", "", 15, "\u043A");
        add("gr", "", 15, "\u03C1");
        add("de", "", 24, nullptr); // a dead key
        add("us", "", 87, "5");     // of the keypad, which without Num Lock moves the cursor
        add("de", "", 65, ",");
        add("us", "", 115, nullptr); // Home
        add("us", "", 76, nullptr);  // Enter of the keypad: a control character shows nothing
    }
    void charactersOfALayout()
    {
        QFETCH(QString, layout);
        QFETCH(QString, variant);
        QFETCH(int, keyCode);
        QFETCH(QString, character);
        PhysicalKeyboard::setLayout({layout, QStringLiteral("-variant"), variant});
        const XKeyboardLayout keyboard(XConnection::open());
        QCOMPARE(keyboard.character(static_cast<quint16>(keyCode)).value_or(QString()), character);
    }

    void theActiveGroupCounts()
    {
        PhysicalKeyboard::setLayout({QStringLiteral("us,ru")});
        XKeyboardLayout keyboard(XConnection::open());
        QSignalSpy changed(&keyboard, &KeyboardLayout::changed);
        QCOMPARE(keyboard.character(VirtualKey::r), QStringLiteral("r"));
        PhysicalKeyboard physical;
        physical.lockGroup(1);
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(keyboard.character(VirtualKey::r), QStringLiteral("\u043A"));
        physical.lockModifiers(XCB_MOD_MASK_LOCK); // no change of layout
        QTest::qWait(250);
        QCOMPARE(changed.size(), 1);
    }

    void aNewLayoutIsNoticed()
    {
        XKeyboardLayout keyboard(XConnection::open());
        QSignalSpy changed(&keyboard, &KeyboardLayout::changed);
        PhysicalKeyboard::setLayout({QStringLiteral("fr")});
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(keyboard.character(0), QStringLiteral("q"));
    }

    void injectedKeysAreNoChange()
    {
        XKeyboardLayout keyboard(XConnection::open());
        QSignalSpy changed(&keyboard, &KeyboardLayout::changed);
        TargetWindow target;
        PhysicalKeyboard physical;
        XKeyPoster poster(XWorker::start());
        for (int round = 0; round < 5; ++round) {
            physical.tap(Key::a);
            QVERIFY(runTask(poster.post(VirtualKey::c, ModifierFlags::command)));
        }
        QTest::qWait(300);
        QCOMPARE(changed.size(), 0);
    }

    void scanCodesAreKeyCodes()
    {
        const XKeyboardLayout keyboard(XConnection::open());
        QCOMPARE(keyboard.keyCode(27), VirtualKey::r);
        QVERIFY(!keyboard.keyCode(255));
    }

    void withoutAServerNoKeyYieldsAnything()
    {
        const XKeyboardLayout keyboard(nullptr);
        QVERIFY(!keyboard.character(VirtualKey::r));
    }
};

QTEST_GUILESS_MAIN(tst_XKeyboardLayout)
#include "tst_XKeyboardLayout.moc"
