#include "overlay/ComposingOrb.h"
#include "overlay/DotPainter.h"
#include "overlay/ThinkingOrb.h"

#include <QPainter>
#include <QTest>

#include <algorithm>
#include <cmath>
#include <numbers>

using namespace quillmarsh;

namespace {

bool near(double a, double b)
{
    return std::abs(a - b) < 1e-9;
}

bool isShell(const Dot& dot)
{
    return dot.white == 0.78 && dot.radius == 0.31661043069910594;
}

std::vector<Dot> shellOf(const ComposingOrb::Frame& frame)
{
    std::vector<Dot> shell;
    std::copy_if(frame.begin(), frame.end(), std::back_inserter(shell), isShell);
    return shell;
}

bool same(const Dot& a, const Dot& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z && a.radius == b.radius && a.white == b.white &&
           a.alpha == b.alpha;
}

/// How much of the image is covered, in pixels.
double coverage(const QImage& image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            sum += qAlpha(image.pixel(x, y)) / 255.0;
    }
    return sum;
}

/// The orb as a general painter draws it.
QImage drawnOrb(const QSize& size, double time)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double side = std::min(size.width(), size.height());
    painter.translate((size.width() - side) / 2, (size.height() - side) / 2);
    painter.scale(side / 64, side / 64);
    for (const Dot& dot : ComposingOrb::frame(time)) {
        const auto grey = static_cast<int>(std::round((1 - std::min(dot.white, 1.0)) * 255));
        painter.setBrush(QColor(grey, grey, grey));
        painter.setOpacity(dot.alpha);
        painter.drawEllipse(QPointF(dot.x, dot.y), dot.radius, dot.radius);
    }
    return image;
}

/// Per byte, on average.
double difference(const QImage& a, const QImage& b)
{
    double sum = 0;
    for (qsizetype i = 0; i < a.sizeInBytes(); ++i)
        sum += std::abs(a.constBits()[i] - b.constBits()[i]);
    return sum / static_cast<double>(a.sizeInBytes());
}

QImage disc(QPointF centre, double radius)
{
    QImage image(24, 24, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    DotPainter(image).fill(centre, radius, 100, 1);
    return image;
}

} // namespace

class tst_ComposingOrb final : public QObject
{
    Q_OBJECT

private slots:
    // The expected values come from a separate computation of the same geometry.
    void dots_data()
    {
        QTest::addColumn<double>("time");
        QTest::addColumn<int>("index");
        QTest::addColumn<QList<double>>("expected");
        const auto row = [](double time, int index, const QList<double>& expected) {
            QTest::addRow("%g s, dot %d", time, index) << time << index << expected;
        };
        row(0.6, 0,
            {37.322388514058531, 30.65596732438016, -24.348867667147967, 0.31661043069910594, 0.78,
             0.10269329153099856});
        row(0.6, 1,
            {28.776393162594189, 38.920526986177805, -23.763759491953611, 0.3, 0.68945621347074493,
             0.41437789072171144});
        row(0.6, 100,
            {35.48840252890281, 51.550157166185585, -15.120317542095034, 0.44984517382574474,
             0.48236293870873392, 0.51826541415751159});
        row(0.6, 400,
            {34.974858545933515, 54.058051839637585, 11.295758747049582, 0.31661043069910594, 0.78,
             0.25978098806792682});
        row(7.25, 100,
            {18.505977987533583, 45.718352867169102, -15.897162153633117, 0.44155251420279013,
             0.48921012679120096, 0.50892833949960203});
        row(7.25, 283,
            {7.4210096576592868, 27.769112415033018, 0.98712916808999374, 0.62178892033378952,
             0.34039025135934664, 0.71186453327031241});
        row(7.25, 565,
            {32.0, 26.527021347527228, 24.35257901474867, 0.70121811650467503, 0.26535387086359347,
             0.99269926700419076});
        row(1234.5, 283,
            {9.519986136433797, 42.822662235058502, 0.72149763666267885, 0.49818197049755619,
             0.47364064583069759, 0.70867184659450344});
        row(1234.5, 400,
            {32.0, 9.3176857450745665, 10.417015889438128, 0.61672651471938633, 0.35545608081133351,
             0.82520451790190052});
    }
    void dots()
    {
        QFETCH(double, time);
        QFETCH(int, index);
        QFETCH(QList<double>, expected);
        const Dot dot = ComposingOrb::frame(time)[static_cast<std::size_t>(index)];
        const QList<double> actual{dot.x, dot.y, dot.z, dot.radius, dot.white, dot.alpha};
        for (int i = 0; i < 6; ++i)
            QVERIFY2(near(actual[i], expected[i]), qPrintable(QString::number(actual[i], 'g', 17)));
    }

