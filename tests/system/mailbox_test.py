"""From the recipient's address to its mailbox, and the session in which it is looked up."""

import re

import pytest

import panel as sandbox
from conftest import NONSENSE, SANITIZED, message

SESSION = [
    "set foreign_key_checks=0",
    "SHOW VARIABLES LIKE 'version'",
    "SELECT val FROM misc WHERE param='mysql41_compatible'",
    "SET NAMES binary",
]


def lookups(domain, mail_name):
    return [
        "select m.id, m.mail_name, d.name from mail m, domains d where m.dom_id=d.id and"
        f" d.name='{domain}' and m.mail_name='{mail_name}'",
        "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d where"
        f" m.id=ma.mn_id and m.dom_id=d.id and d.name='{domain}' and ma.alias='{mail_name}'",
        "select m.id, m.mail_name, d.name from mail m, domains d, domainaliases da where"
        f" m.dom_id=d.id and d.id=da.dom_id and da.name='{domain}' and m.mail_name='{mail_name}'"
        " and da.mail='true'",
        "select m.id, m.mail_name, d.name from mail m, mail_aliases ma, domains d, domainaliases da"
        f" where m.id=ma.mn_id and m.dom_id=d.id and d.id=da.dom_id and da.name='{domain}'"
        f" and ma.alias='{mail_name}' and da.mail='true'",
    ]


RULES = ("select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to,"
         " charset, content_type from mail_resp where mn_id=1")

ALIASES = """
insert into mail_aliases (mn_id, alias) values (1, 'sales');
insert into domainaliases (dom_id, name, mail) values (1, 'laden.example', 'true');
insert into domainaliases (dom_id, name, mail) values (1, 'web.example', 'false');
"""


@pytest.mark.parametrize("recipient, tried", [
    ("info@shop.example", 1),
    ("sales@shop.example", 2),
    ("info@laden.example", 3),
    ("sales@laden.example", 4),
])
def test_asks_from_the_most_direct_to_the_most_indirect(panel, recipient, tried):
    panel.sql(ALIASES)
    mail_name, domain = recipient.split("@")
    sent = panel.statements(lambda: panel.run(message(), recipient=recipient))
    assert sent == SESSION + lookups(domain, mail_name)[:tried] + [RULES]


@pytest.mark.parametrize("recipient", ["info@web.example", "sales@web.example", "x@shop.example"])
def test_reports_an_address_without_a_mailbox(panel, recipient):
    panel.sql(ALIASES)
    panel.rule()
    result = panel.run(message(), recipient=recipient)
    assert (result.status, result.err.decode()) == (
        0, f"autoresponder: Mailname not found: {recipient}\n")
    assert panel.mails() == []


@pytest.mark.parametrize("recipient, escaped", [
    ("o'brien@shop.example", ("shop.example", "o\\'brien")),
    ("x@y' or '1'='1", ("y\\' or \\'1\\'=\\'1", "x")),
    ('a"b\\c@d', ("d", 'a\\"b\\\\c')),
])
def test_escapes_both_halves_of_the_address(panel, recipient, escaped):
    panel.rule()
    sent = panel.statements(lambda: panel.run(message(), recipient=recipient))
    assert sent[len(SESSION):] == lookups(*escaped)
    assert panel.mails() == []


def test_takes_the_first_of_several_mailboxes(panel):
    panel.sql("insert into mail (id, dom_id, mail_name) values (2, 1, 'second');"
              "insert into mail_aliases (mn_id, alias) values (1, 'both'), (2, 'both');")
    panel.rule(mn_id=1, text="first")
    panel.rule(mn_id=2, text="second")
    panel.run(message(), recipient="both@shop.example")
    assert [b"first" in mail.message for mail in panel.mails()] == [True]


@pytest.mark.parametrize("table, lookup", [
    ("mail", 1), ("mail_aliases", 2), ("domainaliases", 3)])
def test_ends_the_run_when_a_lookup_fails(panel, table, lookup):
    panel.rule()
    panel.sql(f"drop table {table}")
    sent = []
    result = None

    def run():
        nonlocal result
        result = panel.run(message(), recipient="x@y")
    sent = panel.statements(run)
    assert len(sent) == len(SESSION) + lookup
    assert (result.status, result.out) == (0, b"")
    assert result.err.decode() == (
        f"autoresponder: Unable to query: Table 'kem.{table}' doesn't exist\n")


def test_ends_the_run_when_the_fourth_lookup_fails(panel):
    result = panel.run(message(), recipient="x@y", faults="mysql_real_query#8")
    assert (result.status, result.err) == (0, b"autoresponder: Unable to query: " + NONSENSE)


@pytest.mark.skipif(SANITIZED, reason="the sanitizer answers malloc itself; other builds run this")
@pytest.mark.parametrize("size, recipient", [
    (2 * 1234 + 1, "x@" + "d" * 1234), (2 * 1234 + 1, "m" * 1234 + "@y")],
    ids=["domain", "mail name"])
def test_ends_the_run_without_memory_to_escape_the_address(panel, size, recipient):
    result = panel.run(message(), recipient=recipient, faults=f"malloc={size}")
    assert (result.status, result.err) == (0, b"autoresponder: Unable to alloc memory\n")


# --- the session ---------------------------------------------------------------------------------

NOT_CONNECTED = b"autoresponder: Unable to connect to the mysql database \n"


def without_system_error(text):
    """The client library leaves some system error number, which the report shows."""
    return re.sub(rb"\nSystem error \d+: [^\n]*", b"", text)


