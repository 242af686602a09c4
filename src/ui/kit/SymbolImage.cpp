#include "ui/kit/SymbolImage.h"

#include "ui/kit/SymbolMap.h"

#include <QCache>
#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <cmath>
#include <memory>

namespace quillmarsh {

namespace {

/// The drawing with its strokes in `color`. The files leave the colour open with the word currentColor, which
/// the renderer does not know.
QByteArray coloredDrawing(const QString& symbol, const QColor& color)
{
    QFile file(SymbolMap::drawing(symbol));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray name = color.name(QColor::HexRgb).toLatin1();
    QByteArray svg = file.readAll().replace("currentColor", name);
    if (symbol.endsWith(QLatin1String(".fill")))
        svg.replace("fill=\"none\"", "fill=\"" + name + "\" fill-opacity=\"0.18\"");
    return svg;
}

QImage draw(const QString& symbol, const QColor& color, int pixels)
{
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QSvgRenderer(coloredDrawing(symbol, color)).render(&painter, QRectF(0, 0, pixels, pixels));
    // Afterwards, so that crossing strokes are not darker than the rest.
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.fillRect(image.rect(), QColor(0, 0, 0, color.alpha()));
    return image;
}

} // namespace

QImage symbolImage(const QString& symbol, const QColor& color, int pixels)
{
    if (symbol.isEmpty() || pixels <= 0)
        return {};
    static QCache<QString, QImage> cache(1024); // KiB
    const QString key = QStringLiteral("%1 %2 %3").arg(symbol, color.name(QColor::HexArgb)).arg(pixels);
    if (const QImage* known = cache.object(key))
        return *known;
    const QImage image = draw(symbol, color, pixels);
    cache.insert(key, new QImage(image), std::max(1, static_cast<int>(image.sizeInBytes() / 1024)));
    return image;
}

SymbolImage::SymbolImage(QQuickItem* parent) : PictureItem(parent)
{
    for (const auto changed : {&SymbolImage::nameChanged, &SymbolImage::colorChanged})
        connect(this, changed, this, &QQuickItem::update);
}

PictureItem::Picture SymbolImage::picture(qreal ratio) const
{
    const qreal side = std::min(width(), height());
    const int pixels = static_cast<int>(std::ceil(side * ratio));
    return {symbolImage(name_, color_, pixels),
            QRectF((width() - side) / 2, (height() - side) / 2, side, side)};
}

} // namespace quillmarsh
