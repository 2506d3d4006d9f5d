"""What the axe needs: services, a PostgreSQL of its own, clients that never give up, and readers that miss nothing."""

import glob
import http.client
import json
import os
import pwd
import random
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import threading

# As the protocol writes them.
DATABASE, ALL_KEYS, ANY_CHANGE_OF_A_TYPE = "private", 2, 1
NOT_AVAILABLE = 6
ZONE = {"zoneName": "Reminders", "ownerName": "__defaultOwner__"}
PATIENCE = 120  # seconds for anything at all
REST = 0.05  # seconds between two tries of a client


def identifier(name):
    return {"recordName": name} | ZONE


class Service:
    def __init__(self, program, place, before=None, options=()):
        self.process = subprocess.Popen(
            [program, "serve", *place, "--listen", "127.0.0.1:0", "--health-listen", "", "--requests-per-second", "0", *options],
            stdout=subprocess.PIPE, text=True, preexec_fn=before)
        self.port = int(re.search(r" port=(\d+)", self.process.stdout.readline()).group(1))
        # Whoever does not read its log would hold it up.
        self.lines = []
        self.reader = threading.Thread(target=lambda: self.lines.extend(self.process.stdout), daemon=True)
        self.reader.start()

    def end(self, how):
        self.process.send_signal(how)
        self.process.wait(timeout=PATIENCE)
        self.reader.join(timeout=PATIENCE)
        return self.process.returncode

    def clear(self):
        if self.process.poll() is None:
            self.end(signal.SIGKILL)
        self.process.stdout.close()


class Client:
    def __init__(self, port, token=""):
        self.connection = http.client.HTTPConnection("127.0.0.1", port, timeout=PATIENCE)
        self.token = token

    def close(self):
        self.connection.close()

    def ask(self, path, body):
        self.connection.request("POST", "/v1/" + path, json.dumps(body), {"Authorization": "Bearer " + self.token})
        response = self.connection.getresponse()
        return response.status, json.loads(response.read())

    def modify(self, saves, deletions=()):
        records = [{"recordType": "Reminder", "recordID": identifier(name), "recordChangeTag": "", "fields": {"title": {"s": title}}}
                   for name, title in saves.items()]
        return self.ask("records/modify", {"database": DATABASE, "savePolicy": ALL_KEYS, "recordsToSave": records,
                                           "recordIDsToDelete": [identifier(name) for name in deletions]})

    def page(self, token):
        zone = {"zoneID": ZONE} | ({"previousToken": token} if token else {})
        status, answer = self.ask("changes/zones", {"database": DATABASE, "zones": [zone]})
        return status, answer["zones"][0] if status == 200 else answer

    def records(self):
        """Everything in the zone, by name, as a new device would read it."""
        state, token, is_more = {}, None, True
        while is_more:
            status, page = self.page(token)
            assert status == 200 and "error" not in page, page
            take_in(page, state)
            token, is_more = page["token"], page["moreComing"]
        return state


def take_in(page, state):
    for record in page["changed"]:
        state[record["recordID"]["recordName"]] = record["fields"]["title"]["s"]
    for deleted in page["deleted"]:
        state.pop(deleted["recordID"]["recordName"], None)


class Account:
    """One account with two devices: one writes, one reads and hears of it."""

    def __init__(self, port, name):
        client = Client(port)
        ask = lambda path, body: expect(client.ask(path, body))
        client.token = self.token = ask("account/create", {
            "name": name, "displayName": "", "emailAddress": "", "password": "a password", "invitation": "",
            "deviceName": "writer"})["deviceToken"]
        ask("zones/modify", {"database": DATABASE, "zonesToSave": [ZONE], "zonesToDelete": []})
        ask("subscriptions/save", {"database": DATABASE, "subscription": {
            "subscriptionID": "", "kind": ANY_CHANGE_OF_A_TYPE, "recordType": "Reminder", "options": 7, "desiredKeys": [],
            "shouldSendContentAvailable": True}})
        self.reader_token = ask("account/sign-in", {"name": name, "password": "a password", "deviceName": "reader"})["deviceToken"]
        client.close()


def expect(answer):
    status, body = answer
    assert status == 200, body
    return body


class Worker:
    """A thread that asks whatever service there is, and another one after each failure."""

    def __init__(self, ports, number):
        self.ports, self.turn, self.ending, self.fault = ports, number, threading.Event(), None
        self.thread = threading.Thread(target=self.work, daemon=True)

    def work(self):
        try:
            self.run()
        except Exception as fault:  # Told by join().
            self.fault = fault

    def next_port(self):
        self.turn += 1
        ports = list(self.ports)
        return ports[self.turn % len(ports)] if ports else None

    def join(self):
        self.thread.join(timeout=PATIENCE)
        assert not self.thread.is_alive(), "it hangs"
        if self.fault:
            raise self.fault


