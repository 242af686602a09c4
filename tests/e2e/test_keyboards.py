"""Keyboards × applications: the rewrite on every layout, switched while the product runs.

    test_keyboards.py Everyday    a few pairs, and what the user is shown of a layout
    test_keyboards.py Matrix      every pair; the results go to keyboards.md in the build folder
"""

import contextlib
import os
import pathlib
import subprocess
import sys
import time
import unittest

import harness
import matrix
import test_application
from harness import wait_until
from matrix import APPLICATIONS, Editor, Terminal

# Positions, as letters are elsewhere on every layout.
KEY_Q, KEY_S, KEY_R = "#24", "#39", "#27"
SHIFT, ALT, SUPER, CONTROL = "#50", "#64", "#133", "#37"
SHORTCUT = f"{SHIFT} {SUPER} {KEY_R}"

# name: layouts, variants, the active one
KEYBOARDS = {
    "us": ("us", "", 0),
    "de": ("de", "", 0),
    "fr": ("fr", "", 0),
    "dvorak": ("us", "dvorak", 0),
    "**us**, ru": ("us,ru", "", 0),
    "us, **ru**": ("us,ru", "", 1),
    "**ru**, us": ("ru,us", "", 0),
    "ru, **us**": ("ru,us", "", 1),
    "ru": ("ru", "", 0),
    "gr": ("gr", "", 0),
}
FIRST, LAST = "first line\n", "\nlast line\n"


def set_layouts(layouts, variants="", *options):
    command = ["setxkbmap", "-rules", "evdev", "-model", "pc105", "-layout", layouts, "-variant", variants, "-option", ""]
    for option in options:
        command += ["-option", option]
    subprocess.run(command, check=True)


def use(keyboard, name):
    """The layout as a person gets it: set up, and the active one chosen by its keys."""
    layouts, variants, group = KEYBOARDS[name]
    set_layouts(layouts, variants, "grp:alt_shift_toggle")
    time.sleep(0.15)
    while keyboard.group() != group:
        keyboard.chord(f"{ALT} {SHIFT}")
    time.sleep(0.15)


class SavedEditor(Editor):
    """An editor that saves on a key: pressed on a layout that every application understands."""

    def text(self):
        set_layouts("us")
        time.sleep(0.15)
        return super().text()


