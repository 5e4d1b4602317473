"""The programs that are compared, each set up in the sandbox to answer one mailbox's mail.

Each is started as it is in a delivery: as the mailbox's user, with the message on standard input.
Each remembers whom it answered; `forget` empties that. None of them stores the message.
"""

import os
import shutil
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path[:0] = [str(ROOT / "bench")]

from runs import COMMANDS, RECIPIENT, TOOLS, Bench, sandbox  # noqa: E402

USER = 5001
HOME = Path("/run/panel/home/info")
MAILBOX = "info@shop.example"
SENDER = "otto@customer.example"
TEXT = "Thank you."
INPUT = Path("/run/panel/message")
LOG = Path("/run/panel/dovecot.log")
# What each of them starts for a reply; inside the sandbox another file is mounted over it.
SENDMAIL = "/usr/sbin/sendmail"
LMTP = "/run/dovecot/lmtp"

MAILBOT = (f"/usr/bin/mailbot -t {HOME}/text -c utf-8 -N -A 'From: {MAILBOX}' -d {HOME}/answered"
           f" {SENDMAIL} -t -f {MAILBOX}")
MAILDROP = f"""if ({{condition}})
{{{{
  cc "| {MAILBOT}"
}}}}
EXITCODE=0
exit
"""
SIEVE = f"""require ["vacation", "body"];
if {{condition}} {{{{
  vacation :days 1 :addresses ["{MAILBOX}"] :from "{MAILBOX}" "{TEXT}";
}}}}
discard;
"""
DOVECOT = f"""protocols = lmtp
log_path = {LOG}
ssl = no
mail_location = maildir:~/Maildir
sendmail_path = {SENDMAIL}
postmaster_address = postmaster@shop.example
hostname = shop.example
first_valid_uid = {USER}
passdb {{
  driver = static
  args = nopassword=y
}}
userdb {{
  driver = static
  args = uid={USER} gid={USER} home={HOME} allow_all_users=yes
}}
service lmtp {{
  process_min_avail = 1
  unix_listener lmtp {{
    mode = 0666
  }}
}}
protocol lda {{
  mail_plugins = sieve
  stats_writer_socket_path =
}}
protocol lmtp {{
  mail_plugins = sieve
}}
plugin {{
  sieve = ~/.dovecot.sieve
}}
"""


def put(path, text, mode=0o644):
    """Writes a file of the mailbox's user."""
    path.write_text(text)
    path.chmod(mode)
    os.chown(path, USER, USER)


class Peer:
    """One of the programs."""

    def __init__(self, name, arguments, files=(), conditions=False, courtesy=False):
        self.name = name
        self.arguments = arguments  # of the command, for an envelope sender
        self.files = files  # in which it remembers senders
        self.conditions = conditions  # whether it can look for a word in the text
        self.courtesy = courtesy  # the switch of the autoresponder
        self.server = None  # the process of the server that does part of the work

    def command(self, sender=SENDER):
        return [str(TOOLS / "deliver"), str(USER), str(INPUT), *map(str, self.arguments(sender))]


class Ours(Peer):
    """The autoresponder, installed setuid."""

    def __init__(self, name, program, **switches):
        installed = sandbox.HOME / name.replace(",", "").replace(" ", "-")
        shutil.copy(program, installed)
        installed.chmod(0o4755)
        super().__init__(name, lambda _: [installed], conditions=True, **switches)


def peers():
    """All of them, in the order of the tables."""
    dupes = HOME / ".dovecot.lda-dupes"
    answered = HOME / "answered.gdbm"
    return [
        Ours("autoresponder", COMMANDS["program"][0]),
        Ours("autoresponder, static client", COMMANDS["static"][0]),
        Ours("autoresponder, courtesy", COMMANDS["program"][0], courtesy=True),
        Peer("vacation", lambda _: ["/usr/bin/vacation", "-a", MAILBOX, "info"]),
        Peer("mailbot", lambda _: ["/usr/bin/mailbot", "-t", HOME / "text", "-c", "utf-8", "-N",
                                   "-A", f"From: {MAILBOX}", "-d", HOME / "answered", SENDMAIL,
                                   "-t", "-f", MAILBOX], [answered]),
        Peer("maildrop, mailbot", lambda _: ["/usr/bin/maildrop", HOME / ".mailfilter"],
             [answered], conditions=True),
        Peer("dovecot-lda, Sieve", lambda sender: ["/usr/lib/dovecot/dovecot-lda", "-f", sender,
                                                   "-a", MAILBOX], [dupes], conditions=True),
        Peer("dovecot lmtp, Sieve", lambda sender: [TOOLS / "lmtp", LMTP, sender, MAILBOX],
             [dupes], conditions=True),
    ]


