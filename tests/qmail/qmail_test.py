"""The program as a real qmail runs it: what arrives, what is logged, and that nothing is lost."""

import re
import subprocess
from concurrent.futures import ThreadPoolExecutor

import pytest

from mail_server import MAILBOX, QMAIL, MailServer

MESSAGE = (b"From: otto@customer.example\nTo: info@shop.example\nSubject: Hello\n\n"
           b"A question.\n")
RECIPIENT = "info@shop.example"


@pytest.fixture(scope="session")
def _server():
    server = MailServer()
    yield server
    server.stop()


@pytest.fixture
def server(_server):
    _server.reset()
    yield _server
    _server.settle()
    assert _server.temporary_files() == []


def deliver(server, message=MESSAGE, recipient=RECIPIENT):
    server.inject(message, recipient)
    server.settle()


def attach_missing_file(server):
    server.sql("insert into resp_attach values (7, 'missing.txt')")


def test_copying_the_commands_of_the_document_leads_to_a_reply_within_ten_minutes(_server):
    walked = _server.walked
    assert walked.returncode == 0, walked.stdout + walked.stderr
    assert "This server is set up right.\n" in walked.stdout
    assert "A reply would leave. " in walked.stdout
    (reply,) = _server.first_replies
    assert reply["From"] == RECIPIENT
    assert reply["Subject"] == "Eingangsbestätigung für otto@customer.example"
    assert _server.seconds < 600


def test_is_set_up_right(server):
    result = subprocess.run(["/opt/kem/sbin/autoresponder-explain", "--check"], capture_output=True,
                            text=True)
    assert result.returncode == 0
    assert result.stdout.startswith("This server is set up right.\nSwitches: repairs off, courtesy off.\n")


def test_a_reply_arrives(server):
    deliver(server)
    (kept,) = server.mails(MAILBOX)
    assert kept.endswith(MESSAGE.split(b"\n\n", 1)[1])
    (reply,) = server.to("otto@customer.example")
    assert reply["From"] == RECIPIENT and reply["To"] == "otto@customer.example"
    assert reply.get_content().strip() == "Thank you."
    assert reply["Return-Path"] == f"<{RECIPIENT}>"
    assert "success: did_1+0+1/" in server.deliveries()


def test_a_message_by_smtp_gets_a_reply(server):
    said = server.receive(MESSAGE, "otto@customer.example", RECIPIENT)
    assert "\r\n250 ok" in said
    server.settle()
    assert len(server.to("otto@customer.example")) == 1 and len(server.mails(MAILBOX)) == 1


def test_another_domain_is_not_taken_by_smtp(server):
    assert "\r\n553 " in server.receive(MESSAGE, "otto@customer.example", "anna@nowhere.example")


def test_an_alias_replies_in_its_own_name(server):
    deliver(server, recipient="sales@shop.example")
    (reply,) = server.to("otto@customer.example")
    assert reply["From"] == "sales@shop.example"


def test_a_forwarded_copy_arrives_unchanged(server):
    server.sql("insert into resp_forward values (7, 'anna@colleague.example')")
    deliver(server, MESSAGE + b"Gr\xfc\xdfe\n.\n")
    (copy,) = [mail for mail in server.mails() if b"world-anna@colleague.example\n" in mail]
    assert copy.split(b"\n\n", 1)[1].startswith(b"A question.\nGr\xfc\xdfe\n.\n")
    assert b"\nSubject: Hello\n" in copy


def test_a_reply_with_an_attachment_arrives_whole(server):
    content = bytes(range(256)) * 40
    store = QMAIL / "mailnames" / "shop.example" / "info" / "@attachments"
    (store / "list.bin").write_bytes(content)
    server.sql("insert into resp_attach values (7, 'list.bin')")
    deliver(server)
    (reply,) = server.to("otto@customer.example")
    (attachment,) = reply.iter_attachments()
    assert attachment.get_filename() == "list.bin" and attachment.get_content() == content


def test_a_notice_arrives_in_place_of_a_large_reply(server):
    server.sql("update mail_resp set text=repeat('x', 60000) where id=7")
    deliver(server)
    (notice,) = server.to("otto@customer.example")
    assert notice["Subject"] == "Re: Hello"
    assert "exceeds databytes limit" in notice.get_content()


def test_a_notification_arrives(server):
    attach_missing_file(server)
    deliver(server)
    (told,) = server.to("grete@customer.example")
    assert "missing.txt" in told.get_content()
    assert len(server.to("otto@customer.example")) == 1


