"""autoresponder-explain: what it tells, how it ends, and that it changes nothing."""

import pytest

import panel as sandbox
from conftest import message


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


@pytest.mark.parametrize("header, want", [
    ("Reply-To: team@x.example\nFrom: a@b", ("team@x.example", "reply_to")),
    ("Reply-To: list:a@b;\nFrom: a@b", ("a@b", "from")),
])
def test_tells_which_field_names_the_sender(panel, header, want):
    told = panel.explain(f"{header}\n\n".encode(), "--json").answer()["message"]
    assert (told["sender"], told["sender_from"]) == want


def test_shows_the_notice_in_place_of_a_large_reply(panel):
    panel.rule(text="x" * 1000)
    panel.limit("500")
    result = panel.explain(message(), "--json", "--show-reply")
    (rule,) = result.answer()["rules"]
    assert (rule["outcome"], rule["reply"]["limit"], result.status) == ("replies_with_notice", 500, 0)
    assert rule["reply"]["size"] > 1000
    panel.run(message())
    assert [mail.message.decode() for mail in panel.mails()] == [rule["reply"]["text"]]


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
