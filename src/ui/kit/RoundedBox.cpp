#include "ui/kit/RoundedBox.h"

#include <QPainter>
#include <QPainterPath>

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

RoundedBox::RoundedBox(QQuickItem* parent) : PictureItem(parent)
{
    for (const auto changed :
         {&RoundedBox::colorChanged, &RoundedBox::radiusChanged, &RoundedBox::continuousChanged,
          &RoundedBox::lineColorChanged, &RoundedBox::lineWidthChanged, &RoundedBox::lineInsetChanged})
        connect(this, changed, this, &QQuickItem::update);
}

bool RoundedBox::isInvisible() const
{
    const bool hasLine = lineWidth_ > 0 && lineColor_.alpha() > 0;
    return width() <= 0 || height() <= 0 || (color_.alpha() == 0 && !hasLine);
}

QRect RoundedBox::devicePixels(QPointF origin, qreal ratio) const
{
    const QPointF end = origin + QPointF(width(), height()) * ratio;
    const QPoint first(qRound(origin.x()), qRound(origin.y()));
    return {first, QSize(std::max(1, qRound(end.x()) - first.x()), std::max(1, qRound(end.y()) - first.y()))};
}

void RoundedBox::paint(QPainter& painter, const QRectF& box, qreal ratio) const
{
    const qreal reach = std::min(box.width(), box.height()) / 2;
    const qreal radius = std::min(radius_ * ratio, continuous_ ? reach / continuousReach : reach);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(boxPath(box, radius, continuous_), color_);
    if (lineWidth_ <= 0 || lineColor_.alpha() == 0)
        return;
    // Whole device pixels stay crisp; a line thinner than one becomes a paler one.
    const qreal line = std::max(1.0, std::round(lineWidth_ * ratio));
    QColor color = lineColor_;
    color.setAlphaF(static_cast<float>(color.alphaF() * std::min(1.0, lineWidth_ * ratio)));
    const qreal edge = std::floor(lineInset_ * ratio) + line / 2;
    painter.setPen(QPen(color, line));
    painter.drawPath(boxPath(box.adjusted(edge, edge, -edge, -edge), radius - edge, continuous_));
}

PictureItem::Picture RoundedBox::picture(qreal ratio) const
{
    if (isInvisible())
        return {};
    const QPointF origin = mapToScene({}) * ratio;
    const QRect pixels = devicePixels(origin, ratio);
    QImage image(pixels.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(painter, image.rect(), ratio);
    painter.end();
    return {image, QRectF((pixels.topLeft() - origin) / ratio, QSizeF(pixels.size()) / ratio)};
}

} // namespace quillmarsh
