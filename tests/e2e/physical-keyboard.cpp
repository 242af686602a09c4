// Presses keys as a person's keyboard does: on the X server's physical keyboard device, apart from the
// virtual one that synthetic input uses. Reads one command per line and answers each with one line.
//   down KEY…      press in this order            up KEY…        release in this order
//   chord KEY…     press in order, release in reverse
//   hold MS KEY…   the same, held for MS milliseconds; only then does the server repeat a held key
//   double-click   where the pointer is, in one write: no machine is too slow for it
//   grab KEY       another program's hot key: with Shift and Super, until "ungrab KEY"
//   group          number of the active layout, from 0
//   state          "modifiers=MASK locked=MASK keys=CODE,CODE…": what the server thinks is down
// KEY is a keysym name ("Shift_L", "r") or #CODE for a keycode.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XInput.h>
#include <X11/extensions/XTest.h>

#include <chrono>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

Display* display = nullptr;
XDevice* keyboard = nullptr;

XDevice* openPhysicalKeyboard()
{
    int count = 0;
    XDeviceInfo* devices = XListInputDevices(display, &count);
    XDevice* found = nullptr;
    for (int i = 0; i < count && !found; ++i) {
        const std::string name = devices[i].name;
        const bool isKeyboard = devices[i].use == IsXExtensionKeyboard;
        if (isKeyboard && name.find("XTEST") == std::string::npos)
            found = XOpenDevice(display, devices[i].id);
    }
    XFreeDeviceList(devices);
    return found;
}

unsigned int keycode(const std::string& key)
{
    if (key.starts_with('#'))
        return static_cast<unsigned int>(std::stoi(key.substr(1)));
    return XKeysymToKeycode(display, XStringToKeysym(key.c_str()));
}

/// Otherwise a key would come twice where the machine stands still between its press and its release.
void repeatHeldKeys(bool on)
{
    if (on)
        XAutoRepeatOn(display);
    else
        XAutoRepeatOff(display);
    XSync(display, False);
}

void press(const std::string& key, bool isDown)
{
    XTestFakeDeviceKeyEvent(display, keyboard, keycode(key), isDown, nullptr, 0, CurrentTime);
    XSync(display, False);
}

void chord(const std::vector<std::string>& keys, std::chrono::milliseconds duration)
{
    for (const std::string& key : keys)
        press(key, true);
    std::this_thread::sleep_for(duration);
    for (auto key = keys.rbegin(); key != keys.rend(); ++key)
        press(*key, false);
}

void doubleClick()
{
    for (int event = 0; event < 4; ++event)
        XTestFakeButtonEvent(display, Button1, event % 2 == 0, event == 0 ? 0 : 30);
    XSync(display, False);
}

void hold(const std::vector<std::string>& keys, std::chrono::milliseconds duration)
{
    repeatHeldKeys(true);
    chord(keys, duration);
    repeatHeldKeys(false);
}

void grab(const std::string& key, bool on)
{
    constexpr unsigned int shiftSuper = ShiftMask | Mod4Mask;
    const Window root = DefaultRootWindow(display);
    const int code = static_cast<int>(keycode(key));
    if (on)
        XGrabKey(display, code, shiftSuper, root, False, GrabModeAsync, GrabModeAsync);
    else
        XUngrabKey(display, code, shiftSuper, root);
    XSync(display, False);
}

int group()
{
    XkbStateRec state;
    XkbGetState(display, XkbUseCoreKbd, &state);
    return state.group;
}

std::string state()
{
    XkbStateRec modifiers;
    XkbGetState(display, XkbUseCoreKbd, &modifiers);
    char keys[32];
    XQueryKeymap(display, keys);
    std::ostringstream text;
    text << "modifiers=" << int(modifiers.base_mods | modifiers.latched_mods)
         << " locked=" << int(modifiers.locked_mods) << " keys=";
    for (int code = 0; code < 256; ++code) {
        if (keys[code / 8] & (1 << (code % 8)))
            text << code << ',';
    }
    return text.str();
}

std::string answer(const std::string& line)
{
    std::istringstream words(line);
    std::string command;
    words >> command;
    std::chrono::milliseconds duration{};
    if (command == "hold") {
        int milliseconds = 0;
        words >> milliseconds;
        duration = std::chrono::milliseconds(milliseconds);
    }
    std::vector<std::string> keys;
    for (std::string key; words >> key;)
        keys.push_back(key);
    if (command == "state")
        return state();
    if (command == "group")
        return std::to_string(group());
    if (command == "chord") {
        chord(keys, std::chrono::milliseconds(20));
    } else if (command == "double-click") {
        doubleClick();
    } else if (command == "hold") {
        hold(keys, duration);
    } else if (command == "down" || command == "up") {
        for (const std::string& key : keys)
            press(key, command == "down");
    } else if (command == "grab" || command == "ungrab") {
        for (const std::string& key : keys)
            grab(key, command == "grab");
    } else {
        return "unknown command";
    }
    return "ok";
}

} // namespace

int main()
{
    display = XOpenDisplay(nullptr);
    keyboard = display ? openPhysicalKeyboard() : nullptr;
    if (!keyboard) {
        std::cerr << "physical-keyboard: no display, or it has no physical keyboard\n";
        return 1;
    }
    repeatHeldKeys(false);
    for (std::string line; std::getline(std::cin, line);) {
        XSync(display, False); // the library hears of a new layout only when it reads from the server
        const std::string reply = answer(line);
        // The server answers before it has written to the others; when it answers once more, it has.
        XSync(display, False);
        std::cout << reply << std::endl;
    }
    return 0;
}
