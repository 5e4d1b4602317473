"""Repairs of commands: quotes, options, and the store of attachments. The tests of what happens
without repairs are in the other files."""

import email
import email.policy
import os
import resource
import subprocess

import pytest

import panel as sandbox
from conftest import BOUNDARY, message

NEWLINE = "autoresponder: refused to run a command with a newline in: "
OPTION = "autoresponder: refused to mail to an option: "
NOT_WHOLE = "autoresponder: not sent, because its attachments are not whole: "


@pytest.fixture
def repaired(panel):
    panel.switch(repairs=True)
    return panel


def recipients(panel):
    return [mail.arguments[2:] for mail in panel.mails()]


def files_of(mail):
    """The attachments of a mail as an independent reader finds them: name and content."""
    read = email.message_from_bytes(mail.message, policy=email.policy.default)
    return [(part.get_filename(), part.get_payload(decode=True))
            for part in list(read.iter_parts())[1:]]


# --- quotes --------------------------------------------------------------------------------------

@pytest.mark.parametrize("sender", [
    "o'neil@x.example", "'@x.example", "a''b@x.example", "\"a';id;'b\"@x.example",
    "\"'$(id)'\"@x.example", "\"\\\\'\"@x.example"])
def test_a_sender_with_a_quote_gets_the_reply(repaired, sender):
    repaired.rule()
    result = repaired.run(message(sender=sender))
    assert (result.status, result.err) == (0, b"")
    assert recipients(repaired) == [[sender.encode()]]


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


def test_does_not_send_a_reply_whose_attachments_are_refused(repaired):
    rule = repaired.rule()
    repaired.attach(rule, "two\nlines.txt", "plain.txt")
    result = repaired.run(message())
    first, second = result.err.decode().splitlines()
    assert first == NEWLINE + "two lines.txt"
    assert second.startswith(NOT_WHOLE + "/tmp/kem-response-uu-")
    assert repaired.mails() == []


def test_the_bytes_of_a_reply_are_those_without_repairs(panel):
    rule = panel.rule(text="Grüße", reply_to="sales@shop.example")
    panel.attach(rule, "list.txt", "b-c d.txt", content=b"x" * 1000)
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
    assert b'filename="' + name.encode() + b'"\n\nY29udGVudA==\n' in mail.message


def test_many_attachments_need_no_higher_limit_on_descriptors(repaired):
    names = [f"{number}.txt" for number in range(60)]
    repaired.attach(repaired.rule(), *names)
    result = repaired.run(message(), preexec_fn=lambda: resource.setrlimit(
        resource.RLIMIT_NOFILE, (64, resource.getrlimit(resource.RLIMIT_NOFILE)[1])))
    assert result.err == b""
    (mail,) = repaired.mails()
    assert mail.message.count(b"filename=") == len(names)


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


# --- the store -----------------------------------------------------------------------------------

def missing_for(panel):
    """The names that the owner was told about."""
    notice = panel.mails()[0].message.decode()
    return notice.split("on domain 'shop.example':\n")[1].rstrip("\n").split("\n")


def make_outside():
    outside = sandbox.HOME / "secret"
    outside.write_text("secret")
    return outside


@pytest.mark.parametrize("name", [
    "../@attachments/list.txt", "./list.txt", "sub/list.txt", "/etc/passwd", "..", ".",
    "../../../../../etc/passwd", "/", "list.txt/"])
def test_a_name_that_leads_elsewhere_is_missing(repaired, name):
    rule = repaired.rule()
    (sandbox.store() / "sub").mkdir()
    (sandbox.store() / "sub" / "list.txt").write_text("x")
    (sandbox.store() / "list.txt").write_text("x")
    repaired.name_attachments(rule, name)
    result = repaired.run(message())
    assert result.err == b""
    assert missing_for(repaired) == [name]
    assert b"multipart" not in repaired.mails()[1].message


def test_a_name_of_blanks_is_missing(repaired):
    repaired.name_attachments(repaired.rule(), "  ")
    repaired.run(message())
    assert len(repaired.mails()) == 2
    assert b"multipart" not in repaired.mails()[1].message


@pytest.mark.parametrize("make", [
    lambda path: path.symlink_to(make_outside()),
    lambda path: path.symlink_to("plain.txt"),
    lambda path: path.symlink_to("nowhere"),
    lambda path: path.mkdir(),
    os.mkfifo,
    lambda path: subprocess.run(["mknod", path, "c", "1", "3"], check=False),
], ids=["link outside", "link inside", "dangling link", "directory", "pipe", "device"])
def test_what_is_no_plain_file_is_missing(repaired, make):
    rule = repaired.rule()
    repaired.attach(rule, "plain.txt")
    make(sandbox.store() / "odd")
    repaired.name_attachments(rule, "odd")
    result = repaired.run(message(), timeout=20)
    assert result.err == b""
    assert missing_for(repaired) == ["odd"]
    assert files_of(repaired.mails()[1]) == [("plain.txt", b"content")]


@pytest.mark.parametrize("level", ["domain", "mailbox", "store"])
def test_a_link_on_the_way_makes_all_missing(repaired, level):
    rule = repaired.rule()
    repaired.attach(rule, "plain.txt")
    store = sandbox.store()
    linked = {"domain": store.parent.parent, "mailbox": store.parent, "store": store}[level]
    elsewhere = sandbox.HOME / "elsewhere"
    linked.rename(elsewhere)
    linked.symlink_to(elsewhere)
    repaired.run(message())
    linked.unlink()
    elsewhere.rename(linked)
    assert missing_for(repaired) == ["plain.txt"]


