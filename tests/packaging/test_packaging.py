"""Installs the build below a home of its own, asks the desktop's tools about every file, and takes it away again.

test_packaging.py BUILD FOLDER: the build folder, and a folder for what the tests write.
"""

import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import unittest
import xml.etree.ElementTree

from completions import bash_answers, fish_answers, zsh_commands, zsh_options

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD, WORK = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
HOME = WORK / "home"
PREFIX = HOME / ".local"
SHARE = PREFIX / "share"
ZSH = SHARE / "zsh/site-functions"
GENERAL = {"--help", "--home", "--json"}
# For the bus, not for people: the help does not name it, the page does.
HIDDEN = {"--gapplication-service"}
# What can be said of a new reminder alone.
ONLY_NEW = {"--parse"}


def environment(**more):
    """That of a user who has just logged in, without anything of whoever runs the tests."""
    kept = ("PATH", "QT_QPA_PLATFORM", "ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS")
    return {name: os.environ[name] for name in kept if name in os.environ} | {
        "HOME": str(HOME), "XDG_DATA_HOME": str(SHARE), "XDG_RUNTIME_DIR": str(WORK / "run"), "LC_ALL": "C.UTF-8",
        "ZUN_BUILD": str(BUILD)} | more


def run(*command, status=0, **more):
    ended = subprocess.run([str(word) for word in command], env=environment(**more), text=True, cwd=WORK,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120)
    if ended.returncode != status:
        raise AssertionError(f"{command} ended with {ended.returncode}:\n{ended.stdout}")
    return ended.stdout


def on_a_bus(*command, status=0, **more):
    return run("dbus-run-session", "--", *command, status=status, **more)


def tree():
    """What lies in the home, but for what the user keeps in the application."""
    return {str(path.relative_to(HOME)) for path in HOME.rglob("*") if SHARE / "zun" not in path.parents}


def fresh_home():
    shutil.rmtree(WORK, ignore_errors=True)
    (WORK / "run").mkdir(parents=True, mode=0o700)
    for folder in (SHARE / "applications", SHARE / "zun", HOME / ".config/autostart"):
        folder.mkdir(parents=True)
    (SHARE / "applications/other.desktop").write_text("[Desktop Entry]\nType=Application\nName=Other\nExec=true\n")
    (SHARE / "zun/kept").write_text("a reminder")


def programs():
    return sorted(path.name for path in (PREFIX / "bin").iterdir())


def options_of_page(source):
    return {"-" + option for option in re.findall(r"Fl (-[a-z-]+)", source)}


def options_of_help(text):
    return set(re.findall(r"^ +(?:-\w, ?)?(--[\w-]+)", text, re.MULTILINE))


def commands_of_help(text):
    return re.findall(r"^  ([a-z]+) ", text.split("Subcommands:")[1], re.MULTILINE)


