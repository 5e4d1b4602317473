"""Deliveries on two nodes of one cluster."""

import re
from collections import Counter

import pytest

from cluster import DEADLOCK, Remote, least_rights, message

MESSAGES = 60  # on each node


def of_many_senders():
    """Messages for each node, each from another sender."""
    return [[message(f"s{node}-{n}@customer.example", f"message {1000 * node + n}")
             for n in range(MESSAGES)] for node in range(2)]


def left(mails):
    """How often each subject left for each recipient. Fails if a mail is not whole."""
    found = Counter()
    for recipient, text in mails:
        assert text.endswith("--\n" if "multipart/mixed" in text else "\n\n"), text
        found[recipient, re.search(r"^Subject: (?:Re: )?(.*)$", text, re.M)[1]] += 1
    return found


def test_with_repairs_every_message_is_answered_once_and_whole(cluster):
    cluster.switch(repairs=True)
    rule = cluster.rule()
    cluster.first.forward(rule, "copy@colleague.example")
    for node in cluster.nodes:
        node.catch_up()
    ends = cluster.deliver(of_many_senders())
    assert [end[:2] for node in ends for end in node] == [(0, "")] * 2 * MESSAGES
    expected = Counter()
    for node in range(2):
        for n in range(MESSAGES):
            expected[f"s{node}-{n}@customer.example", f"message {1000 * node + n}"] = 1
            expected["copy@colleague.example", f"message {1000 * node + n}"] = 1
    assert left(cluster.mails()) == expected
    assert sorted(cluster.senders()) == sorted(
        (str(rule), f"s{node}-{n}@customer.example", "1") for node in range(2)
        for n in range(MESSAGES))


def test_without_repairs_every_message_is_answered_or_its_run_says_why(cluster):
    cluster.rule()
    ends = cluster.deliver(of_many_senders())
    answered = Counter()
    for number, node in enumerate(ends):
        for n, (status, diagnostics, _) in enumerate(node):
            assert (status, diagnostics) in [(0, ""), (0, DEADLOCK)]
            if not diagnostics:
                answered[f"s{number}-{n}@customer.example", f"message {1000 * number + n}"] = 1
    assert left(cluster.mails()) == answered
    assert sorted(row[1] for row in cluster.senders()) == sorted(sender for sender, _ in answered)


def test_with_repairs_one_sender_gets_no_more_replies_than_allowed(cluster):
    cluster.switch(repairs=True)
    rule = cluster.rule(ans_freq=10)
    ends = cluster.deliver([[message(subject=f"message {1000 * node + n}") for n in range(MESSAGES)]
                            for node in range(2)])
    assert [end[:2] for node in ends for end in node] == [(0, "")] * 2 * MESSAGES
    assert sum(left(cluster.mails()).values()) == 10
    assert cluster.senders() == [(str(rule), "otto@customer.example", "10")]


def test_with_repairs_no_reply_to_one_sender_goes_uncounted(cluster):
    cluster.switch(repairs=True)
    rule = cluster.rule(ans_freq=1000000)
    cluster.deliver([[message(subject=f"message {1000 * node + n}") for n in range(MESSAGES)]
                     for node in range(2)])
    assert sum(left(cluster.mails()).values()) == 2 * MESSAGES
    assert cluster.senders() == [(str(rule), "otto@customer.example", str(2 * MESSAGES))]


def test_with_repairs_a_rule_remembers_no_more_senders_than_it_may(cluster):
    cluster.switch(repairs=True)
    cluster.rule(mem_limit=5)
    ends = cluster.deliver(of_many_senders())
    assert [end[:2] for node in ends for end in node] == [(0, "")] * 2 * MESSAGES
    assert sum(left(cluster.mails()).values()) == 2 * MESSAGES
    assert 1 <= len(cluster.senders()) <= 5


def test_the_user_needs_no_more_rights_than_on_a_single_server(cluster):
    cluster.switch(repairs=True)
    cluster.rule()
    with least_rights(cluster):
        assert cluster.second.deliver([message()])[0][:2] == (0, "")
        assert len(cluster.second.mails()) == 1


def replies_of_second_node(cluster):
    cluster.second.catch_up()
    cluster.second.forget()
    assert cluster.second.deliver([message()])[0][:2] == (0, "")
    return [text for _, text in cluster.second.mails()]


def test_a_rule_that_is_added_on_one_node_acts_on_the_other(cluster):
    assert replies_of_second_node(cluster) == []
    cluster.first.rule(text="We are on holiday.")
    assert "We are on holiday." in replies_of_second_node(cluster)[0]


def test_a_rule_that_is_changed_on_one_node_acts_on_the_other(cluster):
    cluster.rule(text="We are on holiday.")
    assert "We are on holiday." in replies_of_second_node(cluster)[0]
    cluster.first.sql("update mail_resp set text='We are back.'")
    assert "We are back." in replies_of_second_node(cluster)[0]


def test_a_rule_that_is_switched_off_on_one_node_answers_no_more_on_the_other(cluster):
    cluster.rule()
    assert len(replies_of_second_node(cluster)) == 1
    cluster.first.sql("update mail_resp set resp_on='false'")
    assert replies_of_second_node(cluster) == []


def test_who_was_answered_often_enough_on_one_node_gets_no_reply_from_the_other(cluster):
    cluster.rule(ans_freq=1)
    cluster.first.deliver([message()])
    assert replies_of_second_node(cluster) == []


@pytest.fixture(scope="module")
def single():
    """A server that is no node, with the tables as they are."""
    node = Remote(9)
    node.boot_alone()
    yield node
    node.end()


@pytest.mark.parametrize("courtesy", [False, True])
@pytest.mark.parametrize("repairs", [False, True])
def test_the_statements_of_a_run_are_those_on_a_single_server(cluster, single, repairs, courtesy):
    # The first message makes a row, the second counts it up, the third deletes it for a new one.
    def statements(node):
        node.switch(repairs=repairs, courtesy=courtesy)
        return [node.statements_of(message(sender)) for sender in
                ("otto@customer.example", "otto@customer.example", "emma@customer.example")]
    single.load("tables.sql")
    assert single.rule(mem_limit=1) == 1
    cluster.first.rule(mem_limit=1)
    cluster.first.sql("update mail_resp set id=1")
    mask = r"time_resp='[^']*'"
    alone = re.sub(mask, "", repr(statements(single)))
    assert alone.count("insert into resp_freq") == 2
    assert re.sub(mask, "", repr(statements(cluster.first))) == alone
