"""What a run reads in the database does not grow with what other mailboxes have there."""

import pytest

from conftest import message

FEW, MANY = 10, 5000
NAMES = {"a mailbox": "info@shop.example", "an alias": "sales@shop.example",
         "a domain alias": "info@shop.test", "an alias at a domain alias": "sales@shop.test"}

# A mailbox with a rule, an alias and a domain alias.
OWN = """
insert into mail_resp (mn_id, resp_on, text, ans_freq) values (1, 'true', 'Thank you.', 100000);
insert into mail_aliases (mn_id, alias) values (1, 'sales');
insert into domainaliases (dom_id, name) values (1, 'shop.test');
"""

# Other mailboxes, each in a domain of its own, with equal names; and the senders that they
# answered.
OTHERS = """
insert into domains (id, name, cl_id) select seq, concat('d', seq, '.example'), 1 from seq_2_to_{0};
insert into domainaliases (dom_id, name) select seq, concat('d', seq, '.test') from seq_2_to_{0};
insert into mail (id, dom_id, mail_name) select seq, seq, 'info' from seq_2_to_{0};
insert into mail_aliases (mn_id, alias) select seq, 'sales' from seq_2_to_{0};
insert into mail_resp (id, mn_id, resp_on, text) select seq, seq, 'true', 'No.' from seq_2_to_{0};
insert into resp_forward (rn_id, address) select seq, 'anna@colleague.example' from seq_2_to_{0};
insert into resp_attach (rn_id, filename) select seq, 'list.txt' from seq_2_to_{0};
insert into resp_freq (rn_id, email, num) select seq, 'otto@customer.example', 1 from seq_2_to_{0};
"""

# Other mailboxes in the same domain, with other names and aliases.
NEIGHBOURS = """
insert into mail (id, dom_id, mail_name) select seq, 1, concat('box', seq) from seq_2_to_{0};
insert into mail_aliases (mn_id, alias) select seq, concat('other', seq) from seq_2_to_{0};
"""

TABLES = "domains, domainaliases, mail, mail_aliases, mail_resp, resp_forward, resp_attach, resp_freq"


def rows_read(panel):
    """How many rows and keys the server has read since its start."""
    status = panel.sql("show global status like 'Handler_read%'")
    return sum(int(line.split("\t")[1]) for line in status.splitlines())


def rows_of_a_run(panel, recipient):
    def run():
        result = panel.run(message(sender="anna@customer.example").replace(
            b"info@shop.example", recipient.encode()), f"shop-{recipient}")
        assert (result.status, result.err) == (0, b"")
    run()  # opens the tables, and makes the sender known
    before = rows_read(panel)
    alone = rows_read(panel) - before
    before = rows_read(panel)
    run()
    return rows_read(panel) - before - alone


def rows_with(panel, others, count, recipient, repairs, courtesy):
    panel.reset()
    panel.switch(repairs=repairs, courtesy=courtesy)
    panel.sql(OWN + others.format(count) + f"analyze table {TABLES};")
    rows = rows_of_a_run(panel, recipient)
    assert len(panel.mails()) == 2  # it was found, and answered
    return rows


@pytest.mark.parametrize("switches", [False, True], ids=["off", "on"])
@pytest.mark.parametrize("name", NAMES)
@pytest.mark.parametrize("others", [OTHERS, NEIGHBOURS], ids=["domains", "neighbours"])
def test_reads_no_more_rows_with_more_mailboxes(panel, others, name, switches):
    few, many = (rows_with(panel, others, count, NAMES[name], switches, switches)
                 for count in (FEW, MANY))
    assert few > 0
    assert many <= few + 2, f"{few} rows with {FEW} mailboxes, {many} with {MANY}"


def test_counts_the_rows_of_its_own_rule(panel):
    # So the figures above do show what a run reads.
    panel.sql(OWN)
    few = rows_of_a_run(panel, NAMES["a mailbox"])
    panel.sql("insert into resp_freq (rn_id, email) select 1, concat(seq, '@x.example')"
              f" from seq_1_to_{MANY}")
    assert rows_of_a_run(panel, NAMES["a mailbox"]) > few + MANY
