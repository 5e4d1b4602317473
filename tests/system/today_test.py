"""autoresponder-explain --today: how many replies were sent, and whose limits were reached."""

import subprocess

import pytest

import panel as sandbox
from conftest import EXPLAIN, Result


def today(*options):
    return Result(subprocess.run([EXPLAIN, "--today", *options], capture_output=True,
                                 stdin=subprocess.DEVNULL, env={"PATH": "/usr/bin:/bin"}))


@pytest.fixture
def busy(panel):
    """Rule 1 has replied to three senders, to one as often as it may; rule 2 is full; rule 3 is off and has
    replied; rule 4 was busy yesterday; rule 5 is off."""
    panel.rule(ans_freq=5)
    panel.rule(mem_limit=1)
    panel.rule(resp_on="false")
    panel.sql("insert into mail (id, dom_id, mail_name) values (2, 1, 'help');"
              "insert into mail_aliases (mn_id, alias) values (2, 'faq');"
              "insert into mail_resp (id, mn_id, resp_on) values (4, 2, 'true'), (5, 2, 'false');"
              "insert into resp_freq (rn_id, email, num, time_resp) values"
              " (1, 'a@x.example', 5, now()), (1, 'b@x.example', 4, now()), (1, 'c@x.example', 1, now()),"
              " (2, 'a@x.example', 10, now()), (3, 'a@x.example', 1, now()),"
              " (4, 'a@x.example', 7, now() - interval 1 day), (99, 'a@x.example', 7, now())")
    return panel


INFO = b"""\
info@shop.example, rule 1: senders 3, replies 10, senders at the limit 1
info@shop.example, rule 2: senders 1, replies 10, senders at the limit 1. It remembers as many senders as it may.
info@shop.example, rule 3: senders 1, replies 1, senders at the limit 0
"""


@pytest.mark.parametrize("options, status, says", [
    ([], 0, INFO),
    (["info@shop.example"], 0, INFO),
    (["faq@shop.example"], 0, b"help@shop.example, rule 4: senders 0, replies 0, senders at the limit 0\n"),
    (["nobody@shop.example"], 1, b"The panel has no such mailbox or alias.\n"),
    ([""], 1, b"The panel has no such mailbox or alias.\n")])
def test_tells_what_rules_did(busy, options, status, says):
    del busy
    result = today(*options)
    assert (result.status, result.out, result.err) == (status, says, b"")


def test_tells_it_for_programs(busy):
    del busy
    answer = today("--json").answer()
    assert answer["found"] and answer["rules"][1] == {
        "mailbox": "info@shop.example", "id": 2, "senders": 1, "replies": 10, "senders_at_limit": 1,
        "memory_full": True}
    assert today("nobody@shop.example", "--json").answer() == {"found": False, "rules": []}


def test_tells_that_nothing_was_sent(panel):
    del panel
    result = today()
    assert (result.status, result.out) == (0, b"No rule has replied today.\n")


def test_cannot_tell_without_a_table(panel):
    panel.sql("drop table resp_freq")
    result = today()
    assert result.status == 2
    assert result.out.startswith(b"It cannot be told. ") and b"resp_freq" in result.out
    assert "resp_freq" in today("--json").answer()["trouble"]


def test_shows_names_as_text(panel):
    panel.rule()
    panel.sql("update mail set mail_name='\x1b[2J'; insert into resp_freq (rn_id, email, num) values (1, 'a', 1)")
    assert today().out.startswith(rb"\x1B[2J@shop.example, rule 1")


def test_only_looks(busy):
    before = busy.state()
    statements = busy.statements(today)
    assert "set session transaction read only" in statements
    assert all(text.lower().startswith(("select", "set", "show")) for text in statements)
    assert busy.state() == before and sandbox.mails() == []
