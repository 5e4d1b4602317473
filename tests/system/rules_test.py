"""Which rules fire, and in which order what happens."""

import pytest

from conftest import NONSENSE, message

SESSION_AND_LOOKUP = 5


def answers(panel):
    """The texts of the replies that left, in order."""
    return [mail.message.split(b"\n\n")[1].split(b"\n")[0].decode() for mail in panel.mails()]


@pytest.mark.parametrize("resp_on, fires", [
    ("'true'", 1), ("'false'", 0), ("NULL", 0), ("''", 1), ("'yes'", 1), ("'FALSE'", 1),
])
def test_skips_a_rule_only_when_it_is_off(panel, resp_on, fires):
    panel.sql("alter table mail_resp modify resp_on varchar(10);"
              f"insert into mail_resp (mn_id, text, resp_on) values (1, 't', {resp_on});")
    panel.run(message())
    assert len(panel.mails()) == fires


@pytest.mark.parametrize("key_where, keystr, fires", [
    ("subj", "Invoice", 1),
    ("subj", "invoice", 0),
    ("subj", "", 1),
    ("subj", "voice 4", 1),
    ("body", "second", 1),
    ("body", "Second", 0),
    ("body", "", 1),
    ("body", "first\nsecond", 0),
    ("body", "Invoice", 0),
    ("no", "nowhere", 1),
    (None, "nowhere", 1),
    ("SUBJ", "nowhere", 1),
], ids=repr)
def test_looks_for_the_trigger_where_it_is_told(panel, key_where, keystr, fires):
    panel.sql("alter table mail_resp modify key_where varchar(10) collate utf8mb4_bin")
    panel.rule(key_where=key_where, keystr=keystr)
    panel.run(message(subject="Re: Invoice 42", body="first\nsecond\n"))
    assert len(panel.mails()) == fires


def test_fills_in_defaults_for_missing_columns(panel):
    panel.rule(text=None)
    panel.run(message())
    (mail,) = panel.mails()
    assert mail.message == (
        b"From: info@shop.example\nTo: otto@customer.example\nMIME-Version: 1.0\n"
        b'Subject: Re: Hello\nContent-Type: text/plain; charset="UTF-8"\n'
        b"Content-Transfer-Encoding: 8bit\nContent-Disposition: inline\n\n\n\n\n")


def test_every_firing_rule_answers_on_its_own_in_the_order_of_the_rows(panel):
    one, two = panel.rule(text="one"), panel.rule(text="two")
    panel.rule(text="off", resp_on="false")
    panel.rule(text="four", key_where="subj", keystr="nothing")
    panel.rule(text="five")
    panel.forward(one, "copy@colleague.example")
    panel.forward(two, "copy@colleague.example")
    panel.run(message())
    assert [mail.arguments[-1] for mail in panel.mails()] == [
        b"copy@colleague.example", b"otto@customer.example",
        b"copy@colleague.example", b"otto@customer.example", b"otto@customer.example"]
    assert [len(mail.message.split(b"\n\n")) > 1 for mail in panel.mails()] == [True] * 5
    assert panel.senders() == [(str(rule), "otto@customer.example", "1") for rule in (1, 2, 5)]


def test_a_rule_that_the_limiter_stops_neither_forwards_nor_replies(panel):
    rule = panel.rule(ans_freq=0)
    panel.forward(rule, "copy@colleague.example")
    panel.rule(text="other")
    panel.run(message())
    assert answers(panel) == ["other"]


def test_a_mailbox_without_rules_is_no_failure(panel):
    result = panel.run(message())
    assert (result.status, result.err, panel.mails()) == (0, b"", [])


def test_ends_the_run_when_the_rules_cannot_be_read(panel):
    panel.sql("drop table mail_resp")
    result = panel.run(message())
    assert (result.status, result.err) == (
        0, b"autoresponder: Unable to exec query :Table 'kem.mail_resp' doesn't exist\n")


@pytest.mark.parametrize("statement", [1, 2, 3, 4, 5, 6, 7])
def test_a_failing_statement_ends_the_run_and_later_rules_with_it(panel, statement):
    # Reading the rules; then of the first rule: forget, count, look up, remember, forwards,
    # attachments.
    panel.rule(text="first")
    panel.rule(text="second")
    result = panel.run(message(), faults=f"mysql_real_query#{SESSION_AND_LOOKUP + statement}")
    assert (result.status, result.err) == (
        0, b"autoresponder: Unable to exec query :" + NONSENSE)
    assert panel.mails() == []


@pytest.mark.parametrize("result", range(3, 11))
def test_a_missing_result_counts_as_an_empty_one(panel, result):
    # The results of the session, the lookups, the rules, the limiter, the forwards and the
    # attachments.
    panel.attach(panel.rule(), "list.txt")
    run = panel.run(message(), faults=f"mysql_store_result#{result}")
    assert run.status == 0
    assert run.err in (b"", b"autoresponder: Mailname not found: info@shop.example\n")


def test_handles_ten_thousand_rules(panel):
    panel.sql("insert into mail_resp (mn_id, keystr, key_where, text, resp_on)"
              " select 1, 'nothing', 'body', repeat('x', 1000), 'true' from seq_1_to_10000;")
    panel.rule(text="the last one")
    assert panel.run(message(), timeout=20).err == b""
    assert answers(panel) == ["the last one"]
