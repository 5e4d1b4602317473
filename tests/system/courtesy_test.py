"""With AUTORESPONDER_COURTESY on: which messages get no reply, and what a reply says of itself."""

import re

import pytest

import panel as sandbox
from conftest import RECIPIENT
from courtesy_messages import MESSAGES

NAMES = """
insert into mail_aliases (mn_id, alias) values (1, 'sales');
insert into domainaliases (dom_id, name, mail) values (1, 'laden.example', 'true');
insert into domainaliases (dom_id, name, mail) values (1, 'web.example', 'false');
insert into domainaliases (dom_id, name, mail) values (1, 'müller.example', 'true');
insert into domains (id, name, cl_id) values (2, 'other.example', 1);
insert into mail (id, dom_id, mail_name) values (2, 1, 'anna'), (3, 2, 'info');
insert into mail_aliases (mn_id, alias) values (2, 'berg');
insert into domainaliases (dom_id, name, mail) values (2, 'third.example', 'true');
"""


def switch(state):
    sandbox.write_conf({**sandbox.conf_values(), "AUTORESPONDER_COURTESY": state})


@pytest.fixture
def courteous(panel):
    """A panel with courtesy on and one rule, which answers everything."""
    switch("on")
    panel.sql(NAMES)
    panel.rule()
    return panel


def text_with(*fields, to="info@shop.example", sender="otto@customer.example"):
    """A message that gets a reply but for its further fields."""
    addressed = [f"To: {to}"] if to is not None else []
    return "\n".join([f"From: {sender}", *addressed, "Subject: Hello", *fields, "", "A question.\n"]
                     ).encode()


def objection(panel, text, sender=None, recipient=RECIPIENT):
    """Why there was no reply; None if there was one. `sender`: SENDER; None leaves it unset."""
    result = panel.run(text, recipient=recipient, env={} if sender is None else {"SENDER": sender})
    assert result.status == 0
    if result.err == b"":
        (mail,) = panel.mails()
        assert mail.arguments[:2] == [b"-f", b""]
        return None
    assert panel.mails() == []
    return re.fullmatch(rb"autoresponder: no reply, courtesy: (.*)\n", result.err)[1].decode()


# 1. The envelope sender.

@pytest.mark.parametrize("sender", ["", "#@[]"])
def test_does_not_answer_a_null_envelope_sender(courteous, sender):
    assert objection(courteous, text_with(), sender=sender) == "null sender"


@pytest.mark.parametrize("field", ["Return-Path: <>", "RETURN-PATH: (none)\n <(at all)> "])
def test_does_not_answer_a_null_return_path(courteous, field):
    assert objection(courteous, text_with(field)) == "null sender"


@pytest.mark.parametrize("sender", [None, "otto@customer.example", "<>@x", " "])
def test_answers_another_envelope_sender(courteous, sender):
    assert objection(courteous, text_with(), sender=sender) is None


def test_answers_another_return_path(courteous):
    assert objection(courteous, text_with("Return-Path: <otto@customer.example> (not <>)")) is None


# 2. to 6. Fields of the header; tests/autoresponder/intake/courtesy_facts_test.cpp has their forms.

@pytest.mark.parametrize("field, reason", [
    ("Auto-Submitted: auto-generated; owner-email=\"a@b\"", "Auto-Submitted"),
    ("auto-submitted: (no) auto-replied", "Auto-Submitted"),
    ("List-Id: <news.x>", "List-Id"),
    ("List-Help: <mailto:a@b>", "List-Help"),
    ("List-Subscribe: <mailto:a@b>", "List-Subscribe"),
    ("List-Unsubscribe: <mailto:a@b>", "List-Unsubscribe"),
    ("List-Post: NO", "List-Post"),
    ("List-Owner: <mailto:a@b>", "List-Owner"),
    ("List-Archive: <https://x.example/>", "List-Archive"),
    ("Precedence: bulk", "Precedence"),
    ("Precedence: list", "Precedence"),
    ("Precedence: Junk", "Precedence"),
    ("X-Auto-Response-Suppress: All", "X-Auto-Response-Suppress"),
    ("X-Auto-Response-Suppress: DR, AutoReply", "X-Auto-Response-Suppress"),
    ("X-Auto-Response-Suppress: OOF", "X-Auto-Response-Suppress"),
    ("X-Spam-Flag: YES", "spam"),
    ("X-Spam-Status: Yes, score=9", "spam"),
])
def test_does_not_answer_a_message_with(courteous, field, reason):
    assert objection(courteous, text_with(field)) == reason


