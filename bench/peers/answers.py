"""What the peers do: that each answers, which messages each answers, and what its replies say."""

import base64
import email
import email.policy
import email.utils
import quopri

from peers import MAILBOX, SENDER, TEXT

PERSON = {"From": SENDER, "To": MAILBOX, "Subject": "A question",
          "Message-ID": "<1@customer.example>",
          "MIME-Version": "1.0", "Content-Type": "text/plain; charset=utf-8"}
BODY = b"Do you have apples?\n"

# A name, the fields that differ from a person's message, and the envelope sender.
PROBES = [
    ("a person's message", {}, SENDER),
    ("the mailbox is not in To or Cc", {"To": "others@shop.example"}, SENDER),
    ("an empty envelope sender, as of a bounce", {}, ""),
    ("from MAILER-DAEMON", {"From": "MAILER-DAEMON@customer.example"},
     "MAILER-DAEMON@customer.example"),
    ("from list-request", {"From": "apples-request@customer.example"},
     "apples-request@customer.example"),
    ("from owner-list", {"From": "owner-apples@customer.example"}, "owner-apples@customer.example"),
    ("from the mailbox itself", {"From": MAILBOX}, MAILBOX),
    ("Auto-Submitted: auto-replied", {"Auto-Submitted": "auto-replied"}, SENDER),
    ("Auto-Submitted: no", {"Auto-Submitted": "no"}, SENDER),
    ("Precedence: bulk", {"Precedence": "bulk"}, SENDER),
    ("Precedence: list", {"Precedence": "list"}, SENDER),
    ("Precedence: junk", {"Precedence": "junk"}, SENDER),
    ("List-Id", {"List-Id": "<apples.customer.example>"}, SENDER),
    ("List-Unsubscribe", {"List-Unsubscribe": "<mailto:off@customer.example>"}, SENDER),
    ("X-Auto-Response-Suppress: All", {"X-Auto-Response-Suppress": "All"}, SENDER),
    ("X-Spam-Flag: YES", {"X-Spam-Flag": "YES"}, SENDER),
    ("a delivery report with an envelope sender",
     {"Content-Type": "multipart/report; boundary=x"}, SENDER),
]


class NoReply(Exception):
    """A peer did not send exactly one reply to the sender."""


def message(fields=None, sender=SENDER, body=BODY):
    fields = {"Return-Path": f"<{sender}>", **PERSON, **(fields or {})}
    return "".join(f"{name}: {value}\n" for name, value in fields.items()).encode() + b"\n" + body


def recipients(mail):
    """Where sendmail would send a mail."""
    if b"-t" in mail.arguments:
        fields = email.message_from_bytes(mail.message).get_all("To", [])
        return [address for _, address in email.utils.getaddresses(fields)]
    return [mail.arguments[-1].decode()]


def require_reply(ground, peer, text):
    """Fails where the delivery of a message did not give exactly one reply to its sender."""
    mails, result = ground.replies(peer, text)
    if result.returncode == 0 and [recipients(mail) for mail in mails] == [[SENDER]] \
            and TEXT.encode() in mails[0].message:
        return
    raise NoReply(f"{peer.name} on {len(text)} bytes: status {result.returncode}, mails"
                  f" {[(mail.arguments, mail.message[:500]) for mail in mails]}, {result.stderr}")


def yes(flag):
    return "yes" if flag else "no"


def print_table(head, rows):
    print(f"\n| {' | '.join(head)} |\n|{' --- |' * len(head)}")
    for row in rows:
        print(f"| {' | '.join(row)} |", flush=True)


def again(ground, peer):
    """Whether the second message of a sender is answered."""
    ground.replies(peer, message())
    return len(ground.replies(peer, message(), forget=False)[0]) == 1


def print_answered(ground, peers):
    """Which messages each peer answers."""
    rows = [[name, *(yes(ground.replies(peer, message(fields, sender), sender)[0])
                     for peer in peers)] for name, fields, sender in PROBES]
    rows.insert(1, ["the sender's second message of a day", *(yes(again(ground, peer))
                                                              for peer in peers)])
    rows += triggers(ground, peers)
    print_table(["answers", *(peer.name for peer in peers)], rows)


def triggers(ground, peers):
    """Whether each peer finds a word of the text; peers without conditions cannot look."""
    encoded = {"in base64": ("base64", "utf-8", base64.encodebytes),
               "in quoted-printable, ISO-8859-1": ("quoted-printable", "iso-8859-1",
                                                   quopri.encodestring)}
    ground.answer("grüße")
    rows = []
    for name, (encoding, charset, encode) in encoded.items():
        fields = {"Content-Type": f"text/plain; charset={charset}",
                  "Content-Transfer-Encoding": encoding}
        texts = [message(fields, body=encode(f"Viele {word} aus dem Garten.\n".encode(charset)))
                 for word in ("grüße", "Äpfel")]
        rows.append([f"a text with a trigger, {name}",
                     *(trigger(ground, peer, texts) for peer in peers)])
    ground.answer()
    return rows


def trigger(ground, peer, texts):
    """What a peer makes of a text with the trigger and of one without."""
    found, other = (len(ground.replies(peer, text)[0]) for text in texts)
    if found and other:
        return "answers every text"
    return yes(found)


def print_replies(ground, peers):
    """What each peer's reply to a person says of itself."""
    replies = []
    for peer in peers:
        mail = ground.replies(peer, message())[0][0]
        replies.append((mail, email.message_from_bytes(mail.message, policy=email.policy.compat32)))
    rows = [[f"{name} in the header", *(reply.get(name, "no") for _, reply in replies)]
            for name in ("Auto-Submitted", "Precedence", "In-Reply-To", "MIME-Version")]
    rows.append(["envelope sender", *(envelope(mail) for mail, _ in replies)])
    print_table(["the reply", *(peer.name for peer in peers)],
                [[cell.replace("<", "\\<") for cell in row] for row in rows])


def envelope(mail):
    sender = mail.arguments[mail.arguments.index(b"-f") + 1].decode()
    return "empty" if sender in ("", "<>") else "the mailbox" if sender == MAILBOX else sender
