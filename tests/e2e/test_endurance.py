"""Many rewrites in a row, and how long each takes from the key press to the paste.

    test_endurance.py Everyday    50 rewrites
    test_endurance.py Thousand    1,000 rewrites in three applications, without one wrong paste
    test_endurance.py Timing      30 in each application, beside a script of xdotool and xclip; timing.md
"""

import contextlib
import os
import pathlib
import re
import statistics
import subprocess
import threading
import time
import unittest

import drivers
import harness
import matrix
from harness import SHORTCUT, wait_for, wait_until

HERE = pathlib.Path(__file__).parent
SCRIPT = HERE.parents[1] / "bench" / "latency" / "script-baseline.sh"
FIRST, LAST = "first line\n", "\nlast line\n"
RUNS = int(os.environ.get("QUILLMARSH_RUNS", "30"))
REWRITES = int(os.environ.get("QUILLMARSH_REWRITES", "1000"))
KEY_V = 55  # the position, on the layout of the tests


class EnduranceTest(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("mousepad", "featherpad", "python3-gi", "gir1.2-gtk-4.0", "xclip")
        super().setUpClass()

    def opener(self, name):
        return lambda text: matrix.open_editor(name, text, self.keyboard)

    def repeat(self, editor, count):
        """Each rewrite takes what the one before left, so that a single wrong one shows."""
        selection = "some text"
        for number in range(count):
            answer = f"answer {number} 👍🏽"
            self.back_end.requests.clear()
            self.back_end.answer = lambda text, answer=answer: (200, {"text": answer})
            editor.select("Control_L Home", "Down", "Shift_L End")
            self.rewrite()
            self.expect_request(selection)
            self.expect_completed()
            wait_for(editor.read, FIRST + answer + LAST)
            self.assertEqual(harness.clipboard(), answer)
            self.keyboard.expect_nothing_down()
            selection = answer


class Everyday(EnduranceTest):
    def test_fifty_rewrites(self):
        with contextlib.closing(self.opener("Qt 6 text field")(FIRST + "some text" + LAST)) as editor:
            self.repeat(editor, 50)


class Thousand(EnduranceTest):
    """In applications whose text is seen at once, without a key of ours in between."""

    def check(self, application, count):
        with contextlib.closing(self.opener(application)(FIRST + "some text" + LAST)) as editor:
            self.repeat(editor, count)

    def test_qt_6(self):
        self.check("Qt 6 text field", REWRITES * 2 // 5)

    def test_gtk_4(self):
        self.check("GTK 4 text view", REWRITES * 2 // 5)

    def test_qt_quick(self):
        self.check("Qt Quick text area", REWRITES // 5)


class PasteKeys:
    """Notes when the paste key goes out of the XTEST keyboard, whoever injects it."""

    def __init__(self):
        self.last = 0.0
        self.process = subprocess.Popen(["xinput", "test-xi2", "--root"], stdout=subprocess.PIPE, text=True)
        self.xtest = re.search(r"XTEST keyboard\s+id=(\d+)", harness.run("xinput", "list")).group(1)
        self.reader = threading.Thread(target=self.read)
        self.reader.start()
        time.sleep(0.3)

    def read(self):
        event = device = ""
        for line in self.process.stdout:
            if line.startswith("EVENT"):
                event = line
            elif "device:" in line:
                device = line
            elif f"detail: {KEY_V}" in line and "RawKeyPress" in event and f"({self.xtest})" in device:
                self.last = time.monotonic()

    def stop(self):
        self.process.terminate()
        self.reader.join()
        self.process.communicate(timeout=20)


class Line:
    """The second line of an editor's document, which the answer replaces."""

    def __init__(self, editor):
        self.editor = editor
        self.close = editor.close

    def select(self):
        self.editor.select("Control_L Home", "Down", "Shift_L End")

    def holds(self, answer):
        return self.editor.text().rstrip("\n") == (FIRST + answer + LAST).rstrip("\n")


class Word:
    """A word in a terminal; the answer comes to the program in it, and nothing else does."""

    def __init__(self, terminal):
        self.terminal = terminal
        self.close = terminal.close
        self.before = ""

    def select(self):
        self.before = self.terminal.received()
        self.terminal.select_word()

    def holds(self, answer):
        return self.terminal.received() == self.before + answer


class Timing(EnduranceTest):
    """Key press → paste key, of the product and of a script with the same fixed waits."""

    @classmethod
    def setUpClass(cls):
        matrix.require("xdotool", "xinput", "curl", "chromium", "firefox-esr", "libreoffice-writer", "libreoffice-gtk3",
                       "kate", "qterminal", "xfce4-terminal")
        super().setUpClass()
        cls.table = matrix.Table("timing", ["Ours (median / p95 / most)", "Wrong, ours", "The script", "Wrong, the script’s"])
        cls.keys = PasteKeys()

    @classmethod
    def tearDownClass(cls):
        cls.keys.stop()
        super().tearDownClass()

    def run_script(self):
        environment = {**os.environ, "QUILLMARSH_BACK_END": self.back_end.origin}
        return subprocess.Popen([str(SCRIPT)], env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def one(self, document, begin, answer):
        """Milliseconds to the paste key, and whether the text is right afterwards."""
        self.back_end.requests.clear()
        # Without a blank in it, as the script reads it with sed.
        self.back_end.answer = lambda text: (200, f'{{"text":"{answer}"}}'.encode())
        document.select()
        began = time.monotonic()
        started = begin()
        try:
            wait_until(lambda: self.keys.last > began, "the paste key", 4)
        except AssertionError:
            return None, False
        milliseconds = (self.keys.last - began) * 1000
        time.sleep(0.3)
        if started:
            started.wait(5)
        return milliseconds, document.holds(answer)

    def series(self, open_document, begin):
        times, wrong = [], 0
        with contextlib.closing(open_document()) as document:
            for number in range(RUNS):
                milliseconds, right = self.one(document, begin, f"answer {number}")
                wrong += not right
                if milliseconds:
                    times.append(milliseconds)
        if not times:
            return "–", wrong
        p95 = sorted(times)[round(0.95 * (len(times) - 1))]
        return f"{statistics.median(times):.0f} / {p95:.0f} / {max(times):.0f} ms", wrong

    def check(self, name, open_editor):
        self.check_document(name, lambda: Line(open_editor(FIRST + "some text" + LAST)))

    def check_document(self, name, open_document):
        theirs, theirs_wrong = self.series(open_document, self.run_script)
        ours, wrong = self.series(open_document, lambda: self.keyboard.chord(SHORTCUT))
        for column, value in zip(self.table.columns, (ours, wrong, theirs, theirs_wrong)):
            self.table.record(name, column, str(value))
        self.assertEqual(wrong, 0)

    def test_editors(self):
        for name in ("FeatherPad (Qt 5)", "GTK 4 text view", "Kate", "mousepad (GTK 3)", "Qt 6 text field",
                     "Qt Quick text area"):
            with self.subTest(name):
                self.check(name, self.opener(name))

    def test_terminals(self):
        for name, command in (("QTerminal (Qt)", ["qterminal", "-e"]),
                              ("Xfce Terminal (VTE)", ["xfce4-terminal", "--disable-server", "-x"])):
            with self.subTest(name):
                self.check_document(name, lambda command=command: Word(matrix.Recorder(command, self.keyboard)))

    def check_browser(self, name, open_browser):
        with contextlib.closing(open_browser(self.keyboard)) as browser:
            for kind in ("textarea", "contenteditable"):
                with self.subTest(kind):
                    self.check(f"{name}: {kind}", lambda text, kind=kind: browser.open(kind, text))

    def test_chromium(self):
        self.check_browser("Chromium", drivers.chromium)

    def test_firefox(self):
        self.check_browser("Firefox ESR", drivers.firefox)

    def test_writer(self):
        self.check("LibreOffice Writer", lambda text: drivers.Writer(text, self.keyboard))


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
