#include "overlay/RewriteOverlayState.h"

#include "overlay/OverlayFont.h"

#include <algorithm>
#include <cmath>

namespace quillmarsh {

qreal RewriteOverlayState::surfaceHeight() const
{
    switch (phase_) {
    case Phase::Working:
        return 36;
    case Phase::Success:
        return 32;
    case Phase::Error:
        break;
    }
    return actionTitle_ ? 104 : 80;
}

qreal RewriteOverlayState::surfaceWidth() const
{
    switch (phase_) {
    case Phase::Working:
        return 56;
    case Phase::Success:
        // 50 is what surrounds the title: the check mark and the paddings.
        return std::clamp(std::ceil(overlayTextWidth(title_, 11.5, QFont::Medium)) + 50, 100.0, 240.0);
    case Phase::Error:
        break;
    }
    return 320;
}

QSizeF RewriteOverlayState::windowSize() const
{
    return {surfaceWidth() + 2 * margin, surfaceHeight() + 2 * margin};
}

void RewriteOverlayState::setPhase(Phase phase)
{
    if (phase_ == phase)
        return;
    phase_ = phase;
    emit phaseChanged();
    announceWindowSize();
}

void RewriteOverlayState::setTitle(const QString& title)
{
    if (title_ == title)
        return;
    title_ = title;
    emit titleChanged();
    announceWindowSize();
}

void RewriteOverlayState::setDetail(const QString& detail)
{
    if (detail_ == detail)
        return;
    detail_ = detail;
    emit detailChanged();
}

void RewriteOverlayState::setIsVisible(bool isVisible)
{
    if (isVisible_ == isVisible)
        return;
    isVisible_ = isVisible;
    emit isVisibleChanged();
}

void RewriteOverlayState::setActionTitle(const std::optional<QString>& actionTitle)
{
    if (actionTitle_ == actionTitle)
        return;
    actionTitle_ = actionTitle;
    emit actionTitleChanged();
    announceWindowSize();
}

// The callbacks are copied before they run: each may start a presentation, which replaces all of them.

void RewriteOverlayState::hoverChanged(bool isInside)
{
    if (const auto callback = hoverChanged_)
        callback(isInside);
}

void RewriteOverlayState::action()
{
    if (const auto callback = action_)
        callback();
}

void RewriteOverlayState::dismiss()
{
    if (const auto callback = dismiss_)
        callback();
}

void RewriteOverlayState::announceWindowSize()
{
    const QSizeF size = windowSize();
    if (size == announcedSize_)
        return;
    announcedSize_ = size;
    emit windowSizeChanged();
}

} // namespace quillmarsh
