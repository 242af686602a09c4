// The end-to-end latency harness: an X client that has the focus, presses the product's shortcut on the
// physical keyboard, copies when it is told to, and notes when each thing happens. Prints one JSON object.
//   latency RUNS [COMMAND]   with COMMAND: it (a script that does the same) is started in place of the press
// The loopback back end listens on 127.0.0.1:8799 and closes each connection: every run needs a new one.
#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xdamage.h>

#include <algorithm>
#include <arpa/inet.h>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int backEndPort = 8799;
constexpr auto backEndDelay = std::chrono::milliseconds(30);
const std::string answerBody = R"({"text":"REWRITTEN TEXT"})";

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// Points in time of one run; the epoch when it has not happened.
struct Marks
{
    std::atomic<Clock::time_point> accepted{};
    std::atomic<Clock::time_point> requested{};
    std::atomic<Clock::time_point> answered{};
    Clock::time_point pressed{};
    Clock::time_point painted{};
    Clock::time_point pasted{};
};

Marks marks;

void serve(int connection)
{
    std::string request;
    char buffer[4096];
    while (true) {
        const ssize_t count = ::read(connection, buffer, sizeof buffer);
        if (count <= 0)
            break;
        request.append(buffer, static_cast<size_t>(count));
        const size_t head = request.find("\r\n\r\n");
        if (head == std::string::npos)
            continue;
        std::string lower = request.substr(0, head);
        std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
        const size_t at = lower.find("content-length:");
        const size_t length =
            at == std::string::npos ? 0 : std::strtoul(lower.c_str() + at + 15, nullptr, 10);
        if (request.size() < head + 4 + length)
            continue;
        marks.requested = Clock::now();
        std::this_thread::sleep_for(backEndDelay);
        const std::string answer =
            "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nConnection: close\r\n"
            "Content-Length: " +
            std::to_string(answerBody.size()) + "\r\n\r\n" + answerBody;
        [[maybe_unused]] const auto written = ::write(connection, answer.data(), answer.size());
        marks.answered = Clock::now();
        break;
    }
    ::close(connection);
}

void runBackEnd()
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    const int yes = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(backEndPort);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener, 8) != 0) {
        std::perror("latency: back end");
        std::exit(1);
    }
    while (true) {
        const int connection = ::accept(listener, nullptr, nullptr);
        marks.accepted = Clock::now();
        std::thread(serve, connection).detach();
    }
}

class Target final
{
public:
    Target()
    {
        display_ = XOpenDisplay(nullptr);
        if (!display_ || !openKeyboard())
            std::exit(1);
        root_ = DefaultRootWindow(display_);
        window_ = XCreateSimpleWindow(display_, root_, 100, 100, 400, 200, 0, 0, WhitePixel(display_, 0));
        XStoreName(display_, window_, "Latency target");
        XSelectInput(display_, window_, KeyPressMask | FocusChangeMask | StructureNotifyMask);
        XMapRaised(display_, window_);
        int error = 0;
        XDamageQueryExtension(display_, &damageEvent_, &error);
        XDamageCreate(display_, root_, XDamageReportRawRectangles);
        clipboard_ = XInternAtom(display_, "CLIPBOARD", False);
        utf8_ = XInternAtom(display_, "UTF8_STRING", False);
        targets_ = XInternAtom(display_, "TARGETS", False);
        pump(std::chrono::milliseconds(1500));
        XSetInputFocus(display_, window_, RevertToParent, CurrentTime);
        pump(std::chrono::milliseconds(300));
    }

    void pressShortcut()
    {
        key(XK_Shift_L_, true);
        key(XK_Super_L_, true);
        // A hand needs tens of milliseconds between two keys; meanwhile every client has followed the
        // server's switch from the virtual keyboard of the last run to this one.
        pump(std::chrono::milliseconds(40));
        marks.pressed = Clock::now();
        key(XK_r_, true);
    }

    void releaseShortcut()
    {
        key(XK_r_, false);
        key(XK_Super_L_, false);
        key(XK_Shift_L_, false);
    }

    /// Handles events until the paste has come or the time is up.
    bool pumpUntilPaste(std::chrono::milliseconds limit)
    {
        const auto end = Clock::now() + limit;
        bool released = false;
        while (marks.pasted == Clock::time_point() && Clock::now() < end) {
            pump(std::chrono::milliseconds(5));
            if (!released && Clock::now() > marks.pressed + std::chrono::milliseconds(60)) {
                released = true;
                releaseShortcut();
            }
        }
        return marks.pasted != Clock::time_point();
    }

    void pump(std::chrono::milliseconds duration)
    {
        const auto end = Clock::now() + duration;
        do {
            while (XPending(display_)) {
                XEvent event;
                XNextEvent(display_, &event);
                handle(event);
            }
            pollfd descriptor{ConnectionNumber(display_), POLLIN, 0};
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
            if (left > 0)
                ::poll(&descriptor, 1, static_cast<int>(left));
        } while (Clock::now() < end);
    }

private:
    static constexpr KeySym XK_Shift_L_ = 0xffe1;
    static constexpr KeySym XK_Super_L_ = 0xffeb;
    static constexpr KeySym XK_r_ = 0x72;

