"""What may reach the shell, and in what state commands are started."""

import os
import signal
import subprocess
from pathlib import Path

import pytest

import panel as sandbox
from conftest import message

REFUSED = "autoresponder: refused to run a command with a quote in: "


def refusals(result):
    return [line[len(REFUSED):] for line in result.err.decode().splitlines()
            if line.startswith(REFUSED)]


@pytest.mark.parametrize("sender", ["a';id;'@x.y", "o'brien@example.com", "\"a'b\"@x"])
def test_refuses_a_delivery_to_a_sender_with_a_quote(panel, sender):
    rule = panel.rule()
    panel.forward(rule, "copy@colleague.example")
    panel.attach(rule, "list.txt")
    panel.name_attachments(rule, "missing.txt")
    result = panel.run(message(sender=sender))
    assert result.status == 0
    assert refusals(result) == [sender.replace(";", "")]
    # The rest of the rule was done.
    assert [mail.arguments[-1] for mail in panel.mails()] == [
        b"copy@colleague.example", b"grete@customer.example"]
    assert len(panel.senders()) == 1


@pytest.mark.parametrize("name", ["o'brien", "o\N{FULLWIDTH APOSTROPHE}brien"])
def test_refuses_a_recipient_with_a_quote(panel, name):
    panel.sql("insert into misc values ('mysql41_compatible', 'true');"
              f"insert into mail values (2, 1, '{name.replace(chr(39), chr(39) * 2)}')")
    panel.forward(panel.rule(mn_id=2), "copy@colleague.example")
    result = panel.run(message(), recipient=f"{name}@shop.example")
    # The forwarding uses the recipient as it is, the reply its ASCII form.
    assert refusals(result) == ["o'brien@shop.example"] * (2 if "'" in name else 1)
    assert len(panel.mails()) == (0 if "'" in name else 1)
    assert (result.status, panel.temporary_files()) == (0, [])


@pytest.mark.parametrize("name", ["it's here.pdf", "'", "';id>/run/panel/pwned;'"])
def test_refuses_attachments_with_a_quote_in_a_name(panel, name):
    rule = panel.rule(text="See below.")
    (sandbox.store() / "plain.txt").write_text("x")
    name_on_disk = sandbox.store() / name
    name_on_disk.parent.mkdir(parents=True, exist_ok=True)
    name_on_disk.write_text("x")
    panel.name_attachments(rule, "plain.txt", name)
    result = panel.run(message())
    assert refusals(result) == [name if "/" not in name else refusals(result)[0]]
    assert not Path("/run/panel/pwned").exists()
    # Nothing was added after the reply's text.
    (mail,) = panel.mails()
    assert mail.message.endswith(b"\n\nSee below.\n\n\n")
    assert b"multipart/mixed" in mail.message and mail.message.count(b"----------=_") == 1


def test_refuses_attachments_below_a_mailbox_with_a_quote(panel):
    panel.sql("insert into mail values (2, 1, 'o''brien');"
              "insert into mail_aliases values (1, 2, 'plain');")
    rule = panel.rule(mn_id=2)
    (sandbox.store(mail_name="o'brien") / "list.txt").write_text("x")
    panel.name_attachments(rule, "list.txt")
    result = panel.run(message(), recipient="plain@shop.example")
    assert refusals(result) == [
        "/run/panel/mailnames/shop.example/o'brien/@attachments/list.txt"]
    assert len(panel.mails()) == 1


@pytest.mark.parametrize("statement, value", [
    ("update misc set val = 'admin@x''y' where param = 'admin_email'", "admin@x'y"),
    ("update clients set email = 'grete''s@x'", "grete's@x"),
])
def test_refuses_a_notification_with_a_quote_in_an_address(panel, statement, value):
    panel.sql(statement)
    panel.name_attachments(panel.rule(), "missing.txt")
    result = panel.run(message())
    assert result.err.decode() == REFUSED + value + "\n"
    assert [mail.arguments[-1] for mail in panel.mails()] == [b"otto@customer.example"]


@pytest.mark.parametrize("sender, argument", [
    ("$HOME@x", b"$HOME@x"), ("`id`@x", b"`id`@x"), ("a|b@x", b"a|b@x"), ("-oQ@x", b"-oQ@x"),
    ('"a b"@x', b'"a b"@x'), ("a*b@x", b"a*b@x"), ("&@x", b"&@x"), ('"\\$(id)"@x', b'"\\$(id)"@x'),
])
def test_other_shell_syntax_in_an_address_is_inert(panel, sender, argument):
    panel.rule()
    panel.run(message(sender=sender))
    assert panel.mails()[0].arguments == [b"-f", b"info@shop.example", argument]


# --- what commands find --------------------------------------------------------------------------

def ignored_signals(path):
    masks = [int(mask, 16) for mask in path.read_text().split()[1::2]]
    path.unlink()
    # Signals 32 and 33 are the C library's own.
    return [{number for number in range(1, 65) if mask & 1 << number - 1} - {32, 33}
            for mask in masks]


@pytest.mark.parametrize("by_caller", [
    set(), {signal.SIGPIPE}, set(signal.valid_signals()) - {signal.SIGKILL, signal.SIGSTOP},
], ids=["none", "SIGPIPE", "all"])
def test_commands_have_the_default_signal_actions(panel, by_caller):
    ignored = Path("/run/panel/ignored")
    sandbox.write_sendmail(f"#!/bin/sh\n/bin/grep SigIgn /proc/self/status >>{ignored}\n")
    rule = panel.rule()
    panel.forward(rule, "copy@colleague.example")
    panel.name_attachments(rule, "missing.txt")

    def ignore():
        for number in by_caller:
            signal.signal(number, signal.SIG_IGN)
    result = panel.run(message(), preexec_fn=ignore, restore_signals=False)
    assert (result.status, result.err) == (0, b"")
    assert ignored_signals(ignored) == [set(), set(), set()]


def test_signals_that_the_caller_blocked_reach_the_run_and_its_commands(panel):
    blocked = Path("/run/panel/blocked")
    sandbox.write_sendmail(f"#!/bin/sh\n/bin/grep SigBlk /proc/self/status >>{blocked}\n")
    panel.rule()
    panel.run(message(), preexec_fn=lambda: signal.pthread_sigmask(
        signal.SIG_BLOCK, signal.valid_signals()))
    assert ignored_signals(blocked) == [set()]


def test_commands_inherit_none_of_our_descriptors(panel):
    sandbox.write_sendmail("#!/bin/sh\n/bin/ls -l /proc/self/fd >>/run/panel/open\n")
    rule = panel.rule()
    panel.forward(rule, "copy@colleague.example")
    panel.name_attachments(rule, "missing.txt")
    panel.run(message())
    listing = Path("/run/panel/open").read_text()
    os.unlink("/run/panel/open")
    assert "socket:" not in listing
    # The notification has its pipe, but not the reply that is being written.
    assert listing.count("kem-response") == 1 and listing.count("kem-autoresponder") == 1
