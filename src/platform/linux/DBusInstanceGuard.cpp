#include "platform/linux/DBusInstanceGuard.h"

#include "base/Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDeadlineTimer>

#include <qcoro/qcorodbuspendingcall.h>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

const QString name = QStringLiteral("com.quillmarsh.app");
const QString path = QStringLiteral("/com/quillmarsh/app");

constexpr auto predecessorLeavesWithin = 30s;
constexpr auto lookAgainAfter = 100ms;
constexpr int activationAnswersWithinMs = 3000;

// Replies of the message bus to org.freedesktop.DBus.RequestName.
constexpr uint primaryOwner = 1;
constexpr uint alreadyOwner = 4;
constexpr uint doNotQueue = 4; // flag

QDBusMessage busCall(const QString& method)
{
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                          QStringLiteral("/org/freedesktop/DBus"),
                                          QStringLiteral("org.freedesktop.DBus"), method);
}

/// Whether the name is ours now; none when the bus does not answer.
Task<std::optional<bool>> requestName()
{
    QDBusMessage call = busCall(QStringLiteral("RequestName"));
    call << name << doNotQueue;
    const QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(call);
    const QDBusPendingReply<uint> reply = co_await pending;
    if (reply.isError())
        co_return std::nullopt;
    co_return reply.value() == primaryOwner || reply.value() == alreadyOwner;
}

/// Asks for the name until it is ours or `patience` is over.
Task<std::optional<bool>> awaitName(std::chrono::milliseconds patience)
{
    const QDeadlineTimer deadline(patience);
    std::optional<bool> ours = co_await requestName();
    while (ours == false && !deadline.hasExpired()) {
        co_await sleepFor(lookAgainAfter);
        ours = co_await requestName();
    }
    co_return ours;
}

Task<> activateRunningInstance()
{
    const auto wake = QDBusMessage::createMethodCall(name, path, name, QStringLiteral("Activate"));
    const QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(wake, activationAnswersWithinMs);
    const QDBusPendingReply<> answer = co_await pending;
    if (answer.isError())
        qCWarning(lcQuillmarsh, "The running instance does not answer: %s",
                  qUtf8Printable(answer.error().name()));
}

} // namespace

DBusInstanceGuard::~DBusInstanceGuard()
{
    release();
}

Task<InstanceClaim> DBusInstanceGuard::claim(bool waitForPredecessor)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        qCWarning(lcQuillmarsh, "No session bus: a second start cannot be noticed");
        co_return InstanceClaim::Unknown;
    }
    // The object is there before the name is, so that nobody finds a name that does not answer.
    registered_ = bus.registerObject(path, this, QDBusConnection::ExportScriptableSlots) || registered_;
    const QPointer<DBusInstanceGuard> self(this);
    const std::chrono::milliseconds patience = waitForPredecessor ? predecessorLeavesWithin : 0s;
    const std::optional<bool> ours = co_await awaitName(patience);
    if (!ours) {
        qCWarning(lcQuillmarsh, "The session bus does not answer: a second start cannot be noticed");
        co_return InstanceClaim::Unknown;
    }
    if (*ours)
        co_return InstanceClaim::First;
    if (self)
        self->release();
    co_await activateRunningInstance();
    co_return InstanceClaim::Running;
}

void DBusInstanceGuard::release()
{
    if (!std::exchange(registered_, false))
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(path);
    QDBusMessage call = busCall(QStringLiteral("ReleaseName"));
    call << name;
    bus.send(call);
}

} // namespace quillmarsh
