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
MESSAGE = b"From: otto@customer.example\nSubject: Hello\n\nA question.\n"

NOT_RUN = {
    # For a server that listens elsewhere, as in tests/system/check_test.py.
    "ln -s /run/mariadbd/mariadbd.sock /run/mysqld/mysqld.sock",
    # tests/packaging/packages and sandbox/install-tools do this before these tests.
    "sandbox/install-tools build package",
    "cmake --preset package && cmake --build --preset package",
    "cd build-package && cpack -G DEB && apt-get install ./kem-autoresponder_*.deb",
    # Daemontools are not installed; here control/virtualdomains is read for each delivery.
    "svc -h /service/qmail-send",
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


def with_lines(path, *lines):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("".join(f"{printed(line)}\n" for line in lines))


def add_groups():
    with open("/etc/group", "a") as groups:
        groups.write("vmail:x:5000:\nGROUP:x:5002:\nOTHER:x:5003:\n")


def set_up_qmail():
    """Sets up /var/qmail: the recording sendmail, and the files of the document."""
    sandbox.install()
    for name in ("control", "users", "mailnames", "bin"):
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
    (QMAIL / "control" / "databytes").write_text("10000000\n")
    with_lines(QMAIL / "control" / "rcpthosts", "my-shop.example")
    with_lines(QMAIL / "control" / "virtualdomains", "my-shop.example:d17")
    with_lines(QMAIL / "users" / "assign", "+d17-:shop:5001:5000:/home/shop:-::")
    with open(QMAIL / "users" / "assign", "a") as assign:
        assign.write(".\n")
    with_lines(HOME / ".qmail-info", "./info/Maildir/",
               "|/opt/kem/sbin/autoresponder || exit 0")
    for command in ("mkdir /home/shop/info", "/var/qmail/bin/maildirmake /home/shop/info/Maildir",
                    "chown -R 5001:5000 /home/shop/info",
                    "ln -s .qmail-info /home/shop/.qmail-sales"):
        result = sh(command)
        assert (result.returncode, result.stderr) == (0, b"")


def set_up_panel(database):
    """The document's database user, and a mailbox with two rules."""
    database.load("tables.sql")
    database.run("drop user admin@localhost;")
    for line in ("create user admin@localhost identified by 'PASSWORD';",
                 "grant select on kem.* to admin@localhost;",
                 "grant insert, update, delete on kem.resp_freq to admin@localhost;"):
        database.run(printed(line))
    sandbox.write_shadow("PASSWORD")
    database.run("insert into clients values (1, 'shop', 'Grete', 'grete@customer.example');"
                 "insert into domains (id, name, cl_id) values (1, 'my-shop.example', 1);"
                 "insert into mail (id, dom_id, mail_name) values (1, 1, 'info');"
                 "insert into mail_aliases (mn_id, alias) values (1, 'sales');"
                 "insert into mail_resp (id, mn_id, resp_on, text) values"
                 " (7, 1, 'true', 'Thank you.');")


@pytest.fixture(scope="module")
def database():
    """The database server of the document, with the package installed."""
    add_groups()
    dpkg("--install", str(package(NAME)))
    set_up_qmail()
    shutil.copy(Path("/usr/share/doc") / NAME / "kem.conf.sample", sandbox.CONF)
    running = sandbox.Database()
    set_up_panel(running)
    result = sh("/var/qmail/bin/qmail-newu")
    assert result.returncode == 0
    yield running
    running.stop()
    shutil.rmtree(sandbox.DATA)
    for directory in (QMAIL, HOME):
        shutil.rmtree(directory)
    dpkg("--purge", NAME)
