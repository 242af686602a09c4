#pragma once

#include <chrono>
#include <string>

namespace quillmarsh::service::test {

/// A bare socket to 127.0.0.1, for what no HTTP library would send.
class RawClient final
{
public:
    explicit RawClient(int port);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    /// Returns false when the other side is gone.
    bool send(const std::string& bytes) const;
    /// Everything until the other side closes, or until nothing came for `patience`.
    [[nodiscard]] std::string receive(std::chrono::milliseconds patience = std::chrono::seconds(30)) const;
    void closeWriting() const;

private:
    int socket_ = -1;
};

} // namespace quillmarsh::service::test
