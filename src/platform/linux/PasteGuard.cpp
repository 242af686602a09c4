#include "platform/linux/PasteGuard.h"

#include "base/Log.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XWindows.h"

#include <utility>

namespace quillmarsh {

namespace {

// How long after it was placed a paste is about that text.
constexpr qint64 pasteIsDueMs = 2000;
// How long an application may take to ask after it was told to paste; a large office suite takes some 100 ms.
constexpr qint64 requestLimitMs = 1000;
// A program that takes it back every time would otherwise keep both of us busy.
constexpr int mostReclaims = 20;

} // namespace

PasteGuard::PasteGuard(XConnection& connection) : connection_(connection)
{
    readLimit_.setSingleShot(true);
    readLimit_.setInterval(static_cast<int>(requestLimitMs));
    QObject::connect(&readLimit_, &QTimer::timeout, &readLimit_, [this] { answerRead(false); });
}

PasteGuard::~PasteGuard()
{
    answerRead(false);
}

void PasteGuard::textPlaced()
{
    forget();
    sincePlaced_.start();
}

void PasteGuard::pasteBegins(xcb_window_t target)
{
    target_ = XWindows(connection_).clientOf(target);
    reclaims_ = 0;
    isPasting_ = true;
    isRead_ = readers_.contains(target_);
    sincePaste_.start();
}

void PasteGuard::forget()
{
    sincePlaced_.invalidate();
    sincePaste_.invalidate();
    takenByUser_ = isPasting_ = isRead_ = false;
    readers_.clear();
    answerRead(false);
}

void PasteGuard::tellWhetherRead(std::function<void(bool)> reply)
{
    answerRead(false);
    whenRead_ = std::move(reply);
    if (isRead_ || !isPasting_)
        answerRead(isRead_);
    else
        readLimit_.start();
}

void PasteGuard::answerRead(bool isRead)
{
    readLimit_.stop();
    if (const auto reply = std::exchange(whenRead_, nullptr))
        reply(isRead);
}

void PasteGuard::textRequested(xcb_window_t requestor)
{
    const uint32_t reader = XWindows(connection_).clientOf(requestor);
    readers_.insert(reader);
    isRead_ = isPasting_;
    if (isRead_)
        answerRead(true);
    if (!sincePaste_.isValid() || reader != target_)
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
