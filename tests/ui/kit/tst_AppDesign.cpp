#include "support/FailOnWarnings.h"
#include "support/FakePlatform.h"
#include "ui/kit/AppDesign.h"
#include "ui/kit/SymbolImage.h"
#include "ui/kit/SymbolMap.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <QRawFont>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

using namespace quillmarsh;

namespace {

/// Relative luminance and contrast as WCAG 2.1 defines them.
double luminance(const QColor& color)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& a, const QColor& b)
{
    const double first = luminance(a);
    const double second = luminance(b);
    const auto [darker, lighter] = std::minmax(first, second);
    return (lighter + 0.05) / (darker + 0.05);
}

QColor over(const QColor& color, double opacity, const QColor& ground)
{
    const auto mix = [opacity](int top, int bottom) {
        return qRound(top * opacity + bottom * (1 - opacity));
    };
    return {mix(color.red(), ground.red()), mix(color.green(), ground.green()),
            mix(color.blue(), ground.blue())};
}

} // namespace

/// The palette, the type and the symbols.
class tst_AppDesign final : public QObject
{
    Q_OBJECT

private slots:
    void init() { test::failOnWarnings(); }

    void fontsOfTheBundleComeFirst();
    void palette_data();
    void palette();
    void textIsLegible_data();
    void textIsLegible();
    void faces_data();
    void faces();
    void theMonospacedFont();
    void shortcutSignsHaveGlyphs();
    void aFolderWithoutFonts();
    void followsTheDesktop();
    void everySymbolHasADrawing();
    void symbolsOfTheProduct_data();
    void symbolsOfTheProduct();
    void anUnknownSymbolIsNeutral();
    void symbolsTakeTheColor();
};

// First of all: the fonts are registered once, with the first one asked for.
void tst_AppDesign::fontsOfTheBundleComeFirst()
{
    QVERIFY(!QFontDatabase::families().contains(QStringLiteral("Outfit")));
    QTemporaryDir folder;
    for (const char* face :
         {"Outfit-Regular", "Outfit-Medium", "Outfit-SemiBold", "Outfit-Bold", "JetBrainsMono-Regular"})
        QVERIFY(QFile::copy(QStringLiteral(":/quillmarsh/Fonts/%1.ttf").arg(QLatin1String(face)),
                            folder.filePath(QLatin1String(face) + QLatin1String(".ttf"))));
    QFile notes(folder.filePath(QStringLiteral("Outfit-OFL.txt")));
    QVERIFY(notes.open(QIODevice::WriteOnly));
    AppDesign::setFontsFolder(folder.path());
    QVERIFY(!QFontDatabase::families().contains(QStringLiteral("Outfit")));
    const QFont font = AppDesign::font(12);
    QVERIFY(QFontDatabase::families().contains(QStringLiteral("Outfit")));
    QCOMPARE(QFontInfo(font).family(), QStringLiteral("Outfit"));
}

void tst_AppDesign::palette_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QColor>("color");
    QTest::newRow("page") << "page" << QColor(248, 249, 251);
    QTest::newRow("surface") << "surface" << QColor(255, 255, 255);
    QTest::newRow("muted") << "muted" << QColor(241, 243, 246);
    QTest::newRow("ink") << "ink" << QColor(36, 39, 46);
    QTest::newRow("secondary") << "secondary" << QColor(105, 112, 124);
    QTest::newRow("border") << "border" << QColor(220, 224, 231);
    QTest::newRow("accent") << "accent" << QColor(49, 91, 184);
    QTest::newRow("accentSoft") << "accentSoft" << QColor(233, 239, 255);
    QTest::newRow("success") << "success" << QColor(55, 121, 88);
}

void tst_AppDesign::palette()
{
    QFETCH(QString, name);
    QFETCH(QColor, color);
    QCOMPARE(AppDesign::shared().property(name.toLatin1().constData()).value<QColor>(), color);
}

