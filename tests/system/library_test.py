"""The lookups of the panel's library: statements as sent, results, reports; each routine with a
real database, with a connection that it is given and with its own."""

import re
import signal

import pytest

import panel as sandbox
from library_caller import SESSION, ERROR, call, reported, library
from library_rows import READERS, WITH_HANDLE_ONLY, WRITERS, ALL


@pytest.mark.parametrize("row, how", ALL, ids=str)
def test_sends_its_statement_and_returns_what_it_finds(library, row, how):
    outcome = None

    def run():
        nonlocal outcome
        outcome = call(how, row.name, *row.arguments)
    assert library.statements(run)[SESSION:] == [row.statement]
    assert (outcome.result, outcome.err, outcome.out, outcome.status) == (row.found, "", "", 0)


@pytest.mark.parametrize("row, how", [(r, h) for r, h in ALL if r.key], ids=str)
def test_a_failing_statement_for_a_null_key_is_reported(library, row, how):
    arguments = ["NULL" if argument == row.key else argument for argument in row.arguments]
    outcome = call(how, row.name, *arguments, faults=f"mysql_real_query#{SESSION + 1}")
    assert outcome.result == row.failed
    reported(outcome, row.warning_about("(null)"))


@pytest.mark.parametrize("row, how", [(r, h) for r, h in ALL if r not in WRITERS
                                      and r.name not in ("get_next_id", "set_domain_status")],
                         ids=str)
def test_a_null_key_is_looked_for_as_a_text(library, row, how):
    arguments = ["NULL", *row.arguments[1:]]
    outcomes = []
    sent = library.statements(lambda: outcomes.append(call(how, row.name, *arguments)))
    assert sent[SESSION:] == [re.sub(rf"(['\"]){re.escape(row.arguments[0])}\1", r"\1(null)\1",
                                     row.statement, count=1)]
    assert outcomes[0].result == row.none


@pytest.mark.parametrize("row", READERS + WRITERS, ids=str)
def test_a_missing_connection_is_reported(library, row):
    sandbox.SHADOW.unlink()
    outcome = call("own", row.name, *row.arguments)
    assert outcome.result == row.failed
    reported(outcome, "Unable to open admin password file: No such file or directory\n"
             f"library_calls: {row.connect.rstrip()}\n")


@pytest.mark.parametrize("row, how", [(row, "given") for row in WITH_HANDLE_ONLY]
                         + [(row, "own") for row in READERS + WRITERS], ids=str)
@pytest.mark.parametrize("character", ["'", '"', "\\"])
def test_a_key_that_would_leave_its_quotes_aborts(library, row, how, character):
    keys = len(row.arguments)
    if row.name in ("get_table_value", "is_frontpage_on", "get_dom_id", "set_domain_status",
                    "put_misc_param"):
        keys = 1
    if row.name in ("put_dom_param", "put_parameter", "del_parameter"):
        keys = 2
    for position in range(keys):
        arguments = list(row.arguments)
        arguments[position] = f"a{character}b"
        outcomes = []
        sent = library.statements(lambda: outcomes.append(call(how, row.name, *arguments)))
        (outcome,) = outcomes
        assert outcome.status == -signal.SIGABRT
        file = "put" if row in WRITERS or row.name == "set_domain_status" else "get"
        assert re.search(rf"(^|: ){file}:\d+: ", outcome.err)
        assert 'param_val == NULL || strpbrk(param_val, "\\\\\\"\'") == NULL' in outcome.err
        assert sent[SESSION:] == [] if how == "given" else sent == []


def test_what_the_writers_wrote_can_be_read(library):
    for value in ("it's \\ \"quoted\"", "", "Grüße"):
        assert call("own", "put_misc_param", "n", value).result == "0"
        assert call("own", "get_misc_param", "n").result == f'"{value}"'
        assert call("own", "put_dom_param", "1", "n", value).result == "0"
        assert call("own", "get_dom_param", "1", "n").result == f'"{value}"'
        assert call("own", "put_parameter", "7", "n", value).result == "0"
        assert call("own", "get_domain_param", "1", "n").result == f'"{value}"'
        assert call("own", "del_parameter", "7", "n", "other").result == "0"
        assert call("own", "get_domain_param", "1", "n").result == f'"{value}"'
        assert call("own", "del_parameter", "7", "n", value).result == "0"
        assert call("own", "get_domain_param", "1", "n").result == '""'


@pytest.mark.parametrize("largest, following", [
    ("-5", "-4"), ("9223372036854775806", "9223372036854775807")])
def test_the_next_id(library, largest, following):
    library.sql(f"alter table domains modify id bigint; update domains set id = {largest}")
    outcome = call("own", "get_next_id", "domains")
    assert (outcome.result, outcome.err) == (following, "")


@pytest.mark.parametrize("largest", ["9223372036854775807", "18446744073709551615"])
def test_after_the_largest_number_there_is_no_next_id(library, largest):
    library.sql(f"alter table domains modify id bigint unsigned; update domains set id = {largest}")
    outcome = call("own", "get_next_id", "domains")
    assert outcome.result == "0"
    reported(outcome, f"Unable to define max id: there is no number after {largest}\n")


