"""A node ends while deliveries run: what it, and the other node, do, and how it comes back."""

import re
import threading
from collections import Counter

import pytest

from cluster import DEADLOCK, message, wait_until

MESSAGES = 80  # on each node
AT_ONCE = 4

# Diagnostics of runs whose node ends.
LOST = (r"(Lost connection to server during query|(MySQL s|S)erver has gone away"
        r"|Lost connection to server at '[^']*', system error: \d+)")
NO_SERVER = (r"Unable to connect to Quern Database: (Can't connect to local server through socket"
             r" '/run/mysqld/mysqld\.sock' \(\d+\))")
NOT_READY = (r"DB error \(mysql41 compatible query\) 1047: WSREP has not yet prepared node for"
             r" application use")


def refused(report):
    """The diagnostics of a run without a usable connection: the library's report, and its own."""
    return (rf"autoresponder: {report}\n(System error \d+: [^\n]*\n)?"
            r"autoresponder: Unable to connect to the mysql database \n")


DIAGNOSTICS = re.compile("|".join([
    rf"autoresponder: Unable to (query: |exec query :){LOST}\n",
    refused(rf"Unable to connect to Quern Database: {LOST}"),
    refused(rf"DB error \([^)]*\) \d+: {LOST}"),
    refused(NO_SERVER)]))


# Diagnostics of runs on a node without a majority.
WITHOUT_MAJORITY = re.compile("|".join([
    r"autoresponder: Unable to (query: |exec query :)(WSREP has not yet prepared node for"
    r" application use|Error while appending streaming replication fragment\(provider status: Not"
    r" connected to Primary Component\)"
    r"|Deadlock found when trying to get lock; try restarting transaction)\n",
    refused(NOT_READY)]))


def of_many_senders(name):
    return [message(f"{name}{n}@customer.example", f"message {n}") for n in range(MESSAGES)]


def deliver_until_second_node_dies(cluster):
    """Delivers on both nodes, and kills the second in the middle; returns the ends of the runs."""
    def kill_in_the_middle():
        wait_until(lambda: len(cluster.second.peek()) >= 20)
        cluster.second.kill()
    killer = threading.Thread(target=kill_in_the_middle)
    killer.start()
    ends = cluster.deliver([of_many_senders("a"), of_many_senders("b")], AT_ONCE)
    killer.join()
    cluster.second.wait_for_death()
    return ends


def recipients(node):
    """Who got a mail, and how often. Fails if a mail is not whole."""
    found = Counter()
    for recipient, text in node.mails():
        assert text.endswith("\n\n"), text
        found[recipient] += 1
    return found


def answered(ends, name):
    """Whom the runs without a diagnostic must have answered."""
    return {f"{name}{n}@customer.example": 1 for n, end in enumerate(ends) if not end[1]}


def bring_back_second_node(cluster):
    """Starts it again; returns what the other node sent: what it had missed, or everything."""
    before = len(cluster.first.log())
    cluster.second.boot()
    cluster.wait_for_size(3)
    is_everything = "Transfer of InnoDB data files done" in cluster.first.log()[before:]
    return "everything" if is_everything else "what it had missed"


@pytest.mark.parametrize("repairs", [False, True])
def test_a_node_is_killed_and_comes_back(cluster, repairs):
    cluster.switch(repairs=repairs)
    cluster.rule()
    staying, dying = deliver_until_second_node_dies(cluster)

    # The other node goes on: its runs wait until it gives the dead one up, and answer. Without
    # repairs a run may lose against the other node just before.
    assert {status for status, _, _ in staying} == {0}
    assert {words for _, words, _ in staying} <= ({""} if repairs else {"", DEADLOCK})
    assert recipients(cluster.first) == answered(staying, "a")
    assert max(seconds for _, _, seconds in staying) < 20

    # Runs on the dead node say why they do not answer, or have answered once.
    assert {status for status, _, _ in dying} == {0}
    silent = [diagnostics for _, diagnostics, _ in dying if diagnostics]
    assert len(silent) >= 10
    assert [words for words in silent if not DIAGNOSTICS.fullmatch(words)
            and (repairs or words != DEADLOCK)] == []
    assert recipients(cluster.second) == answered(dying, "b")
    assert cluster.second.temporary_files() == []

    # The other node sends it what it missed, and no answered sender was forgotten.
    assert bring_back_second_node(cluster) == "what it had missed"
    senders = {sender for _, sender, _ in cluster.senders()}
    assert senders >= {*answered(staying, "a"), *answered(dying, "b")}
    assert cluster.second.deliver([message()])[0][:2] == (0, "")
    assert recipients(cluster.second)["otto@customer.example"] == 1


