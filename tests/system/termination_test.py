"""Signals at any moment of a run: no temporary file stays, and the run dies by the signal."""

import os
import signal
import subprocess
import time
from pathlib import Path

import pytest

import panel as sandbox
from conftest import RECIPIENT, message, wait_until
from processes import children

SIGNALS = [signal.SIGTERM, signal.SIGINT, signal.SIGHUP]
# The other signals that end a process by default and are no sign of a defect in it.
RARE_SIGNALS = [signal.SIGQUIT, signal.SIGALRM, signal.SIGVTALRM, signal.SIGPROF, signal.SIGUSR1,
                signal.SIGUSR2, signal.SIGXCPU, signal.SIGIO, signal.SIGPWR, signal.SIGSTKFLT,
                signal.SIGRTMIN, signal.SIGRTMIN + 3, signal.SIGRTMAX]
HANGING = "#!/bin/sh\necho $$ >/run/panel/hangs.new\nmv /run/panel/hangs.new /run/panel/hangs\n" \
          "exec /bin/sleep 100\n"
HANGS = Path("/run/panel/hangs")


def hangs():
    """Whether the command that hangs is still there."""
    return HANGS.exists() and Path(f"/proc/{HANGS.read_text().strip() or 0}/comm").exists()


@pytest.fixture(autouse=True)
def _no_hanging_command():
    HANGS.unlink(missing_ok=True)
    yield
    if hangs():
        os.kill(int(HANGS.read_text()), signal.SIGKILL)


def feed(process, text=None):
    process.stdin.write(message() if text is None else text)
    process.stdin.close()


def assert_died_of(process, number, panel):
    assert process.wait(timeout=20) == -number
    assert panel.temporary_files() == []


@pytest.mark.parametrize("number", SIGNALS + RARE_SIGNALS)
def test_while_the_message_arrives(panel, number):
    process = panel.start()
    process.stdin.write(message())
    process.stdin.flush()
    wait_until(panel.temporary_files)
    process.send_signal(number)
    assert_died_of(process, number, panel)


@pytest.mark.parametrize("number", SIGNALS)
def test_while_the_database_does_not_answer(panel, number):
    panel.rule()
    # Another session's lock makes the limiter wait.
    lock = panel.start_sql("lock tables resp_freq write; select sleep(100);")
    wait_until(lambda: "resp_freq" in panel.sql("show open tables where in_use > 0"))
    process = panel.start()
    feed(process)
    wait_until(lambda: "resp_freq" in panel.sql(
        "select info from information_schema.processlist where user = 'admin'"))
    process.send_signal(number)
    try:
        assert_died_of(process, number, panel)
    finally:
        panel.end_sql(lock, "sleep(100)")


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGHUP])
@pytest.mark.parametrize("what", ["forward", "notification", "delivery"])
def test_while_sendmail_hangs(panel, number, what):
    sandbox.write_sendmail(HANGING)
    rule = panel.rule()
    if what == "forward":
        panel.forward(rule, "copy@colleague.example")
    if what == "notification":
        panel.name_attachments(rule, "missing.txt")
    process = panel.start()
    feed(process)
    wait_until(HANGS.exists)
    assert panel.temporary_files() != []
    process.send_signal(number)
    assert_died_of(process, number, panel)


def test_an_interrupt_waits_for_sendmail_as_system_does(panel):
    sandbox.write_sendmail("#!/bin/sh\necho 0 >/run/panel/hangs\n/bin/sleep 0.3\n" + sandbox.SENDMAIL[10:])
    panel.rule()
    process = panel.start()
    feed(process)
    wait_until(HANGS.exists)
    process.send_signal(signal.SIGINT)
    assert process.wait(timeout=20) == 0
    assert len(panel.mails()) == 1


@pytest.mark.parametrize("number", SIGNALS)
@pytest.mark.parametrize("step", ["first", "last"])
def test_while_attachments_are_appended(panel, number, step):
    # A uuencode that hangs: the steps after it would create the file again.
    tools = sandbox.HOME / "tools"
    tools.mkdir(exist_ok=True)
    hang = tools / "uuencode"
    hang.write_text(HANGING.replace("echo", "case $3 in *z.txt) ;; *)"
                                    " exec /usr/bin/uuencode \"$@\";; esac\necho", 1))
    hang.chmod(0o755)
    names = ["z.txt", "a.txt"] if step == "first" else ["a.txt", "z.txt"]
    panel.attach(panel.rule(), *names)
    process = panel.start(env={"PATH": f"{tools}:/usr/bin:/bin"})
    feed(process)
    wait_until(HANGS.exists)
    process.send_signal(number)
    assert_died_of(process, number, panel)
    time.sleep(0.1)  # a process that was left could create the file again now
    assert panel.temporary_files() == []
    assert not hangs()


def test_at_random_moments(panel):
    panel.sql("update mail_resp set ans_freq = 1000")
    rule = panel.rule(ans_freq=1000)
    panel.attach(rule, "one.txt", "two.txt", "three.txt")
    panel.forward(rule, "copy@colleague.example")
    ends = set()
    for moment in range(60):
        process = panel.start()
        feed(process)
        time.sleep(moment * 0.0007)
        process.send_signal(SIGNALS[moment % 2 * 2])
        ends.add(process.wait(timeout=20))
        time.sleep(0.02)
        assert panel.temporary_files() == [], f"after {moment * 0.7} ms"
    # Copies whose sendmail was already running still arrive.
    wait_until(lambda: os.system("pgrep -f qmail/bin/sendmai[l] >/dev/null") != 0)
    assert ends <= {0, -signal.SIGTERM, -signal.SIGHUP} and len(ends) > 1


@pytest.mark.parametrize("number", [signal.SIGHUP, signal.SIGINT])
def test_a_signal_that_the_caller_ignored_stays_ignored(panel, number):
    panel.rule()
    process = panel.start(preexec_fn=lambda: signal.signal(number, signal.SIG_IGN))
    process.stdin.write(b"From: otto@customer.example\n")
    process.stdin.flush()
    wait_until(panel.temporary_files)
    process.send_signal(number)
    feed(process, b"\nbody\n")
    assert process.wait(timeout=20) == 0
    assert len(panel.mails()) == 1


def test_the_first_process_of_a_namespace_ends_too(panel):
    """The kernel keeps it from dying by its own signal."""
    process = subprocess.Popen(["unshare", "--pid", "--fork", panel.program],
                               stdin=subprocess.PIPE, stderr=subprocess.PIPE,
                               env={"PATH": "/usr/bin:/bin", "RECIPIENT": RECIPIENT})
    wait_until(panel.temporary_files)
    os.kill(int(children(process.pid)[0]), signal.SIGTERM)
    assert process.wait(timeout=20) == 128 + signal.SIGTERM
    assert panel.temporary_files() == []
    process.stdin.close()
