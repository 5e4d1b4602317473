"""The size limit and the hand-over to sendmail."""

import os
import re

import pytest

import panel as sandbox
from conftest import message

NOTICE = (b"From: info@shop.example\nCC: \nSubject: Re: Hello\n\n"
          b"An error occurred while responding on you request.\n\n"
          b"Autoresponder message size exceeds databytes limit.\n\n\n\n")


def replied(panel, text=None):
    result = panel.run(text or message())
    assert (result.status, result.err) == (0, b"")
    (mail,) = panel.mails()
    return mail.message


@pytest.fixture
def size(panel):
    """The size of the reply of the one rule there is."""
    panel.rule(text="x" * 5000)
    size = len(replied(panel))
    sandbox.forget_mails()
    return size


@pytest.mark.parametrize("spare, sent_whole", [(1, True), (0, True), (-1, False)])
def test_holds_the_reply_against_the_limit(panel, size, spare, sent_whole):
    panel.limit(f"{size + spare}\n")
    text = replied(panel)
    assert text == NOTICE if not sent_whole else len(text) == size


@pytest.mark.parametrize("limit", [
    None, "", "0", "0\n", "-1", "many", "x10", "+0", "99999999999x", " \n "], ids=repr)
def test_has_no_limit_without_a_positive_number(panel, size, limit):
    panel.limit(limit)
    assert len(replied(panel)) == size


@pytest.mark.parametrize("limit", ["100", "  100\n", "100 200000\n", "100bytes", "+100", "\n\n100"])
def test_takes_the_first_word_of_the_limit(panel, size, limit):
    panel.limit(limit)
    assert replied(panel) == NOTICE


def test_the_notice_has_the_envelope_of_the_reply(panel):
    panel.rule()
    panel.limit("1")
    panel.run(message())
    assert panel.mails()[0].arguments == [b"-f", b"info@shop.example", b"otto@customer.example"]


def test_the_notice_keeps_reply_to_and_drops_the_template(panel):
    panel.rule(reply_to="sales@shop.example", subject="Template")
    panel.limit("1")
    assert replied(panel) == b"Reply-To: sales@shop.example\n" + NOTICE


def test_the_notice_encodes_the_subject(panel):
    panel.rule()
    panel.limit("1")
    text = replied(panel, "From: otto@customer.example\nSubject: Grüße\n\nx\n".encode())
    assert b"\nSubject: =?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?=\n\n" in text


def test_attachments_count_towards_the_limit(panel):
    panel.attach(panel.rule(), "big.bin", content=b"x" * 100000)
    panel.limit("100000")
    assert replied(panel) == NOTICE


def test_removes_the_reply_before_the_next_rule(panel):
    sandbox.write_sendmail("#!/bin/sh\nls /tmp | grep -c kem-response >>/run/panel/counts\n")
    panel.rule()
    panel.rule()
    panel.run(message())
    with open("/run/panel/counts") as file:
        assert file.read().split() == ["1", "1"]
    os.unlink("/run/panel/counts")


def test_the_command_text(panel):
    panel.leave_all_to_the_shell()
    panel.rule()
    panel.run(message())
    (command,) = panel.commands()
    assert re.fullmatch(r"/run/panel/qmail/bin/sendmail -f 'info@shop\.example'"
                        r" 'otto@customer\.example' </tmp/kem-response-uu-\w{6}", command)


@pytest.mark.parametrize("script", [
    "#!/bin/sh\nexit 1\n", "#!/bin/sh\nexit 111\n", "#!/bin/sh\nkill -9 $$\n",
    "#!/bin/sh\nhead -c 10 >/dev/null\nexit 0\n", "not a program", "",
], ids=["1", "111", "killed", "reads a part", "nonsense", "empty"])
def test_does_not_look_at_the_status_of_sendmail(panel, script):
    sandbox.write_sendmail(script)
    rule = panel.rule(text="x" * 60000)
    panel.name_attachments(rule, "missing.txt")
    panel.forward(rule, "copy@colleague.example")
    assert panel.run(message(body="y" * 500000)).status == 0
    assert panel.senders() == [("1", "otto@customer.example", "1")]


def test_goes_on_without_any_sendmail(panel):
    (sandbox.QMAIL / "bin" / "sendmail").unlink()
    rule = panel.rule()
    panel.name_attachments(rule, "missing.txt")
    panel.rule()
    assert panel.run(message()).status == 0
    assert [num for _, _, num in panel.senders()] == ["1", "1"]
