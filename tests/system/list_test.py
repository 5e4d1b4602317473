"""autoresponder-explain --list: what it tells of a mailbox, and how it ends."""

import os
import subprocess

import pytest

import panel as sandbox
from conftest import EXPLAIN, Result


def listing(*options):
    return Result(subprocess.run([EXPLAIN, "--list", *options], capture_output=True,
                                 stdin=subprocess.DEVNULL, env={"PATH": "/usr/bin:/bin"}))


def two_rules(panel):
    """Adds a rule that has everything, and one that has nothing and is off."""
    panel.sql("insert into mail_aliases (mn_id, alias) values (1, 'sales')")
    rule = panel.rule(keystr="price", key_where="subj", subject="Re: <request_subject>", ans_freq=5,
                      mem_limit=20, reply_to="team@shop.example", charset="ISO-8859-1",
                      content_type="text/html")
    panel.forward(rule, "anna@colleague.example", "ben@colleague.example", None)
    panel.attach(rule, "list.txt")
    panel.name_attachments(rule, "gone.txt")
    panel.rule(resp_on="false")
    panel.sql("insert into resp_freq (rn_id, email, num, time_resp) values"
              " (1, 'b@x.example', 2, timestamp(curdate(), '00:00:02')),"
              " (1, 'a@x.example', 3, timestamp(curdate(), '00:00:01')),"
              " (1, 'c@x.example', 9, timestamp(curdate() - interval 1 day)),"
              " (7, 'd@x.example', 1, now())")
    return panel.sql("select curdate()").strip()


def test_lists_a_mailbox(panel):
    today = two_rules(panel)
    result = listing("sales@shop.example")
    assert (result.status, result.err) == (0, b"")
    assert result.out.decode() == f"""\
Mailbox info@shop.example, id 1, found by an alias of the mailbox

Rule 1 is on
  trigger     "price" in the subject
  limits      replies to a sender each day: 5, senders remembered: 20
  subject     "Re: <request_subject>"
  reply to    team@shop.example
  text        text/html, ISO-8859-1
  forward to  anna@colleague.example
  forward to  ben@colleague.example
  attachment  list.txt, 7 bytes
  attachment  gone.txt, missing
  today       a@x.example, replies: 3, since {today} 00:00:01
              b@x.example, replies: 2, since {today} 00:00:02

Rule 2 is off
  trigger     every message
  limits      replies to a sender each day: 10, senders remembered: 1000
  subject     "Re: " and the message's
  text        text/plain, UTF-8
  today       answered nobody
"""


def test_lists_it_for_programs(panel):
    today = two_rules(panel)
    result = listing("info@shop.example", "--json")
    assert (result.status, result.err) == (0, b"")
    first, second = result.answer().pop("rules")
    assert {key: value for key, value in result.answer().items() if key != "rules"} == {
        "address": "info@shop.example", "found": True,
        "mailbox": {"id": 1, "mail_name": "info", "domain_name": "shop.example",
                    "found_by": "mail_name"}, "diagnostics": ""}
    assert first == {
        "id": 1, "on": True, "place": "subject", "key": "price", "replies_a_day": 5,
        "senders_remembered": 20, "subject": "Re: <request_subject>",
        "reply_to": "team@shop.example", "content_type": "text/html", "charset": "ISO-8859-1",
        "forwarding": ["anna@colleague.example", "ben@colleague.example"],
        "attachments": [{"name": "list.txt", "missing": False, "size": 7},
                        {"name": "gone.txt", "missing": True}],
        "answered_today": [
            {"sender": "a@x.example", "replies": 3, "since": f"{today} 00:00:01"},
            {"sender": "b@x.example", "replies": 2, "since": f"{today} 00:00:02"}]}
    assert (second["on"], second["attachments"], second["answered_today"]) == (False, [], [])


