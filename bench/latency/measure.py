#!/usr/bin/env python3
"""Measures the product's budgets on a display of its own and prints them as a table.

    bench/latency/measure BUILD-FOLDER [RUNS]

Latency is measured by an X client (latency.cpp), in the same run beside a shell script that does the same.
"""

import json
import os
import pathlib
import re
import signal
import statistics
import subprocess
import sys
import time

BUILD = pathlib.Path(sys.argv[1]).resolve() / "bin"
RUNS = int(sys.argv[2]) if len(sys.argv) > 2 else 50
HERE = pathlib.Path(__file__).resolve().parent


def write_settings():
    config = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "quillmarsh"
    config.mkdir(parents=True, exist_ok=True)
    (config / "defaults.ini").write_text("[General]\nendpoint.cloud=http://127.0.0.1:8799\nselectedProvider=cloud\n"
                                         "hasSeenModernOnboarding=true\n")


def start_product():
    """Starts the product; returns it and the milliseconds until its shortcuts were registered."""
    begin = time.monotonic()
    product = subprocess.Popen([BUILD / "quillmarsh"], stderr=subprocess.PIPE, bufsize=0)
    for line in product.stderr:
        if b"Event tap started" in line:
            return product, (time.monotonic() - begin) * 1000
    sys.exit("error: the product did not start")


def stop(process):
    process.send_signal(signal.SIGTERM)
    process.wait(10)


def warm_starts():
    times = []
    for _ in range(RUNS + 1):
        product, elapsed = start_product()
        times.append(elapsed)
        time.sleep(0.7)  # the work that follows the start ends too
        stop(product)
    times = sorted(times[1:])  # the first reads the program from the disk
    return {"median": statistics.median(times), "p95": times[len(times) * 95 // 100]}


def memory(pid):
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    return {name: int(re.search(rf"^{name}:\s+(\d+)", text, re.M).group(1)) / 1024 for name in ("Rss", "Anonymous", "Pss")}


def switches(pid):
    total = 0
    for status in pathlib.Path(f"/proc/{pid}/task").glob("*/status"):
        total += int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status.read_text(), re.M).group(1))
    return total


def cpu_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def row(what, value, budget):
    print(f"| {what} | {value} | {budget} |", flush=True)


def latency(*command):
    result = subprocess.run([BUILD / "latency", str(RUNS), *command], capture_output=True, text=True, check=False)
    return json.loads(result.stdout)


def pair(series, fixed=0):
    return f"{series['median'] - fixed:.1f} / {series['p95'] - fixed:.1f} ms"


def main():
    write_settings()
    tray = subprocess.Popen(["tint2"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(1)
    starts = warm_starts()
    product, _ = start_product()
    time.sleep(12)
    before, processor = switches(product.pid), cpu_seconds(product.pid)
    time.sleep(20)
    wake_ups = (switches(product.pid) - before) / 20
    load = (cpu_seconds(product.pid) - processor) / 20 * 100
    idle = memory(product.pid)
    print("| what | measured (median / p95) | budget |\n|---|---|---|")
    row("start → shortcuts registered, warm", f"{starts['median']:.0f} / {starts['p95']:.0f} ms", "80 ms")
    row("idle memory (RSS / anonymous)", f"{idle['Rss']:.1f} / {idle['Anonymous']:.1f} MB", "48 / 10 MB")
    row("idle wake-ups", f"{wake_ups:.2f} per second, CPU {load:.2f} %", "1 per second, 0.1 %")
    ours = latency()
    used = memory(product.pid)
    row(f"memory after {RUNS} rewrites (RSS / anonymous)", f"{used['Rss']:.1f} / {used['Anonymous']:.1f} MB", "–")
    theirs = latency(str(HERE / "script-baseline.sh"))
    row("key press → request, beyond 200 ms", pair(ours["press_to_request"], 200), "5 / 15 ms")
    row("answer → paste key, beyond 50 ms", pair(ours["answer_to_paste"], 50), "5 / 15 ms")
    row("key press → panel's first frame", pair(ours["press_to_panel"]), "16 / 50 ms")
    row("key press → connection begun", pair(ours["press_to_connection"]), "5 ms")
    row("the script: start → request, beyond 200 ms", pair(theirs["press_to_request"], 200), "–")
    row("the script: answer → paste key, beyond 50 ms", pair(theirs["answer_to_paste"], 50), "–")
    row("key press → paste key, ours against the script",
        f"{ours['press_to_paste']['median']:.0f} against {theirs['press_to_paste']['median']:.0f} ms", "–")
    print(f"\n{ours['press_to_request']['runs']} runs each; lost: {ours['lost']} ours, {theirs['lost']} of the script")
    stop(product)
    tray.terminate()


main()
