"""What the matrix of real applications stands on: the cases, how applications are driven, and the table."""

import contextlib
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time

import harness
from harness import Editor, wait_for, wait_until

APPLICATIONS = pathlib.Path(__file__).with_name("applications")
FIRST, LAST = "first line\n", "\nlast line\n"
# Two lines: beyond the basic plane, combined, right to left, tabs inside and in front.
MIDDLE = "söme text 👍🏽 with 𝒳\n\tשלום עולם\ttab مرحبا end"
DOCUMENT = FIRST + MIDDLE + LAST
MINE = "what the user had on the clipboard"
SECRET = "hunter2 secret"
WORD = "selectableeverywhere"
WORDS = (" ".join([WORD] * 5) + "\n") * 24  # under the pointer wherever a text begins

REPLACED = "Selection replaced"
MOUSE = "With the mouse"
LINE_BREAK = "Line break kept"
UNDO = "One undo"
NOTHING = "Nothing selected"
INTERRUPT = "No interrupt"
NOT_RUN = "Lines not run"
PASSWORD = "Password not sent"
CASES = [REPLACED, MOUSE, LINE_BREAK, UNDO, NOTHING, INTERRUPT, NOT_RUN, PASSWORD]


class Table:
    """application × case, or the like, kept beside the build and printed as Markdown."""

    def __init__(self, name="matrix", columns=CASES, rows="Application"):
        self.file = harness.BUILD / f"{name}.json"
        self.columns = columns
        self.rows = rows
        self.failed = set()

    def record_failure(self, application, case, reason):
        """Stays, though the same case may pass elsewhere."""
        self.record(application, case, f"FAILS: {reason}")
        self.failed.add((application, case))

    def record(self, application, case, outcome):
        if (application, case) in self.failed:
            return
        cells = json.loads(self.file.read_text()) if self.file.exists() else {}
        cells.setdefault(application, {})[case] = outcome
        self.file.write_text(json.dumps(cells, indent=1))
        self.file.with_suffix(".md").write_text(self.markdown(cells))

    def markdown(self, cells):
        rows = [[self.rows, *self.columns], ["---"] * (len(self.columns) + 1)]
        rows += [[name, *(cells[name].get(case, "–") for case in self.columns)] for name in sorted(cells, key=str.lower)]
        return "".join(f"| {' | '.join(row)} |\n" for row in rows)


def require(*packages):
    """Installs what is missing of Debian's packages; only the administrator can."""
    query = ["dpkg-query", "-W", "-f=${db:Status-Abbrev}"]
    missing = [name for name in packages if b"ii" not in subprocess.run([*query, name], capture_output=True).stdout]
    if not missing:
        return
    if os.geteuid() != 0:
        raise RuntimeError(f"the matrix needs packages; as root: apt-get install {' '.join(missing)}")
    environment = {**os.environ, "DEBIAN_FRONTEND": "noninteractive"}
    subprocess.run(["apt-get", "update", "-qq"], stdout=subprocess.DEVNULL)
    command = ["apt-get", "install", "-y", "-qq", "--no-install-recommends", *missing]
    if subprocess.run(command, env=environment, stdout=subprocess.DEVNULL).returncode != 0:
        raise RuntimeError(f"apt-get could not install {' '.join(missing)}")


