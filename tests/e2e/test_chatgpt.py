"""A ChatGPT account, end to end: sign in through the browser, choose the model, rewrite on the plan."""

import os
import pathlib
import threading
import time
import unittest

import harness
from harness import SHORTCUT, wait_until

UNDER_TEST = harness.BUILD / "bin" / "quillmarsh-under-test"


class CommandLines(threading.Thread):
    """Every command line that any program of this machine has had while the test ran."""

    def __init__(self):
        super().__init__(daemon=True)
        self.seen = set()
        self.ended = threading.Event()
        self.start()

    def run(self):
        while not self.ended.wait(0.002):
            for process in pathlib.Path("/proc").glob("[0-9]*"):
                try:
                    self.seen.add((process / "cmdline").read_bytes())
                except OSError:  # it has ended
                    continue

    def stop(self):
        self.ended.set()
        self.join()


class ChatGPTTest(unittest.TestCase):
    def setUp(self):
        self.command_lines = CommandLines()
        os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        self.servers = harness.FakeOpenAI()
        # It stays for a moment, so that its command line is seen.
        browser = pathlib.Path(os.environ["HOME"]) / "bin" / "xdg-open"
        browser.write_text('#!/bin/sh\ncurl -sL --max-time 20 "$1" >/dev/null 2>&1 &\nsleep 3\n')
        self.keyboard = harness.Keyboard()
        self.product = harness.Product({"selectedProvider": "openai", "openaiAuthMode": "chatgpt",
                                        "settingsSection": "AI connections"})

    def tearDown(self):
        self.product.stop()
        self.keyboard.stop()
        self.servers.stop()
        self.command_lines.stop()

    def sign_in(self):
        self.product.start(program=UNDER_TEST, environment=self.servers.environment)
        harness.subprocess.run([str(UNDER_TEST)], timeout=60, check=True, capture_output=True)
        wait_until(lambda: harness.windows("^Quillmarsh$"), "the settings window")
        reader = harness.ScreenReader()
        reader.press("Quillmarsh", "Continue here for now")
        reader.press("Quillmarsh", "Continue with ChatGPT")
        wait_until(lambda: reader.find("Quillmarsh", "one@example.com"), "the connected account")
        wait_until(lambda: reader.find("Quillmarsh", "Model 1"), "the first model")
        time.sleep(0.4)
        harness.screenshot("chatgpt-connected")

    def test_sign_in_and_rewrite(self):
        self.sign_in()
        editor = harness.text_field("please rewrite me", self.keyboard)
        try:
            editor.select_all()
            self.keyboard.chord(SHORTCUT)
            editor.expect("Rewritten on the plan.")
        finally:
            editor.close()
        self.assertEqual(self.servers.ask("violations"), [])
        self.assertEqual(self.product.stop(), 0)
        self.check_no_secret_outside_the_keyring()

    def check_no_secret_outside_the_keyring(self):
        secrets = [secret.encode() for secret in self.servers.ask("secrets") if len(secret) > 8]
        self.assertTrue(secrets)
        files = [self.product.log, *pathlib.Path(os.environ["HOME"]).rglob("*")]
        for file in filter(pathlib.Path.is_file, files):
            content = file.read_bytes()
            for secret in secrets:
                self.assertNotIn(secret, content, f"a secret in {file}")
        self.command_lines.stop()
        opened = [line for line in self.command_lines.seen if b"xdg-open\0http://127.0.0.1:" in line]
        self.assertEqual(len(opened), 1)
        for line in self.command_lines.seen:
            for secret in secrets:
                self.assertNotIn(secret, line)


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
