// A terminal that nobody has heard of, for the end-to-end tests: strange-terminal [--class NAME] PROGRAM…
// Runs the program on a pseudo-terminal of its own, as every terminal does, and types into it what it is
// typed; Control makes control characters, with Shift or without, so that both interrupt.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <iostream>
#include <string>

namespace {

Window makeWindow(Display* display, std::string name)
{
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 400, 200, 0, 0, 0);
    XStoreName(display, window, "Strange terminal");
    XClassHint classes{name.data(), name.data()};
    XSetClassHint(display, window, &classes);
    XSelectInput(display, window, KeyPressMask);
    XMapWindow(display, window);
    return window;
}

void type(XKeyEvent& event, int master)
{
    std::array<char, 16> bytes{};
    const int count = XLookupString(&event, bytes.data(), int(bytes.size()), nullptr, nullptr);
    if (count > 0 && write(master, bytes.data(), size_t(count)) < 0)
        std::cerr << "strange-terminal: the program is gone\n";
}

} // namespace

int main(int argc, char* argv[])
{
    const bool named = argc > 2 && std::strcmp(argv[1], "--class") == 0;
    char** const program = argv + (named ? 3 : 1);
    int master = -1;
    // Before the display is opened: the program does not inherit the connection.
    const pid_t child = forkpty(&master, nullptr, nullptr, nullptr);
    if (child == 0) {
        execvp(program[0], program);
        _exit(127);
    }
    Display* const display = XOpenDisplay(nullptr);
    if (!display || child < 0 || argc < 2)
        return 1;
    makeWindow(display, named ? argv[2] : "Strange");
    for (;;) {
        std::array<pollfd, 2> sources{pollfd{ConnectionNumber(display), POLLIN, 0},
                                      pollfd{master, POLLIN, 0}};
        if (XPending(display) == 0)
            poll(sources.data(), sources.size(), 1000);
        std::array<char, 4096> shown{};
        if (sources[1].revents != 0 && read(master, shown.data(), shown.size()) <= 0)
            return 0;
        while (XPending(display) > 0) {
            XEvent event;
            XNextEvent(display, &event);
            if (event.type == KeyPress)
                type(event.xkey, master);
        }
    }
}
