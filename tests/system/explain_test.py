"""autoresponder-explain: what it tells, how it ends, and that it changes nothing."""

import os
import pty
import re
import signal
import subprocess
import time
from pathlib import Path

import pytest

import panel as sandbox
from conftest import (CHECKOUT, COMMANDS, EXPLAIN, OPTIMISED, SANITIZED, Result, message,
                      wait_until)


def test_tells_the_whole_decision(panel):
    panel.sql("insert into misc values ('mysql41_compatible', 'true')")
    rule = panel.rule(keystr="question", key_where="body", subject="Re: <request_subject>",
                      ans_freq=3, mem_limit=2, text="Soon.")
    panel.forward(rule, "anna@colleague.example", "ben@colleague.example")
    panel.attach(rule, "list.txt")
    panel.name_attachments(rule, "gone.txt")
    panel.sql(f"insert into resp_freq (rn_id, email, num, time_resp) values"
              f" ({rule}, 'p@x.example', 1, timestamp(curdate())),"
              f" ({rule}, 'q@x.example', 1, timestamp(curdate(), '00:00:01')),"
              f" ({rule}, 'r@x.example', 9, timestamp(curdate() - interval 1 day))")
    panel.limit("5000")
    text = (b"From: Otto <otto@customer.example>\nSubject: =?utf-8?Q?Gr=C3=BC=C3=9Fe?=\n\n"
            b"Dear shop,\nI have a question.\n")
    result = panel.explain(text)
    assert (result.status, result.err) == (0, b"")
    assert result.out.decode() == f"""\
Message
  sender      otto@customer.example (From)
  recipient   info@shop.example (RECIPIENT)
  subject     "Grüße"
  charset     US-ASCII
  guards      passed
  mailbox     info@shop.example, id 1, found by its name

Rule 1 replies
  trigger     "question" is in line 2 of the body
  limiter     0 of 3 replies to this sender today, 2 of 2 senders remembered: \
forgets the oldest, replies, and remembers this one
              forgets p@x.example
  forward to  anna@colleague.example ben@colleague.example
  attachment  {sandbox.store()}/list.txt, 7 bytes
  missing     gone.txt
              tells grete@customer.example about it
  reply       573 bytes, within the limit of 5000
  subject     "Re: Grüße"
    | From: info@shop.example
    | To: otto@customer.example
    | MIME-Version: 1.0
    | Subject: =?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?=
    | Content-Type: multipart/mixed;
    | \tboundary="--------=_nWlrBbmQBhCDarzOwKkYHIDdqSCDX"
  command     forward
    $ {sandbox.QMAIL}/bin/sendmail -f 'info@shop.example'  anna@colleague.example \
ben@colleague.example  </tmp/kem-autoresponder-XXXXXX
  command     notify
    $ {sandbox.QMAIL}/bin/sendmail -f 'hostmaster@panel.example' 'grete@customer.example'
  command     attach
    $ echo '----------=_nWlrBbmQBhCDarzOwKkYHIDdqSCDX
    $ Content-Type: application/octet-stream
    $ Content-Transfer-Encoding: base64
    $ Content-Disposition: attachment;
    $ \tfilename="list.txt"
    $ ' >>/tmp/kem-response-uu-XXXXXX ; uuencode -m -- '{sandbox.store()}/list.txt' 'list.txt' \
| sed -e '1d;$d' >>/tmp/kem-response-uu-XXXXXX ; echo ; \
echo '----------=_nWlrBbmQBhCDarzOwKkYHIDdqSCDX--' >>/tmp/kem-response-uu-XXXXXX ;\x20
  command     reply
    $ {sandbox.QMAIL}/bin/sendmail -f 'info@shop.example' 'otto@customer.example' \
</tmp/kem-response-uu-XXXXXX

A reply would leave. Reason: at least one rule replies.
With courtesy on no reply would leave: not addressed to the mailbox.
Switches: repairs off, courtesy off.
"""
    panel.run(text)
    assert len(panel.mails()[-1].message) == 573


