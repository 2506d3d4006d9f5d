"""Installs the record service below a prefix of its own and asks the tools that read its files.

test_cloud_packaging.py BUILD FOLDER: the build folder, and a folder for what the tests write.
"""

import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import unittest

from completions import bash_answers, fish_answers

BUILD, WORK = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
PREFIX = WORK / "prefix"
PROGRAM = PREFIX / "bin/zun-cloud"
SHARE = PREFIX / "share"
VERSION = re.search(r"^CMAKE_PROJECT_VERSION:.*=(.*)$", (BUILD / "CMakeCache.txt").read_text(), re.MULTILINE)[1]
ENVIRONMENT = {name: os.environ[name] for name in ("PATH", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS")
               if name in os.environ} | {"HOME": str(WORK), "LC_ALL": "C.UTF-8"}


def run(*command, status=0, text=None):
    ended = subprocess.run([str(word) for word in command], env=ENVIRONMENT, text=True, cwd=WORK, input=text,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120)
    if ended.returncode != status:
        raise AssertionError(f"{command} ended with {ended.returncode}:\n{ended.stdout}")
    return ended.stdout


# Serves the folder once.
def begin(data):
    with subprocess.Popen([PROGRAM, "serve", "--data", data, "--listen", "127.0.0.1:0", "--health-listen", ""], env=ENVIRONMENT,
                          text=True, stdout=subprocess.PIPE) as service:
        line = service.stdout.readline()
        service.send_signal(signal.SIGTERM)
    if "event=started" not in line or service.returncode != 0:
        raise AssertionError(f"the service ended with {service.returncode}: {line}")


def options_of_help(text):
    return set(re.findall(r"^ +(?:-\w, ?)?(--[\w-]+)", text, re.MULTILINE))


def subcommands(*command):
    return re.findall(r"^  ([a-z]+) ", run(PROGRAM, *command, "--help").split("Subcommands:")[1], re.MULTILINE)


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(WORK, ignore_errors=True)
        WORK.mkdir(parents=True)
        run("cmake", "--install", BUILD, "--component", "cloud", "--prefix", PREFIX)
        cls.commands = [(name,) for name in subcommands() if name != "account"]
        cls.commands += [("account", name) for name in subcommands("account")]

    def test_its_files_satisfy_the_tools_that_read_them(self):
        page = SHARE / "man/man1/zun-cloud.1"
        self.assertEqual(run("mandoc", "-T", "lint", "-W", "warning", page), "")
        self.assertEqual(run("groff", "-mandoc", "-ww", "-z", "-Tutf8", page), "")
        unit = PREFIX / "lib/systemd/system/zun-cloud.service"
        self.assertIn(f"ExecStart={PROGRAM} serve", unit.read_text())
        if shutil.which("systemd-analyze"):
            run("systemd-analyze", "--man=no", "--recursive-errors=no", "verify", unit)

    def test_page_and_completions_know_each_command_and_option(self):
        self.assertGreater(len(self.commands), 8)
        page = (SHARE / "man/man1/zun-cloud.1").read_text()
        self.assertEqual(run(PROGRAM, "--version"), f"zun-cloud {VERSION}\n")
        documented = {"-" + option for option in re.findall(r"Fl (-[a-z-]+)", page)}
        known = options_of_help(run(PROGRAM, "--help"))
        self.assertEqual(known, set(bash_answers(SHARE / "bash-completion/completions/zun-cloud", [PROGRAM, "--"], ENVIRONMENT)))
        for command in self.commands:
            with self.subTest(command=command):
                self.assertIn(" ".join(command), re.sub(r"^\.It Cm ", "", page, flags=re.MULTILINE))
                options = options_of_help(run(PROGRAM, *command, "--help"))
                known |= options
                bash = bash_answers(SHARE / "bash-completion/completions/zun-cloud", [PROGRAM, *command, "--"], ENVIRONMENT)
                self.assertEqual(options, set(bash))
                fish = fish_answers(SHARE / "fish/vendor_completions.d/zun-cloud.fish",
                                    " ".join([str(PROGRAM), *command, "--"]), ENVIRONMENT)
                self.assertIn(fish and set(fish), (None, options))
        self.assertEqual(documented, known)
        words = bash_answers(SHARE / "bash-completion/completions/zun-cloud", [PROGRAM, ""], ENVIRONMENT)
        self.assertEqual(sorted(words), sorted(subcommands()))

    def test_a_stranger_can_administer_it(self):
        data, other, copy = WORK / "data", WORK / "other", WORK / "backup"
        begin(data)
        add = [PROGRAM, "account", "add", "--data", data, "anna", "--password-stdin"]
        identifier = run(*add, text="a password\n").strip()
        self.assertIn("taken", run(*add, text="a password\n", status=1))
        self.assertIn("8 to 1024", run(PROGRAM, "account", "passwd", "--data", data, "anna", "--password-stdin", text="x\n", status=1))
        self.assertRegex(run(PROGRAM, "invite", "--data", data), r"^[\w-]{12}\n$")
        self.assertIn("rows", run(PROGRAM, "backup", "--data", data, copy))
        run(PROGRAM, "restore", "--data", other, copy)
        self.assertIn(identifier, run(PROGRAM, "account", "list", "--data", other, "--json"))
        self.assertIn("--replace", run(PROGRAM, "restore", "--data", other, copy, status=1))
        run(PROGRAM, "account", "disable", "--data", other, "anna")
        self.assertIn("disabled", run(PROGRAM, "account", "list", "--data", other))
        self.assertIn("1 account, 0 devices, 0 records", run(PROGRAM, "check", "--data", other))
        self.assertIn('"accounts":1', run(PROGRAM, "stats", "--data", other, "--json"))
        damaged = copy.read_bytes()[:5000] + bytes(3000)
        copy.write_bytes(damaged)
        run(PROGRAM, "restore", "--data", other, "--replace", copy, status=1)
        self.assertIn(identifier, run(PROGRAM, "account", "list", "--data", other, "--json"))
        for folder in (data, other):
            self.assertEqual(folder.stat().st_mode & 0o077, 0)

    def test_a_mistyped_folder_is_told_and_not_made(self):
        typo, text = WORK / "typo", WORK / "text"
        text.write_text("no backup")
        for command in (["check"], ["stats"], ["invite"], ["account", "list"], ["account", "disable", "anna"], ["backup", WORK / "b"],
                        ["restore", text], ["restore", WORK / "nothing"], ["restore", WORK]):
            with self.subTest(command=command):
                self.assertRegex(run(PROGRAM, *command, "--data", typo, status=1), r"^zun-cloud: .*(keeps|backup|cannot read).*\n$")
                self.assertFalse(typo.exists())

    def test_a_backup_takes_the_place_of_nothing_but_a_backup(self):
        data, places = WORK / "kept", WORK / "places"
        begin(data)
        places.mkdir()
        command = [PROGRAM, "backup", "--data", data]
        (places / "backup.partial-killed").write_text("what was written when its power went")
        for _ in range(2):
            run(*command, places / "backup")
        self.assertEqual([each.name for each in places.iterdir()], ["backup"])
        (places / "text").write_text("a letter")
        (places / "link").symlink_to("backup")
        os.mkfifo(places / "pipe")
        shutil.copy(data / "cloud.sqlite3", places / "records")
        look = lambda: {each.name: (each.lstat().st_ino, each.lstat().st_mode, each.lstat().st_size) for each in places.iterdir()}
        before = look()
        for name in before.keys() - {"backup"}:
            with self.subTest(name=name):
                self.assertIn("no earlier backup", run(*command, places / name, status=1))
        self.assertEqual(look(), before)
        self.assertIn("not printed", run(*command, "-", status=2))

    def test_a_wrong_option_is_told_in_words(self):
        (WORK / "letter").write_text("a letter")
        for status, option, value, words in ((2, "--listen", "127.0.0.1:99999", "0 to 65535"), (2, "--listen", "[::1]:", "0 to 65535"),
                                             (2, "--listen", "8480", "HOST:PORT"), (2, "--listen", "unix:letter", "no socket"),
                                             (2, "--health-listen", "127.0.0.1:65536", "0 to 65535"),
                                             (2, "--registration", "bogus", "open, invite or closed"),
                                             (2, "--database", "mysql://x", "postgresql://"), (2, "--data", "", "which folder"),
                                             (1, "--health-listen", "0.0.0.0:0", "health and metrics"),
                                             (1, "--listen", "0.0.0.0:0", "certificate")):
            with self.subTest(option=option, value=value):
                defaults = {"--listen": "127.0.0.1:0", "--health-listen": "", "--data": WORK / "served"}
                if option == "--database":
                    del defaults["--data"]
                chosen = [word for pair in (defaults | {option: value}).items() for word in pair]
                self.assertIn(words, run(PROGRAM, "serve", *chosen, status=status))
        self.assertEqual((WORK / "letter").read_text(), "a letter")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
