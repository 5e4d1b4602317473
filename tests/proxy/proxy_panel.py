"""Shared by the tests with a proxy, as a plugin of pytest: the panel with its database on another
host, a sendmail that waits, and the texts that an operator finds in the log."""

import re
import sys
from pathlib import Path

import pytest

CHECKOUT = Path(__file__).resolve().parent.parent.parent
sys.path[:0] = [str(CHECKOUT / "tests" / "system"), str(CHECKOUT / "sandbox")]

import panel as sandbox  # noqa: E402
from conftest import FAULTS, Panel, message, wait_until  # noqa: E402
from busy_rule import COPY, OWNER, REPLY, busy_rule, sent, whole  # noqa: E402, F401
from another_host import RemoteDatabase, haproxy  # noqa: E402

NOT_CONNECTED = b"autoresponder: Unable to connect to Quern Database: "
NO_DATABASE = b"autoresponder: Unable to connect to the mysql database \n"
GREETING = (b"Lost connection to server at 'handshake: reading initial communication packet',"
            b" system error: ")
LOST = rb"(Lost connection to server during query|Server has gone away)"
ENTERED, GO = sandbox.HOME / "entered", sandbox.HOME / "go"

# Records the mail, and waits until it may go on.
WAITING = sandbox.SENDMAIL + f": >{ENTERED}\nwhile [ ! -e {GO} ]; do /bin/sleep 0.01; done\n"


def connect_directly():
    """Makes the program's socket the server's own."""
    sandbox.SOCKET.unlink(missing_ok=True)
    sandbox.SOCKET.parent.mkdir(parents=True, exist_ok=True)
    sandbox.SOCKET.symlink_to(RemoteDatabase.socket)


class WaitingRun:
    """A run of two rules whose first reply is in the hands of a sendmail that waits."""

    def __init__(self, panel, **environment):
        for path in (ENTERED, GO):
            path.unlink(missing_ok=True)
        panel.rule()
        panel.rule()
        sandbox.write_sendmail(WAITING)
        self.process = panel.start(env=environment)
        self.process.stdin.write(message())
        self.process.stdin.close()
        wait_until(ENTERED.exists)

    def go_on(self):
        """Lets sendmail and the run end; returns the run's status and diagnostics."""
        GO.touch()
        status = self.process.wait(timeout=30)
        return status, self.process.stderr.read()


def text_without_numbers(text):
    return re.sub(rb"-[A-Za-z0-9]{6}\b", b"-XXXXXX", text)


@pytest.fixture(scope="session")
def _panel():
    return Panel(RemoteDatabase)


@pytest.fixture
def panel(_panel):
    _panel.reset()
    yield _panel
    assert _panel.temporary_files() == []


@pytest.fixture
def proxy():
    """Starts HAProxy with the printed configuration, with changes to it, or another proxy."""
    started = []

    def start(changes=None, make=haproxy):
        started.append(make(changes) if make is haproxy else make())
        return started[-1]
    yield start
    for process in started:
        process.stop()
    sandbox.SOCKET.unlink(missing_ok=True)

