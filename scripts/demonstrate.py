#!/usr/bin/env python3
"""Shows one real rewrite on the display it is given: service, product and an editor are started, the sentence is
selected and the shortcut pressed as a person would. Usage: demonstrate.py BUILD-FOLDER OUTPUT-FOLDER"""

import pathlib
import subprocess
import sys
import tempfile
import os
import time

SENTENCE = "thanks for your help ill send the notes soon. i beleive teh meeting is on monday"


def start(command, **options):
    process = subprocess.Popen(command, **options)
    STARTED.append(process)
    return process


def wait_for(condition, what, limit=20.0):
    deadline = time.monotonic() + limit
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    sys.exit(f"error: waited {limit:.0f} s for {what}")


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout


def visible(title):
    return output_of("xdotool", "search", "--onlyvisible", "--name", title).split()


def press(*keys):
    subprocess.run(["xdotool", "key", "--delay", "30", *keys], check=True)


def screenshot(name):
    path = OUTPUT / name
    subprocess.run(["import", "-window", "root", str(path)], check=True)
    return path


def start_service():
    service = start([BUILD / "quillmarsh-service", "--port", "0"], stdout=subprocess.PIPE, text=True)
    line = service.stdout.readline()
    if "listening on" not in line:
        sys.exit("error: the rewrite service did not start")
    return line.split()[-1]


def start_product(origin):
    config = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "quillmarsh"
    config.mkdir(parents=True, exist_ok=True)
    settings = f"[General]\nendpoint.cloud={origin}\nselectedProvider=cloud\nhasSeenModernOnboarding=true\n"
    (config / "defaults.ini").write_text(settings)
    log = pathlib.Path(os.environ["HOME"]) / "quillmarsh.log"
    product = start([BUILD / "quillmarsh"], stderr=open(log, "wb"))
    wait_for(lambda: "Event tap started" in log.read_text() or product.poll() is not None, "the product's start")
    if product.poll() is not None:
        sys.exit("error: the product ended at once:\n" + log.read_text())


def main():
    OUTPUT.mkdir(parents=True, exist_ok=True)
    subprocess.run(["xsetroot", "-solid", "#dfe5ee"], check=False)
    start_product(start_service())
    document = pathlib.Path(tempfile.mkdtemp(dir=os.environ["HOME"])) / "note.txt"
    document.write_text(f"Dear Ada,\n{SENTENCE}\nSee you,\nBen\n")
    start(["mousepad", "--disable-server", str(document)], stderr=subprocess.DEVNULL)
    window = wait_for(lambda: visible("note.txt"), "the editor")[0]
    subprocess.run(["xdotool", "windowsize", "--sync", window, "820", "420"], check=False)
    subprocess.run(["xdotool", "windowfocus", "--sync", window], check=False)
    time.sleep(0.5)
    press("ctrl+Home", "Down", "shift+End")
    time.sleep(0.3)
    press("shift+super+r")
    wait_for(lambda: visible("^Quillmarsh panel$"), "the panel")
    working = screenshot("working.png")
    before = document.read_text()

    def saved():
        press("ctrl+s")
        time.sleep(0.3)
        return document.read_text() != before

    time.sleep(0.6)
    after_picture = screenshot("after.png")
    wait_for(saved, "the rewritten text")
    print("\nbefore: " + before.splitlines()[1])
    print("after:  " + document.read_text().splitlines()[1])
    print(f"\nscreenshots: {working} (the panel at work), {after_picture} (the editor afterwards)")


BUILD = pathlib.Path(sys.argv[1]).resolve() / "bin"
OUTPUT = pathlib.Path(sys.argv[2]).resolve()
STARTED = []
try:
    main()
finally:
    for child in reversed(STARTED):
        child.terminate()
    for child in reversed(STARTED):
        try:
            child.wait(5)
        except subprocess.TimeoutExpired:
            child.kill()
