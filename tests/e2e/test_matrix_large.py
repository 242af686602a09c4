"""The matrix of real applications: the big ones, with the label "matrix"."""

import contextlib
import os
import pathlib
import unittest

import drivers
import harness
import matrix
from harness import wait_until
from matrix import DOCUMENT, FIRST, LAST, MIDDLE, NOTHING, REPLACED, SECRET


class Browsers(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("chromium", "firefox-esr", "gir1.2-webkit2-4.1", "falkon", "xclip", "xdotool")
        super().setUpClass()

    def check_browser(self, name, open_browser):
        with contextlib.closing(open_browser(self.keyboard)) as browser:
            for kind in ("textarea", "contenteditable"):
                self.check_editor(f"{name}: {kind}", lambda text, kind=kind: browser.open(kind, text))
            self.check_editor(f"{name}: code editor", lambda text: browser.open("code editor", text),
                              check_nothing=self.check_unselected_line)
            self.setUp()
            self.check_password(f"{name}: password", browser.open("password", SECRET), SECRET)

    def test_chromium(self):
        self.check_browser("Chromium", drivers.chromium)

    def test_firefox(self):
        self.check_browser("Firefox ESR", drivers.firefox)

    def test_webkit(self):
        self.check_browser("WebKitGTK", drivers.webkit)

    def test_qt_web_engine(self):
        self.check_browser("Falkon (Qt WebEngine)", drivers.falkon)


class CodeEditors(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("kate", "konsole-kpart", "vim-gtk3", "xclip")
        super().setUpClass()

    def test_kate(self):
        name = "Kate"
        self.check_editor(name, lambda text: matrix.open_editor(name, text, self.keyboard),
                          check_nothing=self.check_unselected_line)

    def test_kate_with_its_terminal_open(self):
        """Control-C would interrupt in its terminal. What tells it from one is its desktop entry."""

        def open_editor(text):
            editor = matrix.open_editor("Kate", text, self.keyboard)
            editor.select("F4")
            files = pathlib.Path(f"/proc/{editor.process.pid}/fd")
            wait_until(lambda: any(os.path.realpath(file).endswith("ptmx") for file in files.iterdir()), "its terminal")
            editor.settle()
            return editor

        self.check_mouse("Kate with its terminal open", open_editor)

    def test_gvim(self):
        """Control-C would end its mode, and what he types next would be commands: no key is pressed in it."""
        name, outcome = "gvim", "“Select some text first”"
        with contextlib.closing(matrix.open_editor(name, DOCUMENT, self.keyboard)) as editor:
            with self.case(name, REPLACED, outcome=outcome):
                editor.select("Shift_L v")
                self.rewrite_nothing()
                editor.select("d")
                self.expect_text(editor, MIDDLE + LAST)  # the line was still selected
                editor.select("Shift_L p")
            with self.case(name, NOTHING):
                editor.select("i")
                self.rewrite_nothing()
                editor.select("x", "Escape")
                self.expect_text(editor, "x" + DOCUMENT)


class Toolkits(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("default-jdk", "nedit", "xclip", "xdotool")
        super().setUpClass()

    def opener(self, name):
        return lambda text: matrix.open_editor(name, text, self.keyboard)

    def test_swing(self):
        for name in ("Java Swing text area", "Java Swing text pane"):
            self.check_editor(name, self.opener(name))
        name = "Java Swing password field"
        with contextlib.closing(self.opener(name)(SECRET)) as field:
            self.setUp()
            self.check_password(name, field, SECRET)

    def test_motif(self):
        """Control-C would be typed over the selection in some of its widgets."""
        self.check_editor_without_unicode("NEdit (Motif)", self.opener("NEdit (Motif)"))


class Office(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("libreoffice-writer", "libreoffice-gtk3", "xclip", "xdotool")
        super().setUpClass()

    def test_writer(self):
        name = "LibreOffice Writer"
        self.check_replaced(name, lambda text: drivers.Writer(text, self.keyboard))
        self.setUp()
        self.check_mouse(name, lambda text: drivers.Writer(text, self.keyboard), place=(640, 380))
        self.setUp()
        self.check_line_break(name, lambda text: drivers.Writer(text, self.keyboard),
                              after=FIRST.upper().rstrip() + MIDDLE + LAST,
                              outcome="dropped: Writer ignores a break at the end of pasted text")
        self.setUp()
        self.check_nothing(name, lambda text: drivers.Writer(text, self.keyboard))


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
