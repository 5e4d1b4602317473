"""What faults outside do to a run: a table of injected faults, and what an operator finds
afterwards."""

import ctypes
import os
import resource
import signal
import subprocess
from pathlib import Path

import pytest

import panel as sandbox
from busy_rule import COPY, OWNER, REPLY, busy_rule, sent, whole
from conftest import INTERNATIONAL, SANITIZED, message
from processes import children


# --- the disk ------------------------------------------------------------------------------------
@pytest.fixture
def small_tmp(panel):
    """/tmp with room for so many bytes."""
    mounted = []

    def mount(size):
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={size},mode=1777", "tmpfs", "/tmp"],
                       check=True)
        mounted.append(size)
    yield mount
    for _ in mounted:
        subprocess.run(["umount", "/tmp"], check=True)


def test_a_disk_that_is_full_at_the_reply(panel, small_tmp):
    panel.rule(text="x" * 60000)
    panel.rule(text="short")
    small_tmp(32768)
    result = panel.run(message())
    assert result.status == 0
    assert result.err.startswith(b"autoresponder: Unable to write the reply to /tmp/kem-response-uu-")
    assert result.err.count(b"\n") == 1
    # The reply that did not fit is not sent in pieces, and the next one is sent.
    (mail,) = panel.mails()
    assert b"\n\nshort\n\n\n" in mail.message
    assert panel.temporary_files() == []


def test_a_disk_that_is_full_at_the_attachments(panel, small_tmp):
    panel.attach(panel.rule(text="See below."), "big.bin", content=b"x" * 200000)
    small_tmp(65536)
    result = panel.run(message())
    assert result.status == 0
    assert b"No space left on device" in result.err  # reported by the tools
    (mail,) = panel.mails()
    assert b"\n\nSee below.\n\n\n" in mail.message
    assert panel.temporary_files() == []


@pytest.mark.parametrize("options", ["ro", "mode=0000,nr_inodes=1"])
def test_no_file_can_be_made_in_tmp(panel, options):
    busy_rule(panel)
    subprocess.run(["mount", "-t", "tmpfs", "-o", options, "tmpfs", "/tmp"], check=True)
    try:
        result = panel.run(message())
    finally:
        subprocess.run(["umount", "/tmp"], check=True)
    assert (result.status, result.err) == (
        0, b"Could not create a temporary file.\nAbnormal exit.\n")
    assert panel.mails() == []


@pytest.fixture
def damage():
    """Makes libraries of the system empty files."""
    damaged = []

    def damage_library(name):
        library = next(Path("/usr/lib").glob(f"*/{name}"))
        subprocess.run(["mount", "--bind", "/dev/null", library], check=True)
        damaged.append(library)

    yield damage_library
    for library in damaged:
        subprocess.run(["umount", library], check=True)


@pytest.mark.parametrize("name", ["libmariadb.so.3", "libssl.so.3", "libcrypto.so.3"])
def test_a_damaged_client_library_ends_the_run_before_it_does_anything(panel, damage, name):
    busy_rule(panel)
    damage(name)
    result = panel.run(message())
    assert result.status == 1
    start, path, trouble = result.err.decode().rsplit(": ", 2)
    assert start == "autoresponder: Unable to load the database's client library"
    assert (Path(path).name, trouble) == (name, "file too short\n")
    assert (panel.mails(), panel.temporary_files()) == ([], [])


def test_a_damaged_client_library_is_not_needed_where_the_message_is_refused(panel, damage):
    damage("libmariadb.so.3")
    result = panel.run(message("MAILER-DAEMON@customer.example"))
    assert (result.status, result.err) == (0, b"Field From: contains MAILER-DAEMON\n")


@pytest.fixture
def damaged_libidn(panel, damage):
    """Makes the library that replies from INTERNATIONAL need an empty file."""
    panel.rename_mailbox()
    damage("libidn.so.12")


