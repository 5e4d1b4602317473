"""With AUTORESPONDER_COURTESY on: what is done without a reply, what a reply says of itself, two
autoresponders that answer each other, and what autoresponder-explain tells."""

import re

import pytest

import panel as sandbox
from courtesy import courteous, objection, switch, text_with  # noqa: F401
from courtesy_messages import MESSAGES

def test_everything_else_runs(courteous):
    rule = courteous.rule()
    courteous.forward(rule, "anna@colleague.example")
    courteous.name_attachments(rule, "missing.pdf")
    result = courteous.run(text_with("List-Id: <news.x>"))
    assert result.err == b"autoresponder: no reply, courtesy: List-Id\n" * 2
    (copy,) = courteous.mails()
    assert copy.arguments == [b"-f", b"info@shop.example", b"anna@colleague.example"]
    assert courteous.senders() == [("1", "otto@customer.example", "1"),
                                   ("2", "otto@customer.example", "1")]


def test_a_reply_that_the_limiter_refuses_needs_no_courtesy(courteous):
    courteous.sql("update mail_resp set ans_freq = 1")
    assert objection(courteous, text_with("List-Id: x")) == "List-Id"
    result = courteous.run(text_with("List-Id: x"))
    assert (result.err, courteous.mails()) == (b"", [])


def statements(panel, text):
    return [statement for statement in panel.statements(lambda: panel.run(text))
            if "mail_aliases" in statement or "domainaliases" in statement]


def test_asks_for_the_names_of_the_mailbox(courteous):
    assert statements(courteous, text_with()) == [
        "select alias from mail_aliases where mn_id=1",
        "select da.name from domainaliases da, mail m where da.dom_id=m.dom_id and m.id=1"
        " and da.mail='true'"]


def test_asks_for_no_names_where_the_header_tells(courteous):
    assert statements(courteous, text_with("List-Id: x")) == []


def test_a_query_for_the_names_that_fails_ends_the_run(courteous):
    courteous.sql("drop table domainaliases")
    result = courteous.run(text_with())
    assert (result.status, courteous.mails()) == (0, [])
    assert result.err == (b"autoresponder: Unable to exec query :"
                          b"Table 'kem.domainaliases' doesn't exist\n")


@pytest.mark.parametrize("state", ["off", "yes"])
@pytest.mark.parametrize("name", MESSAGES)
def test_answers_all_with_courtesy_off(courteous, state, name):
    switch(state)
    _, text = MESSAGES[name]
    courteous.run(text.encode(), env={"SENDER": ""})
    (mail,) = courteous.mails()
    assert mail.arguments[1] == b"info@shop.example"
    assert not re.search(rb"(?i)auto-|in-reply-to|references", mail.message)


def test_asks_for_no_names_with_courtesy_off(courteous):
    switch("off")
    assert statements(courteous, text_with()) == []


# What a reply says of itself.

def replied(panel, text):
    assert objection(panel, text) is None
    return panel.mails()[0].message


def test_a_reply_says_that_it_is_automatic(courteous):
    assert replied(courteous, text_with("Message-ID: <c@x>", "References: <a@x>\n <b@x>")) == (
        b"From: info@shop.example\n"
        b"To: otto@customer.example\n"
        b"MIME-Version: 1.0\n"
        b"Subject: Re: Hello\n"
        b"Auto-Submitted: auto-replied\n"
        b"X-Auto-Response-Suppress: All\n"
        b"In-Reply-To: <c@x>\n"
        b"References: <a@x>\n"
        b"\t<b@x>\n"
        b"\t<c@x>\n"
        b"Content-Type: text/plain; charset=\"UTF-8\"\n"
        b"Content-Transfer-Encoding: 8bit\n"
        b"Content-Disposition: inline\n"
        b"\n"
        b"Thank you.\n\n\n")


def test_a_reply_with_attachments_says_it_too(courteous):
    courteous.attach(1, "list.txt")
    header = replied(courteous, text_with("Message-ID: <c@x>")).split(b"\n\n")[0]
    assert header.endswith(b"\nAuto-Submitted: auto-replied\nX-Auto-Response-Suppress: All\n"
                           b"In-Reply-To: <c@x>\nReferences: <c@x>\n"
                           b"Content-Type: multipart/mixed;\n"
                           b"\tboundary=\"--------=_nWlrBbmQBhCDarzOwKkYHIDdqSCDX\"")


