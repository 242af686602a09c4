#define SECRET_API_SUBJECT_TO_CHANGE // for the object paths; unchanged since the library's first release
#include <libsecret/secret.h>

#include "platform/linux/SecretSession.h"

namespace quillmarsh {

namespace {

/// The contract with other programs and later versions: do not change.
const SecretSchema& schema()
{
    static const SecretSchema value = [] {
        SecretSchema made = {};
        made.name = "com.quillmarsh.app";
        made.flags = SECRET_SCHEMA_NONE;
        made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return value;
}

bool isLocked(GList* items)
{
    for (const GList* entry = items; entry; entry = entry->next) {
        if (secret_item_get_locked(SECRET_ITEM(entry->data)))
            return true;
    }
    return false;
}

/// Held in memory that is never swapped out.
using Value = std::unique_ptr<SecretValue, decltype([](SecretValue* value) { secret_value_unref(value); })>;

Value makeValue(const QByteArray& data)
{
    return Value(secret_value_new(data.constData(), data.size(), "text/plain"));
}

QByteArray bytes(const Value& value)
{
    gsize length = 0;
    const char* const data = secret_value_get(value.get(), &length);
    return QByteArray(data, static_cast<qsizetype>(length));
}

/// The bus says these when nobody provides the service, or when it has no collection to keep items in.
bool meansUnavailable(const GError& error)
{
    if (error.domain == G_IO_ERROR)
        return true;
    if (error.domain == SECRET_ERROR)
        return error.code == SECRET_ERROR_NO_SUCH_OBJECT;
    if (error.domain != G_DBUS_ERROR)
        return false;
    switch (error.code) {
    case G_DBUS_ERROR_SERVICE_UNKNOWN:
    case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
    case G_DBUS_ERROR_NO_REPLY:
    case G_DBUS_ERROR_DISCONNECTED:
    case G_DBUS_ERROR_NO_SERVER:
    case G_DBUS_ERROR_TIMEOUT:
    case G_DBUS_ERROR_TIMED_OUT:
    case G_DBUS_ERROR_UNKNOWN_METHOD:
    case G_DBUS_ERROR_UNKNOWN_OBJECT:
        return true;
    default:
        return error.code >= G_DBUS_ERROR_SPAWN_EXEC_FAILED && error.code <= G_DBUS_ERROR_SPAWN_NO_MEMORY;
    }
}

OSStatus statusOf(const GError& error)
{
    if (error.domain == SECRET_ERROR && error.code == SECRET_ERROR_IS_LOCKED)
        return errSecInteractionNotAllowed;
    return meansUnavailable(error) ? errSecNotAvailable : errSecIO;
}

} // namespace

void SecretRelease::operator()(GHashTable* table) const
{
    g_hash_table_unref(table);
}

void SecretRelease::operator()(GList* objects) const
{
    g_list_free_full(objects, g_object_unref);
}

void SecretRelease::operator()(SecretCollection* collection) const
{
    g_object_unref(collection);
}

void SecretFailure::throwIf(GError* error)
{
    if (!error)
        return;
    SecretFailure failure(statusOf(*error), QByteArray(g_quark_to_string(error->domain)) + ' ' +
                                                QByteArray::number(error->code));
    g_error_free(error);
    throw failure;
}

SecretSession::SecretSession(SecretService* service, GCancellable* cancellable, const SecItemQuery& query)
    : service_(service), cancellable_(cancellable), query_(query),
      attributes_(secret_attributes_build(&schema(), "service", query.service.toUtf8().constData(), "account",
                                          query.account.toUtf8().constData(), nullptr))
{}

SecretItems SecretSession::search()
{
    GError* error = nullptr;
    SecretItems items(secret_service_search_sync(service_, &schema(), attributes_.get(), SECRET_SEARCH_ALL,
                                                 cancellable_, &error));
    SecretFailure::throwIf(error);
    return items;
}

SecretItems SecretSession::find(Unlock unlockWhat)
{
    if (unlockWhat == Unlock::wantedItemsAndDefaultCollection)
        unlockDefaultCollection();
    SecretItems items = search();
    if (!isLocked(items.get()))
        return items;
    unlock(items.get());
    items = search(); // an item does not notice that it was unlocked
    if (isLocked(items.get()))
        throw SecretFailure(errSecInteractionNotAllowed, "the item stayed locked");
    return items;
}

void SecretSession::unlock(GList* objects)
{
    GError* error = nullptr;
    secret_service_unlock_sync(service_, objects, cancellable_, nullptr, &error);
    SecretFailure::throwIf(error);
}

SecretSession::Collection SecretSession::defaultCollection()
{
    GError* error = nullptr;
    Collection collection(secret_collection_for_alias_sync(service_, SECRET_COLLECTION_DEFAULT,
                                                           SECRET_COLLECTION_NONE, cancellable_, &error));
    SecretFailure::throwIf(error);
    return collection;
}

void SecretSession::unlockDefaultCollection()
{
    const Collection collection = defaultCollection();
    if (!collection || !secret_collection_get_locked(collection.get()))
        return;
    GList only = {collection.get(), nullptr, nullptr};
    unlock(&only);
    const Collection again = defaultCollection();
    if (again && secret_collection_get_locked(again.get()))
        throw SecretFailure(errSecInteractionNotAllowed, "the collection stayed locked");
}

OSStatus SecretSession::absent()
{
    const Collection collection = defaultCollection();
    if (!collection)
        return errSecItemNotFound;
    return secret_collection_get_locked(collection.get()) ? errSecInteractionNotAllowed : errSecItemNotFound;
}

bool SecretSession::lookUp(QByteArray& data)
{
    GError* error = nullptr;
    gchar** paths = nullptr;
    secret_service_search_for_dbus_paths_sync(service_, &schema(), attributes_.get(), cancellable_, &paths,
                                              nullptr, &error);
    const std::unique_ptr<gchar*, decltype([](gchar** list) { g_strfreev(list); })> owned(paths);
    SecretFailure::throwIf(error);
    if (!paths || !paths[0])
        return false;
    const Value value(secret_service_get_secret_for_dbus_path_sync(service_, paths[0], cancellable_, &error));
    SecretFailure::throwIf(error);
    if (value)
        data = bytes(value);
    return value != nullptr;
}

QByteArray SecretSession::secret(const SecretItems& items)
{
    GError* error = nullptr;
    SecretItem* const item = SECRET_ITEM(items->data);
    secret_item_load_secret_sync(item, cancellable_, &error);
    SecretFailure::throwIf(error);
    const Value value(secret_item_get_secret(item));
    if (!value)
        throw SecretFailure(errSecIO, "an item without a secret");
    return bytes(value);
}

void SecretSession::setSecret(const SecretItems& items, const QByteArray& data)
{
    const Value value = makeValue(data);
    for (const GList* entry = items.get(); entry; entry = entry->next) {
        GError* error = nullptr;
        secret_item_set_secret_sync(SECRET_ITEM(entry->data), value.get(), cancellable_, &error);
        SecretFailure::throwIf(error);
    }
}

void SecretSession::store(const QByteArray& data)
{
    GError* error = nullptr;
    const Value value = makeValue(data);
    const QByteArray label = "Quillmarsh: " + query_.account.toUtf8();
    secret_service_store_sync(service_, &schema(), attributes_.get(), SECRET_COLLECTION_DEFAULT,
                              label.constData(), value.get(), cancellable_, &error);
    SecretFailure::throwIf(error);
}

void SecretSession::remove(const SecretItems& items)
{
    for (const GList* entry = items.get(); entry; entry = entry->next) {
        GError* error = nullptr;
        secret_item_delete_sync(SECRET_ITEM(entry->data), cancellable_, &error);
        SecretFailure::throwIf(error);
    }
}

} // namespace quillmarsh
