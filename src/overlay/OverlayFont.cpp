#include "overlay/OverlayFont.h"

#include <QFontDatabase>
#include <QFontMetricsF>

namespace quillmarsh {

QFont overlayFont(qreal size, QFont::Weight weight)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPixelSize(qRound(size / overlayFontScale));
    font.setWeight(weight);
    return font;
}

qreal overlayTextWidth(const QString& text, qreal size, QFont::Weight weight)
{
    return QFontMetricsF(overlayFont(size, weight)).horizontalAdvance(text) * overlayFontScale;
}

} // namespace quillmarsh
