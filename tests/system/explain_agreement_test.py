"""Compares what autoresponder-explain foretells with what the program then does, on generated
panels and messages; and checks that foretelling changes nothing."""

import os
import random
import re
import shutil

import panel as sandbox

SEED = int(os.environ.get("EXPLAIN_SEED", "20261121"))
CASES = 400

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


def rows_after(rows, answer):
    """The limiter's table as it should be after the run that `answer` foretells. The column cuts
    longer senders; without repairs such a sender gets another row every time."""
    known = {(rule, sender): replies for rule, sender, replies in rows}
    new = []
    for rule in answer["rules"]:
        step = rule.get("limiter", {}).get("step")
        key = str(rule["id"]), answer["message"].get("sender", "")[:320]
        for sender in rule.get("limiter", {}).get("evicted", []):
            del known[str(rule["id"]), sender]
        if step == "count_up":
            known[key] += 1
        elif step in ("remember", "evict_and_remember"):
            new.append((*key, 1))
    return sorted([(*key, replies) for key, replies in known.items()] + new)


def commands_of(answer):
    return [command for rule in answer["rules"] for command in rule["commands"]
            if command["fate"] == "runs"]


def plain_name(command):
    """A command of the run with the template of its temporary file's name."""
    return TEMPORARY_NAME.sub(r"\1XXXXXX", command)


# The program and the explanation share the code for the order of an answer, so their agreement says
# nothing about it. Therefore that order is also compared with this one.
PURPOSES = ["forward", "notify", "attach", "reply"]
SILENT = {"switched_off", "not_triggered", "never_replies", "limit_reached", "not_reached"}


def check_order(rule):
    """A rule's commands have this order, and there is none if the limiter refused."""
    purposes = [command["purpose"] for command in rule["commands"]]
    assert purposes == [purpose for purpose in PURPOSES if purpose in purposes]
    if rule["outcome"] in SILENT:
        assert purposes == []
        assert not {"forwarding", "attachments", "notification", "reply"} & rule.keys()
    if rule["outcome"] == "not_whole":
        assert purposes[-1] == "attach"
    if rule["outcome"] in ("replies", "replies_with_notice", "quote_in_command",
                           "newline_in_command", "sender_is_option"):
        assert purposes[-1] == "reply"
        assert ("attach" in purposes) == bool(rule.get("attachments", {}).get("found"))
        assert ("forward" in purposes) == ("forwarding" in rule)


def check_changes(answer):
    """What repairs would change is told only while they are off."""
    if answer["switches"]["repairs"]:
        assert "with_repairs" not in answer
        assert all("with_repairs" not in rule for rule in answer["rules"])
    for rule in answer["rules"]:
        changes = rule.get("with_repairs", [])
        if not answer["switches"]["repairs"] and rule["outcome"] == "quote_in_command":
            assert "quotes" in changes
        if rule["outcome"] in SILENT:
            assert set(changes) <= {"limiter"}


def check_with_courtesy(panel, case, answer):
    """What courtesy would change is what is foretold with courtesy on."""
    if "with_courtesy" not in answer:
        return
    panel.switch(case.repairs, True)
    again = panel.explain(case.message, "--json", recipient=case.recipient).answer()
    assert (again["verdict"] == "no_reply") == (answer["with_courtesy"] == "no_reply")
    panel.switch(case.repairs, False)


def check_objections(answer, result):
    """The run gives the reasons for no reply that were foretold."""
    told = {rule["objection"] for rule in answer["rules"] if rule["outcome"] == "courtesy"}
    said = set(re.findall("autoresponder: no reply, courtesy: (.*)", result.err.decode("latin-1")))
    assert told == said


def check_case(panel, case):
    """Foretells, runs, compares; returns the reasons and outcomes that came up."""
    panel.forget_commands()
    sandbox.forget_mails()
    case.install(panel)
    before = panel.state()
    answer = panel.explain(case.message, "--json", "--show-reply", recipient=case.recipient).answer()
    assert panel.state() == before
    assert panel.mails() == []
    check_with_courtesy(panel, case, answer)
    rows = rows_of(panel)
    panel.forget_commands()
    result = panel.run(case.message, recipient=case.recipient)

    commands = commands_of(answer)
    assert [plain_name(command) for command in panel.commands()] == [
        command["line"] for command in commands]
    mails = panel.mails()
    purposes = [command["purpose"] for command in commands if command["purpose"] != "attach"]
    replies = [mail.message for mail, purpose in zip(mails, purposes) if purpose == "reply"]
    assert replies == [rule["reply"]["text"].encode() for rule in answer["rules"]
                       if rule["outcome"] in ("replies", "replies_with_notice")]
    assert (answer["verdict"] == "reply") == (replies != [])
    assert rows_of(panel) == rows_after(rows, answer)
    assert answer["switches"] == {"repairs": case.repairs, "courtesy": case.courtesy}
    for rule in answer["rules"]:
        check_order(rule)
    check_changes(answer)
    outcomes = [rule["outcome"] for rule in answer["rules"]]
    assert (result.status == 1) == ("recipient_not_ascii" in outcomes)
    aborted = result.status < 0
    assert aborted == (answer["reason"] == "run_aborts")
    check_objections(answer, result)
    if aborted:  # the file of such a run stays
        panel.remove_temporary_files()
    assert not (case.repairs and aborted)
    return {answer["reason"], *outcomes,
            f"switches {case.repairs} {case.courtesy}",
            *(f"repairs: {change}" for told in [answer, *answer["rules"]]
              for change in told.get("with_repairs", [])), *(c["purpose"] for c in commands),
            *(rule["limiter"].get("step") for rule in answer["rules"] if "limiter" in rule),
            *(rule["trigger"]["place"] for rule in answer["rules"] if "trigger" in rule),
            *([answer["mailbox"]["found_by"]] if "mailbox" in answer else [])}


def test_foretells_what_the_run_does(panel):
    seen = set()
    for number in range(CASES):
        case = Case(number)
        try:
            seen |= check_case(panel, case)
        except Exception as trouble:
            raise AssertionError(f"case {number} of EXPLAIN_SEED={SEED}: {case.message!r}"
                                 f" to {case.recipient!r}\n{case.statements}") from trouble
    assert {
        "rule_replies", "no_sender", "no_recipient", "run_aborts", "sender_is_recipient",
        "mailer_daemon", "mailbox_not_found", "no_rules", "no_rule_replies",
        "replies", "replies_with_notice", "switched_off", "not_triggered", "never_replies",
        "limit_reached", "quote_in_command", "recipient_not_ascii", "not_reached",
        "newline_in_command", "sender_is_option", "not_whole", "courtesy",
        *(f"switches {repairs} {courtesy}" for repairs in (False, True)
          for courtesy in (False, True)),
        *(f"repairs: {change}" for change in (
            "limiter", "quotes", "forwarding", "newlines", "options", "store", "lines",
            "notification", "subject")),
        "forward", "notify", "attach", "reply",
        "refuse", "count_up", "remember", "evict_and_remember", "nowhere", "subject", "body",
        "mail_name", "alias", "domain_alias", "alias_and_domain_alias"} - seen == set()
