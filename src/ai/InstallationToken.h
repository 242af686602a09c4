#pragma once

#include "base/Task.h"
#include "platform/SecItems.h"

#include <QPromise>
#include <QString>

#include <memory>

namespace quillmarsh {

/// How this installation identifies itself at the hosted service: 32 random bytes in base64url, made on first
/// use, kept in the secret store under the account "quillmarsh-cloud-installation" and remembered for the
/// life of the process. Without a usable store the token lives as long as the process only (logged once);
/// nothing is written to disk in its place.
class InstallationToken final
{
public:
    explicit InstallationToken(SecItems& items) : items_(&items) {}

    /// Never fails. The first call may wait for the user, whom the secret store asks to unlock it.
    Task<QString> value();

private:
    static Task<> load(SecItems* items, std::shared_ptr<QPromise<QString>> token);
    static Task<QString> loadOrCreate(SecItems* items);

    SecItems* items_;
    /// Once asked for; whoever asks meanwhile waits with the first.
    std::shared_ptr<QPromise<QString>> token_;
};

} // namespace quillmarsh
