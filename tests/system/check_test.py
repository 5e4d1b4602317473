"""autoresponder-explain --check: what it finds on a server that is set up wrong; and that it
changes nothing."""

import os
import re
import subprocess
import time
from pathlib import Path

import pytest

import panel as sandbox
from conftest import BUILD, CHECKOUT, EXPLAIN, SANITIZED, Result, real_root
from right_server import ASSIGNED, CONTROL, GROUP, HOME, assign, configure
from breaks import server, FAULTS
from cures import CURES, repaired
from host_breaks import HOST_FAULTS, without_proc

ALL = FAULTS + HOST_FAULTS
SEEN = (b"Looked at: configuration, program, commands, directories, database, and the mail server's"
        b" control and .qmail files. Not at: what other servers send, and whether mail leaves.\n")
RIGHT = b"This server is set up right.\nSwitches: repairs off, courtesy off.\n" + SEEN
OFF = {"repairs": False, "courtesy": False}

pytestmark = pytest.mark.skipif(not real_root(), reason="gives files to other users and groups")


def check(*options, **arguments):
    return Result(subprocess.run([EXPLAIN, "--check", *options], capture_output=True,
                                 env={"PATH": "/usr/bin:/bin"}, timeout=60, **arguments))


def test_finds_nothing_on_a_server_that_is_set_up_right(server):
    server.forward(1, "anna@colleague.example ben@colleague.example")
    server.attach(1, "price list.txt")
    result = check()
    assert (result.status, result.out, result.err) == (0, RIGHT, b"")
    result = check("--json")
    assert (result.status, result.answer()) == (
        0, {"set_up_right": True, "switches": OFF, "findings": []})


def test_a_server_that_could_replicate_but_does_not_is_no_node_of_a_cluster(server):
    server.database.restart("--wsrep-on=1", "--binlog-format=ROW")
    try:
        assert server.sql("select @@wsrep_on") == "1\n"
        result = check()
    finally:
        server.database.restart()
    assert (result.status, result.out) == (0, RIGHT)


def test_a_local_domain_beside_a_line_for_all_others_is_not_named_twice(server):
    (CONTROL / "locals").write_text("shop.example\n")
    (CONTROL / "virtualdomains").write_text(":others\n")
    assert check("--json").answer()["findings"] == []


def test_advice_alone_is_no_fault(server):
    old = Path("/tmp/kem-autoresponder-old")
    old.write_text("")
    os.utime(old, (0, 0))
    result = check("--json")
    old.unlink()
    assert (result.status, [finding["code"] for finding in result.answer()["findings"]]) == (
        0, ["tmp_left_files"])


@pytest.mark.parametrize("name, break_it, severity, code, words", ALL, ids=[fault[0] for fault in ALL])
def test_finds_what_its_cure_ends(server, name, break_it, severity, code, words):
    if SANITIZED and break_it == without_proc:
        pytest.skip("the sanitizers need it themselves")
    cure = CURES[name] if name in CURES else CURES[code]
    undo = break_it(server)
    try:
        in_words, result = check(), check("--json")
        if cure != repaired:
            cure(server, next(finding["text"] for finding in result.answer()["findings"]
                              if finding["code"] == code))
            after = check("--json")
    finally:
        if callable(undo):
            undo()
    if cure == repaired:
        after = check("--json")
    assert code not in [finding["code"] for finding in after.answer()["findings"]]
    found = [finding for finding in result.answer()["findings"]
             if finding["code"] == code and words.replace("\\'", "'") in finding["text"]]
    assert [finding["severity"] for finding in found] == [severity], result.out.decode()
    assert (result.status, in_words.status) == (1, 1)
    assert len(in_words.out.splitlines()) == len(result.answer()["findings"]) + 2
    word = {"unseen": "not seen"}.get(severity, severity)
    assert f"{word}: {found[0]['text']}".replace("\\", "\\\\") in in_words.out.decode().splitlines()


# The others are in tests/explain/check/tables_check_test.cpp.
@pytest.mark.parametrize("table, column", [
    ("misc", "val"), ("clients", "email"), ("domains", "cl_id"), ("domainaliases", "mail"),
    ("mail", "mail_name"), ("mail_aliases", "alias"), ("mail_resp", "content_type"),
    ("resp_freq", "time_resp"), ("resp_forward", "address"), ("resp_attach", "filename")])
def test_finds_that_a_column_is_missing(server, table, column):
    server.sql(f"alter table {table} rename column {column} to away")
    texts = [finding["text"] for finding in check("--json").answer()["findings"]
             if finding["severity"] == "error"]
    # Without the settings no session can be opened.
    want = f"A run cannot read {table}.{column}: " if table != "misc" else "No run can use"
    assert texts[0].startswith(want) and f"'{column}'" in texts[0], texts


@pytest.mark.skipif(BUILD.name == "build-coverage",
                    reason="a reader that writes counters is not confined")