def test_lists_all_mailboxes_of_a_domain_that_have_rules(panel):
    panel.rule()
    panel.sql("insert into mail (id, dom_id, mail_name) values (2, 1, 'help'), (3, 1, 'none');"
              "insert into mail_resp (id, mn_id, resp_on) values (8, 2, 'false'), (9, 2, 'true');"
              "insert into domainaliases (dom_id, name, mail) values (1, 'laden.example', 'true')")
    for domain in ("shop.example", "laden.example"):
        result = listing(domain)
        assert (result.status, result.err) == (0, b"")
        parts = result.out.decode().split("\n\n")
        assert [part.splitlines()[0] for part in parts] == [
            "Mailbox help@shop.example, id 2, found by its name", "Rule 8 is off", "Rule 9 is on",
            "Mailbox info@shop.example, id 1, found by its name", "Rule 1 is on"]
    several = listing("shop.example", "--json").answer()
    assert several["diagnostics"] == ""
    assert [(found["address"], [rule["id"] for rule in found["rules"]])
            for found in several["mailboxes"]] == [
        ("help@shop.example", [8, 9]), ("info@shop.example", [1])]


def test_tells_of_a_mailbox_without_rules(panel):
    result = listing("info@shop.example")
    assert (result.status, result.out) == (
        0, b"Mailbox info@shop.example, id 1, found by its name\n  has no rules\n")


@pytest.mark.parametrize("address", ["nobody@shop.example", "info", "", "in'fo@shop.example"])
def test_tells_that_there_is_no_mailbox(panel, address):
    result = listing(address)
    assert (result.status, result.err) == (1, b"")
    assert result.out.decode() == f'The panel has no mailbox or alias "{address}".\n'
    assert listing(address, "--json").answer() == {
        "address": address, "found": False, "rules": [], "diagnostics": ""}


def test_an_empty_address_takes_no_other_option_with_it(panel):
    result = Result(subprocess.run([EXPLAIN, "--list=", "--json"], capture_output=True))
    assert (result.status, result.answer()["address"]) == (1, "")


def test_cannot_tell_without_a_database(panel):
    sandbox.write_shadow("another password")
    result = listing("info@shop.example")
    assert (result.status, result.out) == (
        2, b"It cannot be told. autoresponder: Unable to connect to the mysql database \n")
    assert b"Access denied" in result.err
    answer = listing("info@shop.example", "--json").answer()
    assert (answer["address"], answer["found"]) == ("info@shop.example", False)
    assert answer["trouble"].startswith("autoresponder: Unable to connect to the mysql database")


def test_tells_what_it_knows_before_a_query_fails(panel):
    panel.rule()
    panel.sql("drop table resp_attach")
    result = listing("info@shop.example", "--json")
    assert result.status == 2
    assert result.answer()["mailbox"]["mail_name"] == "info"
    assert "resp_attach" in result.answer()["trouble"]


def test_cannot_tell_without_the_configuration(panel):
    sandbox.write_conf({})
    result = listing("info@shop.example")
    assert result.status == 2
    assert result.err == b"autoresponder-explain: Error: PRODUCT_ROOT_D not defined\n"


def test_shows_values_as_text(panel):
    rule = panel.rule(keystr="\x1b[2J", key_where="subj", subject="\x1b[2J", reply_to="\x1b[2J",
                      charset="\x1b[2J", content_type="\x1b[2J")
    panel.forward(rule, "\x1b[2J")
    panel.name_attachments(rule, "\x1b[2J")
    panel.sql("insert into resp_freq (rn_id, email, num) values (1, '\x1b[2J', 1)")
    shown = listing("info@shop.example").out
    assert b"\x1b" not in shown and shown.count(rb"\x1B[2J") == 8


def test_names_a_pipe_as_empty(panel):
    panel.attach(panel.rule(), "pipe")
    pipe = sandbox.store() / "pipe"
    pipe.unlink()
    os.mkfifo(pipe)
    result = listing("info@shop.example")
    assert b"  attachment  pipe, 0 bytes\n" in result.out
    assert result.err.decode() == f"autoresponder: no plain file, attached empty: {pipe}\n"


def test_only_looks(panel):
    two_rules(panel)
    before = panel.state()
    statements = panel.statements(lambda: listing("info@shop.example"))
    assert "set session transaction read only" in statements
    assert all(text.lower().startswith(("select", "set", "show")) for text in statements)
    assert panel.state() == before
    assert panel.mails() == [] and panel.commands() == []
