"""The program started setuid root by another user, whose settings must not reach the run or its
commands, which are root's."""

import ctypes
import os
import resource
import signal
import subprocess
import threading
import time
from pathlib import Path

import pytest

import panel as sandbox
from conftest import RECIPIENT, SANITIZED, message, real_root, wait_until
from processes import children, memory_of

pytestmark = pytest.mark.skipif(not real_root(), reason="needs a second user to start the program as")

CALLER, GROUP = 65534, 4711
RECORD = Path("/run/panel/record")
INFINITY = resource.RLIM_INFINITY


@pytest.fixture
def program(panel):
    path = sandbox.HOME / "autoresponder"
    path.write_bytes(panel.program.read_bytes())
    path.chmod(0o4755)
    yield path
    path.unlink()
    RECORD.unlink(missing_ok=True)


def start(program, prepare=lambda: None, env=None, **options):
    """Starts the program as the caller; `prepare` runs as root in its process first."""
    return subprocess.Popen(
        [program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
        env={"RECIPIENT": RECIPIENT} if env is None else env, user=CALLER, group=CALLER,
        extra_groups=[GROUP], preexec_fn=prepare, **options)


def run(program, prepare=lambda: None, **options):
    process = start(program, prepare, **options)
    out, err = process.communicate(message(), timeout=20)
    assert process.returncode == 0
    return out, err


def record(command):
    """Makes sendmail note what a command tells of its process."""
    sandbox.write_sendmail(f"#!/bin/sh\n{command} >{RECORD} 2>&1\n")


def test_its_environment_reaches_no_command(panel, program):
    panel.attach(panel.rule(), "list.txt")
    hostile = {"PATH": "/tmp/evil", "IFS": "/", "ENV": "/tmp/evil", "BASH_ENV": "/tmp/evil",
               "LD_PRELOAD": "/tmp/evil.so", "QMAILINJECT": "f", "QMAILSUSER": "evil",
               "MYSQL_UNIX_PORT": "/tmp/evil", "TMPDIR": "/tmp/evil", "LC_ALL": "tr_TR.UTF-8",
               "POSIXLY_CORRECT": "1", "RECIPIENT": RECIPIENT,
               "SENDER": "evil"}
    assert run(program, env=hostile) == (b"\n", b"")
    (mail,) = panel.mails()
    assert b"application/octet-stream" in mail.message
    names = {entry.split(b"=")[0] for entry in mail.environment}
    assert names <= {b"PATH", b"PWD", b"OLDPWD", b"SHLVL", b"_"}
    assert b"PATH=/usr/bin:/bin:/usr/sbin:/sbin" in mail.environment


@pytest.mark.parametrize("sender, want", [
    ("", b"autoresponder: no reply, courtesy: null sender\n"), ("otto@customer.example", b"")])
def test_its_envelope_sender_reaches_the_run_but_no_command(panel, program, sender, want):
    sandbox.write_conf({**sandbox.conf_values(), "AUTORESPONDER_COURTESY": "on"})
    panel.forward(panel.rule(), "anna@colleague.example")
    _, err = run(program, env={"RECIPIENT": RECIPIENT, "SENDER": sender})
    assert err == want
    mails = panel.mails()
    assert len(mails) == (1 if want else 2)
    for mail in mails:
        assert not [entry for entry in mail.environment if entry.startswith(b"SENDER=")]


# Otherwise a command that crashes would write its memory, with text of the caller, where only root
# may write.
def test_its_limits_and_its_directory_leave_no_core_file(panel, program):
    directory = Path("/run/panel/rich")
    directory.mkdir(exist_ok=True)
    sandbox.write_sendmail(f"#!/bin/sh\n(ulimit -Sc; ulimit -Hc; pwd) >{RECORD}\nkill -SEGV $$\n")
    panel.rule()
    run(program, lambda: resource.setrlimit(resource.RLIMIT_CORE, (INFINITY, INFINITY)),
        cwd=directory)
    assert RECORD.read_text().split() == ["0", "0", "/"]
    assert list(directory.iterdir()) == []


def record_limit(name):
    sandbox.write_sendmail(f"#!/bin/sh\n/usr/bin/prlimit --noheadings --raw --output SOFT,HARD"
                           f" --{name.lower()} --pid $$ >{RECORD}\n")


def recorded_limit():
    return [INFINITY if word == "unlimited" else int(word) for word in RECORD.read_text().split()]


def may_raise_limits():
    """Whether root has the right to raise limits (CAP_SYS_RESOURCE), which containers often take
    away."""
    (line,) = (line for line in Path("/proc/self/status").read_text().splitlines()
               if line.startswith("CapEff:"))
    return int(line.split()[1], 16) >> 24 & 1 == 1


LIMITS = [("STACK", 512 << 10, 8 << 20), ("FSIZE", 0, INFINITY), ("CPU", 1, INFINITY),
          ("NOFILE", 8, 64)]
MEMORY = [("AS", 48 << 20, 1 << 30), ("DATA", 16 << 20, 1 << 30)]


@pytest.mark.parametrize("name, low, least", LIMITS if SANITIZED else LIMITS + MEMORY)
def test_a_soft_limit_that_breaks_commands_is_raised(panel, program, name, low, least):
    number = getattr(resource, f"RLIMIT_{name}")
    hard = resource.getrlimit(number)[1]
    record_limit(name)
    panel.rule()
    run(program, lambda: resource.setrlimit(number, (low, hard)))
    assert recorded_limit() == [least, hard]


@pytest.mark.parametrize("name, low, least", LIMITS)
def test_a_hard_limit_that_breaks_commands_is_raised_or_refused(panel, program, name, low, least):
    number = getattr(resource, f"RLIMIT_{name}")
    record_limit(name)
    panel.rule()
    process = start(program, lambda: resource.setrlimit(number, (low, low)))
    err = process.communicate(message(), timeout=20)[1]
    if may_raise_limits():
        assert (process.returncode, err, recorded_limit()) == (0, b"", [least, least])
    else:
        assert process.returncode == 1
        assert err.startswith(b"autoresponder: The caller's limit on ")
        assert not RECORD.exists()


@pytest.mark.skipif(SANITIZED, reason="the sanitizers take far more memory than that")
@pytest.mark.parametrize("name, low, least", MEMORY)
def test_a_hard_limit_on_memory_is_raised_as_far_as_it_can_be(panel, program, name, low, least):
    low = 200 << 20
    number = getattr(resource, f"RLIMIT_{name}")
    record_limit(name)
    panel.rule()
    run(program, lambda: resource.setrlimit(number, (low // 2, low)))
    assert recorded_limit() == ([least, least] if may_raise_limits() else [low, low])


# The report goes to a file, to which the limit allows no byte.
@pytest.mark.skipif(may_raise_limits(), reason="root here raises the limit")
def test_a_refusal_does_not_die_of_the_limit_itself(panel, program):
    with open("/run/panel/log", "w") as log:
        process = subprocess.Popen(
            [program], stdin=subprocess.DEVNULL, stdout=log, stderr=log, user=CALLER, group=CALLER,
            extra_groups=[], env={},
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (0, 0)))
        assert process.wait(timeout=20) == 1
    os.unlink("/run/panel/log")


def test_its_descriptors_are_closed(panel, program):
    record("/bin/ls /proc/self/fd")
    panel.rule()
    with open("/dev/null") as null:
        more = [os.dup(null.fileno()) for _ in range(55)]
        run(program, lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64)), pass_fds=more)
        for descriptor in more:
            os.close(descriptor)
    assert RECORD.read_text().split() == ["0", "1", "2", "3"]  # 3 is the directory that ls reads


# The kernel may wake a process late by its timer slack, which exec keeps.
def test_its_timers_may_not_be_late(panel, program):
    set_timer_slack, libc = 29, ctypes.CDLL(None)
    panel.rule()
    start_time = time.monotonic()
    run(program, lambda: libc.prctl(set_timer_slack, ctypes.c_ulong(30 * 10**9)))
    assert time.monotonic() - start_time < 10
    assert len(panel.mails()) == 1


def test_a_higher_limit_stays(panel, program):
    record_limit("NOFILE")
    panel.rule()
    run(program, lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (200, 300)))
    assert recorded_limit() == [200, 300]


