#pragma once

#include "base/Task.h"

namespace quillmarsh {

/// Where the status-bar icon can go. Qt decides once per process how it draws a tray icon, so the decision
/// has to wait for a desktop that is still starting.
class StatusItemHost
{
public:
    virtual ~StatusItemHost() = default;

    /// Completes when a tray host is there or 30 s have passed; true when an icon can be shown now.
    virtual Task<bool> waitUntilAvailable() = 0;
};

} // namespace quillmarsh
