"""The private panel that every process test runs the real program against.

Each test starts with an empty panel: mailbox info@shop.example (id 1) of client `shop`, no rules.
"""

import os
import re
import subprocess
import sys
import textwrap
from pathlib import Path

import pytest

CHECKOUT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(CHECKOUT / "sandbox"))

import panel as sandbox  # noqa: E402

BUILD = CHECKOUT / os.environ.get("KEM_BUILD", "build")
PROGRAM = BUILD / "autoresponder" / "autoresponder"
FAULTS = BUILD / "tests" / "libfaults.so"
RECIPIENT = "shop.example-info@shop.example"

# The first boundary that a run draws, and the second.
BOUNDARY = "--------=_nWlrBbmQBhCDarzOwKkYHIDdqSCDX"

PANEL = """
insert into misc (param, val) values ('admin_email', 'hostmaster@panel.example');
insert into clients (id, login, pname, email)
  values (1, 'shop', 'Grete Kaufmann', 'grete@customer.example');
insert into domains (id, name, cl_id) values (1, 'shop.example', 1);
insert into mail (id, dom_id, mail_name) values (1, 1, 'info');
"""


class Result:
    """How a run ended and what it said."""

    def __init__(self, process):
        self.status = process.returncode
        self.out = process.stdout
        self.err = process.stderr


class Panel:
    """The sandbox with what the tests do in it."""

    def __init__(self):
        sandbox.install()
        self.database = sandbox.Database("--sql-mode=")
        self.program = PROGRAM

    def reset(self):
        sandbox.install()
        sandbox.forget_mails()
        for path in Path("/tmp").iterdir():
            subprocess.run(["rm", "-rf", path], check=True)
        subprocess.run(["rm", "-rf", sandbox.QMAIL / "control" / "databytes",
                        *sandbox.MAILNAMES.iterdir()], check=True)
        self.database.load("tables.sql")
        self.sql(PANEL)

    def sql(self, statements):
        return self.database.run(statements)

    def rule(self, **columns):
        """Adds a rule that is on; returns its id."""
        columns = {"mn_id": 1, "resp_on": "true", "text": "Thank you.", **columns}
        values = ", ".join("NULL" if value is None else "'" + str(value).replace("\\", "\\\\")
                           .replace("'", "\\'") + "'" for value in columns.values())
        return int(self.sql(f"insert into mail_resp ({', '.join(columns)}) values ({values});"
                            "select last_insert_id();"))

    def run(self, message, recipient=RECIPIENT, env=None, faults=None, **options):
        """Runs the program on a message; `recipient` None leaves RECIPIENT unset."""
        environment = {"PATH": "/usr/bin:/bin", **(env or {})}
        if recipient is not None:
            environment["RECIPIENT"] = recipient
        if faults is not None:
            environment |= {"LD_PRELOAD": str(FAULTS), "KEM_FAULTS": faults}
        if isinstance(message, str):
            message = textwrap.dedent(message).encode()
        return Result(subprocess.run([self.program], input=message, capture_output=True,
                                     env=environment, **options))

    def mails(self):
        return sandbox.mails()

    def temporary_files(self):
        return sorted(name for name in os.listdir("/tmp") if name.startswith("kem-"))

    def statements(self, run):
        """The statements that the server received from the program while `run` was called."""
        self.sql("set global log_output='TABLE'; truncate mysql.general_log;"
                 "set global general_log=1;")
        try:
            run()
        finally:
            self.sql("set global general_log=0;")
        rows = self.sql("select argument from mysql.general_log"
                        " where user_host like 'admin%' and command_type='Query';")
        return [re.sub(r"\\([nt\\])", lambda m: {"n": "\n", "t": "\t", "\\": "\\"}[m[1]], row)
                for row in rows.splitlines()]

    def senders(self):
        """The limiter's table: rule, sender, replies."""
        return [tuple(row.split("\t")) for row in
                self.sql("select rn_id, email, num from resp_freq order by 1, 2").splitlines()]


@pytest.fixture(scope="session")
def _panel():
    return Panel()


@pytest.fixture
def panel(_panel):
    _panel.reset()
    yield _panel
    assert _panel.temporary_files() == [] or getattr(_panel, "leaves_files", False)


def message(sender="otto@customer.example", subject="Hello", body="A question.\n"):
    """A plain message."""
    return (f"From: {sender}\nTo: info@shop.example\nSubject: {subject}\n\n{body}").encode()
