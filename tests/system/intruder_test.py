"""An intruder in the process that takes the message apart can do nothing but compute."""

import os
import re
import signal
import subprocess
import time
from pathlib import Path

import pytest

from conftest import BUILD, CHECKOUT, SANITIZED

INTRUDER = {"LD_PRELOAD": str(BUILD / "tests" / "libintruder.so"),
            "ASAN_OPTIONS": "verify_asan_link_order=0"}
UNREADABLE = b"autoresponder: the message could not be read\nAbnormal exit.\n"
UNKNOWN = b"Could not convert message body text from x-intruder-%s to UTF-8.\n"

# What the deed comes to: an error, or the end of the process (None). The second is for builds
# without the filter of system calls; "-" where only the filter stops it.
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
    "map-code": ("EPERM", "-"),
    "make-code": ("EPERM", "-"),
    "take-memory": ("ENOMEM", "-"),
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


def stopped(deed):
    expected = DEEDS[deed][SANITIZED]
    if expected == "-":
        pytest.skip("only the filter of system calls stops it, which sanitizers cannot have")
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
        assert b": done" not in result.err
        assert panel.mails() == []
    else:
        assert result.err == f"{deed}: {expected}\n".encode() + UNKNOWN % deed.encode()
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
    """Also where the reader cannot become another user."""
    result = subprocess.run(
        ["setpriv", "--reuid", "1234", "--regid", "1234", "--clear-groups",
         BUILD / "explain" / "autoresponder-explain"],
        input=from_intruder("read-users"), capture_output=True,
        env={"PATH": "/usr/bin:/bin", **INTRUDER})
    assert b"read-users: EACCES" in result.stderr


def test_every_deed_is_tried():
    source = (CHECKOUT / "tests" / "system" / "intruder.cpp").read_text()
    told = set(re.findall(r'^    \{"([a-z-]+)"', source, re.MULTILINE))
    assert told - {"sleep"} == set(DEEDS)


def children(pid):
    return Path(f"/proc/{pid}/task/{pid}/children").read_text().split()


def start_sleeping(panel):
    """A run whose reader sleeps, and the reader's number."""
    process = panel.start(env=INTRUDER)
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
    deadline = time.monotonic() + 10
    while Path(f"/proc/{pid}").exists() and time.monotonic() < deadline:
        time.sleep(0.01)
    return not Path(f"/proc/{pid}").exists()


def test_the_reader_dies_with_a_run_that_is_killed(panel):
    process, reader = start_sleeping(panel)
    process.kill()
    process.wait()
    assert is_gone(reader)
    panel.remove_temporary_files()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGHUP, signal.SIGUSR1])
def test_a_termination_signal_ends_the_reader_and_removes_the_files(panel, number):
    process, reader = start_sleeping(panel)
    process.send_signal(number)
    assert process.wait() == -number
    assert is_gone(reader)
    assert panel.temporary_files() == []


def test_a_reader_that_is_killed_ends_the_run_only(panel):
    process, reader = start_sleeping(panel)
    os.kill(reader, signal.SIGKILL)
    assert process.wait() == 0
    assert process.stderr.read() == UNREADABLE
    assert panel.temporary_files() == []


def test_the_reader_is_nobody(panel):
    """It has the numbers of no user, no capability, and may not gain any."""
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
