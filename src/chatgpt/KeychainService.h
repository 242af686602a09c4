#pragma once

#include "base/Task.h"
#include "platform/SecItems.h"

#include <optional>

namespace quillmarsh {

/// One string per account in the secret store. A plain value; `items` outlives every call.
struct KeychainService
{
    /// The account names in use. The hosted back end needs no key; it has a slot so that every provider has
    /// one.
    static constexpr auto openAIKey = "openai-api-key";
    static constexpr auto anthropicKey = "anthropic-api-key";
    static constexpr auto cloudKey = "quillmarsh-cloud-unused";

    SecItems* items = nullptr;
    QString service = QStringLiteral("com.quillmarsh.app");

    /// Replaces whatever was stored under `key`: the old item goes first, so a failing save leaves none.
    /// Throws KeychainError.
    Task<> save(QString key, QString value) const;
    /// None when there is no such item, it is not UTF-8, or the store could not be read; the last is logged
    /// with its status.
    Task<std::optional<QString>> load(QString key) const;
    /// Never fails; a store that refused is logged.
    Task<> remove(QString key) const;
};

} // namespace quillmarsh
