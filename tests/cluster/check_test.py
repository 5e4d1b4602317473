"""autoresponder-explain --check on a node: what it finds where the cluster is not set up as
docs/scaling.md says. The program's database user has the rights of docs/operators.md."""

import json
import re

import pytest

from cluster import ROOT, least_rights, message, wait_until



@pytest.fixture
def node(cluster):
    """A node that is set up right, with repairs."""
    cluster.rule()
    for each in cluster.nodes:
        each.set_up(repairs=True)
    with least_rights(cluster):
        yield cluster.second
    for each in cluster.nodes:
        each.take_down()


def is_right(result):
    status, said = result
    return status == 0 and said.startswith(
        "This server is set up right.\nSwitches: repairs on, courtesy off.\n")


def findings(node):
    return json.loads(node.check("--json")[1])["findings"]


def test_finds_nothing_on_nodes_that_are_set_up_as_described(cluster, node):
    assert all(is_right(each.check()) for each in cluster.nodes)


def test_finds_nothing_with_all_rights_either(cluster):
    cluster.second.set_up(repairs=True)
    try:
        assert is_right(cluster.second.check())
    finally:
        cluster.second.take_down()


NO_KEYS = "alter table resp_freq drop row_id; alter table resp_attach drop row_id"
NO_TRIGGER = "drop trigger resp_freq_takes_its_turn"
NO_SNAPSHOTS = "set global innodb_snapshot_isolation=off"
DEFAULTS = "set global innodb_snapshot_isolation=on, global tx_isolation='REPEATABLE-READ'"

FAULTS = [
    # name, what breaks it, severity and code of the only finding, words of it
    ("no keys", NO_KEYS, "warning", "cluster_key_missing", ": resp_attach, resp_freq. Add"),
    ("rows of one node", "alter table resp_forward engine=MyISAM; alter table misc engine=Aria",
     "warning", "cluster_engine", ": misc (Aria), resp_forward (MyISAM). Give"),
    ("turns of one node", "alter table resp_freq_turn engine=Aria", "warning", "cluster_engine",
     ": resp_freq_turn (Aria). Give"),
    ("old numbers", NO_SNAPSHOTS, "warning", "cluster_snapshots_off", "is not ON"),
    ("low isolation", "set global tx_isolation='READ-COMMITTED'", "warning", "cluster_isolation",
     "isolated by READ-COMMITTED:"),
    ("no trigger", NO_TRIGGER, "warning", "cluster_turns_missing", "There is no trigger"),
    ("no turns for some rules", "delete from resp_freq_turn where slot in (5, 63)", "warning",
     "cluster_turns_missing", "resp_freq_turn lacks 2 of its slots"),
    ("trigger without its table", "drop table resp_freq_turn", "error", "limiter_refused",
     "its table resp_freq_turn is not"),
]


@pytest.mark.parametrize("break_it, severity, code, words", [fault[1:] for fault in FAULTS],
                         ids=[fault[0] for fault in FAULTS])
def test_finds(node, break_it, severity, code, words):
    node.sql(break_it)
    try:
        found = findings(node)
    finally:
        node.sql(DEFAULTS)
    assert [(finding["severity"], finding["code"]) for finding in found] == [(severity, code)]
    assert words in found[0]["text"]


def test_with_the_tables_as_they_are_finds_that_keys_and_trigger_are_missing(cluster, node):
    cluster.first.load("tables.sql")
    node.catch_up()
    found = findings(node)
    assert [finding["code"] for finding in found] == ["cluster_key_missing", "cluster_turns_missing"]
    assert ": resp_attach, resp_forward, resp_freq. Add" in found[0]["text"]


def test_without_repairs_tells_that_no_limit_holds_and_not_what_else_is_missing_for_it(node):
    node.set_up(repairs=False)
    node.sql(f"{NO_TRIGGER}; {NO_SNAPSHOTS}")
    try:
        (found,) = findings(node)
    finally:
        node.sql(DEFAULTS)
    assert (found["severity"], found["code"]) == ("warning", "cluster_repairs_off")
    assert "AUTORESPONDER_REPAIRS on" in found["text"]


def test_finds_that_a_node_answers_reads_only(cluster, node):
    address = node.variable("wsrep_cluster_address")
    node.sql("set global wsrep_dirty_reads=on; set global wsrep_cluster_address='';", "mysql")
    try:
        (found,) = findings(node)
        assert "WSREP has not yet prepared node" in node.deliver([message()])[0][1]
        assert node.mails() == []
    finally:
        node.sql(f"set global wsrep_dirty_reads=off; set global wsrep_cluster_address='{address}'",
                 "mysql")
        wait_until(lambda: node.status("ready") == "ON")
        cluster.wait_for_size(3)
    assert (found["severity"], found["code"]) == ("error", "cluster_not_ready")
    assert is_right(node.check())


def test_every_code_of_the_page_is_provoked():
    page = (ROOT / "packaging" / "autoresponder-explain.8").read_text()
    provoked = {fault[3] for fault in FAULTS} | {"cluster_repairs_off", "cluster_not_ready"}
    assert set(re.findall(r"^\.Li (cluster_\w+)", page, re.M)) == {
        code for code in provoked if code.startswith("cluster_")}
