"""The run as a whole: configuration, identity, intake failures, loop guards, the way out."""

import os
import time

import pytest

import panel as sandbox
from conftest import message

NO_SENDER = b"Could not get sender's e-mail address from Reply-To: or From: headers.\n"
NO_RECIPIENT = (b"Could not get recipient's e-mail address from environment variable RECIPIENT or "
                b"To: header.\n")


def test_answers_a_message(panel):
    panel.rule()
    result = panel.run(message())
    assert (result.status, result.out, result.err) == (0, b"", b"")
    assert [mail.arguments for mail in panel.mails()] == [
        [b"-f", b"info@shop.example", b"otto@customer.example"]]


@pytest.mark.parametrize("key", sandbox.KEYS)
def test_stops_at_a_missing_configuration_key(panel, key):
    panel.rule()
    values = sandbox.conf_values()
    del values[key]
    sandbox.write_conf(values)
    result = panel.run(message())
    report = f"autoresponder: Error: {key} not defined\n".encode()
    assert (result.status, result.err, result.out) == (1, report, report)
    assert panel.mails() == []


def test_stops_at_an_empty_configuration_value(panel):
    values = sandbox.conf_values()
    values["QMAIL_ROOT_D"] = "  "
    sandbox.write_conf(values)
    assert panel.run(message()).err == b"autoresponder: Error: QMAIL_ROOT_D not defined\n"


def test_an_empty_value_at_the_end_of_the_file_is_none(panel):
    """Without a newline the white space stays: the value is there, and empty."""
    values = sandbox.conf_values()
    del values["AWSTATS_DOC_D"]
    sandbox.write_conf(values)
    with sandbox.CONF.open("a") as file:
        file.write("AWSTATS_DOC_D   ")
    result = panel.run(message())
    assert (result.status, result.err) == (
        1, b"autoresponder: Error: AWSTATS_DOC_D not defined\n")


def test_names_the_first_of_several_missing_keys(panel):
    sandbox.write_conf({"QMAIL_ROOT_D": "/q", "PRODUCT_ROOT_D": "/p"})
    assert panel.run(message()).err == b"autoresponder: Error: HTTPD_VHOSTS_D not defined\n"


@pytest.mark.parametrize("unlink", [True, False], ids=["missing", "empty"])
def test_reports_an_unreadable_configuration_file(panel, unlink):
    sandbox.CONF.write_text("")
    if unlink:
        sandbox.CONF.unlink()
    suffix = b"\n\nSystem error 2: No such file or directory" if unlink else b""
    report = b"autoresponder: Error: PRODUCT_ROOT_D not defined" + suffix + b"\n"
    result = panel.run(message())
    assert (result.status, result.err, result.out) == (1, report, report)


def test_reports_under_the_base_name_it_was_started_by(panel):
    sandbox.CONF.unlink()
    result = panel.run(message(), executable=panel.program, preexec_fn=None)
    assert result.err.startswith(b"autoresponder: ")


@pytest.mark.parametrize("text", [b"", b"Subject: s\n\nbody\n", b"From: <>\n\n", b"From:\n\n"])
def test_refuses_a_message_without_a_sender(panel, text):
    result = panel.run(text)
    assert (result.status, result.err) == (0, NO_SENDER + b"Abnormal exit.\n")
    assert panel.mails() == []


@pytest.mark.parametrize("to", ["", "To: undisclosed-recipients:;\n", "To: <>\n"])
def test_refuses_a_message_without_a_recipient(panel, to):
    result = panel.run(f"From: a@b\n{to}\nbody\n".encode(), recipient=None)
    assert (result.status, result.err) == (0, NO_RECIPIENT + b"Abnormal exit.\n")


def test_refuses_to_run_without_a_spool_file(panel):
    panel.rule()
    result = panel.run(message(), faults="mkostemp#1")
    assert (result.status, result.err) == (
        0, b"Could not create a temporary file.\nAbnormal exit.\n")
    assert panel.mails() == []


@pytest.mark.parametrize("header", [
    "From: info@shop.example\n",
    "From: somebody@else.example\nReply-To: info@shop.example\n",
])
def test_refuses_sender_that_is_the_recipient(panel, header):
    panel.rule()
    result = panel.run(f"{header}\nbody\n".encode())
    assert (result.status, result.err) == (0, b"Field From: equial field To:\n")
    assert panel.mails() == []


def test_compares_sender_and_recipient_byte_for_byte(panel):
    panel.rule()
    assert panel.run(message(sender="Info@shop.example")).err == b""
    assert len(panel.mails()) == 1


@pytest.mark.parametrize("sender", [
    "MAILER-DAEMON@example.org", "mailer-daemon@example.org", "scanner-DrWEB-DAEMON@host",
    "a@MAILER-DAEMON.example", "xMAILER-DAEMONx@y", "MAILER-DAEMON",
])
def test_refuses_mailer_daemons(panel, sender):
    panel.rule()
    result = panel.run(message(sender=sender))
    assert (result.status, result.err) == (0, b"Field From: contains MAILER-DAEMON\n")
    assert panel.mails() == []


@pytest.mark.parametrize("sender", ["Mailer-Daemon@example.org", "drweb-daemon@example.org"])
def test_answers_other_spellings_of_mailer_daemon(panel, sender):
    panel.rule()
    assert panel.run(message(sender=sender)).err == b""
    assert len(panel.mails()) == 1


def test_names_from_even_when_the_sender_was_a_reply_to(panel):
    result = panel.run(b"From: a@b\nReply-To: MAILER-DAEMON@x\n\n")
    assert result.err == b"Field From: contains MAILER-DAEMON\n"


def test_ends_abnormally_on_an_escaping_exception(panel):
    # A NUL ends the subject after a blank, for which the decoder of encoded words throws.
    panel.rule()
    result = panel.run(b"From: a@b\nSubject: =?utf-8?Q?a?= \0\n\nbody\n")
    assert result.status == -6
    assert panel.mails() == []
    (left,) = panel.temporary_files()
    os.unlink(f"/tmp/{left}")


def test_leaves_its_own_environment_to_its_commands(panel):
    panel.rule()
    panel.run(message(), env={"QMAILINJECT": "f", "LANG": "C.UTF-8"})
    assert b"QMAILINJECT=f" in panel.mails()[0].environment


def test_waits_for_a_message_from_a_pipe_that_does_not(panel):
    panel.rule()
    process = panel.start(preexec_fn=lambda: os.set_blocking(0, False))
    process.stdin.write(b"From: otto@customer.example\nSubject: a part")
    process.stdin.flush()
    time.sleep(0.2)
    process.stdin.write(b" and the rest\n\nbody\n")
    process.stdin.close()
    assert process.wait(timeout=20) == 0
    (mail,) = panel.mails()
    assert b"Subject: Re: a part and the rest\n" in mail.message
