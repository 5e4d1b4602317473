"""A panel and a message that are drawn at random."""

import os
import random
import re
import shutil

import panel as sandbox

SEED = int(os.environ.get("EXPLAIN_SEED", "20261121"))

TABLES = ("misc clients domains domainaliases mail mail_aliases mail_resp resp_freq resp_forward"
          " resp_attach").split()
TEMPORARY_NAME = re.compile(r"(/tmp/kem-(?:autoresponder|response-uu)-)\w{6}")


def literal(value):
    if value is None:
        return "NULL"
    if isinstance(value, int):
        return str(value)
    return "'" + value.replace("\\", "\\\\").replace("'", "\\'") + "'"


class Case:
    """One panel and one message."""

    WORDS = ["invoice", "price list", "urgent", "Grüße", "Привет", "", "a", "\\n", "?", "日本"]
    # Most messages have one of the first; the last three concern repairs.
    SENDERS = ["otto@customer.example", "Otto@Customer.Example", "o.k@x.example", "a@b",
               "o'brien@customer.example", "MAILER-DAEMON@mx.example", "mailer-daemon@mx.example",
               "info@shop.example", "Mailer-Daemon@mx.example", "x" * 70 + "@customer.example",
               "x" * 330 + "@customer.example", "-bs@customer.example", "a@[b\n c]"]
    RECIPIENTS = ["shop.example-info@shop.example"] * 8 + [
        "x-sales@shop.example", "x-info@laden.example", "x-sales@laden.example",
        "x-info@closed.example", "x-nobody@shop.example", "info", "", None, None,
        "x-grüße@shop.example", "x-o'brien@shop.example", "x-" + "l" * 64 + "@shop.example"]

    def __init__(self, number):
        self.random = random.Random(SEED * 10000 + number)
        self.statements = []
        self.files = {}
        self.repairs = self.chance(50)
        self.courtesy = self.chance(50)
        self.limit = self.pick([None] * 6 + ["0", "50", "300", "700", "100000", "abc", "-1"])
        self.recipient = self.pick(self.RECIPIENTS)
        self.sender = self.pick(self.SENDERS[:4] * 3 + self.SENDERS + self.SENDERS[-3:])
        self.message = self.make_message()
        self.fill_panel()

    def pick(self, values):
        return self.random.choice(values)

    def chance(self, percent):
        return self.random.randrange(100) < percent

    def insert(self, table, **columns):
        values = ", ".join(literal(value) for value in columns.values())
        self.statements.append(f"insert into {table} ({', '.join(columns)}) values ({values});")

    def encoded(self, text):
        style = self.random.randrange(3)
        if style == 0 and text.isascii():
            return text
        hexadecimal = "".join(f"={byte:02X}" for byte in text.encode())
        return f"=?UTF-8?Q?{hexadecimal}?=" + self.pick([""] * 9 + [" \0"])

    def make_message(self):
        headers = []
        if self.chance(25):
            headers.append(f"Reply-To: {self.pick([self.sender, 'list: a@b;', 'team@x.example'])}")
        if self.chance(95):
            headers.append(f"From: {self.pick(['', 'Otto '])}<{self.sender}>")
        if self.chance(90 if self.courtesy else 60):
            headers.append("To: " + self.pick(["info@shop.example", "x: y@z;, sales@shop.example"]))
        if self.chance(40 if self.courtesy else 10):
            headers.append("Cc: =?x?=, o'brien@shop.example, team: grüße@shop.example;")
        if self.chance(15):
            headers.append(self.pick(["List-Id: <x.example>", "Auto-Submitted: no",
                                      "Precedence: bulk"]))
        if self.chance(90):
            words = [self.encoded(self.pick(self.WORDS)) for _ in range(self.random.randrange(3))]
            headers.append("Subject: " + " ".join(words))
        if self.chance(40):
            headers.append("Content-Type: text/plain; charset="
                           + self.pick(["UTF-8", "ISO-8859-1", "x-unknown"]))
        lines = [self.pick(self.WORDS) + self.pick(["", " and more"])
                 for _ in range(self.random.randrange(6))]
        return ("\n".join(headers) + "\n\n" + "\n".join(lines)).encode()

    def fill_panel(self):
        self.insert("misc", param="mysql41_compatible", val="true")
        if self.chance(70):
            self.insert("misc", param="admin_email", val=self.pick(["hostmaster@panel.example", ""]))
        if self.chance(50):
            self.insert("misc", param="FullHostName", val="server1.panel.example")
        self.insert("clients", id=1, login="shop", pname=self.pick(["Grete", "", None]),
                    email=self.pick(["grete@customer.example"] * 3 + ["", None, "g'@x.example", "-bs"]))
        self.insert("domains", id=1, name="shop.example", cl_id=self.pick([1, 1, 1, 2]))
        self.insert("domainaliases", dom_id=1, name="laden.example", mail="true")
        self.insert("domainaliases", dom_id=1, name="closed.example", mail="false")
        for number, name in enumerate(["info", "grüße", "o'brien", "l" * 64], 1):
            self.insert("mail", id=number, dom_id=1, mail_name=name)
        self.insert("mail_aliases", mn_id=1, alias="sales")
        mailbox = {"x-grüße@shop.example": 2, "x-o'brien@shop.example": 3,
                   "x-" + "l" * 64 + "@shop.example": 4}.get(self.recipient, 1)
        for rule in range(1, self.random.randrange(5) + 1):
            self.add_rule(rule, mailbox)

    def add_rule(self, rule, mailbox):
        self.insert(
            "mail_resp", id=rule, mn_id=mailbox, keystr=self.pick(self.WORDS + [None]),
            key_where=self.pick(["no", "no", "subj", "body", None]),
            text=self.pick(["Thank you.", "Grüße\nund mehr\n", "日本", "", None, "x" * 600]),
            resp_on=self.pick(["true"] * 8 + ["false", None]),
            ans_freq=self.pick([10, 10, 1, 2, 0, -1, None]),
            mem_limit=self.pick([1000, 1000, 0, 1, 2, None]),
            subject=self.pick(["", None, "Re: <request_subject>", "<nosuch> <request_from>", "Grüße"]),
            reply_to=self.pick(["", None] + ["sales@shop.example"] * 2 + ["a@x\nBcc: b@x"]),
            charset=self.pick(["UTF-8", "UTF-8", "US-ASCII", "nonsense", None]),
            content_type=self.pick(["text/plain", "text/html", None, "text/plain;\n\tx=y"]))
        self.remember_senders(rule)
        for _ in range(self.pick([0, 0, 1, 2])):
            self.insert("resp_forward", rn_id=rule, address=self.pick(
                ["anna@colleague.example", "b@x.example c@x.example", None, "-oQ d@x.example", "-bs"]))
        for _ in range(self.pick([0, 0, 0, 1, 2])):
            self.add_attachment(rule)

    def remember_senders(self, rule):
        for sender in self.random.sample([self.sender, "p@x.example", "q@x.example", "r@x.example"],
                                         self.random.randrange(4)):
            age = self.pick([0, 0, 0, 1, 3])
            self.statements.append(
                "insert into resp_freq (rn_id, email, num, time_resp) values"
                f" ({rule}, {literal(sender)}, {self.pick([1, 1, 2, 9, 10, 11])},"
                f" timestamp(curdate() - interval {age} day,"
                f" '00:00:0{self.random.randrange(3)}'));")

    def add_attachment(self, rule):
        name = self.pick(["list.txt", "price list.pdf", " blanks around ", "Grüße.txt",
                          "back\\slash\\n.txt", "it's.txt", "", None, "empty", "missing.pdf",
                          "missing.pdf", "dollar $HOME `id`.txt", "-n", "../@attachments/list.txt",
                          "link", "folder"] + ["two\nlines"] * 4)
        self.insert("resp_attach", rn_id=rule, filename=name)
        if name in ("link", "folder") or name and "/" in name:
            return  # `install` makes these
        if name and name != "missing.pdf" and self.chance(90):
            content = b"" if name == "empty" else self.random.randbytes(self.random.randrange(300))
            self.files[name.strip()] = content

    def install(self, panel):
        panel.switch(self.repairs, self.courtesy)
        for mail_name in ("info", "grüße", "o'brien", "l" * 64):
            store = sandbox.store(mail_name=mail_name)
            shutil.rmtree(store)
            (store / "folder").mkdir(parents=True)
            (store / "link").symlink_to("/etc/hostname")
            for name, content in self.files.items():
                (store / name).write_bytes(content)
        panel.limit(self.limit)
        panel.sql("".join(f"delete from {table};" for table in TABLES)
                  + "set sql_mode='';" + "".join(self.statements))


def rows_of(panel):
    """The limiter's table as it counts today: (rule, sender, replies), sorted."""
    rows = panel.sql("select rn_id, email, num from resp_freq where to_days(time_resp)=to_days(now())")
    columns = [row.replace("\\n", "\n").split("\t") for row in rows.splitlines()]
    return sorted((rule, sender, int(replies)) for rule, sender, replies in columns)
