#include "overlay/OverlayScreen.h"

#include "platform/PanelWindow.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>

namespace quillmarsh {

std::vector<OverlayScreen> connectedScreens(const PanelWindow& panelWindow)
{
    std::vector<OverlayScreen> screens;
    // Qt keeps the primary screen at the head of its list.
    for (const QScreen* screen : QGuiApplication::screens())
        screens.push_back({screen->geometry(), panelWindow.visibleFrame(*screen)});
    return screens;
}

QRect visibleFrameAt(const std::vector<OverlayScreen>& screens, QPoint point)
{
    if (screens.empty())
        return {0, 0, 1440, 900};
    const auto under = std::find_if(screens.begin(), screens.end(), [point](const OverlayScreen& screen) {
        return screen.frame.contains(point);
    });
    return under == screens.end() ? screens.front().visibleFrame : under->visibleFrame;
}

} // namespace quillmarsh
