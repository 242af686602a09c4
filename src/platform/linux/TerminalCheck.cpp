#include "platform/linux/TerminalCheck.h"

#include "base/Log.h"
#include "platform/linux/DesktopEntries.h"

#include <QFile>

#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>

namespace quillmarsh {

namespace {

namespace fs = std::filesystem;

enum class Found { No, Yes, Hidden };

/// Among the open files of a process.
Found masterEnd(const fs::path& process)
{
    std::error_code error;
    for (fs::directory_iterator file(process / "fd", error), end; !error && file != end;
         file.increment(error)) {
        std::error_code closed; // meanwhile
        const std::string target = fs::read_symlink(*file, closed).string();
        if (target == "/dev/ptmx" || target == "/dev/pts/ptmx")
            return Found::Yes;
    }
    return error ? Found::Hidden : Found::No;
}

/// Whether a process leads a session on a pseudo-terminal, as the shell of a terminal does.
bool leadsSessionOnTerminal(const std::string& id)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(QString::fromStdString(id)));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // The name in parentheses may hold anything; after it: state, parent, group, session, device.
    const QByteArray stat = file.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    constexpr int firstMajor = 136; // of pseudo-terminals; the last is 143 (Linux device list)
    constexpr int lastMajor = 143;
    const int device = fields.value(4).toInt();
    const int major = (device >> 8) & 0xFFF;
    return fields.value(3) == QByteArray::fromStdString(id) && major >= firstMajor && major <= lastMajor;
}

bool hasShell(const fs::path& process)
{
    std::error_code error;
    for (fs::directory_iterator thread(process / "task", error), end; !error && thread != end;
         thread.increment(error)) {
        QFile file(QString::fromStdString(thread->path() / "children"));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        std::istringstream children(file.readAll().toStdString());
        for (std::string id; children >> id;) {
            if (leadsSessionOnTerminal(id))
                return true;
        }
    }
    return false;
}

/// What the entry of a window's application may be called, the surest first.
QStringList idsOf(const WindowIdentity& target)
{
    const auto& [instance, name] = target.windowClass;
    QString file = target.desktopFile.section(QLatin1Char('/'), -1);
    if (file.endsWith(QLatin1String(".desktop")))
        file.chop(static_cast<int>(qstrlen(".desktop")));
    return {target.applicationId, file, name, instance, name.toLower(), instance.toLower()};
}

/// The entry whose id is one of `ids`; only a few files are looked for, whatever is installed.
std::optional<DesktopEntry> entryOf(const QStringList& ids)
{
    for (const QString& folder : DesktopEntries::standardFolders()) {
        for (const QString& id : ids) {
            QFile file(folder + QLatin1Char('/') + id + QLatin1String(".desktop"));
            if (!id.isEmpty() && !id.contains(QLatin1Char('/')) && file.open(QIODevice::ReadOnly))
                return parseDesktopEntry(file.readAll(), {});
        }
    }
    return std::nullopt;
}

/// The entry that claims the class. To look at 350 files takes 4 ms of those between the key press and the
/// copy (measured), so that what was found stays.
std::optional<DesktopEntry> entryClaiming(const WindowClass& windowClass)
{
    thread_local QHash<QString, DesktopEntry> found;
    const QStringList names{windowClass.name, windowClass.instance};
    const QString key = names.join(QLatin1Char('\n'));
    if (const auto known = found.constFind(key); known != found.constEnd())
        return *known;
    const auto entry = DesktopEntries::ofWindowClass(DesktopEntries::standardFolders(), names);
    if (entry)
        found.insert(key, *entry);
    return entry;
}

} // namespace

bool hasPseudoTerminal(qint64 id)
{
    if (id <= 0)
        return false;
    const fs::path process = fs::path("/proc") / std::to_string(id);
    const Found found = masterEnd(process);
    return found == Found::Yes || (found == Found::Hidden && hasShell(process));
}

Habit habitOf(const WindowIdentity& target)
{
    if (const auto known = knownHabit(target.windowClass))
        return *known;
    auto entry = entryOf(idsOf(target));
    const bool hasTerminal = hasPseudoTerminal(target.process);
    if (hasTerminal && !entry)
        entry = entryClaiming(target.windowClass);
    if (entry ? entry->categories.contains(QLatin1String("TerminalEmulator")) : hasTerminal)
        return Habit::Unsupported;
    if (target.isMotif) // measured: its text widgets replace the selection with the control character
        return Habit::InsertKeys;
    return hasTerminal ? Habit::Mixed : Habit::Ordinary;
}

} // namespace quillmarsh