    bool openKeyboard()
    {
        int count = 0;
        XDeviceInfo* devices = XListInputDevices(display_, &count);
        for (int i = 0; i < count && !keyboard_; ++i) {
            if (devices[i].use == IsXExtensionKeyboard && !std::strstr(devices[i].name, "XTEST"))
                keyboard_ = XOpenDevice(display_, devices[i].id);
        }
        XFreeDeviceList(devices);
        return keyboard_ != nullptr;
    }

    void key(KeySym symbol, bool isDown)
    {
        XTestFakeDeviceKeyEvent(display_, keyboard_, XKeysymToKeycode(display_, symbol), isDown, nullptr, 0,
                                CurrentTime);
        XFlush(display_);
    }

    void handle(XEvent& event)
    {
        if (event.type == damageEvent_ + XDamageNotify) {
            const auto& damage = reinterpret_cast<XDamageNotifyEvent&>(event);
            // The panel stands near the bottom; nothing else on this screen changes there.
            if (marks.painted == Clock::time_point() && damage.area.y > DisplayHeight(display_, 0) - 150)
                marks.painted = Clock::now();
        } else if (event.type == KeyPress) {
            handleKey(event.xkey);
        } else if (event.type == SelectionRequest) {
            answer(event.xselectionrequest);
        }
    }

    void handleKey(XKeyEvent& press)
    {
        const KeySym symbol = XkbKeycodeToKeysym(display_, static_cast<KeyCode>(press.keycode), 0, 0);
        if ((press.state & 0xff) != ControlMask)
            return;
        if (symbol == 'c')
            XSetSelectionOwner(display_, clipboard_, window_, press.time);
        else if (symbol == 'v')
            paste(press.time);
        XFlush(display_);
    }

    void paste(Time time)
    {
        marks.pasted = Clock::now();
        XConvertSelection(display_, clipboard_, utf8_, utf8_, window_, time);
    }

    void answer(XSelectionRequestEvent& request)
    {
        static const unsigned char text[] = "some selected text";
        XSelectionEvent notice{};
        notice.type = SelectionNotify;
        notice.requestor = request.requestor;
        notice.selection = request.selection;
        notice.target = request.target;
        notice.time = request.time;
        notice.property = request.property;
        if (request.target == targets_) {
            Atom offered[] = {utf8_};
            XChangeProperty(display_, request.requestor, request.property, XA_ATOM, 32, PropModeReplace,
                            reinterpret_cast<unsigned char*>(offered), 1);
        } else if (request.target == utf8_) {
            XChangeProperty(display_, request.requestor, request.property, utf8_, 8, PropModeReplace, text,
                            static_cast<int>(sizeof text - 1));
        } else {
            notice.property = None;
        }
        XSendEvent(display_, request.requestor, False, 0, reinterpret_cast<XEvent*>(&notice));
        XFlush(display_);
    }

    Display* display_ = nullptr;
    XDevice* keyboard_ = nullptr;
    Window root_ = 0;
    Window window_ = 0;
    int damageEvent_ = 0;
    Atom clipboard_ = 0;
    Atom utf8_ = 0;
    Atom targets_ = 0;
};

struct Series
{
    const char* name;
    std::vector<double> values;

    void print(bool isLast)
    {
        std::ranges::sort(values);
        const size_t count = values.size();
        const double median = count ? values[count / 2] : -1;
        const double p95 = count ? values[std::min(count - 1, count * 95 / 100)] : -1;
        std::printf("  \"%s\": {\"runs\": %zu, \"median\": %.2f, \"p95\": %.2f}%s\n", name, count, median,
                    p95, isLast ? "" : ",");
    }
};

} // namespace

int main(int argc, char* argv[])
{
    const int runs = argc > 1 ? std::atoi(argv[1]) : 50;
    const char* command = argc > 2 ? argv[2] : nullptr;
    std::thread(runBackEnd).detach();
    Target target;
    Series request{"press_to_request", {}};
    Series paste{"answer_to_paste", {}};
    Series panel{"press_to_panel", {}};
    Series connection{"press_to_connection", {}};
    Series whole{"press_to_paste", {}};
    int lost = 0;
    for (int run = 0; run < runs; ++run) {
        marks.accepted = marks.requested = marks.answered = Clock::time_point();
        marks.painted = marks.pasted = Clock::time_point();
        if (command) {
            marks.pressed = Clock::now();
            [[maybe_unused]] const int started =
                std::system((std::string(command) + " >/dev/null 2>&1 &").c_str());
        } else {
            target.pressShortcut();
        }
        if (!target.pumpUntilPaste(std::chrono::seconds(5))) {
            ++lost;
            continue;
        }
        request.values.push_back(milliseconds(marks.requested.load() - marks.pressed));
        paste.values.push_back(milliseconds(marks.pasted - marks.answered.load()));
        whole.values.push_back(milliseconds(marks.pasted - marks.pressed));
        connection.values.push_back(milliseconds(marks.accepted.load() - marks.pressed));
        if (marks.painted != Clock::time_point())
            panel.values.push_back(milliseconds(marks.painted - marks.pressed));
        target.pump(std::chrono::milliseconds(1900)); // until the panel has left
    }
    std::printf("{\n");
    for (Series* series : {&request, &paste, &panel, &connection, &whole})
        series->print(false);
    std::printf("  \"lost\": %d\n}\n", lost);
    std::fflush(stdout);
    std::_Exit(lost == 0 ? 0 : 1);
}