class KeyboardTest(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("mousepad", "featherpad", "python3-gi", "gir1.2-gtk-4.0", "python3-tk", "xterm", "xclip",
                       "x11-xkb-utils")
        super().setUpClass()
        cls.table = matrix.Table("keyboards", list(KEYBOARDS))

    def tearDown(self):
        set_layouts("us")
        super().tearDown()

    def open(self, application):
        text = FIRST + "some text" + LAST
        bin_folder = harness.BUILD / "bin"
        save = (f"{CONTROL} {KEY_S}",)
        if application == "mousepad (GTK 3)":
            return SavedEditor(["mousepad", "--disable-server", "{file}"], "{name}", text, self.keyboard, save)
        if application == "FeatherPad (Qt 5)":
            return SavedEditor(["featherpad", "--standalone", "{file}"], "{name}", text, self.keyboard, save)
        command, title = {
            "GTK 4 text view": ([sys.executable, str(APPLICATIONS / "gtk4-text.py"), "{file}"], "GTK 4 text"),
            "Qt 6 text field": ([str(bin_folder / "text-field"), "{file}"], "Text field"),
            "Qt Quick text area": ([str(bin_folder / "quick-text"), "{file}"], "Qt Quick text"),
            "Tk text": ([sys.executable, str(APPLICATIONS / "tk-text.py"), "{file}"], "Tk text"),
        }[application]
        return Editor(command, title, text, self.keyboard)

    def press(self):
        self.keyboard.chord(SHORTCUT)

    def check(self, application, names, replaced=True):
        """One after another in the same document: each rewrites what the one before left."""
        with contextlib.closing(self.open(application)) as editor:
            selection = "some text"
            for number, name in enumerate(names):
                outcome = "pass" if replaced else "left on the clipboard"
                with self.subTest(application, keyboard=name), self.case(application, name, outcome=outcome):
                    self.setUp()
                    answer = f"{number} réponse 👍🏽 ответ"
                    self.back_end.answer = lambda text, answer=answer: (200, {"text": answer})
                    use(self.keyboard, name)
                    editor.select("Control_L Home", "Down", "Shift_L End")
                    self.press()
                    self.expect_request(selection)
                    self.expect_pasted(answer)
                    self.assertEqual(self.keyboard.group(), KEYBOARDS[name][2], "the active layout")
                    selection = answer if replaced else selection
                    self.expect_text(editor, FIRST + selection + LAST)
                    self.assertTrue(self.keyboard.nothing_is_down(), self.keyboard.state())

    def check_xterm(self, names):
        log = pathlib.Path(os.environ["HOME"]) / "received"
        program = [sys.executable, str(APPLICATIONS / "signal-recorder.py"), str(log)]
        with contextlib.closing(Terminal(["xterm", "-e"], self.keyboard, program)) as terminal:
            wait_until(lambda: log.exists() and b"[ready]" in log.read_bytes(), "the program in the terminal")
            for name in names:
                outcome = "“Select some text first”"
                with self.subTest(keyboard=name), self.case("xterm", name, outcome=outcome):
                    self.setUp()
                    use(self.keyboard, name)
                    terminal.select_word()
                    self.wait_for_no_panel()
                    self.press()
                    self.expect_no_request(0.5)
                    self.assertEqual(log.read_bytes(), b"[ready]")


class Matrix(KeyboardTest):
    def test_mousepad(self):
        self.check("mousepad (GTK 3)", KEYBOARDS)

    def test_gtk_4(self):
        self.check("GTK 4 text view", KEYBOARDS)

    def test_featherpad(self):
        self.check("FeatherPad (Qt 5)", KEYBOARDS)

    def test_qt_widgets(self):
        self.check("Qt 6 text field", KEYBOARDS)

    def test_qt_quick(self):
        self.check("Qt Quick text area", KEYBOARDS)

    def test_tk(self):
        self.check("Tk text", KEYBOARDS, replaced=False)

    def test_xterm(self):
        self.check_xterm(KEYBOARDS)


class Everyday(KeyboardTest):
    def test_qt_widgets(self):
        self.check("Qt 6 text field", KEYBOARDS)

    def test_mousepad(self):
        self.check("mousepad (GTK 3)", ["fr", "dvorak", "us, **ru**", "gr"])

    def test_the_layout_changes_while_the_answer_is_awaited(self):
        """Also at the very moment of the copy: the switch and the key press are not waited for."""
        with contextlib.closing(self.open("Qt 6 text field")) as editor:
            selection = "some text"
            for number, (first, second) in enumerate([("us", "ru"), ("gr", "fr"), ("fr", "us"), ("us", "gr")]):
                answer = f"answer {number}"
                self.setUp()
                self.back_end.answer = lambda text, answer=answer: (200, {"text": answer})
                self.back_end.delay = 0.1
                editor.select("Control_L Home", "Down", "Shift_L End")
                set_layouts(first)
                self.press()
                wait_until(lambda: self.back_end.requests, "the request", 3)
                set_layouts(second)
                self.expect_text(editor, FIRST + answer + LAST)
                self.assertEqual(self.back_end.texts, [selection])
                selection = answer


class Display(unittest.TestCase):
    """What the user is shown of his layout, and a shortcut that he recorded on another one."""

    def setUp(self):
        self.keyboard = harness.Keyboard()
        self.back_end = harness.BackEnd()
        self.product = harness.Product({"endpoint.cloud": self.back_end.origin, "selectedProvider": "cloud"})
        self.product.start(environment={"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"})
        self.reader = harness.ScreenReader()

    def tearDown(self):
        set_layouts("us")
        self.product.stop()
        self.keyboard.stop()
        self.back_end.stop()

    def press(self, name):
        self.reader.press("Quillmarsh", name)

    def open_shortcuts(self):
        subprocess.run([str(harness.PRODUCT)], capture_output=True, timeout=20, check=True)
        wait_until(lambda: harness.windows("^Quillmarsh$"), "the settings window", 20)
        self.press("Continue here for now")
        self.press("Shortcuts")

    def expect_keys(self, keys, role):
        def shown():
            node = self.reader.find("Quillmarsh", "Formal", role)
            return node and node.get_description()

        wait_until(lambda: shown() == keys, f"“{keys}” shown by the {role}, which has {shown()}", 5)

    def test_recorded_on_one_layout_and_used_on_another(self):
        set_layouts("fr")
        self.open_shortcuts()
        self.press("Formal")
        self.press("Add Keyboard Shortcut")
        wait_until(lambda: self.reader.find("Quillmarsh", "Press your shortcut..."), "the recorder")
        time.sleep(0.3)
        self.keyboard.chord(f"{SHIFT} {SUPER} {KEY_Q}")
        wait_until(lambda: self.reader.find("Quillmarsh", "⇧⌘A"), "the shortcut as it was recorded")
        self.press("Save")
        for layouts, variants, keys in (("fr", "", "⇧⌘A"), ("us", "", "⇧⌘Q"), ("us", "dvorak", "⇧⌘'"),
                                        ("gr", "", "⇧⌘;"), ("ru", "", "⇧⌘Й")):
            with self.subTest(layouts + variants):
                set_layouts(layouts, variants)
                self.expect_keys(keys, "list item")
        self.check_group_of_two()
        self.check_menu()
        self.check_used()

    def check_group_of_two(self):
        set_layouts("us,ru", "", "grp:alt_shift_toggle")
        self.expect_keys("⇧⌘Q", "list item")
        self.keyboard.chord(f"{ALT} {SHIFT}")
        self.expect_keys("⇧⌘Й", "list item")
        self.keyboard.chord(f"{ALT} {SHIFT}")
        self.expect_keys("⇧⌘Q", "list item")

    def check_menu(self):
        set_layouts("ru")
        x, y = wait_until(test_application.status_icon, "the status icon", 15)
        harness.run("xdotool", "mousemove", str(x), str(y), "click", "1")
        wait_until(lambda: harness.windows("^Quillmarsh menu$"), "the menu")
        self.expect_keys("⇧⌘Й", "menu item")
        self.keyboard.chord("Escape")

    def check_used(self):
        editor = harness.text_field("some text", self.keyboard)
        try:
            for layouts, variants in (("ru", ""), ("us", "dvorak")):
                set_layouts(layouts, variants)
                editor.select("Control_L Home", "Shift_L End")
                self.back_end.answer = lambda text, layouts=layouts: (200, {"text": layouts})
                self.keyboard.chord(f"{SHIFT} {SUPER} {KEY_Q}")
                wait_until(lambda layouts=layouts: editor.file.read_text() == layouts, "the rewritten text")
        finally:
            editor.stop()


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
