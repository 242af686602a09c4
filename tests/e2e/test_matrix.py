"""The matrix of real applications: the light ones, in the everyday run."""

import contextlib
import os
import pathlib
import tempfile
import time
import unittest

import harness
import matrix
from harness import wait_for, wait_until
from matrix import DOCUMENT, INTERRUPT, MINE, MOUSE, NOT_RUN, NOTHING, REPLACED, Recorder, Terminal


class Editors(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("mousepad", "featherpad", "python3-gi", "gir1.2-gtk-4.0", "python3-tk", "emacs-gtk", "xclip")
        super().setUpClass()

    def opener(self, name):
        return lambda text: matrix.open_editor(name, text, self.keyboard)

    def check(self, name):
        self.check_editor(name, self.opener(name))

    def test_mousepad(self):
        self.check("mousepad (GTK 3)")

    def test_featherpad(self):
        self.check("FeatherPad (Qt 5)")

    def test_qt_widgets(self):
        self.check("Qt 6 text field")

    def test_qt_quick(self):
        self.check("Qt Quick text area")

    def test_gtk_4(self):
        self.check("GTK 4 text view")

    def test_motif(self):
        """It would type Control-C over the selection."""
        self.check_editor_without_unicode("Motif text", self.opener("Motif text"))

    def test_passwords(self):
        for name in ("GTK 4 password entry", "Qt 6 password field"):
            with self.subTest(name), contextlib.closing(self.opener(name)(matrix.SECRET)) as field:
                self.setUp()
                self.check_password(name, field, matrix.SECRET)

    def test_tk(self):
        """Its text widget pastes beside the selection."""
        name = "Tk text"
        self.check_left_on_clipboard(name, self.opener(name))
        self.setUp()
        self.check_nothing(name, self.opener(name))

    def test_emacs(self):
        """It pastes beside the text it copied; with no active region it copies its last one."""
        name = "Emacs"
        self.check_left_on_clipboard(name, self.opener(name))
        self.setUp()
        with contextlib.closing(self.opener(name)(DOCUMENT)) as editor:
            with self.case(name, NOTHING, outcome="pass; Emacs copies its last region to the clipboard"):
                # A region that was active, and is not any more. While Emacs is busy Control-G only interrupts it.
                editor.select("Control_L Home", "Down", "Shift_L End")
                editor.select("Control_L g")
                self.rewrite_nothing()
                self.expect_text(editor, DOCUMENT)


class Terminals(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("xterm", "xfce4-terminal", "qterminal", "dash", "xdotool", "xclip")
        super().setUpClass()

    def recorder(self, command):
        return contextlib.closing(Recorder(command, self.keyboard))

    def check_nothing(self, name, command, clipboard=MINE):
        with self.recorder(command) as terminal, self.case(name, NOTHING, INTERRUPT):
            matrix.set_clipboard(MINE)
            self.rewrite_nothing()
            wait_for(harness.clipboard, clipboard)
            self.assertEqual(terminal.received(), "")

    def check_word(self, name, command):
        outcome = "answer at the cursor"
        with self.recorder(command) as terminal, self.case(name, REPLACED, MOUSE, outcome=outcome):
            terminal.select_word()
            self.rewrite()
            self.back_end.expect_request()
            answer = self.back_end.texts[0].upper()
            self.assertIn("words", answer.lower())
            wait_for(terminal.received, answer)

    def check_not_run(self, name, command):
        folder = pathlib.Path(tempfile.mkdtemp(dir=os.environ["HOME"]))
        marker, ready = folder / "executed", folder / "ready"
        show = "for i in 1 2 3 4 5 6 7 8 9 10 11 12 13 14; do echo words-words-words-words-words; done"
        program = ["sh", "-c", f"{show}; : >{ready}; exec dash"]
        with contextlib.closing(Terminal(command, self.keyboard, program)) as terminal:
            wait_until(ready.exists, "the words in the terminal")
            with self.case(name, NOT_RUN, outcome="left on the clipboard"):
                self.back_end.answer = lambda text: (200, {"text": f"touch {marker}\nls\n"})
                terminal.select_word()
                self.panel.hold()
                self.rewrite()
                self.back_end.expect_request()
                self.expect_panel("Copied to clipboard")
                time.sleep(1)
                self.assertFalse(marker.exists())
                self.assertEqual(harness.clipboard(), f"touch {marker}\nls\n")

    def check_terminal(self, name, command):
        for check in (self.check_nothing, self.check_word, self.check_not_run):
            with self.subTest(check.__name__):
                self.setUp()
                check(name, command)

    def test_vte(self):
        name, command = "Xfce Terminal (VTE)", ["xfce4-terminal", "--disable-server", "-x"]
        # Its copy of no selection is an empty text.
        self.check_nothing(name, command, clipboard="")
        self.table.record(name, NOTHING, "pass; the terminal empties the clipboard")
        for check in (self.check_word, self.check_not_run):
            self.setUp()
            check(name, command)

    def test_qterminal(self):
        self.check_terminal("QTerminal (Qt)", ["qterminal", "-e"])

    def test_an_unknown_terminal(self):
        """Known by its pseudo-terminal, and no key is pressed in it: both Control-C and Control-Shift-C would
        interrupt its program."""
        command = [str(harness.BUILD / "bin" / "strange-terminal")]
        self.check_nothing("A terminal of unknown make", command)

    def test_an_editor_with_a_terminal_in_it(self):
        """Control-Insert copies in its editor, and is not an interrupt in its terminal."""
        self.install("strange-editor")
        command = [str(harness.BUILD / "bin" / "strange-terminal"), "--class", "Strange-editor"]
        with self.recorder(command) as terminal:
            self.rewrite_nothing()
            self.assertNotIn("SIGINT", terminal.received())

    def test_the_entry_of_an_editor_with_a_terminal_in_it(self):
        """Has another name than the window's class, which it claims."""
        command, title, save = matrix.EDITORS["Qt 6 text field"]
        with_terminal = ["sh", "-c", 'exec 9<>/dev/ptmx "$@"', "sh", *command]
        for is_known in (False, True):
            self.setUp()
            if is_known:
                self.install("org.example.Strange", "StartupWMClass=Text-Field\n")
            with contextlib.closing(harness.Editor(with_terminal, title, "words", self.keyboard, save)) as editor:
                editor.select_all()
                if not is_known:
                    self.rewrite_nothing()
                    editor.expect("words")
                    continue
                self.rewrite()
                self.expect_request("words")
                self.expect_pasted("WORDS")
                editor.expect("WORDS")

    def install(self, name, lines=""):
        entries = pathlib.Path(os.environ["XDG_DATA_HOME"]) / "applications"
        entries.mkdir(parents=True, exist_ok=True)
        (entries / f"{name}.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Strange editor\nCategories=Utility;TextEditor;\n{lines}")

    def test_xterm(self):
        """Copies to the primary selection only: no key is pressed in it at all."""
        name = "xterm"
        self.check_nothing(name, ["xterm", "-e"])
        self.setUp()
        with self.recorder(["xterm", "-e"]) as terminal:
            with self.case(name, REPLACED, MOUSE, NOT_RUN, INTERRUPT, outcome="“Select some text first”"):
                terminal.select_word()
                self.rewrite_nothing()
                self.assertEqual(terminal.received(), "")
        self.table.record(name, INTERRUPT, "pass")


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
