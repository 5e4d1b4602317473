"""The command line of autoresponder-explain, and how its answer looks."""

import os
import pty
import re
import subprocess

import pytest

import panel as sandbox
from conftest import CHECKOUT, EXPLAIN, message


def test_cannot_tell_what_cannot_be_read(panel):
    panel.rule()
    directory = os.open("/", os.O_RDONLY)
    process = subprocess.run([EXPLAIN, "--recipient", "info@shop.example"], stdin=directory,
                             capture_output=True)
    os.close(directory)
    assert process.returncode == 2
    assert process.stderr == (
        b"autoresponder-explain: Unable to read standard input: Is a directory\n")


def test_cannot_tell_when_nobody_takes_the_answer(panel):
    panel.rule()
    with open("/dev/full", "w") as full:
        process = subprocess.run([EXPLAIN, "--recipient", "info@shop.example"], stdout=full,
                                 input=message())
    assert process.returncode == 2


@pytest.mark.parametrize("options, status, says", [
    (["--help"], 0, b"--show-reply"),
    (["--version"], 0, b"autoresponder-explain 1."),
    (["--nonsense"], 2, b"--nonsense"),
    (["one", "two"], 2, b"two"),
    (["--rule"], 2, b"--rule"),
])
def test_reads_its_command_line(panel, options, status, says):
    result = panel.explain(b"", *options)
    assert (result.status, says in (result.err if status else result.out)) == (status, True)


@pytest.mark.parametrize("options, recipient, want", [
    (["--recipient", "info@my-shop.example"], "x-a@b", ("info@my-shop.example", "option")),
    ([], "x-a@b", ("a@b", "environment")),
    ([], None, ("info@shop.example", "to")),
    (["--recipient", ""], None, ("", "option")),
    (["--recipient="], "x-a@b", ("", "option")),
    (["--recipient=", "-"], "x-a@b", ("", "option")),
])
def test_takes_the_recipient_from(panel, options, recipient, want):
    told = panel.explain(message(), "--json", *options, recipient=recipient).answer()["message"]
    assert (told["recipient"], told["recipient_from"]) == want


def test_reads_a_message_from_a_file(panel):
    panel.rule()
    file = sandbox.HOME / "message"
    file.write_bytes(message())
    assert panel.explain(b"", str(file)).out == panel.explain(message()).out
    assert panel.explain(message(), "-").out == panel.explain(message()).out
    file.unlink()


def test_shows_the_reply_as_it_would_leave(panel):
    rule = panel.rule(charset="ISO-8859-1", text="Gr\N{LATIN SMALL LETTER U WITH DIAERESIS}ße")
    panel.sql("insert into misc values ('mysql41_compatible', 'true')")
    panel.attach(rule, "data", content=bytes(range(256)))
    shown = panel.explain(message(), "--show-reply").out
    panel.run(message())
    (mail,) = panel.mails()
    assert b"Gr\xfc\xdfe" in mail.message
    assert mail.message in shown


def test_tells_about_one_rule_as_about_all(panel):
    for number in range(3):
        panel.attach(panel.rule(), f"{number}.txt")
    everything = panel.explain(message(), "--json", "--show-reply").answer()["rules"]
    for rule in everything:
        alone = panel.explain(message(), "--json", "--show-reply", "--rule", str(rule["id"])).answer()
        assert alone["rules"] == [rule]


def on_terminal(text, *options):
    """What a terminal is shown."""
    master, slave = pty.openpty()
    process = subprocess.Popen([EXPLAIN, "--recipient", "info@shop.example", *options],
                               stdin=subprocess.PIPE, stdout=slave, stderr=subprocess.DEVNULL)
    os.close(slave)
    process.stdin.write(text)
    process.stdin.close()
    shown = b""
    try:
        while block := os.read(master, 65536):
            shown += block
    except OSError:  # the other end is closed
        pass
    os.close(master)
    process.wait()
    return shown


