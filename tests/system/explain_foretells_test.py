"""What autoresponder-explain foretells where a run would fail in the middle."""

import os
import subprocess
import time
from pathlib import Path

import pytest

import panel as sandbox
from conftest import INTERNATIONAL, EXPLAIN, OPTIMISED, SANITIZED, Result, message


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
    panel.rename_mailbox()
    library = next(Path("/usr/lib").glob("*/libidn.so.12"))
    subprocess.run(["mount", "--bind", "/dev/null", library.resolve()], check=True)
    try:
        result = panel.explain(message(), "--json", recipient=INTERNATIONAL)
    finally:
        subprocess.run(["umount", library.resolve()], check=True)
    answer = result.answer()
    if is_answered_already:
        assert (result.status, answer["reason"], result.err) == (1, "no_rule_replies", b"")
        return
    assert (result.status, answer["reason"]) == (2, "library_gives_up")
    assert answer["message"]["sender"] == "otto@customer.example"
    assert answer["mailbox"]["mail_name"] == "b\u00fcro"
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
