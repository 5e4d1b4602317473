"""The limiter with repairs: it holds for runs at the same time, after conflicts, and for senders
that are longer than the column."""

from concurrent.futures import ThreadPoolExecutor

import pytest

import panel as sandbox
from conftest import message, wait_until

SENDER = "otto@customer.example"


def isolate(panel, isolation, snapshots):
    """How the server isolates transactions. MySQL, which calls it otherwise, has no other snapshots."""
    if sandbox.MYSQL_ROOT:
        panel.sql(f"set global transaction_isolation='{isolation}'")
    else:
        panel.sql(f"set global tx_isolation='{isolation}', global innodb_snapshot_isolation={snapshots}")


@pytest.fixture
def repaired(panel):
    panel.switch(repairs=True)
    yield panel
    panel.sql("set global sql_mode='', global innodb_lock_wait_timeout=50")
    isolate(panel, "REPEATABLE-READ", "OFF")


def replies(panel):
    return [mail.arguments[-1].decode() for mail in panel.mails()]


def deliver_at_once(panel, deliveries, sender=SENDER):
    """Starts all deliveries while the limiter's table is locked, so that they meet there."""
    other = panel.start_sql("lock tables resp_freq write; do sleep(1.5)")
    wait_until(lambda: "sleep(1.5)" in panel.sql("show processlist"))
    with ThreadPoolExecutor(deliveries) as pool:
        results = list(pool.map(lambda _: panel.run(message(sender=sender)), range(deliveries)))
    other.wait()
    assert {(result.status, result.err) for result in results} == {(0, b"")}


@pytest.mark.parametrize("ans_freq", [1, 3])
def test_deliveries_at_once_get_as_many_replies_as_the_rule_allows(repaired, ans_freq):
    rule = repaired.rule(ans_freq=ans_freq)
    deliver_at_once(repaired, 32)
    assert replies(repaired) == [SENDER] * ans_freq
    assert repaired.senders() == [(str(rule), SENDER, str(ans_freq))]


@pytest.mark.parametrize("snapshots", ["OFF", "ON"])
@pytest.mark.parametrize("isolation", ["READ-COMMITTED", "REPEATABLE-READ", "SERIALIZABLE"])
def test_holds_however_the_server_isolates_transactions(repaired, isolation, snapshots):
    """In some of these settings the server finds a conflict only while it sends rows."""
    isolate(repaired, isolation, snapshots)
    rule = repaired.rule(ans_freq=20)
    deliver_at_once(repaired, 32)
    assert replies(repaired) == [SENDER] * 20
    assert repaired.senders() == [(str(rule), SENDER, "20")]


def test_a_full_memory_holds_for_deliveries_at_once(repaired):
    repaired.rule(ans_freq=1, mem_limit=1)
    repaired.rule(ans_freq=1, mem_limit=1)
    repaired.sql("insert into resp_freq (rn_id, email, num, time_resp) values"
                 " (1, 'old@x', 1, timestamp(curdate())), (2, 'old@x', 1, timestamp(curdate()))")
    deliver_at_once(repaired, 16)
    assert replies(repaired) == [SENDER] * 2
    assert repaired.senders() == [("1", SENDER, "1"), ("2", SENDER, "1")]


def test_no_transaction_is_open_while_commands_run(repaired):
    """A slow sendmail keeps no other delivery waiting."""
    rule = repaired.rule()
    repaired.forward(rule, "copy@colleague.example")
    sent = repaired.statements(lambda: repaired.run(message()))
    assert sent.index("commit") < sent.index("select address from resp_forward where rn_id=1")
    assert sent.count("start transaction") == sent.count("commit") == 1


def test_a_deadlock_is_repeated(repaired):
    repaired.rule(ans_freq=1)
    repaired.sql("""create table tries (n int) engine=MyISAM;
delimiter //
create trigger conflict before insert on resp_freq for each row begin
  insert into tries values (1);
  if (select count(*) from tries) < 3 then
    signal sqlstate '40001' set mysql_errno=1213, message_text='Deadlock found';
  end if;
end//
""")
    results = []
    sent = repaired.statements(lambda: results.append(repaired.run(message(), timeout=30)))
    repaired.sql("drop trigger conflict; drop table tries")
    assert (results[0].status, results[0].err) == (0, b"")
    assert replies(repaired) == [SENDER]
    assert (sent.count("rollback"), sent.count("commit")) == (2, 1)
    assert repaired.senders() == [("1", SENDER, "1")]


def test_deliveries_to_different_rules_are_not_in_one_anothers_way(repaired):
    mailboxes = range(10, 42)
    for number in mailboxes:
        repaired.sql(f"insert into mail (id, dom_id, mail_name) values ({number}, 1, 'm{number}')")
        repaired.rule(mn_id=number)
    with ThreadPoolExecutor(len(mailboxes)) as pool:
        results = list(pool.map(
            lambda number: repaired.run(message(), f"x-m{number}@shop.example"), mailboxes))
    assert {(result.status, result.err) for result in results} == {(0, b"")}
    assert replies(repaired) == [SENDER] * len(mailboxes)


def test_a_long_sender_is_found_again_in_a_column_without_unicode(repaired):
    repaired.sql("alter table resp_freq modify email varchar(100) character set latin1")
    repaired.rule(ans_freq=1)
    sender = '"' + "ü" * 170 + '"@customer.example'
    for _ in range(3):
        result = repaired.run(message(sender=sender))
        assert (result.status, result.err) == (0, b"")
    assert replies(repaired) == [sender.replace('"', '')]


