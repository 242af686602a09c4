#pragma once

#include "platform/SecItems.h"

#include <exception>
#include <memory>

typedef struct _GCancellable GCancellable;
typedef struct _GError GError;
typedef struct _GHashTable GHashTable;
typedef struct _GList GList;
typedef struct _SecretCollection SecretCollection;
typedef struct _SecretService SecretService;

namespace quillmarsh {

/// Why the Secret Service did not do what it was asked.
class SecretFailure final : public std::exception
{
public:
    SecretFailure(OSStatus status, QByteArray reason) : status_(status), reason_(std::move(reason)) {}

    /// Takes `error` over and throws what it means; nothing when it is null.
    static void throwIf(GError* error);

    [[nodiscard]] OSStatus status() const { return status_; }
    /// The domain and code of the error, for the log.
    [[nodiscard]] const QByteArray& reason() const { return reason_; }
    [[nodiscard]] const char* what() const noexcept override { return reason_.constData(); }

private:
    OSStatus status_;
    QByteArray reason_;
};

struct SecretRelease
{
    void operator()(GHashTable* table) const;
    void operator()(GList* objects) const;
    void operator()(SecretCollection* collection) const;
};

/// A list of SecretItem.
using SecretItems = std::unique_ptr<GList, SecretRelease>;

/// What one call asks of the service about one item. Every operation blocks and throws SecretFailure.
class SecretSession final
{
public:
    enum class Unlock { wantedItems, wantedItemsAndDefaultCollection };

    SecretSession(SecretService* service, GCancellable* cancellable, const SecItemQuery& query);

    /// The quick way to an item that is there and unlocked: two round trips instead of a dozen. False when
    /// the item is missing or locked.
    [[nodiscard]] bool lookUp(QByteArray& data);
    /// Every item of the query, unlocked; null when there is none.
    [[nodiscard]] SecretItems find(Unlock unlock);
    /// The status of an item that was not found: only an open store can say that it is not there.
    [[nodiscard]] OSStatus absent();
    [[nodiscard]] QByteArray secret(const SecretItems& items);
    void setSecret(const SecretItems& items, const QByteArray& data);
    /// Adds the item to the default collection.
    void store(const QByteArray& data);
    void remove(const SecretItems& items);
    /// Opens the collection that new items go to, if there is one.
    void unlockDefaultCollection();

private:
    using Collection = std::unique_ptr<SecretCollection, SecretRelease>;

    SecretItems search();
    /// Shows the desktop's prompt where one is needed; the user may also dismiss it.
    void unlock(GList* objects);
    [[nodiscard]] Collection defaultCollection();

    SecretService* service_;
    GCancellable* cancellable_;
    SecItemQuery query_;
    std::unique_ptr<GHashTable, SecretRelease> attributes_;
};

} // namespace quillmarsh