class Installed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        fresh_home()
        on_a_bus(SOURCE / "scripts/install")

    def test_its_files_satisfy_the_tools_that_read_them(self):
        for entry in [*SHARE.glob("applications/com.*"), *HOME.glob(".config/autostart/*")]:
            with self.subTest(entry=entry.name):
                self.assertEqual(run("desktop-file-validate", entry), "")
        run("appstreamcli", "validate", "--no-net", SHARE / "metainfo/com.zunlabs.Zun.metainfo.xml")
        for program in programs():
            with self.subTest(page=program):
                page = SHARE / f"man/man1/{program}.1"
                self.assertEqual(run("mandoc", "-T", "lint", "-W", "warning", page), "")
                self.assertEqual(run("groff", "-mandoc", "-ww", "-z", "-Tutf8", page), "")
        for unit in SHARE.glob("systemd/user/*.service"):
            if shutil.which("systemd-analyze"):
                run("systemd-analyze", "--user", "--man=no", "--recursive-errors=no", "verify", unit)

    def test_icons_have_the_sizes_of_their_folders(self):
        icons = list((SHARE / "icons/hicolor").rglob("*.png"))
        self.assertGreaterEqual({path.parent.parent.name for path in icons}, {"16x16", "48x48", "256x256", "512x512"})
        for icon in icons:
            width, height = struct.unpack(">II", icon.read_bytes()[16:24])
            self.assertEqual(f"{width}x{height}", icon.parent.parent.name)
        for drawing in ("scalable/apps/com.zunlabs.Zun.svg", "symbolic/apps/com.zunlabs.Zun-symbolic.svg"):
            xml.etree.ElementTree.parse(SHARE / "icons/hicolor" / drawing)

    def test_the_desktop_and_the_bus_find_it(self):
        cache = (SHARE / "applications/mimeinfo.cache").read_text()
        self.assertIn("x-scheme-handler/zun.create=com.zunlabs.Zun.desktop", cache)
        for program, name in (("zun", "com.zunlabs.Zun"), ("zun-alerts", "com.zunlabs.Zun.Alerts")):
            if program not in programs():
                continue
            with self.subTest(name=name):
                on_a_bus("bash", "-ec", f"""
                    bus=org.freedesktop.DBus
                    ask() {{ dbus-send --session --print-reply=literal --dest=$bus / $bus."$@"; }}
                    ask StartServiceByName string:{name} uint32:0
                    pid=$(ask GetConnectionUnixProcessID string:{name} | awk '{{ print $NF }}')
                    [ "$(readlink /proc/$pid/exe)" = {PREFIX}/bin/{program} ]
                    kill $pid
                    tail --pid=$pid -f /dev/null
                    """)

    def test_pages_and_completions_know_each_command_and_option(self):
        page = (SHARE / "man/man1/zunctl.1").read_text()
        parts = re.split(r"^\.It Cm (\w+)|^\.S[hs]", page, flags=re.MULTILINE)
        documented = {name: options_of_page(text) for name, text in zip(parts[1::2], parts[2::2]) if name}
        documented["edit"] |= documented["add"] - ONLY_NEW
        commands = commands_of_help(run(PREFIX / "bin/zunctl", "--help"))
        self.assertGreater(len(commands), 10)
        for answers in (documented, self.bash("zunctl", ""), self.fish("zunctl", ""),
                        zsh_commands(ZSH / "_zunctl", environment())):
            if answers is not None:
                self.assertEqual(sorted(commands), sorted(answers))
        for command in commands:
            options = options_of_help(run(PREFIX / "bin/zunctl", command, "--help"))
            with self.subTest(command=command):
                self.assertEqual(options | GENERAL, documented[command] | GENERAL)
                self.same_options("zunctl", command, options | GENERAL)

    def test_pages_and_completions_know_the_options_of_the_other_programs(self):
        for program in set(programs()) - {"zunctl"}:
            options = options_of_help(run(PREFIX / "bin" / program, "--help"))
            page = (SHARE / f"man/man1/{program}.1").read_text()
            with self.subTest(program=program):
                self.assertLessEqual({"--help", "--home"}, options)
                documented = options_of_page("".join(re.findall(r"^\.It.*\n", page, re.MULTILINE)))
                self.assertEqual(options, documented - HIDDEN)
                self.same_options(program, None, options)

    def test_completions_offer_values(self):
        folder, bin = WORK / "with a blank", PREFIX / "bin"
        add = [bin / "zunctl", "--home", folder, "--json", "add"]
        todo = re.search('"reminderID":"([^"]+)"', run(*add, 'A "quoted"  title: at\\ five')).group(1)
        done = re.search('"reminderID":"([^"]+)"', run(*add, "Done")).group(1)
        run(bin / "zunctl", "--home", folder, "complete", done)
        here = {"ZUN_HOME": str(folder)}
        cases = [
            (["show", ""], sorted([todo, done])),
            (["complete", ""], [todo]),
            (["uncomplete", ""], [done]),
            (["show", todo[:8]], [todo]),
            (["--home", str(WORK / "nothing"), "show", ""], []),
            (["add", "--repeat", ""], ["none", "daily", "weekly", "monthly", "yearly"]),
            (["add", "Tea", "--on", "mon,t"], ["mon,tue", "mon,thu"]),
            (["add", "--early", "3"], ["30m"]),
            (["open", "zun"], ["zun.create://"]),
            (["sweep", ""], []),
        ]
        for words, expected in cases:
            with self.subTest(words=words):
                self.assertEqual(self.bash("zunctl", *words, **here), expected)
                self.assertIn(self.fish("zunctl", *words, **here), (None, expected))
        self.assertEqual(self.bash("zunctl", "add", "--repeat", "=", "m"), ["monthly"])
        self.assertFalse((WORK / "nothing").exists(), "a completion has made a home")

    def bash(self, program, *words, **more):
        file = SHARE / "bash-completion/completions" / program
        return bash_answers(file, [str(PREFIX / "bin" / program), *words], environment(**more))

    def fish(self, program, *words, **more):
        file = SHARE / f"fish/vendor_completions.d/{program}.fish"
        return fish_answers(file, " ".join([str(PREFIX / "bin" / program), *words]), environment(**more))

    def same_options(self, program, command, options):
        words = [command] if command else []
        self.assertEqual(options, set(self.bash(program, *words, "--")))
        fish = self.fish(program, *words, "--")
        self.assertIn(fish and set(fish), (None, options))
        self.assertIn(zsh_options(ZSH / f"_{program}", command or "", environment()), (None, options))


