#include "rewrite/KeyCodeTranslator.h"
#include "rewrite/TextLength.h"
#include "support/FakePlatform.h"

#include <QTest>

using namespace quillmarsh;

class tst_KeyCodeTranslator final : public QObject
{
    Q_OBJECT

private slots:
    void namedKeys_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("name");
        const QMap<int, QString> names{
            {36, "Return"}, {48, "Tab"},  {49, "Space"},    {51, "Delete"}, {53, "Esc"},
            {96, "F5"},     {97, "F6"},   {98, "F7"},       {99, "F3"},     {100, "F8"},
            {101, "F9"},    {103, "F11"}, {105, "F13"},     {107, "F14"},   {109, "F10"},
            {111, "F12"},   {113, "F15"}, {117, "Fwd Del"}, {118, "F4"},    {120, "F2"},
            {122, "F1"},    {123, "←"},   {124, "→"},       {125, "↓"},     {126, "↑"}};
        for (int code = 0; code < 140; ++code)
            QTest::addRow("%d", code) << code << names.value(code);
    }

    void namedKeys()
    {
        QFETCH(int, code);
        QFETCH(QString, name);
        QCOMPARE(KeyCodeTranslator::specialKeyName(code).value_or(QString()), name);
        test::FakeKeyboardLayout layout;
        layout.characters = {{static_cast<quint16>(code), QStringLiteral("x")}};
        QCOMPARE(KeyCodeTranslator::string(code, layout), name.isEmpty() ? QStringLiteral("X") : name);
    }

    void charactersFollowTheLayout()
    {
        test::FakeKeyboardLayout layout;
        QCOMPARE(KeyCodeTranslator::string(15, layout), QStringLiteral("R"));
        layout.characters[15] = QStringLiteral("к");
        QCOMPARE(KeyCodeTranslator::string(15, layout), QStringLiteral("К"));
        layout.characters[15] = QStringLiteral("ß");
        QCOMPARE(KeyCodeTranslator::string(15, layout), QStringLiteral("SS"));
    }

    void whatYieldsNothingShowsItsCode()
    {
        test::FakeKeyboardLayout layout;
        layout.characters.clear();
        QCOMPARE(KeyCodeTranslator::string(15, layout), QStringLiteral("Key(15)"));
        QCOMPARE(KeyCodeTranslator::string(200, layout), QStringLiteral("Key(200)"));
        layout.characters[15] = QString();
        QCOMPARE(KeyCodeTranslator::string(15, layout), QStringLiteral("Key(15)"));
        QCOMPARE(KeyCodeTranslator::string(70000, layout), QStringLiteral("Key(70000)"));
        QCOMPARE(KeyCodeTranslator::string(-1, layout), QStringLiteral("Key(-1)"));
    }

    void lengthCountsWhatAPersonSees_data()
    {
        QTest::addColumn<QString>("character");
        QTest::newRow("letter") << "a";
        QTest::newRow("combining accent") << QStringLiteral("e\u0301");
        QTest::newRow("family") << "👩‍👩‍👧‍👦";
        QTest::newRow("skin tone") << "👍🏽";
        QTest::newRow("flag") << "🇩🇪";
        QTest::newRow("keycap") << QStringLiteral("1\ufe0f\u20e3");
        QTest::newRow("CR LF") << "\r\n";
        QTest::newRow("jamo") << QStringLiteral("\u1100\u1161\u11a8");
        QTest::newRow("outside the basic plane") << "𝒳";
    }

    void lengthCountsWhatAPersonSees()
    {
        QFETCH(QString, character);
        QVERIFY(!isLongerThan(character.repeated(10'000), 10'000));
        QVERIFY(isLongerThan(character.repeated(10'001), 10'000));
    }
};

QTEST_APPLESS_MAIN(tst_KeyCodeTranslator)
#include "tst_KeyCodeTranslator.moc"
