#include <libsecret/secret.h>

#include "platform/linux/SecretSession.h"
#include "platform/linux/SecretStore.h"

#include "base/Log.h"

namespace quillmarsh {

SecretStore::SecretStore() : cancellable_(g_cancellable_new()) {}

SecretStore::~SecretStore()
{
    disconnect();
    g_object_unref(cancellable_);
}

void SecretStore::close()
{
    g_cancellable_cancel(cancellable_);
}

void SecretStore::disconnect()
{
    g_clear_object(&service_);
}

void SecretStore::connect()
{
    GError* error = nullptr;
    GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable_, &error);
    SecretFailure::throwIf(error);
    // GIO would end the whole process together with the session bus.
    g_dbus_connection_set_exit_on_close(bus, FALSE);
    g_object_unref(bus);
    service_ = secret_service_open_sync(SECRET_TYPE_SERVICE, nullptr, SECRET_SERVICE_OPEN_SESSION,
                                        cancellable_, &error);
    SecretFailure::throwIf(error);
}

/// A session that was opened earlier may have died with the service that gave it: such a failure is answered
/// with one more try on a new session.
OSStatus SecretStore::attempt(const SecItemQuery& query, const Operation& operation)
{
    for (bool reused = service_ != nullptr;; reused = false) {
        try {
            if (!service_)
                connect();
            SecretSession session(service_, cancellable_, query);
            return operation(session);
        } catch (const SecretFailure& failure) {
            if (failure.status() == errSecInteractionNotAllowed)
                return failure.status();
            disconnect();
            if (g_cancellable_is_cancelled(cancellable_))
                return errSecNotAvailable;
            if (!reused) {
                qCWarning(lcQuillmarsh, "The secret store cannot be used: %s", failure.reason().constData());
                return failure.status();
            }
        }
    }
}

SecItemResult SecretStore::copyMatching(const SecItemQuery& query)
{
    SecItemResult result;
    result.status = attempt(query, [&result](SecretSession& session) {
        if (session.lookUp(result.data))
            return errSecSuccess;
        const SecretItems items = session.find(SecretSession::Unlock::wantedItems);
        if (!items)
            return session.absent();
        result.data = session.secret(items);
        return errSecSuccess;
    });
    return result;
}

OSStatus SecretStore::update(const SecItemQuery& query, const QByteArray& data)
{
    return attempt(query, [&data](SecretSession& session) {
        const SecretItems items = session.find(SecretSession::Unlock::wantedItemsAndDefaultCollection);
        if (!items)
            return session.absent();
        session.setSecret(items, data);
        return errSecSuccess;
    });
}

OSStatus SecretStore::add(const SecItemQuery& query, const QByteArray& data)
{
    return attempt(query, [&data](SecretSession& session) {
        if (session.find(SecretSession::Unlock::wantedItemsAndDefaultCollection))
            return errSecDuplicateItem;
        session.store(data);
        return errSecSuccess;
    });
}

OSStatus SecretStore::remove(const SecItemQuery& query)
{
    return attempt(query, [](SecretSession& session) {
        const SecretItems items = session.find(SecretSession::Unlock::wantedItems);
        if (!items)
            return session.absent();
        session.remove(items);
        return errSecSuccess;
    });
}

OSStatus SecretStore::unlock()
{
    return attempt({}, [](SecretSession& session) {
        session.unlockDefaultCollection();
        return errSecSuccess;
    });
}

} // namespace quillmarsh
