"""A back end that takes the request and never answers: the rewrite ends with the hosted service's own limit."""

import os
import time
import unittest

import harness
from harness import SEEN_FROM_OUTSIDE, SHORTCUT


class TimeoutTest(unittest.TestCase):
    def test_the_panel_tells_after_a_minute(self):
        back_end = harness.BackEnd()
        back_end.hold()
        keyboard = harness.Keyboard()
        product = harness.Product({"endpoint.cloud": back_end.origin, "selectedProvider": "cloud"})
        product.start(environment=SEEN_FROM_OUTSIDE)
        editor = harness.text_field("one two", keyboard)
        try:
            editor.select_all()
            keyboard.chord(SHORTCUT)
            back_end.expect_request()
            began = time.monotonic()
            harness.Panel().expect("Couldn’t rewrite", "The request timed out.", limit=90)
            self.assertGreater(time.monotonic() - began, 58)
            self.assertEqual(len(back_end.requests), 1)
            self.assertEqual(editor.text(), "one two")
        finally:
            editor.close()
            self.assertEqual(product.stop(), 0)
            keyboard.stop()
            back_end.stop()
        self.assertNotIn("warning", product.log_text().lower())


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
