"""The cases that are measured: panels and messages."""

import base64
import quopri
import random

SENDER = "otto@customer.example"
LINE = "Grüße aus dem Laden, und schönen Dank für Ihre Anfrage vom März, bis bald.\n".encode()
KILOBYTE = 1 << 10
MEGABYTE = 1 << 20


class Case:
    """A panel, a message, and the statements that restore the panel before each run."""

    def __init__(self, name, panel=None, message=None, reset="delete from resp_freq;"):
        self.name = name
        self.make_panel = panel or (lambda _: None)
        self.make_message = message or plain
        self.reset = reset


def header(sender=SENDER, fields=b""):
    return (b"From: " + sender.encode() + b"\nTo: info@shop.example\nSubject: A question\n"
            + b"MIME-Version: 1.0\n" + fields)


def plain(sender=SENDER):
    return header(sender) + b"\nDo you have apples?\n"


def filled(pattern, size):
    return pattern * (size // len(pattern) + 1)


def text(size):
    fields = b"Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: 8bit\n"
    return header(fields=fields) + b"\n" + filled(LINE, size)


def in_base64(size):
    fields = b"Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: base64\n"
    return header(fields=fields) + b"\n" + filled(base64.encodebytes(LINE * 57), size)


def in_quoted_printable(size):
    fields = (b"Content-Type: text/plain; charset=utf-8\n"
              b"Content-Transfer-Encoding: quoted-printable\n")
    return header(fields=fields) + b"\n" + filled(quopri.encodestring(LINE), size)


def part(content, fields):
    return b"--=_boundary\n" + fields + b"\n" + content + b"\n"


def multipart(size):
    """A text that is a tenth of the message, and an attachment."""
    fields = b"Content-Type: multipart/mixed; boundary=\"=_boundary\"\n"
    attached = base64.encodebytes(random.Random(1).randbytes(57 * 100))
    return (header(fields=fields) + b"\n"
            + part(filled(LINE, size // 10), b"Content-Type: text/plain; charset=utf-8\n")
            + part(filled(attached, size - size // 10),
                   b"Content-Type: image/png\nContent-Transfer-Encoding: base64\n")
            + b"--=_boundary--\n")


def many_parts(count):
    """Parts that are no text, so that each is looked at."""
    fields = b"Content-Type: multipart/mixed; boundary=\"=_boundary\"\n"
    one = part(b"some bytes", b"Content-Type: image/png\n")
    return header(fields=fields) + b"\n" + one * count + b"--=_boundary--\n"


def many_rules(count):
    def make(panel):
        panel.sql("insert into mail_resp (mn_id, keystr, key_where, text, resp_on) select 1,"
                  f" concat('key', seq), 'body', 'text', 'true' from seq_1_to_{count}")
    return make


def not_firing(panel):
    panel.rule(keystr="pears", key_where="body")


def with_attachment(panel):
    panel.attach(panel.rule(), "list.bin", content=random.Random(1).randbytes(MEGABYTE))


def with_forwards(panel):
    panel.forward(panel.rule(), "anna@colleague.example", "ben@colleague.example")


def with_five_rules(panel):
    for _ in range(5):
        panel.rule()


FORMS = {"text": text, "base64": in_base64, "quoted-printable": in_quoted_printable,
         "multipart": multipart}
SIZES = {"2 KB": 2 * KILOBYTE, "100 KB": 100 * KILOBYTE, "20 MB": 20 * MEGABYTE,
         "100 MB": 100 * MEGABYTE}

SENDERS = ("delete from resp_freq; insert into resp_freq (rn_id, email, num, time_resp) select 1,"
           " concat('sender', seq, '@x.example'), 1, now() - interval 1 second"
           " from seq_1_to_9999;")

CASES = [
    Case("no rule"),
    Case("one rule not firing", not_firing),
    Case("one plain reply", lambda panel: panel.rule()),
    Case("a reply with a 1 MB attachment", with_attachment),
    Case("a reply, and forwarding to two", with_forwards),
    Case("five rules firing", with_five_rules),
    Case("refused by a guard", message=lambda: plain("MAILER-DAEMON@customer.example")),
    Case("1,000 rules not firing", many_rules(1000)),
    Case("10,000 remembered senders", lambda panel: panel.rule(mem_limit=100000), reset=SENDERS),
]
CASES += [Case(f"{size_name} of {form}", not_firing, lambda make=make, size=size: make(size))
          for size_name, size in SIZES.items() for form, make in FORMS.items()]

QUICK = {"no rule", "one plain reply", "a reply, and forwarding to two", "100 KB of text",
         "20 MB of text", "20 MB of base64"}
