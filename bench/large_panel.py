"""A panel like a provider's: domains of a hundred mailboxes, a rule for every tenth mailbox, an
alias for every second mailbox and every second domain. The names are the same in each domain."""

import subprocess

from loads import PROGRAM

# The mailbox that is measured has each kind of name.
NAMES = {"a mailbox": "box1@shop.example", "an alias": "sales1@shop.example",
         "a domain alias": "box1@shop.test", "an alias at a domain alias": "sales1@shop.test"}

# Rows that a lookup by alias may read for each mailbox of the domain: the mailbox and its alias, in
# each of two lookups.
MANY_LOOKUPS = 4

# The first row of resp_freq is the measured rule's: whoever scans the table meets it first.
EMPTY = """
insert into misc values ('mysql41_compatible', 'true'), ('admin_email', 'hostmaster@panel.example');
insert into clients (id, login, email) values (1, 'shop', 'grete@customer.example');
insert into resp_freq (rn_id, email, num) values (1, 'sender1@x.example', 1);
"""

DOMAIN_NAME = "concat(if(seq = 1, 'shop', concat('d', seq)), '.{}')"

# Mailbox n is in domain (n - 1) div 100 + 1.
MAILBOXES = """
insert into domains (id, name, cl_id)
  select seq, {domain}, 1 from seq_1_to_1000000 where seq between ({low} + 99) div 100 + 1
  and ({high} + 99) div 100;
insert into domainaliases (dom_id, name)
  select seq, {alias} from seq_1_to_1000000 where seq between ({low} + 99) div 100 + 1
  and ({high} + 99) div 100 and seq mod 2 = 1;
insert into mail (id, dom_id, mail_name)
  select seq, (seq + 99) div 100, concat('box', (seq - 1) mod 100 + 1)
  from seq_1_to_1000000 where seq between {low} + 1 and {high};
insert into mail_aliases (mn_id, alias)
  select seq, concat('sales', (seq - 1) mod 100 + 1)
  from seq_1_to_1000000 where seq between {low} + 1 and {high} and seq mod 2 = 1;
insert into mail_resp (id, mn_id, key_where, resp_on, text, ans_freq, mem_limit)
  select (seq + 9) div 10, seq, 'no', 'true', 'Thank you.', 1000000, 1000000
  from seq_1_to_1000000 where seq between {low} + 1 and {high} and seq mod 10 = 1;
"""

# Senders that each other rule has answered: the default of mem_limit.
OF_A_RULE = 1000

ANSWERED = """
set unique_checks=0, foreign_key_checks=0;
insert into resp_freq (rn_id, email, num)
  select {rule}, concat('sender', seq, '@x.example'), 1 from seq_{first}_to_{last};
"""


def mailboxes(low, high):
    """Statements that grow the panel from `low` to `high` mailboxes."""
    return MAILBOXES.format(low=low, high=high, domain=DOMAIN_NAME.format("example"),
                            alias=DOMAIN_NAME.format("test"))


def answered_by_others(low, high):
    """Statements that grow the rows of other rules from `low` to `high`, in the order of their
    key."""
    if high == low:
        return "do 0;"
    return ANSWERED.format(rule=f"seq div {OF_A_RULE} + 2", first=low + 1, last=high)


def answered_by_own(low, high):
    if high == low:
        return "do 0;"
    if high < low:
        return "delete from resp_freq where rn_id=1;"
    return ANSWERED.format(rule=1, first=low + 1, last=high)


def analyze():
    """Updates the server's statistics, as it would soon do itself."""
    return ("analyze table domains, domainaliases, mail, mail_aliases, mail_resp, resp_freq,"
            " resp_forward, resp_attach;")


def message(name):
    return (f"From: anna@customer.example\nTo: {name}\nSubject: A question\n\n"
            "Do you have apples?\n").encode()


def run(name, may_report=False):
    """One delivery; fails where it reports anything."""
    result = subprocess.run([PROGRAM], input=message(name), capture_output=True, timeout=60,
                            env={"PATH": "/usr/bin:/bin", "RECIPIENT": f"shop-{name}"})
    if result.returncode != 0 or (result.stderr and not may_report):
        raise RuntimeError(f"a delivery ended with {result.returncode}: {result.stderr.decode()}")


def rows_read(database):
    status = database.run("show global status like 'Handler_read%'")
    return sum(int(line.split("\t")[1]) for line in status.splitlines())


def rows_of_one(database, name):
    """How many rows and keys the server reads for one delivery to this name."""
    run(name)  # opens the tables, and makes the sender known
    before = rows_read(database)
    of_this = rows_read(database) - before
    before = rows_read(database)
    run(name)
    return rows_read(database) - before - of_this
