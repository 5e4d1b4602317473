"""autoresponder-explain changes nothing, leaves nothing, and holds up nobody."""

import os
import signal
import subprocess
import time
from pathlib import Path

import pytest

import panel as sandbox
from conftest import CHECKOUT, COMMANDS, EXPLAIN, message, wait_until


# The machine's files with a layer above them that takes every change of the commands in it, so that
# what others change meanwhile does not count. /etc, /tmp and /run are the sandbox's own.
LAYER = Path("/mnt/scratch/changes")
IN_LAYER = ["unshare", "--mount", "tests/packaging/scratch-root"]


def file_system():
    """Every file that a command in the layer could have changed, but the database server's, and those
    that the tests write."""
    skipped = {"/run/mysqld", str(sandbox.DATA)}
    noted = {str(sandbox.HOME), str(COMMANDS), str(sandbox.HOME / "mysqld.log")}
    found = {}
    for place in (LAYER, "/etc", "/tmp", "/run"):
        for directory, directories, files in os.walk(place):
            directories[:] = [name for name in directories
                              if os.path.join(directory, name) not in skipped]
            for path in [directory, *(os.path.join(directory, name) for name in files)]:
                if path not in noted:
                    status = os.lstat(path)
                    found[path] = (status.st_mode, status.st_uid, status.st_size,
                                   status.st_mtime_ns, status.st_ino)
    return found


def changed_by(command, **options):
    """The files that the command changes."""
    subprocess.run([*IN_LAYER, "true"], cwd=CHECKOUT, check=True)
    before = file_system()
    subprocess.run([*IN_LAYER, *command], cwd=CHECKOUT, check=True, **options)
    after = file_system()
    return {path for path in before.keys() | after.keys() if before.get(path) != after.get(path)}


def full_panel(panel):
    """Rules that would forward, notify, evict and reply with attachments."""
    for _ in range(3):
        rule = panel.rule(mem_limit=1)
        panel.forward(rule, "anna@colleague.example")
        panel.attach(rule, "list.txt", content=b"x" * 100000)
        panel.name_attachments(rule, "gone.txt")
        panel.sql(f"insert into resp_freq (rn_id, email, num, time_resp) values"
                  f" ({rule}, 'p@x.example', 1, now()), ({rule}, 'r@x.example', 9, '2020-01-01');")


def test_changes_no_file_and_no_row(panel):
    full_panel(panel)
    dump = ["mariadb-dump", "--no-defaults", f"--socket={sandbox.SOCKET}", "--user=root",
            "--skip-dump-date", "--all-databases"]
    rows = subprocess.check_output(dump)
    assert changed_by([EXPLAIN, "--recipient", "info@shop.example", "--show-reply"],
                      input=message(), stdout=subprocess.DEVNULL) == set()
    assert subprocess.check_output(dump) == rows
    assert panel.mails() == []


@pytest.mark.parametrize("path", ["/usr/share/changed", "/etc/changed", "/var/changed"])
def test_a_change_would_be_seen(path):
    assert any(name.endswith("/changed") for name in changed_by(["touch", path]))


def test_changes_nothing_when_it_is_interrupted(panel):
    full_panel(panel)
    before = panel.state()
    start = time.monotonic()
    panel.explain(message())
    duration = time.monotonic() - start
    endings = set()
    for number in range(40):
        process = subprocess.Popen([EXPLAIN, "--recipient", "info@shop.example"],
                                   stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        process.stdin.write(message())
        process.stdin.close()
        time.sleep(duration * number / 40)
        process.send_signal([signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGKILL][number % 4])
        endings.add(process.wait())
    assert min(endings) < 0
    assert panel.state() == before
    assert panel.mails() == [] and panel.temporary_files() == []


def test_holds_itself_to_reading(panel):
    full_panel(panel)
    statements = panel.statements(lambda: panel.explain(message()))
    assert "set session transaction read only" in statements
    assert not [statement for statement in statements
                if statement.lower().startswith(("insert", "update", "delete", "replace"))]


def started_by_explain():
    """The processes that have the reply in memory open."""
    found = []
    for process in Path("/proc").glob("[0-9]*"):
        try:
            if any("memfd:reply" in os.readlink(link) for link in (process / "fd").iterdir()):
                found.append((process / "cmdline").read_bytes())
        except OSError:  # it has ended
            continue
    return found


@pytest.fixture
def slow_uuencode(panel):
    """A uuencode that waits."""
    directory = sandbox.HOME / "slow"
    directory.mkdir()
    program = directory / "uuencode"
    program.write_text("#!/bin/sh\nexec sleep 60\n")
    program.chmod(0o755)
    yield {**os.environ, "PATH": f"{directory}:/usr/bin:/bin"}
    program.unlink()
    directory.rmdir()


def start_explaining(environment):
    process = subprocess.Popen([EXPLAIN, "--recipient", "info@shop.example"], env=environment,
                               stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    process.stdin.write(message())
    process.stdin.close()
    wait_until(lambda: any(b"sleep" in command for command in started_by_explain()))
    return process


@pytest.mark.parametrize("ending", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_leaves_no_process_when_it_is_interrupted(panel, slow_uuencode, ending):
    panel.attach(panel.rule(), "list.txt")
    process = start_explaining(slow_uuencode)
    process.send_signal(ending)
    assert process.wait() == -ending
    wait_until(lambda: started_by_explain() == [])


def test_blocks_nobody_else_while_it_works(panel, slow_uuencode):
    panel.attach(panel.rule(), "list.txt")
    process = start_explaining(slow_uuencode)
    panel.sql("set lock_wait_timeout=5; alter table mail_resp add remark int;")
    process.terminate()
    process.wait()


def test_does_not_read_from_a_pipe_among_the_attachments(panel):
    panel.attach(panel.rule(), "pipe")
    pipe = sandbox.store() / "pipe"
    pipe.unlink()
    os.mkfifo(pipe)
    result = panel.explain(message(), "--json")
    assert (result.status, result.answer()["reason"]) == (0, "rule_replies")
    assert result.err.decode() == f"autoresponder: no plain file, attached empty: {pipe}\n"


def test_shows_diagnostics_as_text(panel):
    text = b"From: a@b\nContent-Type: text/plain; charset=\"x\x1b[2Jy\"\n\nbody"
    result = panel.explain(text, "--json")
    assert result.err == b"Could not convert message body text from x\\x1B[2Jy to UTF-8.\n"
    assert result.answer()["diagnostics"] == (
        "Could not convert message body text from x\x1b[2Jy to UTF-8.\n")
    assert panel.run(text).err == result.answer()["diagnostics"].encode()
