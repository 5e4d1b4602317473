"""What a database does to a run that fails, dies, or falls silent: always a diagnostic, status 0 and no
file left."""

import os
import re
import signal
import subprocess

import pytest

import panel as sandbox
from busy_rule import COPY, OWNER, REPLY, busy_rule, sent, whole
from conftest import NONSENSE, message, wait_until

EXEC = b"autoresponder: Unable to exec query :" + NONSENSE
NO_DATABASE = b"autoresponder: Unable to connect to the mysql database \n"


# The statements of a run with one busy rule, in order; and the report and the mails if that one
# fails.
STATEMENTS = [
    ("foreign keys", b"", [COPY, OWNER, REPLY]),
    ("version", NO_DATABASE, []),
    ("setting", NO_DATABASE, []),
    ("names", NO_DATABASE, []),
    ("mailbox", b"autoresponder: Unable to query: " + NONSENSE, []),
    ("rules", EXEC, []),
    ("forget", EXEC, []),
    ("count", EXEC, []),
    ("known", EXEC, []),
    ("remember", EXEC, []),
    ("forwards", EXEC, []),
    ("attachments", EXEC, [COPY]),
    ("owner", b"Unable to define client email and personal name :" + NONSENSE, [COPY, REPLY]),
    ("admin_email", NONSENSE, [COPY, OWNER, REPLY]),
]


@pytest.mark.parametrize("number, err, mails",
                         [(n + 1, err, mails) for n, (_, err, mails) in enumerate(STATEMENTS)],
                         ids=[name for name, _, _ in STATEMENTS])
def test_each_statement_failing_in_turn(panel, number, err, mails):
    busy_rule(panel)
    result = panel.run(message(), faults=f"mysql_real_query#{number}")
    assert result.status == 0
    # A warning may be followed by a system error number.
    assert err in result.err or err.rstrip(b"\n") in result.err
    assert sent(panel) == mails and whole(panel)
    assert panel.temporary_files() == []
    assert len(panel.senders()) == (1 if 11 <= number or number == 1 else 0)


# Every third of the calls that the faults library sees in such a run.
@pytest.mark.parametrize("call", range(2, 30, 3))
def test_the_server_is_killed_in_the_middle(panel, call):
    busy_rule(panel)
    try:
        result = panel.run(message(), faults=f"kill={panel.database.process.pid}@{call}",
                           timeout=30)
    finally:
        panel.database.stop()
        panel.database.start()
    assert result.status == 0
    assert panel.temporary_files() == []
    assert whole(panel)
    assert (REPLY in sent(panel)) or result.err != b""


def test_the_server_refuses_another_connection(panel):
    busy_rule(panel)
    panel.sql("alter user 'admin'@'localhost' with max_user_connections 1")
    client = subprocess.Popen(
        ["mariadb", "--no-defaults", f"--socket={sandbox.SOCKET}", "--user=admin",
         f"--password={sandbox.PASSWORD}", "kem", "-e", "select sleep(60)"],
        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        wait_until(lambda: "sleep(60)" in panel.sql(
            "select info from information_schema.processlist where user = 'admin'"))
        result = panel.run(message())
    finally:
        panel.end_sql(client, "sleep(60)")
        panel.sql("alter user 'admin'@'localhost' with max_user_connections 0")
    assert result.status == 0
    assert result.err.startswith(b"autoresponder: Unable to connect to Quern Database: User 'admin'"
                                 b" has exceeded the 'max_user_connections' resource")
    assert result.err.endswith(NO_DATABASE)


def test_the_server_answers_slowly(panel):
    busy_rule(panel)
    lock = panel.start_sql("lock tables resp_freq write; select sleep(1.5);")
    wait_until(lambda: "resp_freq" in panel.sql("show open tables where in_use > 0"))
    result = panel.run(message(), timeout=30)
    lock.wait()
    assert (result.status, result.err) == (0, b"")
    assert sent(panel) == [COPY, OWNER, REPLY] and whole(panel)


# --- a server that says nothing ------------------------------------------------------------------
LOST = rb"(Lost connection to|MySQL server has gone away|Server has gone away).*"


@pytest.fixture
def stopped_later(panel):
    """Continues the server after the test, however the run ended."""
    yield panel
    os.kill(panel.database.process.pid, signal.SIGCONT)


def test_a_server_that_accepts_and_says_nothing_is_given_up(stopped_later):
    panel = stopped_later
    busy_rule(panel)
    os.kill(panel.database.process.pid, signal.SIGSTOP)
    result = panel.run(message(), faults="silence=1", timeout=20)
    assert result.status == 0
    assert re.match(rb"autoresponder: Unable to connect to Quern Database: .*\n", result.err)
    assert result.err.endswith(NO_DATABASE)
    assert panel.temporary_files() == []
    assert panel.mails() == []


# Before every second call that the faults library sees, also of statements and rows.
@pytest.mark.parametrize("call", range(2, 31, 2))
def test_a_server_that_falls_silent_ends_the_run_as_one_that_dies(stopped_later, call):
    panel = stopped_later
    busy_rule(panel)
    result = panel.run(message(), faults=f"silence=1 stop={panel.database.process.pid}@{call}",
                       timeout=30)
    os.kill(panel.database.process.pid, signal.SIGCONT)
    assert result.status == 0
    assert panel.temporary_files() == []
    assert whole(panel)
    assert REPLY in sent(panel) or re.search(LOST, result.err)


def test_a_table_that_stays_locked_ends_the_run(panel):
    panel.rule()
    lock = panel.start_sql("lock tables resp_freq write; select sleep(100);")
    wait_until(lambda: "resp_freq" in panel.sql("show open tables where in_use > 0"))
    try:
        result = panel.run(message(), faults="silence=1", timeout=20)
    finally:
        panel.end_sql(lock, "sleep(100)")
    assert result.status == 0
    assert re.fullmatch(rb"autoresponder: Unable to exec query :" + LOST + rb"\n", result.err)
    assert panel.mails() == []
