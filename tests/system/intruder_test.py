"""An intruder in the process that takes the message apart can only compute."""

import os
import re
import signal
import subprocess
import time
from pathlib import Path

import pytest

import panel as sandbox
from conftest import BUILD, CHECKOUT, SANITIZED, message, wait_until
from processes import children, memory_of

INTRUDER = {"LD_PRELOAD": str(BUILD / "tests" / "libintruder.so"), "ASAN_OPTIONS": "verify_asan_link_order=0"}
UNREADABLE = b"autoresponder: the message could not be read\nAbnormal exit.\n"
UNKNOWN = b"Could not convert message body text from x-intruder-%s to UTF-8.\n"

# What each deed leads to: an error, or the end of the process (None). The second value is for builds with sanitizers,
# which have no filter of system calls; "-": what stops the deed would stop the sanitizers too.
DEEDS = {
    "read-password": ("EACCES", "EACCES"),
    "read-configuration": ("EACCES", "EACCES"),
    "read-users": ("EACCES", "EACCES"),
    "read-spool": ("EACCES", "EACCES"),
    "list-tmp": ("EACCES", "EACCES"),
    "write-tmp": ("EPERM", "EACCES"),
    "remove-file": ("EPERM", "EACCES"),
    "read-memory-of-parent": ("EACCES", "EACCES"),
    "write-memory-of-parent": ("EPERM", "EACCES"),
    "find-descriptor": ("EBADF", "EBADF"),
    "lift-file-size": ("EPERM", "EPERM"),
    "lift-processor-time": ("EPERM", "EPERM"),
    "limit-parent": ("EPERM", "EPERM"),
    "share-code": ("EPERM", "-"),
    "map-once-more": ("EPERM", "-"),
    "run-log": ("EBADF", "-"),
    "change-log": ("EPERM", "-"),
    "write-log": ("EPERM", "-"),
    "read-terminal": ("EBADF", "-"),
    "take-page-tables": ("ENOMEM", "-"),
    "take-descriptors": ("EMFILE", "-"),  # the sanitizers need some themselves
    "forge-log": (None, None),
    "flood-log": (None, None),
    "flood-log-with-empty-lines": (None, None),
    "map-code": ("EPERM", "-"),
    "make-code": ("EPERM", "-"),
    "take-memory": ("ENOMEM", "-"),
    "take-shared-memory": ("EPERM", "-"),
    "take-stack-memory": ("ENOMEM", "-"),
    "rewrite-log": ("EBADF", "-"),
    "connect-database": (None, "-"),
    "internet-socket": (None, "-"),
    "exec": (None, "EACCES"),
    "fork": (None, "EAGAIN"),
    "vfork-by-clone": (None, "EAGAIN"),
    "kill-parent": (None, "EPERM"),
    "kill-thread-of-parent": (None, "EPERM"),
    "trace-parent": (None, "EPERM"),
    "copy-memory-of-parent": (None, "EPERM"),
    "mount": (None, "EPERM"),
    "become-root": (None, "EPERM"),
    "new-namespace": (None, "-"),
    "compute-for-ever": (None, None),
    "crash": (None, None),
    "abort": (None, None),
    "exit": (None, None),
    "send-garbage": (None, None),
    "send-much": (None, None),
    "send-part": (None, None),
    "send-long-text": (None, None),
    "send-unknown-outcome": (None, None),
}


def from_intruder(deed):
    return ("From: otto@customer.example\nTo: info@shop.example\n"
            f"Content-Type: text/plain; charset=x-intruder-{deed}\n\nA question.\n").encode()


def told(deed, error):
    return f"wrong rfc1522 sequence (no data): =?{deed}:{error}\n".encode()


def stopped(deed):
    expected = DEEDS[deed][SANITIZED]
    if expected == "-":
        pytest.skip("the sanitizers cannot work under what stops it")
    return expected


@pytest.mark.parametrize("deed", DEEDS)
def test_stops_the_deed(panel, deed):
    expected = stopped(deed)
    panel.rule()
    victim = Path("/tmp/victim")
    victim.touch()
    result = panel.run(from_intruder(deed), env=INTRUDER)
    assert result.status == 0
    if expected is None:
        assert result.err.endswith(UNREADABLE)
        assert b":done" not in result.err
        assert len(result.err) < 24 * len(from_intruder(deed)) + 500
        assert panel.mails() == []
    else:
        assert result.err == told(deed, expected) + UNKNOWN % deed.encode()
        assert len(panel.mails()) == 1
    assert victim.exists() and not Path("/tmp/intruder").exists()
    victim.unlink()
    assert panel.temporary_files() == []


