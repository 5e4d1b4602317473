"""Repairs of commands: quotes, options, and the store of attachments. The tests of what happens
without repairs are in the other files."""

import os

import pytest

import panel as sandbox
from conftest import BOUNDARY, message
from repaired import NEWLINE, repaired, files_of

OPTION = "autoresponder: refused to mail to an option: "


def recipients(panel):
    return [mail.arguments[2:] for mail in panel.mails()]


# --- quotes --------------------------------------------------------------------------------------
@pytest.mark.parametrize("sender, argument", [
    ("o'neil@x.example", b"o'neil@x.example"), ("'@x.example", b"'@x.example"),
    ("a''b@x.example", b"a''b@x.example"), ("\"a';id;'b\"@x.example", b"a';id;'b@x.example"),
    ("\"'$(id)'\"@x.example", b"'$(id)'@x.example"), ("\"\\\\'\"@x.example", b"\\'@x.example")])
def test_a_sender_with_a_quote_gets_the_reply(repaired, sender, argument):
    repaired.rule()
    result = repaired.run(message(sender=sender))
    assert (result.status, result.err) == (0, b"")
    assert recipients(repaired) == [[argument]]


def test_the_shell_gets_the_quote_escaped(repaired):
    repaired.rule()
    repaired.run(message(sender="o'neil@x.example"))
    assert repaired.commands()[0].startswith(
        "/run/panel/qmail/bin/sendmail -f 'info@shop.example' 'o'\\''neil@x.example' </tmp/kem-")


def test_a_mailbox_with_a_quote_forwards_and_replies(repaired):
    repaired.sql("insert into mail values (2, 1, 'o''brien')")
    repaired.forward(repaired.rule(mn_id=2), "copy@colleague.example")
    result = repaired.run(message(), recipient="o'brien@shop.example")
    assert (result.status, result.err) == (0, b"")
    assert [mail.arguments for mail in repaired.mails()] == [
        [b"-f", b"o'brien@shop.example", b"copy@colleague.example"],
        [b"-f", b"o'brien@shop.example", b"otto@customer.example"]]


@pytest.mark.parametrize("name", ["it's.pdf", "'", "''", "a';touch pwned;'b"])
def test_attaches_a_file_with_a_quote_in_its_name(repaired, name):
    repaired.attach(repaired.rule(), name, "plain.txt", content=b"some content\n")
    result = repaired.run(message())
    assert (result.status, result.err) == (0, b"")
    (mail,) = repaired.mails()
    assert [content for _, content in files_of(mail)] == [b"some content\n"] * 2
    assert mail.message.count(b"\n--" + BOUNDARY.encode() + b"\n") == 3


@pytest.mark.parametrize("statement, arguments", [
    ("update misc set val = 'admin@x''y' where param = 'admin_email'",
     [b"-f", b"admin@x'y", b"grete@customer.example"]),
    ("update clients set email = 'grete''s@x'",
     [b"-f", b"hostmaster@panel.example", b"grete's@x"]),
])
def test_notifies_addresses_with_a_quote(repaired, statement, arguments):
    repaired.sql(statement)
    repaired.name_attachments(repaired.rule(), "missing.txt")
    result = repaired.run(message())
    assert result.err == b""
    assert repaired.mails()[0].arguments == arguments


@pytest.mark.parametrize("addresses, arguments", [
    (["a@x", "b@y"], [b"a@x", b"b@y"]),
    (["a@x b@y"], [b"a@x", b"b@y"]),
    (["  a@x \t b@y "], [b"a@x", b"b@y"]),
    (["a@x; echo"], [b"a@x;", b"echo"]),
    (["`echo a@x`"], [b"`echo", b"a@x`"]),
    (["$((6 * 7))@x"], [b"$((6", b"*", b"7))@x"]),
    (["$HOME|id>/run/panel/pwned&"], [b"$HOME|id>/run/panel/pwned&"]),
    ([None, "a@x"], [b"a@x"]),
], ids=repr)
def test_the_shell_reads_nothing_in_forwarding_addresses(repaired, addresses, arguments):
    repaired.forward(repaired.rule(), *addresses)
    repaired.run(message())
    assert recipients(repaired)[0] == arguments
    assert not os.path.exists("/run/panel/pwned")


def test_forwards_to_an_address_with_a_quote(repaired):
    rule = repaired.rule()
    repaired.sql(f"insert into resp_forward values ({rule}, 'o''neil@x b@y')")
    result = repaired.run(message())
    assert result.err == b""
    assert recipients(repaired)[0] == [b"o'neil@x", b"b@y"]


@pytest.mark.parametrize("address", [None, "", "  "], ids=repr)
def test_forwards_to_nobody_by_no_command(repaired, address):
    repaired.forward(repaired.rule(), address)
    repaired.run(message())
    assert recipients(repaired) == [[b"otto@customer.example"]]


