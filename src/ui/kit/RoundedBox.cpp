#include "ui/kit/RoundedBox.h"

#include <QCache>
#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGNinePatchNode>

#include <algorithm>
#include <cmath>

namespace quillmarsh {

namespace {

/// How much earlier than a circle a continuous corner begins to bend.
constexpr qreal continuousReach = 1.3;

/// A corner of `radius` at `at`, drawn as one cubic that passes where the circle's middle would be.
void addContinuousCorner(QPainterPath& path, QPointF at, QPointF from, QPointF to, qreal radius)
{
    const qreal reach = continuousReach * radius;
    // A cubic's middle is (ends + 3 * controls) / 8; the circle's lies 1 - 1/sqrt(2) of the radius inside.
    const qreal control = (8 * (1 - M_SQRT1_2) * radius - reach) / 3;
    path.lineTo(at + from * reach);
    path.cubicTo(at + from * control, at + to * control, at + to * reach);
}

QPainterPath continuousPath(const QRectF& box, qreal radius)
{
    const QPointF left(-1, 0);
    const QPointF right(1, 0);
    const QPointF up(0, -1);
    const QPointF down(0, 1);
    QPainterPath path(box.topLeft() + right * continuousReach * radius);
    addContinuousCorner(path, box.topRight(), left, down, radius);
    addContinuousCorner(path, box.bottomRight(), up, left, radius);
    addContinuousCorner(path, box.bottomLeft(), right, up, radius);
    addContinuousCorner(path, box.topLeft(), down, right, radius);
    return path;
}

QPainterPath boxPath(const QRectF& box, qreal radius, bool continuous)
{
    if (continuous)
        return continuousPath(box, std::max(0.0, radius));
    QPainterPath path;
    path.addRoundedRect(box, std::max(0.0, radius), std::max(0.0, radius));
    return path;
}

} // namespace

RoundedBox::RoundedBox(QQuickItem* parent) : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    for (const auto changed :
         {&RoundedBox::colorChanged, &RoundedBox::radiusChanged, &RoundedBox::continuousChanged,
          &RoundedBox::lineColorChanged, &RoundedBox::lineWidthChanged, &RoundedBox::lineInsetChanged})
        connect(this, changed, this, &QQuickItem::update);
}

QImage RoundedBox::draw(int corner, qreal ratio) const
{
    const int side = 2 * corner + 1;
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box(0, 0, side, side);
    painter.fillPath(boxPath(box, radius_ * ratio, continuous_), color_);
    // Thinner than a device pixel would only be a paler one; a whole number of them stays crisp.
    const qreal line = lineWidth_ * ratio <= 1 ? lineWidth_ * ratio : std::round(lineWidth_ * ratio);
    const qreal inset = std::floor(lineInset_ * ratio);
    const qreal drawn = std::max(line, 1.0);
    QColor color = lineColor_;
    color.setAlphaF(static_cast<float>(color.alphaF() * std::min(1.0, line)));
    const qreal edge = inset + drawn / 2;
    painter.setPen(line > 0 ? QPen(color, drawn) : QPen(Qt::NoPen));
    painter.drawPath(boxPath(box.adjusted(edge, edge, -edge, -edge), radius_ * ratio - edge, continuous_));
    return image;
}

QImage RoundedBox::picture(int corner, qreal ratio) const
{
    static QCache<QString, QImage> cache(512); // KiB
    const QString key = QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8")
                            .arg(color_.name(QColor::HexArgb), lineColor_.name(QColor::HexArgb))
                            .arg(radius_)
                            .arg(lineWidth_)
                            .arg(lineInset_)
                            .arg(ratio)
                            .arg(corner)
                            .arg(continuous_);
    if (const QImage* known = cache.object(key))
        return *known;
    const QImage image = draw(corner, ratio);
    cache.insert(key, new QImage(image), std::max(1, static_cast<int>(image.sizeInBytes() / 1024)));
    return image;
}

QSGNode* RoundedBox::updatePaintNode(QSGNode* old, UpdatePaintNodeData*)
{
    if (width() <= 0 || height() <= 0 ||
        (color_.alpha() == 0 && (lineColor_.alpha() == 0 || lineWidth_ <= 0))) {
        delete old;
        return nullptr;
    }
    const qreal ratio = window()->effectiveDevicePixelRatio();
    const qreal reach = radius_ * (continuous_ ? continuousReach : 1) + lineInset_ + lineWidth_;
    const int room = static_cast<int>(std::min(width(), height()) * ratio / 2);
    const int corner = std::clamp(static_cast<int>(std::ceil(reach * ratio)) + 1, 1, std::max(1, room));
    auto* node = static_cast<QSGNinePatchNode*>(old);
    if (!node)
        node = window()->createNinePatchNode();
    node->setTexture(window()->createTextureFromImage(picture(corner, ratio)));
    node->setBounds(boundingRect());
    node->setDevicePixelRatio(ratio);
    node->setPadding(corner / ratio, corner / ratio, corner / ratio, corner / ratio);
    node->update();
    return node;
}

void RoundedBox::itemChange(ItemChange change, const ItemChangeData& value)
{
    if (change == ItemDevicePixelRatioHasChanged)
        update();
    QQuickItem::itemChange(change, value);
}

void RoundedBox::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size())
        update();
}

} // namespace quillmarsh