def test_each_routine_has_a_result_buffer_of_its_own(library):
    library.sql("update clients set email = ''; update misc set val = 'admin@panel.example';"
                "insert into misc values ('n', 'setting')")
    assert call("given", "results_kept").result == \
        '"query" "shop" "setting" "vrt_hst" "192.0.2.7" "blue" "large" "8080" "25"' \
        ' "admin@panel.example" "1" "shop.example" "9"'


# --- one value from one query, the session, the files --------------------------------------------
@pytest.mark.parametrize("how", ["own", "given"])
def test_query_value(library, how):
    assert call(how, "query_value", "select 'a', 'b', NULL", "1").result == '"b"'
    assert call(how, "query_value", "select 'a', 'b', NULL", "2").result == '""'
    assert call(how, "query_value", "select 1 from domains where 0", "0").result == '""'
    assert call(how, "query_value", "select 'a', 'b'", "2").result == '""'
    assert call(how, "query_value", "select 'a', 'b'", "4294967295").result == '""'
    assert call(how, "query_first_value", "select 'a', 'b'").result == '"a"'
    outcome = call(how, "query_first_value", "nonsense")
    assert outcome.result == "null"
    reported(outcome, f"Unable to query parameter by query nonsense: {ERROR}\n")


@pytest.mark.parametrize("setting, mode", [("true", "1"), ("false", "0"), ("", "0")])
def test_utf8_mode(library, setting, mode):
    library.sql(f"insert into misc values ('mysql41_compatible', '{setting}')")
    assert call("own", "db_get_utf8_mode").result == "-1"
    assert call("given", "db_get_utf8_mode").result == mode
    assert call("own", "db_probe_utf8_mode").result == mode


def test_probing_asks_once(library):
    sent = library.statements(lambda: call("given", "db_probe_utf8_mode"))
    assert len(sent) == SESSION
    assert len(library.statements(lambda: call("own", "db_probe_utf8_mode"))) == SESSION


@pytest.mark.parametrize("setting, mode", [("true", "1"), ("false", "0")])
def test_the_mode_is_known_even_where_the_session_could_not_be_set_to_it(library, setting, mode):
    library.sql(f"insert into misc values ('mysql41_compatible', '{setting}')")
    outcome = call("own", "db_probe_utf8_mode", faults=f"mysql_real_query#{SESSION}")
    assert outcome.result == mode
    reported(outcome, f"DB error (set names query) 1064: {ERROR}\n")


def test_the_mode_stays_unknown_where_the_setting_cannot_be_read(library):
    outcome = call("own", "db_probe_utf8_mode", faults=f"mysql_real_query#{SESSION - 1}")
    assert outcome.result == "-1"
    reported(outcome, f"DB error (mysql41 compatible query) 1064: {ERROR}\n")


def test_probing_without_a_database_leaves_the_mode_unknown(library):
    sandbox.SHADOW.unlink()
    outcome = call("own", "db_probe_utf8_mode")
    assert (outcome.result, outcome.status) == ("-1", 0)


def test_the_older_password_reader(library):
    sandbox.SHADOW.write_text("p" * 120 + "\n")
    assert call("own", "read_admin_password_file").result == '"' + "p" * 99 + '"'
    sandbox.SHADOW.write_text("secret\nmore\n")
    assert call("own", "read_admin_password_file").result == '"secret"'
    sandbox.SHADOW.write_text("")
    reported(call("own", "read_admin_password_file"), "Unable to read admin password file\n", 1)
    sandbox.SHADOW.unlink()
    reported(call("own", "read_admin_password_file"), "Unable to open admin password file\n", 1)


def test_conf_require(library):
    assert call("own", "conf_require", "QMAIL_ROOT_D").result == '"/run/panel/qmail"'
    reported(call("own", "conf_require", "NO_SUCH_KEY"), "Error: NO_SUCH_KEY not defined\n", 1)
    assert call("own", "certificates_dir").result == '"/opt/panel/product_root_d/var/certificates"'


@pytest.mark.parametrize("text, value", [
    ("QMAIL_ROOT_D\t/var/qmail\r\n", '"/var/qmail"'), ("QMAIL_ROOT_D /no/newline", '"/no/newline"'),
    ("QMAIL_ROOT_D\n", None), ("QMAIL_ROOT_D   ", None), ("\n", None),
    ("x" * 100000 + "\nQMAIL_ROOT_D " + "y" * 100000 + "\n", '"' + "y" * 100000 + '"'),
], ids=lambda value: repr(value)[:40])
def test_the_configuration_file(library, text, value):
    sandbox.CONF.write_bytes(text.encode())
    outcome = call("own", "conf_require", "QMAIL_ROOT_D")
    assert outcome.result == (value or "")
    if value is None:
        reported(outcome, "Error: QMAIL_ROOT_D not defined\n", 1)
