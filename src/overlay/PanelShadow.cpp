#include "overlay/PanelShadow.h"

#include <QPainter>
#include <QQuickWindow>

#include <algorithm>
#include <array>
#include <cmath>

namespace quillmarsh {

namespace {

/// The light falls from above: the shadow lies a little lower than its surface.
constexpr qreal drop = 2.5;
constexpr qreal strength = 0.20;

/// How far `point` lies outside the rounded rectangle; negative inside.
qreal distanceOutside(QPointF point, const QRectF& rect, qreal radius)
{
    const QPointF fromCentre = point - rect.center();
    const qreal dx = std::abs(fromCentre.x()) - rect.width() / 2 + radius;
    const qreal dy = std::abs(fromCentre.y()) - rect.height() / 2 + radius;
    return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) - radius;
}

/// Fades to nothing exactly at the item's edge.
int shadowAlpha(qreal distance, qreal reach)
{
    const qreal near = 1 - std::clamp((distance + drop) / (reach + drop), 0.0, 1.0);
    return static_cast<int>(std::lround(255 * strength * near * near * near));
}

struct Span
{
    qreal target;
    qreal targetLength;
    qreal source;
    qreal sourceLength;
};

std::array<Span, 3> spans(qreal length, qreal corner, qreal sourceLength, qreal ratio)
{
    const qreal shown = std::min(corner, length / 2);
    const qreal kept = shown * ratio;
    return {Span{0, shown, 0, kept}, Span{shown, length - 2 * shown, kept, sourceLength - 2 * kept},
            Span{length - shown, shown, sourceLength - kept, kept}};
}

} // namespace

PanelShadow::PanelShadow(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    connect(this, &PanelShadow::changed, this, [this] { update(); });
}

void PanelShadow::renderCorners(qreal ratio)
{
    if (cornersRadius_ == radius_ && cornersRatio_ == ratio)
        return;
    cornersRadius_ = radius_;
    cornersRatio_ = ratio;
    const qreal side = 2 * (inset_ + radius_) + 2;
    const int pixels = static_cast<int>(std::ceil(side * ratio));
    const QRectF surface(inset_, inset_ + drop, side - 2 * inset_, side - 2 * inset_);
    corners_ = QImage(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < pixels; ++y) {
        auto* row = reinterpret_cast<QRgb*>(corners_.scanLine(y));
        for (int x = 0; x < pixels; ++x) {
            const QPointF point((x + 0.5) / ratio, (y + 0.5) / ratio);
            row[x] = qRgba(0, 0, 0, shadowAlpha(distanceOutside(point, surface, radius_), inset_ - drop));
        }
    }
}

void PanelShadow::paint(QPainter* painter)
{
    const qreal ratio = window() ? window()->effectiveDevicePixelRatio() : 1;
    renderCorners(ratio);
    const qreal corner = inset_ + radius_;
    for (const Span& down : spans(height(), corner, corners_.height(), ratio)) {
        for (const Span& across : spans(width(), corner, corners_.width(), ratio))
            painter->drawImage(QRectF(across.target, down.target, across.targetLength, down.targetLength),
                               corners_,
                               QRectF(across.source, down.source, across.sourceLength, down.sourceLength));
    }
}

} // namespace quillmarsh
