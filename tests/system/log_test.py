"""The table of log lines in docs/operators.md: the program itself produces each line, which is then
put into the form of the mail server's log.

The program runs as qmail runs it, by /bin/sh, with both outputs in one. `logged` changes them as
qmail does: it cuts them, adds its own count of deliveries, and replaces bytes that a log must not
contain.
"""

import os
import re

import pytest

import panel as sandbox
from conftest import CHECKOUT, message, real_root
from log_lines import NOT_PRODUCED, PRODUCERS
from logged import DOCUMENT, deliver, table

pytestmark = pytest.mark.skipif(not real_root(), reason="starts the program as other users")


@pytest.mark.parametrize("pattern", PRODUCERS)
def test_the_log_has_the_line(panel, pattern):
    assert pattern in table()
    line = PRODUCERS[pattern](panel)
    assert line.startswith("success: ") and line.endswith("did_1+0+1/"), line
    at = 0
    for piece in pattern.split("…"):
        assert piece in line[at:], line
        at = line.index(piece, at) + len(piece)


def test_every_line_of_the_table_is_produced():
    assert set(table()) - set(PRODUCERS) - {"MAILER-DAEMON", "mailer-daemon"} <= NOT_PRODUCED


def test_the_lines_that_are_shown_as_examples(panel):
    panel.attach(panel.rule(), "one.txt", "two.txt")
    lines = [deliver(message(sender="MAILER-DAEMON@x.example")), deliver()]
    panel.sql("update mail_resp set resp_on='false'")
    lines.append(deliver())
    shown = re.findall(r"^    delivery \d+: (.*)$", DOCUMENT, re.MULTILINE)
    assert sorted(shown) == sorted(lines)


def test_a_reply_without_attachments_says_nothing(panel):
    panel.rule()
    assert deliver() == "success: did_1+0+1/"
    assert len(panel.mails()) == 1


def test_an_address_that_is_an_option_says_nothing(panel):
    panel.rule()
    assert deliver(message(sender="-bs@evil.example")) == "success: did_1+0+1/"
    (mail,) = panel.mails()
    assert mail.arguments[2:] == [b"-bs@evil.example"]


@pytest.mark.parametrize("sender, gets_reply", [
    ("MAILER-DAEMON@x", 0), ("mailer-daemon@x", 0), ("DrWEB-DAEMON@x", 0), ("Mailer-Daemon@x", 1)])
def test_only_three_spellings_are_daemons(panel, sender, gets_reply):
    panel.rule()
    deliver(message(sender=sender))
    assert len(panel.mails()) == gets_reply


def test_the_alarms_match_the_lines_that_need_somebody(panel):
    """By the command of the document; the others are a stranger's or an owner's doing."""
    pattern, exception = re.search(r'^    grep -E "(.*)" \S+ \| grep -v (\S+)$', DOCUMENT, re.MULTILINE).groups()
    matched = {line for line in table()
               if re.search(pattern, line.replace("…", "_")) and exception not in line}
    assert matched == {
        "Unable_to_connect_to_Quern_Database:_…", "DB_error_…", "Error:_…_not_defined",
        "admin_password_file:_Permission_denied/…", "Unable_to_query:_…",
        "Unable_to_exec_query_:…", "The_caller's_limit_on_…", "…_is_neither_on_nor_off",
        "the_message_could_not_be_read/Abnormal_exit.",
        "not_forwarded,_because_the_message_is_not_whole_…",
        "not_sent,_because_its_file_was_removed:_…",
        "not_forwarded,_because_its_file_was_removed:_…",
        "not_sent,_because_its_attachments_are_not_whole:_…", "left_out_a_Reply-To_…",
        "qmail-inject:_fatal:_…", "Could_not_create_…", "Unable_to_write_the_reply_…",
        "sendmail:_not_found", "uuencode:_not_found", "Unable_to_load_libidn:_…",
        "Unable_to_load_the_database's_client_library:_…", "autoresponder:_Permission_denied",
        "autoresponder:_not_found", "terminate_called_…"}


def test_a_long_report_is_cut(panel):
    panel.rule()
    names = [f"{number:03}-{'x' * 60}" for number in range(60)]
    panel.attach(1, *names)
    for name in names:
        (sandbox.store() / name).unlink()
        os.mkfifo(sandbox.store() / name)
    assert deliver().endswith("/Error_report_too_long,_sorry./")
