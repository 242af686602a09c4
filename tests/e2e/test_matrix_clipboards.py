"""Slow and greedy clipboards: what is pasted is the answer, or nothing is pasted."""

import contextlib
import os
import subprocess
import time
import unittest

import harness
import matrix
from harness import wait_for, wait_until

TEXT = "words to rewrite"
ANSWER = TEXT.upper()


def trouble(*arguments):
    return [str(harness.BUILD / "bin" / "clipboard-trouble"), *arguments]


class Clipboards(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("xclip", "parcellite", "diodon", "autocutsel", "mousepad", "featherpad", "gir1.2-gtk-4.0")
        super().setUpClass()

    def field(self, copy=0, answer=0, read=0, recopy=-1, text=TEXT):
        command = trouble("field", "{file}", str(copy), str(answer), str(read), str(recopy))
        return contextlib.closing(matrix.Editor(command, "Clipboard field", text, self.keyboard))

    def plain_field(self):
        command = [str(harness.BUILD / "bin" / "text-field"), "{file}"]
        return contextlib.closing(matrix.Editor(command, "Text field", TEXT, self.keyboard))

    def check_rewritten(self, editor):
        self.rewrite()
        self.expect_request(TEXT)
        self.expect_text(editor, ANSWER)

    def test_slow_answers(self):
        for delay in (0, 50, 150, 250):
            with self.subTest(delay=delay), self.field(answer=delay) as editor:
                self.setUp()
                self.check_rewritten(editor)

    def test_an_answer_that_comes_too_late(self):
        for delay in (2000, -1):
            with self.subTest(delay=delay), self.field(answer=delay) as editor:
                self.setUp()
                self.rewrite_nothing(3)
                self.assertEqual(editor.text(), TEXT)
        # The late answer is not taken for the next one.
        self.setUp()
        with self.field() as editor:
            self.check_rewritten(editor)

    def test_slow_copies(self):
        for delay in (50, 150):
            with self.subTest(delay=delay), self.field(copy=delay) as editor:
                self.setUp()
                self.check_rewritten(editor)

    def test_a_copy_that_comes_too_late(self):
        for delay in (400, 2000):
            with self.subTest(delay=delay), self.field(copy=delay) as editor:
                self.setUp()
                matrix.set_clipboard(matrix.MINE)
                self.rewrite_nothing(3)
                self.assertEqual(editor.text(), TEXT)

    def test_an_owner_that_dies(self):
        self.wait_for_no_panel()
        self.panel.hold()
        with self.field(answer=-1) as editor:
            self.rewrite()
            wait_until(lambda: harness.selection_owner("CLIPBOARD") == editor.window, "the copy")
            time.sleep(0.3)
            editor.close()
            self.expect_no_request(1.5)

    @contextlib.contextmanager
    def taker(self, wait):
        """Another program claims the clipboard while the answer is awaited, and again `wait` ms after it lost it."""
        self.back_end.hold()
        self.rewrite()
        self.back_end.expect_request()
        taker = harness.Process(trouble("taker", str(wait)))
        try:
            wait_for(harness.clipboard, "theirs")
            self.back_end.release()
            yield
        finally:
            taker.stop()

    def test_another_program_takes_the_clipboard_before_the_paste(self):
        # Later than this is too close to the paste itself, 50 ms after the answer, to tell on a busy machine.
        for wait in (0, 5, 15, 25, 35):
            with self.subTest(wait=wait), self.plain_field() as editor:
                self.setUp()
                editor.select_all()
                with self.taker(wait):
                    wait_until(lambda: editor.read() != TEXT, "the paste")
                    time.sleep(0.3)
                    self.assertEqual(editor.text(), ANSWER)

    def test_another_program_takes_the_clipboard_between_the_paste_key_and_the_reading(self):
        # The key comes 50 ms after the answer, the field reads 100 ms later; the taker comes in between.
        for wait in (70, 90, 110):
            with self.subTest(wait=wait), self.field(read=100) as editor:
                self.setUp()
                with self.taker(wait):
                    wait_until(lambda: editor.read() != TEXT, "the paste")
                    self.assertEqual(editor.text(), ANSWER)

    def test_what_the_user_copied_himself_is_left_alone(self):
        """He copies something in the application while the answer waits to be pasted: nothing is pasted."""
        for wait in (0, 10, 25):
            with self.subTest(wait=wait), self.field(recopy=wait) as editor:
                self.setUp()
                self.wait_for_no_panel()
                self.panel.hold()
                self.rewrite()
                self.back_end.expect_request()
                wait_for(harness.clipboard, "copied by the user")
                self.expect_panel("Another application is holding the clipboard. Please try again.")
                self.assertEqual(editor.text(), TEXT)
                self.assertEqual(harness.clipboard(), "copied by the user")

    def test_a_mebibyte_each_way(self):
        """In pieces both times; no more characters than the limit allows, as each has many accents."""
        text = ("e" + "\u0301" * 52) * 9_990
        self.assertGreater(len(text.encode()), 1 << 20)
        with self.field(text=text) as editor:
            self.rewrite()
            self.expect_request(text)
            self.expect_text(editor, text.upper())

    @contextlib.contextmanager
    def managers(self, *commands):
        managers = [harness.Process(command) for command in commands]
        try:
            time.sleep(1.5)
            for manager in managers:
                manager.settle()
            self.assertTrue(all(manager.is_running() for manager in managers))
            yield
        finally:
            for manager in managers:
                manager.stop()

    def rewrite_all(self, editor, answer):
        self.back_end.requests.clear()
        self.back_end.answer = lambda text: (200, {"text": answer})
        editor.select_all()
        self.rewrite()
        self.expect_pasted(answer)

    def check_managers(self, *commands):
        with self.managers(*commands), self.plain_field() as editor:
            for number in range(10):
                answer = f"{TEXT} {number}"
                self.rewrite_all(editor, answer)
                self.expect_text(editor, answer)
                time.sleep(0.3)

    def test_parcellite(self):
        self.check_managers(["parcellite"])

    def test_diodon(self):
        self.check_managers(["diodon"])

    def test_two_managers_at_once(self):
        self.check_managers(["parcellite"], ["diodon"])

    def test_a_manager_that_takes_over_every_copy(self):
        """At once, around the paste key, and so late that the copy is read before."""
        for wait in (0, 45, 260):
            with self.subTest(wait=wait):
                self.check_managers(trouble("keeper", str(wait)))

    def outcomes(self, name):
        """What becomes of the selection in rewrites one after another; never is the answer beside it."""
        outcomes = set()
        with contextlib.closing(matrix.open_editor(name, TEXT, self.keyboard)) as editor:
            for number in range(4):
                document = editor.text()
                before, answer = document.strip(), f"{TEXT} {number}"
                end = "\n" if document.endswith("\n") else ""  # some end the file with a line break, and select it
                self.rewrite_all(editor, answer + end)
                time.sleep(1.2)  # the slowest has mirrored this answer before the next selection, which it would end
                text = editor.text().strip()
                self.assertIn(text, (before, answer))
                outcomes.add("replaced" if text == answer else "left")
        return outcomes

    def test_a_manager_that_mirrors_the_clipboard_in_the_primary_selection(self):
        """GTK unselects what is no longer the primary selection; the answer then waits on the clipboard."""
        subprocess.run(["gsettings", "set", "net.launchpad.Diodon.clipboard", "synchronize-clipboards", "true"],
                       check=True)
        self.addCleanup(subprocess.run, ["gsettings", "reset", "net.launchpad.Diodon.clipboard",
                                         "synchronize-clipboards"])
        expected = {"mousepad (GTK 3)": "left", "GTK 4 text view": "left", "FeatherPad (Qt 5)": "replaced",
                    "Qt 6 text field": "replaced"}
        with self.managers(["diodon"]):
            for name, outcome in expected.items():
                with self.subTest(name):
                    self.assertEqual(self.outcomes(name), {outcome})

    def test_two_programs_that_mirror_the_selections_in_turn(self):
        """They look twice a second: where the clipboard is mirrored before the paste depends on the moment."""
        with self.managers(["autocutsel", "-selection", "CLIPBOARD"], ["autocutsel", "-selection", "PRIMARY"]):
            for name in ("mousepad (GTK 3)", "GTK 4 text view"):
                with self.subTest(name):
                    self.outcomes(name)
            self.assertEqual(self.outcomes("FeatherPad (Qt 5)"), {"replaced"})


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
