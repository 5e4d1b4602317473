"""How often one sender is answered, and how many senders a rule remembers."""

import pytest

from conftest import FORGETS_NOBODY, NONSENSE, message

SENDER = "otto@customer.example"


def run(panel, sender=SENDER):
    """Runs the program; returns whether the sender got an answer."""
    before = len(panel.mails())
    result = panel.run(message(sender=sender))
    assert (result.status, result.err) == (0, b"")
    return len(panel.mails()) > before


@pytest.mark.parametrize("ans_freq, answered", [
    ("1", 1), ("2", 2), (None, 10), ("10", 10)], ids=repr)
def test_answers_a_sender_so_many_times_a_day(panel, ans_freq, answered):
    panel.rule(ans_freq=ans_freq)
    assert [run(panel) for _ in range(answered + 1)] == [True] * answered + [False]
    assert panel.senders() == [("1", SENDER, str(answered))]


@pytest.mark.parametrize("ans_freq", ["0", "-1", "abc", ""])
def test_never_answers_without_a_positive_number(panel, ans_freq):
    panel.sql("alter table mail_resp modify ans_freq varchar(20)")
    panel.rule(ans_freq=ans_freq)
    assert not run(panel)
    assert panel.senders() == []


@pytest.mark.parametrize("ans_freq, answered", [("2x", 2), (" 1", 1), ("+1", 1)])
def test_reads_a_number_up_to_where_it_ends(panel, ans_freq, answered):
    panel.sql("alter table mail_resp modify ans_freq varchar(20)")
    panel.rule(ans_freq=ans_freq)
    assert [run(panel) for _ in range(3)].count(True) == answered


def test_starts_again_on_the_next_calendar_day(panel):
    panel.rule(ans_freq=1)
    assert [run(panel), run(panel)] == [True, False]
    panel.sql("update resp_freq set time_resp = timestamp(curdate()) - interval 1 minute")
    assert run(panel)
    assert panel.senders() == [("1", SENDER, "1")]


def test_forgets_earlier_days_of_this_rule_only(panel):
    panel.rule(ans_freq=0)
    for rule in (1, 2):
        panel.sql("insert into resp_freq (rn_id, email, num, time_resp) values"
                  f" ({rule}, 'old@x', 1, now() - interval 2 day)")
    assert not run(panel)
    assert panel.senders() == [("2", "old@x", "1")]


def test_a_new_sender_drives_out_the_oldest_when_memory_is_full(panel):
    panel.rule(mem_limit=2)
    panel.sql("insert into resp_freq (rn_id, email, num, time_resp) values"
              " (1, 'old@x', 1, timestamp(curdate())),"
              " (1, 'newer@x', 1, timestamp(curdate()) + interval 1 microsecond),"
              " (2, 'other@rule', 1, timestamp(curdate()));"
              "update resp_freq set time_resp = now() where email = 'newer@x'")
    assert run(panel)
    assert panel.senders() == [("1", "newer@x", "1"), ("1", SENDER, "1"), ("2", "other@rule", "1")]


def test_all_senders_of_the_oldest_time_go_together(panel):
    panel.rule(mem_limit=3)
    panel.sql("insert into resp_freq (rn_id, email, num, time_resp) values"
              " (1, 'a@x', 1, timestamp(curdate())), (1, 'b@x', 1, timestamp(curdate())),"
              " (1, 'c@x', 1, now())")
    assert run(panel)
    assert panel.senders() == [("1", "c@x", "1"), ("1", SENDER, "1")]


def test_evicts_once_even_when_memory_stays_full(panel):
    panel.rule(mem_limit=1)
    panel.sql("insert into resp_freq (rn_id, email, num, time_resp) values"
              " (1, 'a@x', 1, timestamp(curdate())), (1, 'b@x', 1, now()), (1, 'c@x', 1, now())")
    assert run(panel)
    assert [sender for _, sender, _ in panel.senders()] == ["b@x", "c@x", SENDER]


def test_a_known_sender_drives_nobody_out(panel):
    panel.rule(mem_limit=1)
    panel.sql("insert into resp_freq (rn_id, email, num) values (1, 'a@x', 1);"
              f"insert into resp_freq (rn_id, email, num) values (1, '{SENDER}', 3);")
    assert run(panel)
    assert panel.senders() == [("1", "a@x", "1"), ("1", SENDER, "4")]


