#pragma once

#include "platform/StatusItemHost.h"

#include <memory>

namespace quillmarsh {

class XConnection;

/// A StatusNotifierItem host on the session bus, or an XEmbed tray on the X server.
class TrayHost final : public StatusItemHost
{
public:
    /// `connection` is null without an X server.
    explicit TrayHost(std::shared_ptr<XConnection> connection) : connection_(std::move(connection)) {}

    Task<bool> waitUntilAvailable() override;

private:
    std::shared_ptr<XConnection> connection_;
};

} // namespace quillmarsh
