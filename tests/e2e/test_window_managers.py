"""Window managers: the shortcut works, the panel is above a full screen window, on the screen of the pointer,
and never focused. Here the two light ones, of either kind; test_matrix_window_managers.py has the others.

Two screens side by side, the right one the main one, so that the other lies at a negative offset from it.
"""

import contextlib
import os
import pathlib
import re
import subprocess
import time
import unittest

import harness
import matrix
from harness import wait_until

SHORTCUT_WORKS = "Shortcut works"
ABOVE = "Panel above full screen"
POINTER = "Panel on the pointer’s screen"
UNFOCUSED = "Panel never focused"
CASES = [SHORTCUT_WORKS, ABOVE, POINTER, UNFOCUSED]

TEXT = "some words\n"
WIDTH, HEIGHT = 640, 800  # of each screen
SCREENS = {"LEFT": 0, "RIGHT": WIDTH}
BAR = 60  # what the editor claims of the pointer's screen at its bottom edge, as a task bar does
PANEL = "^Quillmarsh panel$"


def split_screen():
    """The server's one screen as two monitors."""
    for name, output in (("RIGHT", "screen"), ("LEFT", "none")):
        primary = "*" if name == "RIGHT" else ""
        geometry = f"{WIDTH}/170x{HEIGHT}/210+{SCREENS[name]}+0"
        subprocess.run(["xrandr", "--setmonitor", primary + name, geometry, output], check=True,
                       stdout=subprocess.DEVNULL)


def claim_bar(window, screen):
    begin = SCREENS[screen]
    strut = f"0,0,0,{BAR},0,0,0,0,0,0,{begin},{begin + WIDTH - 1}"
    name = "_NET_WM_STRUT_PARTIAL"
    harness.run("xprop", "-id", str(window), "-f", name, "32c", "-set", name, strut)


def manager_name():
    match = re.search(r"# (0x[0-9a-f]+)", harness.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"))
    return harness.run("xprop", "-id", match.group(1), "_NET_WM_NAME").lower() if match else ""


def stack():
    """The outermost windows, the topmost first, as the ids that they or a window in them have."""
    tree = harness.run("xwininfo", "-root", "-tree")
    groups = re.split(r"\n {5}(?=0x)", tree)[1:]
    return [[int(number, 16) for number in re.findall(r"^ *(0x[0-9a-f]+)", group, re.M)] for group in groups]


def geometry(window):
    lines = harness.run("xwininfo", "-id", str(window))
    wanted = ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")
    return tuple(int(re.search(rf"{name}: +(-?\d+)", lines).group(1)) for name in wanted)


def rests(window):
    """The same in two looks."""
    place = geometry(window)
    time.sleep(0.3)
    return place == geometry(window)


def picture(x, y, width, height):
    crop = f"{width}x{height}+{x}+{y}"
    return subprocess.run(["import", "-window", "root", "-crop", crop, "rgb:-"], check=True,
                          capture_output=True).stdout


class WindowManagerTest(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("mousepad", "xdotool", "x11-xserver-utils")
        split_screen()
        super().setUpClass()
        cls.table = matrix.Table("window-managers", CASES, "Window manager")

    @contextlib.contextmanager
    def running(self, *command):
        # What the one before left would be taken for this one's, which may have windows of the same numbers.
        for name in ("_NET_SUPPORTING_WM_CHECK", "_NET_ACTIVE_WINDOW"):
            harness.run("xprop", "-root", "-remove", name)
        manager = harness.Process(command)
        try:
            name = {"kwin_x11": "kwin"}.get(command[0], command[0])
            wait_until(lambda: name in manager_name(), f"{command[0]} to manage the windows")
            manager.settle()
            self.assertTrue(manager.is_running())
            yield manager
        finally:
            manager.stop()

    @contextlib.contextmanager
    def full_screen_editor(self):
        command = ["mousepad", "--disable-server", "{file}"]
        with contextlib.closing(matrix.Editor(command, "{name}", TEXT, self.keyboard, ("Control_L s",))) as editor:

            def is_full_screen():
                return "FULLSCREEN" in harness.run("xprop", "-id", str(editor.window), "_NET_WM_STATE")

            if not is_full_screen():  # it remembers how its last window was
                editor.select("F11")
            wait_until(is_full_screen, "the full screen")
            editor.settle()
            yield editor

    def check_manager(self, name, *command):
        with self.running(*command) as manager, self.full_screen_editor() as editor:
            for screen in SCREENS:
                with self.subTest(screen=screen):
                    subprocess.run(["xdotool", "mousemove", str(SCREENS[screen] + WIDTH // 2), "300"], check=True)
                    claim_bar(editor.window, screen)
                    manager.settle()
                    self.check_panel(name, editor, screen)

    def check_panel(self, name, editor, screen):
        self.setUp()
        self.wait_for_no_panel()
        self.back_end.hold()
        answer = f"rewritten on {screen}\n"
        self.back_end.answer = lambda text: (200, {"text": answer})
        editor.select_all()
        front, focus = harness.active_window(), harness.run("xdotool", "getwindowfocus")
        middle, bottom = SCREENS[screen] + WIDTH // 2, HEIGHT - BAR - 14
        before = picture(middle - 30, bottom - 40, 60, 30)
        with self.case(name, SHORTCUT_WORKS):
            self.rewrite()
            self.back_end.expect_request()
        panel = int(wait_until(lambda: harness.windows(PANEL), "the panel")[0])
        with self.case(name, POINTER):

            def is_in_place():
                x, y, width, height = geometry(panel)
                return rests(panel) and abs(x + width / 2 - middle) <= 1 and HEIGHT / 2 < y and y + height <= bottom + 1

            wait_until(is_in_place, lambda: f"the panel above {middle}, {bottom}; it is at {geometry(panel)}")
            _, y, _, height = geometry(panel)
        with self.case(name, ABOVE):
            order = stack()
            depth = {window: index for index, group in enumerate(order) for window in group}
            self.assertLess(depth[panel], depth[editor.window])
            wait_until(lambda: picture(middle - 30, y + height - 40, 60, 30) != before, "the panel to be drawn")
        with self.case(name, UNFOCUSED):
            self.assertEqual(harness.active_window(), front)
            self.assertEqual(harness.run("xdotool", "getwindowfocus"), focus)
        with self.case(name, SHORTCUT_WORKS):
            self.back_end.release()
            self.expect_pasted(answer)
            self.expect_text(editor, answer)


class LightManagers(WindowManagerTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("openbox", "i3-wm")
        super().setUpClass()

    def test_openbox(self):
        self.check_manager("openbox", "openbox", "--replace")

    def test_i3(self):
        """One that tiles."""
        settings = pathlib.Path(os.environ["HOME"]) / "i3"
        settings.write_text("# i3 config file (v4)\nfont fixed\nfocus_follows_mouse no\n")
        self.check_manager("i3", "i3", "--replace", "-c", str(settings))


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
