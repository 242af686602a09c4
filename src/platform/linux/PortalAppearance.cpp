#include "platform/linux/PortalAppearance.h"

#include "base/Log.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <tuple>

namespace quillmarsh {

namespace {

using SettingGroups = QMap<QString, QVariantMap>;

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");

const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString gnomeInterface = QStringLiteral("org.gnome.desktop.interface");
const QString gnomeAccessibility = QStringLiteral("org.gnome.desktop.a11y.interface");

} // namespace

PortalAppearance::PortalAppearance()
{
    qDBusRegisterMetaType<SettingGroups>();
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    // From whoever sends it: naming the service here would make the toolkit wait for an answer of the bus.
    if (!bus.connect(QString(), path, interface, QStringLiteral("SettingChanged"), this,
                     SLOT(settingChanged(QDBusMessage))))
        qCWarning(lcQuillmarsh, "Changes of the desktop's settings cannot be followed");
    readAll();
}

void PortalAppearance::readAll()
{
    auto call = QDBusMessage::createMethodCall(service, path, interface, QStringLiteral("ReadAll"));
    call << QStringList{appearance, gnomeInterface, gnomeAccessibility};
    auto* const watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &PortalAppearance::readAnswer);
}

void PortalAppearance::readAnswer(QDBusPendingCallWatcher* call)
{
    call->deleteLater();
    const QDBusPendingReply<SettingGroups> reply = *call;
    if (reply.isError()) {
        qCInfo(lcQuillmarsh, "The desktop does not tell its settings: %s",
               qUtf8Printable(reply.error().name()));
        return;
    }
    bool isNew = false;
    const SettingGroups groups = reply.value();
    for (auto group = groups.begin(); group != groups.end(); ++group) {
        for (auto setting = group->begin(); setting != group->end(); ++setting)
            isNew = take(group.key(), setting.key(), setting.value()) || isNew;
    }
    if (isNew)
        emit changed();
}

void PortalAppearance::settingChanged(const QDBusMessage& message)
{
    const QVariantList arguments = message.arguments();
    if (message.signature() != QLatin1String("ssv"))
        return;
    const QVariant value = arguments[2].value<QDBusVariant>().variant();
    if (take(arguments[0].toString(), arguments[1].toString(), value))
        emit changed();
}

bool PortalAppearance::take(const QString& group, const QString& key, const QVariant& value)
{
    const auto before = std::tuple(reduceMotion(), increaseContrast());
    if (group == gnomeInterface && key == QLatin1String("enable-animations"))
        noAnimations_ = !value.toBool();
    else if (group == appearance && key == QLatin1String("reduced-motion"))
        reducedMotion_ = value.toUInt() == 1;
    else if (group == gnomeAccessibility && key == QLatin1String("high-contrast"))
        highContrast_ = value.toBool();
    else if (group == appearance && key == QLatin1String("contrast"))
        moreContrast_ = value.toUInt() == 1;
    return before != std::tuple(reduceMotion(), increaseContrast());
}

} // namespace quillmarsh
