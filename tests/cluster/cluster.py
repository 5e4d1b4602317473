"""Two nodes, each in a sandbox of its own, and the third member that only votes."""

import os
import pickle
import signal
import subprocess
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent


class RemoteError(Exception):
    """What a node's call has raised."""


class Remote:
    """The node in the other sandbox: its methods are those of `Node` in node.py."""

    def __init__(self, number):
        self.process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", ROOT / "sandbox" / "enter", "/usr/bin/python3", "-B",
             "tests/cluster/node.py", str(number)],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.server = None
        self.calls = threading.Lock()

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
        self.server = self.start(*options)

    def kill(self):
        """Ends the server as a lack of power would, also while a call is under way."""
        os.kill(self.server, signal.SIGKILL)

    def status(self, name):
        return self.sql(f"show status like 'wsrep_{name}'").split("\t")[1].strip()

    def end(self):
        self.process.stdin.close()
        self.process.wait()