void tst_AppDesign::textIsLegible_data()
{
    QTest::addColumn<QColor>("text");
    QTest::addColumn<QColor>("ground");
    using D = AppDesign;
    const auto row = [](const char* name, QColor text, QColor ground) {
        QTest::newRow(name) << text << ground;
    };
    row("ink on the page", D::ink(), D::page());
    row("ink on muted", D::ink(), D::muted());
    row("ink on a chosen card", D::ink(), D::accentSoft());
    row("secondary on a card", D::secondary(), D::surface());
    // On muted and on the soft accent it would be too faint (4.49 and 4.34): only symbols stand there.
    row("secondary on the page", D::secondary(), D::page());
    row("secondary under the pointer", D::secondary(), over(D::accent(), 0.06, D::surface()));
    row("secondary in a menu row", D::secondary(), over(D::accent(), 0.05, D::surface()));
    row("ink in a pressed row on the page", D::ink(), over(D::accent(), 0.06, D::page()));
    row("secondary on a list's current line", D::secondary(), over(D::accent(), 0.06, D::surface()));
    row("primary button", Qt::white, D::accent());
    row("primary button under the pointer", Qt::white, over(Qt::white, 0.08, D::accent()));
    row("quiet button", D::accent(), D::page());
    row("quiet button under the pointer", D::accent(), over(D::accent(), 0.08, D::page()));
    row("link on a card", D::accent(), D::surface());
    row("notice", D::accent(), D::accentSoft());
    row("sidebar", D::ink(), over(D::accent(), 0.06, D::page()));
    row("secondary in a pressed row", D::secondary(), over(D::accent(), 0.06, D::surface()));
    row("done, on a card", D::success(), D::surface());
    row("positive badge on a card", D::success(), over(D::success(), 0.07, D::surface()));
    row("neutral badge on a card", D::secondary(), over(D::secondary(), 0.07, D::surface()));
    row("toast", Qt::white, D::ink());
    row("toast's button", D::accentSoft(), over(Qt::white, 0.2, D::ink()));
    row("selected text", Qt::white, D::accent());
    row("the panel's title while pressed", D::secondary(), over(D::ink(), 0.05, D::surface()));
    row("the panel's button while pressed", D::accent(), over(D::accent(), 0.12, D::accentSoft()));
}

void tst_AppDesign::textIsLegible()
{
    QFETCH(QColor, text);
    QFETCH(QColor, ground);
    const double found = contrast(text, ground);
    QVERIFY2(found >= 4.5, qPrintable(QString::number(found)));
}

void tst_AppDesign::faces_data()
{
    QTest::addColumn<int>("weight");
    QTest::addColumn<QString>("face");
    QTest::addColumn<QString>("style");
    QTest::newRow("thin") << int(QFont::Thin) << "Outfit-Regular"
                          << "Regular";
    QTest::newRow("light") << int(QFont::Light) << "Outfit-Regular"
                           << "Regular";
    QTest::newRow("regular") << int(QFont::Normal) << "Outfit-Regular"
                             << "Regular";
    QTest::newRow("medium") << int(QFont::Medium) << "Outfit-Medium"
                            << "Medium";
    QTest::newRow("semibold") << int(QFont::DemiBold) << "Outfit-SemiBold"
                              << "SemiBold";
    QTest::newRow("bold") << int(QFont::Bold) << "Outfit-Bold"
                          << "Bold";
    QTest::newRow("heavy") << int(QFont::ExtraBold) << "Outfit-Regular"
                           << "Regular";
    QTest::newRow("black") << int(QFont::Black) << "Outfit-Regular"
                           << "Regular";
    QTest::newRow("a weight without a name") << 455 << "Outfit-Regular"
                                             << "Regular";
}

void tst_AppDesign::faces()
{
    QFETCH(int, weight);
    QTEST(AppDesign::faceName(weight), "face");
    const QFont font = AppDesign::font(22, weight);
    QCOMPARE(font.pixelSize(), 22);
    QTEST(QRawFont::fromFont(font).styleName(), "style");
}

void tst_AppDesign::theMonospacedFont()
{
    const QFont font = AppDesign::monospaced(12);
    QCOMPARE(QFontInfo(font).family(), QStringLiteral("JetBrains Mono"));
    const QFontMetricsF metrics(font);
    QCOMPARE(metrics.horizontalAdvance(u'i'), metrics.horizontalAdvance(u'W'));
}

