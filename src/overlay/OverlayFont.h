#pragma once

#include <QFont>

namespace quillmarsh {

/// Fonts have whole pixels only, the panel's texts have halves too: a font is made at twice its size, and
/// what it measures or draws is halved.
constexpr qreal overlayFontScale = 0.5;

/// The desktop's general font at twice `size` device-independent pixels (halves count).
[[nodiscard]] QFont overlayFont(qreal size, QFont::Weight weight);

/// How wide `text` is in that font, in device-independent pixels.
[[nodiscard]] qreal overlayTextWidth(const QString& text, qreal size, QFont::Weight weight);

} // namespace quillmarsh
