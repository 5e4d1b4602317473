"""Input and circumstances that could break it: size, charsets, closed descriptors."""

import base64
import os
import resource
import signal
import subprocess
import time

import pytest

import panel as sandbox
from conftest import OPTIMISED, RECIPIENT, SANITIZED, message, wait_until
from measured import INPUT, run_on_input
from processes import children

MEGABYTE = 1 << 20
# Several times the memory of a run with a small message.
CONSTANT = 32 * MEGABYTE


def run_large(panel, text):
    """Runs the program on a large message; checks its time and memory."""
    INPUT.write_bytes(text)
    size = len(text)
    del text
    run = run_on_input(panel.program)
    INPUT.unlink()
    assert run.status == 0
    if not SANITIZED:
        assert run.kib * 1024 <= 3 * size + CONSTANT, f"{run.kib} KiB for {size >> 10} KiB"
        assert run.seconds < 60
    return run.err


HEAD = b"From: otto@customer.example\nSubject: Hello\n"
BIG = (100 if OPTIMISED else 20) * MEGABYTE


def lines(size):
    return (b"All work and no play makes Jack a dull boy, " + b"x" * 32 + b"\n") * (size // 77)


@pytest.mark.parametrize("make", [
    lambda: HEAD + b"\n" + lines(BIG),
    lambda: HEAD + b"Content-Type: text/plain; charset=utf-8\n\n" + lines(BIG),
    lambda: HEAD + b"\n" + b"\n" * BIG,
    lambda: HEAD + b"\n" + b"x" * BIG,
    lambda: HEAD + b"\n" + b"\0" * BIG,
    lambda: HEAD + b"Content-Type: text/plain; charset=iso-8859-1\n\n" + b"\xfc" * (BIG // 2),
    lambda: HEAD + b"Content-Transfer-Encoding: base64\n\n"
    + base64.encodebytes(lines(BIG * 3 // 4)),
    lambda: HEAD + b"Content-Transfer-Encoding: quoted-printable\n\n" + b"=41=42=\n" * (BIG // 8),
    lambda: HEAD + b"Content-Type: multipart/mixed; boundary=b\n\n" + lines(BIG)
    + b"--b\nContent-Type: text/plain\n\nbody\n--b--\n",
], ids=["text", "utf-8", "empty lines", "one line", "NULs", "latin-1", "base64",
        "quoted-printable", "preamble"])
def test_takes_a_hundred_megabytes(panel, make):
    panel.rule()
    assert run_large(panel, make()) == []
    assert len(panel.mails()) == 1


@pytest.mark.parametrize("make", [
    lambda: b"X-Line: value\n" * 1000000 + HEAD + b"\nbody\n",
    lambda: b"To: a@b\n" * 1000000 + HEAD + b"\nbody\n",
    lambda: HEAD + b"X:\n" + b" folded line\n" * 1000000 + b"\nbody\n",
    lambda: b"Subject: s\n" + b" folded line\n" * 1000000 + HEAD + b"\nbody\n",
    lambda: HEAD + b"Content-Type: multipart/mixed; boundary=b\n\n"
    + b"--b\nContent-Type: image/png\n\nx\n" * 10000 + b"--b--\n",
    lambda: HEAD + b"Content-Type: multipart/mixed; boundary=b\n\n" + b"--b\n" * 2000000,
    lambda: HEAD + b"Content-Type: text/plain" + b"; a=b" * 1000000 + b"; charset=utf-8\n\nbody\n",
    lambda: b"Reply-To: " + b"g:;," * 1000000 + b"a@b\n" + HEAD + b"\nbody\n",
    lambda: b"Reply-To: " + b"(" * 5000000 + b"\n" + HEAD + b"\nbody\n",
    lambda: HEAD + b"\n" + b"--b\n" * 2000000,
], ids=["header lines", "equal fields", "folded field", "folded subject", "parts", "empty parts",
        "parameters", "groups", "comments", "boundaries"])
def test_takes_a_million_of_anything(panel, make):
    panel.rule()
    run_large(panel, make())
    assert len(panel.mails()) == 1


@pytest.mark.parametrize("charset", [
    "UTF-8//IGNORE", "UTF-8//TRANSLIT", "//", "/", "", "//IGNORE", "x" * 300, "UTF-8//", "ISO-2022-JP",
    "UTF-7", "UTF-16", "UCS-4", "WCHAR_T", "../../etc/passwd", "%s%s%s%n",
], ids=lambda charset: charset[:20] or "none")
@pytest.mark.parametrize("body", [b"plain", b"bad \xff\xfe byte", b"cut \xc3", b"\x1b$B\xff"],
                         ids=["plain", "bad", "cut", "shifted"])
def test_survives_any_charset_name(panel, charset, body):
    panel.rule()
    result = panel.run(HEAD + b'Content-Type: text/plain; charset="' + charset.encode()
                       + b'"\n\n' + body * 2000, timeout=20)
    assert result.status == 0
    failure = f"Could not convert message body text from {charset} to UTF-8.\n".encode()
    assert result.err in (b"", failure)
    assert len(panel.mails()) == 1


def test_survives_a_word_of_the_subject_in_any_charset(panel):
    panel.rule()
    words = " x ".join(f"=?{charset}?Q?a=FF=FE?=" for charset in ("UTF-8//IGNORE", "//", "UTF-16"))
    assert panel.run(f"From: a@b\nSubject: {words}\n\nbody\n".encode(), timeout=20).status == 0


@pytest.mark.parametrize("sender, expected", [
    (b'"a\n Bcc: b"@c', b'"a  Bcc: b"@c'),
    (b'"a\rBcc: b"@c', b'"a Bcc: b"@c'),
    (b"a@[b\n Bcc: c]", b"a@[b\n Bcc: c]"),
    (b"a@[b\r\n\tBcc: c]", b"a@[b\r\n\tBcc: c]"),
    (b"a@[b\rBcc: c]", b"a@[b\rBcc: c]"),
])
def test_an_address_adds_no_field_to_the_reply(panel, sender, expected):
    panel.rule()
    panel.run(b"From: " + sender + b"\nSubject: s\n\nbody\n")
    (mail,) = panel.mails()
    assert mail.arguments[2] == expected
    header = mail.message.partition(b"\n\n")[0]
    assert b"\nTo: " + expected + b"\nMIME-Version: 1.0\n" in header
    assert [line.partition(b":")[0] for line in header.split(b"\n") if line[0] not in b" \t"] == [
        b"From", b"To", b"MIME-Version", b"Subject", b"Content-Type", b"Content-Transfer-Encoding",
        b"Content-Disposition"]


@pytest.mark.parametrize("closed", [(0,), (0, 1, 2), (1, 2), (2,)], ids=str)
def test_runs_without_standard_descriptors(panel, closed):
    def close():
        for descriptor in closed:
            os.close(descriptor)
    panel.rule()
    process = subprocess.run([panel.program], input=None if 0 in closed else message(),
                             preexec_fn=close, timeout=20,
                             env={"PATH": "/usr/bin:/bin", "RECIPIENT": RECIPIENT})
    assert process.returncode == 0
    assert len(panel.mails()) == (0 if 0 in closed else 1)


def test_input_that_cannot_be_read_is_an_empty_message(panel):
    directory = os.open("/", os.O_RDONLY)
    process = subprocess.run([panel.program], stdin=directory, capture_output=True, timeout=20,
                             env={"RECIPIENT": RECIPIENT})
    os.close(directory)
    assert (process.returncode, process.stderr) == (
        0, b"Could not get sender's e-mail address from Reply-To: or From: headers.\n"
           b"Abnormal exit.\n")


def test_output_that_nobody_reads_does_not_end_the_run(panel):
    panel.attach(panel.rule(), "list.txt")
    panel.sql("drop table misc")  # causes a report on both streams
    reader, writer = os.pipe()
    os.close(reader)
    process = subprocess.run([panel.program], input=message(), stdout=writer, stderr=writer,
                             env={"PATH": "/usr/bin:/bin", "RECIPIENT": RECIPIENT}, timeout=20)
    os.close(writer)
    assert process.returncode == 0


def test_a_database_that_dies_during_the_run_ends_it(panel):
    sandbox.write_sendmail(
        f"#!/bin/sh\nkill -9 {panel.database.process.pid}\n{sandbox.SENDMAIL[10:]}")
    panel.forward(panel.rule(), "copy@colleague.example")
    try:
        result = panel.run(message(), timeout=20)
    finally:
        panel.database.stop()
        panel.database.start()
    assert result.status == 0
    assert result.err.startswith(b"autoresponder: Unable to exec query :")
    assert len(panel.mails()) == 1


def test_a_reader_that_dies_before_the_body_is_searched_ends_the_run_in_order(panel):
    panel.rule(key_where="body", keystr="question")
    other = panel.start_sql("lock tables mail_resp write; do sleep(1.5)")
    wait_until(lambda: "sleep(1.5)" in panel.sql("show processlist"))
    process = panel.start()
    process.stdin.write(message())
    process.stdin.close()
    wait_until(lambda: "Waiting for table metadata lock" in panel.sql("show processlist"))
    (reader,) = children(process.pid)
    os.kill(int(reader), signal.SIGKILL)
    assert process.wait(timeout=20) == 0
    assert process.stderr.read() == b"autoresponder: the message could not be read\nAbnormal exit.\n"
    assert (panel.mails(), panel.temporary_files()) == ([], [])
    other.wait()


def test_a_full_disk_neither_stops_nor_breaks_the_run(panel):
    subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16k,mode=1777", "tmpfs", "/tmp"], check=True)
    try:
        panel.forward(panel.rule(text="x" * 50000), "copy@colleague.example")
        result = panel.run(message(body="y" * 100000), timeout=20)
        assert panel.temporary_files() == []
    finally:
        subprocess.run(["umount", "/tmp"], check=True)
    assert result.status == 0


def test_a_small_run_takes_little_memory(panel):
    panel.rule()
    assert run_large(panel, message()) == []


# --- memory --------------------------------------------------------------------------------------

@pytest.mark.skipif(SANITIZED, reason="the sanitizers take far more memory than that")
@pytest.mark.parametrize("name", [resource.RLIMIT_AS, resource.RLIMIT_DATA])
def test_a_message_for_which_there_is_no_memory_ends_the_run_in_order(panel, name):
    panel.rule()
    limit = 64 * MEGABYTE
    result = panel.run(HEAD + b"\n" + lines(100 * MEGABYTE),
                       preexec_fn=lambda: resource.setrlimit(name, (limit, limit)))
    assert (result.status, result.err) == (
        0, b"autoresponder: the message could not be read\nAbnormal exit.\n")
    assert (panel.mails(), panel.temporary_files()) == ([], [])


def large_keys(panel, count, megabytes):
    panel.sql("alter table mail_resp modify keystr longtext")
    for _ in range(count):
        panel.sql("insert into mail_resp (mn_id, resp_on, key_where, keystr, text) values"
                  f" (1, 'true', 'body', repeat('k', {megabytes * MEGABYTE}), 'Large.')")


def test_keys_that_are_larger_than_the_body_cost_nobody_a_reply(panel):
    large_keys(panel, 7, 12)
    panel.rule()
    result = panel.run(message())
    assert (result.status, result.err, len(panel.mails())) == (0, b"", 1)


def test_many_large_keys_are_found(panel):
    large_keys(panel, 9, 3)
    panel.rule(key_where="body", keystr="question")
    result = panel.run(HEAD + b"\na question\n" + b"k" * (4 * MEGABYTE))
    assert (result.status, result.err, len(panel.mails())) == (0, b"", 10)


# --- standard output -----------------------------------------------------------------------------

@pytest.mark.parametrize("repairs", [False, True])
@pytest.mark.parametrize("when", ["before", "meanwhile"])
def test_a_reader_of_the_output_that_has_gone_cuts_no_attachment(panel, when, repairs):
    """The step that ends each attachment writes a line to standard output."""
    panel.switch(repairs=repairs)
    panel.attach(panel.rule(), "list.txt")
    ours, theirs = os.pipe()
    if when == "before":
        os.close(ours)
    process = subprocess.Popen([panel.program], stdin=subprocess.PIPE, stdout=theirs,
                               stderr=subprocess.PIPE, env={"PATH": "/usr/bin:/bin",
                                                            "RECIPIENT": RECIPIENT})
    os.close(theirs)
    wait_until(panel.temporary_files)
    if when == "meanwhile":
        os.close(ours)
    _, err = process.communicate(message(), timeout=20)
    assert (process.returncode, err) == (0, b"")
    (mail,) = panel.mails()
    assert b"\nY29udGVudA==\n" in mail.message and mail.message.endswith(b"--\n")


@pytest.mark.parametrize("length", [5000, 70000, 200000, 3000000])
def test_a_long_diagnostic_is_whole(panel, length):
    panel.rule()
    token = b"=?" + b"y" * length
    result = panel.run(b"From: otto@customer.example\nSubject: " + token + b"\n\n")
    assert result.err == b"wrong rfc1522 sequence (no charset): " + token + b"\n"
    charset = b"x" * length
    result = panel.run(b"From: otto@customer.example\nContent-Type: text/plain; charset=\""
                       + charset + b"\"\n\n")
    assert result.err == b"Could not convert message body text from " + charset + b" to UTF-8.\n"


def test_slow_readers_of_the_log_cost_no_reply(panel):
    """The log's pipe stays full for longer than the process that takes the message apart works."""
    panel.rule()
    process = panel.start()
    process.stdin.write(message(subject="=?utf-8?B?" + "*" * 20000 + "?="))
    process.stdin.close()
    time.sleep(1)
    assert process.stderr.read().count(b"Bad base64 symbol: *\n") == 20000
    assert (process.wait(), len(panel.mails())) == (0, 1)
