#!/usr/bin/env python3
"""Measures whole programs: starting the application beside a bare window, listing the deck from the command line, and
the waits of a person who goes through the screens.

usage: measure.py BUILD_FOLDER OUTPUT.json
Needs an X display. Every figure is the median of several runs, the pairs taken in turn.
"""

import json
import os
import pathlib
import select
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

RECORDS = 100_000
DUE = 100
SOON = 10_000  # of those ahead, within the coming half year
RUNS = 15

# What bench_screens measures, and what is to be reached.
GOALS = {
    "opening the editor for the first time, first frame": "under 50",
    "opening the editor again, first frame": "under 50",
    "step to the next month, median": "under 16",
    "step to the next month, longest": "under 16",
    "list of 100,000, first rows on the screen": "under 250",
    "longest block of the main thread at the first time": "under 16",
    "longest block of the main thread while it is fetched anew": "under 16",
    "search at 100,000, from the key to the rows, median": "under 50",
    "search at 100,000, from the key to the rows, longest": "under 50",
    "scrolling slowly, a frame, median": "under 16.7",
    "scrolling slowly, a frame, 99 of 100": "under 16.7",
    "scrolling a screenful in a few frames, a frame, median": "under 16.7",
    "scrolling a screenful in a few frames, a frame, 99 of 100": "under 16.7",
    "scrolling by the thumb, in leaps, a frame, median": "under 16.7",
    "scrolling by the thumb, in leaps, a frame, 99 of 100": "under 16.7",
    "memory of the process with the list open": "under 200",
}


def record(number, due):
    moment = "2026-01-%02dT%02d:%02d:00Z" % (number % 28 + 1, number % 24, number % 60)
    if not due and number < SOON:
        moment = time.strftime("%Y-%m-%dT%H:%M:00Z", time.gmtime(time.time() + 86400 + number * 1555))
    elif not due:
        moment = "2090" + moment[4:]
    return {
        "reminderID": "%08d-bench" % number,
        "title": "Reminder number %d: call the dentist" % number,
        "notes": "Some words of notes for number %d" % number,
        "created_date": "2025-12-01T00:00:00Z",
        "start_date": moment,
        "due_date": moment,
        "fire_date": moment,
    }


def fill(zunctl, environment):
    # Line by line: a child's peak memory begins with that of the process that forked it.
    with subprocess.Popen([zunctl, "import", "-"], stdin=subprocess.PIPE, env=environment, stdout=subprocess.DEVNULL) as child:
        for number in range(RECORDS):
            child.stdin.write(json.dumps(record(number, number < DUE)).encode() + b"\n")
        child.stdin.close()
        assert child.wait() == 0


def resident_kib(pid):
    for line in pathlib.Path(f"/proc/{pid}/status").read_text().splitlines():
        if line.startswith("VmRSS"):
            return int(line.split()[1])
    return 0


def start_to_paint(program, environment, settle=0.6):
    """Seconds until the program writes its byte, and its resident KiB a little later."""
    reader, writer = os.pipe()

    def prepare():
        os.dup2(writer, 3)

    began = time.monotonic()
    child = subprocess.Popen([program], env=environment, preexec_fn=prepare, pass_fds=(3, writer),
                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.close(writer)
    ready, _, _ = select.select([reader], [], [], 20)
    seconds = time.monotonic() - began
    if not ready or not os.read(reader, 1):
        child.kill()
        raise SystemExit(f"{program} painted nothing")
    time.sleep(settle)
    memory = resident_kib(child.pid)
    child.kill()
    child.wait()
    os.close(reader)
    return seconds, memory


def run_command(arguments, environment):
    began = time.monotonic()
    child = subprocess.Popen(arguments, env=environment, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(child.pid, 0)
    assert status == 0, arguments
    return time.monotonic() - began, usage.ru_maxrss


def screens(program, environment, folder):
    output = pathlib.Path(folder) / "screens.json"
    subprocess.run([program, str(output)], env=environment, check=True, timeout=180, stdout=subprocess.DEVNULL)
    return json.loads(output.read_text())


def medians(pairs):
    return [statistics.median(column) for column in zip(*pairs)]


def main():
    build = pathlib.Path(sys.argv[1])
    zunctl = str(build / "src/apps/zunctl")
    home = tempfile.mkdtemp(prefix="zun-bench-")
    environment = dict(os.environ, ZUN_HOME=home, TZ="Europe/Berlin", QT_SCALE_FACTOR="1")
    try:
        fill(zunctl, environment)
        listing = medians([run_command([zunctl, "list", "--deck"], environment) for _ in range(RUNS + 1)][1:])
        empty, full = [], []
        for _ in range(RUNS):
            empty.append(start_to_paint(str(build / "bench/programs/bench_empty_window"), environment))
            full.append(start_to_paint(str(build / "bench/programs/bench_zun_start"), environment))
        empty, full = medians(empty), medians(full)
        waits = screens(str(build / "bench/programs/bench_screens"), environment, home)
    finally:
        shutil.rmtree(home)

    rows = [
        ("zunctl list --deck, 100 due of 100,000", listing[0] * 1e3, "ms", "under 10", None),
        ("zunctl list --deck, peak memory", listing[1] / 1024, "MiB", "under 20", None),
        ("zun, start to first painted card", full[0] * 1e3, "ms", "1.5 times the floor", empty[0] * 1e3),
        ("zun, resident memory at 400 x 450", full[1] / 1024, "MiB", "1.6 times the floor", empty[1] / 1024),
    ]
    rows += [(wait["name"], wait["value"], wait["unit"], GOALS.get(wait["name"], "none"), None) for wait in waits]
    figures = []
    for name, value, unit, goal, floor in rows:
        beside = "" if floor is None else f"  floor {floor:.1f} {unit}, ratio {value / floor:.2f}"
        print(f"{name:<58} {value:8.1f} {unit:<4} (goal: {goal}){beside}")
        figures.append({"name": name, "value": value, "unit": unit, "goal": goal, "floor": floor})
    pathlib.Path(sys.argv[2]).write_text(json.dumps(figures, indent=1))


if __name__ == "__main__":
    main()
