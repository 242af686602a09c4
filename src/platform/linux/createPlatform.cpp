#include "platform/Platform.h"

#include "base/Log.h"
#include "platform/linux/DBusInstanceGuard.h"
#include "platform/linux/LibsecretItems.h"
#include "platform/linux/LinuxBundle.h"
#include "platform/linux/PortalAppearance.h"
#include "platform/linux/QtProcessRunner.h"
#include "platform/linux/TrayHost.h"
#include "platform/linux/XAccessibility.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XEventTap.h"
#include "platform/linux/XKeyPoster.h"
#include "platform/linux/XKeyboardLayout.h"
#include "platform/linux/XPanelWindow.h"
#include "platform/linux/XPasteboard.h"
#include "platform/linux/XWorker.h"
#include "platform/linux/XWorkspace.h"

namespace quillmarsh {

Platform createPlatform()
{
    // Two connections: the worker's must answer at once whatever the main thread does; the main thread's is
    // for short questions.
    const std::shared_ptr<XWorker> worker = XWorker::start();
    const std::shared_ptr<XConnection> connection = XConnection::open();
    const std::shared_ptr<XWorker> keys = isWaylandSession() ? nullptr : worker;

    Platform platform;
    platform.accessibility = std::make_unique<XAccessibility>(worker, connection);
    platform.eventTaps = std::make_unique<XEventTapSource>(keys);
    platform.keyPoster = std::make_unique<XKeyPoster>(keys);
    platform.pasteboard = std::make_unique<XPasteboard>(worker);
    platform.workspace = std::make_unique<XWorkspace>(connection);
    platform.keyboardLayout = std::make_unique<XKeyboardLayout>(connection);
    platform.secItems = std::make_unique<LibsecretItems>();
    platform.panelWindow = std::make_unique<XPanelWindow>(connection);
    platform.appearance = std::make_unique<PortalAppearance>();
    platform.instanceGuard = std::make_unique<DBusInstanceGuard>();
    platform.statusItemHost = std::make_unique<TrayHost>(connection);
    platform.bundle = std::make_unique<LinuxBundle>();
    platform.processRunner = std::make_unique<QtProcessRunner>();
    return platform;
}

} // namespace quillmarsh
