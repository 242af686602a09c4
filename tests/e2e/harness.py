"""The shipped binary among real applications: what the end-to-end tests stand on.

Runs inside tests/support/with-session (private HOME, X server with a window manager, session bus, secret
service). Keys are pressed on the X server's physical keyboard, so that what the product injects can be told
apart from what a person does. Everything started here is ended by process id.
"""

import ctypes
import http.server
import json
import os
import pathlib
import re
import signal
import subprocess
import tempfile
import threading
import time
import unittest

BUILD = pathlib.Path(os.environ["QUILLMARSH_BUILD"])
PRODUCT = pathlib.Path(os.environ.get("QUILLMARSH_PRODUCT", BUILD / "bin" / "quillmarsh"))
SHOTS = pathlib.Path(os.environ.get("QUILLMARSH_SHOTS", BUILD / "screenshots"))
SHORTCUT = "Shift_L Super_L r"
BUS_NAME = "com.quillmarsh.app"
SEEN_FROM_OUTSIDE = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}


def wait_until(condition, what, limit=60.0):
    """Polls `condition` until it holds and returns its value; fails loudly after `limit` seconds, which only what
    never comes is to reach on a slow machine. Looks once more then, as the machine itself may have stood still. `what`
    may be a function that tells it at the end."""
    deadline = time.monotonic() + limit
    is_last = False
    while not (value := condition()):
        if is_last:
            raise AssertionError(f"waited {limit} s for {what() if callable(what) else what}")
        is_last = time.monotonic() > deadline
        time.sleep(0.01)
    return value


def wait_for(read, wanted, limit=60.0):
    """`read()` comes to be `wanted`; the message tells what it is instead."""
    wait_until(lambda: read() == wanted, lambda: f"{wanted!r}, which is {read()!r}", limit)


def run(*command):
    return subprocess.run(command, capture_output=True, check=False).stdout.decode(errors="replace")


def screenshot(name):
    SHOTS.mkdir(parents=True, exist_ok=True)
    subprocess.run(["import", "-window", "root", str(SHOTS / f"{name}.png")], check=True)


def windows(title):
    """The ids of the visible windows with such a title."""
    while True:
        command = ["xdotool", "search", "--onlyvisible", "--name", title]
        search = subprocess.run(command, capture_output=True, check=False)
        if b"X Error" not in search.stderr:  # a window may go while it is looked at; the others are not told of then
            return search.stdout.decode().split()


def exists(window):
    return "Map State" in run("xwininfo", "-id", str(window))


def active_window():
    """The window that is called active and has the keyboard, 0 for none. Openbox goes on naming one whose program has
    ended, and the next program's window may get its number."""
    match = re.search(r"window id # (0x[0-9a-f]+)", run("xprop", "-root", "_NET_ACTIVE_WINDOW"))
    window = int(match.group(1), 16) if match else 0
    return window if run("xdotool", "getwindowfocus").strip() == str(window) else 0


def clipboard():
    return run("timeout", "10", "xclip", "-o", "-selection", "clipboard")


