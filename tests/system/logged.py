"""Deliveries whose standard error the mail server logs."""

import re
import subprocess
from contextlib import contextmanager

import panel as sandbox
from conftest import CHECKOUT, PROGRAM, RECIPIENT, message, note_diagnostics

DOCUMENT = (CHECKOUT / "docs" / "operators.md").read_text()
INSTALLED = sandbox.HOME / "installed" / "autoresponder"
USER, GROUP = 64000, 64001
MAX_REPORT = 3000


def logged(output):
    """The line that qmail-send logs for a delivery that wrote `output`, to a Maildir and one
    command."""
    report = output + b"did 1+0+1\n"
    if len(report) > MAX_REPORT:
        notice = b"\nError report too long, sorry.\n"
        report = report[:MAX_REPORT - len(notice) - 3] + notice
    safe = {ord("\n"): "/"}
    return "success: " + "".join(safe.get(byte, chr(byte) if 33 <= byte <= 126 else "_")
                                 for byte in report)


def deliver(text=None, recipient=RECIPIENT, command=f"{PROGRAM} || exit 0", before=(), env=None,
            **options):
    """Delivers a message; returns the log's line."""
    result = subprocess.run(
        [*before, "/bin/sh", "-c", command], input=message() if text is None else text,
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60,
        env={"PATH": "/usr/bin:/bin", "RECIPIENT": recipient, **(env or {})}, **options)
    assert result.returncode == 0, result
    note_diagnostics(result.stdout)
    return logged(result.stdout)


@contextmanager
def mounted(*arguments):
    subprocess.run(["mount", *arguments], check=True)
    try:
        yield
    finally:
        subprocess.run(["umount", arguments[-1]], check=True)


def table():
    """The patterns of the table's first column."""
    rows = DOCUMENT.split("| in the log |")[1].split("\n\n")[0].splitlines()[2:]
    return [pattern for row in rows for pattern in re.findall("`([^`]*)`", row.split("|")[1])]