@pytest.mark.parametrize("lack, severity, code, words", [
    ("KEM_KEEPS_GROUPS", "warning", "reader_unconfined", "without a user of its own"),
    ("KEM_KEEPS_ALONE", "error", "reader_fails", "cannot be started")])
def test_finds_what_the_reader_lacks(server, lack, severity, code, words):
    environment = {"PATH": "/usr/bin:/bin", "LD_PRELOAD": str(BUILD / "tests" / "libintruder.so"),
                   "ASAN_OPTIONS": "verify_asan_link_order=0", lack: "1"}
    result = Result(subprocess.run([EXPLAIN, "--check", "--json"], capture_output=True,
                                   env=environment, timeout=60))
    (finding,) = result.answer()["findings"]
    assert (finding["severity"], finding["code"]) == (severity, code)
    assert words in finding["text"]


def test_reads_the_definitions_of_a_server_with_other_quotes(server):
    server.sql("set global sql_mode='ANSI_QUOTES';"
               "alter table resp_freq modify email varchar(100) not null")
    try:
        found = check("--json").answer()["findings"]
    finally:
        server.sql("set global sql_mode=''")
    assert [finding["code"] for finding in found] == ["column_type"]


def test_ends_within_ten_seconds_for_a_thousand_domains(server):
    server.sql("insert into domains (id, cl_id, name) select seq + 1, 1, concat('d', seq, '.example') "
               "from seq_1_to_1000; insert into mail (id, dom_id, mail_name) "
               "select seq + 1, seq + 1, 'info' from seq_1_to_1000; insert into mail_resp "
               "(id, mn_id, resp_on) select seq + 1, seq + 1, 'true' from seq_1_to_1000")
    numbers = range(1, 1001)
    (CONTROL / "virtualdomains").write_text("shop.example:shop.example\n" + "".join(
        f"d{number}.example:my-{number}\n" for number in numbers))
    assign(ASSIGNED, *(f"+my-{number}-:shop:64000:{GROUP}:{HOME}:-::" for number in numbers))
    start = time.monotonic()
    findings = check("--json").answer()["findings"]
    assert time.monotonic() - start < 10
    assert [finding["code"] for finding in findings] == ["prefix_with_dash"] * 1000


def test_the_worst_comes_first(server):
    server.limit("0")
    sandbox.SHADOW.chmod(0o644)
    server.forward(1, "-t")
    found = [finding["severity"] for finding in check("--json").answer()["findings"]]
    assert found == ["error", "error", "warning", "advice"]


def test_advises_the_repairs_only_where_a_value_is_dangerous(server):
    assert check("--json").answer()["findings"] == []
    server.forward(1, "`id`")
    codes = [finding["code"] for finding in check("--json").answer()["findings"]]
    assert codes == ["dangerous_address", "repairs_off"]
    configure(AUTORESPONDER_REPAIRS="on")
    assert check("--json").answer()["findings"] == []


def test_says_what_another_user_cannot_see(server):
    result = check("--json", user=64000, group=64000, extra_groups=[])
    found = result.answer()["findings"]
    assert {finding["severity"] for finding in found} == {"unseen"}, found
    assert result.status == 1
    texts = " ".join(finding["text"] for finding in found)
    assert "start this as root" in texts and "/etc/kem/.kem.shadow: Permission denied" in texts


def test_shows_values_as_text(server):
    server.forward(1, "\x1b[2J")
    result = check()
    assert b"\x1b" not in result.out and rb"\x1B[2J" in result.out
    assert result.out.startswith(b"error: The forwarding address")


def test_only_looks(server):
    server.forward(1, "a@b; id")
    before = server.state()
    statements = server.statements(check)
    assert server.state() == before
    assert server.mails() == [] and server.commands() == []
    assert "set session transaction read only" in statements
    changing = ("insert", "update", "delete", "replace", "alter", "create", "drop", "grant")
    assert not [text for text in statements if text.lower().startswith(changing)]
    assert not [text for text in statements if text.lower().startswith("execute")]


def test_takes_no_message(server):
    for options in (["message"], ["--rule", "1"], ["--recipient", "a@b"], ["--show-reply"],
                    ["--list", "a@b"]):
        result = check(*options)
        assert (result.status, result.out) == (2, b"")
        assert result.err.startswith(b"autoresponder-explain: ")


def test_every_code_of_the_page_is_provoked():
    page = (CHECKOUT / "packaging" / "autoresponder-explain.8").read_text()
    codes = re.findall(r"^\.Li (\w+)", page.split(".It Li code No of a finding")[1].split(".El")[0], re.M)
    # These have tests of their own, except tmp_missing: no test can remove /tmp.
    others = {"tmp_left_files", "repairs_off", "tmp_missing", "reader_fails", "reader_unconfined",
              "not_seen", "message_not_kept"}
    in_a_cluster = {code for code in codes if code.startswith("cluster_")}  # tests/cluster
    assert set(codes) - in_a_cluster == {fault[3] for fault in ALL} | others
