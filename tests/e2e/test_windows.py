"""The windows as assistive technology sees them, from outside the process: every control of every section and sheet
with its role, name and states, where the keyboard goes, and what a hidden key gives away. Memory runs every day with
one round of the windows; MemoryOften, with ten and the progress panel, has the label `matrix`."""

import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import time
import unittest

import harness
from harness import SEEN_FROM_OUTSIDE, wait_for, wait_until

NAME = "Quillmarsh"
UNDER_TEST = harness.BUILD / "bin" / "quillmarsh-under-test"
CONTROLS = {"push button", "link", "page tab", "radio button", "combo box", "text", "password text", "list item",
            "menu item"}
TABS = [("page tab", name) for name in ("Overview", "Shortcuts", "Connect your AI", "Getting started", "Permissions")]
CHOICES = [("radio button", name) for name in ("ChatGPT", "Quillmarsh Cloud", "OpenAI", "Claude")]
ACTIONS = ("Autocorrect", "Formal", "Casual", "Shorter", "Longer")
SECRET = "sk-canary"


class WindowTest(unittest.TestCase):
    def setUp(self):
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        self.keyboard = harness.Keyboard()
        self.product = None

    def tearDown(self):
        if self.product:
            self.product.stop()
        self.keyboard.stop()

    def open(self, section, environment=None, **settings):
        self.start(section, environment, **settings)
        self.press("Continue here for now")
        self.node("Sections")

    def start(self, section, environment=None, **settings):
        """Up to the installation screen; its servers are on this machine."""
        self.product = harness.Product({"selectedProvider": "cloud", "settingsSection": section, **settings})
        self.product.start(program=UNDER_TEST, environment={**SEEN_FROM_OUTSIDE, **(environment or {})})
        subprocess.run([str(UNDER_TEST)], timeout=60, check=True, capture_output=True)
        wait_until(lambda: harness.in_front("^Quillmarsh$"), "the settings window in front")
        self.reader = harness.ScreenReader()
        self.states = self.reader.atspi.StateType
        self.title = NAME
        self.node("Continue here for now")

    def showing(self):
        """What can be seen and is not behind a sheet or an open list, in its order."""
        nodes = [node for node in self.reader.all_below(self.window()) if self.has(node, "SHOWING")]
        sheets = [node for node in nodes if self.is_sheet(node)]
        if not sheets:
            return nodes
        return [node for node in self.reader.all_below(sheets[-1]) if self.has(node, "SHOWING")]

    @staticmethod
    def is_sheet(node):
        role = node.get_role_name()
        return role in ("dialog", "popup menu") or (role == "alert" and node.get_child_count() > 0)

    def window(self):
        for node in self.reader.all_below(self.reader.application(NAME)):
            if node.get_role_name() == "frame" and node.get_name() == self.title:
                return node
        return None

    def has(self, node, state):
        return node.get_state_set().contains(getattr(self.states, state))

    def find(self, name, role=None):
        try:
            for node in self.showing():
                if node.get_name() == name and role in (None, node.get_role_name()):
                    return node
        except self.reader.gone:
            pass
        return None

    def node(self, name, role=None):
        return wait_until(lambda: self.find(name, role), f"“{name}”")

    def expect(self, read, wanted):
        """`read` may meet a node that goes while it is looked at."""

        def now():
            try:
                return read()
            except self.reader.gone as gone:
                return gone

        wait_for(now, wanted)

    def expect_state(self, node, state, on=True):
        self.expect(lambda: self.has(node, state), on)

    def expect_focus(self, control):
        self.expect(self.focused, control)

    def controls(self):
        return [(node.get_role_name(), node.get_name()) for node in self.showing()
                if node.get_role_name() in CONTROLS and not self.is_step(node)]

    @staticmethod
    def is_step(node):
        return node.get_role_name() == "list item" and node.get_name()[:2] in ("1.", "2.", "3.")

    def press(self, name, role=None):
        self.node(name, role).do_action(0)
        self.settle()

    def settle(self):
        """The demonstration never rests; whatever follows waits for what it needs."""
        self.product.process.settle(limit=5)

    def focused(self):
        try:
            for node in self.showing():
                if self.has(node, "FOCUSED") and node.get_role_name() in CONTROLS:
                    return node.get_role_name(), node.get_name()
        except self.reader.gone:
            pass
        return None

    def check(self, controls, stops):
        """`controls` can be seen, named and enabled or not; Tab goes through `stops` in their order, and round."""
        self.expect(self.controls, controls)
        reached = [self.tab(len(stops)) for _ in range(len(stops) + 1)]
        self.assertEqual(set(reached), set(stops))
        start = reached.index(stops[0])
        self.assertEqual(reached[start:], (stops + stops)[:len(reached) - start])

    def tab(self, count):
        """Where Tab leads; with more than one control that takes the keyboard, to another."""
        before = self.focused()
        self.keyboard.chord("Tab")
        self.settle()

        def reached():
            focus = self.focused()
            return focus if count == 1 or focus != before else None

        return wait_until(reached, lambda: f"Tab to lead on from {before}")

    def check_list(self, name, items, chosen):
        """The field opens its list with Return; Escape closes it, and the field has the keyboard again."""
        field = self.node(name, "combo box")
        self.assertTrue(self.has(field, "EXPANDABLE"))
        self.assertEqual(field.get_description(), chosen)
        field.do_action(1)
        self.expect_focus(("combo box", name))
        self.keyboard.chord("Return")
        self.node(name, "popup menu")
        self.expect_state(field, "EXPANDED")
        self.expect(self.controls, [("menu item", item) for item in items])
        self.expect_focus(("menu item", chosen))
        self.expect_state(self.node(chosen, "menu item"), "SELECTED")
        self.keyboard.chord("Escape")
        wait_until(lambda: not self.find(name, "popup menu"), "the list to close")
        self.expect_focus(("combo box", name))
        self.expect_state(field, "EXPANDED", False)

    def check_texts(self):
        """A screen reader would stop at a text that says nothing."""
        self.expect(self.silent, [])

    def silent(self):
        return [role for node in self.showing()
                if (role := node.get_role_name()) in ("label", "heading", "alert") and node.get_name() == ""]

    def test_installation_overview_and_update_window(self):
        self.start("Overview")
        buttons = [("push button", name) for name in ("Show download", "Open Applications",
                                                      "I've moved it — open Quillmarsh", "Continue here for now")]
        self.check(buttons, buttons)
        self.check_texts()
        self.press("Continue here for now")
        self.node("Sections")
        self.check_overview()
        self.press("Check for updates")
        self.title = "Quillmarsh Update"
        self.node("Couldn’t check for updates", "heading")
        self.node("Couldn’t check for updates. Check your connection and try again, or download Quillmarsh from our "
                  "website.", "alert")
        controls = [("link", "Download manually"), ("push button", "Close"), ("push button", "Try again")]
        self.check(controls, controls)
        self.check_texts()
        self.press("Close")
        wait_until(lambda: not harness.windows("^Quillmarsh Update$"), "the update window to close")

    def check_overview(self):
        self.check_texts()
        self.check(TABS + [("push button", "Check for updates")],
                   [TABS[0], ("push button", "Check for updates")])
        tab = self.node("Overview", "page tab")
        self.assertTrue(self.has(tab, "SELECTED"))
        self.assertEqual(tab.get_description(), "Selected")
        self.assertFalse(self.has(self.node("Permissions", "page tab"), "SELECTED"))
        self.assertEqual(self.node("Permissions", "page tab").get_description(), "")

    def test_writing_actions_and_editor(self):
        self.open("Shortcuts")
        rows = [control for name in ACTIONS for control in
                (("list item", name), ("push button", f"Actions for {name}"))]
        self.check(TABS + [("push button", "New action")] + rows, [TABS[1], ("push button", "New action")] + rows)
        self.press("New action")
        fields = [("text", "Name"), ("text", "Instruction"), ("push button", "Add Keyboard Shortcut"),
                  ("push button", "Cancel")]
        self.expect_focus(fields[0])
        self.check(fields + [("push button", "Save")], fields)
        self.expect_state(self.node("Save"), "ENABLED", False)
        self.node("Add a name and an instruction to save.", "alert")
        self.check_texts()
        self.check_recorder()
        self.check_conflict()
        self.press("Cancel")
        self.node("New action")

    def check_recorder(self):
        self.press("Add Keyboard Shortcut")
        self.expect_focus(("text", "Press your shortcut..."))
        self.keyboard.chord("Escape")
        self.node("Add Keyboard Shortcut")
        self.expect_focus(("push button", "Add Keyboard Shortcut"))
        self.keyboard.chord("Return")
        self.expect_focus(("text", "Press your shortcut..."))
        self.settle()
        self.keyboard.chord(harness.SHORTCUT)
        self.node("⇧⌘R", "label")
        self.expect_focus(("push button", "Change"))

    def check_conflict(self):
        for name, text in (("Name", "Loud"), ("Instruction", "Shout.")):
            self.node(name, "text").do_action(0)
            self.expect_focus(("text", name))
            subprocess.run(["xdotool", "type", text], check=True)
            self.expect(lambda: self.text(self.node(name, "text")), text)
        self.press("Save")
        self.node("Shortcut Already in Use", "alert")
        self.node('This keyboard shortcut is already assigned to "Autocorrect". Please choose a different shortcut.')
        self.check([("push button", "OK")], [("push button", "OK")])
        self.check_texts()
        self.keyboard.chord("Return")
        wait_until(lambda: not self.find("Shortcut Already in Use"), "the alert to close")
        self.expect(lambda: self.text(self.node("Name", "text")), "Loud")

    def test_key_panel(self):
        self.open("AI connections", selectedProvider="claude")
        panel = [("link", "Get an API key ↗"), ("password text", "API key"), ("push button", "Show")]
        buttons = [("push button", "Save key"), ("push button", "Remove key")]
        self.check(TABS + CHOICES + panel + buttons, [TABS[2], CHOICES[3]] + panel)
        self.expect_state(self.node("Claude", "radio button"), "CHECKED")
        self.expect_state(self.node("Save key"), "ENABLED", False)
        self.listen()
        self.type_key()
        self.expect_state(self.node("Save key"), "ENABLED")
        self.assertNotIn(SECRET[-4:], self.everything())
        self.press("Show")
        self.expect(lambda: self.text(self.node("API key", "text")), SECRET)
        self.press("Hide")
        self.expect(lambda: self.text(self.node("API key", "password text")), "•" * len(SECRET))
        self.assertNotIn(SECRET[-4:], self.everything())
        self.crash(signal.SIGABRT)

    def test_crash_with_a_key_in_the_field(self):
        self.open("AI connections", selectedProvider="openai", openaiAuthMode="apiKey")
        self.type_key()
        self.crash(signal.SIGSEGV)

    def type_key(self):
        field = self.node("API key")
        field.do_action(0)
        self.expect_focus(("password text", "API key"))
        subprocess.run(["xdotool", "type", "--delay", "10", SECRET], check=True)
        self.expect(lambda: self.text(field), "•" * len(SECRET))

    def crash(self, how):
        """What is left behind, in the log or any file of the user's, does not hold the key. Whether memory is dumped
        is the system's setting, for this program as for every other; here it is not."""
        process = self.product.process.process
        process.send_signal(how)
        self.assertEqual(process.wait(60), -how)
        files = [file for file in pathlib.Path(os.environ["HOME"]).rglob("*") if file.is_file()]
        self.assertIn(self.product.log, files)
        for file in files:
            self.assertNotIn(SECRET.encode(), file.read_bytes(), file)

    def text(self, node):
        iface = node.get_text_iface()
        return self.reader.atspi.Text.get_text(iface, 0, -1) if iface else ""

    def everything(self):
        nodes = self.reader.all_below(self.reader.application(NAME))
        seen = [text for node in nodes for text in (node.get_name(), node.get_description(), self.text(node))]
        return " ".join(seen + self.told())

    def listen(self):
        """Collects the texts of all changes that are told while a text is edited."""
        self.events = []
        self.listener = self.reader.atspi.EventListener.new(lambda event: self.events.append(str(event.any_data)))
        for kind in ("object:text-changed", "object:property-change"):
            self.listener.register(kind)

    def told(self):
        from gi.repository import GLib

        while GLib.MainContext.default().iteration(False):
            pass
        return self.events

    def test_chatgpt_panel(self):
        self.servers = harness.FakeOpenAI()
        self.addCleanup(self.servers.stop)
        self.open("AI connections", self.servers.environment, selectedProvider="openai", openaiAuthMode="chatgpt")
        button = ("push button", "Continue with ChatGPT")
        self.check(TABS + CHOICES + [button], [TABS[2], CHOICES[0], button])
        for name in ("Connect your ChatGPT", "Use your eligible ChatGPT plan."):
            self.node(name)
        self.press("Continue with ChatGPT")
        self.expect(self.model, "Model 1")
        panel = [("push button", "Sign out"), ("combo box", "Choose an account"), ("combo box", "Model"),
                 ("push button", "Refresh available models"), ("link", "Manage usage ↗")]
        self.check(TABS + CHOICES + panel, [TABS[2], CHOICES[0]] + panel)
        self.check_texts()
        self.check_list("Choose an account", ["one@example.com", "Add another account"], "one@example.com")
        self.check_list("Model", ["Model 1", "Model 2"], "Model 1")

    def model(self):
        node = self.find("Model", "combo box")
        return node and node.get_description()

    def test_tutorial(self):
        self.open("Getting started")
        demo = ("text", "Demo text")
        self.check(TABS + [demo, ("push button", "Connect")], [TABS[3], demo, ("push button", "Connect")])
        self.assertEqual(self.node("Demo text").get_description(),
                         "Select the whole sentence, then press Control R to rewrite it.")
        self.press("Connect")
        cards = [("push button", name) for name in ("ChatGPT by OpenAI", "Claude", "Other connections")]
        bar = [("push button", name) for name in ("Back", "Skip for now", "Connect ChatGPT")]
        self.check(TABS + cards + bar, [TABS[3]] + cards + bar)
        self.press("Skip for now")
        cards = [("push button", name) for name in ("Create a writing action", "All writing actions",
                                                    "Set up permissions", "Back", "Done")]
        self.check(TABS + cards, [TABS[3]] + cards)

    def test_permissions(self):
        self.open("Permissions")
        buttons = [("push button", name) for name in ("Open System Settings", "Check again", "Try the demo first",
                                                      "Continue")]
        self.check(TABS + buttons, [TABS[4]] + buttons)
        self.node("Enabled · your shortcuts are ready")