def test_uses_colour_on_a_terminal_only(panel, monkeypatch):
    monkeypatch.delenv("NO_COLOR", raising=False)
    monkeypatch.setenv("TERM", "xterm")
    panel.rule()
    assert b"\033[32mreplies\033[0m" in on_terminal(message())
    assert b"\033" not in panel.explain(message()).out
    assert b"\033" not in on_terminal(message(), "--json")


@pytest.mark.parametrize("name, value, in_colour", [
    ("NO_COLOR", "1", False), ("NO_COLOR", "", True), ("TERM", "dumb", False),
    ("TERM", "xterm", True),
])
def test_uses_no_colour_where_nobody_wants_it(panel, monkeypatch, name, value, in_colour):
    panel.rule()
    monkeypatch.delenv("NO_COLOR", raising=False)
    monkeypatch.setenv("TERM", "xterm")
    monkeypatch.setenv(name, value)
    assert (b"\033[" in on_terminal(message())) == in_colour


def test_an_empty_rule_is_no_rule(panel):
    panel.rule()
    result = panel.explain(message(), "--json", "--rule=")
    assert (result.status, result.answer()["reason"]) == (2, "no_such_rule")


def test_names_itself_in_errors_of_the_command_line(panel):
    result = panel.explain(b"", "--nonsense\033[2J")
    assert result.status == 2
    assert result.err.startswith(b"autoresponder-explain: ")
    assert rb"\x1B[2J" in result.err and b"\033" not in result.err


def test_says_why_a_file_cannot_be_read(panel):
    result = panel.explain(b"", "/nonexistent/message")
    assert (result.status, result.err) == (
        2, b"autoresponder-explain: Unable to read /nonexistent/message: No such file or directory\n")


def test_ends_with_its_verdict_where_the_reader_has_enough(panel):
    panel.rule(text="x" * 60000)
    process = subprocess.Popen([EXPLAIN, "--recipient", "info@shop.example", "--show-reply"],
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    process.stdout.close()
    err = process.communicate(message())[1]
    assert (process.returncode, err) == (0, b"")


def test_json_does_not_steer_a_terminal(panel):
    panel.rule()
    text = "From: a@b\nSubject: \u009b31m \u202e \x7f ü\n\nbody\n".encode()
    shown = on_terminal(text, "--json")
    assert shown.isascii() and b"\x7f" not in shown
    assert b"\\u009b31m \\u202e" in shown
    assert "ü".encode() in panel.explain(text, "--json").out


def test_shows_strangers_bytes_as_text(panel):
    rule = panel.rule(text="\033]0;owned\a", keystr="\033[2J", key_where="body", charset="UTF-8")
    panel.name_attachments(rule, "\033[31m.txt")
    text = b"From: a@b\nSubject: =?utf-8?Q?=1B[31m=C2=9B?= \x1b[2J\n\n\x1b[2J\r\n"
    shown = on_terminal(text, "--show-reply")
    for part in shown.split(b"\033")[1:]:  # the report's own colours only
        assert part.startswith((b"[0m", b"[1m", b"[31m", b"[32m", b"[33m"))
    assert rb"\x1B[2J" in shown and b"\xc2\x9b" not in shown and b"\a" not in shown
    plain = panel.explain(text).out
    assert b"\033" not in plain


def test_is_described_in_its_help(panel):
    shown = panel.explain(b"", "--help").out.decode()
    for option in ("--recipient", "--rule", "--json", "--show-reply", "--check", "--list",
                   "--today", "--version", "--help"):
        assert option in shown
    assert len(re.findall(r"^ +--", shown, re.MULTILINE)) == 9


@pytest.mark.parametrize("word, words", [
    ("--", "--check --help --json --list --recipient --rule --show-reply --today --version"),
    ("--r", "--recipient --rule"), ("--check", "--check"), ("--x", "")])
def test_bash_completes_its_options(word, words):
    script = CHECKOUT / "packaging" / "autoresponder-explain.bash"
    completed = subprocess.run(
        ["bash", "-c", f"source {script}; _autoresponder_explain {EXPLAIN} {word};"
         " echo \"${COMPREPLY[@]}\""], capture_output=True, check=True, text=True)
    assert (completed.stdout.strip(), completed.stderr) == (words, "")
