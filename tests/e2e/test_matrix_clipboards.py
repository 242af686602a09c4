"""Slow and greedy clipboards: what is pasted is the answer, or nothing is pasted."""

import contextlib
import os
import time
import unittest

import harness
import matrix
from harness import wait_until

TEXT = "words to rewrite"
ANSWER = TEXT.upper()


def trouble(*arguments):
    return [str(harness.BUILD / "bin" / "clipboard-trouble"), *arguments]


class Clipboards(matrix.MatrixTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("xclip", "parcellite", "diodon")
        super().setUpClass()

    def field(self, copy=0, answer=0):
        command = trouble("field", "{file}", str(copy), str(answer))
        return contextlib.closing(matrix.Editor(command, "Clipboard field", TEXT, self.keyboard))

    def plain_field(self):
        command = [str(harness.BUILD / "bin" / "text-field"), "{file}"]
        return contextlib.closing(matrix.Editor(command, "Text field", TEXT, self.keyboard))

    def check_rewritten(self, editor):
        self.rewrite()
        wait_until(lambda: self.back_end.requests, "the request", 4)
        self.assertEqual(self.back_end.texts, [TEXT])
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
        with self.field(answer=-1) as editor:
            self.rewrite()
            time.sleep(0.3)
            editor.close()
            self.expect_no_request(1.5)

    def test_another_program_takes_the_clipboard_before_the_paste(self):
        # Later than this is too close to the paste itself, 50 ms after the answer, to tell on a busy machine.
        for wait in (0, 5, 15, 25, 35):
            with self.subTest(wait=wait), self.plain_field() as editor:
                self.setUp()
                editor.select_all()
                self.back_end.delay = 1.5
                self.rewrite()
                wait_until(lambda: self.back_end.requests, "the request", 4)
                taker = harness.Process(trouble("taker", str(wait)))
                try:
                    wait_until(lambda: harness.clipboard() == "theirs", "the taker")
                    wait_until(lambda: editor.file.read_text() != TEXT, "the paste", 4)
                    time.sleep(0.3)
                    self.assertEqual(editor.text(), ANSWER)
                finally:
                    taker.stop()

    def check_manager(self, *command):
        manager = harness.Process(list(command))
        try:
            time.sleep(1.5)
            self.assertTrue(manager.is_running())
            with self.plain_field() as editor:
                for number in range(10):
                    self.back_end.requests.clear()
                    answer = f"{TEXT} {number}"
                    self.back_end.answer = lambda text, answer=answer: (200, {"text": answer})
                    editor.select_all()
                    self.rewrite()
                    self.expect_text(editor, answer)
                    wait_until(lambda answer=answer: harness.clipboard() == answer, "the answer on the clipboard")
                    time.sleep(0.3)
        finally:
            manager.stop()

    def test_parcellite(self):
        self.check_manager("parcellite")

    def test_diodon(self):
        self.check_manager("diodon")


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