@pytest.mark.parametrize("repairs", [False, True], ids=["lost without repairs", "arrives with them"])
def test_a_notification_with_a_reply_to(server, repairs):
    if repairs:
        server.switch(repairs=True)
    attach_missing_file(server)
    server.sql("update mail_resp set reply_to='shop@shop.example' where id=7")
    deliver(server)
    assert len(server.to("grete@customer.example")) == (1 if repairs else 0)
    assert ("qmail-inject:_fatal:_unable_to_parse" in server.said()) == (not repairs)
    assert len(server.to("otto@customer.example")) == 1


@pytest.mark.parametrize("sender, diagnostic", [
    ("MAILER-DAEMON@customer.example", "Field_From:_contains_MAILER-DAEMON"),
    (RECIPIENT, "Field_From:_equial_field_To:")])
def test_bounces_and_own_mail_get_no_reply(server, sender, diagnostic):
    deliver(server, MESSAGE.replace(b"otto@customer.example", sender.encode()))
    assert server.mails() == [] and len(server.mails(MAILBOX)) == 1
    assert f"success: {diagnostic}/did_1+0+1/" in server.deliveries()


def test_a_bounce_of_qmail_itself_gets_no_reply(server):
    server.inject(b"Subject: x\n\nx\n", "-f", RECIPIENT, "nobody@mail.shop.example")
    server.settle()
    assert len(server.mails(MAILBOX)) == 1 and server.mails() == []
    assert "success: Field_From:_contains_MAILER-DAEMON/did_1+0+1/" in server.deliveries()


@pytest.mark.parametrize("courtesy", [False, True], ids=["off", "on"])
def test_two_autoresponders_come_to_an_end(server, courtesy):
    if courtesy:
        server.switch(courtesy=True)
    server.sql("insert into mail (id, dom_id, mail_name) values (2, 1, 'help');"
               "insert into mail_resp (id, mn_id, resp_on, text, ans_freq) values"
               " (8, 2, 'true', 'We help.', 3); update mail_resp set ans_freq=3")
    subprocess.run(["ln", "-sf", ".qmail-info", "/home/shop/.qmail-help"], check=True)
    deliver(server, MESSAGE.replace(b"otto@customer.example", b"help@shop.example"))
    counted = server.sql("select rn_id, email, num from resp_freq order by rn_id").splitlines()
    # With courtesy a reply that is withheld counts, too.
    count = 1 if courtesy else 3
    assert counted == [f"7\thelp@shop.example\t{count}", f"8\t{RECIPIENT}\t{count}"]
    # The first message, and each reply.
    assert len(server.mails(MAILBOX)) == (2 if courtesy else 7)


@pytest.mark.parametrize("courtesy", [False, True], ids=["off", "on"])
def test_a_mailing_list(server, courtesy):
    if courtesy:
        server.switch(courtesy=True)
    deliver(server, b"List-Id: <news.lists.example>\nPrecedence: list\n" + MESSAGE)
    assert len(server.to("otto@customer.example")) == (0 if courtesy else 1)
    assert ("no_reply,_courtesy:_" in server.said()) == courtesy


def test_a_courteous_reply_has_no_envelope_sender(server):
    server.switch(courtesy=True)
    deliver(server)
    (reply,) = server.to("otto@customer.example")
    assert reply["Return-Path"] == "<>" and reply["Auto-Submitted"] == "auto-replied"


@pytest.mark.parametrize("repairs", [False, True], ids=["repairs off", "repairs on"])
def test_loses_nothing_of_200_messages_at_20_at_once(server, repairs):
    if repairs:
        server.switch(repairs=True)
    senders = [f"customer{number}@customer.example" for number in range(200)]

    def send(sender):
        server.inject(MESSAGE.replace(b"otto@customer.example", sender.encode()), RECIPIENT)
    with ThreadPoolExecutor(20) as pool:
        list(pool.map(send, senders))
    server.settle()
    assert [len(server.to(sender)) for sender in senders] == [1] * 200
    assert len(server.mails(MAILBOX)) == 200 and len(server.mails()) == 200
    assert server.deliveries().count("success: did_1+0+1/") == 200


def test_a_delivery_that_may_not_start_the_program_keeps_the_message(server):
    program = "/opt/kem/sbin/autoresponder"
    subprocess.run(["chmod", "0700", program], check=True)
    try:
        deliver(server)
    finally:
        subprocess.run(["chmod", "4750", program], check=True)
    assert len(server.mails(MAILBOX)) == 1 and server.mails() == []
    (said,) = server.deliveries()
    assert re.match(r"success: /bin/sh:_1:_.*autoresponder:_Permission_denied/did_1\+0\+1/", said)


