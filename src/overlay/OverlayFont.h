#pragma once

#include <QFont>

namespace quillmarsh {

/// The desktop's general font at `size` device-independent pixels (halves count) and the given weight.
[[nodiscard]] QFont overlayFont(qreal size, QFont::Weight weight);

} // namespace quillmarsh
