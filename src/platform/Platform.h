#pragma once

#include "platform/Accessibility.h"
#include "platform/Bundle.h"
#include "platform/DesktopAppearance.h"
#include "platform/EventTap.h"
#include "platform/InstanceGuard.h"
#include "platform/KeyPoster.h"
#include "platform/KeyboardLayout.h"
#include "platform/PanelWindow.h"
#include "platform/Pasteboard.h"
#include "platform/ProcessRunner.h"
#include "platform/SecItems.h"
#include "platform/StatusItemHost.h"
#include "platform/Workspace.h"

#include <memory>

namespace quillmarsh {

/// Every operating-system capability of the product. No member is ever null: what a desktop lacks is an
/// object that does nothing and says why in the log.
struct Platform
{
    std::unique_ptr<Accessibility> accessibility;
    std::unique_ptr<EventTapSource> eventTaps;
    std::unique_ptr<KeyPoster> keyPoster;
    std::unique_ptr<Pasteboard> pasteboard;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<KeyboardLayout> keyboardLayout;
    std::unique_ptr<SecItems> secItems;
    std::unique_ptr<PanelWindow> panelWindow;
    std::unique_ptr<DesktopAppearance> appearance;
    std::unique_ptr<InstanceGuard> instanceGuard;
    std::unique_ptr<StatusItemHost> statusItemHost;
    std::unique_ptr<Bundle> bundle;
    std::unique_ptr<ProcessRunner> processRunner;
};

/// Defined once per operating system. Call after the QGuiApplication exists.
[[nodiscard]] Platform createPlatform();

} // namespace quillmarsh
