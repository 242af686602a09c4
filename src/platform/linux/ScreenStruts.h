#pragma once

#include <QRect>

#include <cstdint>
#include <span>

namespace quillmarsh {

class XConnection;

/// What the bars of the desktop leave free of `screen`. `strut` is the twelve numbers of
/// _NET_WM_STRUT_PARTIAL: the widths reserved at the left, right, top and bottom edge of a root window of the
/// size `root`, then where each of them begins and ends along its edge. A bar that would leave less than half
/// of the screen, as one in the middle between two screens does to the farther one, is not taken for one of
/// this screen. Pixels of the root window.
[[nodiscard]] QRect clearOfStrut(QRect screen, QSize root, std::span<const uint32_t, 12> strut);

/// What all bars together leave free of `screen`. The desktop's work area tells it of one screen only: over
/// several it is the rectangle around all of them.
[[nodiscard]] QRect clearOfBars(const XConnection& connection, QRect screen);

} // namespace quillmarsh
