"""What schema/cluster.sql adds to the tables, what it leaves alone, and what happens without it."""

import threading

import pytest

from cluster import KEYS, RemoteError

WITHOUT_KEY = """
select table_name from information_schema.tables t where table_schema='kem' and not exists (
  select 1 from information_schema.table_constraints c where c.table_schema='kem'
  and c.table_name=t.table_name and c.constraint_type='PRIMARY KEY') order by 1"""
KEYLESS = ["dns_recs", "resp_attach", "resp_forward", "resp_freq"]


def at_once(cluster, statements):
    """Runs a transaction on each node; the second node's is still open when the first's commits."""
    errors = [None, None]

    def work(number, node, text):
        try:
            node.sql(f"start transaction; {text}; select sleep({0.2 + 0.4 * number}); commit;")
        except RemoteError as error:
            errors[number] = str(error)
    threads = [threading.Thread(target=work, args=(number, node, text))
               for number, (node, text) in enumerate(zip(cluster.nodes, statements))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for node in cluster.nodes:
        node.catch_up()
    return errors


def rows(node, where="rn_id=7 and email='otto@customer.example'"):
    """The numbers, in the order that a run would read them in."""
    return node.sql(f"select num from resp_freq where {where}").split()


INSERTS = [f"insert into resp_freq set rn_id=7, email='otto@customer.example', num={num}"
           for num in (1, 5)]


def test_without_keys_four_tables_have_none(cluster):
    cluster.load("tables.sql")
    assert cluster.second.sql(WITHOUT_KEY).split() == KEYLESS


def test_every_table_has_a_primary_key(cluster):
    assert cluster.second.sql(WITHOUT_KEY) == ""


def test_without_keys_the_nodes_read_the_rows_of_a_sender_in_different_order(cluster):
    cluster.load("tables.sql")
    assert at_once(cluster, INSERTS) == [None, None]
    assert [rows(node) for node in cluster.nodes] == [["1", "5"], ["5", "1"]]


def test_with_keys_the_nodes_read_the_rows_of_a_sender_in_one_order(cluster):
    cluster.first.sql("drop trigger resp_freq_takes_its_turn")
    assert at_once(cluster, INSERTS) == [None, None]
    assert sorted(rows(cluster.first)) == ["1", "5"]
    assert rows(cluster.first) == rows(cluster.second)


def test_with_turns_one_of_two_first_replies_at_once_is_refused(cluster):
    errors = at_once(cluster, INSERTS)
    assert errors[0] is None and "ERROR 1213" in errors[1]
    assert [rows(node) for node in cluster.nodes] == [["1"], ["1"]]


def test_turns_of_one_rule_are_no_matter_to_another(cluster):
    assert at_once(cluster, [f"insert into resp_freq set rn_id={rule}, email='x', num=1"
                             for rule in (7, 8)]) == [None, None]


@pytest.mark.parametrize("files", [("tables.sql",), KEYS], ids=["without keys", "with keys"])
def test_a_deletion_reaches_the_other_node(cluster, files):
    cluster.load(*files)
    cluster.first.sql(f"{INSERTS[0]}; {INSERTS[0]}; {INSERTS[1]};")
    cluster.first.sql("delete from resp_freq where num=1")
    cluster.second.catch_up()
    assert rows(cluster.second) == ["5"]


def test_statements_do_not_meet_the_keys(cluster):
    cluster.first.sql("insert into resp_forward values (7, 'copy@colleague.example');"
                      "insert into resp_attach values (7, 'list.txt');"
                      "insert into dns_recs values (3, 'A', 'shop.example');")
    cluster.second.catch_up()
    assert cluster.second.sql("select * from resp_forward; select * from resp_attach;"
                              "select * from dns_recs") == (
        "7\tcopy@colleague.example\n7\tlist.txt\n3\tA\tshop.example\n")


def test_a_server_that_insists_on_keys_refuses_the_tables_as_they_are(cluster):
    cluster.first.sql("set global innodb_force_primary_key=on")
    try:
        with pytest.raises(RemoteError, match="ERROR 1173 .* requires a primary key"):
            cluster.first.load("tables.sql")
    finally:
        cluster.first.sql("set global innodb_force_primary_key=off")


def test_numbers_of_rows_from_the_two_nodes_do_not_meet(cluster):
    for node in cluster.nodes:
        assert node.variable("wsrep_auto_increment_control") == "1"
        assert node.variable("auto_increment_increment") == "3"  # the arbitrator counts
    ids = [node.rule() for node in cluster.nodes for _ in range(3)]
    assert len(set(ids)) == 6
    assert cluster.nodes[0].variable("auto_increment_offset") != (
        cluster.nodes[1].variable("auto_increment_offset"))


def test_rows_of_another_engine_stay_on_their_node(cluster):
    cluster.first.sql("create table other (id int primary key) engine=MyISAM;"
                      "insert into other values (1);")
    cluster.second.catch_up()
    assert cluster.first.sql("select id from other") == "1\n"
    assert cluster.second.sql("select id from other") == ""
