"""Repairs of attachments: the store, and replies that are not whole."""

import os
import resource
import subprocess

import pytest

import panel as sandbox
from conftest import message
from repaired import NEWLINE, NOT_WHOLE, repaired, files_of


def test_does_not_send_a_reply_whose_attachments_are_refused(repaired):
    rule = repaired.rule()
    repaired.attach(rule, "two\nlines.txt", "plain.txt")
    result = repaired.run(message())
    first, second = result.err.decode().splitlines()
    assert first == NEWLINE + "two lines.txt"
    assert second.startswith(NOT_WHOLE + "/tmp/kem-response-uu-")
    assert repaired.mails() == []


def test_many_attachments_need_no_higher_limit_on_descriptors(repaired):
    names = [f"{number}.txt" for number in range(60)]
    repaired.attach(repaired.rule(), *names)
    result = repaired.run(message(), preexec_fn=lambda: resource.setrlimit(
        resource.RLIMIT_NOFILE, (64, resource.getrlimit(resource.RLIMIT_NOFILE)[1])))
    assert result.err == b""
    (mail,) = repaired.mails()
    assert mail.message.count(b"filename=") == len(names)


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
    # A part of the command may still be writing that it does not find its program.
    assert NOT_WHOLE in result.err.decode()


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
