#pragma once

#include "base/LocalizedError.h"
#include "platform/SecItems.h"

namespace quillmarsh {

/// A secret could not be stored. "Keychain save failed with status: " and the status in decimal.
class KeychainError final : public LocalizedError
{
public:
    [[nodiscard]] static KeychainError saveFailed(OSStatus status);

    [[nodiscard]] OSStatus status() const { return status_; }

private:
    explicit KeychainError(OSStatus status);

    OSStatus status_;
};

} // namespace quillmarsh
