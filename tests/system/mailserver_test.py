"""A real mail server below the qmail root: what arrives in the mailboxes, read with independent
tools."""

import email
import email.policy
import os
import shutil
import subprocess
from pathlib import Path

import pytest

import panel as sandbox
from conftest import message, real_root

pytestmark = pytest.mark.skipif(not real_root(), reason="the mail server wants a user besides root")

MAIL = Path("/run/panel/mail")
CONF = Path("/run/panel/exim.conf")

# Delivers each address immediately to a Maildir of its own; nothing leaves the machine.
EXIM = f"""
primary_hostname = server1.panel.example
spool_directory = {MAIL}/spool
log_file_path = {MAIL}/log-%s
exim_user = root
exim_group = root
trusted_users = root
qualify_domain = shop.example
keep_environment =
begin routers
all:
  driver = redirect
  data = ${{lookup{{$local_part@$domain}}lsearch{{{MAIL}/mailboxes}}}}
  directory_transport = maildir
  user = mail
begin transports
maildir:
  driver = appendfile
  maildir_format
  create_directory
  return_path_add
  envelope_to_add
"""


@pytest.fixture
def mailserver(panel):
    """The panel with the real mail server in place of the recorder."""
    subprocess.run(["rm", "-rf", MAIL], check=True)
    (MAIL / "spool").mkdir(parents=True)
    (MAIL / "mailboxes").write_text("".join(
        f"{address}: {MAIL}/{address}/\n" for address in
        ("otto@customer.example", "grete@customer.example", "copy@colleague.example")))
    shutil.chown(MAIL, "mail", "mail")
    CONF.write_text(EXIM)
    CONF.chmod(0o644)
    sandbox.write_sendmail(f"#!/bin/sh\nexec /usr/sbin/exim4 -C {CONF} -odi -oi \"$@\"\n")
    return panel


def arrived(address):
    """The one mail in a mailbox."""
    (mail,) = (MAIL / address / "new").iterdir()
    return mail.read_bytes()


def parsed(address):
    return email.message_from_bytes(arrived(address), policy=email.policy.default)


def log():
    path = MAIL / "log-main"
    return path.read_text() if path.exists() else ""


def test_a_reply_arrives(mailserver):
    mailserver.rule(text="Grüße aus dem Laden.\n.\nEin Punkt allein.", charset="ISO-8859-1",
                    subject="Danke für <request_subject>", reply_to="sales@shop.example")
    result = mailserver.run(message(subject="=?utf-8?Q?K=C3=B6ln?="))
    assert (result.status, result.err) == (0, b""), log()
    mail = parsed("otto@customer.example")
    assert mail["Return-Path"] == "<info@shop.example>"
    assert mail["Envelope-To"] == "otto@customer.example"
    assert (mail["From"], mail["To"]) == ("info@shop.example", "otto@customer.example")
    assert mail["Reply-To"] == "sales@shop.example"
    assert mail["Subject"] == "Danke für Köln"
    assert (mail.get_content_type(), mail.get_content_charset()) == ("text/plain", "iso-8859-1")
    assert mail.get_content() == "Grüße aus dem Laden.\n.\nEin Punkt allein.\n\n\n"


def test_a_courteous_reply_arrives_without_an_envelope_sender(mailserver):
    sandbox.write_conf({**sandbox.conf_values(), "AUTORESPONDER_COURTESY": "on"})
    mailserver.rule(text="Thank you.")
    ids = [f"<{number}.{'x' * 60}@customer.example>" for number in range(12)]
    result = mailserver.run("From: otto@customer.example\nTo: info@shop.example\nSubject: Hello\n"
                            f"Message-ID: {ids[-1]}\nReferences: {' '.join(ids[:-1])}\n\nHello\n")
    assert (result.status, result.err) == (0, b""), log()
    mail = parsed("otto@customer.example")
    assert mail["Return-Path"] == "<>"
    assert (mail["From"], mail["Subject"]) == ("info@shop.example", "Re: Hello")
    assert (mail["Auto-Submitted"], mail["X-Auto-Response-Suppress"]) == ("auto-replied", "All")
    assert mail["In-Reply-To"] == ids[-1]
    assert mail["References"].split() == ids
    assert mail.get_content() == "Thank you.\n\n\n"


def test_attachments_arrive_byte_for_byte(mailserver, tmp_path_factory):
    files = {"price list.pdf": os.urandom(100000), "empty.txt": b"", "text.txt": b"a\r\nb\n",
             "one-byte.bin": b"\0"}
    rule = mailserver.rule(text="See below.")
    for name, content in files.items():
        mailserver.attach(rule, name, content=content)
    mailserver.run(message())
    mail = parsed("otto@customer.example")
    text, *parts = mail.iter_parts()
    assert text.get_content() == "See below.\n\n"
    assert {part.get_filename(): part.get_payload(decode=True) for part in parts} == files
    assert not mail.defects and not any(part.defects for part in mail.walk())
    # A second reader finds the same.
    directory = MAIL / "unpacked"
    directory.mkdir()
    subprocess.run(["munpack", "-q", "-C", directory], input=arrived("otto@customer.example"),
                   check=True, stdout=subprocess.DEVNULL)
    unpacked = sorted(path.read_bytes() for path in directory.iterdir())
    assert unpacked == sorted([*files.values(), b"See below.\n\n"])


def test_a_forwarded_copy_is_what_came_in(mailserver):
    mailserver.forward(mailserver.rule(), "copy@colleague.example")
    text = (b"From: otto@customer.example\nTo: info@shop.example\nSubject: s\n"
            b"Date: Sat, 21 Nov 2026 09:00:00 +0100\nMessage-ID: <1@customer.example>\n"
            b"X-Long: " + b"x" * 900 + b"\n\nbody \xff\xfe\n.\n..\nend\n")
    mailserver.run(text)
    mail = arrived("copy@colleague.example")
    assert b"Return-path: <info@shop.example>\n" in mail
    for line in text.split(b"\n\n")[0].split(b"\n"):
        assert b"\n" + line + b"\n" in b"\n" + mail
    # Spooling adds a newline to the body, and the Maildir may add one.
    assert mail.split(b"\n\n", 1)[1].rstrip(b"\n") == text.split(b"\n\n", 1)[1].rstrip(b"\n")


def test_the_owner_is_notified(mailserver):
    mailserver.name_attachments(mailserver.rule(), "missing.pdf")
    mailserver.run(message())
    mail = parsed("grete@customer.example")
    assert mail["Return-Path"] == "<hostmaster@panel.example>"
    assert mail["Subject"] == "kem notification (files missing in attachments repository). "
    assert mail.get_content_charset() == "utf-8"
    assert "for the mailname 'info' on domain 'shop.example':\nmissing.pdf\n" in mail.get_content()


def test_the_size_notice_arrives(mailserver):
    mailserver.rule(text="x" * 5000)
    mailserver.limit("1000\n")
    mailserver.run(message())
    mail = parsed("otto@customer.example")
    assert mail["Subject"] == "Re: Hello"
    assert "Autoresponder message size exceeds databytes limit.\n" in mail.get_content()


def test_several_rules_arrive_as_several_mails(mailserver):
    for text in ("one", "two", "three"):
        mailserver.rule(text=text)
    mailserver.run(message())
    mails = [path.read_text() for path in (MAIL / "otto@customer.example" / "new").iterdir()]
    assert sorted(mail.split("\n\n")[1].strip() for mail in mails) == ["one", "three", "two"]
