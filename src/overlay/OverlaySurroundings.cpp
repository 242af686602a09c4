#include "overlay/OverlaySurroundings.h"

#include "overlay/OverlayFont.h"

#include <utility>

namespace quillmarsh {

QFont OverlaySurroundings::font(qreal size, int weight) const
{
    return overlayFont(size, static_cast<QFont::Weight>(weight));
}

void OverlaySurroundings::set(bool& field, bool on)
{
    if (std::exchange(field, on) != on)
        emit changed();
}

} // namespace quillmarsh
