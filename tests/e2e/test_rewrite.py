"""The main job, end to end: select, press the shortcut, the text is rewritten in place."""

import contextlib
import json
import os
import pathlib
import time
import unittest

import harness
from harness import SEEN_FROM_OUTSIDE, SHORTCUT, wait_for, wait_until

CANARY = "canary-9f3b selection"
NOTHING_SELECTED = ("Select some text first", "Then press your shortcut again.")


class RewriteTest(harness.RunningProduct):
    @classmethod
    def tearDownClass(cls):
        super().tearDownClass()
        log = cls.product.log_text().lower()
        assert "warning" not in log, log
        assert "canary-9f3b" not in log, log

    def setUp(self):
        super().setUp()
        self.editor = None

    def tearDown(self):
        if self.editor:
            self.editor.close()
        super().tearDown()
        self.panel.dismiss()

    def check_replaces_selection(self, editor):
        self.editor = editor
        front = harness.active_window()
        editor.select("Control_L Home", "Down", "Shift_L End")
        self.completed = self.product.completed()
        self.keyboard.down("Shift_L Super_L r")
        self.back_end.expect_request()
        self.keyboard.up("r Super_L Shift_L")
        self.expect_completed()
        self.assertEqual(self.back_end.texts, [CANARY + " söme 👍🏽"])
        editor.expect("first\n" + CANARY.upper() + " SÖME 👍🏽\nthird\n")
        wait_for(harness.clipboard, CANARY.upper() + " SÖME 👍🏽")
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
        self.editor.expect("ONE TWO")
        path, headers, body = self.back_end.requests[0]
        self.assertEqual(len(self.back_end.requests), 1)
        self.assertEqual(path, "/api/rewrite")
        self.assertRegex(headers["Authorization"], r"^Bearer [A-Za-z0-9_-]{43}$")
        self.assertEqual(sorted(json.loads(body)), ["instruction", "text"])

    def test_nothing_selected(self):
        self.editor = harness.text_field("one two", self.keyboard)
        self.panel.hold()
        self.rewrite()
        self.panel.expect(*NOTHING_SELECTED)
        time.sleep(0.2)
        harness.screenshot("panel-nothing-selected")
        self.assertEqual(self.back_end.requests, [])
        self.assertEqual(self.editor.text(), "one two")

    def test_only_blanks_selected(self):
        self.editor = harness.text_field(" \n\t ", self.keyboard)
        self.editor.select_all()
        self.panel.hold()
        self.rewrite()
        self.panel.expect(*NOTHING_SELECTED)
        self.assertEqual(self.back_end.requests, [])

    def test_length_limit(self):
        self.editor = harness.text_field("👍🏽" * 10_001, self.keyboard)
        self.editor.select_all()
        self.panel.hold()
        self.rewrite()
        self.panel.expect("Couldn’t rewrite", "Selected text is too long (max 10,000 characters)")
        self.assertEqual(self.back_end.requests, [])
        self.editor.select("Control_L Home", "Delete", "Control_L a")
        self.rewrite()
        self.back_end.expect_request()
        self.assertEqual(self.back_end.texts, ["👍🏽" * 10_000])

    def test_second_press_cancels(self):
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.back_end.hold()
        self.rewrite()
        self.back_end.expect_request()
        wait_until(self.panel.is_shown, "the panel")
        harness.screenshot("panel-working")
        self.rewrite()
        self.panel.wait_until_gone()
        self.back_end.release()
        time.sleep(1.3)
        self.assertEqual(self.editor.text(), "one two")
        self.assertFalse(self.panel.is_shown())
        self.assertEqual(len(self.back_end.requests), 1)

    def test_second_press_with_the_modifiers_held_cancels(self):
        """The copy has lifted them: the letter alone would go over the selection."""
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.back_end.hold()
        self.keyboard.down("Shift_L Super_L")
        self.keyboard.chord("r")
        self.back_end.expect_request()
        self.keyboard.chord("r")
        self.panel.wait_until_gone()
        self.keyboard.up("Super_L Shift_L")
        self.back_end.release()
        time.sleep(1.3)
        self.assertEqual(self.editor.text(), "one two")
        self.keyboard.expect_nothing_down()
        self.editor.select("r")
        self.editor.expect("r")

    def test_window_changes_while_waiting(self):
        """To another one of the same program, where something else is selected."""
        beside = pathlib.Path(os.environ["HOME"]) / "beside"
        beside.write_text("precious words")
        field = [harness.BUILD / "bin" / "text-field", "{file}", "--beside", str(beside)]
        self.editor = harness.Editor(field, "Text field", "one two", self.keyboard)
        self.editor.select_all()
        self.back_end.hold()
        self.rewrite()
        self.back_end.expect_request()
        other = wait_until(lambda: harness.windows("Other field"), "the other window")[0]
        harness.run("xdotool", "windowactivate", other)
        wait_until(lambda: str(harness.active_window()) == other, "the other window in front")
        self.panel.hold()
        self.back_end.release()
        self.panel.expect("Copied to clipboard")
        self.assertEqual(harness.clipboard(), "ONE TWO")
        self.editor.settle()
        self.assertEqual((self.editor.text(), beside.read_text()), ("one two", "precious words"))

    def test_text_that_can_only_be_read(self):
        field = [harness.BUILD / "bin" / "text-field", "{file}", "--read-only"]
        self.editor = harness.Editor(field, "Text field", "one two", self.keyboard)
        self.editor.select_all()
        self.panel.hold()
        self.rewrite()
        self.panel.expect("Copied to clipboard")
        self.assertEqual(harness.clipboard(), "ONE TWO")
        self.assertEqual(self.editor.text(), "one two")

    def test_application_changes_while_waiting(self):
        first = harness.text_field("one two", self.keyboard)
        with contextlib.closing(first):
            first.select_all()
            self.back_end.hold()
            self.rewrite()
            self.back_end.expect_request()
            self.editor = harness.mousepad("other", self.keyboard)
            self.back_end.release()
            self.expect_completed()
            wait_for(harness.clipboard, "ONE TWO")
            time.sleep(0.3)
            self.assertEqual(first.text(), "one two")
            self.assertEqual(self.editor.text(), "other")

    def test_application_changes_before_sending(self):
        with contextlib.closing(harness.mousepad("other", self.keyboard)) as other:
            # The user turns to the other one before it has told what it copied.
            left = [harness.BUILD / "bin" / "clipboard-trouble", "left", "{file}", str(other.window)]
            self.editor = harness.Editor(left, "Clipboard field", "one two", self.keyboard)
            self.panel.hold()
            self.rewrite()
            self.panel.expect("Selection changed", "Return to your text and try the shortcut again.")
            self.assertEqual(self.back_end.requests, [])
            self.assertEqual(self.editor.text(), "one two")
            self.assertEqual(other.text(), "other")

    def check_failure(self, answer, detail, shot=None):
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.back_end.answer = lambda text: answer
        self.panel.hold()
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

        def keys():
            return log.read_text().replace("Shift+Meta", "Meta+Shift") if log.exists() else ""

        wait_until(lambda: "Meta+Shift+T" in keys(), "the first shortcut")
        wait_until(lambda: "Ctrl+Shift+R" in keys(), "the second shortcut")
        time.sleep(0.4)
        self.assertEqual(self.back_end.requests, [])

    def test_a_held_shortcut_fires_once(self):
        self.editor = harness.text_field("one two", self.keyboard)
        self.editor.select_all()
        self.keyboard.hold(2000, SHORTCUT)
        self.editor.expect("ONE TWO")
        time.sleep(0.5)
        self.assertEqual(len(self.back_end.requests), 1)

    def test_lock_keys(self):
        self.editor = harness.text_field("one two", self.keyboard)
        for locks in (["Caps_Lock"], ["Num_Lock"], ["Caps_Lock", "Num_Lock"]):
            for lock in locks:
                self.keyboard.chord(lock)
            self.editor.select_all()
            self.back_end.answer = lambda text, suffix=len(locks): (200, {"text": f"{text}{suffix}"})
            self.rewrite()
            self.expect_completed()
            for lock in locks:
                self.keyboard.chord(lock)
        self.editor.expect("one two112")

    def test_the_success_panel(self):
        self.editor = harness.mousepad("thanks for your help\n", self.keyboard)
        self.editor.select_all()
        self.panel.hold()
        self.rewrite()
        self.panel.expect("Text rewritten")
        time.sleep(0.3)
        harness.screenshot("panel-success")
        self.panel.wait_until_gone()


