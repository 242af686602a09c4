#include "platform/linux/XAccessibility.h"

#include "base/Log.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XWorker.h"

namespace quillmarsh {

bool isWaylandSession()
{
    const QString type = qEnvironmentVariable("XDG_SESSION_TYPE");
    if (!type.isEmpty() && type != QLatin1String("tty"))
        return type == QLatin1String("wayland");
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

XAccessibility::XAccessibility(std::shared_ptr<XWorker> worker, std::shared_ptr<XConnection> connection)
    : worker_(std::move(worker)), connection_(std::move(connection)), wayland_(isWaylandSession())
{
    if (wayland_)
        qCWarning(lcQuillmarsh,
                  "This is a Wayland session: global shortcuts and pasting need an X11 session");
    else if (!worker_ || !connection_)
        qCWarning(lcQuillmarsh, "No X server answers: global shortcuts and pasting are not possible");
    else if (!worker_->isCapable())
        qCWarning(lcQuillmarsh, "The X server lacks XTEST, XFIXES, XKB or XInput 2, which shortcuts need");
}

bool XAccessibility::isProcessTrusted() const
{
    return !wayland_ && worker_ && worker_->isCapable() && connection_ && connection_->isAlive();
}

} // namespace quillmarsh
