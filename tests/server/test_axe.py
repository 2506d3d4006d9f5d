"""Kills the service under load, and fills its disk: whatever it had answered as saved is there afterwards, and fits together.

test_axe.py PROGRAM FOLDER: zun-cloud, and a folder for what the tests write.
"""

import http.client
import json
import pathlib
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import threading
import unittest

PROGRAM, WORK = (pathlib.Path(argument).resolve() for argument in sys.argv[1:3])
DATA = WORK / "data"
ZONE = {"zoneName": "Reminders", "ownerName": "__defaultOwner__"}


def limit_files(size):
    def limit():
        # Ignored, it lets the write fail as on a full disk.
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))
    return limit


class Service:
    def __init__(self, before=None):
        self.process = subprocess.Popen(
            [PROGRAM, "serve", "--data", DATA, "--listen", "127.0.0.1:0", "--health-listen", "", "--requests-per-second", "0"],
            stdout=subprocess.PIPE, text=True, preexec_fn=before)
        self.port = int(re.search(r" port=(\d+)", self.process.stdout.readline()).group(1))

    def end(self, how):
        self.process.send_signal(how)
        self.process.communicate(timeout=60)
        return self.process.returncode

    def clear(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.communicate(timeout=60)


class Client:
    def __init__(self, port, token=""):
        self.connection = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
        self.token = token

    def ask(self, path, body):
        self.connection.request("POST", "/v1/" + path, json.dumps(body), {"Authorization": "Bearer " + self.token})
        response = self.connection.getresponse()
        return response.status, json.loads(response.read())

    def save(self, name, size=100):
        record = {"recordType": "Reminder", "recordID": {"recordName": name} | ZONE, "recordChangeTag": "",
                  "fields": {"title": {"s": "x" * size}}}
        return self.ask("records/modify", {"database": DATABASE, "savePolicy": ALL_KEYS, "recordsToSave": [record],
                                           "recordIDsToDelete": []})

    def names(self):
        names, token = set(), None
        while True:
            zone = {"zoneID": ZONE} | ({"previousToken": token} if token else {})
            status, answer = self.ask("changes/zones", {"database": DATABASE, "zones": [zone]})
            assert status == 200, answer
            page = answer["zones"][0]
            names |= {record["recordID"]["recordName"] for record in page["changed"]}
            token = page["token"]
            if not page["moreComing"]:
                return names


# As the protocol writes them.
DATABASE, ALL_KEYS = "private", 2


class Axe(unittest.TestCase):
    def setUp(self):
        shutil.rmtree(WORK, ignore_errors=True)
        WORK.mkdir(parents=True)

    def start(self, before=None):
        service = Service(before)
        self.addCleanup(service.clear)
        return service

    def sign_up(self, service, name):
        client = Client(service.port)
        status, answer = client.ask("account/create", {
            "name": name, "displayName": "", "emailAddress": "", "password": "a password", "invitation": "", "deviceName": ""})
        self.assertEqual(status, 200, answer)
        client.token = answer["deviceToken"]
        status, answer = client.ask("zones/modify", {"database": DATABASE, "zonesToSave": [ZONE], "zonesToDelete": []})
        self.assertEqual(status, 200, answer)
        return client.token

    def check(self):
        ended = subprocess.run([PROGRAM, "check", "--data", DATA], capture_output=True, text=True, timeout=120)
        self.assertEqual((ended.returncode, ended.stdout), (0, ""))

    def test_a_killed_service_has_lost_nothing_that_it_answered(self):
        service = self.start()
        tokens = [self.sign_up(service, f"account{number}") for number in range(4)]
        saved = [set() for _ in tokens]
        chance, refused = random.Random(1), []
        for life in range(5):
            enough = threading.Event()
            aim = sum(map(len, saved)) + chance.randrange(20, 120)

            def write(number):
                client = Client(service.port, tokens[number])
                for count in range(10_000):
                    name = f"{life}.{count}"
                    try:
                        status, answer = client.save(name)
                    except (OSError, http.client.HTTPException):
                        return
                    if status != 200:
                        refused.append(answer)
                        enough.set()
                        return
                    saved[number].add(name)
                    if sum(map(len, saved)) >= aim:
                        enough.set()

            threads = [threading.Thread(target=write, args=(number,)) for number in range(len(tokens))]
            for thread in threads:
                thread.start()
            self.assertTrue(enough.wait(60))
            service.end(signal.SIGKILL)
            for thread in threads:
                thread.join()
            self.assertEqual(refused, [])
            self.check()
            service = self.start()
            for token, names in zip(tokens, saved):
                self.assertLessEqual(names, Client(service.port, token).names())
        self.assertEqual(service.end(signal.SIGTERM), 0)

    def test_a_full_disk_refuses_and_keeps_what_is_there(self):
        service = self.start(limit_files(3 << 20))
        token = self.sign_up(service, "anna")
        client, saved = Client(service.port, token), set()
        for count in range(200):
            status, answer = client.save(f"r{count}", 50_000)
            if status != 200:
                break
            saved.add(f"r{count}")
        self.assertEqual((status, answer["error"]["code"]), (503, 6))
        self.assertGreater(len(saved), 5)
        self.assertEqual(client.names(), saved, "reading goes on")
        service.end(signal.SIGTERM)
        self.check()
        service = self.start()
        client = Client(service.port, token)
        self.assertEqual(client.save("after")[0], 200)
        self.assertEqual(client.names(), saved | {"after"})
        service.end(signal.SIGTERM)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], warnings="ignore")
