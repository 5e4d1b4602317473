"""The proxy, the database server or the network between them fails: a run writes its diagnostic,
ends in time with status 0, and leaves no file."""

import os
import re
import signal
import time

import pytest

from proxy_panel import (COPY, FAULTS, GREETING, LOST, NO_DATABASE, NOT_CONNECTED, OWNER, REPLY,
                         WaitingRun, busy_rule, message, sandbox, sent, wait_until, whole)
from another_host import socat

NOT_REACHED = NOT_CONNECTED + b"Can't connect to local server through socket"
# Diagnostics of a run that loses its connection: while it connects, while it sets the session up,
# or later.
ENDS = (re.escape(NOT_CONNECTED) + rb".*\n(System error .*\n)?" + re.escape(NO_DATABASE),
        rb"autoresponder: DB error \(.*\) 20(06|13): " + LOST + rb"\n(System error .*\n)?"
        + re.escape(NO_DATABASE),
        rb"autoresponder: Unable to (query: |exec query :)" + LOST + rb"\n",
        rb"Unable to define client email and personal name :" + LOST + rb"\n(.*\n)*")


def check_lost(panel, result):
    """Checks a run that lost its connection at some moment."""
    assert result.status == 0
    assert any(re.fullmatch(end, result.err) for end in ENDS), result.err
    assert whole(panel)
    assert REPLY not in sent(panel) or result.err.startswith(b"Unable to define client")


@pytest.fixture
def stoppable(panel):
    """After the test, continues a server that was stopped, or restarts one that was killed."""
    yield panel
    process = panel.database.process
    if process.poll() is None:
        os.kill(process.pid, signal.SIGCONT)
    else:
        panel.database.stop()
        panel.database.start()


# --- no proxy -------------------------------------------------------------------------------------

def test_the_socket_is_missing(panel):
    busy_rule(panel)
    sandbox.SOCKET.unlink(missing_ok=True)
    result = panel.run(message())
    assert result.status == 0
    assert result.err.startswith(NOT_REACHED + b" '/run/mysqld/mysqld.sock' (2)\n")
    assert result.err.endswith(NO_DATABASE)
    assert panel.mails() == []


def test_nobody_listens_at_the_socket(panel, proxy):
    busy_rule(panel)
    proxy().kill()
    result = panel.run(message())
    assert result.status == 0
    assert result.err.startswith(NOT_REACHED + b" '/run/mysqld/mysqld.sock' (111)\n")
    assert result.err.endswith(NO_DATABASE)
    assert panel.mails() == []


# Every third of the calls that the faults library sees in such a run.
@pytest.mark.parametrize("call", range(2, 24, 3))
def test_the_proxy_is_killed_in_the_middle(panel, proxy, call):
    busy_rule(panel)
    result = panel.run(message(), faults=f"kill={proxy().pid}@{call}", timeout=20)
    check_lost(panel, result)


def test_a_proxy_with_a_process_for_each_connection_is_killed_in_the_middle(panel, proxy):
    busy_rule(panel)
    result = panel.run(message(), faults=f"kill={proxy(make=socat).pid}@14", timeout=20)
    # The process that serves this connection lives on.
    assert (result.status, result.err, sent(panel)) == (0, b"", [COPY, OWNER, REPLY])


def test_a_proxy_that_starts_again_serves_the_next_run(panel, proxy):
    busy_rule(panel)
    proxy().kill()
    proxy()
    result = panel.run(message())
    assert (result.status, result.err, sent(panel)) == (0, b"", [COPY, OWNER, REPLY])


# --- no server ------------------------------------------------------------------------------------

def test_the_server_is_down(stoppable, proxy):
    panel = stoppable
    busy_rule(panel)
    proxy({"inter 2s": "inter 60s"})
    panel.database.stop()
    begin = time.monotonic()
    result = panel.run(message(), timeout=20)
    # HAProxy makes four attempts, a second apart.
    assert time.monotonic() - begin < 6
    assert result.status == 0
    assert result.err.startswith(NOT_CONNECTED + GREETING) and result.err.endswith(NO_DATABASE)
    assert panel.mails() == []


