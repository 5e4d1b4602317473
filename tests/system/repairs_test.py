"""Repairs of what a rule's owner or a stranger writes, and of full disks. The tests of what happens
without repairs are in the other files."""

import subprocess

import pytest

import panel as sandbox
from conftest import message

NOT_WHOLE = "autoresponder: not sent, because its attachments are not whole: /tmp/kem-response-uu-"
NOT_FORWARDED = ("autoresponder: not forwarded, because the message is not whole in"
                 " /tmp/kem-autoresponder-")
ABORTING = b"From: otto@customer.example\nSubject: =?utf-8?Q?a?= \0\n\nbody\n"
SWITCHES = pytest.mark.parametrize("repairs", [False, True], ids=["as ever", "repairs"])


@pytest.fixture
def repaired(panel):
    panel.switch(repairs=True)
    return panel


def recipients(panel):
    return [mail.arguments[-1] for mail in panel.mails()]


# --- lines ---------------------------------------------------------------------------------------

@pytest.mark.parametrize("text, blanked", [
    ("a@x\nb@x", "a@x b@x"),
    ("a@x\n\nb@x\n", "a@x  b@x "),
    ("a@x\rb@x", "a@x b@x"),
    ("a\tb\x01\x1f\x7f@x", "a b   @x"),
    ("gr\N{LATIN SMALL LETTER U WITH DIAERESIS}n@x", "gr\N{LATIN SMALL LETTER U WITH DIAERESIS}n@x"),
], ids=repr)
def test_reply_to_adds_no_header_line(repaired, text, blanked):
    repaired.sql("insert into misc values ('mysql41_compatible', 'true')")
    repaired.rule(reply_to=text)
    repaired.run(message())
    assert repaired.mails()[0].message.startswith(
        f"Reply-To: {blanked}\nFrom: info@shop.example\n".encode())


def test_reply_to_adds_no_line_to_a_notice(repaired):
    repaired.limit("10")
    repaired.rule(reply_to="a@x\nBcc b@x")
    repaired.run(message())
    assert repaired.mails()[0].message.startswith(
        b"Reply-To: a@x Bcc b@x\nFrom: info@shop.example\nCC: \n")


@pytest.mark.parametrize("content_type, charset, line", [
    ("text/html\nX: y", "UTF-8", b'Content-Type: text/html X: y; charset="UTF-8"\n'),
    ("text/plain;\n\tformat=flowed", "UTF-8",
     b'Content-Type: text/plain;  format=flowed; charset="UTF-8"\n'),
    ("text/plain", 'x"\nX: y', b'Content-Type: text/plain; charset="UTF-8"\n'),
    ("text/plain", "UTF-8//IGNORE\n", b'Content-Type: text/plain; charset="'),
], ids=repr)
def test_content_type_and_charset_add_no_header_line(repaired, content_type, charset, line):
    repaired.rule(content_type=content_type, charset=charset, text="Thank you.")
    repaired.run(message())
    header = repaired.mails()[0].message.partition(b"\n\n")[0]
    assert line in header + b"\n"
    assert [field.partition(b":")[0] for field in header.split(b"\n")] == [
        b"From", b"To", b"MIME-Version", b"Subject", b"Content-Type", b"Content-Transfer-Encoding",
        b"Content-Disposition"]


# --- the notification ----------------------------------------------------------------------------

@pytest.mark.parametrize("reply_to, first", [
    ("sales@shop.example", b"Reply-To: sales@shop.example\nFrom: hostmaster@panel.example\nTo: "),
    ("a@x\nBcc b@x", b"Reply-To: a@x Bcc b@x\nFrom: hostmaster@panel.example\nTo: "),
    ("", b"From: hostmaster@panel.example\nTo: "),
])
def test_the_notifications_reply_to_has_its_line(repaired, reply_to, first):
    repaired.name_attachments(repaired.rule(reply_to=reply_to), "missing.txt")
    repaired.run(message())
    notice = repaired.mails()[0]
    assert notice.arguments[-1] == b"grete@customer.example"
    assert notice.message.startswith(first)


# --- the subject ---------------------------------------------------------------------------------

def test_a_subject_that_breaks_its_decoder_is_read(repaired):
    rule = repaired.rule(keystr="a", key_where="subj")
    repaired.forward(rule, "copy@colleague.example")
    result = repaired.run(ABORTING)
    assert (result.status, result.err) == (0, b"")
    assert repaired.temporary_files() == []
    copy, reply = repaired.mails()
    assert copy.message == ABORTING + b"\n"
    assert b"\nSubject: Re: a \n" in reply.message


