#pragma once

#include "platform/SecItems.h"

#include <functional>

// libsecret's own headers stay out of here: GLib's names and Qt's keywords do not mix.
typedef struct _GCancellable GCancellable;
typedef struct _SecretService SecretService;

namespace quillmarsh {

class SecretSession;

/// The blocking half of LibsecretItems: one connection to the Secret Service, opened by the first call and
/// again after a failure. One thread uses it; only close() may be called from another.
class SecretStore final
{
public:
    SecretStore();
    ~SecretStore();

    SecretStore(const SecretStore&) = delete;
    SecretStore& operator=(const SecretStore&) = delete;

    [[nodiscard]] SecItemResult copyMatching(const SecItemQuery& query);
    [[nodiscard]] OSStatus update(const SecItemQuery& query, const QByteArray& data);
    [[nodiscard]] OSStatus add(const SecItemQuery& query, const QByteArray& data);
    [[nodiscard]] OSStatus remove(const SecItemQuery& query);
    [[nodiscard]] OSStatus unlock();

    /// Ends the call under way; it and all later ones give errSecNotAvailable.
    void close();
    /// Gives the session with the service back.
    void disconnect();

private:
    using Operation = std::function<OSStatus(SecretSession& session)>;

    OSStatus attempt(const SecItemQuery& query, const Operation& operation);
    void connect();

    SecretService* service_ = nullptr;
    GCancellable* cancellable_;
};

} // namespace quillmarsh