class Ground:
    """The sandbox with a panel, a mailbox's user, and what all peers need."""

    def __init__(self):
        self.bench = Bench()
        self.panel = self.bench.panel
        self.bench.lighten()
        self.panel.reset()
        self.make_user()
        self.make_files()
        sendmail = sandbox.QMAIL / "bin" / "sendmail"
        subprocess.run(["mount", "--bind", sendmail, SENDMAIL], check=True)
        sandbox.RECORDS.chmod(0o1777)
        self.peers = peers()
        self.dovecot = self.start_dovecot()
        for peer in self.peers:
            if isinstance(peer, Ours):
                peer.server = self.panel.database.process.pid
            elif "lmtp" in peer.name:
                peer.server = self.dovecot.pid

    def make_user(self):
        for path, line in (("/etc/passwd", f"info:x:{USER}:{USER}::{HOME}:/bin/sh\n"),
                           ("/etc/group", f"info:x:{USER}:\n")):
            with open(path, "a") as file:
                file.write(line)
        HOME.mkdir(parents=True)
        os.chown(HOME, USER, USER)

    def make_files(self):
        put(HOME / "text", TEXT + "\n")
        put(HOME / ".vacation.msg", f"From: {MAILBOX}\nSubject: Re: $SUBJECT\n\n{TEXT}\n")
        subprocess.run([TOOLS / "deliver", str(USER), "/dev/null", "/usr/bin/vacation", "-i"],
                       check=True, env=self.environment())
        self.empty = (HOME / ".vacation.db").read_bytes()
        self.answer()

    def answer(self, trigger=None):
        """Makes the peers that have conditions answer texts with a trigger, or all messages."""
        maildrop, sieve, columns = "1", "true", {}
        if trigger:
            maildrop, sieve = f"/{trigger}/:b", f'body :text :contains "{trigger}"'
            columns = {"keystr": trigger, "key_where": "body"}
        put(HOME / ".mailfilter", MAILDROP.format(condition=maildrop), 0o600)
        put(HOME / ".dovecot.sieve", SIEVE.format(condition=sieve))
        (HOME / ".dovecot.svbin").unlink(missing_ok=True)
        self.panel.sql("delete from mail_resp")
        self.panel.rule(text=TEXT, **columns)

    def start_dovecot(self):
        Path("/etc/dovecot/dovecot.conf").write_text(DOVECOT)
        LOG.touch()
        LOG.chmod(0o666)
        server = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", "/usr/sbin/dovecot", "-F"],
                                  stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                  stderr=subprocess.DEVNULL)
        deadline = time.monotonic() + 20
        while not os.path.exists(LMTP):
            if server.poll() is not None or time.monotonic() > deadline:
                raise RuntimeError("dovecot does not start:\n" + LOG.read_text()[-2000:])
            time.sleep(0.02)
        return server

    def environment(self, sender=SENDER):
        return {"PATH": "/usr/bin:/bin", "HOME": str(HOME), "USER": "info", "LOGNAME": "info",
                "RECIPIENT": RECIPIENT, "SENDER": sender}

    def forget(self):
        """Makes everybody forget whom it answered."""
        subprocess.run(["mariadb", "--no-defaults", "--user=root", f"--socket={sandbox.SOCKET}",
                        "kem", "-e", "delete from resp_freq"], check=True)
        put(HOME / ".vacation.db", "", 0o600)
        (HOME / ".vacation.db").write_bytes(self.empty)
        for peer in self.peers:
            for path in peer.files:
                path.unlink(missing_ok=True)

    def run(self, peer, sender=SENDER):
        """One delivery; ends with the process."""
        self.panel.switch(courtesy=peer.courtesy)
        return subprocess.run(peer.command(sender), stdin=subprocess.DEVNULL, capture_output=True,
                              env=self.environment(sender))

    def replies(self, peer, message, sender=SENDER, forget=True):
        """The mails that leave when a message is delivered, and how the delivery ended."""
        INPUT.write_bytes(message)
        INPUT.chmod(0o644)
        if forget:
            self.forget()
        sandbox.forget_mails()
        sandbox.write_sendmail()
        result = self.run(peer, sender)
        return sandbox.mails(), result

    def use_sink(self):
        self.bench.use_sink()