class HindranceTest(unittest.TestCase):
    """What stands in the way outside the selection and the answer."""

    def setUp(self):
        self.back_end = harness.BackEnd()
        self.keyboard = harness.Keyboard()
        self.product = None
        self.editor = None

    def tearDown(self):
        if self.editor:
            self.editor.close()
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
        """Of the keys that came, and one has: what was selected with."""
        wait_until(lambda: self.keys.exists() and "Ctrl+A" in self.keys.read_text(), "the keys")
        return self.keys.read_text().split().count("Ctrl+C")

    def check_rewrites(self):
        self.open_editor()
        self.keyboard.chord(SHORTCUT)
        self.editor.expect("ONE TWO")
        self.assertEqual(self.copies(), 1)

    def test_without_a_provider_nothing_is_copied(self):
        self.start(provider="claude")
        self.open_editor()
        panel = harness.Panel()
        panel.hold()
        self.keyboard.chord(SHORTCUT)
        panel.expect("Connect your AI", "Connect ChatGPT or add your own API key.", "Settings")
        time.sleep(0.3)
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
        self.back_end.answer = lambda text: (200, {"text": "rewritten"})
        wait_until(self.is_taken, "the product to take the shortcut")
        self.editor.expect("rewritten")
        self.assertEqual(self.copies(), 1)

    def is_taken(self):
        """Presses the shortcut; what the product does not take reaches the field."""
        self.editor.select_all()
        before = self.keys.read_text().count("+R\n")
        self.keyboard.chord(SHORTCUT)
        wait_until(lambda: self.back_end.requests or self.keys.read_text().count("+R\n") > before, "the shortcut")
        return self.back_end.requests

    def test_a_lost_connection_to_the_x_server_is_replaced(self):
        self.start()
        lines = harness.run("xwininfo", "-root", "-children").splitlines()
        ours = [line.split()[0] for line in lines if "1x1+-10+-10" in line]
        for window in ours:
            harness.run("xkill", "-id", window)
        self.product.expect_log("Connected to the X server again")
        self.product.expect_log("re-enabling")
        self.check_rewrites()


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
