#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <memory>
#include <mutex>
#include <optional>

namespace quillmarsh {

/// What of a desktop entry (freedesktop.org, version 1.5 of the format) tells an application's name and kind.
struct DesktopEntry
{
    QString name; ///< in the user's language where the entry has it
    QString startupWindowClass;
    QStringList categories;
};

/// Reads the "Desktop Entry" group of a file's content; none when it has no name. `locale` is a POSIX locale
/// name such as "de_AT.UTF-8@euro".
[[nodiscard]] std::optional<DesktopEntry> parseDesktopEntry(const QByteArray& content, const QString& locale);

/// The names of the installed applications by desktop id and by window class. The folders are read in a
/// background thread at construction, because a name may be wanted while a shortcut is being answered.
class DesktopEntries final
{
public:
    /// `folders` in order of precedence, each with desktop files in it.
    explicit DesktopEntries(QStringList folders = standardFolders());

    [[nodiscard]] static QStringList standardFolders();

    /// The first entry in `folders` whose window class is one of `classes`, without regard to case. Looks at
    /// the files themselves, so that a program installed a moment ago is found.
    [[nodiscard]] static std::optional<DesktopEntry> ofWindowClass(const QStringList& folders,
                                                                   const QStringList& classes);

    /// The localized name under the first of `keys` that an entry has as its id or its window class, without
    /// regard to case; empty when none has. Answers from what has been read so far.
    [[nodiscard]] QString name(const QStringList& keys) const;

private:
    struct Index
    {
        std::mutex mutex;
        QHash<QString, QString> byId; ///< the keys of both in lower case
        QHash<QString, QString> byWindowClass;

        /// Nothing changes for an id or a class that is there: the first folder that has it wins.
        void add(const QString& id, const DesktopEntry& entry);
    };

    static void read(const std::weak_ptr<Index>& target, const QStringList& folders, const QString& locale);

    std::shared_ptr<Index> index_ = std::make_shared<Index>();
};

} // namespace quillmarsh