def test_without_arbitrator_the_node_that_is_left_answers_nothing_until_it_is_told_to(cluster):
    cluster.switch(repairs=True)
    cluster.rule()
    cluster.arbitrator.stop()
    cluster.wait_for_size(2)
    staying, dying = deliver_until_second_node_dies(cluster)
    assert cluster.first.status("cluster_status") == "non-Primary"
    assert {status for status, _, _ in staying} == {0}
    silent = [diagnostics for _, diagnostics, _ in staying if diagnostics]
    assert len(silent) >= 10
    assert [words for words in silent if not WITHOUT_MAJORITY.fullmatch(words)] == []
    assert recipients(cluster.first) == answered(staying, "a")
    assert cluster.first.temporary_files() == []

    status, lines = cluster.first.check()
    assert status == 1
    assert re.search(rf"^error: No run can use the database: {NOT_READY}\. Start the server, or ", lines, re.M)
    status, words = cluster.first.explanation(message())
    assert status == 2 and re.search(NOT_READY, words)

    is_old = cluster.first.sql("select @@version", "mysql").startswith("10.")
    cluster.first.sql("set global wsrep_provider_options='pc.bootstrap=yes'" if is_old
                      else "set global wsrep_provider_pc_bootstrap=on", "mysql")
    wait_until(lambda: cluster.first.status("ready") == "ON")
    assert cluster.first.deliver([message()])[0][:2] == (0, "")
    assert recipients(cluster.first)["otto@customer.example"] == 1
    cluster.arbitrator.start()
    assert bring_back_second_node(cluster) == "what it had missed"
    senders = {sender for _, sender, _ in cluster.senders()}
    assert senders >= {*answered(staying, "a")}
    # What the dead node sent last did not always become part of what a node alone goes on with.
    assert len({*answered(dying, "b")} - senders) <= AT_ONCE


def test_without_arbitrator_a_node_that_is_shut_down_leaves_the_other_at_work(cluster):
    cluster.rule()
    cluster.arbitrator.stop()
    cluster.wait_for_size(2)
    cluster.second.stop()
    wait_until(lambda: cluster.first.status("cluster_size") == "1")
    assert cluster.first.deliver([message()])[0][:2] == (0, "")
    assert len(cluster.first.mails()) == 1
    assert re.fullmatch(refused(NO_SERVER), cluster.second.deliver([message()])[0][1])
    cluster.arbitrator.start()
    assert bring_back_second_node(cluster) == "what it had missed"


def test_a_node_gets_everything_while_the_other_one_answers(cluster):
    cluster.rule()
    cluster.second.stop()
    cluster.second.forget_state()
    before = len(cluster.first.log())
    sent = []
    returning = threading.Thread(target=lambda: sent.append(bring_back_second_node(cluster)))
    returning.start()
    wait_until(lambda: "rsync SST started on donor" in cluster.first.log()[before:])
    ends = cluster.first.deliver(of_many_senders("a"))
    returning.join()
    assert sent == ["everything"]
    assert [end[:2] for end in ends] == [(0, "")] * MESSAGES
    assert len(cluster.senders()) == MESSAGES


def test_after_both_nodes_were_shut_down_the_one_that_has_most_begins(cluster):
    cluster.switch(repairs=True)
    cluster.rule()
    cluster.first.deliver([message("anna@customer.example")])
    cluster.second.stop()
    cluster.first.deliver([message("ben@customer.example")])
    cluster.first.stop()
    assert cluster.first.last_number() > cluster.second.last_number() > 0
    cluster.first.allow_to_begin()
    cluster.first.boot("--wsrep-new-cluster")
    cluster.second.boot()
    cluster.arbitrator.stop()
    cluster.arbitrator.start()
    cluster.wait_for_size(3)
    assert cluster.second.deliver([message()])[0][:2] == (0, "")
    assert {sender for _, sender, _ in cluster.senders()} == {
        "anna@customer.example", "ben@customer.example", "otto@customer.example"}