@pytest.mark.parametrize("sender", ["a@[b\n c]", "a@[b'\n c]"])
def test_refuses_a_newline_in_a_sender(repaired, sender):
    rule = repaired.rule()
    repaired.forward(rule, "copy@colleague.example")
    result = repaired.run(message(sender=sender))
    assert result.err.decode() == NEWLINE + sender.replace("\n", " ") + "\n"
    assert recipients(repaired) == [[b"copy@colleague.example"]]
    assert len(repaired.senders()) == 1


def test_refuses_a_newline_in_a_forwarding_address(repaired):
    rule = repaired.rule()
    repaired.sql(f"insert into resp_forward values ({rule}, 'a@x\nid')")
    result = repaired.run(message())
    assert result.err.decode() == NEWLINE + "a@x id\n"
    assert recipients(repaired) == [[b"otto@customer.example"]]


def test_the_bytes_of_a_reply_are_those_without_repairs(panel):
    rule = panel.rule(text="Grüße", reply_to="sales@shop.example")
    panel.attach(rule, "list.txt", "b c d.txt", content=b"x" * 1000)
    panel.attach(rule, "empty.txt", content=b"")
    panel.name_attachments(rule, "missing.txt")
    panel.forward(rule, "a@x b@y")
    mails = []
    for repairs in (False, True):
        panel.switch(repairs)
        sandbox.forget_mails()
        result = panel.run(message())
        assert (result.status, result.err, result.out) == (0, b"", b"\n" * 3)
        mails.append([(mail.arguments, mail.message) for mail in panel.mails()])
    (copy, notice, reply), repaired = mails
    assert repaired == [copy, (notice[0], notice[1].replace(b"shop.exampleFrom",
                                                            b"shop.example\nFrom")), reply]


@pytest.mark.parametrize("name", ["back\\n.txt", "stop\\c.txt", "octal\\0101.txt"])
def test_a_backslash_in_a_name_stays(repaired, name):
    rule = repaired.rule()
    (sandbox.store() / name).write_text("content")
    repaired.sql(f"insert into resp_attach values ({rule}, '" + name.replace("\\", "\\\\") + "')")
    assert repaired.run(message()).err == b""
    (mail,) = repaired.mails()
    escaped = name.replace("\\", "\\\\").encode()
    assert b'filename="' + escaped + b'"\n\nY29udGVudA==\n' in mail.message


# --- options -------------------------------------------------------------------------------------
@pytest.mark.parametrize("sender", ["-bs@evil.example", "-oQ/tmp@x", "-@x"])
def test_mails_no_reply_to_an_option(repaired, sender):
    rule = repaired.rule()
    repaired.forward(rule, "copy@colleague.example")
    result = repaired.run(message(sender=sender))
    assert (result.status, result.err.decode()) == (0, OPTION + sender + "\n")
    assert recipients(repaired) == [[b"copy@colleague.example"]]
    assert len(repaired.senders()) == 1


def test_an_option_makes_no_second_line_in_the_log(repaired):
    repaired.rule()
    result = repaired.run(b"From: -a@[b\r\n c\x01]\n\nbody\n")
    assert result.err.startswith(OPTION.encode()) and result.err.count(b"\n") == 1
    assert b"\r" not in result.err and b"\x01" not in result.err
    assert repaired.mails() == []


@pytest.mark.parametrize("addresses, left, reported", [
    (["-bs"], [], ["-bs"]),
    (["-bs", "a@x"], [b"a@x"], ["-bs"]),
    (["a@x -C/tmp/x -bs b@y"], [b"a@x", b"b@y"], ["-C/tmp/x", "-bs"]),
    (["a-b@x"], [b"a-b@x"], []),
], ids=repr)
def test_forwards_to_all_but_the_options(repaired, addresses, left, reported):
    repaired.forward(repaired.rule(), *addresses)
    result = repaired.run(message())
    assert result.err.decode().splitlines() == [OPTION + option for option in reported]
    assert recipients(repaired) == ([left] if left else []) + [[b"otto@customer.example"]]


def test_notifies_no_owner_that_is_an_option(repaired):
    repaired.sql("update clients set email = '-bs@x'")
    repaired.name_attachments(repaired.rule(), "missing.txt")
    result = repaired.run(message())
    assert result.err.decode() == OPTION + "-bs@x\n"
    assert recipients(repaired) == [[b"otto@customer.example"]]


def test_another_options_place_takes_such_an_address(repaired):
    repaired.sql("insert into mail values (2, 1, '-bs')")
    repaired.rule(mn_id=2)
    repaired.run(message(), recipient="x--bs@shop.example")
    assert [mail.arguments for mail in repaired.mails()] == [
        [b"-f", b"-bs@shop.example", b"otto@customer.example"]]