@pytest.mark.parametrize("field", [
    "Auto-Submitted: (a person) no", "Auto-Submitted: No; x=y", "X-Auto-Submitted: auto-replied",
    "X-List-Id: x", "Listing: x", "List-Price: 5", "Precedence: first-class", "Precedence: (bulk)",
    "X-Auto-Response-Suppress: DR, RN, NRN", "X-Spam-Flag: NO", "X-Spam-Status: No, yes",
    "X-Spam-Level: ******", "Comments: Auto-Submitted: auto-replied"])
def test_answers_a_message_with(courteous, field):
    assert objection(courteous, text_with(field)) is None


# 7. Machines; tests/autoresponder/engine/machine_address_test.cpp has their names.

@pytest.mark.parametrize("sender", [
    "Postmaster@x.example", "NoReply@x.example", "no-reply@x.example", "owner-news@x.example",
    "news-owner@x.example", "News-Request@x.example", "LISTSERV@x.example", "majordomo@x.example"])
@pytest.mark.parametrize("place", ["From", "Reply-To", "SENDER", "Return-Path"])
def test_does_not_answer_a_machine(courteous, sender, place):
    if place == "From":
        found = objection(courteous, text_with(sender=sender))
    elif place == "SENDER":
        found = objection(courteous, text_with(), sender=sender)
    else:
        found = objection(courteous, text_with(f"{place}: {sender}"))
    assert found == "sender is a machine"


def test_does_not_answer_a_mailer_daemon_in_mixed_case(courteous):
    assert objection(courteous, text_with(sender="Mailer-Daemon@x.example")) == "sender is a machine"


@pytest.mark.parametrize("sender", ["noreplyson@x.example", "request@x.example", "owner@x.example",
                                    "otto@noreply.example", "postmasters@x.example"])
def test_answers_almost_a_machine(courteous, sender):
    assert objection(courteous, text_with(sender=sender), sender=sender) is None


# 8. The mailbox itself.

OWN_NAMES = ["INFO@shop.example", "sales@shop.example", "Sales@Shop.Example", "info@laden.example",
             "sales@LADEN.example", "info@müller.example", "sales@xn--mller-kva.example"]
OTHER_NAMES = ["anna@shop.example", "berg@shop.example", "info@other.example", "info@third.example",
               "info@web.example", "info@sub.shop.example", "xinfo@shop.example", "info@shop.examplex"]


@pytest.mark.parametrize("name", OWN_NAMES)
@pytest.mark.parametrize("place", ["From", "Reply-To", "SENDER", "Return-Path"])
def test_does_not_answer_the_mailbox_itself(courteous, name, place):
    if place == "From":
        found = objection(courteous, text_with(sender=name))
    elif place == "SENDER":
        found = objection(courteous, text_with(), sender=name)
    else:
        found = objection(courteous, text_with(f"{place}: {name}"))
    assert found == "from the mailbox itself"


@pytest.mark.parametrize("name", OTHER_NAMES)
def test_answers_another_mailbox(courteous, name):
    assert objection(courteous, text_with(sender=name), sender=name) is None


# A form on a web site writes so, and the customer is waiting for the answer.
def test_answers_a_reply_to_outside_though_from_is_the_mailbox(courteous):
    text = text_with("Reply-To: otto@customer.example", sender="info@shop.example")
    assert objection(courteous, text, sender="www-data@web1.panel.example") is None


# 9. Its addressees.

@pytest.mark.parametrize("name", ["info@shop.example", *OWN_NAMES])
@pytest.mark.parametrize("form", [
    "To: {}", "Cc: {}", "Bcc: {}", "Resent-To: {}", "Resent-Cc: {}", "Resent-Bcc: {}",
    "to: (x) a@b.example,\n Shop <{}>", "Cc: team: a@b.example, <{}>;"])