FOLDED = message(subject="=?UTF-8?Q?Gr=C3=BC=C3=9Fe_aus?=\n =?UTF-8?B?IEvD?=\n\t=?UTF-8?B?tmxu?=")


@pytest.mark.parametrize("line_end", [b"\n", b"\r\n"], ids=repr)
@pytest.mark.parametrize("limit", [None, "10"], ids=["reply", "notice"])
def test_a_folded_subject_is_one_line(repaired, limit, line_end):
    repaired.limit(limit)
    repaired.rule(keystr="Grüße aus Köln", key_where="subj", subject="On <request_subject>!")
    result = repaired.run(FOLDED.replace(b"\n", line_end))
    assert (result.status, result.err) == (0, b"")
    text = repaired.mails()[0].message
    assert b"\nSubject: =?utf-8?Q?On_Gr=C3=BC=C3=9Fe_aus_K=C3=B6ln=21?=\n" in text or limit
    assert b"=0A" not in text and b"=C3=BC=C3=9Fe_aus_K=C3=B6ln" in text


def test_without_repairs_the_fold_reaches_the_reply(panel):
    panel.rule()
    result = panel.run(message(subject="=?utf-8?Q?a?=\n =?utf-8?Q?b?="))
    assert result.err == b"wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?a?=\n\n"
    assert b"\nSubject: =?utf-8?Q?Re:_a=0A_b?=\n" in panel.mails()[0].message


# --- whole mails only ----------------------------------------------------------------------------

@pytest.fixture
def small_tmp():
    def mount(size):
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size},mode=1777", "tmpfs", "/tmp"],
                       check=True)
    yield mount
    subprocess.run(["umount", "/tmp"], check=True)


@SWITCHES
def test_a_message_that_the_disk_did_not_take_is_not_forwarded(panel, small_tmp, repairs):
    panel.switch(repairs)
    rule = panel.rule()
    panel.forward(rule, "copy@colleague.example")
    small_tmp(65536)
    result = panel.run(message(body="x" * 200000))
    assert result.status == 0
    lines = result.err.decode().splitlines()
    assert sum(line.startswith(NOT_FORWARDED) for line in lines) == repairs
    assert (b"copy@colleague.example" in recipients(panel)) == (not repairs)


def test_other_rules_do_not_forward_it_either(repaired, small_tmp):
    for _ in range(2):
        repaired.forward(repaired.rule(), "copy@colleague.example")
    small_tmp(65536)
    result = repaired.run(message(body="x" * 200000))
    assert result.err.decode().count(NOT_FORWARDED) == 2
    assert b"copy@colleague.example" not in recipients(repaired)


def test_a_reply_whose_attachments_do_not_fit_is_not_sent(repaired, small_tmp):
    repaired.attach(repaired.rule(text="See below."), "big.bin", content=b"x" * 200000)
    repaired.rule(text="The next rule answers.")
    small_tmp(65536)
    result = repaired.run(message())
    assert result.status == 0
    assert [line.startswith(NOT_WHOLE) for line in result.err.decode().splitlines()].count(True) == 1
    (mail,) = repaired.mails()
    assert b"The next rule answers." in mail.message


@SWITCHES
def test_a_notice_that_does_not_fit_is_not_sent(panel, small_tmp, repairs):
    """The notice has the message's whole subject, encoded; the reply has a short one."""
    panel.switch(repairs)
    panel.limit("10")
    panel.rule(subject="Thank you")
    small_tmp(65536)
    result = panel.run(b"From: otto@customer.example\nSubject: " + b"\xff" * 30000 + b"\n\nbody\n")
    assert (b"Unable to write the reply to" in result.err) == repairs
    assert len(panel.mails()) == (not repairs)


def test_each_step_of_the_attachments_counts(repaired, small_tmp):
    """The disk is full at each point from the first lines of a file to the closing boundary."""
    repaired.attach(repaired.rule(), "list.txt")
    small_tmp(2 * 4096)  # a page for the message, one for the reply
    whole = []
    for size in range(2480, 2640, 4):
        sandbox.forget_mails()
        repaired.sql("delete from resp_freq")
        (sandbox.store() / "list.txt").write_bytes(b"y" * size)
        result = repaired.run(message())
        mails = repaired.mails()
        whole.append(len(mails))
        assert (NOT_WHOLE in result.err.decode()) == (mails == [])
        assert all(len(mail.message) <= 4096 and mail.message.endswith(b"--\n") for mail in mails)
    assert whole == sorted(whole, reverse=True) and {0, 1} == set(whole)


