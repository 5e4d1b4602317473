"""One node of the cluster, in a sandbox of its own: a database server, a panel and the program.

Started by `cluster.py` through `sandbox/enter`; it takes calls of the methods of `Node` from
standard input and answers them on standard output, both pickled.
"""

import os
import pickle
import re
import subprocess
import sys
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path[:0] = [str(ROOT / "tests" / "system"), str(ROOT / "sandbox")]

import panel as sandbox  # noqa: E402
from conftest import EXPLAIN, PANEL, PROGRAM, RECIPIENT, Panel  # noqa: E402
import right_server  # noqa: E402

SAMPLE = ROOT / "packaging" / "galera.cnf.sample"
CONFIGURATION = Path("/etc/mysql/mariadb.conf.d")
LOG = sandbox.HOME / "mysqld.log"
BOX = sandbox.HOME / "box"
STATE = sandbox.DATA / "grastate.dat"

# The directory of the data, and settings that make a small server fast.
SMALL = f"""[mysqld]
datadir = {sandbox.DATA}
innodb_buffer_pool_size = 16M
innodb_log_file_size = 4M
innodb_flush_log_at_trx_commit = 0
key_buffer_size = 1M
"""

# One file for each call, because calls run at the same time.
SENDMAIL = f"""#!/bin/sh
file=$(/usr/bin/mktemp {BOX}/XXXXXXXXXX)
printf '%s ' "$@" >$file
echo >>$file
exec /bin/cat >>$file
"""


class Server(sandbox.Database):
    """A MariaDB with Debian's configuration and the node's, started as Debian's service starts it.
    Options are for one start only."""

    def start(self, *options):
        first_options, self.options = self.options, ()
        sandbox.SOCKET.parent.mkdir(parents=True, exist_ok=True)
        sandbox.SOCKET.unlink(missing_ok=True)
        # Not as root: otherwise the server that sends its files to a node would have to be allowed
        # that.
        subprocess.run(["chown", "-R", "mysql:", sandbox.DATA, sandbox.SOCKET.parent], check=True)
        # As Debian's service does: after a crash it finds the last change that the node had.
        position = subprocess.run(["galera_recovery"], check=True, text=True, stderr=LOG.open("ab"),
                                  stdout=subprocess.PIPE).stdout.split()
        self.process = subprocess.Popen(
            ["setpriv", "--reuid=mysql", "--regid=mysql", "--clear-groups", "--pdeathsig", "KILL",
             "mariadbd", *position, *first_options, *options],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=LOG.open("ab"))
        deadline = time.monotonic() + 60
        while not self._answers():
            if self.process.poll() is not None or time.monotonic() > deadline:
                raise RuntimeError("the node does not start:\n" + LOG.read_text()[-3000:])
            time.sleep(0.05)


class Node(Panel):
    """The panel of one host of the cluster."""

    def __init__(self, number):
        self.number = number
        self.address = f"127.0.0.{number}"
        sandbox.install()
        sandbox.write_sendmail(SENDMAIL)
        BOX.mkdir()
        self.database = None
        self.program = PROGRAM

    def configure(self):
        """Writes the sample configuration with this node's addresses."""
        shared, mark, own = SAMPLE.read_text().partition("# This node.\n")
        own = own.replace("mail1", f"mail{self.number - 1}").replace("192.0.2.2", self.address)
        (CONFIGURATION / "90-galera.cnf").write_text(
            shared.replace("192.0.2.", "127.0.0.") + mark + own)
        # Two servers on one machine cannot both listen on the default address.
        (CONFIGURATION / "99-small.cnf").write_text(f"{SMALL}bind_address = {self.address}\n")

    def start(self, *options):
        """Starts the server; returns its process id."""
        if self.database is None:
            self.database = Server(*options)
        else:
            self.database.start(*options)
        return self.database.process.pid

    def last_number(self):
        """The number of the last change that the node has, after a shutdown."""
        return int(re.search(r"^seqno: +(-?\d+)$", STATE.read_text(), re.M)[1])

    def allow_to_begin(self):
        """Lets the node begin a cluster anew."""
        text, count = re.subn("(?m)^safe_to_bootstrap: .*$", "safe_to_bootstrap: 1", STATE.read_text())
        assert count == 1
        STATE.write_text(text)

    def boot_alone(self):
        """Starts a server that is no node."""
        self.database = sandbox.Database("--sql-mode=")

    def stop(self):
        """Shuts the server down in order."""
        self.database.process.terminate()
        self.database.process.wait()

    def forget_state(self):
        """Makes the server forget which rows it has."""
        (sandbox.DATA / "grastate.dat").unlink()

    def wait_for_death(self):
        self.database.process.wait()

    def log(self):
        return LOG.read_text()

    def sql(self, statements, database="kem"):
        return self.database.run(statements, database)

    def load(self, *files):
        """Recreates the panel's database, in the whole cluster."""
        self.database.load(*files)
        self.sql(PANEL)

    def forget(self):
        """Undoes what a test has done outside the database."""
        self.switch()
        self.forget_mails()
        for path in sandbox.store().iterdir():
            path.unlink()

    def forget_mails(self):
        for path in BOX.iterdir():
            path.unlink()

    def deliver(self, messages, at_once=4):
        """Runs the program on each message; returns each run's status, diagnostics and seconds."""
        waiting = iter(enumerate(messages))
        ends = [None] * len(messages)
        lock = threading.Lock()

        def work():
            while True:
                with lock:
                    number, text = next(waiting, (None, None))
                if number is None:
                    return
                start = time.monotonic()
                process = subprocess.run(
                    [self.program], input=text, capture_output=True,
                    env={"PATH": "/usr/bin:/bin", "RECIPIENT": RECIPIENT})
                ends[number] = (process.returncode, process.stderr.decode("latin-1"),
                                time.monotonic() - start)
        threads = [threading.Thread(target=work) for _ in range(at_once)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        return ends

    def mails(self):
        """Recipient and text of every mail that left."""
        found = []
        for path in BOX.iterdir():
            arguments, _, text = path.read_text("latin-1").partition("\n")
            found.append((arguments.split()[-1], text))
        return found

    def statements_of(self, text):
        """What the server receives while the program runs on the message."""
        return self.statements(lambda: self.deliver([text], 1))

    def explanation(self, text):
        """Status and words of `autoresponder-explain`."""
        result = self.explain(text)
        return result.status, (result.out + result.err).decode()

    def set_up(self, repairs):
        """Sets up the host, but not its database."""
        right_server.set_up(AUTORESPONDER_REPAIRS="on" if repairs else "off")
        self.limit("1000000")

    def take_down(self):
        right_server.take_down()
        self.limit(None)

    def check(self, *options):
        """Status and lines of `autoresponder-explain --check`."""
        result = subprocess.run([EXPLAIN, "--check", *options], capture_output=True, text=True,
                                env={"PATH": "/usr/bin:/bin"})
        return result.returncode, result.stdout + result.stderr


def main():
    node = Node(int(sys.argv[1]))
    answers = os.fdopen(os.dup(1), "wb")
    os.dup2(2, 1)  # so that other output does not mix with the answers
    while True:
        try:
            name, arguments, keywords = pickle.load(sys.stdin.buffer)
        except EOFError:
            return
        try:
            answer = True, getattr(node, name)(*arguments, **keywords)
        except Exception as error:  # the caller raises it again
            answer = False, f"{type(error).__name__}: {error}"
        pickle.dump(answer, answers)
        answers.flush()


if __name__ == "__main__":
    main()