def assert_not_connected(result, why, clean=without_system_error):
    warning = b"autoresponder: " + why + b"\n"
    assert result.status == 0
    assert clean(result.err) == warning + NOT_CONNECTED
    assert clean(result.out) == warning


def exactly(text):
    return text


def test_reports_a_missing_password_file(panel):
    sandbox.SHADOW.unlink()
    assert_not_connected(panel.run(message()),
                         b"Unable to open admin password file: No such file or directory"
                         b"\nSystem error 2: No such file or directory", exactly)


def test_reports_an_empty_password_file(panel):
    sandbox.SHADOW.write_text("")
    # Reading nothing sets no error number: the text is that of an earlier failure.
    result = panel.run(message())
    assert result.status == 0
    assert re.match(rb"autoresponder: Unable to read admin password file: [^\n]+\n", result.err)
    assert result.err.endswith(NOT_CONNECTED)


def test_reports_a_wrong_password(panel):
    sandbox.write_shadow("wrong")
    assert_not_connected(
        panel.run(message()), b"Unable to connect to Quern Database: Access denied for user"
        b" 'admin'@'localhost' (using password: YES)")


def test_reports_a_client_library_without_memory(panel):
    assert_not_connected(
        panel.run(message(), faults="mysql_init"),
        b"Unable to initialize MySQL connection structure: Cannot allocate memory"
        b"\nSystem error 12: Cannot allocate memory", exactly)


@pytest.mark.parametrize("written, password", [
    ("no newline", "no newline"),
    ("p" * 99 + "\n", "p" * 99),
    ("p" * 150 + "\n", "p" * 99),
    ("first\nsecond\n", "first"),
    ("cr\r\n", "cr\r"),
])
def test_uses_the_first_line_of_the_password_file(panel, written, password):
    panel.rule()
    sandbox.SHADOW.write_bytes(written.encode())
    panel.sql(f"set password for 'admin'@'localhost' = password('{password}')")
    try:
        assert panel.run(message()).err == b""
    finally:
        panel.sql(f"set password for 'admin'@'localhost' = password('{sandbox.PASSWORD}')")
    assert len(panel.mails()) == 1


@pytest.mark.parametrize("value, names", [
    ("true", "utf8"), ("yes", "utf8"), ("FALSE", "utf8"), ("0", "utf8"),
    ("false", "binary"), ("", "binary"), (None, "binary"),
])
def test_chooses_the_character_set_by_the_setting(panel, value, names):
    text = "NULL" if value is None else f"'{value}'"
    panel.sql(f"insert into misc (param, val) values ('mysql41_compatible', {text})")
    sent = panel.statements(lambda: panel.run(message()))
    assert sent[:4] == SESSION[:3] + [f"SET NAMES {names}"]


def test_reports_a_failing_query_for_the_setting(panel):
    panel.sql("drop table misc")
    assert_not_connected(panel.run(message()),
                         b"DB error (mysql41 compatible query) 1146: Table 'kem.misc' doesn't exist")


@pytest.mark.parametrize("statement, context", [
    (2, b"query version"), (3, b"mysql41 compatible query"), (4, b"set names query")])
def test_reports_a_failing_statement_of_the_session(panel, statement, context):
    assert_not_connected(panel.run(message(), faults=f"mysql_real_query#{statement}"),
                         b"DB error (" + context + b") 1064: " + NONSENSE[:-1])


def test_does_not_mind_a_failing_switch_of_foreign_keys(panel):
    panel.rule()
    assert panel.run(message(), faults="mysql_real_query#1").err == b""
    assert len(panel.mails()) == 1


def test_reports_a_version_without_a_result(panel):
    assert_not_connected(panel.run(message(), faults="mysql_store_result#1"),
                         b"DB error (store query result): unknown error")


def test_reports_a_version_without_a_row(panel):
    assert_not_connected(panel.run(message(), faults="mysql_fetch_row#1"),
                         b"DB error (fetch version row): unknown error")


def test_reports_an_empty_version(panel):
    assert_not_connected(panel.run(message(), faults="null_columns#1"),
                         b"DB error (empty version result): unknown error")


@pytest.mark.parametrize("version, names", [
    ("3.23.58", 0), ("4.0.27", 0), ("4.1.0", 1), ("4.00", 1), ("30.1", 1)])
def test_an_old_server_is_not_asked_for_a_character_set(panel, version, names):
    panel.rule()
    panel.database.restart(f"--version={version}")
    try:
        sent = panel.statements(lambda: panel.run(message()))
    finally:
        panel.database.restart()
    assert sent[:2] == SESSION[:2]
    assert sum(statement.startswith("SET NAMES") for statement in sent) == names
    assert len(panel.mails()) == 1


def test_counts_a_missing_result_of_the_setting_as_no_setting(panel):
    panel.sql("insert into misc (param, val) values ('mysql41_compatible', 'true')")
    sent = panel.statements(lambda: panel.run(message(), faults="mysql_store_result#2"))
    assert sent[3] == "SET NAMES binary"


def test_reports_a_database_that_is_down(panel):
    panel.database.stop()
    try:
        result = panel.run(message())
    finally:
        panel.database.start()
    assert_not_connected(
        result, b"Unable to connect to Quern Database: Can't connect to local server through socket"
        b" '/run/mysqld/mysqld.sock' (2)\nSystem error 2: No such file or directory", exactly)
