#include "platform/linux/XWorkspace.h"

#include "base/Log.h"
#include "platform/linux/BundleFolder.h"
#include "platform/linux/ChildProcess.h"
#include "platform/linux/XConnection.h"
#include "platform/linux/XWindows.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QProcess>

#include <qcoro/qcorodbuspendingcall.h>
#include <qcoro/qcorosignal.h>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

// A missing handler is reported within a fraction of this; a browser that the opener itself turned into runs
// on for hours.
constexpr auto openerFailsWithin = 3s;

/// Runs the opener until it ended or has outlived `openerFailsWithin`; then it belongs to the desktop.
Task<bool> runOpener(QString program, QStringList arguments)
{
    auto* const process =
        new ChildProcess(program, arguments); // destroying a running one would end the browser
    process->start();
    const QDeadlineTimer patience(openerFailsWithin);
    while (process->state() != QProcess::NotRunning && !patience.hasExpired()) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(patience.remainingTimeAsDuration());
        co_await qCoro(process, &ChildProcess::ended, rest);
    }
    if (process->state() != QProcess::NotRunning) {
        QObject::connect(process, &ChildProcess::ended, process, &QObject::deleteLater);
        co_return true;
    }
    process->deleteLater();
    co_return process->status() == 0;
}

QDBusMessage showItems(const QString& path)
{
    const QString address = QString::fromLatin1(QUrl::fromLocalFile(path).toEncoded());
    auto call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList(address) << QString(); // the second is a startup id
    return call;
}

} // namespace

XWorkspace::XWorkspace(std::shared_ptr<XConnection> connection) : connection_(std::move(connection))
{
    if (connection_)
        watchActiveWindow();
}

XWorkspace::~XWorkspace() = default;

void XWorkspace::watchActiveWindow()
{
    constexpr uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_->get(), connection_->root(), XCB_CW_EVENT_MASK, &events);
    announced_ = XWindows(*connection_).active();
    connect(connection_.get(), &XConnection::received, this, [this](const xcb_generic_event_t& event) {
        if (eventType(event) != XCB_PROPERTY_NOTIFY)
            return;
        const auto& change = eventAs<xcb_property_notify_event_t>(event);
        if (change.window == connection_->root() && change.atom == connection_->atom("_NET_ACTIVE_WINDOW"))
            announceActiveWindow();
    });
}

void XWorkspace::announceActiveWindow()
{
    const xcb_window_t window = XWindows(*connection_).active();
    if (window == XCB_NONE || std::exchange(announced_, window) == window)
        return;
    emit didActivateApplication(describe(window));
}

std::optional<RunningApplication> XWorkspace::frontmostApplication() const
{
    if (!connection_)
        return std::nullopt;
    const xcb_window_t window = XWindows(*connection_).active();
    if (window == XCB_NONE)
        return std::nullopt;
    return describe(window);
}

RunningApplication XWorkspace::describe(quint32 window) const
{
    const XWindows windows(*connection_);
    const WindowIdentity identity = windows.identityOf(window);
    const auto& [instance, name] = identity.windowClass;
    RunningApplication application;
    application.processIdentifier = identity.process;
    application.window = window;
    application.client = windows.clientOf(window);
    for (const QString& identifier : {identity.applicationId, name, instance}) {
        if (application.identifier.isEmpty())
            application.identifier = identifier;
    }
    const QString desktopFile = QFileInfo(identity.desktopFile).fileName();
    application.localizedName = entries_.name({identity.applicationId, desktopFile, name, instance});
    if (application.localizedName.isEmpty())
        application.localizedName = name;
    if (application.localizedName.isEmpty())
        application.localizedName = identity.title;
    return application;
}

quint32 XWorkspace::windowOf(const RunningApplication& application) const
{
    const XWindows windows(*connection_);
    const auto window = static_cast<xcb_window_t>(application.window);
    if (windows.exists(window))
        return window;
    // That window is closed; the topmost other one of the same program will do.
    const auto stack = windows.numbers(connection_->root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW);
    for (auto other = stack.rbegin(); other != stack.rend(); ++other) {
        if (isSameApplication(describe(*other), application))
            return *other;
    }
    return XCB_NONE;
}

void XWorkspace::activate(const RunningApplication& application)
{
    const xcb_window_t window = connection_ ? windowOf(application) : xcb_window_t{XCB_NONE};
    if (window == XCB_NONE)
        return;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = connection_->atom("_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 2; // "a pager": the user asked for it, so focus stealing prevention has no say
    message.data.data32[1] = XCB_CURRENT_TIME;
    xcb_send_event(connection_->get(), 0, connection_->root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   static_cast<const char*>(static_cast<const void*>(&message)));
    xcb_flush(connection_->get());
}

Task<bool> XWorkspace::open(QUrl url)
{
    if (!url.isValid() || url.scheme().isEmpty())
        co_return false;
    const QStringList arguments(QString::fromLatin1(url.toEncoded(QUrl::FullyEncoded)));
    const QString opener = QStringLiteral("xdg-open");
    const bool opened = co_await runOpener(opener, arguments);
    if (!opened)
        qCWarning(lcQuillmarsh, "The default application for an address could not be started");
    co_return opened;
}

Task<bool> XWorkspace::openApplication(QString path, QStringList arguments)
{
    const QString executable = BundleFolder(path).executable();
    const bool started = !executable.isEmpty() && QProcess::startDetached(executable, arguments);
    if (!started)
        qCWarning(lcQuillmarsh, "An application could not be started");
    co_return started;
}

Task<bool> XWorkspace::reveal(QString path)
{
    const QDBusMessage call = showItems(path);
    const QPointer<XWorkspace> self(this);
    const QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(call);
    const QDBusPendingReply<> reply = co_await pending;
    if (!reply.isError())
        co_return true;
    if (!self)
        co_return false;
    const QUrl folder = QUrl::fromLocalFile(QFileInfo(path).absolutePath());
    co_return co_await open(folder);
}

} // namespace quillmarsh
