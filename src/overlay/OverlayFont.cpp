#include "overlay/OverlayFont.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QScreen>

namespace quillmarsh {

QFont overlayFont(qreal size, QFont::Weight weight)
{
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    // QFont takes whole pixels only; typographic points, 72 to the inch, carry the half.
    const QScreen* screen = QGuiApplication::primaryScreen();
    const qreal dotsPerInch = screen ? screen->logicalDotsPerInchY() : 96;
    font.setPointSizeF(size * 72 / dotsPerInch);
    font.setWeight(weight);
    return font;
}

} // namespace quillmarsh
