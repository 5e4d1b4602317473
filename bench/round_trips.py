"""The runs whose round trips to the database are counted; see bench/remote."""

ALIASES = """insert into mail_aliases (mn_id, alias) values (1, 'sales');
insert into domainaliases (dom_id, name) values (1, 'store.example');"""
OFTEN = 1000000  # replies a day


class Case:
    """A panel with its switches, a delivery, and what the sender was sent today."""

    def __init__(self, name, rules=1, to="info@shop.example", make=None, repairs=False,
                 courtesy=False, **columns):
        self.name = name
        self.rules = rules
        self.recipient = "shop.example-" + to
        self.make = make
        self.switches = {"repairs": repairs, "courtesy": courtesy}
        self.columns = {"ans_freq": OFTEN, **columns}
        self.message = (b"From: otto@customer.example\nTo: info@shop.example\n"
                        b"Subject: A question\n\nDo you have apples?\n")

    def set_up(self, panel):
        panel.reset()
        panel.switch(**self.switches)
        panel.sql(ALIASES)
        for _ in range(self.rules):
            panel.rule(**self.columns)
        if self.make:
            self.make(panel)


def another_sender(panel):
    panel.sql("insert into resp_freq (rn_id, email, num) values (1, 'anna@customer.example', 1);")


def known_sender(panel):
    panel.sql("insert into resp_freq (rn_id, email, num) values (1, 'otto@customer.example', 1);")


def missing_file(panel):
    panel.name_attachments(1, "missing.txt")


TIMED = [
    Case("no rule", rules=0),
    Case("one plain reply"),
    Case("one plain reply, repairs on", repairs=True),
    Case("five rules that reply", rules=5),
]
COUNTED = [
    Case("no mailbox of this name", rules=0, to="nobody@shop.example"),
    TIMED[0],
    Case("one rule, not triggered", keystr="pears", key_where="subj"),
    Case("one rule, the limiter refuses", ans_freq=1, make=known_sender),
    Case("one rule, the limiter refuses, repairs on", ans_freq=1, make=known_sender, repairs=True),
    TIMED[1],
    Case("… to a sender who was answered today", make=known_sender),
    Case("… where the oldest sender is forgotten", mem_limit=1, make=another_sender),
    Case("… the mailbox found by its alias", to="sales@shop.example"),
    Case("… by the domain's alias", to="info@store.example"),
    Case("… by both", to="sales@store.example"),
    Case("… with a missing file, of which the owner is told", make=missing_file),
    TIMED[2],
    Case("one plain reply, courtesy on", courtesy=True),
    Case("one plain reply, both on", repairs=True, courtesy=True),
    TIMED[3],
    Case("five rules that reply, both on", rules=5, repairs=True, courtesy=True),
]