def test_a_damaged_library_ends_the_run_before_it_does_anything(panel, damaged_libidn):
    busy_rule(panel)
    result = panel.run(message(), INTERNATIONAL)
    assert result.status == 1
    assert result.err.startswith(b"autoresponder: Unable to load libidn: ")
    assert result.err.count(b"\n") == 1
    assert (panel.mails(), panel.temporary_files()) == ([], [])
    assert panel.senders() == []


def test_a_damaged_library_is_not_needed_where_no_rule_fires(panel, damaged_libidn):
    panel.rule(keystr="pears", key_where="subj")
    result = panel.run(message(), INTERNATIONAL)
    assert (result.status, result.err) == (0, b"")


@pytest.mark.parametrize("repairs", [False, True])
@pytest.mark.parametrize("ans_freq", [0, 1])
def test_a_damaged_library_is_not_needed_where_the_limiter_forbids_a_reply(
        panel, damaged_libidn, ans_freq, repairs):
    panel.switch(repairs=repairs)
    rule = panel.rule(ans_freq=ans_freq)
    if ans_freq == 1:
        panel.sql(f"insert into resp_freq set rn_id={rule}, email='otto@customer.example', num=1")
    result = panel.run(message(), INTERNATIONAL)
    assert (result.status, result.err) == (0, b"")


def test_a_damaged_library_leaves_no_count_with_repairs(panel, damaged_libidn):
    panel.switch(repairs=True)
    panel.rule()
    assert panel.run(message(), INTERNATIONAL).status == 1
    assert panel.senders() == []


def test_a_damaged_library_counts_nothing_with_courtesy(panel, damage):
    """Courtesy compares the domains of the mailbox in both forms."""
    damage("libidn.so.12")
    panel.switch(courtesy=True)
    panel.sql("insert into domainaliases (dom_id, name, mail)"
              " values (1, 'xn--bro-hoa.example', 'true')")
    panel.forward(panel.rule(), "anna@colleague.example")
    assert panel.run(message()).status == 1
    assert (panel.mails(), panel.senders()) == ([], [])


def test_a_damaged_library_is_not_needed_for_an_address_in_ascii(panel, damage):
    damage("libidn.so.12")
    panel.rule()
    result = panel.run(message())
    assert (result.status, result.err, len(panel.mails())) == (0, b"", 1)


def test_a_run_that_is_ended_by_the_library_leaves_no_child(panel, damage):
    """Its reader would stay as a zombie where nobody waits for orphans."""
    damage("libmariadb.so.3")
    subreaper = 36
    ctypes.CDLL(None).prctl(subreaper, 1, 0, 0, 0)
    try:
        before = children(os.getpid())
        assert panel.run(message()).status == 1
        assert children(os.getpid()) == before
    finally:
        ctypes.CDLL(None).prctl(subreaper, 0, 0, 0, 0)


def test_no_room_for_a_reply_to_an_address_without_an_ascii_form(panel):
    name = "x" * 64
    panel.sql(f"insert into mail values (2, 1, '{name}')")
    for _ in range(2):
        panel.rule(mn_id=2)
    # The file system has two entries: its root directory, and the spool file.
    subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=1777,nr_inodes=2", "tmpfs", "/tmp"],
                   check=True)
    try:
        result = panel.run(message(), recipient=f"{name}@shop.example")
    finally:
        subprocess.run(["umount", "/tmp"], check=True)
    assert (result.status, panel.mails()) == (1, [])
    assert result.err.count(b"failed: Invalid length") == 1  # the first rule ends the run


# --- resources -----------------------------------------------------------------------------------
def limited(name, value):
    return lambda: resource.setrlimit(name, (value, value))


@pytest.mark.skipif(SANITIZED, reason="the sanitizers want descriptors of their own")
@pytest.mark.parametrize("descriptors", range(3, 12))
def test_few_descriptors(panel, descriptors):
    busy_rule(panel)
    result = panel.run(message(), preexec_fn=limited(resource.RLIMIT_NOFILE, descriptors))
    assert result.status in (0, 1, 127)
    assert panel.temporary_files() == []
    # Somebody reported the shortage, or sendmail was reached.
    assert result.err != b"" or any(sandbox.RECORDS.iterdir())


