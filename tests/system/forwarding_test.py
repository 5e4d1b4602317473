"""Copies of the message for the rule's forwarding addresses."""

import re

import pytest

from conftest import message


def forwarded(panel):
    """The mails that are copies and not replies."""
    return [mail for mail in panel.mails() if mail.arguments[-1] != b"otto@customer.example"]


def test_sends_one_copy_to_all_addresses(panel):
    panel.forward(panel.rule(), "a@x.example", "b@y.example")
    panel.run(message(body="bytes \udcff\r\n".encode("utf-8", "surrogateescape").decode("latin-1")))
    (copy,) = forwarded(panel)
    assert copy.arguments == [b"-f", b"info@shop.example", b"a@x.example", b"b@y.example"]


def test_the_copy_is_the_spooled_message_byte_for_byte(panel):
    panel.forward(panel.rule(), "a@x.example")
    text = b"From: otto@customer.example\r\nX: \xff\0\r\n\r\nbody\0\x80 without end"
    panel.run(text)
    (copy,) = forwarded(panel)
    assert copy.message == text + b"\n"


def test_forwards_before_it_replies(panel):
    panel.forward(panel.rule(), "a@x.example")
    panel.run(message())
    assert [mail.arguments[-1] for mail in panel.mails()] == [
        b"a@x.example", b"otto@customer.example"]


def test_starts_nothing_without_addresses(panel):
    panel.rule()
    panel.run(message())
    assert forwarded(panel) == []


@pytest.mark.parametrize("addresses, arguments", [
    (["a@x b@y"], [b"a@x", b"b@y"]),
    (["a@x; echo"], [b"a@x"]),
    (["`echo a@x`"], [b"a@x"]),
    (["$((6 * 7))@x"], [b"42@x"]),
    ([None, "a@x"], [b"a@x"]),
    ([None, None], []),
    ([""], []),
], ids=repr)
def test_leaves_the_addresses_to_the_shell(panel, addresses, arguments):
    panel.forward(panel.rule(), *addresses)
    panel.run(message())
    assert forwarded(panel)[0].arguments == [b"-f", b"info@shop.example", *arguments]


def test_the_command_text(panel):
    panel.leave_all_to_the_shell()
    panel.forward(panel.rule(), "a@x", None, "b@y")
    panel.run(message())
    assert re.fullmatch(r"/run/panel/qmail/bin/sendmail -f 'info@shop\.example'  a@x b@y "
                        r" </tmp/kem-autoresponder-\w{6}", panel.commands()[0])


def test_the_query_names_the_rule(panel):
    panel.rule()
    sent = panel.statements(lambda: panel.run(message()))
    assert sent[-2] == "select address from resp_forward where rn_id=1"


def test_ends_the_run_when_the_addresses_cannot_be_read(panel):
    panel.rule()
    panel.sql("drop table resp_forward")
    result = panel.run(message())
    assert (result.status, result.err) == (
        0, b"autoresponder: Unable to exec query :Table 'kem.resp_forward' doesn't exist\n")
    assert panel.mails() == []
