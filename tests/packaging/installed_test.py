"""The installed program as the mail server starts it, from a package and without one."""

import grp
import os
import shutil
import subprocess

import pytest

from tools import BUILD, CHECKOUT, dpkg
import panel as sandbox
from plain_machine import (NAME, PACKAGE, PROGRAM, GROUP, DELIVERY, STRANGER, MESSAGE,
                           _no_package, owner_and_mode, group)


@pytest.fixture
def panel():
    """A panel with one mailbox, and a rule that answers everything with an attachment."""
    sandbox.install()
    sandbox.forget_mails()
    database = sandbox.Database()
    database.load("tables.sql", "sample.sql")
    database.run("delete from mail_resp; delete from resp_forward; delete from resp_attach;"
                 "insert into mail_resp (id, mn_id, resp_on, text)"
                 " select 1, id, 'true', 'Thank you.' from mail where mail_name = 'info';"
                 "insert into resp_attach values (1, 'list.txt');")
    (sandbox.store() / "list.txt").write_text("Apples\n")
    yield database
    database.stop()
    shutil.rmtree(sandbox.DATA)


def documented_line():
    """The command of the .qmail file that operators are told to write."""
    lines = (CHECKOUT / "docs" / "operators.md").read_text().splitlines()
    (line,) = (line.strip() for line in lines if line.startswith("    |"))
    return line.removeprefix("|")


def deliver(user, group_id, command=str(PROGRAM)):
    """Starts the program as a delivery does: by a shell, as the mailbox's user and with its one
    group."""
    return subprocess.run(
        ["setpriv", f"--reuid={user}", f"--regid={group_id}", "--clear-groups",
         "/bin/sh", "-c", command],
        input=MESSAGE, capture_output=True, timeout=20, cwd="/",
        env={"PATH": "/usr/bin:/bin", "RECIPIENT": "shop.example-sales@shop.example"})


def test_a_delivery_gets_a_reply(panel, group):
    dpkg("--install", str(PACKAGE))
    result = deliver(DELIVERY, grp.getgrnam(GROUP).gr_gid, documented_line())
    assert (result.returncode, result.stderr) == (0, b"")
    (mail,) = sandbox.mails()
    assert mail.arguments == [b"-f", b"sales@shop.example", b"otto@customer.example"]
    assert b"Thank you." in mail.message
    assert b"QXBwbGVzCg==" in mail.message  # the attachment
    assert [name for name in os.listdir("/tmp") if name.startswith("kem-")] == []


def test_the_documented_line_keeps_a_broken_configuration_from_the_mailbox(panel, group):
    dpkg("--install", str(PACKAGE))
    sandbox.CONF.unlink()
    gid = grp.getgrnam(GROUP).gr_gid
    assert deliver(DELIVERY, gid).returncode == 1
    result = deliver(DELIVERY, gid, documented_line())
    assert result.returncode == 0
    assert result.stderr.startswith(b"autoresponder: Error: PRODUCT_ROOT_D not defined\n")


def test_nobody_else_can_start_it(panel, group):
    dpkg("--install", str(PACKAGE))
    result = deliver(STRANGER, 64002)
    assert result.returncode == 126
    assert b"Permission denied" in result.stderr
    assert sandbox.mails() == []


def open_to_deliveries(prefix, **environment):
    return subprocess.run(["cmake", f"-DCMAKE_INSTALL_PREFIX={prefix}", "-P",
                           BUILD / "OpenToDeliveries.cmake"], check=True, capture_output=True,
                          env={**os.environ, **environment}).stderr.decode()


@pytest.fixture
def installed(tmp_path):
    """What `cmake --install` left, before its last step."""
    shutil.copytree(BUILD / "installed", tmp_path / "kem")
    program = tmp_path / "kem" / "sbin" / "autoresponder"
    program.chmod(0o750)
    os.chown(program, 0, 0)
    return tmp_path / "kem"


def test_an_installation_without_a_package_is_open_to_the_deliveries(installed, group):
    assert open_to_deliveries(installed) == ""
    assert owner_and_mode(installed / "sbin" / "autoresponder") == (0, GROUP, 0o4750)


def test_an_installation_without_the_group_says_what_to_do(installed):
    said = open_to_deliveries(installed)
    assert "chown root:GROUP-OF-THE-DELIVERIES" in said
    assert owner_and_mode(installed / "sbin" / "autoresponder") == (0, "root", 0o750)


def test_a_staged_installation_is_nobodys_yet(installed, group):
    assert open_to_deliveries(installed, DESTDIR="/nowhere") == ""
    assert owner_and_mode(installed / "sbin" / "autoresponder") == (0, "root", 0o750)


def test_an_installation_has_pages_and_documents(installed):
    below = {str(path.relative_to(installed)) for path in installed.rglob("*") if path.is_file()}
    assert below >= {
        "sbin/autoresponder", "sbin/autoresponder-explain", "share/man/man8/autoresponder.8",
        "share/man/man5/kem.conf.5", "share/bash-completion/completions/autoresponder-explain",
        *(f"share/doc/{NAME}/{name}" for name in (
            "README.md", "CHANGELOG.md", "operators.md", "scaling.md", "security.md",
            "kem.conf.sample", "galera.cnf.sample", "haproxy.cfg", "growth.png", "remote.png",
            "throughput.png", "schema/tables.sql", "schema/cluster.sql",
            "schema/sample.sql"))}