def test_the_checks_have_found_that_the_server_is_down(stoppable, proxy):
    panel = stoppable
    busy_rule(panel)
    proxy({"inter 2s": "inter 100ms"})
    panel.database.stop()

    def ends_at_once():
        begin = time.monotonic()
        result = panel.run(message(), timeout=20)
        assert result.status == 0
        assert result.err.startswith(NOT_CONNECTED + GREETING)
        return time.monotonic() - begin < 0.5
    wait_until(ends_at_once)
    assert panel.mails() == []
    panel.database.start()
    wait_until(lambda: panel.run(message()).err == b"")
    assert sent(panel) == [COPY, OWNER, REPLY]


@pytest.mark.parametrize("call", range(3, 24, 5))
def test_the_server_is_killed_in_the_middle(stoppable, proxy, call):
    panel = stoppable
    busy_rule(panel)
    proxy()
    result = panel.run(message(), faults=f"kill={panel.database.process.pid}@{call}", timeout=20)
    check_lost(panel, result)


def test_what_a_run_had_sent_when_the_server_died_stays_sent(stoppable, proxy):
    panel = stoppable
    proxy()
    run = WaitingRun(panel)
    panel.database.process.kill()
    panel.database.process.wait()
    status, err = run.go_on()
    assert status == 0
    assert re.fullmatch(rb"autoresponder: Unable to exec query :" + LOST + rb"\n", err)
    assert sent(panel) == [REPLY]


# --- a server that says nothing; the program's two minutes are one second here -----------------

@pytest.mark.parametrize("call", range(3, 24, 5))
def test_the_server_falls_silent_in_the_middle(stoppable, proxy, call):
    panel = stoppable
    busy_rule(panel)
    proxy()
    result = panel.run(message(), timeout=20,
                       faults=f"silence=1 stop={panel.database.process.pid}@{call}")
    check_lost(panel, result)


def test_a_silent_server_is_given_up_when_the_proxys_limit_comes_first(stoppable, proxy):
    panel = stoppable
    busy_rule(panel)
    proxy({"timeout server 1h": "timeout server 1s"})
    os.kill(panel.database.process.pid, signal.SIGSTOP)
    result = panel.run(message(), timeout=20)
    assert result.err.startswith(NOT_CONNECTED + GREETING)
    check_lost(panel, result)
    assert panel.mails() == []


@pytest.mark.parametrize("check, is_noticed",
                         [("option mysql-check user haproxy", True), ("", False)])
def test_only_checks_with_a_user_notice_a_silent_server(stoppable, proxy, check, is_noticed):
    panel = stoppable
    busy_rule(panel)
    proxy({"option mysql-check user haproxy": check, "inter 2s fall 5": "inter 100ms fall 2"})
    os.kill(panel.database.process.pid, signal.SIGSTOP)
    time.sleep(1)
    begin = time.monotonic()
    result = panel.run(message(), faults="silence=2", timeout=20)
    assert (time.monotonic() - begin < 1) == is_noticed
    assert result.err.startswith(NOT_CONNECTED + GREETING)
    check_lost(panel, result)


@pytest.fixture
def cut(panel):
    """Cuts the network until the test ends."""
    cuts = []

    def now():
        panel.database.host.cut()
        cuts.append(now)
    yield now
    for _ in cuts:
        panel.database.host.mend()


def test_the_network_is_cut_before_a_run(panel, proxy, cut):
    busy_rule(panel)
    proxy({"inter 2s": "inter 60s"})
    cut()
    result = panel.run(message(), faults="silence=1", timeout=20)
    assert result.err.startswith(NOT_CONNECTED + GREETING)
    check_lost(panel, result)
    assert panel.mails() == []


def test_the_network_is_cut_in_the_middle(panel, proxy, cut):
    proxy()
    run = WaitingRun(panel, LD_PRELOAD=str(FAULTS), KEM_FAULTS="silence=1")
    cut()
    status, err = run.go_on()
    assert status == 0
    assert re.fullmatch(rb"autoresponder: Unable to exec query :" + LOST + rb"\n", err)
    assert sent(panel) == [REPLY]