@pytest.mark.parametrize("field", [
    "Message-ID: <a@x>\r\n\tBcc: <b@x>", "Message-ID: <a\0@x>", "Message-ID: <a b@x>",
    "Message-ID: a@x", "Message-ID: <a@x", "Message-ID: <" + "a" * 20000 + "@x>",
    "Message-ID: <a@x\r>"], ids=range(7))
def test_a_reply_has_no_line_of_a_stranger(courteous, field):
    header = replied(courteous, text_with(field)).split(b"\n\n")[0]
    assert b"Bcc" not in header and b"\r" not in header and b"\0" not in header
    assert max(map(len, header.split(b"\n"))) < 998
    names = [line.split(b":")[0] for line in header.split(b"\n") if line[:1] != b"\t"]
    assert names in ([b"From", b"To", b"MIME-Version", b"Subject", b"Auto-Submitted",
                      b"X-Auto-Response-Suppress", *threaded, b"Content-Type",
                      b"Content-Transfer-Encoding", b"Content-Disposition"]
                     for threaded in ([], [b"In-Reply-To", b"References"]))


def test_the_notice_says_that_it_is_automatic(courteous):
    courteous.limit("1")
    assert replied(courteous, text_with("Message-ID: <c@x>")) == (
        b"From: info@shop.example\nCC: \nSubject: Re: Hello\nAuto-Submitted: auto-generated\n\n"
        b"An error occurred while responding on you request.\n\n"
        b"Autoresponder message size exceeds databytes limit.\n\n\n\n")


def test_the_notification_says_that_it_is_automatic(courteous):
    courteous.name_attachments(1, "missing.pdf")
    courteous.run(text_with())
    notification, _ = courteous.mails()
    assert notification.arguments == [b"-f", b"hostmaster@panel.example", b"grete@customer.example"]
    assert (b"Subject: kem notification (files missing in attachments repository). \n"
            b"Auto-Submitted: auto-generated\n"
            b"Content-Type: text/plain; charset=utf-8\n") in notification.message


# Two autoresponders.

def exchange(panel, mail, start_at, states, max_mails=10):
    """Delivers each mail that leaves to its mailbox's autoresponder; returns who has written, in
    order. `states`: whether courtesy is on, for each mailbox."""
    writers = []
    waiting = [(mail, start_at, "info@shop.example" if start_at != "info@shop.example"
                else "info@other.example")]
    while waiting and len(writers) < max_mails:
        text, recipient, sender = waiting.pop(0)
        switch(states[recipient])
        sandbox.forget_mails()
        result = panel.run(text, recipient=f"x-{recipient}", env={"SENDER": sender})
        assert result.status == 0
        for reply in panel.mails():
            writers.append(recipient)
            waiting.append((reply.message, reply.arguments[2].decode(), reply.arguments[1].decode()))
    return writers


ONE, OTHER = "info@shop.example", "info@other.example"


@pytest.mark.parametrize("start", [ONE, OTHER])
def test_two_autoresponders_answer_each_other_once_at_most(courteous, start):
    courteous.rule(mn_id=3)
    other = ONE if start == OTHER else OTHER
    text = text_with(sender=other, to=start)
    assert exchange(courteous, text, start, {ONE: "on", OTHER: "on"}) == [start]


# A mail server between the two may hide that the envelope sender is null.
def test_the_reply_itself_is_enough_to_stop_the_other(courteous):
    reply = replied(courteous, text_with(sender=OTHER))
    courteous.rule(mn_id=3)
    sandbox.forget_mails()
    result = courteous.run(reply, recipient=f"x-{OTHER}", env={"SENDER": ONE})
    assert result.err == b"autoresponder: no reply, courtesy: Auto-Submitted\n"
    assert courteous.mails() == []


