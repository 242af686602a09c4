#pragma once

#include <QRect>

#include <vector>

namespace quillmarsh {

class PanelWindow;

/// One screen, in global device-independent pixels.
struct OverlayScreen
{
    QRect frame;
    QRect visibleFrame; ///< what the desktop's own bars leave free
};

/// The screens in the system's order; the main screen comes first. Empty while no screen is connected.
[[nodiscard]] std::vector<OverlayScreen> connectedScreens(const PanelWindow& panelWindow);

/// The visible frame of the first screen that holds `point`, else of the main one, else a stand-in of 1440 ×
/// 900.
[[nodiscard]] QRect visibleFrameAt(const std::vector<OverlayScreen>& screens, QPoint point);

} // namespace quillmarsh
