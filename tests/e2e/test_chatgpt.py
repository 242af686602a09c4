"""A ChatGPT account, end to end: sign in through the browser, choose the model, rewrite on the plan."""

import os
import pathlib
import time
import unittest

import harness
from harness import SHORTCUT, wait_until

UNDER_TEST = harness.BUILD / "bin" / "quillmarsh-under-test"


class ChatGPTTest(unittest.TestCase):
    def setUp(self):
        os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
        self.servers = harness.FakeOpenAI()
        self.keyboard = harness.Keyboard()
        self.product = harness.Product({"selectedProvider": "openai", "openaiAuthMode": "chatgpt",
                                        "settingsSection": "AI connections"})

    def tearDown(self):
        self.product.stop()
        self.keyboard.stop()
        self.servers.stop()

    def sign_in(self):
        self.product.start(program=UNDER_TEST, environment=self.servers.environment)
        harness.subprocess.run([str(UNDER_TEST)], timeout=20, check=True, capture_output=True)
        wait_until(lambda: harness.windows("^Quillmarsh$"), "the settings window")
        reader = harness.ScreenReader()
        time.sleep(0.5)
        if reader.find("Quillmarsh", "Continue here for now"):
            reader.press("Quillmarsh", "Continue here for now")
        reader.press("Quillmarsh", "Continue with ChatGPT")
        wait_until(lambda: reader.find("Quillmarsh", "one@example.com"), "the connected account", 20)
        wait_until(lambda: reader.find("Quillmarsh", "Model 1"), "the first model", 20)
        time.sleep(0.4)
        harness.screenshot("chatgpt-connected")

    def test_sign_in_and_rewrite(self):
        self.sign_in()
        editor = harness.text_field("please rewrite me", self.keyboard)
        try:
            editor.select_all()
            self.keyboard.chord(SHORTCUT)
            wait_until(lambda: editor.file.read_text() == "Rewritten on the plan.", "the streamed answer")
        finally:
            editor.stop()
        self.assertEqual(self.servers.ask("violations"), [])
        self.assertEqual(self.product.stop(), 0)
        self.check_no_secret_outside_the_keyring()

    def check_no_secret_outside_the_keyring(self):
        secrets = [secret for secret in self.servers.ask("secrets") if len(secret) > 8]
        self.assertTrue(secrets)
        home = pathlib.Path(os.environ["HOME"])
        files = [self.product.log, *(home / ".config").rglob("*")]
        for file in files:
            if file.is_file():
                content = file.read_bytes()
                for secret in secrets:
                    self.assertNotIn(secret.encode(), content, f"a secret in {file.name}")


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
