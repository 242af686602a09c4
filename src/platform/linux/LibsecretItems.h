#pragma once

#include "platform/SecItems.h"

#include <QFuture>
#include <QPromise>
#include <QThread>

#include <memory>

namespace quillmarsh {

class SecretStore;

/// The Secret Service of the session, through libsecret. Items carry the schema "com.quillmarsh.app" and the
/// attributes "service" and "account". Every call runs in order on one worker thread, because the store may
/// keep it waiting for the user to unlock it; the thread also keeps one encrypted session with the store
/// open, so that a warm call costs a few milliseconds.
///
/// Reading unlocks (with the desktop's own prompt) only when the wanted item is there and locked. Adding and
/// updating also unlock the collection they write to. "Not found" is said only by a store that is open: while
/// the default collection is locked a missing item counts as errSecInteractionNotAllowed. A read that waits
/// behind an equal one takes its answer, so that the user is asked once, however often somebody gave up
/// waiting.
///
/// The store decides when it is open; both accessibility classes become items of the default collection,
/// which never leaves this machine.
class LibsecretItems final : public SecItems
{
public:
    LibsecretItems();
    /// Ends a prompt that is still open; calls that have not run yet return errSecNotAvailable.
    ~LibsecretItems() override;

    LibsecretItems(const LibsecretItems&) = delete;
    LibsecretItems& operator=(const LibsecretItems&) = delete;

    Task<SecItemResult> copyMatching(SecItemQuery query) override;
    Task<OSStatus> update(SecItemQuery query, QByteArray data) override;
    Task<OSStatus> add(SecItemQuery query, QByteArray data, SecAccessible accessible) override;
    Task<OSStatus> remove(SecItemQuery query) override;
    /// errSecInteractionNotAllowed when the user dismissed the prompt.
    Task<OSStatus> unlock() override;

private:
    template <typename Result, typename Operation>
    std::shared_ptr<QPromise<Result>> onWorker(Operation operation);
    template <typename Operation>
    Task<OSStatus> write(Operation operation);

    std::shared_ptr<SecretStore> store_; ///< shared with the calls under way
    QThread thread_;
    QObject worker_;
    SecItemQuery readingOf_;
    std::weak_ptr<QPromise<SecItemResult>> reading_; ///< the call queued last, if it reads and is not over
};

} // namespace quillmarsh
