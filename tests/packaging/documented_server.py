"""A server that is set up with the files and commands of docs/operators.md."""

import re
import shutil
import subprocess
from pathlib import Path

import pytest

from tools import CHECKOUT, dpkg, package
import panel as sandbox

NAME = "kem-autoresponder"
DOCUMENT = (CHECKOUT / "docs" / "operators.md").read_text()
BLOCKS = re.findall(r"(?:^    .*\n)+", DOCUMENT, re.MULTILINE)
LINES = {line.strip() for block in BLOCKS for line in block.splitlines()}
USED = set()
QMAIL = Path("/var/qmail")
HOME = Path("/home/shop")
MESSAGE = b"From: otto@customer.example\nTo: info@shop.example\nSubject: Hello\n\nA question.\n"

NOT_RUN = {
    # For a server that listens elsewhere, as in tests/system/check_test.py.
    "ln -s /run/mariadbd/mariadbd.sock /run/mysqld/mysqld.sock",
    # tests/packaging/packages and sandbox/install-tools do this before these tests.
    "sandbox/install-tools build package",
    "cmake --preset package && cmake --build --preset package",
    "cd build-package && cpack -G DEB",
    # Lines of the mail server's log: tests/system/log_test.py.
    "delivery 8: success: did_1+0+1/",
    "delivery 9: success: //did_1+0+1/",
    "delivery 10: success: Field_From:_contains_MAILER-DAEMON/did_1+0+1/",
}


def printed(line):
    """Returns a line, which must be in the document, and notes that it was used."""
    assert line in LINES, line
    USED.add(line)
    return line


def sh(command, directory="/", **options):
    """Runs a command of the document by a shell."""
    return subprocess.run(["/bin/sh", "-c", printed(command)], cwd=directory, capture_output=True,
                          timeout=120, **options)


def add_groups():
    with open("/etc/group", "a") as groups:
        groups.write("GROUP:x:5002:\nOTHER:x:5003:\n")


# The commands of the section that leads to a first reply.
FIRST_REPLY = re.findall(r"^    (.*)$", DOCUMENT.split("\n## The first reply\n")[1].split("\n## ")[0],
                         re.MULTILINE)


def walk(svc):
    """Copies the document's commands for the first reply, as root, from the first block on. `svc` stands for
    daemontools' command, with which the last change of the mail server takes effect."""
    commands = [command for command in FIRST_REPLY if command not in NOT_RUN]
    USED.update(commands)
    Path("/usr/local/bin/svc").write_text(f"#!/bin/sh\n{svc}\n")
    Path("/usr/local/bin/svc").chmod(0o755)
    place = Path("/root/packages")
    place.mkdir()
    shutil.copy(package(NAME), place)
    return subprocess.run(["/bin/sh", "-ex"], input="\n".join(commands), cwd=place, text=True, timeout=600,
                          capture_output=True, env={"PATH": "/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"})


def set_up_qmail():
    """The recording sendmail, and what else the document needs of qmail."""
    for name in ("control", "users", "bin"):
        (QMAIL / name).mkdir(parents=True)
    shutil.copy(sandbox.QMAIL / "bin" / "sendmail", QMAIL / "bin" / "sendmail")
    (QMAIL / "bin" / "qmail-newu").write_text(
        "#!/bin/sh\nexec cp /var/qmail/users/assign /var/qmail/users/cdb\n")
    (QMAIL / "bin" / "qmail-inject").write_text(
        f'#!/bin/sh\nexec python3 {CHECKOUT}/tests/packaging/qmail.py "$@"\n')
    (QMAIL / "bin" / "maildirmake").write_text('#!/bin/sh\nmkdir "$1" "$1/tmp" "$1/new" "$1/cur"\n')
    for name in ("qmail-newu", "qmail-inject", "maildirmake"):
        (QMAIL / "bin" / name).chmod(0o755)
    # --check looks for these two, which nothing here uses.
    (QMAIL / "bin" / "qmail-queue").touch()
    (QMAIL / "bin" / "qmail-queue").chmod(0o4711)
    (QMAIL / "control" / "me").write_text("mail.example\n")


def set_up_rule(database):
    """One rule for the mailbox of the document, and nobody answered yet."""
    database.run("delete from resp_freq; delete from resp_attach; delete from resp_forward;"
                 "delete from mail_resp; delete from mail where id<>1;"
                 "insert into mail_resp (id, mn_id, resp_on, text) values (7, 1, 'true', 'Thank you.');")


@pytest.fixture(scope="module")
def database():
    """The database server of the document, with the package installed."""
    add_groups()
    sandbox.install()
    set_up_qmail()
    running = sandbox.Database()
    result = walk("exit 0")
    assert result.returncode == 0, result.stdout + result.stderr
    set_up_rule(running)
    yield running
    running.stop()
    shutil.rmtree(sandbox.DATA)
    for directory in (QMAIL, HOME):
        shutil.rmtree(directory)
    dpkg("--purge", NAME)
