"""A real qmail with the program from the package, set up by the commands of docs/operators.md. Mail to
all other domains arrives in the Maildir of one user, because there is no other host."""

import email
import email.policy
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

CHECKOUT = Path(__file__).resolve().parent.parent.parent
sys.path[:0] = [str(CHECKOUT / "sandbox"), str(CHECKOUT / "tests" / "packaging")]

import panel as sandbox  # noqa: E402
from documented_server import HOME, QMAIL, set_up_rule, walk  # noqa: E402
from tools import shell  # noqa: E402

SOURCE = CHECKOUT / "build-package" / "qmail-source.tar"
LOG = sandbox.HOME / "qmail.log"
WORLD = Path("/home/world/Maildir/new")
MAILBOX = HOME / "info" / "Maildir" / "new"
OTHER_DOMAINS = "customer.example", "colleague.example", "lists.example"


def wait_until(condition, what, seconds=60):
    deadline = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < deadline, f"{what}:\n{LOG.read_text()[-2000:]}"
        time.sleep(0.02)


def build_qmail():
    """As its own documentation says."""
    for group, users in (("nofiles", "alias qmaild qmaill qmailp"), ("qmail", "qmailq qmailr qmails")):
        shell("groupadd", group)
        for user in users.split():
            home = QMAIL / "alias" if user == "alias" else QMAIL
            shell("useradd", "-g", group, "-d", str(home), "-s", "/usr/sbin/nologin", user)
    place = Path("/usr/src/qmail")
    place.mkdir()
    shell("tar", "-xf", str(SOURCE), "-C", str(place), "--strip-components=1")
    result = subprocess.run(["make", "-C", place, "NROFF=true", "setup", "check"],
                            capture_output=True, text=True)
    assert result.returncode == 0, result.stderr[-2000:]


def set_up_world():
    """What this mail server delivers before the document's domain comes to it: mail to all other domains."""
    control = QMAIL / "control"
    (control / "me").write_text("mail.shop.example\n")
    (control / "locals").write_text("mail.shop.example\n")
    (control / "concurrencylocal").write_text("20\n")
    (control / "rcpthosts").write_text("mail.shop.example\n")
    (control / "virtualdomains").write_text("".join(f"{domain}:world\n" for domain in OTHER_DOMAINS))
    (QMAIL / "users" / "assign").write_text("+world-:world:5010:5010:/home/world:-::\n.\n")
    for name in ("postmaster", "mailer-daemon", "root"):
        (QMAIL / "alias" / f".qmail-{name}").write_text("&postmaster@customer.example\n")
    world = WORLD.parent.parent
    world.mkdir()
    (world / ".qmail-default").write_text("./Maildir/\n")
    shell(str(QMAIL / "bin" / "maildirmake"), str(WORLD.parent))
    shell("chown", "-R", "5010:5010", str(world))
    shell(str(QMAIL / "bin" / "qmail-newu"))


class MailServer:
    """Qmail, the panel and its database, set up by the document's commands."""

    def __init__(self):
        sandbox.HOME.mkdir()
        build_qmail()
        set_up_world()
        self.database = sandbox.Database("--max-connections=60")
        self.log = open(LOG, "wb")
        self.qmail = subprocess.Popen([QMAIL / "bin" / "qmail-start", "./Maildir/"], cwd="/",
                                      stdout=self.log, stderr=self.log,
                                      env={"PATH": "/var/qmail/bin:/usr/bin:/bin"})
        wait_until(lambda: "status: local" in LOG.read_text(), "qmail starts")
        self.start_of_log = 0
        start = time.monotonic()
        self.walked = walk("exec pkill -HUP qmail-send")
        self.settle()
        self.seconds = time.monotonic() - start
        self.first_replies = self.to("otto@customer.example")
        self.configuration = sandbox.CONF.read_text()
        (QMAIL / "control" / "databytes").write_text("50000\n")

    def switch(self, **switches):
        sandbox.CONF.write_text(self.configuration + "".join(
            f"AUTORESPONDER_{key.upper()} {'on' if is_on else 'off'}\n" for key, is_on in switches.items()))

    def reset(self):
        """An empty queue, empty mailboxes and the document's panel."""
        self.settle()
        for place in (WORLD, MAILBOX):
            for mail in place.iterdir():
                mail.unlink()
        self.switch()
        set_up_rule(self.database)
        self.start_of_log = LOG.stat().st_size

    def sql(self, statements):
        return self.database.run(statements)

    def inject(self, message, *options):
        subprocess.run([QMAIL / "bin" / "qmail-inject", *options], input=message, check=True)

    def receive(self, message, sender, recipient):
        """By SMTP, from another host."""
        dialogue = (f"HELO other.example\r\nMAIL FROM:<{sender}>\r\nRCPT TO:<{recipient}>\r\n"
                    "DATA\r\n").encode() + message.replace(b"\n", b"\r\n") + b"\r\n.\r\nQUIT\r\n"
        result = subprocess.run(
            ["setpriv", "--reuid=qmaild", "--regid=nofiles", "--clear-groups",
             QMAIL / "bin" / "qmail-smtpd"], input=dialogue, capture_output=True, check=True,
            env={"TCPREMOTEIP": "192.0.2.7", "TCPLOCALIP": "192.0.2.1"})
        return result.stdout.decode()

    def queue(self):
        """The files of the queue that stand for messages."""
        return [path for name in ("mess", "todo", "intd", "info", "local", "remote", "bounce")
                for path in (QMAIL / "queue" / name).rglob("*") if path.is_file()]

    def settle(self):
        """Returns when everything was delivered."""
        wait_until(lambda: not self.queue(), "the queue becomes empty")

    def said(self):
        """The log since the reset."""
        return LOG.read_bytes()[self.start_of_log:].decode("latin-1")

    def deliveries(self):
        """What the log says of each delivery to the mailbox."""
        return re.findall(r"^delivery \d+: (.*)", self.said(), re.MULTILINE)

    def mails(self, place=WORLD):
        """The mails that have arrived, as they are."""
        return [path.read_bytes() for path in sorted(place.iterdir())]

    def to(self, address):
        """The mails that have arrived for an address."""
        return [email.message_from_bytes(mail, policy=email.policy.default)
                for mail in self.mails()
                if f"\nDelivered-To: world-{address}\n".encode() in b"\n" + mail]

    def temporary_files(self):
        return [name for name in os.listdir("/tmp") if name.startswith("kem-")]

    def stop(self):
        self.qmail.send_signal(signal.SIGTERM)
        self.qmail.wait()
        self.database.stop()
        shutil.rmtree(sandbox.DATA)