class Memory(unittest.TestCase):
    """Every window once, over and over: what they took is given back."""

    ROUNDS = 1
    SHOWS_PANEL = False
    IDLE_AFTER = 11  # seconds; by then what the start needed is given back
    PAUSE = 15  # seconds after the panel; no other rewrite is expected by then

    def setUp(self):
        self.keyboard = harness.Keyboard()
        self.product = harness.Product({"selectedProvider": "claude", "settingsSection": "Overview"})
        # Its servers are on this machine; under its own name, by which the status bar knows the product.
        self.program = pathlib.Path(os.environ["HOME"]) / "quillmarsh"
        shutil.copy2(UNDER_TEST, self.program)

    def tearDown(self):
        self.product.stop()
        self.keyboard.stop()

    def resident(self):
        status = pathlib.Path(f"/proc/{self.product.process.pid}/status").read_text()
        return int(re.search(r"VmRSS:\s+(\d+) kB", status).group(1))

    def start_again(self):
        subprocess.run([str(self.program)], timeout=60, check=True, capture_output=True)
        wait_until(lambda: harness.in_front("^Quillmarsh$"), "the settings window in front")
        self.product.process.settle()

    def close(self, title):
        wait_until(lambda: harness.in_front(title), f"{title} in front")
        self.product.process.settle()
        self.keyboard.chord("Alt_L F4")
        wait_until(lambda: not harness.windows(title), f"{title} to close")

    def press(self, *chords):
        for chord in chords:
            self.keyboard.chord(chord)
            self.product.process.settle()

    def round(self):
        self.start_again()
        self.press("Tab", *["Down"] * 5, "Tab", "Return")  # each section, then the update window from the overview
        self.close("^Quillmarsh Update$")
        self.press("Shift_L Tab", "Down", "Tab", "Return")  # the editor
        self.press("Escape", "Shift_L Tab", "Up")
        self.close("^Quillmarsh$")
        self.product.open_menu()
        self.product.process.settle()
        self.press("Escape")
        wait_until(lambda: not harness.windows("^Quillmarsh menu$"), "the menu to close")
        if self.SHOWS_PANEL:
            self.show_panel()

    def show_panel(self):
        """A rewrite without a key: the panel in its largest form."""
        self.keyboard.chord(harness.SHORTCUT)
        wait_until(lambda: harness.windows("^Quillmarsh panel$"), "the panel")
        time.sleep(0.3)
        # It leaves by itself; the next round need not wait for it, only the last.

    def test_memory(self):
        self.product.start(program=self.program)
        time.sleep(self.IDLE_AFTER)
        idle = self.resident()
        self.start_again()
        self.press("Tab", "Tab", "Tab", "Tab", "Return")  # Continue here for now
        self.close("^Quillmarsh$")
        for _ in range(self.ROUNDS):
            self.round()
        if self.SHOWS_PANEL:
            wait_until(lambda: not harness.windows("^Quillmarsh panel$"), "the panel to leave")
            time.sleep(self.PAUSE)
        wait_until(lambda: self.resident() <= 1.3 * idle, lambda: f"{idle} kB idle, but {self.resident()} kB")
        print(f"{idle} kB idle, {self.resident()} kB after {self.ROUNDS} round(s)", flush=True)


class MemoryOften(Memory):
    """Ten times over, and the progress panel with them."""

    ROUNDS = 10
    SHOWS_PANEL = True


if __name__ == "__main__":
    unittest.main(verbosity=2, failfast=bool(os.environ.get("FAILFAST")))
