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

    void everyCharacterKeyOfAnAmericanKeyboard()
    {
        PhysicalKeyboard::setLayout({QStringLiteral("us")});
        const XKeyboardLayout keyboard(XConnection::open());
        // By key code; "_" for the keys that have none, or are not on such a keyboard.
        const QString main = QStringLiteral("asdfhgzxcv_bqweryt123465=97-80]ou[ip_lj'k;\\,/nm._ `");
        for (quint16 code = 0; code < main.size(); ++code) {
            if (main[code] != u'_')
                QCOMPARE(keyboard.character(code), std::optional(main.mid(code, 1)));
        }
        const QMap<quint16, QString> keypad{{65, "."}, {67, "*"}, {69, "+"}, {75, "/"}, {78, "-"}, {81, "="},
                                            {82, "0"}, {83, "1"}, {84, "2"}, {85, "3"}, {86, "4"}, {87, "5"},
                                            {88, "6"}, {89, "7"}, {91, "8"}, {92, "9"}};
        for (const quint16 code : keypad.keys())
            QCOMPARE(keyboard.character(code), std::optional(keypad[code]));
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
        const QMap<quint32, quint16> named{
            {36, 36},   {23, 48},   {65, 49},   {22, 51},   {9, 53},    // Return, Tab, Space, Delete, Esc
            {67, 122},  {68, 120},  {69, 99},   {70, 118},  {71, 96},   // F1 to F5
            {72, 97},   {73, 98},   {74, 100},  {75, 101},  {76, 109},  // F6 to F10
            {95, 103},  {96, 111},  {191, 105}, {192, 107}, {193, 113}, // F11 to F15
            {119, 117}, {113, 123}, {114, 124}, {116, 125}, {111, 126}, // Fwd Del, arrows
        };
        for (const quint32 scanCode : named.keys())
            QCOMPARE(keyboard.keyCode(scanCode), named[scanCode]);
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
