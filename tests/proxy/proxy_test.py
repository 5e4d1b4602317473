"""A proxy owns the socket that the program connects to, and the database is on another host: what a
run does, and the effect of the proxy's limits."""

import re
import socket
import subprocess
import threading
import time

import pytest

from proxy_panel import (GREETING, LOST, NO_DATABASE, NOT_CONNECTED, REPLY, WaitingRun, busy_rule,
                         connect_directly, message, sandbox, sent, text_without_numbers, wait_until)
from another_host import HOST, PORT, WITH_US, haproxy, socat

# The user of the printed statements, with another way to log in.
USER = "create or replace user admin@'192.0.2.1' {}; grant all on kem.* to admin@'192.0.2.1';"
DENIED = (NOT_CONNECTED + b"Access denied for user 'admin'@'192.0.2.1' (using password: YES)\n")


# --- what a run does ------------------------------------------------------------------------------

def everything(panel):
    """Rules that use everything a run can do; for one the oldest sender is forgotten."""
    busy_rule(panel)
    panel.rule(subject="Grüße: <request_subject>", charset="iso-8859-1", mem_limit=1)
    panel.rule(keystr="question", key_where="body", text="x" * 5000)
    panel.rule(keystr="pears", key_where="subj")
    panel.forward(panel.rule(ans_freq=1), "anna@colleague.example", "ben@colleague.example")
    panel.sql("insert into mail_aliases (mn_id, alias) values (1, 'sales');")
    panel.limit("4000")


def outcome(panel):
    """What two runs write, ask the database, start, send, and leave in the table of counts."""
    panel.sql("delete from resp_freq; insert into resp_freq (rn_id, email, num, time_resp)"
              " values (2, 'anna@customer.example', 1, now()),"
              " (3, 'old@x.example', 1, '2020-01-01');")
    sandbox.forget_mails()
    panel.forget_commands()
    ends = []
    statements = panel.statements(lambda: ends.extend(
        panel.run(message(), recipient=f"shop.example-{name}@shop.example")
        for name in ("info", "sales")))
    said = [(end.status, end.out, end.err) for end in ends]
    commands = [text_without_numbers(text.encode()) for text in panel.commands()]
    mails = [(mail.arguments, mail.message) for mail in panel.mails()]
    statements = [re.sub(r"'\d{4}-[-0-9: ]+'", "'a time'", text) for text in statements]
    return said, statements, commands, mails, panel.senders()


@pytest.mark.parametrize("make, repairs, courtesy", [
    (haproxy, False, False), (haproxy, False, True), (haproxy, True, False), (haproxy, True, True),
    (socat, False, False), (socat, True, True)])
def test_a_run_does_all_that_it_does_without_a_proxy(panel, proxy, make, repairs, courtesy):
    everything(panel)
    panel.switch(repairs, courtesy)
    connect_directly()
    directly = outcome(panel)
    proxy(make=make)
    assert outcome(panel) == directly
    said, _, _, mails, senders = directly
    assert said == [(0, b"\n", b"")] * 2
    # Seven mails, then five: the last rule answers a sender only once.
    assert (len(mails), len(senders)) == (12, 4)


def test_an_explanation_and_a_check_say_what_they_say_without_a_proxy(panel, proxy):
    everything(panel)

    def told():
        return [panel.explain(message(), option).out for option in ("--show-reply", "--check")]
    connect_directly()
    directly = told()
    proxy()
    assert told() == directly
    assert directly[0].count(b"A reply would leave.") == 1


# --- who may connect ------------------------------------------------------------------------------

def test_the_server_sees_a_user_of_the_proxys_host(panel, proxy):
    panel.rule()
    proxy()
    panel.sql("drop user admin@localhost;")
    result = panel.run(message())
    assert (result.status, result.err, sent(panel)) == (0, b"", [REPLY])


def test_a_user_of_the_local_host_does_not_count(panel, proxy):
    panel.rule()
    proxy()
    panel.sql("drop user admin@'192.0.2.1';")
    result = panel.run(message())
    assert result.status == 0
    assert result.err.startswith(DENIED) and result.err.endswith(NO_DATABASE)


def test_without_any_user_of_the_proxys_host(panel, proxy):
    panel.rule()
    proxy()
    panel.sql("drop user admin@'192.0.2.1', haproxy@'192.0.2.1';")
    result = panel.run(message())
    assert result.status == 0
    assert result.err.startswith(
        NOT_CONNECTED + b"Host '192.0.2.1' is not allowed to connect to this MariaDB server\n")


@pytest.mark.parametrize("password, connects", [
    ("identified by 'panel-secret'", True),
    ("identified via ed25519 using password('panel-secret')", True),
    ("identified by 'another'", False),
    ("identified by 'panel-secret' require ssl", False)])
