#!/usr/bin/env python3
"""Measures the running application during its first pass of 10,000 reminders, once while it takes them in from another
device and once while it sends its own: how long its main thread lets others wait.

usage: pass_of_application.py BUILD_FOLDER OUTPUT.json
Needs an X display and a session bus. A thread of the application asks its main thread once a millisecond. Of each wait
the kernel says how long the main thread worked and how long it stood in the line for a processor; the rest it slept, be
it for a lock, a page or the disk.
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time
from collections import namedtuple

from measure import record

RECORDS = 10_000
DUE = 100
PASSWORD = b"correct horse battery\n"


# When it began, in seconds; how long it was, and the main thread's work and time in the line meanwhile, in milliseconds.
Wait = namedtuple("Wait", "began clock work line")


def serve(build, folder):
    service = subprocess.Popen([str(build / "server/zun-cloud"), "serve", "--data", str(folder), "--listen", "127.0.0.1:0",
                                "--health-listen", "127.0.0.1:0", "--registration", "open"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    for line in service.stdout:
        words = dict(word.split("=", 1) for word in line.split() if "=" in word)
        if words.get("event") == "started":
            return service, f"http://127.0.0.1:{words['port']}"
    raise SystemExit("zun-cloud did not start")


class Bench:
    def __init__(self, build, folder):
        self.build = build
        self.folder = folder
        self.figures = []

    def home(self, name):
        return dict(os.environ, ZUN_HOME=f"{self.folder}/{name}", TZ="Europe/Berlin")

    def zunctl(self, home, *words, given=None):
        return subprocess.run([str(self.build / "src/apps/zunctl"), *words], env=home, input=given, check=True,
                              stdout=subprocess.PIPE).stdout

    def fill(self, home):
        lines = "\n".join(json.dumps(record(number, number < DUE)) for number in range(RECORDS))
        self.zunctl(home, "import", "-", given=lines.encode())

    def measure(self, what, home, account):
        """The application of this home from its sign-in, done by zunctl, until 2 s after its first pass."""
        answers = pathlib.Path(self.folder) / "answers"
        application = subprocess.Popen([str(self.build / "bench/programs/bench_zun_pulse")], stderr=subprocess.DEVNULL,
                                       env=dict(home, ZUN_PULSE=str(answers)))
        time.sleep(4)
        began = time.monotonic()
        self.zunctl(home, "account", "login", *account, given=PASSWORD)
        self.zunctl(home, "sync")
        over = time.monotonic()
        # What comes behind the pass belongs to it: the screens take in what has changed.
        time.sleep(2)
        application.terminate()
        assert application.wait() == 0
        waits = [Wait(*map(float, line.split())) for line in answers.read_text().splitlines()]
        state = json.loads(self.zunctl(home, "--json", "account", "status"))
        assert json.loads(self.zunctl(home, "--json", "count"))["total"] == RECORDS and state["waiting"] == 0, state

        def longest_of(kept):
            return sorted(kept, key=lambda wait: wait.clock, reverse=True)

        self.tell(what, (over - began) * 1e3, longest_of(wait for wait in waits if wait.began >= began),
                  longest_of(wait for wait in waits if began - 2 <= wait.began < began))

    def tell(self, what, milliseconds, waits, rest):
        longest, busiest = waits[0], max(wait.work for wait in waits)
        print(f"sign-in and first pass of 10,000 {what:24}{milliseconds:8.1f} ms")
        print(f"  longest block of the application's main thread {longest.clock:8.1f} ms   (goal: under 16)   "
              f"at rest {rest[len(rest) // 2].clock:.1f}, longest {rest[0].clock:.1f}")
        print(f"  of which it worked {longest.work:.1f} ms and stood in the line for a processor {longest.line:.1f} ms; "
              f"the most work in one wait {busiest:.1f} ms")
        print("  the next longest: " + ", ".join(f"{wait.clock:.1f}" for wait in waits[1:8]))
        name = f"the application's main thread in a pass of 10,000 {what}: "
        self.figures += [{"name": name + "longest block", "value": longest.clock, "unit": "ms", "goal": "under 16",
                          "floor": rest[0].clock},
                         {"name": name + "of which in the line for a processor", "value": longest.line, "unit": "ms"},
                         {"name": name + "longest work", "value": busiest, "unit": "ms"}]


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory(prefix="zun-bench-") as folder:
        service, url = serve(build, f"{folder}/service")
        bench = Bench(build, folder)
        # The window that sends has an account of its own, so that nothing comes in.
        first, taking, sending = (bench.home(name) for name in ("first", "taking", "sending"))
        ada, bob = (["--service", url, "--name", name, "--password-stdin"] for name in ("ada", "bob"))
        try:
            bench.fill(first)
            bench.zunctl(first, "account", "create", *ada, given=PASSWORD)
            bench.zunctl(first, "sync")
            bench.zunctl(bench.home("elsewhere"), "account", "create", *bob, given=PASSWORD)
            bench.measure("taken in from elsewhere", taking, ada)
            bench.fill(sending)
            bench.measure("sent from the window", sending, bob)
        finally:
            service.terminate()
            service.wait()
    pathlib.Path(sys.argv[2]).write_text(json.dumps(bench.figures, indent=1))


if __name__ == "__main__":
    main()
