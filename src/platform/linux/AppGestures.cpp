#include "platform/linux/AppGestures.h"

#include "platform/ModifierFlags.h"

#include <xkbcommon/xkbcommon-keysyms.h>

#include <algorithm>
#include <array>

namespace quillmarsh {

namespace {

using namespace ModifierFlags;

struct Entry
{
    const char* windowClass;
    Habit habit;
};

// Compared with both names of WM_CLASS, whole and without regard to case: a match of parts would take every
// class with "st" in it for a terminal.
constexpr auto table = std::to_array<Entry>({
    // Editors with a terminal in a process of its own, which cannot be found from the window.
    {"antigravity", Habit::Mixed},
    {"code", Habit::Mixed},
    {"code - insiders", Habit::Mixed},
    {"code - oss", Habit::Mixed},
    {"code-oss", Habit::Mixed},
    {"codium", Habit::Mixed},
    {"cursor", Habit::Mixed},
    {"kiro", Habit::Mixed},
    {"positron", Habit::Mixed},
    {"vscodium", Habit::Mixed},
    {"vscodium - insiders", Habit::Mixed},
    {"windsurf", Habit::Mixed},
    {"windsurf - next", Habit::Mixed},
    {"alacritty", Habit::Terminal},
    {"com.github.amezin.ddterm", Habit::Terminal},
    {"com.raggesilver.blackbox", Habit::Terminal},
    {"com.mitchellh.ghostty", Habit::Terminal},
    {"cool-retro-term", Habit::Terminal},
    {"foot", Habit::Terminal},
    {"guake", Habit::Terminal},
    {"hyper", Habit::Terminal},
    {"kgx", Habit::Terminal},
    {"kitty", Habit::Terminal},
    {"konsole", Habit::Terminal},
    {"org.gnome.console", Habit::Terminal},
    {"org.gnome.ptyxis", Habit::Terminal},
    {"org.kde.konsole", Habit::Terminal},
    {"org.wezfurlong.wezterm", Habit::Terminal},
    {"qterminal", Habit::Terminal},
    {"roxterm", Habit::Terminal},
    {"sakura", Habit::Terminal},
    {"st", Habit::Terminal},
    {"st-256color", Habit::Terminal},
    {"stterm", Habit::Terminal},
    {"tabby", Habit::Terminal},
    {"termit", Habit::Terminal},
    {"terminator", Habit::Terminal},
    {"terminology", Habit::Terminal},
    {"termite", Habit::Terminal},
    {"tilda", Habit::Terminal},
    {"tilix", Habit::Terminal},
    {"wezterm", Habit::Terminal},
    {"yakuake", Habit::Terminal},
    {"rxvt-unicode", Habit::AltTerminal},
    {"urxvt", Habit::AltTerminal},
    {"emacs", Habit::CopyInsert},
    // Terminals that copy to the primary selection only.
    {"aterm", Habit::Unsupported},
    {"eterm", Habit::Unsupported},
    {"koi8rxterm", Habit::Unsupported},
    {"kterm", Habit::Unsupported},
    {"lxterm", Habit::Unsupported},
    {"mlterm", Habit::Unsupported},
    {"mrxvt", Habit::Unsupported},
    {"pterm", Habit::Unsupported},
    {"putty", Habit::Unsupported},
    {"rxvt", Habit::Unsupported},
    {"uxterm", Habit::Unsupported},
    {"xiterm+thai", Habit::Unsupported},
    {"xterm", Habit::Unsupported},
    {"zutty", Habit::Unsupported},
    // Vim in a window of its own: Control-C copies nothing and ends the mode, so that what is typed next
    // would be taken for commands.
    {"gvim", Habit::Unsupported},
    {"neovide", Habit::Unsupported},
    {"nvim-qt", Habit::Unsupported},
    // Control-C doubles the selected text, Control-Insert changes the way it types (measured).
    {"xedit", Habit::Unsupported},
    // The keys go to a guest or a remote machine, whose clipboard arrives late or never.
    {"anydesk", Habit::Unsupported},
    {"gnome-boxes", Habit::Unsupported},
    {"gnome-connections", Habit::Unsupported},
    {"gvncviewer", Habit::Unsupported},
    {"krdc", Habit::Unsupported},
    {"looking-glass-client", Habit::Unsupported},
    {"nxagent", Habit::Unsupported},
    {"nxplayer.bin", Habit::Unsupported},
    {"org.gnome.boxes", Habit::Unsupported},
    {"org.gnome.connections", Habit::Unsupported},
    {"org.remmina.remmina", Habit::Unsupported},
    {"qemu", Habit::Unsupported},
    {"qemu-kvm", Habit::Unsupported},
    {"rail", Habit::Unsupported},
    {"rdesktop", Habit::Unsupported},
    {"remmina", Habit::Unsupported},
    {"remote-viewer", Habit::Unsupported},
    {"rustdesk", Habit::Unsupported},
    {"spicy", Habit::Unsupported},
    {"teamviewer", Habit::Unsupported},
    {"vinagre", Habit::Unsupported},
    {"virt-manager", Habit::Unsupported},
    {"virt-viewer", Habit::Unsupported},
    {"virtualbox machine", Habit::Unsupported},
    {"virtualboxvm", Habit::Unsupported},
    {"vmplayer", Habit::Unsupported},
    {"vmware", Habit::Unsupported},
    {"vmware-view", Habit::Unsupported},
    {"vncviewer", Habit::Unsupported},
    {"wfica", Habit::Unsupported},
    {"x2goagent", Habit::Unsupported},
    {"xephyr", Habit::Unsupported},
    {"xfreerdp", Habit::Unsupported},
});

KeyStroke letter(Gesture gesture, quint64 flags)
{
    return {gesture == Gesture::Copy ? uint32_t{XKB_KEY_c} : uint32_t{XKB_KEY_v}, flags};
}

KeyStroke insertKey(Gesture gesture)
{
    return {XKB_KEY_Insert, gesture == Gesture::Copy ? control : shift};
}

} // namespace

std::optional<Habit> knownHabit(const WindowClass& windowClass)
{
    for (const QString& name : {windowClass.instance, windowClass.name}) {
        const QByteArray lower = name.toLower().toUtf8();
        const auto found = std::find_if(table.begin(), table.end(),
                                        [&lower](const Entry& entry) { return lower == entry.windowClass; });
        if (found != table.end())
            return found->habit;
        if (lower.startsWith("qemu-system-")) // one for each kind of processor
            return Habit::Unsupported;
        // gnome-terminal-server, xfce4-terminal, mate-terminal, deepin-terminal, lxterminal and their kin.
        if (lower.contains("terminal"))
            return Habit::Terminal;
    }
    return std::nullopt;
}

std::vector<KeyStroke> strokesFor(Gesture gesture, Habit habit)
{
    switch (habit) {
    case Habit::Ordinary:
        // A Cyrillic or Greek layout alone has no C; there the Insert keys work where the position of C on
        // another layout does not (measured with GTK and Qt).
        return {letter(gesture, control), insertKey(gesture)};
    case Habit::InsertKeys:
        return {insertKey(gesture)};
    case Habit::Mixed:
        // In its terminal Control-Insert copies or is an escape sequence, and Control-V quotes the next key;
        // Shift-Insert would paste the primary selection there.
        return {gesture == Gesture::Copy ? insertKey(gesture) : letter(gesture, control)};
    case Habit::Terminal:
        return {letter(gesture, control | shift)};
    case Habit::AltTerminal:
        return {letter(gesture, control | option)};
    case Habit::CopyInsert:
        // Measured: a copy ends the selection, also with delete-selection-mode, so that a paste would add the
        // answer beside the text it is to replace.
        if (gesture == Gesture::Copy)
            return {insertKey(gesture)};
        break;
    case Habit::Unsupported:
        break;
    }
    return {};
}

bool isTerminal(Habit habit)
{
    return habit == Habit::Terminal || habit == Habit::AltTerminal;
}

bool wouldExecute(const QByteArray& utf8, Habit habit)
{
    if (!isTerminal(habit))
        return false;
    // Whether the program in it asked for bracketed paste cannot be seen from outside.
    const QString text = QString::fromUtf8(utf8);
    return std::any_of(text.begin(), text.end(),
                       [](QChar unit) { return unit.category() == QChar::Other_Control; });
}

} // namespace quillmarsh
