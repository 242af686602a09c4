"""The main job, end to end: select, press the shortcut, the text is rewritten in place."""

import json
import os
import pathlib
import time
import unittest

import harness
from harness import SHORTCUT, wait_until

CANARY = "canary-9f3b selection"


class RewriteTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.back_end = harness.BackEnd()
        cls.keyboard = harness.Keyboard()
        cls.product = harness.Product({"endpoint.cloud": cls.back_end.origin, "selectedProvider": "cloud"}).start()

    @classmethod
    def tearDownClass(cls):
        try:
            status = cls.product.stop()
            log = cls.product.log_text()
            assert status == 0, f"the product ended with {status}\n{log}"
            assert "warning" not in log.lower(), log
            assert "canary-9f3b" not in log.lower(), log
        finally:
            cls.keyboard.stop()
            cls.back_end.stop()

    def setUp(self):
        self.back_end.requests.clear()
        self.back_end.answer = lambda text: (200, {"text": text.upper()})
        self.back_end.delay = 0.0
        self.back_end.mute = False
        self.editor = None

    def tearDown(self):
        if self.editor:
            self.editor.stop()
        self.assertTrue(self.keyboard.nothing_is_down(), self.keyboard.state())
        self.wait_idle()

    def wait_idle(self):
        time.sleep(0.1)

    def panel_is_shown(self):
        return bool(harness.windows("^Quillmarsh panel$"))

    def rewrite(self, keys=SHORTCUT):
        self.keyboard.chord(keys)

    def expect_file(self, text):
        wait_until(lambda: self.editor.file.read_text() == text, f"the text to become {text!r}")

    def check_replaces_selection(self, editor):
        self.editor = editor
        front = harness.active_window()
        editor.select("Control_L Home", "Down", "Shift_L End")
        self.keyboard.down("Shift_L Super_L r")
        wait_until(lambda: self.back_end.requests, "the request")
        self.keyboard.up("r Super_L Shift_L")
        time.sleep(0.5)
        self.assertEqual(self.back_end.texts, [CANARY + " söme 👍🏽"])
        self.assertEqual(editor.text(), "first\n" + CANARY.upper() + " SÖME 👍🏽\nthird\n")
        self.assertEqual(harness.clipboard(), CANARY.upper() + " SÖME 👍🏽")
        self.assertEqual(harness.active_window(), front)

    def document(self):
        return "first\n" + CANARY + " söme 👍🏽\nthird\n"

    def test_mousepad(self):
        self.check_replaces_selection(harness.mousepad(self.document(), self.keyboard))

    def test_featherpad(self):
        self.check_replaces_selection(harness.featherpad(self.document(), self.keyboard))

    def test_text_field(self):
        self.check_replaces_selection(harness.text_field(self.document(), self.keyboard))

    def test_one_request_names_the_installation(self):
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.rewrite()
        self.expect_file("ONE TWO")
        path, headers, body = self.back_end.requests[0]
        self.assertEqual(len(self.back_end.requests), 1)
        self.assertEqual(path, "/api/rewrite")
        self.assertRegex(headers["Authorization"], r"^Bearer [A-Za-z0-9_-]{43}$")
        self.assertEqual(sorted(json.loads(body)), ["instruction", "text"])

    def test_nothing_selected(self):
        self.editor = harness.text_field("one two", self.keyboard)
        self.rewrite()
        wait_until(self.panel_is_shown, "the panel")
        time.sleep(0.5)
        harness.screenshot("panel-nothing-selected")
        self.assertEqual(self.back_end.requests, [])
        self.assertEqual(self.editor.text(), "one two")

    def test_only_blanks_selected(self):
        self.editor = harness.text_field(" \n\t ", self.keyboard)
        self.editor.select_all()
        self.rewrite()
        time.sleep(0.6)
        self.assertEqual(self.back_end.requests, [])

    def test_length_limit(self):
        self.editor = harness.text_field("👍🏽" * 10_001, self.keyboard)
        self.editor.select_all()
        self.rewrite()
        time.sleep(0.8)
        self.assertEqual(self.back_end.requests, [])
        self.editor.select("Control_L Home", "Delete", "Control_L a")
        self.rewrite()
        wait_until(lambda: self.back_end.requests, "the request")
        self.assertEqual(self.back_end.texts, ["👍🏽" * 10_000])

    def test_second_press_cancels(self):
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.back_end.delay = 1.0
        self.rewrite()
        wait_until(lambda: self.back_end.requests, "the request")
        self.assertTrue(self.panel_is_shown())
        harness.screenshot("panel-working")
        self.rewrite()
        wait_until(lambda: not self.panel_is_shown(), "the panel to go", 0.5)
        time.sleep(1.3)
        self.assertEqual(self.editor.text(), "one two")
        self.assertFalse(self.panel_is_shown())
        self.assertEqual(len(self.back_end.requests), 1)

    def test_application_changes_while_waiting(self):
        first = harness.text_field("one two", self.keyboard)
        first.select_all()
        self.back_end.delay = 2.5
        self.rewrite()
        wait_until(lambda: self.back_end.requests, "the request")
        self.editor = harness.mousepad("other", self.keyboard)
        try:
            wait_until(lambda: harness.clipboard() == "ONE TWO", "the result on the clipboard")
            time.sleep(0.3)
            self.assertEqual(first.file.read_text(), "one two")
            self.assertEqual(self.editor.text(), "other")
        finally:
            first.stop()

    def check_failure(self, answer, shot=None):
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.back_end.answer = lambda text: answer
        self.rewrite()
        wait_until(lambda: self.back_end.requests, "the request")
        time.sleep(0.5)
        self.assertTrue(self.panel_is_shown())
        if shot:
            harness.screenshot(shot)
        self.assertEqual(self.editor.text(), "one two")
        self.assertEqual(len(self.back_end.requests), 1)

    def test_refused(self):
        self.check_failure((401, {"error": "No."}))

    def test_limit(self):
        self.check_failure((429, {"error": "Come back at noon."}), "panel-error")

    def test_server_error(self):
        self.check_failure((500, b"<html>"))

    def test_garbage(self):
        self.check_failure((200, b"\xff\xfe garbage"))

    def test_broken_utf8(self):
        self.check_failure((200, b'{"text":"\xc3\x28"}'))

    def test_an_unregistered_shortcut_reaches_the_editor(self):
        log = pathlib.Path(os.environ["HOME"]) / "keys.log"
        self.editor = harness.text_field("one two", self.keyboard, key_log=log)
        self.editor.select_all()
        self.rewrite("Shift_L Super_L t")
        self.rewrite("Control_L Shift_L r")
        time.sleep(0.4)
        self.assertIn("Meta+Shift+T", log.read_text().replace("Shift+Meta", "Meta+Shift"))
        self.assertIn("Ctrl+Shift+R", log.read_text())
        self.assertEqual(self.back_end.requests, [])

    def test_a_held_shortcut_fires_once(self):
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.keyboard.hold(2000, SHORTCUT)
        time.sleep(0.5)
        self.assertEqual(len(self.back_end.requests), 1)
        self.expect_file("ONE TWO")

    def test_lock_keys(self):
        self.editor = harness.text_field("one two", self.keyboard)
        for locks in (["Caps_Lock"], ["Num_Lock"], ["Caps_Lock", "Num_Lock"]):
            for lock in locks:
                self.keyboard.chord(lock)
            self.editor.select_all()
            self.back_end.answer = lambda text, suffix=len(locks): (200, {"text": f"{text}{suffix}"})
            before = len(self.back_end.requests)
            self.rewrite()
            wait_until(lambda: len(self.back_end.requests) > before, f"the request with {locks}")
            time.sleep(0.4)
            for lock in locks:
                self.keyboard.chord(lock)
        self.assertEqual(self.editor.text(), "one two112")

    def test_the_success_panel(self):
        self.editor = harness.mousepad("thanks for your help\n", self.keyboard)
        self.editor.select_all()
        self.rewrite()
        wait_until(lambda: self.back_end.requests, "the request")
        time.sleep(0.5)
        harness.screenshot("panel-success")
        wait_until(lambda: not self.panel_is_shown(), "the panel to leave", 4)


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
