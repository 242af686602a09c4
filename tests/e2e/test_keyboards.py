"""Keyboards × applications: the rewrite on every layout, switched while the product runs.

    test_keyboards.py Everyday    a few pairs, and what the user is shown of a layout
    test_keyboards.py Matrix      every pair; the results go to keyboards.md in the build folder
"""

import contextlib
import os
import subprocess
import unittest

import drivers
import harness
import matrix
from harness import SEEN_FROM_OUTSIDE, wait_for, wait_until
from matrix import Recorder

# Positions, as letters are elsewhere on every layout.
KEY_Q, KEY_R = "#24", "#27"
SHIFT, ALT, SUPER = "#50", "#64", "#133"
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
WITHOUT_C = ("ru", "gr")  # the key that copies from a terminal
FIRST, LAST = "first line\n", "\nlast line\n"
DOCUMENT = FIRST + "some text" + LAST


def set_layouts(layouts, variants="", *options):
    command = ["setxkbmap", "-rules", "evdev", "-model", "pc105", "-layout", layouts, "-variant", variants, "-option", ""]
    for option in options:
        command += ["-option", option]
    subprocess.run(command, check=True)


def use(keyboard, name):
    """The layout as a person gets it: set up, and the active one chosen by its keys."""
    layouts, variants, group = KEYBOARDS[name]
    set_layouts(layouts, variants, "grp:alt_shift_toggle")
    wait_until(lambda: keyboard.group() == group or keyboard.chord(f"{ALT} {SHIFT}"), f"the layout {name}")


class ReadOnUs:
    """An application whose text is read back with keys: pressed on a layout that every application understands."""

    def __init__(self, editor):
        self.editor = editor
        self.select = editor.select
        self.close = editor.close

    def text(self):
        set_layouts("us")
        return self.editor.text()


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
        editor = matrix.open_editor(application, DOCUMENT, self.keyboard)
        return ReadOnUs(editor) if editor.save_keys else editor

    def press(self):
        self.product.process.settle()  # it may still take in the layout
        self.rewrite(SHORTCUT)

    def expect_state(self, name):
        wait_for(self.keyboard.group, KEYBOARDS[name][2])
        self.keyboard.expect_nothing_down()

    def check(self, application, names, replaced=True):
        with contextlib.closing(self.open(application)) as editor:
            self.check_each(application, editor, names, replaced)

    def check_each(self, application, editor, names, replaced=True):
        """One after another in the same document: each rewrites what the one before left."""
        selection = "some text"
        outcome = "pass" if replaced else "left on the clipboard"
        for number, name in enumerate(names):
            with self.subTest(application, keyboard=name), self.case(application, name, outcome=outcome):
                self.setUp()
                answer = f"{number} réponse 👍🏽 ответ"
                self.back_end.answer = lambda text, answer=answer: (200, {"text": answer})
                use(self.keyboard, name)
                editor.select("Control_L Home", "Down", "Shift_L End")
                if not replaced:
                    self.panel.hold()
                self.press()
                self.expect_request(selection)
                self.expect_pasted(answer)
                if not replaced:
                    self.expect_panel("Copied to clipboard")
                    self.panel.let_go()
                self.expect_state(name)
                selection = answer if replaced else selection
                self.expect_text(editor, FIRST + selection + LAST)

    def check_terminal(self, application, command, names, silent=()):
        """On a layout in `silent` nothing can be copied, and the program in the terminal notices nothing."""
        with contextlib.closing(Recorder(command, self.keyboard)) as terminal:
            for number, name in enumerate(names):
                outcome = "“Select some text first”" if name in silent else "answer at the cursor"
                with self.subTest(application, keyboard=name), self.case(application, name, outcome=outcome):
                    self.setUp()
                    answer = "" if name in silent else f"{number} réponse 👍🏽 ответ"
                    self.back_end.answer = lambda text, answer=answer: (200, {"text": answer})
                    before = terminal.received()
                    use(self.keyboard, name)
                    terminal.select_word()
                    if name in silent:
                        self.wait_for_no_panel()
                        self.panel.hold()
                    self.press()
                    self.expect_from_terminal(name in silent)
                    wait_for(terminal.received, before + answer)
                    self.expect_state(name)

    def expect_from_terminal(self, is_silent):
        if is_silent:
            self.expect_no_request(0.5)
            return
        self.back_end.expect_request()
        self.assertRegex(self.back_end.texts[0], "^selectable-words-all-over$")


