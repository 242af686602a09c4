#include "platform/linux/PasteGuard.h"

#include "base/Log.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XWindows.h"

namespace quillmarsh {

namespace {

// How long after it was placed a paste is about that text.
constexpr qint64 pasteIsDueMs = 2000;
// How long an application may take to ask after it was told to paste; a large office suite takes some 100 ms.
constexpr qint64 requestLimitMs = 1000;
// A program that takes it back every time would otherwise keep both of us busy.
constexpr int mostReclaims = 20;

} // namespace

void PasteGuard::textPlaced()
{
    sincePlaced_.start();
    sincePaste_.invalidate();
    takenByUser_ = false;
}

void PasteGuard::pasteBegins(xcb_window_t target)
{
    target_ = XWindows(connection_).clientOf(target);
    reclaims_ = 0;
    sincePaste_.start();
}

void PasteGuard::forget()
{
    sincePlaced_.invalidate();
    sincePaste_.invalidate();
    takenByUser_ = false;
}

void PasteGuard::textRequested(xcb_window_t requestor)
{
    if (!sincePaste_.isValid() || XWindows(connection_).clientOf(requestor) != target_)
        return;
    qCDebug(lcQuillmarsh, "The application asked for the text after %lld ms", sincePaste_.elapsed());
    sincePaste_.invalidate();
}

void PasteGuard::clipboardTaken(xcb_window_t owner)
{
    // A clipboard manager may take over afterwards what the user copied; it stays the user's.
    if (!isDue() || takenByUser_ || owner == XCB_NONE)
        return;
    takenByUser_ = XWindows(connection_).clientOf(owner) == frontClient();
    if (takenByUser_)
        qCInfo(lcQuillmarsh, "The user copied something else; the result does not go over it");
}

bool PasteGuard::isTakenByUser() const
{
    return isDue() && takenByUser_;
}

bool PasteGuard::isDue() const
{
    return sincePlaced_.isValid() && sincePlaced_.elapsed() <= pasteIsDueMs;
}

bool PasteGuard::isOverdue() const
{
    return sincePlaced_.isValid() && !isDue();
}

bool PasteGuard::mayReclaim()
{
    if (!sincePaste_.isValid() || takenByUser_)
        return false;
    if (sincePaste_.elapsed() > requestLimitMs || ++reclaims_ > mostReclaims) {
        sincePaste_.invalidate();
        return false;
    }
    qCInfo(lcQuillmarsh, "Taking the clipboard back until the application asked for the text");
    return true;
}

uint32_t PasteGuard::frontClient() const
{
    const XWindows windows(connection_);
    return windows.clientOf(windows.active());
}

} // namespace quillmarsh
