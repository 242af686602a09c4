#include "platform/linux/TrayHost.h"

#include "base/Log.h"
#include "platform/linux/XConnection.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QDeadlineTimer>

#include <qcoro/qcorodbuspendingcall.h>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

constexpr auto desktopStartsWithin = 30s;
constexpr auto lookAgainAfter = 500ms;
constexpr int watcherAnswersWithinMs = 2000;

/// Asks nobody to start a watcher: a session without one stays as it is.
Task<bool> hasNotifierHost()
{
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        co_return false;
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.kde.StatusNotifierWatcher"), QStringLiteral("/StatusNotifierWatcher"),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << QStringLiteral("org.kde.StatusNotifierWatcher")
         << QStringLiteral("IsStatusNotifierHostRegistered");
    call.setAutoStartService(false);
    const QDBusPendingCall pending = bus.asyncCall(call, watcherAnswersWithinMs);
    const QDBusPendingReply<QDBusVariant> reply = co_await pending;
    co_return !reply.isError() && reply.value().variant().toBool();
}

bool hasEmbeddingTray(const std::shared_ptr<XConnection>& connection)
{
    if (!connection)
        return false;
    const xcb_atom_t tray =
        connection->atom("_NET_SYSTEM_TRAY_S" + QByteArray::number(connection->screenNumber()));
    const auto owner = replyOf<xcb_get_selection_owner_reply>(
        connection->get(), xcb_get_selection_owner(connection->get(), tray));
    return owner && owner->owner != XCB_NONE;
}

} // namespace

Task<bool> TrayHost::waitUntilAvailable()
{
    const auto connection = connection_; // outlives this object in the flow
    const QDeadlineTimer patience(desktopStartsWithin);
    while (true) {
        const bool available = hasEmbeddingTray(connection) || co_await hasNotifierHost();
        if (available)
            co_return true;
        if (patience.hasExpired())
            break;
        co_await sleepFor(lookAgainAfter);
    }
    qCInfo(lcQuillmarsh, "This desktop shows no status-bar icons");
    co_return false;
}

} // namespace quillmarsh
