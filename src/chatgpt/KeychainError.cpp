#include "chatgpt/KeychainError.h"

namespace quillmarsh {

KeychainError::KeychainError(OSStatus status)
    : LocalizedError(QStringLiteral("Keychain save failed with status: %1").arg(status)), status_(status)
{}

KeychainError KeychainError::saveFailed(OSStatus status)
{
    return KeychainError(status);
}

} // namespace quillmarsh
