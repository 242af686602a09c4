"""The main job, end to end: select, press the shortcut, the text is rewritten in place."""

import json
import os
import pathlib
import time
import unittest

import harness
from harness import SHORTCUT, wait_until

CANARY = "canary-9f3b selection"
SEEN_FROM_OUTSIDE = {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"}
NOTHING_SELECTED = ("Select some text first", "Then press your shortcut again.")


class Panel:
    """The progress panel as a screen reader and the window list have it."""

    def __init__(self):
        self.reader = harness.ScreenReader()

    def is_shown(self):
        return bool(harness.windows("^Quillmarsh panel$"))

    def texts(self):
        try:
            return self.reader.texts("Quillmarsh", "Quillmarsh panel")
        except Exception:  # a node may go while it is looked at
            return set()

    def expect(self, *texts, limit=5.0):
        wait_until(lambda: set(texts) <= self.texts(), f"{texts} on the panel, which has {self.texts()}", limit)

    def dismiss(self):
        if self.is_shown():
            self.reader.press("Quillmarsh", "Dismiss")
            wait_until(lambda: not self.is_shown(), "the panel to leave")


class RewriteTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.back_end = harness.BackEnd()
        cls.keyboard = harness.Keyboard()
        cls.product = harness.Product({"endpoint.cloud": cls.back_end.origin, "selectedProvider": "cloud"})
        cls.product.start(environment=SEEN_FROM_OUTSIDE)
        cls.panel = Panel()

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
        self.panel.dismiss()

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
        self.panel.expect(*NOTHING_SELECTED)
        time.sleep(0.2)
        harness.screenshot("panel-nothing-selected")
        self.assertEqual(self.back_end.requests, [])
        self.assertEqual(self.editor.text(), "one two")

    def test_only_blanks_selected(self):
        self.editor = harness.text_field(" \n\t ", self.keyboard)
        self.editor.select_all()
        self.rewrite()
        self.panel.expect(*NOTHING_SELECTED)
        self.assertEqual(self.back_end.requests, [])

    def test_length_limit(self):
        self.editor = harness.text_field("👍🏽" * 10_001, self.keyboard)
        self.editor.select_all()
        self.rewrite()
        self.panel.expect("Couldn’t rewrite", "Selected text is too long (max 10,000 characters)")
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
        self.assertTrue(self.panel.is_shown())
        harness.screenshot("panel-working")
        self.rewrite()
        wait_until(lambda: not self.panel.is_shown(), "the panel to go", 0.5)
        time.sleep(1.3)
        self.assertEqual(self.editor.text(), "one two")
        self.assertFalse(self.panel.is_shown())
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

    def test_application_changes_before_sending(self):
        other = harness.mousepad("other", self.keyboard)
        self.editor = harness.text_field("one two", self.keyboard)
        try:
            self.editor.select_all()
            self.rewrite()
            harness.run("xdotool", "windowactivate", str(other.window))
            self.panel.expect("Selection changed", "Return to your text and try the shortcut again.")
            self.assertEqual(self.back_end.requests, [])
            self.assertEqual(self.editor.file.read_text(), "one two")
            self.assertEqual(other.text(), "other")
        finally:
            other.stop()

    def check_failure(self, answer, detail, shot=None):
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.back_end.answer = lambda text: answer
        self.rewrite()
        self.panel.expect("Couldn’t rewrite", detail)
        if shot:
            time.sleep(0.3)
            harness.screenshot(shot)
        self.assertEqual(self.editor.text(), "one two")
        self.assertEqual(len(self.back_end.requests), 1)

    def test_refused(self):
        self.check_failure((401, {"error": "No."}), "API error (401): No.")

    def test_limit(self):
        self.check_failure((429, {"error": "Come back at noon."}), "Come back at noon.", "panel-error")

    def test_server_error(self):
        self.check_failure((500, b"<html>"), "API error (500): Cloud AI is temporarily unavailable.")

    def test_garbage(self):
        self.check_failure((200, b"\xff\xfe garbage"), "Invalid response from AI service")

    def test_broken_utf8(self):
        self.check_failure((200, b'{"text":"\xc3\x28"}'), "Invalid response from AI service")

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
        self.panel.expect("Text rewritten")
        time.sleep(0.3)
        harness.screenshot("panel-success")
        wait_until(lambda: not self.panel.is_shown(), "the panel to leave", 4)


class HindranceTest(unittest.TestCase):
    """What stands in the way outside the selection and the answer."""

    def setUp(self):
        self.back_end = harness.BackEnd()
        self.keyboard = harness.Keyboard()
        self.product = None
        self.editor = None

    def tearDown(self):
        if self.editor:
            self.editor.stop()
        if self.product:
            self.assertEqual(self.product.stop(), 0, self.product.log_text())
        self.keyboard.stop()
        self.back_end.stop()

    def start(self, provider="cloud", wait_for="Event tap started"):
        self.product = harness.Product({"endpoint.cloud": self.back_end.origin, "selectedProvider": provider})
        self.product.start(wait_for=wait_for, environment=SEEN_FROM_OUTSIDE)

    def open_editor(self):
        self.keys = pathlib.Path(os.environ["HOME"]) / "hindrance-keys.log"
        self.keys.unlink(missing_ok=True)
        self.editor = harness.text_field("one two", self.keyboard, key_log=self.keys)
        self.editor.select_all()

    def copies(self):
        return self.keys.read_text().split().count("Ctrl+C")

    def check_rewrites(self):
        self.open_editor()
        self.keyboard.chord(SHORTCUT)
        wait_until(lambda: self.editor.file.read_text() == "ONE TWO", "the rewritten text")
        self.assertEqual(self.copies(), 1)

    def test_without_a_provider_nothing_is_copied(self):
        self.start(provider="claude")
        self.open_editor()
        self.keyboard.chord(SHORTCUT)
        Panel().expect("Connect your AI", "Connect ChatGPT or add your own API key.", "Settings")
        time.sleep(0.3)
        self.assertIn("Ctrl+A", self.keys.read_text())
        self.assertEqual(self.copies(), 0)
        self.assertEqual(self.editor.text(), "one two")

    def test_a_shortcut_of_another_program_is_told_and_had_once_it_is_free(self):
        self.keyboard.grab("r", True)
        self.start(wait_for="Another program owns a writing action's shortcut")
        self.assertNotIn("Event tap started", self.product.log_text())
        self.open_editor()
        self.keyboard.chord(SHORTCUT)
        time.sleep(0.3)
        self.assertEqual(self.copies(), 0)
        self.keyboard.grab("r", False)
        self.editor.stop()
        time.sleep(2.2)  # the next look at what was refused
        self.check_rewrites()

    def test_a_lost_connection_to_the_x_server_is_replaced(self):
        self.start()
        lines = harness.run("xwininfo", "-root", "-children").splitlines()
        ours = [line.split()[0] for line in lines if "1x1+-10+-10" in line]
        for window in ours:
            harness.run("xkill", "-id", window)
        wait_until(lambda: "Connected to the X server again" in self.product.log_text(), "the new connection")
        wait_until(lambda: "re-enabling" in self.product.log_text(), "the tap to be turned on again")
        self.check_rewrites()


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