@pytest.mark.parametrize("deed", ["crash", "compute-for-ever", "send-garbage"])
def test_explain_foretells_that_the_message_cannot_be_read(panel, deed):
    panel.rule()
    result = panel.explain(from_intruder(deed), "--json", env=INTRUDER)
    assert (result.status, result.answer()["reason"]) == (1, "reader_fails")
    assert result.answer()["trouble"] == "autoresponder: the message could not be read"


def test_reads_no_file_of_the_user_who_asks_for_an_explanation(panel):
    """Also if the reader cannot become another user."""
    result = subprocess.run(
        ["setpriv", "--reuid", "1234", "--regid", "1234", "--clear-groups",
         BUILD / "explain" / "autoresponder-explain"],
        input=from_intruder("read-users"), capture_output=True, env={"PATH": "/usr/bin:/bin", **INTRUDER})
    assert told("read-users", "EACCES") in result.stderr


def test_every_deed_is_tried():
    source = (CHECKOUT / "tests" / "system" / "intruder.cpp").read_text()
    deeds = set(re.findall(r'^    \{"([a-z0-9-]+)"', source, re.MULTILINE))
    assert deeds - {"sleep", "send-abort"} == set(DEEDS)


def test_cannot_make_the_run_abort_with_repairs(panel):
    panel.switch(repairs=True)
    panel.rule()
    result = panel.run(from_intruder("send-abort"), env=INTRUDER)
    assert (result.status, result.err) == (0, UNREADABLE)
    assert panel.temporary_files() == []


def start_sleeping(panel, env=(), **options):
    """Starts a run whose reader sleeps; returns the process and the reader's number."""
    process = panel.start(env={**INTRUDER, **dict(env)}, **options)
    process.stdin.write(from_intruder("sleep"))
    process.stdin.close()
    deadline = time.monotonic() + 30
    while time.monotonic() < deadline:
        for child in children(process.pid):
            if "futex" in Path(f"/proc/{child}/wchan").read_text():
                return process, int(child)
        time.sleep(0.01)
    raise AssertionError("no reader sleeps")


def is_gone(pid):
    """Whether it has ended, even if nobody waits for it."""
    try:
        return ") Z " in Path(f"/proc/{pid}/stat").read_text()
    except OSError:
        return True


def test_the_reader_dies_with_a_run_that_is_killed(panel):
    process, reader = start_sleeping(panel)
    process.kill()
    process.wait()
    wait_until(lambda: is_gone(reader))
    panel.remove_temporary_files()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGHUP, signal.SIGUSR1])
def test_a_termination_signal_ends_the_reader_and_removes_the_files(panel, number):
    process, reader = start_sleeping(panel)
    process.send_signal(number)
    assert process.wait() == -number
    wait_until(lambda: is_gone(reader))
    assert panel.temporary_files() == []


def test_a_reader_that_is_killed_ends_the_run_only(panel):
    process, reader = start_sleeping(panel)
    os.kill(reader, signal.SIGKILL)
    assert process.wait() == 0
    assert process.stderr.read() == UNREADABLE
    assert panel.temporary_files() == []


