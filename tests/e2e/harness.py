"""The shipped binary among real applications: what the end-to-end tests stand on.

Runs inside tests/support/with-session (private HOME, X server with a window manager, session bus, secret
service). Keys are pressed on the X server's physical keyboard, so that what the product injects can be told
apart from what a person does. Everything started here is ended by process id.
"""

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

BUILD = pathlib.Path(os.environ["QUILLMARSH_BUILD"])
PRODUCT = pathlib.Path(os.environ.get("QUILLMARSH_PRODUCT", BUILD / "bin" / "quillmarsh"))
SHOTS = pathlib.Path(os.environ.get("QUILLMARSH_SHOTS", BUILD / "screenshots"))
SHORTCUT = "Shift_L Super_L r"


def wait_until(condition, what, limit=10.0):
    """Polls `condition` until it holds and returns its value; fails loudly after `limit` seconds."""
    deadline = time.monotonic() + limit
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.01)
    raise AssertionError(f"waited {limit} s for {what}")


def run(*command):
    return subprocess.run(command, capture_output=True, check=False).stdout.decode(errors="replace")


def screenshot(name):
    SHOTS.mkdir(parents=True, exist_ok=True)
    subprocess.run(["import", "-window", "root", str(SHOTS / f"{name}.png")], check=True)


def windows(title):
    return run("xdotool", "search", "--onlyvisible", "--name", title).split()


def active_window():
    match = re.search(r"window id # (0x[0-9a-f]+)", run("xprop", "-root", "_NET_ACTIVE_WINDOW"))
    return int(match.group(1), 16) if match else 0


def clipboard():
    return run("timeout", "3", "xclip", "-o", "-selection", "clipboard")


class Process:
    """A child that is ended by its process id, whatever happens."""

    def __init__(self, command, log=None, environment=None):
        self.log = open(log, "ab") if log else subprocess.DEVNULL
        environment = {**os.environ, **(environment or {})}
        self.process = subprocess.Popen(command, stdout=self.log, stderr=self.log, env=environment,
                                        start_new_session=True)

    @property
    def pid(self):
        return self.process.pid

    def is_running(self):
        return self.process.poll() is None

    def stop(self, limit=5):
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

    def grab(self, key, on):
        """Takes the key with Shift and Super as another program's hot key, or gives it back."""
        assert self.ask(f"{'grab' if on else 'ungrab'} {key}") == "ok"

    def group(self):
        return int(self.ask("group"))

    def state(self):
        return self.ask("state")

    def nothing_is_down(self):
        return re.fullmatch(r"modifiers=0 locked=\d+ keys=", self.state())

    def stop(self):
        self.process.stdin.close()
        self.process.wait(5)


class BackEnd:
    """An HTTP service on a loopback port that records requests and answers as the test says."""

    def __init__(self):
        self.requests = []
        self.answer = lambda text: (200, {"text": text.upper()})
        self.delay = 0.0
        self.released = threading.Event()
        self.mute = False
        back_end = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):
                body = self.rfile.read(int(self.headers.get("Content-Length", 0)))
                back_end.requests.append((self.path, dict(self.headers), body))
                time.sleep(back_end.delay)
                if back_end.mute:
                    back_end.released.wait(120)
                    self.close_connection = True
                    return
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

    @property
    def texts(self):
        return [json.loads(body).get("text") for _, _, body in self.requests]

    def stop(self):
        self.released.set()
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

    def start(self, *arguments, wait_for="Event tap started", program=PRODUCT, environment=None):
        # A desktop has a status bar; without one the product opens its settings at start.
        self.tray = Process(["tint2"])
        wait_until(lambda: run("xwininfo", "-name", "tint2"), "the status bar")
        self.process = Process([str(program), *arguments], log=self.log,
                               environment={"QT_QPA_PLATFORM": "xcb", **(environment or {})})
        if wait_for:
            wait_until(lambda: wait_for in self.log_text() or not self.process.is_running(), "the product's start", 30)
            assert self.process.is_running(), self.log_text()
        return self

    def log_text(self):
        return self.log.read_text(errors="replace")

    def stop(self):
        status = self.process.stop() if self.process else 0
        if self.tray:
            self.tray.stop()
        return status


class Editor:
    """A real application with a text in it, driven by keyboard only."""

    def __init__(self, command, title, text, keyboard, saves=True, key_log=None):
        handle, name = tempfile.mkstemp(suffix=".txt", dir=os.environ["HOME"])
        os.close(handle)
        self.file = pathlib.Path(name)
        self.file.write_text(text)
        self.keyboard = keyboard
        self.saves = saves
        arguments = [part.format(file=self.file, keys=key_log) for part in command]
        self.process = Process(arguments, environment={"GTK_CSD": "0"})
        pattern = title.format(name=self.file.name)
        self.window = int(wait_until(lambda: windows(pattern), f"a window {pattern}", 30)[0])
        wait_until(lambda: active_window() == self.window, f"{pattern} in front", 15)
        time.sleep(0.3)

    def select(self, *chords):
        for chord in chords:
            self.keyboard.chord(chord)
        time.sleep(0.15)

    def select_all(self):
        self.select("Control_L a")

    def text(self):
        if self.saves:
            self.keyboard.chord("Control_L s")
            time.sleep(0.3)
        return self.file.read_text()

    def stop(self):
        self.process.stop()


def mousepad(text, keyboard):
    return Editor(["mousepad", "--disable-server", "{file}"], "{name}", text, keyboard)


def featherpad(text, keyboard):
    return Editor(["featherpad", "--standalone", "{file}"], "{name}", text, keyboard)


def text_field(text, keyboard, key_log=os.devnull):
    return Editor([str(BUILD / "bin" / "text-field"), "{file}", "{keys}"], "Text field", text, keyboard, saves=False,
                  key_log=key_log)


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
        self.process.stdin.close()
        self.process.wait(5)


class ScreenReader:
    """What assistive technology sees of a program, from outside its process."""

    def __init__(self):
        import gi

        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi

        self.atspi = Atspi
        Atspi.init()

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
        for node in self.all_below(self.application(application)):
            try:
                if node.get_name() == name and (role is None or node.get_role_name() == role):
                    return node
            except Exception:  # a node may go while it is looked at
                continue
        return None

    def texts(self, application, window):
        """What one window of a program tells at the moment."""
        showing = self.atspi.StateType.SHOWING
        frame = self.find(application, window, "frame")
        nodes = [node for node in self.all_below(frame) if node.get_state_set().contains(showing)]
        return {node.get_name() for node in nodes}

    def press(self, application, name):
        node = wait_until(lambda: self.find(application, name), f"“{name}” in the accessibility tree")
        assert node.get_n_actions() > 0, f"“{name}” offers no action"
        node.do_action(0)
