#include "base/UserDefaults.h"

#include "base/Log.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace quillmarsh {

namespace {

void moveAside(const QString& path)
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    const QString name = QStringLiteral("defaults.unreadable-%1.ini").arg(stamp);
    if (QFile::rename(path, QFileInfo(path).dir().filePath(name)))
        qCWarning(lcQuillmarsh,
                  "Part of the settings file could not be read and is ignored; it is kept beside it");
    else
        qCWarning(lcQuillmarsh,
                  "Part of the settings file could not be read, and it could not be moved aside");
}

} // namespace

UserDefaults::UserDefaults(const QString& path)
{
    open(path);
    const QFileInfo file(path);
    if (file.exists() && (!file.isReadable() || settings_->status() != QSettings::NoError))
        moveUnreadableFileAside(path);
}

void UserDefaults::open(const QString& path)
{
    settings_ = std::make_unique<QSettings>(path, QSettings::IniFormat);
}

QString UserDefaults::standardPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/quillmarsh/defaults.ini");
}

void UserDefaults::moveUnreadableFileAside(const QString& path)
{
    std::map<QString, QVariant> readable;
    for (const QString& key : settings_->allKeys())
        readable.emplace(key, settings_->value(key));
    settings_.reset();
    moveAside(path);
    open(path);
    for (const auto& [key, value] : readable)
        settings_->setValue(key, value);
}

std::optional<QString> UserDefaults::string(const QString& key) const
{
    const QVariant value = settings_->value(key);
    if (!value.isValid() || !value.canConvert<QString>())
        return std::nullopt;
    return value.toString();
}

std::optional<QByteArray> UserDefaults::data(const QString& key) const
{
    const QVariant value = settings_->value(key);
    if (!value.isValid() || !value.canConvert<QByteArray>())
        return std::nullopt;
    return value.toByteArray();
}

qint64 UserDefaults::integer(const QString& key) const
{
    return settings_->value(key).toLongLong();
}

bool UserDefaults::boolean(const QString& key) const
{
    return settings_->value(key).toBool();
}

void UserDefaults::set(const QString& key, const QVariant& value)
{
    settings_->setValue(key, value);
}

void UserDefaults::remove(const QString& key)
{
    settings_->remove(key);
}

bool UserDefaults::synchronize()
{
    settings_->sync();
    const bool written = settings_->status() == QSettings::NoError;
    if (!written)
        qCWarning(lcQuillmarsh, "The settings could not be written (status %d)", int(settings_->status()));
    QFile::setPermissions(settings_->fileName(), QFile::ReadOwner | QFile::WriteOwner);
    return written;
}

} // namespace quillmarsh
