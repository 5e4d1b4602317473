"""Attachments, and what the owner is told about missing ones."""

import email
import email.policy

import pytest

from conftest import BOUNDARY, NONSENSE, message


def by_recipient(panel, recipient):
    return [mail for mail in panel.mails() if mail.arguments[-1] == recipient]


def replies(panel):
    return by_recipient(panel, b"otto@customer.example")


def notifications(panel):
    return by_recipient(panel, b"grete@customer.example")


def test_appends_a_file_as_a_base64_part(panel):
    panel.attach(panel.rule(text="See below."), "list.txt", content=b"Apples\n")
    result = panel.run(message())
    assert result.out == b"\n"  # written by the step that ends each attachment
    boundary = BOUNDARY.encode()
    assert replies(panel)[0].message == (
        b"From: info@shop.example\nTo: otto@customer.example\nMIME-Version: 1.0\n"
        b"Subject: Re: Hello\n"
        b'Content-Type: multipart/mixed;\n\tboundary="' + boundary + b'"\n\n--' + boundary + b"\n"
        b'Content-Type: text/plain; charset="UTF-8"\nContent-Transfer-Encoding: 8bit\n'
        b"Content-Disposition: inline\n\nSee below.\n\n\n--" + boundary + b"\n"
        b"Content-Type: application/octet-stream\nContent-Transfer-Encoding: base64\n"
        b'Content-Disposition: attachment;\n\tfilename="list.txt"\n\nQXBwbGVzCg==\n--'
        + boundary + b"--\n")


@pytest.mark.parametrize("content", [
    b"", b"a", bytes(range(256)) * 50, b"\n" * 1000, b"x" * 1000000], ids=len)
def test_an_independent_reader_gets_the_files_back(panel, content):
    rule = panel.rule(text="Grüße")
    panel.attach(rule, "one.bin", "price list.pdf", content=content)
    panel.run(message())
    mail = email.message_from_bytes(replies(panel)[0].message, policy=email.policy.default)
    text, *files = mail.iter_parts()
    assert text.get_content().startswith("Grüße\n")
    assert [(file.get_filename(), file.get_payload(decode=True)) for file in files] == [
        ("one.bin", content), ("price list.pdf", content)]


@pytest.mark.parametrize("name, header", [
    ("price list.pdf", b"price list.pdf"),
    ("a-b.txt", b"=?utf-8?Q?a=2Db.txt?="),
    ("Grüße.txt", b"=?utf-8?Q?Gr=C3=BC=C3=9Fe.txt?="),
    ("$HOME `id` ;x.txt", b"$HOME `id` ;x.txt"),
    ('"q".txt', b"=?utf-8?Q?=22q=22.txt?="),
])
def test_encodes_the_name_in_the_header(panel, name, header):
    panel.attach(panel.rule(), name)
    panel.run(message())
    assert b'filename="' + header + b'"\n' in replies(panel)[0].message


def test_trims_the_name(panel):
    rule = panel.rule()
    panel.attach(rule, "price list.pdf")
    panel.sql("update resp_attach set filename = ' \\t price list.pdf \\n '")
    panel.run(message())
    assert b'filename="price list.pdf"\n' in replies(panel)[0].message
    assert notifications(panel) == []


def test_skips_empty_and_missing_names(panel):
    panel.name_attachments(panel.rule(), "", None)
    panel.run(message())
    assert b"multipart" not in replies(panel)[0].message
    assert notifications(panel) == []


def test_looks_in_the_store_of_the_mailbox_itself(panel):
    panel.sql("insert into mail_aliases (mn_id, alias) values (1, 'sales');"
              "insert into domainaliases (dom_id, name, mail) values (1, 'laden.example', 'true');")
    panel.attach(panel.rule(), "list.txt")
    panel.run(message(), recipient="sales@laden.example")
    assert b'filename="list.txt"' in replies(panel)[0].message


def test_ends_the_run_when_the_names_cannot_be_read(panel):
    panel.rule()
    panel.sql("drop table resp_attach")
    result = panel.run(message())
    assert (result.status, result.err) == (
        0, b"autoresponder: Unable to exec query :Table 'kem.resp_attach' doesn't exist\n")
    assert panel.mails() == []


def test_one_command_appends_all_files(panel):
    panel.leave_all_to_the_shell()
    panel.attach(panel.rule(), "a.txt", "b-c.txt")
    panel.run(message())
    command = panel.commands()[0]
    file = command.split(">>")[1].split(" ")[0]
    store = "/run/panel/mailnames/shop.example/info/@attachments"
    assert file.startswith("/tmp/kem-response-uu-")

    def steps(name, header):
        return (f"echo '--{BOUNDARY}\nContent-Type: application/octet-stream\n"
                "Content-Transfer-Encoding: base64\n"
                f'Content-Disposition: attachment;\n\tfilename="{header}"\n\' >>{file} ; '
                f"uuencode -m -- '{store}/{name}' '{name}' | sed -e '1d;$d' >>{file} ; echo ; ")
    assert command == (steps("a.txt", "a.txt") + steps("b-c.txt", "=?utf-8?Q?b=2Dc.txt?=")
                       + f"echo '--{BOUNDARY}--' >>{file} ; ")
    assert len(panel.commands()) == 2


def test_no_file_no_command(panel):
    panel.leave_all_to_the_shell()
    panel.name_attachments(panel.rule(), "missing.txt")
    panel.run(message())
    assert [command.split(" ")[0] for command in panel.commands()] == [
        "/run/panel/qmail/bin/sendmail"] * 2