# --- explain -------------------------------------------------------------------------------------

def told_changes(panel, text):
    answer = panel.explain(text, "--json").answer()
    return answer.get("with_repairs", []), [rule.get("with_repairs", []) for rule in answer["rules"]]


def quote_in_the_sender(panel):
    panel.rule()
    return message(sender="o'neil@x.example")


def long_sender(panel):
    panel.rule()
    return message(sender="x" * 400 + "@x.example")


def shell_syntax(panel):
    panel.forward(panel.rule(), "a@x;id")
    return message()


def newline_in_the_sender(panel):
    panel.rule()
    return message(sender="a@[b\n c]")


def option_as_owner(panel):
    panel.sql("update clients set email='-bs'")
    panel.name_attachments(panel.rule(), "missing.txt")
    return message()


def link_in_the_store(panel):
    panel.name_attachments(panel.rule(), "link")
    (sandbox.store() / "link").symlink_to("/etc/hostname")
    return message()


def line_in_reply_to(panel):
    panel.rule(reply_to="a@x\nb@x")
    return message()


def reply_to_of_a_notification(panel):
    panel.name_attachments(panel.rule(reply_to="a@x"), "missing.txt")
    return message()


CHANGES = [
    (quote_in_the_sender, "quotes"), (long_sender, "limiter"), (shell_syntax, "forwarding"),
    (newline_in_the_sender, "newlines"), (option_as_owner, "options"), (link_in_the_store, "store"),
    (line_in_reply_to, "lines"), (reply_to_of_a_notification, "notification")]


@pytest.mark.parametrize("prepare, change", CHANGES, ids=[change for _, change in CHANGES])
def test_explain_tells_what_repairs_would_change(panel, prepare, change):
    text = prepare(panel)
    assert told_changes(panel, text) == ([], [[change]])
    assert b"\n  repairs on  " in panel.explain(text).out
    panel.switch(repairs=True)
    assert told_changes(panel, text) == ([], [[]])
    assert b"repairs on  " not in panel.explain(text).out


def test_explain_tells_that_the_run_would_not_abort(panel):
    panel.rule()
    assert told_changes(panel, ABORTING) == (["subject"], [])
    assert panel.explain(ABORTING).out.decode().endswith(
        "Switches: repairs off, courtesy off.\n  repairs on  the subject would be read as"
        " one line, which never aborts the run\n")
    panel.switch(repairs=True)
    answer = panel.explain(ABORTING, "--json").answer()
    assert (answer["verdict"], answer["message"]["subject"]) == ("reply", "a ")


def test_explain_tells_how_a_folded_subject_would_read(panel):
    panel.rule()
    answer = panel.explain(FOLDED, "--json").answer()
    assert answer["with_repairs"] == ["subject"]
    assert answer["message"]["subject_with_repairs"] == "Grüße aus Köln"
    told = panel.explain(FOLDED)
    assert '\n  repairs on  the subject would read "Grüße aus Köln"\n'.encode() in told.out
    assert told.err.count(b"Could not convert message subject text") == 1
    panel.switch(repairs=True)
    answer = panel.explain(FOLDED, "--json").answer()
    assert answer["message"]["subject"] == "Grüße aus Köln"
    assert "with_repairs" not in answer and "subject_with_repairs" not in answer["message"]


def test_repairs_would_change_nothing_for_most_messages(panel):
    rule = panel.rule(reply_to="sales@shop.example", text="Thank you.\n")
    panel.forward(rule, "a@x.example b@x.example", "grün@x.example")
    panel.attach(rule, "list.txt")
    assert told_changes(panel, message()) == ([], [[]])


def test_explain_foretells_attachments_that_cannot_be_whole(repaired):
    repaired.attach(repaired.rule(), "list.txt")
    told = repaired.explain(message(), "--json", env={"PATH": "/nowhere"})
    (rule,) = told.answer()["rules"]
    assert (told.status, rule["outcome"]) == (1, "not_whole")
    assert [command["purpose"] for command in rule["commands"]] == ["attach"]
