"""Repairs of characters: those of rules, of the names of attachments, and of addresses."""

import subprocess

import pytest

import panel as sandbox
from conftest import message
from repaired import files_of, repaired

EMOJI = "\U0001F600"


def speak_utf8(panel):
    panel.sql("insert into misc values ('mysql41_compatible', 'true')")


# --- characters of a rule ------------------------------------------------------------------------

def rule_with_an_emoji(panel):
    speak_utf8(panel)
    panel.sql("alter table mail_resp convert to character set utf8mb4")
    return panel.rule(text=f"Thank you {EMOJI}", subject=f"Re {EMOJI}", keystr=EMOJI, key_where="subj")


def test_without_repairs_an_emoji_is_a_question_mark(panel):
    rule_with_an_emoji(panel)
    panel.run(message(subject="What?"))
    assert b"\n\nThank you ?\n" in panel.mails()[0].message


def test_an_emoji_of_a_rule_arrives(repaired):
    rule_with_an_emoji(repaired)
    repaired.run(message(subject=f"Hello {EMOJI}"))
    (mail,) = repaired.mails()
    assert f"\n\nThank you {EMOJI}\n".encode() in mail.message
    assert b"\nSubject: =?utf-8?Q?Re_=F0=9F=98=80?=\n" in mail.message


def test_the_characters_are_asked_for_where_the_panel_speaks_utf8(repaired):
    statements = repaired.statements(lambda: repaired.run(message()))
    assert "SET NAMES utf8mb4" not in statements
    speak_utf8(repaired)
    statements = repaired.statements(lambda: repaired.run(message()))
    place = statements.index("SET NAMES utf8")
    assert statements[place + 1] == "SET NAMES utf8mb4"


@pytest.mark.parametrize("repairs, charset, mode, replies", [
    (False, "utf8mb3", "", 2), (True, "utf8mb3", "", 1),
    (False, "utf8mb3", "STRICT_TRANS_TABLES", 0), (True, "utf8mb3", "STRICT_TRANS_TABLES", 1),
    (False, "utf8mb4", "", 0), (True, "utf8mb4", "", 1),
    (False, "latin1", "", 0), (True, "latin1", "", 0)])
def test_a_sender_with_an_emoji_is_limited_where_the_column_can_hold_it(
        panel, repairs, charset, mode, replies):
    panel.switch(repairs=repairs)
    speak_utf8(panel)
    panel.rule(ans_freq=1)
    panel.sql(f"alter table resp_freq convert to character set {charset};"
              f"set global sql_mode='{mode}'")
    try:
        for _ in range(2):
            panel.run(message(sender=f"{EMOJI}@x.example"))
    finally:
        panel.sql("set global sql_mode=''")
    assert len(panel.mails()) == replies


def test_a_mailbox_named_by_an_emoji_is_found_and_has_no_address_in_ascii(panel):
    speak_utf8(panel)
    panel.sql("alter table mail convert to character set utf8mb4;"
              f"update mail set mail_name='{EMOJI}' where id=1")
    panel.rule()
    ends = []
    for repairs in (False, True):
        panel.switch(repairs=repairs)
        result = panel.run(message(), recipient=f"shop.example-{EMOJI}@shop.example")
        ends.append((result.status, result.err.decode().splitlines()[0]))
    assert ends[1] == (
        1, f"autoresponder: idn_toascii_safe({EMOJI}@shop.example) failed: Stringprep error")
    assert ends[0][0] == 0 and ends[0][1].startswith("autoresponder: Unable to query: ")
    assert panel.mails() == []


# --- names of attachments ------------------------------------------------------------------------

NAMES = ["plain.txt", 'a "b".txt', "a\\b.txt", "price-list (2).txt", "Grüße aus Köln.txt",
         f"{EMOJI} 100% 'it'.txt", "=?utf-8?Q?a?=.txt"]


