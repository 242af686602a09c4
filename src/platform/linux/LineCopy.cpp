#include "platform/linux/LineCopy.h"

#include "platform/linux/SelectionReader.h"
#include "platform/linux/XWindows.h"

#include <algorithm>
#include <array>

namespace quillmarsh {

namespace {

using namespace std::chrono_literals;

// Either is answered within a few milliseconds; the user waits for nobody's refusal.
constexpr auto witnessLimit = 250ms;
constexpr qsizetype longestNote = 64 * 1024;

constexpr std::array ktextEditors{"kate", "kdevelop", "kwrite"};

bool isKTextEditor(const XWindows& windows, xcb_window_t window)
{
    const QString name = windows.text(window, "WM_CLASS"); // the first of its two
    return std::any_of(ktextEditors.begin(), ktextEditors.end(), [&name](const char* editor) {
        return name.compare(QLatin1String(editor), Qt::CaseInsensitive) == 0;
    });
}

/// Browsers keep what a page adds to a copy in an envelope of their own: in UTF-16, WebKitGTK in Latin-1
/// where that is enough (measured).
bool holdsNote(const QByteArray& envelope)
{
    const QString note = QStringLiteral("\"isFromEmptySelection\":true");
    const QByteArray wide(static_cast<const char*>(static_cast<const void*>(note.utf16())),
                          note.size() * qsizetype(sizeof(char16_t)));
    return envelope.contains(wide) || envelope.contains(note.toLatin1());
}

} // namespace

bool isWholeLine(const QString& text)
{
    return !text.isEmpty() && text.indexOf(QLatin1Char('\n')) == text.size() - 1;
}

LineWitness lineWitness(const XConnection& connection)
{
    const XWindows windows(connection);
    const auto owner = replyOf<xcb_get_selection_owner_reply>(
        connection.get(), xcb_get_selection_owner(connection.get(), connection.atom("CLIPBOARD")));
    const xcb_window_t front = windows.active();
    const bool isFront = owner && windows.clientOf(owner->owner) == windows.clientOf(front);
    return isFront && isKTextEditor(windows, front) ? LineWitness::PrimarySelection : LineWitness::Note;
}

SelectionQuestion questionAbout(const QString& line, LineWitness witness)
{
    if (witness == LineWitness::PrimarySelection)
        return {"PRIMARY", {"UTF8_STRING"}, witnessLimit, line.toUtf8().size()};
    return {"CLIPBOARD",
            {"chromium/x-web-custom-data", "application/x-moz-custom-clipdata",
             "org.webkitgtk.WebKit.custom-pasteboard-data"},
            witnessLimit,
            longestNote};
}

bool deniesSelection(const SelectionAnswer& answer, const QString& line, LineWitness witness)
{
    if (answer.kind == SelectionAnswer::Kind::Late)
        return false;
    if (witness == LineWitness::Note)
        return holdsNote(answer.bytes);
    return answer.kind == SelectionAnswer::Kind::None || decodeSelection(answer.bytes, answer.type) != line;
}

} // namespace quillmarsh
