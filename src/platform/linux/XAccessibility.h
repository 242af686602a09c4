#pragma once

#include "platform/Accessibility.h"

#include <memory>

namespace quillmarsh {

class XWorker;

/// Whether the session is a Wayland one, where X11 hot keys and injected keys reach only some windows.
[[nodiscard]] bool isWaylandSession();

/// X11 asks for no permission: what matters is what the server offers. Decided, and logged, once.
class XAccessibility final : public Accessibility
{
public:
    explicit XAccessibility(const std::shared_ptr<XWorker>& worker);

    [[nodiscard]] bool isProcessTrusted() const override { return trusted_; }
    void request() override {}
    void openSettings() override {}

private:
    bool trusted_ = false;
};

} // namespace quillmarsh
