"""Window managers with a compositor, each the heart of a desktop."""

import os
import unittest

import matrix
import test_window_managers


class DesktopManagers(test_window_managers.WindowManagerTest):
    @classmethod
    def setUpClass(cls):
        matrix.require("xfwm4", "kwin-x11", "mutter", "libgl1-mesa-dri")
        super().setUpClass()

    def test_xfwm4(self):
        self.check_manager("xfwm4", "xfwm4", "--replace")

    def test_kwin(self):
        self.check_manager("KWin", "kwin_x11", "--replace")

    def test_mutter(self):
        self.check_manager("mutter", "mutter", "--x11", "--replace")


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