def test_tells_the_same_to_programs(panel):
    rule = panel.rule(keystr="question", key_where="body", ans_freq=3, mem_limit=1, text="Soon.")
    panel.forward(rule, "anna@colleague.example")
    panel.attach(rule, "list.txt")
    panel.name_attachments(rule, "gone.txt")
    panel.sql("insert into resp_freq (rn_id, email, num) values (1, 'p@x.example', 1)")
    (told,) = panel.explain(message(), "--json").answer()["rules"]
    headers, commands = told["reply"].pop("headers"), told.pop("commands")
    assert headers.startswith("From: info@shop.example\nTo: otto@customer.example\n")
    assert [(command["purpose"], command["fate"]) for command in commands] == [
        ("forward", "runs"), ("notify", "runs"), ("attach", "runs"), ("reply", "runs")]
    assert told == {
        "id": 1, "outcome": "replies",
        "trigger": {"place": "body", "key": "question", "found": True, "line": 1},
        "limiter": {"replies_a_day": 3, "senders_remembered": 1, "senders": 1,
                    "replies_today": None, "step": "evict_and_remember",
                    "evicted": ["p@x.example"]},
        "forwarding": " anna@colleague.example ",
        "attachments": {"found": [{"name": "list.txt", "path": f"{sandbox.store()}/list.txt",
                                   "size": 7}], "missing": ["gone.txt"]},
        "notification": {"sender": "hostmaster@panel.example",
                         "owner_email": "grete@customer.example", "owner_name": "Grete Kaufmann"},
        "reply": {"subject": "Re: Hello", "size": 551, "limit": 0, "replaced": False}}
    panel.run(message())
    assert len(panel.mails()[-1].message) == 551


def test_tells_of_rules_that_stay_silent(panel):
    panel.rule(ans_freq=0)
    panel.rule()
    shown = panel.explain(message(sender="o'neil@x.example")).out.decode()
    assert 'Rule 1 allows no reply a day\n' in shown
    assert '  limiter     "0" replies a day: none\n' in shown
    assert "Rule 2 gets no reply out: its command holds a quote and is refused\n" in shown
    assert "  command     reply: refused, it holds a quote\n" in shown


@pytest.mark.parametrize("text, options, recipient, reason, status", [
    (message(), [], "info@shop.example", "no_rule_replies", 1),
    (message(subject="yes"), [], "info@shop.example", "rule_replies", 0),
    (message(subject="yes"), [], "nobody@shop.example", "mailbox_not_found", 1),
    (message(sender="info@shop.example"), [], "info@shop.example", "sender_is_recipient", 1),
    (message(sender="MAILER-DAEMON@x"), [], "info@shop.example", "mailer_daemon", 1),
    (b"Subject: yes\n\n", [], "info@shop.example", "no_sender", 1),
    (b"From: a@b\n\n", [], None, "no_recipient", 1),
    (message(subject="=?utf-8?Q?a?= \0"), [], "info@shop.example", "run_aborts", 1),
    (message(subject="yes"), ["--rule", "1"], "info@shop.example", "rule_replies", 0),
    (message(subject="yes"), ["--rule", "2"], "info@shop.example", "no_rule_replies", 1),
    (message(subject="yes"), ["--rule", "3"], "info@shop.example", "no_such_rule", 2),
    (message(), ["/nowhere"], "info@shop.example", "message_unreadable", 2),
    (message(), ["/tmp"], "info@shop.example", "message_unreadable", 2),
])
def test_ends_with_the_verdict(panel, text, options, recipient, reason, status):
    panel.rule(keystr="yes", key_where="subj")
    panel.rule(resp_on="false")
    result = panel.explain(text, "--json", *options, recipient=recipient)
    assert (result.answer()["reason"], result.status) == (reason, status)
    in_words = panel.explain(text, *options, recipient=recipient)
    assert in_words.status == status
    assert [b"A reply would leave.", b"No reply would leave.", b"It cannot be told."][status] \
        in in_words.out


def test_tells_the_sender_where_there_is_no_recipient(panel):
    result = panel.explain(b"Reply-To: a@b\n\n", "--json", recipient=None)
    assert result.answer()["message"] == {"sender": "a@b", "sender_from": "reply_to"}
    in_words = panel.explain(b"Reply-To: a@b\n\n", recipient=None)
    assert in_words.out.startswith(b"Message\n  sender      a@b (Reply-To)\n\nNo reply would leave.")


def test_tells_of_a_mailbox_without_rules(panel):
    result = panel.explain(message(), "--json")
    assert (result.answer()["reason"], result.status) == ("no_rules", 1)


def test_cannot_tell_without_a_database(panel):
    sandbox.write_shadow("another password")
    result = panel.explain(message(), "--json")
    assert result.status == 2
    assert result.answer()["verdict"] == "unknown"
    assert result.answer()["reason"] == "database_fails"
    assert result.answer()["trouble"] == "autoresponder: Unable to connect to the mysql database "
    assert b"Access denied" in result.err


@pytest.mark.parametrize("break_it", [
    lambda _: sandbox.write_shadow("another password"), lambda panel: panel.sql("drop table misc")])
