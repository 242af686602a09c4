#include "base/UserDefaults.h"

#include "base/Log.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace quillmarsh {

UserDefaults::UserDefaults(const QString& path) : settings_(path, QSettings::IniFormat)
{
    const QFileInfo file(path);
    const bool unreadable = file.exists() && (!file.isReadable() || settings_.status() != QSettings::NoError);
    if (unreadable)
        keepUnreadableFile(path);
}

QString UserDefaults::standardPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/quillmarsh/defaults.ini");
}

void UserDefaults::keepUnreadableFile(const QString& path) const
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    const QFileInfo file(path);
    const QString copy = file.dir().filePath(QStringLiteral("defaults.unreadable-%1.ini").arg(stamp));
    if (QFile::copy(path, copy))
        qCWarning(lcQuillmarsh,
                  "Part of the settings file could not be read and is ignored; a copy is kept beside it");
    else
        qCWarning(lcQuillmarsh,
                  "Part of the settings file could not be read, and no copy of it could be made");
}

std::optional<QString> UserDefaults::string(const QString& key) const
{
    const QVariant value = settings_.value(key);
    if (!value.isValid() || !value.canConvert<QString>())
        return std::nullopt;
    return value.toString();
}

std::optional<QByteArray> UserDefaults::data(const QString& key) const
{
    const QVariant value = settings_.value(key);
    if (!value.isValid() || !value.canConvert<QByteArray>())
        return std::nullopt;
    return value.toByteArray();
}

qint64 UserDefaults::integer(const QString& key) const
{
    return settings_.value(key).toLongLong();
}

bool UserDefaults::boolean(const QString& key) const
{
    return settings_.value(key).toBool();
}

void UserDefaults::set(const QString& key, const QVariant& value)
{
    settings_.setValue(key, value);
}

void UserDefaults::remove(const QString& key)
{
    settings_.remove(key);
}

bool UserDefaults::synchronize()
{
    settings_.sync();
    const bool written = settings_.status() == QSettings::NoError;
    if (!written)
        qCWarning(lcQuillmarsh, "The settings could not be written (status %d)", int(settings_.status()));
    QFile::setPermissions(settings_.fileName(), QFile::ReadOwner | QFile::WriteOwner);
    return written;
}

} // namespace quillmarsh
