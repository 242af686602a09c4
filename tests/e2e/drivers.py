"""How the big applications are driven: a browser with a page of ours in it, and LibreOffice Writer."""

import html
import http.server
import os
import pathlib
import sys
import tempfile
import threading
import time

import harness
import matrix
from harness import wait_until
from matrix import MINE

PAGE = """<!doctype html><meta charset="utf-8"><title>Matrix page</title>
<style>textarea, [contenteditable] {{ width: 90%; height: 20em; white-space: pre-wrap; display: block }}</style>
{field}
<script>
const field = document.getElementById('field');
const text = () => field.value ?? field.innerText;
const tell = (what, body) => fetch('/' + what, {{method: 'POST', body}});
field.addEventListener('input', () => tell('text', text()));
field.addEventListener('focus', () => tell('ready', '{number}'));
window.addEventListener('load', () => setTimeout(() => field.focus(), 100));
setInterval(async () => {{
  const answer = await fetch('/number');
  if (await answer.text() !== '{number}') location.reload();
}}, 200);
</script>"""

# As the Monaco family does: without a selection the line of the cursor, and a note that says so.
CODE_EDITOR = """<textarea id="field">\n{text}</textarea><script>
document.getElementById('field').addEventListener('copy', event => {{
  const {{value, selectionStart, selectionEnd}} = event.target;
  const isFromEmptySelection = selectionStart === selectionEnd;
  const start = isFromEmptySelection ? value.lastIndexOf('\\n', selectionStart - 1) + 1 : selectionStart;
  const end = isFromEmptySelection ? value.indexOf('\\n', selectionStart) + 1 : selectionEnd;
  event.clipboardData.setData('text/plain', value.slice(start, end));
  event.clipboardData.setData('vscode-editor-data', JSON.stringify({{version: 1, isFromEmptySelection}}));
  event.preventDefault();
}});
</script>"""

FIELDS = {
    "textarea": '<textarea id="field">\n{text}</textarea>',
    "code editor": CODE_EDITOR,
    "contenteditable": '<div id="field" contenteditable="true">{text}</div>',
    "password": '<input id="field" type="password" value="{text}">',
}


class Pages:
    """Serves one page after another to a browser on a loopback port, and hears what is in their field."""

    def __init__(self):
        self.number = 0
        self.page = ""
        self.text = None
        self.ready = None
        pages = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.answer(str(pages.number) if self.path == "/number" else pages.page)

            def do_POST(self):
                body = self.rfile.read(int(self.headers["Content-Length"])).decode()
                if self.path == "/ready":
                    pages.ready = body
                else:
                    pages.text = body
                self.answer("")

            def answer(self, text):
                data = text.encode()
                self.send_response(200)
                self.send_header("Content-Type", "text/html; charset=utf-8")
                self.send_header("Cache-Control", "no-store")
                self.send_header("Content-Length", str(len(data)))
                self.end_headers()
                self.wfile.write(data)

            def log_message(self, *arguments):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        self.origin = f"http://127.0.0.1:{self.server.server_address[1]}"

    def show(self, kind, text):
        number = self.number + 1
        self.page = PAGE.format(field=FIELDS[kind].format(text=html.escape(text)), number=number)
        self.text = text
        self.number = number

    def stop(self):
        self.server.shutdown()
        self.server.server_close()


class Field:
    """The field of the page in front."""

    def __init__(self, pages, keyboard, kind, text):
        self.pages, self.keyboard = pages, keyboard
        pages.show(kind, text)
        wait_until(lambda: pages.ready == str(pages.number), f"the {kind} in front")
        self.settle()

    select = harness.Editor.select

    def settle(self):
        time.sleep(0.3)  # a browser never rests

    def read(self):
        return self.pages.text

    def text(self):
        # A contenteditable may or may not count the break after its last line.
        return self.read().rstrip("\n") + "\n"

    def close(self):
        pass


class Browser:
    """A browser in a fresh profile, with one page of ours after another in front."""

    def __init__(self, name, command, keyboard):
        self.keyboard = keyboard
        self.pages = Pages()
        self.pages.show("textarea", "")
        self.process = harness.Process([*command, self.pages.origin])
        try:
            wait_until(lambda: self.pages.ready, f"{name} to show the page", 180)
        except AssertionError:
            self.close()
            raise
        time.sleep(3)  # still starting, it may take longer over a copy than the 200 ms it has

    def open(self, kind, text):
        return Field(self.pages, self.keyboard, kind, text)

    def close(self):
        self.process.stop()
        self.pages.stop()