def test_two_without_courtesy_do_not_stop(courteous):
    courteous.rule(mn_id=3)
    text = text_with(sender=OTHER)
    assert exchange(courteous, text, ONE, {ONE: "off", OTHER: "off"}) == [ONE, OTHER] * 5


# What autoresponder-explain tells.

def test_explain_tells_what_courtesy_refuses(courteous):
    courteous.forward(1, "anna@colleague.example")
    result = courteous.explain(text_with("List-Id: x"))
    assert result.status == 1
    words = result.out.decode()
    assert "\nRule 1 sends no reply, courtesy: List-Id\n" in words
    assert words.endswith("\nNo reply would leave. Reason: courtesy: List-Id.\n"
                          "Switches: repairs off, courtesy on.\n")
    answer = courteous.explain(text_with("List-Id: x"), "--json").answer()
    assert (answer["verdict"], answer["reason"], answer["objection"]) == (
        "no_reply", "courtesy", "List-Id")
    (rule,) = answer["rules"]
    assert (rule["outcome"], rule["objection"]) == ("courtesy", "List-Id")
    assert [command["purpose"] for command in rule["commands"]] == ["forward"]
    assert "reply" not in rule


def test_explain_tells_what_courtesy_would_refuse(courteous):
    switch("off")
    result = courteous.explain(text_with("List-Id: x"))
    assert result.status == 0
    assert result.out.decode().endswith(
        "\nA reply would leave. Reason: at least one rule replies.\n"
        "With courtesy on no reply would leave: List-Id.\n"
        "Switches: repairs off, courtesy off.\n")
    answer = courteous.explain(text_with("List-Id: x"), "--json").answer()
    assert (answer["verdict"], answer["reason"], answer["with_courtesy"], answer["objection"]) == (
        "reply", "rule_replies", "no_reply", "List-Id")
    assert answer["rules"][0]["outcome"] == "replies"


def test_explain_reads_the_envelope_sender(courteous):
    answer = courteous.explain(text_with(), "--json", env={"SENDER": ""}).answer()
    assert (answer["reason"], answer["objection"]) == ("courtesy", "null sender")


def test_explain_tells_how_courtesy_would_change_a_reply(courteous):
    switch("off")
    answer = courteous.explain(text_with(), "--json").answer()
    assert answer["with_courtesy"] == "marked_reply"
    assert "objection" not in answer
    assert courteous.explain(text_with()).out.endswith(
        b"\nWith courtesy on the reply would say that it is automatic, and have no envelope"
        b" sender.\nSwitches: repairs off, courtesy off.\n")


def test_explain_tells_of_no_change_where_courtesy_is_on(courteous):
    assert not {"with_courtesy", "objection"} & courteous.explain(text_with(), "--json").answer().keys()
    assert "with_courtesy" not in courteous.explain(text_with("List-Id: x"), "--json").answer()


def test_explain_tells_of_no_change_where_no_rule_replies(courteous):
    switch("off")
    courteous.sql("update mail_resp set resp_on = 'false'")
    answer = courteous.explain(text_with("List-Id: x"), "--json").answer()
    assert not {"with_courtesy", "objection"} & answer.keys()


def test_explain_with_courtesy_off_needs_no_names(courteous):
    switch("off")
    courteous.sql("drop table domainaliases")
    answer = courteous.explain(text_with(), "--json").answer()
    assert answer["verdict"] == "reply"
    assert not {"with_courtesy", "objection"} & answer.keys()


@pytest.mark.parametrize("name", MESSAGES)
def test_explain_foretells_the_run(courteous, name):
    want, text = MESSAGES[name]
    answer = courteous.explain(text.encode(), "--json", "--show-reply").answer()
    assert answer.get("objection") == want
    courteous.leave_all_to_the_shell()
    courteous.forget_commands()
    courteous.run(text.encode())
    commands = [re.sub(r"(/tmp/kem-response-uu-)\w{6}", r"\1XXXXXX", line)
                for line in courteous.commands()]
    assert commands == [command["line"] for command in answer["rules"][0]["commands"]]
    assert [mail.message.decode() for mail in courteous.mails()] == [
        rule["reply"]["text"] for rule in answer["rules"] if "reply" in rule]
