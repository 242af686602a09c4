#include "platform/linux/ScreenStruts.h"

#include "platform/linux/XWindows.h"

#include <algorithm>
#include <array>
#include <vector>

namespace quillmarsh {

namespace {

using Strut = std::array<uint32_t, 12>;

constexpr uint32_t wholeEdge = 0xFFFF; // longer than any root window

QSize sizeOf(const XConnection& connection)
{
    const auto root = replyOf<xcb_get_geometry_reply>(connection.get(),
                                                      xcb_get_geometry(connection.get(), connection.root()));
    return root ? QSize(root->width, root->height) : QSize();
}

/// The older property has the four widths only; they hold along the whole edges.
Strut strutOf(const xcb_get_property_reply_t* reply)
{
    Strut strut{0, 0, 0, 0, 0, wholeEdge, 0, wholeEdge, 0, wholeEdge, 0, wholeEdge};
    if (!reply || reply->format != 32)
        return strut;
    const auto* const values = static_cast<const uint32_t*>(xcb_get_property_value(reply));
    std::copy_n(values, std::min<size_t>(reply->value_len, strut.size()), strut.begin());
    return strut;
}

/// Asks all windows at once, so that it takes one round trip however many there are.
std::vector<Strut> strutsOf(const XConnection& connection)
{
    std::vector<xcb_get_property_cookie_t> questions;
    for (const uint32_t window :
         XWindows(connection).numbers(connection.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW))
        for (const char* const name : {"_NET_WM_STRUT", "_NET_WM_STRUT_PARTIAL"})
            questions.push_back(xcb_get_property(connection.get(), 0, window, connection.atom(name),
                                                 XCB_ATOM_CARDINAL, 0, Strut().size()));
    std::vector<Strut> struts;
    for (size_t i = 0; i + 1 < questions.size(); i += 2) {
        const auto whole = replyOf<xcb_get_property_reply>(connection.get(), questions[i]);
        const auto partial = replyOf<xcb_get_property_reply>(connection.get(), questions[i + 1]);
        const bool isPartial = partial && partial->value_len == Strut().size();
        struts.push_back(strutOf(isPartial ? partial.get() : whole.get()));
    }
    return struts;
}

bool meets(int start, int end, uint32_t from, uint32_t to)
{
    return start <= static_cast<int>(to) && end >= static_cast<int>(from);
}

} // namespace

QRect clearOfStrut(QRect screen, QSize root, std::span<const uint32_t, 12> strut)
{
    const auto width = [&strut](size_t edge) { return static_cast<int>(std::min(strut[edge], wholeEdge)); };
    const auto holds = [&strut, width](size_t edge, int start, int end) {
        return width(edge) > 0 && meets(start, end, strut[4 + 2 * edge], strut[5 + 2 * edge]);
    };
    QRect clear = screen;
    if (holds(0, screen.top(), screen.bottom()))
        clear.setLeft(std::max(clear.left(), width(0)));
    if (holds(1, screen.top(), screen.bottom()))
        clear.setRight(std::min(clear.right(), root.width() - width(1) - 1));
    if (holds(2, screen.left(), screen.right()))
        clear.setTop(std::max(clear.top(), width(2)));
    if (holds(3, screen.left(), screen.right()))
        clear.setBottom(std::min(clear.bottom(), root.height() - width(3) - 1));
    const bool isItsBar = 2 * clear.width() >= screen.width() && 2 * clear.height() >= screen.height();
    return isItsBar ? clear : screen;
}

QRect clearOfBars(const XConnection& connection, QRect screen)
{
    const QSize root = sizeOf(connection);
    QRect clear = screen;
    if (!root.isEmpty())
        for (const Strut& strut : strutsOf(connection))
            clear &= clearOfStrut(screen, root, strut);
    return clear;
}

} // namespace quillmarsh