class Installing(unittest.TestCase):
    def setUp(self):
        fresh_home()

    def test_uninstall_leaves_what_was_there_before(self):
        before = tree()
        item = HOME / ".config/autostart/com.zunlabs.Zun.desktop"
        item.write_text(f"[Desktop Entry]\nExec={PREFIX}/bin/zun --background\n")
        on_a_bus(SOURCE / "scripts/install")
        self.assertGreater(len(tree() - before), 40)
        self.assertIn(str(SHARE / "zun"), on_a_bus(SOURCE / "scripts/uninstall"))
        self.assertEqual(tree(), before)
        self.assertTrue((SHARE / "zun/kept").exists())
        on_a_bus(SOURCE / "scripts/uninstall", status=1)

    def test_an_entry_for_another_application_stays(self):
        item = HOME / ".config/autostart/com.zunlabs.Zun.desktop"
        item.write_text("[Desktop Entry]\nExec=/usr/bin/zun --background\n")
        before = tree()
        run(SOURCE / "scripts/install")
        run(SOURCE / "scripts/uninstall")
        self.assertEqual(tree(), before)

    def test_an_update_takes_away_what_is_no_longer_brought(self):
        run(SOURCE / "scripts/install")
        first = tree()
        record, stale = PREFIX / "lib/zun/installed", PREFIX / "bin/zun-of-old"
        stale.write_text("")
        record.write_text(record.read_text() + f"file {stale}\n")
        run(SOURCE / "scripts/install")
        self.assertEqual(tree(), first)

    def test_a_disabled_service_stays_disabled(self):
        run(SOURCE / "scripts/install")
        links = list(HOME.glob(".config/systemd/user/*.wants/zun-alerts.service"))
        self.assertEqual(len(links), programs().count("zun-alerts"))
        for link in links:
            self.assertTrue(link.resolve().is_file())
            link.unlink()
        run(SOURCE / "scripts/install")
        self.assertFalse(any(link.is_symlink() for link in links))

    def test_any_prefix_that_desktop_files_can_name(self):
        prefix = WORK / "a prefix"
        self.assertIn("XDG_DATA_DIRS", run(SOURCE / "scripts/install", prefix))
        entry = prefix / "share/applications/com.zunlabs.Zun.desktop"
        self.assertEqual(run("desktop-file-validate", entry), "")
        self.assertIn(f'Exec="{prefix}/bin/zun" %U', entry.read_text())
        self.assertEqual([], list(HOME.glob(".config/*/*")), "another prefix is no business of the user's session")
        # Nobody listens there, which only the module that speaks to the network can tell.
        login = f"echo secret | '{prefix}/bin/zunctl' account login --service http://127.0.0.1:1 --name ana --password-stdin"
        self.assertRegex(run("bash", "-c", login, status=1), "cannot be reached .Couldn't connect")
        run(SOURCE / "scripts/uninstall", prefix)
        self.assertFalse(prefix.exists())
        self.assertIn("cannot name the folder", run(SOURCE / "scripts/install", WORK / "a$prefix", status=1))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