    void everyFrameHolds566DotsFromFarToNear()
    {
        static_assert(ComposingOrb::dotCount == 566);
        for (const double time : {0.0, 0.6, 1.0, 59.9, 1e6, -3.0}) {
            const auto frame = ComposingOrb::frame(time);
            QVERIFY(std::is_sorted(frame.begin(), frame.end(),
                                   [](const Dot& a, const Dot& b) { return a.z < b.z; }));
        }
    }

    void theShellDoesNotDependOnTime()
    {
        const auto first = shellOf(ComposingOrb::frame(0));
        const auto later = shellOf(ComposingOrb::frame(17.3));
        QCOMPARE(first.size(), std::size_t(38));
        QVERIFY(std::equal(first.begin(), first.end(), later.begin(), later.end(), same));
    }

    void equalTimesGiveEqualFramesAndOthersDiffer()
    {
        const auto frame = ComposingOrb::frame(2.5);
        const auto again = ComposingOrb::frame(2.5);
        const auto other = ComposingOrb::frame(2.6);
        QVERIFY(std::equal(frame.begin(), frame.end(), again.begin(), same));
        QVERIFY(!std::equal(frame.begin(), frame.end(), other.begin(), same));
    }

    void noRibbonDotIsSmallerThanTheLeastRadius()
    {
        double least = 1;
        double greatest = 0;
        for (int step = 0; step < 200; ++step) {
            for (const Dot& dot : ComposingOrb::frame(step * 0.37)) {
                least = std::min(least, dot.radius);
                greatest = std::max(greatest, dot.radius);
                QVERIFY(dot.alpha > 0 && dot.alpha <= 1.0000001);
                QVERIFY(std::hypot(dot.x - 32, dot.y - 32) < 24.9601);
            }
        }
        QCOMPARE(least, 0.3);
        QVERIFY(greatest < 0.95);
    }

    void aDiscCoversItsArea_data()
    {
        QTest::addColumn<QPointF>("centre");
        QTest::addColumn<double>("radius");
        QTest::newRow("within one pixel") << QPointF(12.5, 12.5) << 0.3;
        QTest::newRow("on a corner of four pixels") << QPointF(12, 12) << 0.3;
        QTest::newRow("off the grid") << QPointF(12.37, 12.81) << 0.8;
        QTest::newRow("several pixels") << QPointF(11.2, 12.9) << 4.0;
    }
    void aDiscCoversItsArea()
    {
        QFETCH(QPointF, centre);
        QFETCH(double, radius);
        const double area = std::numbers::pi * radius * radius;
        QVERIFY(std::abs(coverage(disc(centre, radius)) - area) < 0.03 + 0.03 * area);
    }

    void aDiscOutsideTheImageIsClipped()
    {
        QCOMPARE(coverage(disc({-5, 40}, 3)), 0.0);
        QVERIFY(coverage(disc({0, 0}, 4)) > 11);
    }

    void aLargerWhiteGivesADarkerGrey()
    {
        QImage image(200, 200, QImage::Format_ARGB32_Premultiplied);
        paintComposingOrb(image, 0.6);
        // The centre of the orb is covered by near, nearly opaque ribbons: greys of 1 - 0.26 and thereabouts.
        int lightest = 0;
        for (int x = 40; x < 160; ++x) {
            const QColor color = image.pixelColor(x, 100);
            if (color.alphaF() > 0.8F)
                lightest = std::max(lightest, color.red());
        }
        QVERIFY2(lightest > 150, qPrintable(QString::number(lightest)));
        QCOMPARE(image.pixelColor(1, 1).alpha(), 0);
    }

    void itIsThePictureOfAGeneralPainter_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("square") << QSize(640, 640);
        QTest::newRow("oblong") << QSize(400, 320);
    }
    void itIsThePictureOfAGeneralPainter()
    {
        QFETCH(QSize, size);
        QImage image(size, QImage::Format_ARGB32_Premultiplied);
        paintComposingOrb(image, 0.6);
        const double apart = difference(image, drawnOrb(size, 0.6));
        QVERIFY2(apart < 1, qPrintable(QString::number(apart)));
        QVERIFY(difference(image, drawnOrb(size, 1.2)) > 3 * apart);
    }

    void theOrbIsCentredInAnOblongImage()
    {
        QImage image(120, 60, QImage::Format_ARGB32_Premultiplied);
        paintComposingOrb(image, 0.6);
        QCOMPARE(coverage(image.copy(0, 0, 30, 60)), 0.0);
        QCOMPARE(coverage(image.copy(90, 0, 30, 60)), 0.0);
        QVERIFY(coverage(image.copy(30, 0, 60, 60)) > 300);
    }
};

QTEST_GUILESS_MAIN(tst_ComposingOrb)
#include "tst_ComposingOrb.moc"
