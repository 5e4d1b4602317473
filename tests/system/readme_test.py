"""The sessions in the README are what a new user sees."""

import re
import subprocess
import textwrap

import panel as sandbox
import show
from conftest import CHECKOUT, EXPLAIN, PROGRAM

MESSAGE = b"From: otto@customer.example\nSubject: Invoice 42\n\nPlease send the invoice again.\n"


def session(command):
    """What the README shows for a command, without blanks at the ends of lines."""
    readme = (CHECKOUT / "README.md").read_text()
    shown = readme.split(f"    # {command}\n")[1]
    block = re.match(r"(?:    .*\n|\n)*", shown)[0]
    return textwrap.dedent(block).strip("\n").splitlines()


def lines(output):
    return [line.rstrip() for line in output.decode().strip("\n").splitlines()]


def without_times(text):
    return [re.sub(r"[0-9-]{10} [0-9:]{8}|\d+ ms", "TIME", line) for line in text]


def sample(panel):
    panel.database.load("tables.sql", "sample.sql")
    (sandbox.store() / "price list.txt").write_text("Apples  2.50\nPears   3.20\n")


def test_explanation_in_the_readme(panel):
    sample(panel)
    told = subprocess.run([EXPLAIN, "--recipient", "sales@shop.example"], input=MESSAGE,
                          capture_output=True, check=True)
    assert lines(told.stdout) == session("./demo --explain message")


def test_demo_in_the_readme(panel, monkeypatch, capfdbinary):
    monkeypatch.setattr(sandbox, "sample", lambda: sample(panel) or panel.database)
    monkeypatch.setattr(show, "PROGRAM", PROGRAM)
    message = sandbox.HOME / "readme-message"
    message.write_bytes(MESSAGE)
    with open(message) as standard_input:
        monkeypatch.setattr("sys.stdin", standard_input)
        show.main()
    message.unlink()
    assert without_times(lines(capfdbinary.readouterr().out)) == without_times(
        session("./demo message"))