def test_a_signal_that_the_caller_ignores_does_nothing_to_the_reader(panel):
    process, reader = start_sleeping(panel, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
    os.kill(reader, signal.SIGHUP)
    time.sleep(0.1)
    assert Path(f"/proc/{reader}").exists() and process.poll() is None
    process.terminate()
    process.wait()


def test_the_user_is_dropped_where_the_groups_cannot_be(panel):
    process, reader = start_sleeping(panel, env={"KEM_KEEPS_GROUPS": "1"})
    status = Path(f"/proc/{reader}/status").read_text()
    os.kill(reader, signal.SIGKILL)
    process.wait()
    assert f"Uid:\t{0xB0000000 + reader}\t" in status
    assert f"CapEff:\t{'0' * 16}\n" in status


def test_the_reader_is_gone_when_commands_run(panel):
    panel.rule()
    sendmail = sandbox.QMAIL / "bin" / "sendmail"
    states = sandbox.HOME / "states"
    sendmail.unlink()
    sendmail.write_text("#!/bin/sh\ncat >/dev/null\n"
                        "for child in $(cat /proc/$PPID/task/$PPID/children); do"
                        f" grep State /proc/$child/status; done >{states}\n")
    sendmail.chmod(0o755)
    assert panel.run(message()).err == b""
    assert states.read_text().count("State") == 1  # sendmail
    assert "zombie" not in states.read_text()


def test_reads_every_charset_without_a_cache_of_their_names(panel):
    panel.rule(keystr="\u0161", key_where="body")
    (cache,) = Path("/usr/lib").glob("*/gconv/gconv-modules.cache")
    subprocess.run(["mount", "--bind", "/dev/null", cache], check=True)
    try:
        result = panel.run(b"From: otto@customer.example\nTo: info@shop.example\n"
                           b"Content-Type: text/plain; charset=iso-8859-2\n\n\xb9\n")
    finally:
        subprocess.run(["umount", cache], check=True)
    assert result.err == b"" and len(panel.mails()) == 1


def test_a_nul_in_a_decoded_subject_is_no_attack(panel):
    panel.rule()
    assert panel.run(message(subject="=?utf-8?Q?a=00b?=")).err == b""
    (mail,) = panel.mails()
    assert b"\nSubject: =?utf-8?Q?Re:_a=00b?=\n" in mail.message


def test_explain_keeps_long_diagnostics_of_the_reader(panel):
    """These diagnostics go to a file, whose size is limited."""
    panel.rule()
    symbols = 300000
    result = panel.explain(message(subject="=?utf-8?B?" + "*" * symbols + "?="))
    assert result.status == 0
    assert result.err.count(b"Bad base64 symbol") == symbols


def test_the_reader_is_nobody(panel):
    """It has the ids of no user, no capability, and cannot gain any."""
    process, reader = start_sleeping(panel)
    status = dict(line.split(":\t", 1)
                  for line in Path(f"/proc/{reader}/status").read_text().splitlines())
    os.kill(reader, signal.SIGKILL)
    process.wait()
    number = str(0xB0000000 + reader)
    assert status["Uid"].split() == status["Gid"].split() == [number] * 4
    assert status["Groups"].split() == []
    assert {status["CapPrm"], status["CapEff"], status["CapAmb"]} == {"0" * 16}
    assert status["NoNewPrivs"] == "1"
    assert status["Seccomp"] == ("0" if SANITIZED else "2")


@pytest.mark.skipif(SANITIZED, reason="the sanitizers map more memory than can be searched")
def test_the_reader_knows_nothing_but_the_message(panel):
    sandbox.write_conf({**sandbox.conf_values(), "PRODUCT_ROOT_D": "/mark-of-the-root",
                        "SOME_SECRET": "mark-of-the-configuration"})
    shadow = Path("/etc/kem/.kem.shadow")
    password = shadow.read_bytes()
    shadow.write_bytes(b"mark-of-the-password\n")
    try:
        process, reader = start_sleeping(
            panel, env={"KEM_MARK": "mark-of-the-environment",
                        "RECIPIENT": "prefix-mark-of-the-recipient@shop.example"})
        memory = b"".join(memory_of(reader))
        process.kill()
        process.wait()
    finally:
        shadow.write_bytes(password)
        panel.remove_temporary_files()
    assert b"x-intruder-sleep" in memory
    assert re.findall(rb"mark-of-the-[a-z]*", memory) == []


def test_the_limits_are_small(panel):
    process, reader = start_sleeping(panel)
    limits = {line[:26].strip(): line[26:].split()[:2]
              for line in Path(f"/proc/{reader}/limits").read_text().splitlines()[1:]}
    os.kill(reader, signal.SIGKILL)
    process.wait()
    assert limits["Max open files"] == ["16", "16"]
    assert limits["Max processes"] == limits["Max file size"] == ["0", "0"]
    if not SANITIZED:
        data, space = (int(limits[name][0]) for name in ("Max data size", "Max address space"))
        assert data == (72 << 20) + 48 * (len(from_intruder("sleep")) + 1)
        assert space == data + (16 << 20)
