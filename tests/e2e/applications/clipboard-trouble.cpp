// Programs that are slow or greedy with the clipboard, for the end-to-end tests.
//   clipboard-trouble field FILE COPY ANSWER [READ [RECOPY]]   an input field whose whole text is always
//       selected: Control-C claims the clipboard after COPY ms and answers requests after ANSWER ms (never
//       when negative), with a long text in pieces; Control-V asks for the clipboard after READ ms and
//       replaces the text in FILE by what it is handed; RECOPY ms after it lost the clipboard it copies
//       another text, once, as if its user had
//   clipboard-trouble left FILE WINDOW   such a field, whose user turns to that window as soon as it is asked
//       for its text; it answers once that one is in front
//   clipboard-trouble taker WAIT   claims the clipboard with "theirs", and again WAIT ms after it loses it
//   clipboard-trouble keeper WAIT   a clipboard manager that takes over each text WAIT ms after its copy
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/Xfixes.h>
#include <X11/keysym.h>

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

Display* display = nullptr;
Window window = 0;
std::string ownText;
std::optional<std::string> incoming; ///< pieces so far

/// Being handed over in pieces.
struct Outgoing
{
    Window requestor = 0;
    Atom property = None;
    size_t sent = 0;
} outgoing;

constexpr size_t pieceSize = 64 * 1024;
std::multimap<Clock::time_point, std::function<void()>> due;

Atom atom(const char* name)
{
    return XInternAtom(display, name, False);
}

const unsigned char* bytesOf(const void* data)
{
    return static_cast<const unsigned char*>(data);
}

void after(int milliseconds, std::function<void()> what)
{
    if (milliseconds >= 0)
        due.emplace(Clock::now() + std::chrono::milliseconds(milliseconds), std::move(what));
}

void claim()
{
    XSetSelectionOwner(display, atom("CLIPBOARD"), window, CurrentTime);
}

void beginPieces(const XSelectionRequestEvent& request)
{
    outgoing = {request.requestor, request.property, 0};
    XSelectInput(display, request.requestor, PropertyChangeMask);
    const auto size = static_cast<long>(ownText.size());
    XChangeProperty(display, request.requestor, request.property, atom("INCR"), 32, PropModeReplace,
                    bytesOf(&size), 1);
}

void sendPiece(const XPropertyEvent& event)
{
    if (event.state != PropertyDelete || event.window != outgoing.requestor ||
        event.atom != outgoing.property)
        return;
    const size_t size = std::min(pieceSize, ownText.size() - outgoing.sent);
    XChangeProperty(display, outgoing.requestor, outgoing.property, atom("UTF8_STRING"), 8, PropModeReplace,
                    bytesOf(ownText.data() + outgoing.sent), int(size));
    outgoing.sent += size;
    if (size == 0)
        outgoing = {};
}

void answer(const XSelectionRequestEvent& request)
{
    XEvent reply{};
    reply.xselection.type = SelectionNotify;
    reply.xselection.requestor = request.requestor;
    reply.xselection.selection = request.selection;
    reply.xselection.target = request.target;
    reply.xselection.time = request.time;
    reply.xselection.property = request.property;
    const Atom targets[] = {atom("TARGETS"), atom("UTF8_STRING")};
    if (request.target == targets[0])
        XChangeProperty(display, request.requestor, request.property, XA_ATOM, 32, PropModeReplace,
                        bytesOf(targets), 2);
    else if (request.target == targets[1] && ownText.size() > pieceSize)
        beginPieces(request);
    else if (request.target == targets[1])
        XChangeProperty(display, request.requestor, request.property, request.target, 8, PropModeReplace,
                        bytesOf(ownText.data()), int(ownText.size()));
    else
        reply.xselection.property = None;
    XSendEvent(display, request.requestor, False, 0, &reply);
}

std::string takeProperty(Atom& type)
{
    int format = 0;
    unsigned long count = 0, rest = 0;
    unsigned char* bytes = nullptr;
    XGetWindowProperty(display, window, atom("PASTE"), 0, 1 << 20, True, AnyPropertyType, &type, &format,
                       &count, &rest, &bytes);
    const std::string text(bytes, bytes + (format == 8 ? count : 0));
    XFree(bytes);
    return text;
}

void setText(const std::string& text, const std::string& file)
{
    ownText = text;
    std::ofstream(file) << ownText;
}

void takePaste(const std::string& file)
{
    Atom type = None;
    const std::string text = takeProperty(type);
    if (type == atom("INCR"))
        incoming.emplace();
    else
        setText(text, file);
}

void takePiece(const XPropertyEvent& event, const std::string& file)
{
    if (!incoming || event.state != PropertyNewValue || event.atom != atom("PASTE"))
        return;
    Atom type = None;
    const std::string piece = takeProperty(type);
    *incoming += piece;
    if (type != None && piece.empty())
        setText(*std::exchange(incoming, std::nullopt), file);
}

/// Milliseconds; never when negative.
struct Delays
{
    int copy, answer, read, recopy;
};

void copyOnceMore()
{
    ownText = "copied by the user";
    claim();
}

void askForPaste(Time time)
{
    XConvertSelection(display, atom("CLIPBOARD"), atom("UTF8_STRING"), atom("PASTE"), window, time);
}