# --- the notification ----------------------------------------------------------------------------
def test_tells_the_owner_about_missing_files(panel):
    rule = panel.rule()
    panel.attach(rule, "here.txt")
    panel.name_attachments(rule, "old.pdf", "  gone.txt ")
    assert panel.run(message()).err == b""
    assert [mail.arguments[-1] for mail in panel.mails()] == [
        b"grete@customer.example", b"otto@customer.example"]
    assert replies(panel)[0].message.count(b"application/octet-stream") == 1
    (mail,) = notifications(panel)
    assert panel.commands()[0] == ("/run/panel/qmail/bin/sendmail -f 'hostmaster@panel.example'"
                                   " 'grete@customer.example'")
    assert mail.message == (
        b"From: hostmaster@panel.example\nTo: grete@customer.example\nCC: \n"
        b"Subject: kem notification (files missing in attachments repository). \n"
        b"Content-Type: text/plain; charset=utf-8\nContent-Disposition: inline\n"
        b"Content-Transfer-Encoding: 8bit\n\n\n"
        b"Notification for kem client 'Grete Kaufmann'.\n\n"
        b"The following files are missing in the attachment repository\n"
        b"for the mailname 'info' on domain 'shop.example':\nold.pdf\ngone.txt\n\n")


def test_a_reply_without_any_file_is_a_single_part(panel):
    panel.name_attachments(panel.rule(), "old.pdf")
    result = panel.run(message())
    assert result.out == b""
    assert b"multipart" not in replies(panel)[0].message


def test_reply_to_and_from_share_a_line(panel):
    panel.name_attachments(panel.rule(reply_to="sales@shop.example"), "old.pdf")
    panel.run(message())
    assert notifications(panel)[0].message.startswith(
        b"Reply-To: sales@shop.exampleFrom: hostmaster@panel.example\nTo: ")


@pytest.mark.parametrize("pname", ["''", "NULL"])
def test_greets_by_the_login_without_a_name(panel, pname):
    panel.sql(f"update clients set pname = {pname}")
    panel.name_attachments(panel.rule(), "old.pdf")
    panel.run(message())
    assert b"client 'shop'.\n" in notifications(panel)[0].message


@pytest.mark.parametrize("settings, sender", [
    ("('admin_email', ''), ('FullHostName', 'server1.panel.example')",
     b"root@server1.panel.example"),
    ("('admin_email', NULL), ('FullHostName', 'server1.panel.example')",
     b"root@server1.panel.example"),
    ("('FullHostName', '')", b"root@localhost"),
    ("('other', 'x')", b"root@localhost"),
], ids=repr)
def test_falls_back_to_other_senders(panel, settings, sender):
    panel.sql(f"delete from misc; insert into misc (param, val) values {settings}")
    panel.name_attachments(panel.rule(), "old.pdf")
    panel.run(message())
    (mail,) = notifications(panel)
    assert mail.arguments[1] == sender
    assert mail.message.startswith(b"From: " + sender + b"\n")


def test_every_firing_rule_notifies(panel):
    for _ in range(2):
        panel.name_attachments(panel.rule(), "old.pdf")
    panel.run(message())
    assert len(notifications(panel)) == 2


def test_statements_of_a_notification(panel):
    panel.sql("update misc set val = '' where param = 'admin_email'")
    panel.name_attachments(panel.rule(), "old.pdf")
    sent = panel.statements(lambda: panel.run(message()))
    assert sent[-4:] == [
        "select filename from resp_attach where rn_id=1",
        "select c.email, c.pname, c.login from clients c, domains d where d.cl_id=c.id and"
        " d.name='shop.example'",
        "select val from misc where param='admin_email'",
        "select val from misc where param='FullHostName'"]


def answered_without_notification(panel, result, diagnostic):
    assert (result.status, result.err) == (0, diagnostic)
    assert notifications(panel) == []
    assert len(replies(panel)) == 1


def test_an_address_through_a_domain_alias_has_no_known_owner(panel):
    panel.sql("insert into domainaliases (dom_id, name, mail) values (1, 'laden.example', 'true')")
    panel.name_attachments(panel.rule(), "old.pdf")
    answered_without_notification(
        panel, panel.run(message(), recipient="info@laden.example"),
        b"This client does not exist :\n")


@pytest.mark.parametrize("email", ["''", "NULL"])
def test_an_owner_without_an_address_is_not_notified(panel, email):
    panel.sql(f"update clients set email = {email}")
    panel.name_attachments(panel.rule(), "old.pdf")
    answered_without_notification(panel, panel.run(message()), b"")


def test_a_failing_query_for_the_owner_is_reported(panel):
    panel.sql("drop table clients")
    panel.name_attachments(panel.rule(), "old.pdf")
    answered_without_notification(
        panel, panel.run(message()), b"Unable to define client email and personal name :"
        b"Table 'kem.clients' doesn't exist\n")


def test_a_failing_pipe_is_reported(panel):
    panel.name_attachments(panel.rule(), "old.pdf")
    answered_without_notification(
        panel, panel.run(message(), faults="popen"),
        b"Unable to send mail with notify of not exist attachment.\n")


def test_a_failing_setting_is_reported_and_passed_over(panel):
    panel.name_attachments(panel.rule(), "old.pdf")
    result = panel.run(message(), faults="mysql_real_query#14")
    warning = b"autoresponder: Unable to query parameter by query select val from misc where" \
              b" param='admin_email': " + NONSENSE
    assert result.status == 0
    assert result.err.startswith(warning[:-1]) and result.out.startswith(warning[:-1])
    assert notifications(panel)[0].arguments[1] == b"root@localhost"
