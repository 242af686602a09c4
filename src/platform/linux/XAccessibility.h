#pragma once

#include "platform/Accessibility.h"

#include <memory>

namespace quillmarsh {

class XConnection;
class XWorker;

/// Whether the session is a Wayland one, where X11 hot keys and injected keys reach only some windows.
[[nodiscard]] bool isWaylandSession();

/// X11 asks for no permission: what matters is what the server offers, and that both connections to it live.
/// The log says at the start why it is not granted.
class XAccessibility final : public Accessibility
{
public:
    /// `connection` is the one that knows which window is in front: nothing is pasted blindly.
    XAccessibility(std::shared_ptr<XWorker> worker, std::shared_ptr<XConnection> connection);

    [[nodiscard]] bool isProcessTrusted() const override;
    void request() override {}
    void openSettings() override {}

private:
    std::shared_ptr<XWorker> worker_;
    std::shared_ptr<XConnection> connection_;
    bool wayland_;
};

} // namespace quillmarsh
