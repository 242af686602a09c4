#pragma once

#include "base/Task.h"

#include <QByteArray>
#include <QString>

namespace quillmarsh {

/// Status of a secret-store call: 0, or a negative code of the Keychain family.
using OSStatus = qint32;
inline constexpr OSStatus errSecSuccess = 0;
inline constexpr OSStatus errSecIO = -36;              ///< the store answered something unexpected
inline constexpr OSStatus errSecNotAvailable = -25291; ///< no secret service, or no session bus
inline constexpr OSStatus errSecDuplicateItem = -25299;
inline constexpr OSStatus errSecItemNotFound = -25300;
inline constexpr OSStatus errSecInteractionNotAllowed = -25308; ///< the store is locked

/// What a status means, in a few words for the log.
[[nodiscard]] inline const char* secStatusText(OSStatus status)
{
    switch (status) {
    case errSecSuccess:
        return "no error";
    case errSecItemNotFound:
        return "there is no such item";
    case errSecInteractionNotAllowed:
        return "the secret store is locked";
    case errSecNotAvailable:
        return "no secret store is available";
    case errSecDuplicateItem:
        return "the item exists already";
    default:
        return "the secret store failed";
    }
}

/// One generic-password item.
struct SecItemQuery
{
    QString service;
    QString account;
};

struct SecItemResult
{
    OSStatus status = errSecIO;
    QByteArray data; ///< empty unless the status is 0
};

/// When an item may be read. Both are bound to this device: nothing is ever synchronised elsewhere.
enum class SecAccessible {
    afterFirstUnlockThisDeviceOnly, ///< from the first unlock after login on (tokens)
    whenUnlocked,                   ///< only while the store is unlocked (API keys)
};

/// The secret store of the desktop, keyed by service and account. Calls run off the main thread, because the
/// store may ask the user to unlock it; secrets never touch a file of ours.
class SecItems
{
public:
    virtual ~SecItems() = default;

    virtual Task<SecItemResult> copyMatching(SecItemQuery query) = 0;
    /// errSecItemNotFound when there is no item to update.
    virtual Task<OSStatus> update(SecItemQuery query, QByteArray data) = 0;
    /// errSecDuplicateItem when there is one already.
    virtual Task<OSStatus> add(SecItemQuery query, QByteArray data, SecAccessible accessible) = 0;
    virtual Task<OSStatus> remove(SecItemQuery query) = 0;
    /// Opens the place where new items go, asking the user where that is needed. A store that is never locked
    /// is open.
    virtual Task<OSStatus> unlock() { co_return errSecSuccess; }
};

} // namespace quillmarsh
