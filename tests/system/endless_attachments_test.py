"""Attachments that have no end, or that a run could wait for."""

import fcntl
import os
import pty
import socket
import termios

import pytest

import panel as sandbox
from conftest import BOUNDARY, message


# --- what is no plain file -----------------------------------------------------------------------
def make_socket(path):
    socket.socket(socket.AF_UNIX).bind(str(path))


@pytest.mark.parametrize("make", [
    os.mkfifo, lambda path: path.symlink_to("/dev/zero"), lambda path: path.symlink_to("/dev/tty"),
    make_socket,
], ids=["pipe", "endless device", "terminal", "socket"])
def test_attaches_what_has_no_end_as_empty(panel, make):
    panel.attach(panel.rule(), "a.txt", "odd", "z.txt")
    path = sandbox.store() / "odd"
    path.unlink()
    make(path)
    result = panel.run(message(), timeout=20)
    assert result.err.decode() == f"autoresponder: no plain file, attached empty: {path}\n"
    (mail,) = panel.mails()
    assert mail.message.count(b"Y29udGVudA==") == 2
    assert (b'Content-Disposition: attachment;\n\tfilename="odd"\n\n--' + BOUNDARY.encode()
            in mail.message)


def test_a_file_that_grows_without_an_end_is_cut(panel):
    tools = sandbox.HOME / "tools"
    tools.mkdir(exist_ok=True)
    growing = tools / "uuencode"
    growing.write_text("#!/bin/sh\nexec /usr/bin/yes\n")
    growing.chmod(0o755)
    panel.attach(panel.rule(), "a.txt")
    result = panel.run(message(), env={"PATH": f"{tools}:/usr/bin:/bin"}, timeout=60)
    assert result.status == 0
    (mail,) = panel.mails()
    assert len(mail.message) < 32 << 20


# The command writes a blank line for each file. A terminal that stops background processes which
# write to it (stty tostop) must not stop the command.
def test_a_terminal_does_not_stop_the_encoding(panel):
    panel.attach(panel.rule(), "a.txt")
    master, slave = pty.openpty()
    modes = termios.tcgetattr(slave)
    modes[3] |= termios.TOSTOP
    termios.tcsetattr(slave, termios.TCSANOW, modes)

    def use_terminal():
        fcntl.ioctl(slave, termios.TIOCSCTTY, 0)
        os.dup2(slave, 1)
    process = panel.start(start_new_session=True, preexec_fn=use_terminal)
    os.close(slave)
    process.stdin.write(message())
    process.stdin.close()
    try:
        assert process.wait(timeout=10) == 0
    finally:
        process.kill()
        os.close(master)
    (mail,) = panel.mails()
    assert b"Y29udGVudA==" in mail.message
