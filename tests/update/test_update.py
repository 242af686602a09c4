"""The product updates itself: version 1.0 in the user's Applications folder finds 1.1, and a person clicks."""

import functools
import http.server
import json
import os
import pathlib
import plistlib
import shutil
import signal
import ssl
import subprocess
import threading
import unittest

import harness
from harness import wait_until

SOURCE = pathlib.Path(__file__).resolve().parents[2]
HOME = pathlib.Path(os.environ["HOME"])


def processes(executable):
    """The ids of the processes that run this file."""
    found = []
    for folder in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if os.readlink(folder / "exe") == str(executable):
                found.append(int(folder.name))
        except OSError:
            pass
    return found


class UpdateTest(unittest.TestCase):
    def setUp(self):
        self.certificates = HOME / "certificates"
        subprocess.run([str(SOURCE / "packaging" / "make-test-certificates"), str(self.certificates)], check=True)
        self.site = HOME / "site"
        self.site.mkdir()
        (HOME / "Applications").mkdir()
        self.installed = self.bundle(HOME / "Applications", "1.0")
        self.server = self.serve()
        self.publish()
        self.executable = self.installed / "Contents" / "Linux" / "quillmarsh"
        self.product = harness.Product({"selectedProvider": "cloud", "completedRewriteCount": "7"})
        self.reader = harness.ScreenReader()

    def tearDown(self):
        self.product.stop()
        for process in processes(self.executable):
            os.kill(process, signal.SIGTERM)
        wait_until(lambda: not processes(self.executable), "the end of the new copy")
        self.server.shutdown()
        self.server.server_close()
        for folder in (self.certificates, self.site, HOME / "Applications", HOME / "Downloads", HOME / "Quillmarsh.app"):
            shutil.rmtree(folder, ignore_errors=True)

    def bundle(self, folder, version):
        bundle = folder / "Quillmarsh.app"
        programs = bundle / "Contents" / "Linux"
        programs.mkdir(parents=True)
        for name, program in (("quillmarsh", "quillmarsh-updatable"), ("quillmarsh-codesign", "quillmarsh-test-codesign")):
            shutil.copy(harness.BUILD / "bin" / program, programs / name)
            subprocess.run(["strip", str(programs / name)], check=True)
        dictionary = {"CFBundleIdentifier": "com.quillmarsh.app", "CFBundleExecutable": "quillmarsh",
                      "CFBundleShortVersionString": version}
        (bundle / "Contents" / "Info.plist").write_bytes(plistlib.dumps(dictionary))
        subprocess.run([str(harness.BUILD / "bin" / "quillmarsh-test-codesign"), "--sign", "--certificate",
                        str(self.certificates / "developer.pem"), "--key", str(self.certificates / "developer.key"),
                        str(bundle)], check=True)
        return bundle

    def serve(self):
        class Handler(http.server.SimpleHTTPRequestHandler):
            def log_message(self, *arguments):
                pass

        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Handler, directory=self.site))
        server.daemon_threads = True
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self.certificates / "server.pem", self.certificates / "server.key")
        server.socket = context.wrap_socket(server.socket, server_side=True)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        return server

    @property
    def host(self):
        return f"127.0.0.1:{self.server.server_address[1]}"

    def publish(self):
        self.bundle(HOME, "1.1")
        subprocess.run(["bsdtar", "--format", "zip", "-c", "-f", str(self.site / "Quillmarsh.zip"), "-C", str(HOME),
                        "Quillmarsh.app"], check=True)
        manifest = {"version": "1.1", "url": f"https://{self.host}/Quillmarsh.zip", "notes": ["Rewrites start sooner."]}
        (self.site / "update.json").write_text(json.dumps(manifest))

    def version(self):
        return plistlib.loads((self.installed / "Contents" / "Info.plist").read_bytes())["CFBundleShortVersionString"]

    def start(self, program):
        anchor = (self.certificates / "anchor.pem").read_text()
        self.product.start(program=program, environment={**harness.SEEN_FROM_OUTSIDE,
                                                         "QUILLMARSH_TEST_UPDATE_HOST": self.host,
                                                         "QUILLMARSH_TEST_CODESIGN_ANCHOR": anchor})

    def click(self, name):
        x, y = wait_until(lambda: self.place(name), f"the button “{name}”")
        harness.run("xdotool", "mousemove", str(x), str(y), "click", "1")

    def place(self, name):
        """The middle of the button, once that is there and everything is drawn."""
        self.product.process.settle()
        button = self.reader.find("Quillmarsh", name, "push button")
        try:
            if not button or not button.get_state_set().contains(self.reader.atspi.StateType.ENABLED):
                return None
            box = button.get_extents(self.reader.atspi.CoordType.SCREEN)
            return box.x + box.width // 2, box.y + box.height // 2
        except self.reader.gone:
            return None

    def has_taken_over(self, old):
        """The copy in Applications runs, and it alone; another start only brings it forward."""
        wait_until(lambda: not self.product.process.is_running(), "the end of the old copy")
        self.assertEqual(self.product.process.process.returncode, 0, self.product.log_text())
        wait_until(lambda: self.product.log_text().count("Event tap started") == 2, "the shortcuts of the new copy")
        new = processes(self.executable)
        self.assertNotIn(old, new)
        self.assertEqual(len(new), 1)
        self.assertEqual(subprocess.run([str(self.executable)], check=False, timeout=60).returncode, 0)
        wait_until(lambda: harness.windows("^Quillmarsh$"), "the settings of the new copy")
        self.assertEqual(processes(self.executable), new)

    def test_a_newer_version_is_installed_and_takes_over(self):
        self.start(self.executable)
        old = self.product.process.pid
        wait_until(lambda: harness.in_front("^Quillmarsh Update$"), "the update window in front")
        self.assertEqual(self.version(), "1.0")
        (self.site / "update.json").unlink()  # what the new copy finds at its own first check
        harness.screenshot("update-found")
        self.click("Install update")
        wait_until(lambda: self.version() == "1.1", "the new version in its place")
        wait_until(lambda: os.listdir(self.installed.parent) == ["Quillmarsh.app"], "an Applications folder without leftovers")
        self.assertEqual(processes(self.executable), [], "the old copy no longer runs from the installed place")
        harness.screenshot("update-installed")
        self.click("Relaunch now")
        self.has_taken_over(old)
        self.assertIn("completedRewriteCount=7", self.product.defaults.read_text())
        harness.screenshot("update-relaunched")

    def test_the_moved_copy_takes_over_from_the_download(self):
        (self.site / "update.json").unlink()
        download = HOME / "Downloads" / "Quillmarsh.app"
        shutil.copytree(self.installed, download)
        program = download / "Contents" / "Linux" / "quillmarsh"
        self.start(program)
        subprocess.run([str(program)], check=False, timeout=60)
        wait_until(lambda: harness.in_front("^Quillmarsh$"), "the welcome screen in front")
        self.click("I've moved it — open Quillmarsh")
        self.has_taken_over(self.product.process.pid)


if __name__ == "__main__":
    unittest.main(failfast=bool(os.environ.get("FAILFAST")))
