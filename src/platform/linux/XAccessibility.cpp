#include "platform/linux/XAccessibility.h"

#include "base/Log.h"
#include "platform/linux/XWorker.h"

namespace quillmarsh {

bool isWaylandSession()
{
    const QString type = qEnvironmentVariable("XDG_SESSION_TYPE");
    if (!type.isEmpty() && type != QLatin1String("tty"))
        return type == QLatin1String("wayland");
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY");
}

XAccessibility::XAccessibility(const std::shared_ptr<XWorker>& worker)
{
    if (isWaylandSession())
        qCWarning(lcQuillmarsh,
                  "This is a Wayland session: global shortcuts and pasting need an X11 session");
    else if (!worker)
        qCWarning(lcQuillmarsh, "No X server answers: global shortcuts and pasting are not possible");
    else if (!worker->isCapable())
        qCWarning(lcQuillmarsh, "The X server lacks XTEST, XFIXES, XKB or XInput 2, which shortcuts need");
    else
        trusted_ = true;
}

} // namespace quillmarsh