class Matrix(KeyboardTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("chromium", "firefox-esr", "libreoffice-writer", "libreoffice-gtk3", "xfce4-terminal", "qterminal",
                       "emacs-gtk", "xdotool")
        super().setUpClass()

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
        self.check_terminal("xterm", ["xterm", "-e"], KEYBOARDS, silent=KEYBOARDS)

    def test_vte(self):
        self.check_terminal("Xfce Terminal (VTE)", ["xfce4-terminal", "--disable-server", "-x"], KEYBOARDS, WITHOUT_C)

    def test_qterminal(self):
        self.check_terminal("QTerminal (Qt)", ["qterminal", "-e"], KEYBOARDS, WITHOUT_C)

    def test_emacs(self):
        self.check("Emacs", KEYBOARDS, replaced=False)

    def check_browser(self, name, open_browser):
        with contextlib.closing(open_browser(self.keyboard)) as browser:
            self.check_each(f"{name}: textarea", browser.open("textarea", DOCUMENT), KEYBOARDS)

    def test_chromium(self):
        self.check_browser("Chromium", drivers.chromium)

    def test_firefox(self):
        self.check_browser("Firefox ESR", drivers.firefox)

    def test_writer(self):
        with contextlib.closing(ReadOnUs(drivers.Writer(DOCUMENT, self.keyboard))) as writer:
            self.check_each("LibreOffice Writer", writer, KEYBOARDS)


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
                self.back_end.hold()
                editor.select("Control_L Home", "Down", "Shift_L End")
                set_layouts(first)
                self.rewrite(SHORTCUT)
                self.back_end.expect_request()
                set_layouts(second)
                self.back_end.release()
                self.expect_completed()
                self.expect_text(editor, FIRST + answer + LAST)
                self.assertEqual(self.back_end.texts, [selection])
                selection = answer


class Display(unittest.TestCase):
    """What the user is shown of his layout, and a shortcut that he recorded on another one."""

    def setUp(self):
        self.keyboard = harness.Keyboard()
        self.back_end = harness.BackEnd()
        self.product = harness.Product({"endpoint.cloud": self.back_end.origin, "selectedProvider": "cloud"})
        self.product.start(environment=SEEN_FROM_OUTSIDE)
        self.reader = harness.ScreenReader()

    def tearDown(self):
        set_layouts("us")
        self.product.stop()
        self.keyboard.stop()
        self.back_end.stop()

    def press(self, name):
        self.reader.press("Quillmarsh", name)

    def open_shortcuts(self):
        subprocess.run([str(harness.PRODUCT)], capture_output=True, timeout=60, check=True)
        wait_until(lambda: harness.in_front("^Quillmarsh$"), "the settings window in front")
        self.press("Continue here for now")
        self.press("Shortcuts")

    def expect_keys(self, keys, role):
        def shown():
            try:
                return self.reader.find("Quillmarsh", "Formal", role).get_description()
            except (AttributeError, self.reader.gone) as missing:
                return missing

        wait_for(shown, keys)

    def test_recorded_on_one_layout_and_used_on_another(self):
        set_layouts("fr")
        self.open_shortcuts()
        self.press("Formal")
        self.press("Add Keyboard Shortcut")
        wait_until(lambda: self.reader.find("Quillmarsh", "Press your shortcut..."), "the recorder")
        self.product.process.settle()
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
        self.product.open_menu()
        self.expect_keys("⇧⌘Й", "menu item")
        self.keyboard.chord("Escape")
        wait_until(lambda: not harness.windows("^Quillmarsh menu$"), "the menu to close")

    def check_used(self):
        editor = harness.text_field("some text", self.keyboard)
        try:
            for layouts, variants in (("ru", ""), ("us", "dvorak")):
                set_layouts(layouts, variants)
                editor.select("Control_L Home", "Shift_L End")
                self.product.process.settle()
                before = self.product.completed()
                self.back_end.answer = lambda text, layouts=layouts: (200, {"text": layouts})
                self.keyboard.chord(f"{SHIFT} {SUPER} {KEY_Q}")
                wait_until(lambda before=before: self.product.completed() > before, "the rewrite to be completed")
                editor.expect(layouts)
        finally:
            editor.close()


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