def test_a_database_that_is_down_keeps_the_message(server):
    server.database.process.terminate()
    server.database.process.wait()
    try:
        deliver(server)
    finally:
        server.database.start()
    assert len(server.mails(MAILBOX)) == 1 and server.mails() == []
    assert "Unable_to_connect_to_Quern_Database:_" in server.said()


ON_AND_OFF = pytest.mark.parametrize("repairs", [False, True], ids=["repairs off", "repairs on"])


@ON_AND_OFF
@pytest.mark.parametrize("sender, words", [
    (b"-z@customer.example", "sendmail:_illegal_option_--_z"),
    (b"-bs@customer.example", "502_unimplemented")])
def test_a_sender_that_is_an_option_gets_nothing(server, repairs, sender, words):
    server.switch(repairs=repairs)
    deliver(server, MESSAGE.replace(b"otto@customer.example", sender))
    assert ("refused_to_mail_to_an_option" if repairs else words) in server.said()
    assert server.to(sender.decode()) == []


@ON_AND_OFF
def test_a_reply_to_that_cannot_be_parsed_costs_the_reply_without_repairs(server, repairs):
    server.switch(repairs=repairs)
    server.sql("update mail_resp set reply_to='\\\"Shop <a@b.example>' where id=7")
    deliver(server)
    replies = server.to("otto@customer.example")
    assert len(replies) == (1 if repairs else 0)
    assert ("left_out_a_Reply-To_" if repairs else "qmail-inject:_fatal:_unable_to_parse") in server.said()


@ON_AND_OFF
def test_a_sender_in_quotes_gets_the_reply_with_repairs(server, repairs):
    server.switch(repairs=repairs)
    deliver(server, MESSAGE.replace(b"otto@", b'"otto o"@'))
    assert len(server.to("otto o@customer.example")) == (1 if repairs else 0)


def test_a_folded_subject_arrives_on_one_line(server):
    server.switch(repairs=True)
    deliver(server, MESSAGE.replace(b"Hello", b"=?UTF-8?Q?Gr=C3=BC=C3=9Fe_aus?=\n =?UTF-8?Q?_K=C3=B6ln?="))
    (reply,) = server.to("otto@customer.example")
    assert reply["Subject"] == "Re: Grüße aus Köln"


# What qmail-inject parses, and what not, as the program foretells it.
REPLY_TOS = ["", "a@b.example", '"Shop" <a@b.example>', '"Shop <a@b.example>', 'Shop" <a@b.example>',
             "(a (b) c@d", "a)b@c", "a )", "a@[192.0.2.1]", "a@[192.0.2.1", "a ]", "a\\", "(a\\", "<a@b",
             "a@b>", "<a@b>, c>", "<a@b, c@d>", "g: a@b, c@d;", "g: a@b", "a@b;", "a: b@c;, d: e@f;",
             "a@b; c@d;", "a> ; b: c@d;", ",,a@b,", "a;b:;", "a:b", ":;", ";", ":", "<>", "><", "@", "..",
             "Gr\u00fc\u00dfe <a@b>", 'a "b" c <d@e> (f) [g]', "a,b>", "x<y,z>"]


@pytest.mark.parametrize("reply_to", REPLY_TOS)
def test_the_explanation_knows_what_cannot_be_parsed(server, reply_to):
    server.sql("update mail_resp set reply_to='" + reply_to.replace("\\", "\\\\").replace('"', '\\"')
               + "' where id=7")
    inject = subprocess.run(["/var/qmail/bin/qmail-inject", "-n", "x@y.example"], capture_output=True,
                            input=f"Reply-To: {reply_to}\n\n".encode())
    told = subprocess.run(["/opt/kem/sbin/autoresponder-explain", "--recipient", RECIPIENT, "--json"],
                          input=MESSAGE, capture_output=True)
    refused = b'"outcome": "reply_to_unreadable"' in told.stdout
    assert refused == (inject.returncode != 0), (reply_to, inject.stderr)


def forwarded(server, fields):
    server.sql("insert into resp_forward values (7, 'anna@colleague.example')")
    deliver(server, fields + MESSAGE)
    (copy,) = server.to("anna@colleague.example")
    return copy


def test_a_forwarded_copy_loses_what_the_document_says(server):
    copy = forwarded(server, b"Content-Length: 7\nBcc: ben@x.example\nReturn-Path: <ben@x.example>\n")
    assert copy["Content-Length"] is None and copy["Bcc"] is None
    assert copy["Return-Path"] == f"<{RECIPIENT}>"
    assert copy["Date"] and copy["Message-ID"]


def test_a_copy_of_a_resent_message_gets_resent_fields(server):
    copy = forwarded(server, b"Resent-To: ben@x.example\n")
    assert copy["Resent-Date"] and copy["Resent-Message-ID"] and copy["Resent-From"]
