#include "base/UserDefaults.h"

#include "base/Log.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace quillmarsh {

namespace {

/// Creates the file for its owner alone, before anything is in it; a later write keeps the mode it finds.
void makePrivate(const QString& path)
{
    constexpr QFile::Permissions owner = QFile::ReadOwner | QFile::WriteOwner;
    QFile file(path);
    if (file.exists()) {
        file.setPermissions(file.permissions() & owner);
        return;
    }
    QDir().mkpath(QFileInfo(path).path());
    [[maybe_unused]] const bool created = file.open(QIODevice::WriteOnly | QIODevice::NewOnly, owner);
}

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

UserDefaults::~UserDefaults()
{
    if (writePending_)
        write();
}

void UserDefaults::open(const QString& path)
{
    makePrivate(path);
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
        set(key, value);
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
    writeSoon();
}

void UserDefaults::remove(const QString& key)
{
    settings_->remove(key);
    writeSoon();
}

void UserDefaults::writeSoon()
{
    if (writePending_)
        return;
    writePending_ = true;
    QMetaObject::invokeMethod(
        &context_, [this] { write(); }, Qt::QueuedConnection);
}

void UserDefaults::write()
{
    writePending_ = false;
    settings_->sync();
    // What could not be written is tried again with the next change. The status stays once it was an error.
    if (settings_->status() == QSettings::NoError || failureLogged_)
        return;
    failureLogged_ = true;
    qCWarning(lcQuillmarsh, "The settings could not be written");
}

} // namespace quillmarsh