def test_answers_a_message_to_the_mailbox(courteous, name, form):
    assert objection(courteous, text_with(form.format(name), to=None)) is None


@pytest.mark.parametrize("name", OTHER_NAMES)
def test_does_not_answer_a_message_to_another_mailbox(courteous, name):
    assert objection(courteous, text_with(to=name)) == "not addressed to the mailbox"


@pytest.mark.parametrize("fields", [
    ["To: undisclosed-recipients:;"], ["To: \"info@shop.example\" <a@b.example>"],
    ["To: a@b.example (info@shop.example)"], ["X-To: info@shop.example"],
    ["Delivered-To: info@shop.example"], ["To:"], []])
def test_does_not_answer_a_message_that_only_mentions_the_mailbox(courteous, fields):
    assert objection(courteous, text_with(*fields, to=None)) == "not addressed to the mailbox"


@pytest.mark.parametrize("recipient, to", [
    ("x-sales@laden.example", "info@shop.example"), ("x-info@shop.example", "sales@laden.example"),
    ("x-SALES@Laden.Example", "Sales@laden.EXAMPLE"), (None, "sales@shop.example")])
def test_answers_by_whichever_name_it_was_delivered(courteous, recipient, to):
    assert objection(courteous, text_with(to=to), recipient=recipient) is None


@pytest.mark.parametrize("name", MESSAGES)
def test_knows_the_messages_of(courteous, name):
    want, text = MESSAGES[name]
    assert objection(courteous, text.encode()) == want


# What else runs.

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

def exchange(panel, mail, start_at, states, most=10):
    """Hands each mail that leaves to the autoresponder of the mailbox that it is for; returns who has
    written, in order. `states`: of courtesy, for each mailbox."""
    writers = []
    waiting = [(mail, start_at, "info@shop.example" if start_at != "info@shop.example"
                else "info@other.example")]
    while waiting and len(writers) < most:
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


# A mail server in between may hide that the envelope sender is null.
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
    assert words.endswith("\nNo reply would leave. Reason: courtesy: List-Id.\n")
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
        "With courtesy on no reply would leave: List-Id.\n")
    answer = courteous.explain(text_with("List-Id: x"), "--json").answer()
    assert (answer["verdict"], answer["reason"], answer["objection"]) == (
        "reply", "rule_replies", "List-Id")
    assert answer["rules"][0]["outcome"] == "replies"


def test_explain_reads_the_envelope_sender(courteous):
    answer = courteous.explain(text_with(), "--json", env={"SENDER": ""}).answer()
    assert (answer["reason"], answer["objection"]) == ("courtesy", "null sender")


@pytest.mark.parametrize("state", ["on", "off"])
def test_explain_tells_nothing_of_courtesy_that_changes_nothing(courteous, state):
    switch(state)
    assert "objection" not in courteous.explain(text_with(), "--json").answer()
    assert b"courtesy" not in courteous.explain(text_with()).out
    courteous.sql("update mail_resp set resp_on = 'false'")
    assert "objection" not in courteous.explain(text_with("List-Id: x"), "--json").answer()


def test_explain_with_courtesy_off_needs_no_names(courteous):
    switch("off")
    courteous.sql("drop table domainaliases")
    answer = courteous.explain(text_with(), "--json").answer()
    assert answer["verdict"] == "reply"
    assert "objection" not in answer


@pytest.mark.parametrize("name", MESSAGES)
def test_explain_foretells_the_run(courteous, name):
    want, text = MESSAGES[name]
    answer = courteous.explain(text.encode(), "--json", "--show-reply").answer()
    assert answer.get("objection") == want
    courteous.forget_commands()
    courteous.run(text.encode())
    commands = [re.sub(r"(/tmp/kem-response-uu-)\w{6}", r"\1XXXXXX", line)
                for line in courteous.commands()]
    assert commands == [command["line"] for command in answer["rules"][0]["commands"]]
    assert [mail.message.decode() for mail in courteous.mails()] == [
        rule["reply"]["text"] for rule in answer["rules"] if "reply" in rule]