def test_the_store_itself_may_be_reached_by_a_link(repaired):
    repaired.attach(repaired.rule(), "plain.txt")
    link = sandbox.HOME / "link"
    link.symlink_to(sandbox.MAILNAMES)
    sandbox.write_conf({**sandbox.conf_values(), "QMAIL_MAILNAMES_D": str(link),
                        "AUTORESPONDER_REPAIRS": "on"})
    repaired.run(message())
    link.unlink()
    assert files_of(repaired.mails()[0]) == [("plain.txt", b"content")]


def test_encodes_the_file_that_it_measured(repaired):
    """Another file takes the name while the command begins; it is not read."""
    repaired.attach(repaired.rule(), "list.txt", content=b"measured")
    secret, path = make_outside(), sandbox.store() / "list.txt"
    swapping = sandbox.HOME / "bin"
    swapping.mkdir(exist_ok=True)
    tool = swapping / "uuencode"
    tool.write_text(f"#!/bin/sh\n/bin/ln -sf {secret} {path}\nexec /usr/bin/uuencode \"$@\"\n")
    tool.chmod(0o755)
    result = repaired.run(message(), env={"PATH": f"{swapping}:/usr/bin:/bin"})
    tool.unlink()
    assert result.err == b"" and path.is_symlink()
    assert files_of(repaired.mails()[0]) == [("list.txt", b"measured")]


def attach_many(panel, count):
    """Adds a rule with `count` files; returns their names, which are their contents too."""
    names = [f"file{number}.txt" for number in range(count)]
    for name in names:
        (sandbox.store() / name).write_text(name)
    panel.name_attachments(panel.rule(), *names)
    return names


def test_takes_more_files_than_one_digit_counts(repaired):
    names = attach_many(repaired, 50)
    result = repaired.run(message())
    assert result.err == b""
    assert files_of(repaired.mails()[0]) == [(name, name.encode()) for name in names]


def test_only_the_command_that_encodes_inherits_the_files(repaired):
    sandbox.write_sendmail("#!/bin/sh\n/bin/ls -l /proc/self/fd >>/run/panel/open\n")
    rule = repaired.rule()
    repaired.forward(rule, "copy@colleague.example")
    repaired.attach(rule, "list.txt")
    repaired.name_attachments(rule, "missing.txt")
    repaired.run(message())
    listing = (sandbox.HOME / "open").read_text()
    (sandbox.HOME / "open").unlink()
    assert "@attachments" not in listing and "socket:" not in listing


# --- whole mails only ----------------------------------------------------------------------------

def test_does_not_send_a_reply_without_uuencode(repaired):
    repaired.attach(repaired.rule(), "list.txt")
    result = repaired.run(message(), env={"PATH": "/nowhere"})
    assert result.status == 0 and repaired.mails() == []
    assert result.err.decode().splitlines()[-1].startswith(NOT_WHOLE)


@pytest.mark.parametrize("script", [
    "/usr/bin/uuencode \"$@\" | /usr/bin/head -n 3; exit 1",
    "exit 1",
    "echo begin; echo ====",
    "/usr/bin/uuencode \"$@\" | /usr/bin/head -n 3; echo ====",
    f"/usr/bin/truncate -s 3 {sandbox.MAILNAMES}/shop.example/info/@attachments/list.txt;"
    " exec /usr/bin/uuencode \"$@\"",
    f"echo more >>{sandbox.MAILNAMES}/shop.example/info/@attachments/list.txt;"
    " exec /usr/bin/uuencode \"$@\"",
], ids=["fails in the middle", "fails", "writes nothing", "writes a part", "shorter", "longer"])
def test_does_not_send_a_reply_whose_file_was_not_encoded_whole(repaired, script):
    rule = repaired.rule()
    repaired.attach(rule, "list.txt", "other.txt", content=b"x" * 1000)
    tools = sandbox.HOME / "bin"
    tools.mkdir(exist_ok=True)
    (tools / "uuencode").write_text(f"#!/bin/sh\n{script}\n")
    (tools / "uuencode").chmod(0o755)
    repaired.rule(text="The next rule answers.")
    result = repaired.run(message(), env={"PATH": f"{tools}:/usr/bin:/bin"})
    (tools / "uuencode").unlink()
    (line,) = result.err.decode().splitlines()
    assert line.startswith(NOT_WHOLE + "/tmp/kem-response-uu-")
    (mail,) = repaired.mails()
    assert b"The next rule answers." in mail.message


def test_does_not_send_a_reply_with_more_files_than_a_command_can_name(repaired):
    attach_many(repaired, 450)
    repaired.rule(text="The next rule answers.")
    result = repaired.run(message())
    assert result.err.decode().splitlines()[-1].startswith(NOT_WHOLE)
    (mail,) = repaired.mails()
    assert b"The next rule answers." in mail.message


@pytest.mark.parametrize("size", [0, 1, 2, 3, 44, 45, 46, 89, 90, 91, 100000])
def test_sends_files_of_every_length(repaired, size):
    repaired.attach(repaired.rule(), "list.txt", "o'neil \u00fc.txt", content=b"x" * size)
    result = repaired.run(message())
    assert result.err == b""
    assert [content for _, content in files_of(repaired.mails()[0])] == [b"x" * size] * 2


def test_a_log_that_takes_nothing_does_not_stop_the_reply(repaired):
    """The step that ends each attachment writes a line to standard output."""
    repaired.attach(repaired.rule(), "list.txt")
    process = subprocess.run(["/bin/sh", "-c", f"exec {repaired.program} >/dev/full"],
                             input=message(), env={"PATH": "/usr/bin:/bin",
                                                   "RECIPIENT": "x-info@shop.example"}, timeout=20)
    assert process.returncode == 0
    assert files_of(repaired.mails()[0]) == [("list.txt", b"content")]