def test_a_lock_that_takes_too_long_is_waited_for_again(repaired):
    repaired.rule(ans_freq=1)
    repaired.sql("set global innodb_lock_wait_timeout=1")
    other = repaired.start_sql("start transaction; select id from mail_resp where id=1 for update;"
                               "do sleep(2.5); commit")
    wait_until(lambda: "sleep(2.5)" in repaired.sql("show processlist"))
    result = repaired.run(message(), timeout=30)
    other.wait()
    assert (result.status, result.err) == (0, b"")
    assert replies(repaired) == [SENDER]


def test_conflicts_without_an_end_end_the_run(repaired):
    repaired.rule()
    repaired.sql("set global innodb_lock_wait_timeout=0")
    other = repaired.start_sql("start transaction; select id from mail_resp where id=1 for update;"
                               "do sleep(60)")
    wait_until(lambda: "sleep(60)" in repaired.sql("show processlist"))
    result = repaired.run(message(), timeout=30)
    repaired.end_sql(other, "sleep(60)")
    assert (result.status, result.err) == (
        0, b"autoresponder: Unable to exec query :Lock wait timeout exceeded; try restarting"
           b" transaction\n")
    assert replies(repaired) == []


def test_another_failure_is_not_repeated(repaired):
    repaired.rule()
    repaired.sql("drop table resp_freq")
    sent = repaired.statements(lambda: repaired.run(message()))
    assert len([text for text in sent if "from resp_freq" in text]) == 1 and "commit" not in sent


def test_forgets_nobody_where_nobody_is_remembered(repaired):
    """MySQL refuses the time of nobody, "0"."""
    repaired.rule(mem_limit=0)
    statements = repaired.statements(lambda: repaired.run(message()))
    assert not [text for text in statements if "time_resp='" in text]
    assert replies(repaired) == [SENDER]
    repaired.sql("update resp_freq set email='other@customer.example'")
    assert [text for text in repaired.statements(lambda: repaired.run(message()))
            if text.startswith("delete") and "time_resp='" in text]
    assert [sender for _, sender, _ in repaired.senders()] == [SENDER]


# --- senders that are longer than the column -----------------------------------------------------

@pytest.mark.parametrize("mode", ["", "STRICT_ALL_TABLES", "ANSI_QUOTES,STRICT_ALL_TABLES"])
@pytest.mark.parametrize("utf8", ["true", "false"])
@pytest.mark.parametrize("local", ["x" * 400, "ü" * 400, "€" * 299 + "@" + "x" * 40],
                         ids=["ASCII", "two bytes", "three bytes"])
def test_a_sender_longer_than_the_column_is_found_again(repaired, local, utf8, mode):
    sender = f'"{local}"@customer.example'
    repaired.sql(f"set global sql_mode='{mode}';"
                 f"insert into misc values ('mysql41_compatible', '{utf8}')")
    repaired.rule(ans_freq=2)
    for _ in range(3):
        result = repaired.run(message(sender=sender))
        assert (result.status, result.err) == (0, b"")
    assert replies(repaired) == [f"{local}@customer.example"] * 2
    assert repaired.senders() == [("1", sender[:320], "2")]


@pytest.mark.parametrize("longer", [-1, 0, 1])
@pytest.mark.parametrize("kind", ["varchar", "char"])
def test_the_columns_own_width_counts(repaired, kind, longer):
    repaired.sql(f"alter table resp_freq modify email {kind}(30) not null")
    sender = "x" * (30 + longer - len("@x.example")) + "@x.example"
    repaired.rule(ans_freq=1)
    repaired.run(message(sender=sender))
    repaired.run(message(sender=sender))
    assert replies(repaired) == [sender]
    assert repaired.senders() == [("1", sender[:30], "1")]


@pytest.mark.parametrize("definition", ["mediumtext", "char(255)"])
def test_a_column_of_another_type_takes_a_usual_sender(repaired, definition):
    repaired.sql(f"alter table resp_freq drop key rn_id, modify email {definition} not null")
    repaired.rule(ans_freq=1)
    repaired.run(message())
    repaired.run(message())
    assert replies(repaired) == [SENDER]


def test_works_on_tables_without_transactions(repaired):
    repaired.sql("alter table resp_freq drop key rn_id, engine=MyISAM; alter table mail_resp engine=MyISAM")
    repaired.rule(ans_freq=2)
    for _ in range(3):
        assert repaired.run(message()).err == b""
    assert replies(repaired) == [SENDER] * 2


def test_a_table_of_counts_without_transactions_holds_too(repaired):
    repaired.sql("alter table resp_freq drop key rn_id, engine=MyISAM")
    repaired.rule(ans_freq=1)
    deliver_at_once(repaired, 16)
    assert replies(repaired) == [SENDER]


@pytest.mark.parametrize("mode", ["", "STRICT_ALL_TABLES"])
def test_explain_finds_such_a_sender_too(repaired, mode):
    repaired.sql(f"set global sql_mode='{mode}'")
    repaired.rule(ans_freq=1)
    text = message(sender="x" * 400 + "@customer.example")
    for step, status in (("remember", 0), ("refuse", 1)):
        told = repaired.explain(text, "--json")
        assert told.status == status
        assert told.answer()["rules"][0]["limiter"]["step"] == step
        repaired.run(text)
    assert len(replies(repaired)) == 1
