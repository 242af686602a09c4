// Programs that are slow or greedy with the clipboard, for the end-to-end tests.
//   clipboard-trouble field FILE COPY ANSWER   an input field whose whole text is always selected: Control-C
//       claims the clipboard after COPY ms and answers requests after ANSWER ms (never when negative);
//       Control-V replaces the text in FILE by what it is handed
//   clipboard-trouble taker WAIT               claims the clipboard with the text "theirs", and once more
//   WAIT
//       ms after it loses it
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <poll.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

Display* display = nullptr;
Window window = 0;
std::string ownText;
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
    else if (request.target == targets[1])
        XChangeProperty(display, request.requestor, request.property, request.target, 8, PropModeReplace,
                        bytesOf(ownText.data()), int(ownText.size()));
    else
        reply.xselection.property = None;
    XSendEvent(display, request.requestor, False, 0, &reply);
}

void takePaste(const std::string& file)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0, rest = 0;
    unsigned char* bytes = nullptr;
    XGetWindowProperty(display, window, atom("PASTE"), 0, 1 << 20, True, AnyPropertyType, &type, &format,
                       &count, &rest, &bytes);
    ownText.assign(bytes, bytes + count);
    XFree(bytes);
    std::ofstream(file) << ownText;
}

void runField(XEvent& event, const std::string& file, int copyDelay, int answerDelay)
{
    const KeySym key = event.type == KeyPress ? XLookupKeysym(&event.xkey, 0) : NoSymbol;
    const bool isCommand = event.type == KeyPress && (event.xkey.state & ControlMask) != 0;
    if (isCommand && key == XK_c)
        after(copyDelay, claim);
    else if (isCommand && key == XK_v)
        XConvertSelection(display, atom("CLIPBOARD"), atom("UTF8_STRING"), atom("PASTE"), window,
                          event.xkey.time);
    else if (event.type == SelectionRequest)
        after(answerDelay, [request = event.xselectionrequest] { answer(request); });
    else if (event.type == SelectionNotify && event.xselection.property != None)
        takePaste(file);
}

void runTaker(XEvent& event, int wait)
{
    static int claims = 0;
    if (event.type == SelectionRequest)
        answer(event.xselectionrequest);
    else if (event.type == SelectionClear && claims++ == 0)
        after(wait, claim);
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
    if (!display || (mode == "field" ? argc != 5 : argc != 3)) {
        std::cerr << "clipboard-trouble: no display, or wrong arguments\n";
        return 1;
    }
    // A requestor may be gone by the time of a late answer.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 300, 100, 0, 0, 0);
    XSelectInput(display, window, KeyPressMask);
    if (mode == "taker") {
        ownText = "theirs";
        claim();
        runLoop([&](XEvent& event) { runTaker(event, std::stoi(argv[2])); });
    }
    const std::string file = argv[2];
    std::ifstream input(file);
    ownText.assign(std::istreambuf_iterator<char>(input), {});
    XStoreName(display, window, "Clipboard field");
    XMapWindow(display, window);
    runLoop([&](XEvent& event) { runField(event, file, std::stoi(argv[3]), std::stoi(argv[4])); });
}
