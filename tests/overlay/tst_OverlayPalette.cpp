#include "support/FailOnWarnings.h"
#include "ui/kit/AppDesign.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QTest>

using namespace quillmarsh;

/// The panel is built without the windows and has their colours by value.
class tst_OverlayPalette final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void theColoursAreThoseOfTheWindows_data();
    void theColoursAreThoseOfTheWindows();

private:
    QQmlEngine engine_;
};

void tst_OverlayPalette::theColoursAreThoseOfTheWindows_data()
{
    QTest::addColumn<QColor>("colour");
    QTest::newRow("surface") << AppDesign::surface();
    QTest::newRow("ink") << AppDesign::ink();
    QTest::newRow("secondary") << AppDesign::secondary();
    QTest::newRow("border") << AppDesign::border();
    QTest::newRow("accent") << AppDesign::accent();
    QTest::newRow("accentSoft") << AppDesign::accentSoft();
    QTest::newRow("success") << AppDesign::success();
}

void tst_OverlayPalette::theColoursAreThoseOfTheWindows()
{
    QFETCH(QColor, colour);
    QQmlComponent component(&engine_);
    component.setData("import QtQuick\nimport \"qrc:/quillmarsh/overlay\"\n"
                      "QtObject { property color colour: OverlayPalette." +
                          QByteArray(QTest::currentDataTag()) + " }",
                      {});
    const std::unique_ptr<QObject> reader(component.create());
    QVERIFY2(reader, qPrintable(component.errorString()));
    QCOMPARE(reader->property("colour").value<QColor>(), colour);
}

QTEST_MAIN(tst_OverlayPalette)
#include "tst_OverlayPalette.moc"
