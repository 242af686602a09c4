#include "overlay/OverlayGlyph.h"

#include <QPainter>
#include <QPainterPath>

namespace quillmarsh {

namespace {

/// The strokes of a sign in a square of side 1.
QPainterPath strokes(OverlayGlyph::Sign sign)
{
    QPainterPath path;
    switch (sign) {
    case OverlayGlyph::Sign::Check:
        path.moveTo(0.26, 0.53);
        path.lineTo(0.43, 0.69);
        path.lineTo(0.74, 0.34);
        break;
    case OverlayGlyph::Sign::Cross:
        path.moveTo(0.3, 0.3);
        path.lineTo(0.7, 0.7);
        path.moveTo(0.7, 0.3);
        path.lineTo(0.3, 0.7);
        break;
    case OverlayGlyph::Sign::Exclamation:
        path.moveTo(0.5, 0.27);
        path.lineTo(0.5, 0.54);
        // A stroke without length would be no dot in every paint engine.
        path.moveTo(0.5, 0.72);
        path.lineTo(0.5, 0.721);
        break;
    }
    return path;
}

} // namespace

OverlayGlyph::OverlayGlyph(QQuickItem* parent) : QQuickPaintedItem(parent)
{
    connect(this, &OverlayGlyph::changed, this, [this] { update(); });
}

void OverlayGlyph::paint(QPainter* painter)
{
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(QPen(color_, strokeWidth_, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter->drawPath(QTransform::fromScale(width(), height()).map(strokes(sign_)));
}

} // namespace quillmarsh