def test_says_nothing_of_an_error_that_the_client_library_left(panel, break_it):
    break_it(panel)
    result = panel.explain(message())
    assert b"System error" not in result.err + result.out
    assert result.err.splitlines()[1] == (
        b"autoresponder-explain: Unable to connect to the mysql database ")


def test_tells_the_systems_error_once(panel):
    sandbox.SHADOW.unlink()
    assert panel.explain(message()).err.splitlines() == [
        b"autoresponder-explain: Unable to open admin password file: No such file or directory",
        b"autoresponder-explain: Unable to connect to the mysql database "]


@pytest.mark.parametrize("other, status, reason", [
    ({"text": "short"}, 0, "rule_replies"), ({"resp_on": "false"}, 2, "reply_not_built")])
def test_a_reply_that_cannot_be_told_hides_no_other_rule(panel, other, status, reason):
    panel.rule(text="x" * 5000)
    panel.rule(**other)
    result = Result(subprocess.run(
        ["/bin/bash", "-c", 'ulimit -f 2; exec "$0" "$@"', EXPLAIN, "--json", "--recipient",
         "info@shop.example"], input=message(), capture_output=True))
    first, second = result.answer()["rules"]
    assert (result.status, result.answer()["reason"]) == (status, reason)
    assert (first["outcome"], first["trouble"]) == (
        "unknown", "Unable to build the reply in memory.")
    assert second["outcome"] == ("replies" if status == 0 else "switched_off")


def test_tells_of_a_statement_that_fails_in_a_rule(panel):
    panel.attach(panel.rule(), "list.txt")
    panel.rule()
    panel.sql("drop table resp_forward")
    result = panel.explain(message(), "--json")
    assert (result.answer()["reason"], result.status) == ("no_rule_replies", 1)
    first, second = result.answer()["rules"]
    trouble = "autoresponder: Unable to exec query :Table 'kem.resp_forward' doesn't exist"
    assert (first["outcome"], first["trouble"]) == ("statement_fails", trouble)
    assert first["limiter"]["step"] == "remember"
    assert second["outcome"] == "not_reached"
    assert panel.run(message()).err.decode() == trouble + "\n"
    assert panel.mails() == []


def test_tells_of_a_statement_that_fails_before_the_rules(panel):
    panel.sql("drop table mail_resp")
    result = panel.explain(message(), "--json")
    assert (result.answer()["reason"], result.status) == ("statement_fails", 1)
    assert "mail_resp" in result.answer()["trouble"]


@pytest.mark.parametrize("sender", [b"\xff@b.example", "\U0001F600@b.example".encode()])
def test_tells_that_the_database_refuses_a_sender(panel, sender):
    panel.sql("insert into misc values ('mysql41_compatible', 'true')")
    panel.rule()
    text = b"From: " + sender + b"\n\n"
    result = panel.explain(text, "--json")
    panel.run(text)
    assert panel.mails() == []
    assert (result.answer()["rules"][0]["outcome"], result.status) == ("statement_fails", 1)


def test_cannot_tell_without_the_configuration(panel):
    sandbox.write_conf({})
    result = panel.explain(message(), "--json")
    said = b"autoresponder-explain: Error: PRODUCT_ROOT_D not defined\n"
    assert (result.status, result.err) == (2, said)
    assert result.answer() == {"verdict": "unknown", "reason": "library_gives_up",
                               "switches": {"repairs": False, "courtesy": False}, "rules": [],
                               "diagnostics": said.decode()}
    in_words = panel.explain(message())
    assert (in_words.status, in_words.err) == (2, said)
    assert b"It cannot be told. Reason: the panel's library gives up." in in_words.out


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


@pytest.mark.parametrize("header, want", [
    ("Reply-To: team@x.example\nFrom: a@b", ("team@x.example", "reply_to")),
    ("Reply-To: list:a@b;\nFrom: a@b", ("a@b", "from")),
])
def test_tells_which_field_names_the_sender(panel, header, want):
    told = panel.explain(f"{header}\n\n".encode(), "--json").answer()["message"]
    assert (told["sender"], told["sender_from"]) == want


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


def test_shows_the_notice_in_place_of_a_large_reply(panel):
    panel.rule(text="x" * 1000)
    panel.limit("500")
    result = panel.explain(message(), "--json", "--show-reply")
    (rule,) = result.answer()["rules"]
    assert (rule["outcome"], rule["reply"]["limit"], result.status) == ("replies_with_notice", 500, 0)
    assert rule["reply"]["size"] > 1000
    panel.run(message())
    assert [mail.message.decode() for mail in panel.mails()] == [rule["reply"]["text"]]