def test_commands_have_none_of_its_groups_and_a_usual_umask(panel, program):
    record("(/usr/bin/id -G; umask)")
    panel.rule()
    run(program, lambda: os.umask(0))
    assert RECORD.read_text().split() == ["0", "0022"]


@pytest.mark.parametrize("timer", [signal.ITIMER_REAL, signal.ITIMER_VIRTUAL, signal.ITIMER_PROF])
def test_its_timers_do_not_end_the_run(panel, program, timer):
    panel.rule()
    process = start(program, lambda: signal.setitimer(timer, 0.2, 0.01))
    wait_until(panel.temporary_files)
    time.sleep(0.4)
    out, err = process.communicate(message(), timeout=20)
    assert (process.returncode, out, err) == (0, b"", b"")
    assert len(panel.mails()) == 1


def test_a_blocked_signal_still_ends_the_run(panel, program):
    process = start(program, lambda: signal.pthread_sigmask(signal.SIG_BLOCK, signal.valid_signals()))
    wait_until(panel.temporary_files)
    process.send_signal(signal.SIGTERM)
    assert process.wait(timeout=20) == -signal.SIGTERM
    assert panel.temporary_files() == []


def test_another_process_of_it_cannot_signal_the_run(panel, program):
    process = start(program)
    wait_until(panel.temporary_files)
    killer = subprocess.run(["/bin/kill", "-QUIT", str(process.pid)], user=CALLER, group=CALLER,
                            extra_groups=[], capture_output=True)
    assert killer.returncode != 0
    process.communicate(message(), timeout=20)
    assert process.returncode == 0