void runField(XEvent& event, const std::string& file, Delays& delays)
{
    const KeySym key = event.type == KeyPress ? XLookupKeysym(&event.xkey, 0) : NoSymbol;
    const bool isCommand = event.type == KeyPress && (event.xkey.state & ControlMask) != 0;
    if (isCommand && key == XK_c)
        after(delays.copy, claim);
    else if (isCommand && key == XK_v)
        after(delays.read, [time = event.xkey.time] { askForPaste(time); });
    else if (event.type == SelectionRequest)
        after(delays.answer, [request = event.xselectionrequest] { answer(request); });
    else if (event.type == SelectionClear)
        after(std::exchange(delays.recopy, -1), copyOnceMore);
    else if (event.type == SelectionNotify && event.xselection.property != None)
        takePaste(file);
    else if (event.type == PropertyNotify) {
        sendPiece(event.xproperty);
        takePiece(event.xproperty, file);
    }
}

Window activeWindow()
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0, rest = 0;
    unsigned char* bytes = nullptr;
    XGetWindowProperty(display, DefaultRootWindow(display), atom("_NET_ACTIVE_WINDOW"), 0, 1, False,
                       XA_WINDOW, &type, &format, &count, &rest, &bytes);
    const Window active = count == 1 ? *reinterpret_cast<const Window*>(bytes) : None;
    XFree(bytes);
    return active;
}

void activate(Window other)
{
    XEvent message{};
    message.xclient.type = ClientMessage;
    message.xclient.window = other;
    message.xclient.message_type = atom("_NET_ACTIVE_WINDOW");
    message.xclient.format = 32;
    message.xclient.data.l[0] = 2; // as a task bar asks
    XSendEvent(display, DefaultRootWindow(display), False, SubstructureRedirectMask | SubstructureNotifyMask,
               &message);
}

void runLeft(XEvent& event, const std::string& file, Window other)
{
    static std::vector<XSelectionRequestEvent> asked;
    if (event.type == SelectionRequest) {
        asked.push_back(event.xselectionrequest);
        XSelectInput(display, DefaultRootWindow(display), PropertyChangeMask);
        activate(other);
    } else {
        Delays delays{0, 0, 0, -1};
        runField(event, file, delays);
    }
    if (activeWindow() != other)
        return;
    for (const auto& request : std::exchange(asked, {}))
        answer(request);
}

void runTaker(XEvent& event, int wait)
{
    static int claims = 0;
    if (event.type == SelectionRequest)
        answer(event.xselectionrequest);
    else if (event.type == SelectionClear && claims++ == 0)
        after(wait, claim);
}

int fixesEvent = 0; ///< number of the first event of the extension that tells of other programs' claims

void watchClaims()
{
    int error = 0;
    XFixesQueryExtension(display, &fixesEvent, &error);
    XFixesSelectSelectionInput(display, window, atom("CLIPBOARD"), XFixesSetSelectionOwnerNotifyMask);
}

bool isForeignClaim(const XEvent& event)
{
    if (event.type != fixesEvent + XFixesSelectionNotify)
        return false;
    const Window owner = reinterpret_cast<const XFixesSelectionNotifyEvent&>(event).owner;
    return owner != None && owner != window;
}

/// What it has read is claimed whatever happened meanwhile, as a script around command line tools does.
void runKeeper(XEvent& event, int wait)
{
    if (event.type == SelectionRequest)
        answer(event.xselectionrequest);
    else if (isForeignClaim(event))
        askForPaste(CurrentTime);
    else if (event.type == SelectionNotify && event.xselection.property != None) {
        Atom type = None;
        after(wait, [text = takeProperty(type)] {
            ownText = text;
            claim();
        });
    }
}

void runLoop(const std::function<void(XEvent&)>& handle)
{
    for (;;) {
        while (!due.empty() && due.begin()->first <= Clock::now()) {
            const auto what = due.begin()->second;
            due.erase(due.begin());
            what();
        }
        while (XPending(display) > 0) {
            XEvent event;
            XNextEvent(display, &event);
            handle(event);
        }
        pollfd connection{ConnectionNumber(display), POLLIN, 0};
        poll(&connection, 1, due.empty() ? 1000 : 1);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    display = XOpenDisplay(nullptr);
    const std::string mode = argc > 1 ? argv[1] : "";
    if (!display || (mode == "field" ? argc < 5 : argc != (mode == "left" ? 4 : 3))) {
        std::cerr << "clipboard-trouble: no display, or wrong arguments\n";
        return 1;
    }
    // A requestor may be gone by the time of a late answer.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 300, 100, 0, 0, 0);
    XSelectInput(display, window, KeyPressMask | PropertyChangeMask);
    if (mode == "taker") {
        ownText = "theirs";
        claim();
        runLoop([&](XEvent& event) { runTaker(event, std::stoi(argv[2])); });
    }
    if (mode == "keeper") {
        watchClaims();
        runLoop([&](XEvent& event) { runKeeper(event, std::stoi(argv[2])); });
    }
    const std::string file = argv[2];
    std::ifstream input(file);
    ownText.assign(std::istreambuf_iterator<char>(input), {});
    XStoreName(display, window, "Clipboard field");
    XMapWindow(display, window);
    if (mode == "left")
        runLoop([&](XEvent& event) { runLeft(event, file, std::stoul(argv[3])); });
    Delays delays{std::stoi(argv[3]), std::stoi(argv[4]), argc > 5 ? std::stoi(argv[5]) : 0,
                  argc > 6 ? std::stoi(argv[6]) : -1};
    runLoop([&](XEvent& event) { runField(event, file, delays); });
}