def test_tells_about_one_rule_as_about_all(panel):
    for number in range(3):
        panel.attach(panel.rule(), f"{number}.txt")
    everything = panel.explain(message(), "--json", "--show-reply").answer()["rules"]
    for rule in everything:
        alone = panel.explain(message(), "--json", "--show-reply", "--rule", str(rule["id"])).answer()
        assert alone["rules"] == [rule]


def test_writes_text_that_is_no_utf8_as_replacement_characters(panel):
    panel.rule()
    told = panel.explain(message(sender="\udcff@x".encode(errors="surrogateescape").decode("latin-1")),
                         "--json")
    assert told.status == 0
    raw = panel.explain(b"From: \xff@x\n\n", "--json").answer()
    assert raw["message"]["sender"] == "\N{REPLACEMENT CHARACTER}@x"


def test_keeps_the_commands_output_out_of_the_answer(panel):
    panel.attach(panel.rule(), "list.txt")
    assert panel.explain(message(), "--json").out.startswith(b"{")


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


def test_uses_colour_on_a_terminal_only(panel):
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


def missing(sendmail):
    sendmail.unlink()


def not_executable(sendmail):
    sendmail.chmod(0o644)


@pytest.mark.parametrize("break_it", [missing, not_executable])
def test_foretells_no_reply_without_sendmail(panel, break_it):
    panel.forward(panel.rule(), "copy@colleague.example")
    break_it(sandbox.QMAIL / "bin" / "sendmail")
    result = panel.explain(message(), "--json")
    (rule,) = result.answer()["rules"]
    assert (result.status, rule["outcome"]) == (1, "no_sendmail")
    assert [command["fate"] for command in rule["commands"]] == ["no_program", "no_program"]


@pytest.mark.parametrize("is_answered_already", [False, True])
def test_tells_of_the_message_where_libidn_is_missing(panel, is_answered_already):
    rule = panel.rule(ans_freq=1)
    if is_answered_already:
        panel.sql(f"insert into resp_freq set rn_id={rule}, email='otto@customer.example', num=1")
    library = next(Path("/usr/lib").glob("*/libidn.so.12"))
    subprocess.run(["mount", "--bind", "/dev/null", library.resolve()], check=True)
    try:
        result = panel.explain(message(), "--json")
    finally:
        subprocess.run(["umount", library.resolve()], check=True)
    answer = result.answer()
    if is_answered_already:
        assert (result.status, answer["reason"], result.err) == (1, "no_rule_replies", b"")
        return
    assert (result.status, answer["reason"]) == (2, "library_gives_up")
    assert answer["message"]["sender"] == "otto@customer.example"
    assert answer["mailbox"]["mail_name"] == "info"
    assert b"Unable to load libidn: " in result.err


@pytest.mark.parametrize("mode, length, outcome", [
    ("STRICT_TRANS_TABLES", 400, "statement_fails"), ("STRICT_ALL_TABLES", 400, "statement_fails"),
    ("STRICT_TRANS_TABLES", 100, "replies"), ("", 400, "replies"),
])
def test_foretells_that_a_strict_server_refuses_a_long_sender(panel, mode, length, outcome):
    panel.rule()
    text = message(sender="x" * length + "@customer.example")
    panel.sql(f"set global sql_mode='{mode}'")
    try:
        (rule,) = panel.explain(text, "--json").answer()["rules"]
        result = panel.run(text)
    finally:
        panel.sql("set global sql_mode=''")
    assert rule["outcome"] == outcome
    assert (b"Data too long for column 'email'" in result.err) == (outcome == "statement_fails")
    assert (panel.mails() == []) == (outcome == "statement_fails")


def test_says_nothing_of_a_limiter_that_could_not_be_asked(panel):
    panel.rule()
    panel.sql("drop table resp_freq")
    (rule,) = panel.explain(message(), "--json").answer()["rules"]
    assert rule["outcome"] == "statement_fails" and "limiter" not in rule


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