class Writer(Worker):
    """Makes, changes and deletes records of its own, each step again until it is answered as done: `state` is then what
    must be stored."""

    def __init__(self, load, account, number, token):
        super().__init__(load.ports, number)
        self.load, self.account, self.prefix, self.token = load, account, f"{number}.", token
        self.state, self.touched, self.chance = {}, set(), random.Random(number)

    def run(self):
        client, count = None, 0
        while not self.ending.is_set():
            count += 1
            kind, old = self.chance.random(), self.chance.choice(sorted(self.state)[-20:] or [""])
            name = old if old and kind < 0.5 else f"{self.prefix}{count}"
            deletes, title = bool(old) and kind < 0.15, f"{count} " + "x" * self.chance.randrange(200)
            while True:
                client, done = self.attempt(client, {} if deletes else {name: title}, [name] if deletes else [])
                if done:
                    break
                # What was not answered may have happened: nothing is known of it unless it is done again.
                self.load.failures += 1
                self.load.pause.wait(REST)
            self.touched.add(name)
            if deletes:
                del self.state[name]
            else:
                self.state[name] = title
            self.load.count()
        if client:
            client.close()

    def attempt(self, client, saves, deletions):
        try:
            client = client or Client(self.next_port() or 0, self.token)
            status, answer = client.modify(saves, deletions)
        except (OSError, http.client.HTTPException):
            if client:
                client.close()
            return None, False
        if status == 200:
            assert not answer["failed"], answer
            return client, True
        assert answer["error"]["code"] == NOT_AVAILABLE and float(answer["error"]["retryAfter"]) > 0, answer
        client.close()
        return None, False


class Follower(Worker):
    """Reads the feed from token to token, as a device does: `state` is what it was told, never read anew."""

    def __init__(self, ports, number, token):
        super().__init__(ports, number)
        self.token, self.state, self.feed_token = token, {}, None

    def run(self):
        client, is_last = None, False
        while True:
            is_last = self.ending.is_set()
            try:
                client = client or Client(self.next_port() or 0, self.token)
                status, page = client.page(self.feed_token)
            except (OSError, http.client.HTTPException):
                client, status, page = None, 0, {}
            if status == 200:
                assert "error" not in page, page
                assert not (self.state and page["fromBeginning"]), "the feed lost its place"
                take_in(page, self.state)
                self.feed_token = page["token"]
                if page["moreComing"]:
                    continue
                if is_last:
                    return
            self.ending.wait(REST)


class Listener(Worker):
    """A device's stream of pushes, opened again where it broke."""

    def __init__(self, ports, number, token):
        super().__init__(ports, number)
        self.token, self.names, self.last, self.gaps, self.streams = token, set(), None, 0, 0
        self.socket, self.opened = None, threading.Event()

    def run(self):
        while not self.ending.is_set():
            try:
                self.listen(self.next_port() or 0)
            except (OSError, http.client.HTTPException):
                pass  # The connection broke, or was closed to end it.
            self.ending.wait(REST)

    def listen(self, port):
        connection = http.client.HTTPConnection("127.0.0.1", port, timeout=PATIENCE)
        headers = {"Authorization": "Bearer " + self.token} | ({"Last-Event-ID": str(self.last)} if self.last is not None else {})
        connection.request("GET", "/v1/push", headers=headers)
        self.socket = connection.sock
        response = connection.getresponse()
        if response.status != 200:
            return
        self.streams += 1
        event, number = "", 0
        for line in response:
            word, _, value = line.decode().rstrip("\n").partition(": ")
            if word == "event":
                event = value
            elif word == "id":
                number = int(value)
            elif word == "data":
                self.take(event, number, json.loads(value))

    def take(self, event, number, data):
        if event == "opened":
            self.gaps += data["gap"]
        else:
            if number != self.last + 1:
                self.fault = AssertionError(f"push {number} after {self.last}")
            self.names.add(data["recordID"]["recordName"])
        self.last = number
        self.opened.set()

    def stop(self):
        self.ending.set()
        try:
            self.socket.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass  # It is closed already.