@FORGETS_NOBODY
def test_remembers_a_sender_without_any_memory(panel):
    panel.rule(mem_limit=0)
    assert run(panel)
    assert panel.senders() == [("1", SENDER, "1")]


def test_counts_a_missing_number_from_zero(panel):
    panel.rule()
    panel.sql("alter table resp_freq modify num int null;"
              f"insert into resp_freq (rn_id, email, num) values (1, '{SENDER}', NULL)")
    run(panel)
    assert panel.senders() == [("1", SENDER, "1")]


FORGET = "delete from resp_freq where rn_id=1 and (TO_DAYS(NOW())-TO_DAYS(time_resp))>0"
COUNT = "select COUNT(*) from resp_freq where rn_id=1"
KNOWN = f"select num from resp_freq where rn_id=1 and email='{SENDER}'"
UPDATE = f"update resp_freq set num=1+1 where rn_id=1 and email='{SENDER}'"
OLDEST = "select MIN(time_resp) from resp_freq where rn_id=1"
INSERT = f"insert into resp_freq set rn_id=1, email='{SENDER}', num=1"


def limiter_statements(panel):
    sent = panel.statements(lambda: run(panel))
    return sent[6:-2] if sent[-1].startswith("select filename") else sent[6:]


def test_statements_for_a_new_sender(panel):
    panel.rule()
    assert limiter_statements(panel) == [FORGET, COUNT, KNOWN, INSERT]


def test_statements_for_a_known_sender(panel):
    panel.rule()
    run(panel)
    assert limiter_statements(panel) == [FORGET, COUNT, KNOWN, UPDATE]


def test_statements_for_a_sender_who_had_enough(panel):
    panel.rule(ans_freq=1)
    run(panel)
    assert limiter_statements(panel) == [FORGET, COUNT, KNOWN]


def test_statements_for_a_rule_that_never_answers(panel):
    panel.rule(ans_freq=0)
    assert limiter_statements(panel) == [FORGET]


def test_statements_for_an_eviction(panel):
    panel.rule(mem_limit=1)
    panel.sql("insert into resp_freq (rn_id, email, num, time_resp)"
              " values (1, 'a@x', 1, timestamp(curdate()))")
    oldest = panel.sql("select time_resp from resp_freq").strip()
    evict = f"delete from resp_freq where rn_id=1 and time_resp='{oldest}'"
    assert limiter_statements(panel) == [FORGET, COUNT, KNOWN, OLDEST, evict, INSERT]


@FORGETS_NOBODY
def test_statements_for_an_eviction_from_an_empty_table(panel):
    panel.rule(mem_limit=0)
    evict = "delete from resp_freq where rn_id=1 and time_resp='0'"
    assert limiter_statements(panel) == [FORGET, COUNT, KNOWN, OLDEST, evict, INSERT]


@FORGETS_NOBODY
@pytest.mark.parametrize("statement", range(1, 7))
def test_any_failing_statement_ends_the_run(panel, statement):
    # Each of the six statements of an eviction; the table stays as the earlier ones left it.
    panel.rule(mem_limit=0)
    result = panel.run(message(), faults=f"mysql_real_query#{6 + statement}")
    assert (result.status, result.err) == (0, b"autoresponder: Unable to exec query :" + NONSENSE)
    assert panel.mails() == []
    assert panel.senders() == []


def test_a_failing_update_ends_the_run(panel):
    panel.rule()
    run(panel)
    result = panel.run(message(), faults="mysql_real_query#10")
    assert (result.status, result.err) == (0, b"autoresponder: Unable to exec query :" + NONSENSE)
    assert panel.senders() == [("1", SENDER, "1")]


def test_escapes_the_sender(panel):
    panel.rule()
    panel.run(message(sender="\"a'b\\\\\"@x"))
    assert panel.senders() == [("1", "\"a'b\\\\\\\\\"@x", "1")]


def test_a_reply_that_fails_later_counts_all_the_same(panel):
    panel.rule()
    panel.sql("drop table resp_attach")
    panel.run(message())
    assert panel.senders() == [("1", SENDER, "1")]
