"""Two nodes, each in a sandbox of its own, and the third member that only votes."""

import os
import pickle
import re
import signal
import subprocess
import threading
import time
from contextlib import contextmanager
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
GUIDE = ROOT / "docs" / "scaling.md"
KEYS = "tables.sql", "cluster.sql"
# The diagnostic of a run that lost against the other node.
DEADLOCK = ("autoresponder: Unable to exec query :"
            "Deadlock found when trying to get lock; try restarting transaction\n")


class RemoteError(Exception):
    """An exception of a call on a node."""


class Remote:
    """A node in a sandbox of its own. It has the methods of `Node` in node.py, and these."""

    def __init__(self, number):
        self.number = number
        self.process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", ROOT / "sandbox" / "enter", "/usr/bin/python3", "-B",
             "tests/cluster/node.py", str(number)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.server = None
        self.calls = threading.Lock()

    def peek(self):
        """The files of the mails that have left so far, also while a call is under way."""
        return os.listdir(f"/proc/{self.process.pid}/root/run/panel/box")

    def __getattr__(self, name):
        def call(*arguments, **keywords):
            with self.calls:
                pickle.dump((name, arguments, keywords), self.process.stdin)
                self.process.stdin.flush()
                is_well, answer = pickle.load(self.process.stdout)
            if not is_well:
                raise RemoteError(answer)
            return answer
        return call

    def boot(self, *options):
        """Starts the server; returns when it takes statements."""
        self.server = self.start(*options)

    def kill(self):
        """Kills the server, also while a call is under way."""
        os.kill(self.server, signal.SIGKILL)

    def status(self, name):
        return self.sql(f"show status like 'wsrep_{name}'", "mysql").split("\t")[1].strip()

    def variable(self, name):
        return self.sql(f"select @@{name}", "mysql").strip()

    def catch_up(self):
        """Returns when the node has what was committed on the others."""
        self.sql("set session wsrep_sync_wait=1; select 1 from mysql.global_priv limit 1", "mysql")

    def end(self):
        self.process.stdin.close()
        self.process.wait()


class Arbitrator:
    """The third member, started by Debian's script with the lines of the guide."""

    def __init__(self):
        lines = re.findall(r'^ +(GALERA_\w+=".*")$', GUIDE.read_text(), re.M)
        self.settings = "\n".join(lines).replace("192.0.2.", "127.0.0.")
        self.process = None

    def start(self):
        self.process = subprocess.Popen(
            [ROOT / "sandbox" / "enter", "sh", "-c",
             'echo "$0" >/etc/default/garb && exec garb-systemd start', self.settings],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            start_new_session=True)

    def stop(self):
        """Leaves the cluster in order, if it is in it."""
        if self.process.poll() is None:
            os.killpg(self.process.pid, signal.SIGTERM)
            self.process.wait()


class Cluster:
    """Two nodes, whose addresses end in 2 and 3, and the arbitrator."""

    def __init__(self):
        self.first, self.second = self.nodes = Remote(2), Remote(3)
        self.arbitrator = Arbitrator()
        for node in self.nodes:
            node.configure()
        self.first.boot("--wsrep-new-cluster")
        self.second.boot()
        self.arbitrator.start()
        self.wait_for_size(3)

    def wait_for_size(self, size):
        wait_until(lambda: all(node.status("cluster_size") == str(size) for node in self.nodes))

    def load(self, *files):
        """Recreates the panel on both nodes."""
        self.first.load(*files)
        for node in self.nodes:
            node.forget()
            node.catch_up()

    def switch(self, **switches):
        for node in self.nodes:
            node.switch(**switches)

    def rule(self, **columns):
        rule = self.first.rule(**columns)
        self.second.catch_up()
        return rule

    def deliver(self, messages, at_once=4):
        """Delivers `messages[N]` on node N, on both at once; returns the ends of the runs, by
        node."""
        ends = {}

        def work(node, texts):
            ends[node] = node.deliver(texts, at_once)
        threads = [threading.Thread(target=work, args=pair) for pair in zip(self.nodes, messages)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        return [ends[node] for node in self.nodes]

    def mails(self):
        return [mail for node in self.nodes for mail in node.mails()]

    def senders(self):
        """The limiter's table, which must be the same on both nodes."""
        for node in self.nodes:
            node.catch_up()
        senders, others = (node.senders() for node in self.nodes)
        assert senders == others
        return senders

    def end(self):
        self.arbitrator.stop()
        for node in self.nodes:
            node.end()


@contextmanager
def least_rights(cluster):
    """Leaves the program's database user only the rights of docs/operators.md."""
    rest = "insert, update, delete on kem.resp_freq"
    cluster.first.sql("revoke all on kem.* from admin@localhost;"
                      f"grant select on kem.* to admin@localhost; grant {rest} to admin@localhost;")
    try:
        yield
    finally:
        cluster.first.sql("grant all on kem.* to admin@localhost;"
                          f"revoke {rest} from admin@localhost;")


def message(sender="otto@customer.example", subject="Hello"):
    return (f"From: {sender}\nTo: info@shop.example\nSubject: {subject}\n\nA question.\n").encode()


def wait_until(condition, seconds=30):
    """Waits until the condition holds; fails when that takes too long."""
    deadline = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < deadline, "it did not happen"
        time.sleep(0.02)