def chromium(keyboard):
    profile = tempfile.mkdtemp(dir=os.environ["HOME"])
    # The administrator's Chromium runs without a sandbox or not at all; nothing but loopback is reached.
    return Browser("Chromium", ["chromium", "--no-sandbox", "--no-first-run", "--disable-gpu",
                                "--password-store=basic", "--disable-dev-shm-usage",
                                "--proxy-server=127.0.0.1:9", f"--user-data-dir={profile}"], keyboard)


def firefox(keyboard):
    profile = pathlib.Path(tempfile.mkdtemp(dir=os.environ["HOME"]))
    preferences = {
        "browser.aboutwelcome.enabled": "false", "browser.shell.checkDefaultBrowser": "false",
        "datareporting.policy.dataSubmissionEnabled": "false", "browser.startup.page": "0",
        "toolkit.telemetry.reportingpolicy.firstRun": "false", "app.update.enabled": "false",
        "network.proxy.type": "1", "network.proxy.http": '"127.0.0.1"', "network.proxy.http_port": "9",
        "network.proxy.ssl": '"127.0.0.1"', "network.proxy.ssl_port": "9",
        "network.proxy.no_proxies_on": '"127.0.0.1"', "termsofuse.bypassNotification": "true",
    }
    lines = (f'user_pref("{key}", {value});\n' for key, value in preferences.items())
    (profile / "user.js").write_text("".join(lines))
    return Browser("Firefox ESR", ["firefox-esr", "--no-remote", "--profile", str(profile)], keyboard)


def webkit(keyboard):
    return Browser("WebKitGTK", [sys.executable, str(matrix.APPLICATIONS / "webkit-page.py")], keyboard)


def falkon(keyboard):
    # As for Chromium, whose engine it has.
    environment = {"QTWEBENGINE_DISABLE_SANDBOX": "1", "QTWEBENGINE_CHROMIUM_FLAGS": "--proxy-server=127.0.0.1:9"}
    command = ["env", *(f"{name}={value}" for name, value in environment.items()), "falkon", "--no-remote"]
    return Browser("Falkon", [*command, "--private-browsing"], keyboard)


WRITER_DOCUMENT = """<?xml version="1.0" encoding="UTF-8"?>
<office:document xmlns:office="urn:oasis:names:tc:opendocument:xmlns:office:1.0"
 xmlns:text="urn:oasis:names:tc:opendocument:xmlns:text:1.0" office:version="1.2"
 office:mimetype="application/vnd.oasis.opendocument.text"><office:body><office:text>{paragraphs}</office:text>
</office:body></office:document>"""

WRITER_SETTINGS = """<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry">
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value>
</prop></item></oor:items>"""


class Writer:
    """LibreOffice Writer; its text is read back by copying all of it."""

    def __init__(self, text, keyboard):
        self.keyboard = keyboard
        home = pathlib.Path(os.environ["HOME"])
        settings = home / "office" / "user" / "registrymodifications.xcu"
        if not settings.exists():
            settings.parent.mkdir(parents=True)
            settings.write_text(WRITER_SETTINGS)
        handle, name = tempfile.mkstemp(suffix=".fodt", dir=home)
        os.close(handle)
        escaped = [html.escape(line).replace("\t", "<text:tab/>") for line in text.removesuffix("\n").split("\n")]
        paragraphs = "".join(f"<text:p>{line}</text:p>" for line in escaped)
        pathlib.Path(name).write_text(WRITER_DOCUMENT.format(paragraphs=paragraphs))
        self.process = harness.Process(["soffice", "--norestore", "--nologo", "--nofirststartwizard",
                                        f"-env:UserInstallation=file://{home}/office", "--writer", name])
        pattern = pathlib.Path(name).name
        window = wait_until(lambda: harness.windows(pattern), "a window of Writer", 180)
        wait_until(lambda: str(harness.active_window()) in harness.windows(pattern), f"Writer {window} in front")
        time.sleep(2)
        self.settle()

    select, settle = harness.Editor.select, harness.Editor.settle

    def text(self):
        self.settle()  # it may still read what is pasted
        matrix.set_clipboard(MINE)
        self.select("Control_L a", "Control_L c")
        wait_until(lambda: harness.clipboard() != MINE, "the whole text on the clipboard")
        return harness.clipboard().rstrip("\n") + "\n"

    def close(self):
        self.process.stop()