# With less memory a build that counts its coverage cannot be started.
@pytest.mark.skipif(SANITIZED, reason="the sanitizers reserve more than any limit")
@pytest.mark.parametrize("mebibytes", [5, 8, 12, 16, 24, 32, 48, 64, 96, 128])
def test_little_memory(panel, mebibytes):
    busy_rule(panel)
    result = panel.run(message(body="line\n" * 2000000),
                       preexec_fn=limited(resource.RLIMIT_AS, mebibytes << 20))
    assert result.status in (0, 1, 127, -signal.SIGABRT)
    left = panel.temporary_files()
    if result.status == -signal.SIGABRT:
        # Nobody catches that exception, so nobody removes the files.
        for name in left:
            os.unlink(f"/tmp/{name}")
    else:
        assert left == []


@pytest.mark.parametrize("limit", [0, 10, 1000])
def test_a_limit_on_file_size(panel, limit):
    busy_rule(panel)
    result = panel.run(message(), preexec_fn=limited(resource.RLIMIT_FSIZE, limit))
    assert result.status == 0
    assert panel.temporary_files() == []


# --- tools ---------------------------------------------------------------------------------------
@pytest.mark.parametrize("mode, script", [
    (0o644, sandbox.SENDMAIL), (0o755, "#!/nowhere\n"), (0o755, "#!/bin/sh\nexit 100\n"),
    (0o755, "#!/bin/sh\nexec 0<&-\nexit 111\n"),
], ids=["not executable", "no interpreter", "100", "closes its input"])
def test_a_sendmail_that_does_not_work(panel, mode, script):
    sandbox.write_sendmail(script)
    (sandbox.QMAIL / "bin" / "sendmail").chmod(mode)
    busy_rule(panel)
    result = panel.run(message(body="y" * 300000), timeout=30)
    assert result.status == 0
    assert panel.temporary_files() == []
    assert len(panel.senders()) == 1


def test_no_uuencode(panel):
    tools = sandbox.HOME / "few-tools"
    tools.mkdir(exist_ok=True)
    if not (tools / "sed").exists():
        (tools / "sed").symlink_to("/usr/bin/sed")
    busy_rule(panel)
    result = panel.run(message(), env={"PATH": str(tools)})
    assert result.status == 0
    assert b"uuencode: not found" in result.err
    assert sent(panel) == [COPY, OWNER, REPLY] and whole(panel)


def test_an_attachment_that_vanishes_before_it_is_used(panel):
    file = sandbox.store() / "list.txt"
    sandbox.write_sendmail(f"#!/bin/sh\n/bin/rm -f '{file}'\n{sandbox.SENDMAIL[10:]}"
                           .replace("/bin/rm", '[ "$3" = grete@customer.example ] && /bin/rm'))
    busy_rule(panel)
    result = panel.run(message())
    assert result.status == 0
    assert b"list.txt" in result.err  # reported by uuencode
    assert sent(panel) == [COPY, OWNER, REPLY] and whole(panel)


def test_a_size_limit_that_cannot_be_read(panel):
    panel.rule()
    (sandbox.QMAIL / "control" / "databytes").mkdir()
    try:
        result = panel.run(message())
    finally:
        (sandbox.QMAIL / "control" / "databytes").rmdir()
    assert (result.status, result.err) == (0, b"")
    assert sent(panel) == [REPLY] and whole(panel)


@pytest.mark.parametrize("call", [1, 2, 3])
def test_a_shell_that_cannot_be_started(panel, call):
    busy_rule(panel)
    result = panel.run(message(), faults=f"system#{call}")
    assert result.status == 0
    assert panel.temporary_files() == []
