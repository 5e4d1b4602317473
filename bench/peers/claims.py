"""What bench/RESULTS.md says that the peers can or cannot do, each sentence tried."""

import email
import subprocess
from pathlib import Path

from answers import NoReply, message, recipients
from peers import HOME, INPUT, MAILBOT, MAILBOX, SENDER, TEXT, Ours, put

TRACE = Path("/run/panel/trace")
COLLEAGUE = "anna@colleague.example"
ATTACHMENT = f"""Content-Type: multipart/mixed; boundary=edge

--edge

{TEXT}
--edge
Content-Type: application/octet-stream
Content-Transfer-Encoding: base64
Content-Disposition: attachment; filename=list.bin

AAAA
--edge--
"""


def sent(ground, name):
    """The mails after a person's message was delivered to a peer."""
    peer = next(peer for peer in ground.peers if peer.name == name)
    return ground.replies(peer, message())[0]


def sieve(ground, commands):
    put(HOME / ".dovecot.sieve", f'require ["vacation", "copy"];\n{commands}\ndiscard;\n')
    (HOME / ".dovecot.svbin").unlink(missing_ok=True)
    return sent(ground, "dovecot-lda, Sieve")


def maildrop(ground, commands):
    put(HOME / ".mailfilter", f"SENDMAIL=/usr/sbin/sendmail\n{commands}\nEXITCODE=0\nexit\n", 0o600)
    return sent(ground, "maildrop, mailbot")


def has_attachment(mails):
    return len(mails) == 1 and email.message_from_bytes(mails[0].message).is_multipart()


def all_recipients(mails):
    return sorted(address for mail in mails for address in recipients(mail))


def vacation_sends_the_file(ground):
    put(HOME / ".vacation.msg", f"From: {MAILBOX}\nMIME-Version: 1.0\n{ATTACHMENT}")
    return has_attachment(sent(ground, "vacation"))


def vacation_copies_the_file(ground):
    put(HOME / ".vacation.msg", f"From: {MAILBOX}\nSubject: Grüße\n\nGrüße\n")
    return sent(ground, "vacation")[0].message.count("Grüße".encode()) == 2


def mailbot_only_names_the_charset(ground):
    put(HOME / "text", "Grüße\n")
    command = MAILBOT.replace("utf-8", "iso-8859-1")
    reply = maildrop(ground, f'cc "| {command}"')[0].message
    put(HOME / "text", TEXT + "\n")
    return b'charset="iso-8859-1"' in reply and "Grüße".encode() in reply


def maildrop_forwards(ground):
    mails = maildrop(ground, f'cc "! {COLLEAGUE}"\ncc "| {MAILBOT}"')
    return all_recipients(mails) == [COLLEAGUE, SENDER]


def maildrop_replies_twice(ground):
    other = MAILBOT.replace("answered", "answered-too")
    mails = maildrop(ground, f'cc "| {MAILBOT}"\ncc "| {other}"')
    return all_recipients(mails) == [SENDER, SENDER]


def sieve_attaches(ground):
    return has_attachment(sieve(ground, f'vacation :addresses ["{MAILBOX}"] :mime text:\n'
                                        f"{ATTACHMENT}.\n;"))


def sieve_forwards(ground):
    mails = sieve(ground, f'redirect :copy "{COLLEAGUE}";\nvacation :addresses ["{MAILBOX}"] "a";')
    return all_recipients(mails) == [COLLEAGUE, SENDER]


def sieve_replies_once(ground):
    both = "".join(f'vacation :handle "{text}" :addresses ["{MAILBOX}"] "{text}";\n'
                   for text in ("a", "b"))
    return sieve(ground, both) == []


def sieve_encodes_the_subject(ground):
    mails = sieve(ground, f'vacation :addresses ["{MAILBOX}"] :subject "Grüße" "a";')
    return b"\nSubject: =?utf-8?" in mails[0].message


def confines(ground, peer):
    """Whether a process of a delivery gives up system calls or files."""
    ground.forget()
    INPUT.write_bytes(message())
    subprocess.run(["strace", "-f", "-qq", "-o", TRACE, "-e", "trace=seccomp,prctl,/^landlock",
                    *peer.command()], check=True, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=ground.environment())
    calls = TRACE.read_text()
    return any(call in calls for call in ("seccomp(", "PR_SET_SECCOMP", "landlock_restrict_self("))


def only_ours_is_confined(ground):
    return all(confines(ground, peer) == isinstance(peer, Ours)
               for peer in ground.peers if "lmtp" not in peer.name)


CLAIMS = {
    "vacation sends a file of the user as it is, so an attachment if the file is such a message":
        vacation_sends_the_file,
    "vacation neither encodes a subject of the file nor says what charset the text has":
        vacation_copies_the_file,
    "mailbot names the charset it is told and leaves the bytes of the text as they are":
        mailbot_only_names_the_charset,
    "maildrop forwards besides": maildrop_forwards,
    "a filter of maildrop that starts mailbot twice sends two replies": maildrop_replies_twice,
    "Sieve replies with an attachment that is written into the script": sieve_attaches,
    "Sieve forwards besides": sieve_forwards,
    "Sieve encodes a subject that is not ASCII": sieve_encodes_the_subject,
    "of what a delivery starts, only the autoresponder has the kernel confine a process":
        only_ours_is_confined,
    "a script of Sieve with two replies fails, and sends none": sieve_replies_once,
}


def require_claims(ground):
    """Fails where a sentence is not true."""
    for sentence, is_true in CLAIMS.items():
        if not is_true(ground):
            raise NoReply(f"not so: {sentence}")
    print("\nTried besides:\n")
    print("\n".join(f"- {sentence}" for sentence in CLAIMS), flush=True)