class Load:
    """Clients over some accounts of a changing list of services, a reader of each account's feed and one of its pushes."""

    def __init__(self, ports, accounts, clients):
        self.ports, self.acknowledged, self.failures = ports, 0, 0
        self.pause, self.news = threading.Event(), threading.Condition()
        self.accounts = accounts
        self.writers = [Writer(self, accounts[number % len(accounts)], number, accounts[number % len(accounts)].token)
                        for number in range(clients)]
        self.followers = [Follower(ports, number, account.reader_token) for number, account in enumerate(accounts)]
        self.listeners = [Listener(ports, number + 1, account.reader_token) for number, account in enumerate(accounts)]
        for listener in self.listeners:
            listener.thread.start()
        for listener in self.listeners:
            assert listener.opened.wait(PATIENCE), "no stream of pushes"
        for worker in self.writers + self.followers:
            worker.thread.start()

    def count(self):
        with self.news:
            self.acknowledged += 1
            self.news.notify_all()

    def wait_for(self, more):
        """Until so many more writes are acknowledged."""
        with self.news:
            aim = self.acknowledged + more
            assert self.news.wait_for(lambda: self.acknowledged >= aim or any(each.fault for each in self.writers), PATIENCE), \
                f"only {self.acknowledged} of {aim} writes, {self.failures} failures"

    def finish(self):
        """Ends the clients, and compares what each one knows to be stored with what the readers were told."""
        for worker in self.writers:
            worker.ending.set()
        for worker in self.writers:
            worker.join()
        for follower in self.followers:
            follower.ending.set()
        for follower in self.followers:
            follower.join()
        for account, follower, listener in zip(self.accounts, self.followers, self.listeners):
            mine = [writer for writer in self.writers if writer.account is account]
            stored = {name: title for writer in mine for name, title in writer.state.items()}
            touched = {name for writer in mine for name in writer.touched}
            client = Client(self.ports[0], account.reader_token)
            assert client.records() == stored, "what is stored is not what was answered"
            client.close()
            assert follower.state == stored, "the feed has a hole"
            self.await_pushes(listener, touched)
        for listener in self.listeners:
            listener.stop()
            listener.join()

    def await_pushes(self, listener, touched):
        rest = threading.Event()
        for _ in range(int(PATIENCE / REST)):
            if listener.gaps or touched <= listener.names:
                return
            rest.wait(REST)
        raise AssertionError(f"no push of {sorted(touched - listener.names)[:5]}")


class Postgres:
    """A server in a folder of its own, on a local socket. It does not run as root."""

    def __init__(self):
        programs = sorted(glob.glob("/usr/lib/postgresql/*/bin/initdb"))
        assert programs, "PostgreSQL is not installed"
        self.programs = os.path.dirname(programs[-1])
        # The name of a local socket is short.
        self.folder = tempfile.mkdtemp(prefix="zun-axe-")
        self.user = []
        if os.geteuid() == 0:
            names = {user.pw_name: user for user in pwd.getpwall()}
            user = names.get("postgres") or names["nobody"]
            os.chown(self.folder, user.pw_uid, user.pw_gid)
            self.user = ["setpriv", f"--reuid={user.pw_uid}", f"--regid={user.pw_gid}", "--clear-groups"]

    def run(self, program, *words):
        # A server that is started keeps what it is given for its output open.
        where = subprocess.DEVNULL if program == "pg_ctl" else subprocess.PIPE
        ended = subprocess.run([*self.user, f"{self.programs}/{program}", *words], stdout=where, stderr=where, cwd="/",
                               timeout=PATIENCE, check=False)
        assert ended.returncode == 0, (program, words, ended.stderr)
        return (ended.stdout or b"").decode().strip()

    def data(self):
        return f"{self.folder}/data"

    def make(self):
        self.run("initdb", "-D", self.data(), "-A", "trust", "-U", "zun", "--no-sync", "--encoding", "UTF8", "--locale", "C")
        self.start()
        self.tell("CREATE DATABASE zun", "postgres")
        return self

    def make_standby_of(self, primary):
        """Joins the primary anew, which from then on answers no write that is not here, too."""
        shutil.rmtree(self.data(), ignore_errors=True)
        self.run("pg_basebackup", "-h", primary.folder, "-U", "zun", "-D", self.data(), "-R", "-X", "stream", "-c", "fast", "--no-sync")
        self.start()
        primary.tell("ALTER SYSTEM SET synchronous_standby_names = '*'")
        primary.tell("SELECT pg_reload_conf()")
        rest = threading.Event()
        for _ in range(int(PATIENCE / REST)):
            if primary.tell("SELECT count(*) FROM pg_stat_replication WHERE sync_state = 'sync'") == "1":
                return self
            rest.wait(REST)
        raise AssertionError("the standby does not follow")

    def start(self):
        self.run("pg_ctl", "-D", self.data(), "-w", "-l", f"{self.folder}/log", "-o",
                 f"-k {self.folder} -c listen_addresses='' -c fsync=off -c max_connections=200", "start")

    def stop(self, how):
        self.run("pg_ctl", "-D", self.data(), "-w", "-m", how, "stop")

    def promote(self):
        self.run("pg_ctl", "-D", self.data(), "-w", "promote")
        # A copy of the former primary's settings may wait for a standby that is no more.
        self.tell("ALTER SYSTEM RESET synchronous_standby_names")
        self.tell("SELECT pg_reload_conf()")

    def tell(self, sql, database="zun"):
        return self.run("psql", "-h", self.folder, "-U", "zun", "-At", "-c", sql, database)

    def address(self, *others):
        """Of this server, or of whichever of several takes writes."""
        hosts = ",".join(server.folder for server in (self, *others))
        return f"host={hosts} user=zun dbname=zun" + (" target_session_attrs=read-write" if others else "")

    def clear(self):
        subprocess.run([*self.user, f"{self.programs}/pg_ctl", "-D", self.data(), "-m", "immediate", "stop"],
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd="/", timeout=PATIENCE, check=False)
        shutil.rmtree(self.folder, ignore_errors=True)