void tst_AppDesign::shortcutSignsHaveGlyphs()
{
    const QRawFont font = QRawFont::fromFont(AppDesign::monospaced(12));
    for (const QChar sign : QStringLiteral("⌃⌥⇧⌘←→↑↓"))
        QVERIFY2(font.supportsCharacter(sign), qPrintable(QString(sign)));
}

void tst_AppDesign::aFolderWithoutFonts()
{
    QTemporaryDir folder;
    QVERIFY(AppDesign::registerFonts(folder.path()).isEmpty());
    QVERIFY(AppDesign::registerFonts(folder.filePath(QStringLiteral("missing"))).isEmpty());
    QCOMPARE(AppDesign::registerFonts(QStringLiteral(":/quillmarsh/Fonts")).size(), 5);
}

void tst_AppDesign::followsTheDesktop()
{
    const AppDesign& design = AppDesign::shared();
    QVERIFY(!design.reduceMotion());
    {
        test::FakeDesktopAppearance appearance;
        QSignalSpy changed(&design, &AppDesign::appearanceChanged);
        AppDesign::setAppearance(&appearance);
        QCOMPARE(changed.count(), 1);
        appearance.setReduceMotion(true);
        QVERIFY(design.reduceMotion());
        appearance.setIncreaseContrast(true);
        QVERIFY(design.increaseContrast());
        QCOMPARE(changed.count(), 3);
    }
    QVERIFY(!design.reduceMotion());
}

void tst_AppDesign::everySymbolHasADrawing()
{
    QVERIFY(SymbolMap::symbols().size() > 60);
    for (const QString& symbol : SymbolMap::symbols()) {
        QVERIFY2(QFile::exists(SymbolMap::drawing(symbol)), qPrintable(symbol));
        const QImage image = symbolImage(symbol, Qt::black, 24);
        bool drawn = false;
        for (int y = 0; y < 24 && !drawn; ++y)
            for (int x = 0; x < 24 && !drawn; ++x)
                drawn = qAlpha(image.pixel(x, y)) > 128;
        QVERIFY2(drawn, qPrintable(symbol));
    }
}

void tst_AppDesign::symbolsOfTheProduct_data()
{
    QTest::addColumn<QString>("symbol");
    for (const char* symbol : {"arrow.counterclockwise",
                               "arrow.down.right.and.arrow.up.left",
                               "arrow.right",
                               "arrow.triangle.2.circlepath",
                               "arrow.up.left.and.arrow.down.right",
                               "book.closed",
                               "building.2",
                               "checkmark.circle",
                               "checkmark.circle.fill",
                               "checkmark.shield",
                               "circle.hexagongrid",
                               "command",
                               "ellipsis",
                               "face.smiling",
                               "folder.fill",
                               "hand.raised",
                               "house",
                               "plus",
                               "text.badge.checkmark",
                               "textformat.abc"})
        QTest::newRow(symbol) << QString::fromLatin1(symbol);
}

void tst_AppDesign::symbolsOfTheProduct()
{
    QFETCH(QString, symbol);
    QVERIFY(SymbolMap::contains(symbol));
}

void tst_AppDesign::anUnknownSymbolIsNeutral()
{
    QVERIFY(!SymbolMap::contains(QStringLiteral("no.such.symbol")));
    QCOMPARE(symbolImage(QStringLiteral("no.such.symbol"), Qt::black, 24),
             symbolImage(QStringLiteral("../../etc/passwd"), Qt::black, 24));
    QVERIFY(!symbolImage(QStringLiteral("no.such.symbol"), Qt::black, 24).isNull());
    QVERIFY(symbolImage(QString(), Qt::black, 24).isNull());
    QVERIFY(symbolImage(QStringLiteral("plus"), Qt::black, 0).isNull());
}

void tst_AppDesign::symbolsTakeTheColor()
{
    const QImage red = symbolImage(QStringLiteral("plus"), Qt::red, 24);
    QCOMPARE(QColor(red.pixel(12, 12)), QColor(Qt::red));
    QColor half(Qt::red);
    half.setAlphaF(0.5F);
    const int alpha = qAlpha(symbolImage(QStringLiteral("plus"), half, 24).pixel(12, 12));
    QVERIFY2(qAbs(alpha - 128) <= 2, qPrintable(QString::number(alpha)));
}

QTEST_MAIN(tst_AppDesign)
#include "tst_AppDesign.moc"