@pytest.mark.parametrize("name", NAMES)
def test_a_name_is_read_as_it_is(repaired, name, tmp_path):
    speak_utf8(repaired)
    repaired.sql("alter table resp_attach convert to character set utf8mb4")
    rule = repaired.rule()
    repaired.name_attachments(rule, name.replace("\\", "\\\\"))
    (sandbox.store() / name).write_bytes(b"content")
    result = repaired.run(message())
    assert (result.status, result.err) == (0, b"")
    (mail,) = repaired.mails()
    assert files_of(mail) == [(name, b"content")]
    # An old program, which knows no RFC 2231, unpacks the file by the parameter beside.
    unpacked = subprocess.run(["munpack", "-C", tmp_path], input=mail.message, capture_output=True)
    assert unpacked.returncode == 0 and b"application/octet-stream" in unpacked.stdout


def test_without_repairs_a_name_is_an_encoded_word(panel):
    panel.attach(panel.rule(), "price-list.txt")
    panel.run(message())
    assert b'\tfilename="=?utf-8?Q?price=2Dlist.txt?="\n' in panel.mails()[0].message


# --- addresses -----------------------------------------------------------------------------------

def test_a_sender_in_quotes_is_an_argument_without_them(repaired):
    repaired.rule()
    repaired.run(message(sender=r'"a \"b\" c"@x.example'))
    (mail,) = repaired.mails()
    assert mail.arguments[-1] == b'a "b" c@x.example'
    assert b'\nTo: "a \\"b\\" c"@x.example\n' in mail.message


def test_without_repairs_the_quotes_reach_the_argument(panel):
    panel.rule()
    panel.run(message(sender='"a b"@x.example'))
    assert panel.mails()[0].arguments[-1] == b'"a b"@x.example'


def test_a_sender_whose_quotes_hide_an_option_gets_nothing(repaired):
    repaired.rule()
    result = repaired.run(message(sender='"-bs"@x.example'))
    assert repaired.mails() == []
    assert result.err == b"autoresponder: refused to mail to an option: -bs@x.example\n"


@pytest.mark.parametrize("attachment", [False, True], ids=["reply", "notification too"])
def test_a_reply_to_that_cannot_be_parsed_is_left_out(repaired, attachment):
    rule = repaired.rule(reply_to='"Shop <a@b.example>')
    if attachment:
        repaired.name_attachments(rule, "missing.txt")
    result = repaired.run(message())
    assert result.err == (b"autoresponder: left out a Reply-To that the mail server cannot parse:"
                          b' "Shop <a@b.example>\n')
    mails = repaired.mails()
    assert len(mails) == (2 if attachment else 1)
    assert all(b"Reply-To" not in mail.message for mail in mails)


def test_without_repairs_it_stays(panel):
    panel.rule(reply_to='"Shop <a@b.example>')
    assert panel.run(message()).err == b""
    assert panel.mails()[0].message.startswith(b'Reply-To: "Shop <a@b.example>\n')


# --- explain -------------------------------------------------------------------------------------

def outcome(panel, text):
    answer = panel.explain(text, "--json").answer()
    (rule,) = answer["rules"]
    return answer["verdict"], rule["outcome"], rule.get("with_repairs", [])


def test_explain_tells_of_a_sender_that_is_an_option(panel):
    panel.rule()
    text = message(sender="-bs@x.example")
    assert outcome(panel, text) == ("no_reply", "read_as_option", ["options"])
    panel.switch(repairs=True)
    assert outcome(panel, text) == ("no_reply", "sender_is_option", [])


def test_explain_tells_of_a_reply_to_that_cannot_be_parsed(panel):
    panel.rule(reply_to='"Shop <a@b.example>')
    assert outcome(panel, message()) == ("no_reply", "reply_to_unreadable", ["reply_to"])
    panel.switch(repairs=True)
    assert outcome(panel, message()) == ("reply", "replies", [])


def test_explain_tells_of_names_and_quotes(panel):
    panel.attach(panel.rule(), "price-list.txt")
    assert outcome(panel, message(sender='"a b"@x.example')) == (
        "reply", "replies", ["file_names", "local_parts"])
