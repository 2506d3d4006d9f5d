"""The service under load and under the axe: whatever it had answered as saved is there afterwards, the feeds have no hole,
and every push comes.

test_axe.py PROGRAM FOLDER [--rounds N] [--clients N] [TEST...]: zun-cloud, and a folder for what the tests write. Prints what
happened how often. The defaults are for every day; many rounds with 200 clients are for once in a while.
"""

import argparse
import pathlib
import random
import resource
import shutil
import signal
import subprocess
import sys
import unittest

from axe_tools import NOT_AVAILABLE, Account, Client, Load, Postgres, Service, expect

parser = argparse.ArgumentParser(usage=__doc__)
parser.add_argument("program", type=pathlib.Path)
parser.add_argument("folder", type=pathlib.Path)
parser.add_argument("--rounds", type=int, default=2, help="how often the axe falls in each test")
parser.add_argument("--clients", type=int, default=24)
parser.add_argument("--seed", type=int, default=1)
options, rest = parser.parse_known_args()
PROGRAM, WORK = options.program.resolve(), options.folder.resolve()
DATA = WORK / "data"
ACCOUNTS = 6
# Writes between two blows, at least and at most.
BETWEEN = (60, 250)


def limit_files(size):
    def limit():
        # Ignored, it lets the write fail as on a full disk.
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
    return limit


class Axe(unittest.TestCase):
    def setUp(self):
        shutil.rmtree(WORK, ignore_errors=True)
        WORK.mkdir(parents=True)
        self.chance = random.Random(options.seed)
        self.place, self.services, self.ports = ["--data", DATA], [], []

    def start(self, before=None):
        service = Service(PROGRAM, self.place, before)
        self.addCleanup(service.clear)
        self.services.append(service)
        self.ports.append(service.port)
        return service

    def kill(self, service):
        service.end(signal.SIGKILL)
        self.services.remove(service)
        self.ports.remove(service.port)

    def begin_load(self, clients=options.clients):
        accounts = [Account(self.ports[0], f"account{number}") for number in range(ACCOUNTS)]
        return Load(self.ports, accounts, clients)

    def check(self):
        ended = subprocess.run([PROGRAM, "check", *self.place], capture_output=True, text=True, timeout=120, check=False)
        self.assertEqual(ended.returncode, 0, ended.stdout + ended.stderr)

    def finish(self, load, blows):
        load.finish()
        for service in list(self.services):
            self.assertEqual(service.end(signal.SIGTERM), 0)
        self.check()
        print(f"{self.id().split('.')[-1]}: {load.acknowledged} writes acknowledged, {load.failures} tries refused or broken, {blows}, "
              f"{sum(each.streams for each in load.listeners)} streams opened, {sum(each.gaps for each in load.listeners)} gaps", flush=True)


class OneFolder(Axe):
    def test_a_killed_service_has_lost_nothing_that_it_answered(self):
        self.start()
        load = self.begin_load()
        for _ in range(2 * options.rounds):
            load.wait_for(self.chance.randrange(*BETWEEN))
            self.kill(self.services[0])
            self.check()
            self.start()
        load.wait_for(BETWEEN[0])
        self.finish(load, f"{2 * options.rounds} kills")

    def test_many_clients(self):
        self.start()
        load = self.begin_load(200)
        load.wait_for(1_000 * options.rounds)
        self.assertEqual(load.failures, 0)
        self.finish(load, "200 clients")

    def test_a_full_disk_refuses_and_keeps_what_is_there(self):
        service = self.start(limit_files(3 << 20))
        account = Account(service.port, "anna")
        client, saved = Client(service.port, account.token), {}
        for count in range(200):
            title = f"{count} " + "x" * 50_000
            status, answer = client.modify({f"r{count}": title})
            if status != 200:
                break
            saved[f"r{count}"] = title
        self.assertEqual((status, answer["error"]["code"]), (503, NOT_AVAILABLE))
        self.assertGreater(len(saved), 5)
        self.assertEqual(client.records(), saved, "reading goes on")
        service.end(signal.SIGTERM)
        self.check()
        service = self.start()
        client = Client(service.port, account.token)
        expect(client.modify({"after": "more room"}))
        self.assertEqual(client.records(), saved | {"after": "more room"})
        service.end(signal.SIGTERM)


class OneDatabase(Axe):
    def setUp(self):
        super().setUp()
        self.database = self.make_database()
        self.place = ["--database", self.database.address()]

    def make_database(self):
        database = Postgres()
        self.addCleanup(database.clear)
        return database

    # The clients of the killed one go over to the other, whose streams tell of what came through both.
    def test_one_of_two_services_is_killed(self):
        self.database.make()
        self.start(), self.start()
        load = self.begin_load()
        for _ in range(options.rounds):
            load.wait_for(self.chance.randrange(*BETWEEN))
            self.kill(self.chance.choice(self.services))
            load.wait_for(BETWEEN[0])
            self.start()
        load.wait_for(BETWEEN[0])
        self.finish(load, f"{options.rounds} kills")

    def test_the_database_is_restarted(self):
        self.database.make()
        self.start(), self.start()
        load = self.begin_load()
        for number in range(options.rounds):
            load.wait_for(self.chance.randrange(*BETWEEN))
            self.database.stop("immediate" if number % 2 == 0 else "fast")
            self.database.start()
        load.wait_for(BETWEEN[0])
        self.finish(load, f"{options.rounds} restarts")

    def test_another_server_takes_over(self):
        primary, standby = self.database.make(), self.make_database()
        self.place = ["--database", primary.address(standby)]
        self.start(), self.start()
        load = self.begin_load()
        for _ in range(options.rounds):
            standby.make_standby_of(primary)
            load.wait_for(self.chance.randrange(*BETWEEN))
            primary.stop("immediate")
            standby.promote()
            primary, standby = standby, primary
            load.wait_for(BETWEEN[0])
        self.finish(load, f"{options.rounds} failovers")

    # For longer than a service holds requests back: it refuses them with a time to wait, and goes on once it can.
    def test_there_is_no_database_for_a_while(self):
        self.database.make()
        service = self.start()
        account = Account(service.port, "anna")
        client = Client(service.port, account.token)
        expect(client.modify({"before": "1"}))
        self.database.stop("immediate")
        status, answer = client.modify({"meanwhile": "2"})
        self.assertEqual((status, answer["error"]["code"]), (503, NOT_AVAILABLE))
        self.assertGreater(float(answer["error"]["retryAfter"]), 0)
        self.database.start()
        expect(client.modify({"after": "3"}))
        self.assertEqual(client.records().keys() - {"meanwhile"}, {"before", "after"})
        self.assertEqual(service.end(signal.SIGTERM), 0)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *rest], warnings="ignore")