def test_passwords(panel, proxy, password, connects):
    panel.rule()
    proxy()
    panel.sql("install plugin if not exists ed25519 soname 'auth_ed25519';" + USER.format(password))
    result = panel.run(message())
    assert result.status == 0
    if connects:
        assert (result.err, sent(panel)) == (b"", [REPLY])
    else:
        assert result.err.startswith(DENIED) and result.err.endswith(NO_DATABASE)


# --- time -----------------------------------------------------------------------------------------

def test_a_slow_sendmail_leaves_the_connection_idle_for_less_than_the_proxys_limit(panel, proxy):
    proxy()
    run = WaitingRun(panel)
    time.sleep(1.5)
    assert run.go_on() == (0, b"")
    assert sent(panel) == [REPLY, REPLY]


def test_a_reload_of_the_proxy_ends_no_run(panel, proxy):
    old = proxy()
    run = WaitingRun(panel)
    new = subprocess.Popen([*WITH_US, "haproxy", "-db", "-q", "-f", old.configuration, "-sf",
                            str(old.pid)])
    time.sleep(1)
    other = panel.run(message(), recipient="nobody@shop.example", timeout=20)
    assert other.err == b"autoresponder: Mailname not found: nobody@shop.example\n"
    assert old.process.poll() is None
    assert run.go_on() == (0, b"")
    wait_until(lambda: old.process.poll() is not None)
    new.kill()
    new.wait()
    assert sent(panel) == [REPLY, REPLY]


@pytest.mark.parametrize("limit", ["timeout client", "timeout server"])
def test_an_idle_connection_that_the_proxy_closes_ends_the_run(panel, proxy, limit):
    proxy({f"{limit} 1h": f"{limit} 1s"})
    run = WaitingRun(panel)
    time.sleep(2.5)
    status, err = run.go_on()
    assert status == 0
    # The program does not connect again: the second rule is not counted and not answered.
    assert re.fullmatch(rb"autoresponder: Unable to exec query :" + LOST + rb"\n", err)
    assert sent(panel) == [REPLY]
    assert panel.senders() == [("1", "otto@customer.example", "1")]


def test_a_statement_that_takes_longer_than_the_proxys_limit_ends_the_run(panel, proxy):
    panel.rule()
    proxy({"timeout server 1h": "timeout server 500ms"})
    lock = panel.start_sql("lock tables resp_freq write; select sleep(100);")
    wait_until(lambda: "resp_freq" in panel.sql("show open tables where in_use > 0"))
    result = panel.run(message(), timeout=20)
    panel.end_sql(lock, "sleep(100)")
    assert result.status == 0
    assert re.fullmatch(rb"autoresponder: Unable to exec query :" + LOST + rb"\n", result.err)
    assert sent(panel) == []


# --- how many at once -----------------------------------------------------------------------------

class Crowd:
    """Takes all connections that the server allows."""

    def __init__(self, panel):
        self.panel = panel
        panel.sql("set global max_connections=10;")  # the smallest value that the server accepts

        def taken():
            self.connections.append(socket.create_connection((HOST, PORT)))
            return self.connections[-1].recv(1000)[5:].startswith(b"\x10\x04")  # error 1040
        self.connections = []
        while not taken():
            pass

    def leave(self):
        for connection in self.connections:
            connection.close()
        self.panel.sql("set global max_connections=default;")


def test_the_server_refuses_what_the_proxy_does_not_queue(panel, proxy):
    panel.rule()
    proxy({"check inter 2s": "check inter 60s"})
    crowd = Crowd(panel)
    result = panel.run(message())
    crowd.leave()
    assert result.status == 0
    assert result.err.startswith(NOT_CONNECTED + b"Too many connections\n")
    assert result.err.endswith(NO_DATABASE)


def test_a_server_without_free_connections_soon_counts_as_down(panel, proxy):
    panel.rule()
    proxy({"check inter 2s": "check inter 100ms"})
    crowd = Crowd(panel)
    wait_until(lambda: panel.run(message()).err.startswith(NOT_CONNECTED + GREETING))
    crowd.leave()
    wait_until(lambda: panel.run(message()).err == b"")


def test_runs_above_the_proxys_limit_wait_for_their_turn(panel, proxy):
    proxy({"maxconn 40": "maxconn 1"})
    first = WaitingRun(panel)
    ends = []
    second = threading.Thread(target=lambda: ends.append(panel.run(message())))
    second.start()
    time.sleep(1)
    assert ends == []
    assert first.go_on() == (0, b"")
    second.join(20)
    assert [(end.status, end.err) for end in ends] == [(0, b"")]
    assert sent(panel) == [REPLY] * 4


def test_a_run_that_waits_too_long_for_its_turn_ends(panel, proxy):
    proxy({"maxconn 40": "maxconn 1", "timeout queue 100s": "timeout queue 500ms"})
    first = WaitingRun(panel)
    result = panel.run(message(), timeout=20)
    assert first.go_on() == (0, b"")
    assert result.status == 0
    assert result.err.startswith(NOT_CONNECTED + GREETING) and result.err.endswith(NO_DATABASE)
    assert sent(panel) == [REPLY] * 2
