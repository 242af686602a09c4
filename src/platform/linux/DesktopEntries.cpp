#include "platform/linux/DesktopEntries.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStandardPaths>
#include <QThreadPool>

#include <clocale>

namespace quillmarsh {

namespace {

constexpr qint64 largestEntry = 256 * 1024; // bytes; real ones have a few thousand

/// Empty for a file that cannot be read or is no entry by its size.
QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.size() <= largestEntry ? file.readAll() : QByteArray();
}

QString messagesLocale()
{
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QString value = qEnvironmentVariable(variable);
        if (!value.isEmpty())
            return value;
    }
    return {};
}

/// The keys that hold a name, best first: lang_COUNTRY@MODIFIER, lang_COUNTRY, lang@MODIFIER, lang, plain.
QStringList nameKeys(const QString& locale)
{
    const QString modifier =
        locale.contains(QLatin1Char('@')) ? locale.mid(locale.indexOf(QLatin1Char('@'))) : QString();
    const QString country = locale.section(QLatin1Char('@'), 0, 0).section(QLatin1Char('.'), 0, 0);
    const QString language = country.section(QLatin1Char('_'), 0, 0);
    QStringList keys;
    for (const QString& tag : {country + modifier, country, language + modifier, language}) {
        if (!tag.isEmpty())
            keys << QStringLiteral("Name[%1]").arg(tag);
    }
    return keys << QStringLiteral("Name");
}

QString unescaped(QString value)
{
    return value.replace(QLatin1String("\\s"), QLatin1String(" "))
        .replace(QLatin1String("\\\\"), QLatin1String("\\"));
}

QHash<QString, QString> mainGroup(const QByteArray& content)
{
    QHash<QString, QString> values;
    bool inGroup = false;
    for (const QByteArray& raw : content.split('\n')) {
        const QByteArray line = raw.trimmed();
        if (line.startsWith('[')) {
            inGroup = line == "[Desktop Entry]";
            continue;
        }
        const qsizetype equals = line.indexOf('=');
        if (inGroup && equals > 0 && !line.startsWith('#'))
            values.insert(QString::fromUtf8(line.left(equals).trimmed()),
                          QString::fromUtf8(line.mid(equals + 1).trimmed()));
    }
    return values;
}

/// Whether the content may be that of an entry with one of the window classes. To parse an entry, with its
/// names in all languages, takes many times as long.
bool mayHaveWindowClass(const QByteArray& content, const QStringList& classes)
{
    const qsizetype key = content.indexOf("\nStartupWMClass");
    if (key < 0)
        return false;
    const qsizetype value = content.indexOf('=', key) + 1;
    const QByteArray windowClass = content.mid(value, content.indexOf('\n', value) - value).trimmed();
    return !windowClass.isEmpty() && classes.contains(QString::fromUtf8(windowClass), Qt::CaseInsensitive);
}

/// The path below a folder of entries with dashes for slashes, in lower case.
QString desktopId(QString path)
{
    path.chop(static_cast<int>(qstrlen(".desktop")));
    return path.replace(QLatin1Char('/'), QLatin1Char('-')).toLower();
}

} // namespace

std::optional<DesktopEntry> parseDesktopEntry(const QByteArray& content, const QString& locale)
{
    const auto values = mainGroup(content);
    for (const QString& key : nameKeys(locale)) {
        const QString name = values.value(key);
        if (!name.isEmpty())
            return DesktopEntry{
                unescaped(name), values.value(QStringLiteral("StartupWMClass")),
                values.value(QStringLiteral("Categories")).split(QLatin1Char(';'), Qt::SkipEmptyParts)};
    }
    return std::nullopt;
}

DesktopEntries::DesktopEntries(QStringList folders)
{
    QThreadPool::globalInstance()->start([target = std::weak_ptr(index_), folders = std::move(folders),
                                          locale = messagesLocale()] { read(target, folders, locale); });
}

QStringList DesktopEntries::standardFolders()
{
    return QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
}

std::optional<DesktopEntry> DesktopEntries::ofWindowClass(const QStringList& folders,
                                                          const QStringList& classes)
{
    for (const QString& folder : folders) {
        QDirIterator files(folder, {QStringLiteral("*.desktop")}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QByteArray content = contentOf(files.next());
            if (!mayHaveWindowClass(content, classes))
                continue;
            const auto entry = parseDesktopEntry(content, {});
            if (entry && classes.contains(entry->startupWindowClass, Qt::CaseInsensitive))
                return entry;
        }
    }
    return std::nullopt;
}

void DesktopEntries::read(const std::weak_ptr<Index>& target, const QStringList& folders,
                          const QString& locale)
{
    for (const QString& folder : folders) {
        QDirIterator files(folder, {QStringLiteral("*.desktop")}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            const auto entry = parseDesktopEntry(contentOf(path), locale);
            const auto index = target.lock();
            if (!index)
                return;
            if (entry)
                index->add(desktopId(QDir(folder).relativeFilePath(path)), *entry);
        }
    }
}

void DesktopEntries::Index::add(const QString& id, const DesktopEntry& entry)
{
    const std::lock_guard lock(mutex);
    if (!byId.contains(id))
        byId.insert(id, entry.name);
    const QString windowClass = entry.startupWindowClass.toLower();
    if (!windowClass.isEmpty() && !byWindowClass.contains(windowClass))
        byWindowClass.insert(windowClass, entry.name);
}

QString DesktopEntries::name(const QStringList& keys) const
{
    const std::lock_guard lock(index_->mutex);
    for (const QString& key : keys) {
        const QString lower = key.toLower();
        if (lower.isEmpty())
            continue;
        if (const auto entry = index_->byId.constFind(lower); entry != index_->byId.constEnd())
            return *entry;
        if (const auto entry = index_->byWindowClass.constFind(lower);
            entry != index_->byWindowClass.constEnd())
            return *entry;
    }
    return {};
}

} // namespace quillmarsh