def set_clipboard(text):
    subprocess.run(["xclip", "-selection", "clipboard"], input=text.encode(), check=True,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wait_for(harness.clipboard, text)


def double_click(application, place=(200, 220)):
    """On the window in front, as a person selects a word."""
    x, y = map(str, place)
    application.settle()
    subprocess.run(["xdotool", "mousemove", "--window", str(harness.active_window()), x, y], check=True)
    application.settle()
    application.keyboard.double_click()
    application.settle()


class MatrixTest(harness.RunningProduct):
    @classmethod
    def setUpClass(cls):
        cls.table = Table()
        super().setUpClass()

    @contextlib.contextmanager
    def case(self, application, *cases, outcome="pass"):
        """Enters the outcome of the block in the table."""
        try:
            yield
        except Exception as error:
            reason = str(error).splitlines()[0].replace("|", "/")[:80]
            for case in cases:
                self.table.record_failure(application, case, reason)
            harness.screenshot(f"matrix-{application.replace(' ', '-')}-{cases[0].replace(' ', '-')}")
            raise
        for case in cases:
            self.table.record(application, case, outcome)

    def wait_for_no_panel(self):
        self.panel.wait_until_gone()

    def expect_request(self, text):
        wait_until(lambda: self.back_end.requests, lambda: f"the request\n{self.product.log_text()[-2000:]}")
        self.assertEqual(self.back_end.texts, [text])

    def expect_pasted(self, answer):
        """Not read back before: some are read through the clipboard, which the product still needs."""
        self.expect_completed()
        wait_for(harness.clipboard, answer)

    def expect_text(self, editor, text):
        wait_for(editor.text, text)

    def expect_panel(self, title):
        self.panel.expect(title)

    def rewrite_nothing(self, seconds=0.8):
        """The user is told that nothing is selected, and nothing is sent."""
        self.wait_for_no_panel()
        self.panel.hold()
        self.rewrite()
        self.expect_no_request(seconds)

    def expect_no_request(self, seconds):
        self.expect_panel("Select some text first")
        time.sleep(seconds)
        self.assertEqual(self.back_end.texts, [])

    def check_replaced(self, name, open_editor, undo="Control_L z"):
        with contextlib.closing(open_editor(DOCUMENT)) as editor:
            with self.case(name, REPLACED):
                editor.select("Control_L Home", "Down", "Shift_L Down", "Shift_L End")
                self.rewrite()
                self.expect_request(MIDDLE)
                self.expect_pasted(MIDDLE.upper())
                self.expect_text(editor, FIRST + MIDDLE.upper() + LAST)
            with self.case(name, UNDO):
                editor.select(undo)
                self.expect_text(editor, DOCUMENT)

    def check_mouse(self, name, open_editor, place=(200, 220)):
        with contextlib.closing(open_editor(WORDS)) as editor, self.case(name, MOUSE):
            double_click(editor, place)
            self.rewrite()
            self.expect_request(WORD)
            self.expect_pasted(WORD.upper())
            self.expect_one_word(editor)

    def expect_one_word(self, editor):
        """In capitals, and nothing else has changed."""

        def capitals():
            text = editor.text()
            return text.count(WORD.upper()), text.lower()

        wait_for(capitals, (1, WORDS))

    def check_line_break(self, name, open_editor, after=FIRST.upper() + MIDDLE + LAST, outcome="pass"):
        with contextlib.closing(open_editor(DOCUMENT)) as editor, self.case(name, LINE_BREAK, outcome=outcome):
            editor.select("Control_L Home", "Shift_L Down")
            self.rewrite()
            self.expect_request(FIRST)
            self.expect_pasted(FIRST.upper())
            self.expect_text(editor, after)

    def check_nothing(self, name, open_editor, clipboard=MINE, outcome="pass"):
        with contextlib.closing(open_editor(DOCUMENT)) as editor, self.case(name, NOTHING, outcome=outcome):
            set_clipboard(MINE)
            editor.select("Control_L Home", "Down", "End")
            self.rewrite_nothing()
            self.assertEqual(harness.clipboard(), clipboard)
            self.expect_text(editor, DOCUMENT)

    def check_password(self, name, field, password):
        with self.case(name, PASSWORD):
            set_clipboard(MINE)
            field.select("Control_L a")
            self.rewrite_nothing()
            self.assertEqual(harness.clipboard(), MINE)
            field.select("End", "x")  # it was that field, and all it holds is still there
            wait_for(field.read, password + "x")

    def check_unselected_line(self, name, open_editor):
        """The editor copies the line of the cursor when nothing is selected."""
        line = MIDDLE.splitlines(keepends=True)[0]
        outcome = "pass; the editor copies the line of the cursor to the clipboard"
        self.check_nothing(name, open_editor, clipboard=line, outcome=outcome)
        self.setUp()
        with contextlib.closing(open_editor(DOCUMENT)) as editor, self.case(name, NOTHING, outcome=outcome):
            # A line was selected, and is not any more.
            editor.select("Control_L Home", "Shift_L Down", "Right", "End")
            self.rewrite_nothing()
            self.assertEqual(harness.clipboard(), line)
            self.expect_text(editor, DOCUMENT)

    def check_left_on_clipboard(self, name, open_editor):
        """Where a paste would not replace the selection, nothing in the document changes."""
        outcome = "left on the clipboard"
        with contextlib.closing(open_editor(DOCUMENT)) as editor:
            with self.case(name, REPLACED, LINE_BREAK, outcome=outcome):
                editor.select("Control_L Home", "Down", "Shift_L Down", "Shift_L End")
                self.check_left(editor, DOCUMENT, MIDDLE)
        self.setUp()
        with contextlib.closing(open_editor(WORDS)) as editor, self.case(name, MOUSE, outcome=outcome):
            double_click(editor)
            self.check_left(editor, WORDS, WORD)

    def check_left(self, editor, text, selection):
        self.panel.hold()
        self.rewrite()
        self.expect_request(selection)
        self.expect_panel("Copied to clipboard")
        self.expect_pasted(selection.upper())
        self.expect_text(editor, text)
        self.wait_for_no_panel()

    def check_editor(self, name, open_editor, check_nothing=None, **options):
        """The cases every editor has to pass, each in a fresh one."""
        check_nothing = check_nothing or self.check_nothing
        self.check_each([(self.check_replaced, options), (self.check_mouse, {}), (self.check_line_break, {}),
                         (check_nothing, {})], name, open_editor)

    def check_editor_without_unicode(self, name, open_editor):
        self.check_each([(self.check_mouse, {}), (self.check_line_break, {}), (self.check_nothing, {})], name,
                        open_editor)

    def check_each(self, checks, name, open_editor):
        for check, arguments in checks:
            with self.subTest(check.__name__):
                self.setUp()
                check(name, open_editor, **arguments)


SAVE = ("Control_L s",)
# name: command, title of its window, keys that save
EDITORS = {
    "Emacs": (["emacs", "-Q", "{file}"], "{name}", ("Control_L x", "Control_L s")),
    "FeatherPad (Qt 5)": (["featherpad", "--standalone", "{file}"], "{name}", SAVE),
    "GTK 4 text view": ([sys.executable, str(APPLICATIONS / "gtk4-text.py"), "{file}"], "GTK 4 text", ()),
    "GTK 4 password entry": ([sys.executable, str(APPLICATIONS / "gtk4-text.py"), "{file}", "password"], "GTK 4 text",
                             ()),
    "gvim": (["gvim", "-f", "-u", "NONE", "{file}"], "{name}", ("Shift_L colon", "w", "Return")),
    "Java Swing password field": (["java", str(APPLICATIONS / "swing-text.java"), "{file}", "password"], "Swing text",
                                  ()),
    "Java Swing text area": (["java", str(APPLICATIONS / "swing-text.java"), "{file}"], "Swing text", ()),
    "Java Swing text pane": (["java", str(APPLICATIONS / "swing-text.java"), "{file}", "pane"], "Swing text", ()),
    "Kate": (["kate", "--new", "{file}"], "{name}", SAVE),
    "Motif text": ([str(harness.BUILD / "bin" / "motif-text"), "{file}"], "motif-text", ()),
    "mousepad (GTK 3)": (["mousepad", "--disable-server", "{file}"], "{name}", SAVE),
    "NEdit (Motif)": (["nedit", "{file}"], "{name}", SAVE),
    "Qt 6 password field": ([str(harness.BUILD / "bin" / "text-field"), "{file}", "--password"], "Text field", ()),
    "Qt 6 text field": ([str(harness.BUILD / "bin" / "text-field"), "{file}"], "Text field", ()),
    "Qt Quick text area": ([str(harness.BUILD / "bin" / "quick-text"), "{file}"], "Qt Quick text", ()),
    "Tk text": ([sys.executable, str(APPLICATIONS / "tk-text.py"), "{file}"], "Tk text", ()),
}


def open_editor(name, text, keyboard):
    command, title, save = EDITORS[name]
    return Editor(command, title, text, keyboard, save)


class Terminal:
    """A terminal with a program in it; the words in it are selected with the mouse."""

    def __init__(self, command, keyboard, program):
        self.keyboard = keyboard
        before = set(harness.windows(".*"))
        self.process = harness.Process([*command, *program])

        def opened():
            # The window manager may go on naming the window of a program that just ended.
            active = str(harness.active_window())
            return active in set(harness.windows(".*")) - before and int(active)

        self.window = wait_until(opened, f"a window of {command[0]}")

    def settle(self):
        self.process.settle()

    def select_word(self):
        double_click(self, (120, 150))

    def close(self):
        self.process.stop()
        wait_until(lambda: not harness.exists(self.window), "the window to go")


class Recorder(Terminal):
    """A terminal with a program in it that records what reaches it."""

    def __init__(self, command, keyboard):
        self.log = pathlib.Path(tempfile.mkdtemp(dir=os.environ["HOME"])) / "received"
        super().__init__(command, keyboard, [sys.executable, str(APPLICATIONS / "signal-recorder.py"), str(self.log)])
        wait_until(lambda: self.log.exists() and b"[ready]" in self.log.read_bytes(), "the program in the terminal")
        self.process.settle()

    def received(self):
        return self.log.read_bytes().removeprefix(b"[ready]").decode(errors="replace")
