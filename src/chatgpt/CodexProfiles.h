#pragma once

#include "chatgpt/CodexTokenStore.h"
#include "chatgpt/SerialQueue.h"

#include <QObject>

#include <functional>

namespace quillmarsh {

/// The list of connected accounts, in memory and in the secret store. Changes are made one after the other,
/// to the store first: a change that cannot be stored leaves the list as it was.
class CodexProfiles final : public QObject
{
    Q_OBJECT

public:
    /// Makes the new list out of the present one.
    using Change = std::function<QList<CodexTokens>(QList<CodexTokens>)>;
    using Condition = std::function<bool()>;

    explicit CodexProfiles(CodexTokenStore store, QObject* parent = nullptr);

    [[nodiscard]] const QList<CodexTokens>& list() const { return list_; }
    [[nodiscard]] std::optional<CodexTokens> find(const QString& clientID) const;

    /// Takes the store for empty, whatever is in it.
    void startEmpty() { known_ = true; }
    /// Reads the store, unless that was done; a store that could not be asked (it may have been locked) is
    /// asked again at the next call. Registrations that never became an account are dropped. Never throws.
    Task<> load();
    /// The same for somebody who is going to store: the user is asked to unlock the store. An item that is
    /// broken in an open store (errSecIO) counts as none and will be overwritten. Throws CodexTokenStoreError
    /// when the store stays locked or cannot be reached, Cancelled when this object goes away.
    Task<> open();
    /// Stores and publishes `change`, if `wanted` holds before and after; otherwise the store gets its old
    /// content back, or is read again by the next call where that failed. Returns whether it was made. Throws
    /// CodexTokenStoreError, also when the store has never been read: accounts that are not known may not be
    /// overwritten.
    Task<bool> apply(Change change, Condition wanted);

    /// Completes when every change begun so far is over.
    Task<> settled();

    /// Replaces the record with the same client identifier in place, or appends.
    [[nodiscard]] static Change saving(CodexTokens tokens);
    [[nodiscard]] static Change removing(QString clientID);
    /// Drops every registration that never became an account.
    [[nodiscard]] static QList<CodexTokens> withoutPlaceholders(QList<CodexTokens> profiles);

signals:
    void changed();

private:
    Task<> readIfUnknown();
    void publish(const QList<CodexTokens>& list);

    CodexTokenStore store_;
    SerialQueue queue_;
    QList<CodexTokens> list_;
    OSStatus status_ = errSecNotAvailable; ///< of the last reading
    int readings_ = 0;
    bool known_ = false;
};

} // namespace quillmarsh
