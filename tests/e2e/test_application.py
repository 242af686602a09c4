"""The application itself: one instance, status bar, menu, settings, settings files that cannot be read."""

import json
import os
import subprocess
import time
import unittest

import harness
from harness import SEEN_FROM_OUTSIDE, wait_until


class ApplicationTest(unittest.TestCase):
    def setUp(self):
        self.keyboard = harness.Keyboard()
        self.products = []

    def tearDown(self):
        for product in self.products:
            product.stop()
        self.keyboard.stop()

    def product(self, settings=None):
        product = harness.Product(settings or {"selectedProvider": "cloud"})
        self.products.append(product)
        return product

    def test_a_second_start_opens_the_settings_of_the_first(self):
        first = self.product().start()
        second = subprocess.run([str(harness.PRODUCT)], capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(second.returncode, 0)
        self.assertIn("already runs", second.stderr)
        wait_until(lambda: harness.windows("^Quillmarsh$"), "the settings window")
        self.assertTrue(first.process.is_running())
        time.sleep(0.7)
        harness.screenshot("settings-second-start")
        self.assertEqual(first.stop(), 0)

    def test_the_first_start_opens_the_guide(self):
        product = self.product({"hasSeenModernOnboarding": "false"}).start()
        wait_until(lambda: harness.windows("^Quillmarsh$"), "the settings window")
        time.sleep(0.7)
        harness.screenshot("first-start")
        self.assertEqual(product.stop(), 0)
        self.assertNotIn("warning", product.log_text().lower())

    def test_without_a_status_bar_the_guide_comes_forward_once(self):
        product = self.product({"hasSeenModernOnboarding": "false"})
        product.start(bar=False)
        wait_until(lambda: harness.in_front("^Quillmarsh$"), "the settings window in front")
        editor = harness.text_field("one two", self.keyboard)
        try:
            end = time.monotonic() + 4  # the status bar is given up after three seconds
            while time.monotonic() < end:
                self.assertEqual(harness.active_window(), editor.window)
                time.sleep(0.05)
        finally:
            editor.close()
        self.assertEqual(product.stop(), 0)

    def test_the_icon_opens_the_menu(self):
        product = self.product().start()
        wait_until(product.status_icon, "the status icon in the bar")
        harness.screenshot("status-bar")
        product.open_menu()
        time.sleep(0.4)
        harness.screenshot("menu")
        state = harness.run("xprop", "-name", "Quillmarsh menu", "_NET_WM_STATE")
        self.assertIn("_NET_WM_STATE_SKIP_TASKBAR", state)
        self.assertIn("_NET_WM_STATE_SKIP_PAGER", state)
        self.keyboard.chord("Escape")
        wait_until(lambda: not harness.windows("^Quillmarsh menu$"), "the menu to close")
        self.assertEqual(product.stop(), 0)
        self.assertNotIn("warning", product.log_text().lower())

    def test_a_right_click_lists_the_commands(self):
        product = self.product().start()
        product.click_status_icon(3)
        wait_until(lambda: harness.windows("^Quillmarsh commands$"), "the commands")
        product.process.settle()
        harness.screenshot("commands")
        for key in ("Up", "Up", "Return"):  # from below, as a first command that is just disabled may be skipped
            self.keyboard.chord(key)
        wait_until(lambda: harness.windows("^Quillmarsh$"), "the settings window")
        wait_until(lambda: not harness.windows("^Quillmarsh commands$"), "the commands to go")
        self.assertEqual(product.stop(), 0)
        self.assertNotIn("warning", product.log_text().lower())

    def test_a_custom_instruction_goes_to_the_application_in_front(self):
        back_end = harness.BackEnd()
        product = self.product({"selectedProvider": "cloud", "endpoint.cloud": back_end.origin})
        product.start(environment=SEEN_FROM_OUTSIDE)
        editor = harness.text_field("one two", self.keyboard)
        try:
            editor.select_all()
            product.open_menu()
            harness.ScreenReader().press("Quillmarsh", "Custom instruction…")
            product.process.settle()
            subprocess.run(["xdotool", "type", "--delay", "20", " make it loud "], check=True)
            product.process.settle()
            harness.screenshot("menu-custom-instruction")
            self.keyboard.chord("Return")
            editor.expect("ONE TWO")
            self.assertEqual(json.loads(back_end.requests[0][2]), {"text": "one two", "instruction": "make it loud"})
            self.assertEqual(harness.active_window(), editor.window)
        finally:
            editor.close()
            back_end.stop()
        self.assertEqual(product.stop(), 0)

    def test_without_a_key_nothing_is_copied(self):
        product = self.product({"selectedProvider": "claude"}).start()
        editor = harness.text_field("one two", self.keyboard)
        try:
            editor.select_all()
            before = harness.clipboard()
            self.keyboard.chord(harness.SHORTCUT)
            wait_until(lambda: harness.windows("^Quillmarsh panel$"), "the panel")
            time.sleep(0.5)
            harness.screenshot("panel-no-provider")
            self.assertEqual(harness.clipboard(), before)
            self.assertEqual(editor.text(), "one two")
        finally:
            editor.close()
        self.assertEqual(product.stop(), 0)

    def test_unreadable_settings(self):
        product = self.product()
        garbage = b"[General\nselectedProvider=who\nfoo\x00\xff\n"
        product.defaults.write_bytes(garbage)
        product.start()
        product.expect_log("settings file could not be read")
        kept = list(product.defaults.parent.glob("defaults.unreadable-*.ini"))
        self.assertEqual([file.read_bytes() for file in kept], [garbage])

    def test_unreadable_writing_actions(self):
        product = self.product({"instructionShortcuts": "@ByteArray([{broken)", "selectedProvider": "Mistral"})
        product.start(wait_for="Ignoring the stored writing actions")
        product.expect_log("Ignoring the stored provider")
        time.sleep(1)
        self.assertTrue(product.process.is_running())
        self.assertEqual(product.stop(), 0)
        self.assertIn("{broken", product.defaults.read_text())

    def test_it_ends_in_order_when_told_to(self):
        """And soon: within three seconds, or on a slow machine within the time that its start took."""
        product = self.product()
        began = time.monotonic()
        product.start()
        started = time.monotonic()
        self.assertEqual(product.stop(), 0)
        self.assertLess(time.monotonic() - started, max(3, started - began))
        self.assertIn("Event tap stopped", product.log_text())


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