# In a setuid program the C library opens these before main, so that writing to them fails.
@pytest.mark.parametrize("repairs", [False, True])
@pytest.mark.parametrize("closed", [[1], [2], [1, 2], [0, 1, 2]], ids=str)
def test_attachments_are_whole_where_it_closed_the_standard_descriptors(
        panel, program, closed, repairs):
    panel.switch(repairs=repairs)
    panel.attach(panel.rule(), "list.txt")
    process = start(program, lambda: [os.close(number) for number in closed if number != 0])
    _, err = process.communicate(message(), timeout=20)
    assert (process.returncode, err) == (0, b"")
    (mail,) = panel.mails()
    assert b"\nY29udGVudA==\n" in mail.message and mail.message.endswith(b"--\n")


@pytest.mark.skipif(SANITIZED, reason="the sanitizers map more memory than can be searched")
def test_nothing_of_its_environment_reaches_the_reader(panel, program):
    """The body takes seconds to convert, so that there is time to look."""
    text = (b"From: a@b\nContent-Type: text/plain; charset=tscii\n\n" + b"\xaa" * (30 << 20))
    mark = "mark-of-" + "the-caller"
    process = start(program, env={"KEM_MARK": mark, "RECIPIENT": f"x-{mark}@shop.example"})
    feeder = threading.Thread(target=process.communicate, args=(text,))
    feeder.start()
    reader = []
    wait_until(lambda: reader.extend(children(process.pid)) or reader)
    wait_until(lambda: "\nNoNewPrivs:\t1\n" in Path(f"/proc/{reader[0]}/status").read_text())
    time.sleep(0.1)
    os.kill(int(reader[0]), signal.SIGSTOP)
    memory = b"".join(memory_of(reader[0]))
    os.kill(int(reader[0]), signal.SIGKILL)
    process.kill()
    feeder.join()
    panel.remove_temporary_files()
    assert len(memory) > 30 << 20 and mark.encode() not in memory