def file_system():
    """Every file but the kernel's, the database server's, and those that the tests write."""
    skipped = {"/proc", "/sys", "/dev", "/mnt", "/run/mysqld", str(sandbox.DATA)}
    noted = {str(sandbox.HOME), str(COMMANDS), str(sandbox.HOME / "mysqld.log")}
    found = {}
    for directory, directories, files in os.walk("/"):
        directories[:] = [name for name in directories
                          if os.path.join(directory, name) not in skipped
                          and not os.path.samefile(os.path.join(directory, name), CHECKOUT)]
        for path in [directory, *(os.path.join(directory, name) for name in files)]:
            if path not in noted:
                status = os.lstat(path)
                found[path] = (status.st_mode, status.st_uid, status.st_size, status.st_mtime_ns,
                               status.st_ino)
    return found


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
    rows, files = subprocess.check_output(dump), file_system()
    assert panel.explain(message(), "--show-reply").status == 0
    after = file_system()
    assert {path for path in files.keys() | after.keys()
            if files.get(path) != after.get(path)} == set()
    assert subprocess.check_output(dump) == rows
    assert panel.mails() == []


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


MAX_COMMAND_LENGTH = 32 * os.sysconf("SC_PAGESIZE") - 1


@pytest.mark.parametrize("more, outcome", [(0, "replies"), (1, "command_too_long")])
def test_tells_that_a_command_is_too_long(panel, more, outcome):
    panel.sql("alter table resp_freq drop key rn_id, modify email mediumtext not null")
    panel.rule()
    around = f"{sandbox.QMAIL}/bin/sendmail -f 'info@shop.example' '@x' </tmp/kem-response-uu-XXXXXX"
    sender = "a" * (MAX_COMMAND_LENGTH - len(around) + more) + "@x"
    result = panel.explain(message(sender=sender), "--json")
    panel.run(message(sender=sender))
    (rule,) = result.answer()["rules"]
    assert len(rule["commands"][0]["line"]) == MAX_COMMAND_LENGTH + more
    assert (rule["outcome"], len(panel.mails())) == (outcome, 1 - more)


@pytest.mark.parametrize("count", [190, 250, 255, 262])
def test_foretells_whether_many_attachments_fit_into_a_command(panel, count):
    rule = panel.rule()
    names = [f"{number:060}" for number in range(count)]
    for name in names:
        (sandbox.store() / name).write_bytes(b"content")
    panel.sql("insert into resp_attach values "
              + ", ".join(f"({rule}, '{name}')" for name in names))
    told = panel.explain(message(), "--json", "--show-reply").answer()["rules"][0]
    panel.run(message())
    (mail,) = panel.mails()
    assert told["reply"]["text"].encode() == mail.message
    starts = told["commands"][0]["fate"] == "runs"
    assert starts == (mail.message.count(b"filename=") == count)


def test_names_the_notice_by_its_own_subject(panel):
    panel.rule(text="x" * 1000, subject="Template")
    panel.limit("500")
    (rule,) = panel.explain(message(), "--json").answer()["rules"]
    assert rule["reply"]["subject"] == "Re: Hello"
    assert "Subject: Re: Hello" in rule["reply"]["headers"]


@pytest.mark.skipif(not OPTIMISED, reason="measures the optimised program")
def test_holds_no_reply_that_is_not_shown(panel):
    for _ in range(2):
        panel.attach(panel.rule(), "large", content=b"x" * 30_000_000)
    peak = "import resource, subprocess, sys; subprocess.run(sys.argv[1:]);" \
        "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)"
    result = subprocess.run(["/usr/bin/python3", "-S", "-c", peak, EXPLAIN, "--rule", "none",
                             "--recipient", "info@shop.example"],
                            input=message(), capture_output=True)
    assert int(result.stdout.split()[-1]) < 40_000


@pytest.mark.skipif(not OPTIMISED, reason="measures the optimised program")
def test_explains_a_large_message(panel):
    panel.rule(keystr="needle", key_where="body")
    start = time.monotonic()
    result = panel.explain(message(body="hay\n" * 5_000_000 + "a needle\n"), "--json")
    assert result.answer()["rules"][0]["trigger"]["line"] == 5_000_001
    assert time.monotonic() - start < 10


def test_is_described_in_its_help(panel):
    shown = panel.explain(b"", "--help").out.decode()
    for option in ("--recipient", "--rule", "--json", "--show-reply", "--check", "--list",
                   "--version", "--help"):
        assert option in shown
    assert len(re.findall(r"^ +--", shown, re.MULTILINE)) == 8


@pytest.mark.skipif(SANITIZED, reason="the sanitizers need it themselves")
def test_tells_of_a_reply_without_proc(panel):
    """The file in memory, in which the reply is built, has its name in /proc."""
    panel.rule()
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/proc"], check=True)
    try:
        result = panel.explain(message(), "--json")
    finally:
        subprocess.run(["umount", "/proc"], check=True)
    assert (result.status, result.answer()["reason"]) == (0, "rule_replies")
