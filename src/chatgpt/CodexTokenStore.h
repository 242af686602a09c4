#pragma once

#include "base/LocalizedError.h"
#include "base/Task.h"
#include "chatgpt/CodexTokens.h"
#include "platform/SecItems.h"

namespace quillmarsh {

/// The profiles could not be stored: what failed, and a code of `domain`.
class CodexTokenStoreError final : public LocalizedError
{
public:
    enum class Domain { codexTokenStore, osStatus };

    /// "encode failed", code -1.
    [[nodiscard]] static CodexTokenStoreError encodeFailed();
    /// "save failed": the item could not be added.
    [[nodiscard]] static CodexTokenStoreError saveFailed(OSStatus status);
    /// The item could not be updated; a general sentence with the status.
    [[nodiscard]] static CodexTokenStoreError osStatus(OSStatus status);

    [[nodiscard]] Domain domain() const { return domain_; }
    [[nodiscard]] OSStatus code() const { return code_; }

private:
    CodexTokenStoreError(Domain domain, OSStatus code, const QString& description)
        : LocalizedError(description), domain_(domain), code_(code)
    {}

    Domain domain_;
    OSStatus code_;
};

/// What is stored, and whether that can be believed: with a status other than errSecSuccess and
/// errSecItemNotFound the store could not be asked, and there may well be profiles.
struct StoredProfiles
{
    OSStatus status = errSecIO;
    std::optional<QList<CodexTokens>> profiles; ///< none also when the item does not decode

    [[nodiscard]] bool isKnown() const { return status == errSecSuccess || status == errSecItemNotFound; }
};

/// All profiles as one JSON document in one item of the secret store. A plain value that keeps nothing in
/// memory; `items` outlives every call.
struct CodexTokenStore
{
    SecItems* items = nullptr;
    QString service = QStringLiteral("com.quillmarsh.app");
    QString account = QStringLiteral("chatgpt-plan-profiles-v1");

    /// None when there is no item, it cannot be read (logged with the status), or it does not decode.
    Task<std::optional<QList<CodexTokens>>> load() const;
    /// The same, telling an unreadable store from an empty one.
    Task<StoredProfiles> read() const;
    /// Writes the whole list over the item, creating it when missing; an empty list is kept as "[]".
    /// Throws CodexTokenStoreError.
    Task<> save(QList<CodexTokens> profiles) const;
};

} // namespace quillmarsh