def selection_owner(name):
    """The id of the window that owns the selection, 0 for none."""
    x11 = ctypes.CDLL("libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    x11.XInternAtom.restype = x11.XGetSelectionOwner.restype = ctypes.c_ulong
    display = ctypes.c_void_p(x11.XOpenDisplay(None))
    owner = x11.XGetSelectionOwner(display, ctypes.c_ulong(x11.XInternAtom(display, name.encode(), False)))
    x11.XCloseDisplay(display)
    return owner


def is_on_bus(name):
    return "true" in run("dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                         "org.freedesktop.DBus.NameHasOwner", f"string:{name}")


def docked_icon():
    """The middle of the product's icon. Until the bar has docked it, its window lies unmapped in a corner."""
    for line in run("xwininfo", "-name", "tint2", "-tree").splitlines():
        if '"quillmarsh"' not in line:
            continue
        window = run("xwininfo", "-id", line.split()[0])
        names = ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")
        numbers = [re.search(rf"{name}: +(-?\d+)", window) for name in names]
        if "IsViewable" in window:
            x, y, width, height = (int(number.group(1)) for number in numbers)
            return x + width // 2, y + height // 2
    return None


def in_front(title):
    """The id of the window with such a title once it has the keyboard."""
    active = active_window()
    return str(active) in windows(title) and active


class Process:
    """A child that is ended by its process id, whatever happens."""

    def __init__(self, command, log=os.devnull, environment=None):
        environment = {**os.environ, **(environment or {})}
        with open(log, "ab") as output:
            self.process = subprocess.Popen(command, stdout=output, stderr=output, env=environment,
                                            start_new_session=True)

    @property
    def pid(self):
        return self.process.pid

    def is_running(self):
        return self.process.poll() is None

    def settle(self, limit=20):
        """Waits until it has taken in what it was sent: in a dozen looks in a row nothing of it was busy. For what
        never rests no longer than `limit` seconds."""
        deadline = time.monotonic() + limit
        looks = 0
        while looks < 12 and time.monotonic() < deadline:
            looks = 0 if self.is_busy() else looks + 1
            time.sleep(0.015)

    def is_busy(self):
        """Whether a thread of it runs, or waits for a processor or a disk."""
        states = []
        for process in filter(str.isdigit, os.listdir("/proc")):
            try:
                if self.state_and_session(f"/proc/{process}/stat")[1] == self.pid:
                    tasks = os.listdir(f"/proc/{process}/task")
                    states += [self.state_and_session(f"/proc/{process}/task/{task}/stat")[0] for task in tasks]
            except OSError:  # it has ended
                continue
        return "R" in states or "D" in states

    @staticmethod
    def state_and_session(stat):
        fields = pathlib.Path(stat).read_text(errors="replace").rpartition(")")[2].split()
        return fields[0], int(fields[3])

    def stop(self, limit=60):
        if self.is_running():
            os.killpg(self.process.pid, signal.SIGTERM)
        try:
            self.process.wait(limit)
        except subprocess.TimeoutExpired:
            os.killpg(self.process.pid, signal.SIGKILL)
            self.process.wait()
        return self.process.returncode


class Keyboard:
    """The person's keyboard."""

    def __init__(self):
        self.process = subprocess.Popen([str(BUILD / "bin" / "physical-keyboard")], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)

    def ask(self, line):
        self.process.stdin.write(line + "\n")
        self.process.stdin.flush()
        return self.process.stdout.readline().strip()

    def chord(self, keys):
        assert self.ask(f"chord {keys}") == "ok"

    def hold(self, milliseconds, keys):
        assert self.ask(f"hold {milliseconds} {keys}") == "ok"

    def down(self, keys):
        assert self.ask(f"down {keys}") == "ok"

    def up(self, keys):
        assert self.ask(f"up {keys}") == "ok"

    def double_click(self):
        """With the mouse."""
        assert self.ask("double-click") == "ok"

    def grab(self, key, on):
        """Takes the key with Shift and Super as another program's hot key, or gives it back."""
        assert self.ask(f"{'grab' if on else 'ungrab'} {key}") == "ok"

    def group(self):
        return int(self.ask("group"))

    def state(self):
        return self.ask("state")

    def expect_nothing_down(self):
        """Soon: the last releases of an injection may still be on their way."""
        wait_until(lambda: re.fullmatch(r"modifiers=0 locked=\d+ keys=", self.state()),
                   lambda: f"every key to be up: {self.state()}")

    def stop(self):
        self.process.communicate(timeout=60)


class BackEnd:
    """An HTTP service on a loopback port that records requests and answers as the test says, and when it says."""

    def __init__(self):
        self.requests = []
        self.released = threading.Event()
        self.reset()
        back_end = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
                back_end.requests.append((self.path, dict(self.headers), body))
                back_end.released.wait(120)
                status, answer = back_end.answer(json.loads(body).get("text", ""))
                data = answer if isinstance(answer, bytes) else json.dumps(answer).encode()
                try:
                    self.send_response(status)
                    self.send_header("Content-Type", "application/json")
                    self.send_header("Content-Length", str(len(data)))
                    self.end_headers()
                    self.wfile.write(data)
                except (BrokenPipeError, ConnectionResetError):
                    pass

            def log_message(self, *arguments):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    @property
    def origin(self):
        return f"http://127.0.0.1:{self.server.server_address[1]}"

    def reset(self):
        self.requests.clear()
        self.answer = lambda text: (200, {"text": text.upper()})
        self.release()

    def hold(self):
        """Answers nothing until `release`."""
        self.released.clear()

    def release(self):
        self.released.set()

    def expect_request(self):
        wait_until(lambda: self.requests, "the request")

    @property
    def texts(self):
        return [json.loads(body).get("text") for _, _, body in self.requests]

    def stop(self):
        self.release()
        self.server.shutdown()
        self.server.server_close()


class Product:
    """The product as a user would have it, its settings in the private HOME."""

    def __init__(self, settings):
        config = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "quillmarsh"
        config.mkdir(parents=True, exist_ok=True)
        self.defaults = config / "defaults.ini"
        settings = {"hasSeenModernOnboarding": "true", **settings}
        lines = "".join(f"{key}={value}\n" for key, value in settings.items())
        self.defaults.write_text("[General]\n" + lines)
        handle, name = tempfile.mkstemp(prefix="quillmarsh-log-", dir=os.environ["HOME"])
        os.close(handle)
        self.log = pathlib.Path(name)
        self.process = None
        self.tray = None

    def start(self, *arguments, wait_for="Event tap started", program=PRODUCT, environment=None, bar=True):
        # Otherwise this start would only bring the one before forward, which is just ending.
        wait_until(lambda: not is_on_bus(BUS_NAME), "the product before to be gone")
        # A desktop has a status bar; without one the product opens its settings at start.
        if bar:
            self.tray = Process(["tint2"])
            wait_until(lambda: selection_owner("_NET_SYSTEM_TRAY_S0"), "the status bar")
        self.process = Process([str(program), *arguments], log=self.log,
                               environment={"QT_QPA_PLATFORM": "xcb", **(environment or {})})
        if wait_for:
            wait_until(lambda: wait_for in self.log_text() or not self.process.is_running(), "the product's start")
            assert self.process.is_running(), self.log_text()
        return self

    def log_text(self):
        return self.log.read_text(errors="replace")

    def expect_log(self, line):
        wait_until(lambda: line in self.log_text(), lambda: f"“{line}” in the log:\n{self.log_text()}")

    def completed(self):
        """How many rewrites it has completed. Once one is, its keys are sent and the next may begin."""
        count = re.search(r"^completedRewriteCount=(\d+)", self.defaults.read_text(), re.MULTILINE)
        return int(count.group(1)) if count else 0

    def status_icon(self):
        """The middle of its icon once the bar shows it and has left it where it is."""
        place = docked_icon()
        self.tray.settle()
        return place if place == docked_icon() else None

    def click_status_icon(self, button=1):
        x, y = wait_until(self.status_icon, "the status icon in the bar")
        run("xdotool", "mousemove", str(x), str(y), "click", str(button))

    def open_menu(self):
        self.click_status_icon()
        return wait_until(lambda: in_front("^Quillmarsh menu$"), "the menu with the keyboard")

    def stop(self):
        status = self.process.stop() if self.process else 0
        if self.tray:
            self.tray.stop()
        return status


class Editor:
    """A real application with a text in it, driven by keyboard only. Its file is read back, after the given keys where
    it does not save by itself."""

    def __init__(self, command, title, text, keyboard, save=(), key_log=os.devnull):
        handle, name = tempfile.mkstemp(suffix=".txt", dir=os.environ["HOME"])
        os.close(handle)
        self.file = pathlib.Path(name)
        self.file.write_text(text)
        self.keyboard = keyboard
        self.save_keys = save
        arguments = [str(part).format(file=self.file, keys=key_log) for part in command]
        self.process = Process(arguments, environment={"GTK_CSD": "0"})
        pattern = title.format(name=self.file.name)
        self.window = wait_until(lambda: in_front(pattern), f"a window {pattern} in front")
        self.settle()

    def settle(self):
        self.process.settle()

    def select(self, *chords):
        for chord in chords:
            self.keyboard.chord(chord)
        self.settle()

    def select_all(self):
        self.select("Control_L a")

    def read(self):
        """The file as it is; it may be read while it is written."""
        return self.file.read_text(errors="replace")

    def text(self):
        for chord in self.save_keys:
            self.keyboard.chord(chord)
        self.settle()
        return self.read()

    def expect(self, text):
        wait_for(self.text if self.save_keys else self.read, text)

    def close(self):
        self.process.stop()
        # The next window may be told from this one only once this one is gone.
        wait_until(lambda: not exists(self.window), "the window to go")


def mousepad(text, keyboard):
    return Editor(["mousepad", "--disable-server", "{file}"], "{name}", text, keyboard, save=("Control_L s",))


def featherpad(text, keyboard):
    return Editor(["featherpad", "--standalone", "{file}"], "{name}", text, keyboard, save=("Control_L s",))


def text_field(text, keyboard, key_log=os.devnull):
    return Editor([BUILD / "bin" / "text-field", "{file}", "{keys}"], "Text field", text, keyboard, key_log=key_log)


class FakeOpenAI:
    """The strict account and model servers, and a browser that follows their redirect."""

    def __init__(self):
        self.process = subprocess.Popen([str(BUILD / "bin" / "fake-openai")], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        self.auth_origin = self.process.stdout.readline().split()[1]
        self.api_base = self.process.stdout.readline().split()[1]
        tools = pathlib.Path(os.environ["HOME"]) / "bin"
        tools.mkdir(exist_ok=True)
        browser = tools / "xdg-open"
        browser.write_text('#!/bin/sh\ncurl -sL --max-time 20 "$1" >/dev/null 2>&1 &\n')
        browser.chmod(0o755)
        self.environment = {
            "PATH": f"{tools}:{os.environ['PATH']}",
            "QUILLMARSH_TEST_AUTH_ORIGIN": self.auth_origin,
            "QUILLMARSH_TEST_OPENAI_API_BASE": self.api_base,
        }

    def ask(self, what):
        self.process.stdin.write(what + "\n")
        self.process.stdin.flush()
        lines = []
        while (line := self.process.stdout.readline().rstrip("\n")) != ".":
            lines.append(line)
        return lines

    def stop(self):
        self.process.communicate(timeout=60)


class ScreenReader:
    """What assistive technology sees of a program, from outside its process."""

    def __init__(self):
        import gi

        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi, GLib

        self.atspi = Atspi
        self.gone = GLib.Error  # a node may go while it is looked at
        Atspi.init()
        Atspi.set_timeout(10_000, 30_000)

    def application(self, name):
        desktop = self.atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(index)
            if child and child.get_name() == name:
                return child
        return None

    def all_below(self, node, depth=0):
        if node is None or depth > 40:
            return
        yield node
        for index in range(node.get_child_count()):
            yield from self.all_below(node.get_child_at_index(index), depth + 1)

    def find(self, application, name, role=None):
        try:
            for node in self.all_below(self.application(application)):
                if node.get_name() == name and role in (None, node.get_role_name()):
                    return node
        except self.gone:
            pass
        return None

    def texts(self, application, window):
        """What one window of a program tells at the moment."""
        showing = self.atspi.StateType.SHOWING
        frame = self.find(application, window, "frame")
        try:
            return {node.get_name() for node in self.all_below(frame) if node.get_state_set().contains(showing)}
        except self.gone:
            return set()

    def press(self, application, name):
        node = wait_until(lambda: self.find_enabled(application, name), f"“{name}” in the accessibility tree")
        assert node.get_n_actions() > 0, f"“{name}” offers no action"
        node.do_action(0)

    def find_enabled(self, application, name):
        node = self.find(application, name)
        try:
            return node if node and node.get_state_set().contains(self.atspi.StateType.ENABLED) else None
        except self.gone:
            return None


class Panel:
    """The progress panel as a screen reader and the window list have it."""

    def __init__(self):
        self.reader = ScreenReader()
        self.is_held = False

    def is_shown(self):
        return bool(windows("^Quillmarsh panel$"))

    def texts(self):
        return self.reader.texts("Quillmarsh", "Quillmarsh panel")

    def expect(self, *texts, limit=60.0):
        wait_until(lambda: set(texts) <= self.texts(), lambda: f"{texts} on the panel, which has {self.texts()}", limit)

    def hold(self):
        """Rests the pointer where the panel appears: what it tells then stays until the pointer leaves, however slowly
        it is read."""
        run("xdotool", "mousemove", "640", "730")
        self.is_held = True

    def let_go(self):
        if self.is_held:
            run("xdotool", "mousemove", "5", "5")
        self.is_held = False

    def wait_until_gone(self):
        self.let_go()
        wait_until(lambda: not self.is_shown(), "the panel to leave")

    def dismiss(self):
        """Unless it leaves by itself meanwhile."""
        self.let_go()

        def is_gone():
            button = self.reader.find("Quillmarsh", "Dismiss")
            try:
                if button and self.is_shown():
                    button.do_action(0)
            except self.reader.gone:
                pass
            return not self.is_shown()

        wait_until(is_gone, "the panel to leave")


class RunningProduct(unittest.TestCase):
    """The product on a back end of the tests, the same for all of a class."""

    @classmethod
    def setUpClass(cls):
        cls.back_end = BackEnd()
        cls.keyboard = Keyboard()
        cls.product = Product({"endpoint.cloud": cls.back_end.origin, "selectedProvider": "cloud"})
        cls.product.start(environment=SEEN_FROM_OUTSIDE)
        cls.panel = Panel()

    @classmethod
    def tearDownClass(cls):
        try:
            status = cls.product.stop()
            assert status == 0, f"the product ended with {status}\n{cls.product.log_text()}"
        finally:
            cls.keyboard.stop()
            cls.back_end.stop()

    def setUp(self):
        self.back_end.reset()
        self.completed = self.product.completed()

    def tearDown(self):
        self.keyboard.expect_nothing_down()

    def rewrite(self, keys=SHORTCUT):
        self.completed = self.product.completed()
        self.keyboard.chord(keys)

    def is_completed(self):
        return self.product.completed() > self.completed

    def expect_completed(self):
        wait_until(self.is_completed, "the rewrite to be completed")
