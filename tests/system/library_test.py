"""The lookups of the panel's library: statements as sent, results, reports; each routine with a
real database, with a connection that it is given and with its own."""

import re
import signal
import subprocess

import pytest

import panel as sandbox
from conftest import BUILD, FAULTS, NONSENSE, SANITIZED

CALLS = BUILD / "tests" / "library_calls"
SESSION = 4  # statements that opening a connection sends
ERROR = NONSENSE[:-1].decode()
A = "Unable to connect to mysql database\n"
B = "Unable to connect to the mysql database\n"
C = "get_ip_address: Unable to connect to the mysql database"
D = "Unable to connect to mysql database"

DATA = """
update domains set status = 16, htype = 'vrt_hst', params_id = 7, limits_id = 8, dns_zone_id = 9;
insert into dom_param values (1, 'colour', 'blue');
insert into Parameters values (7, 'size', 'large'), (70, 'port', '8080');
insert into DomainServices values (1, 'mail', 70);
insert into Limits values (8, 'max_box', 25);
insert into IP_Addresses values (3, '192.0.2.7');
insert into hosting values (1, 3, 'true', 'trueish');
insert into dns_zone values (9);
insert into dns_recs values (9, 'A', 'www.shop.example.');
insert into anon_ftp values (1, 'true');
"""

DOMAIN_PARAMETER = "Unable to query domain parameter {}: {}\n"


class Row:
    """A routine: a call that finds something, its statement, its result and its report."""

    def __init__(self, name, arguments, statement, found, *, none='""', null=None, connect=None,
                 warning, failed="null", key=None, fatal=False, nulled=None):
        self.name, self.arguments, self.statement, self.found = name, arguments, statement, found
        self.none, self.null, self.connect, self.failed = none, null or none, connect, failed
        self.key, self.text = key, warning
        self.warning = self.warning_about(key)
        self.fatal, self.nulled = fatal, nulled

    def warning_about(self, key):
        return self.text.format(key, ERROR) if self.key else self.text.format(ERROR)

    def __repr__(self):
        return self.name


def value_warning(statement):
    return "Unable to query parameter by query " + statement + ": {}\n"


HTYPE = "select htype from domains where id='1'"
ADMIN = "select val from misc where param='admin_email'"
NINE = "\t" * 9

# `nulled`: statements that make the value NULL.
READERS = [
    Row("get_table_value", ["1", "clients", "id", "login"],
        "select login from clients where id='1'", '"shop"', connect=B,
        warning=value_warning("select login from clients where id='1'"),
        nulled="alter table clients modify login varchar(9) null; update clients set login = NULL"),
    Row("get_misc_param", ["admin_email"], ADMIN, '"hostmaster@panel.example"', connect=B,
        warning=value_warning(ADMIN), nulled="update misc set val = NULL"),
    Row("get_domain_htype", ["1"], HTYPE, '"vrt_hst"', connect=B, warning=value_warning(HTYPE),
        nulled="alter table domains modify htype varchar(9) null; update domains set htype = NULL"),
    Row("get_ip_address", ["1"],
        "select ipa.ip_address from domains d, hosting h, IP_Addresses ipa where d.id='1' and"
        " d.id=h.dom_id and h.ip_address_id=ipa.id", '"192.0.2.7"', connect=C,
        warning="Unable to query IP address: {}\n",
        nulled="alter table IP_Addresses modify ip_address varchar(9) null;"
               "update IP_Addresses set ip_address = NULL"),
    Row("get_dom_param", ["1", "colour"],
        "select val from dom_param where dom_id='1' and param='colour'", '"blue"', connect=A,
        warning=DOMAIN_PARAMETER, key="colour", nulled="update dom_param set val = NULL"),
    Row("get_domain_param", ["1", "size"],
        "select r.value from domains d, Parameters r \t\twhere d.id='1' and d.params_id=r.id and"
        " r.parameter='size'", '"large"', connect=B, warning=DOMAIN_PARAMETER, key="size",
        nulled="update Parameters set value = NULL"),
    Row("get_service_param", ["1", "mail", "port"],
        "select r.value from DomainServices s, Parameters r \t\t\t\t where s.dom_id='1' and"
        " s.type='mail' and s.parameters_id=r.id  and r.parameter='port'", '"8080"', connect=B,
        warning=DOMAIN_PARAMETER, key="port", nulled="update Parameters set value = NULL"),
    Row("get_domain_limit", ["1", "max_box"],
        "select l.value from domains d, Limits l \t\t\t\t where d.id='1' and d.limits_id=l.id  and"
        " l.limit_name='max_box'", '"25"', connect=B,
        warning="Unable to query domain limit {}: {}\n", key="max_box",
        nulled="alter table Limits modify value int null; update Limits set value = NULL"),
    Row("is_anon_ftp_on", ["1"],
        f"select a.status from domains d, anon_ftp a {NINE}where d.id='1' and a.dom_id=d.id", "1",
        none="0", failed="0", connect=B, warning="Unable to query anon_ftp: {}\n",
        nulled="alter table anon_ftp modify status varchar(9) null;"
               "update anon_ftp set status = NULL"),
    Row("is_frontpage_on", ["shop.example", "plain"],
        f"select h.fp from domains d, hosting h {NINE}where d.name='shop.example' and"
        " h.dom_id=d.id", "1", none="0", failed="0", connect=B,
        warning="Unable to query frontpage status: {}\n",
        nulled="alter table hosting modify fp varchar(9) null; update hosting set fp = NULL"),
    Row("is_frontpage_on", ["shop.example", "ssl"],
        f"select h.fp_ssl from domains d, hosting h {NINE}where d.name='shop.example' and"
        " h.dom_id=d.id", "1", none="0", failed="0", connect=B,
        warning="Unable to query frontpage status: {}\n",
        nulled="alter table hosting modify fp_ssl varchar(9) null; update hosting set fp_ssl = NULL"),
    Row("get_dom_id", ["shop.example", "quiet"],
        "select id from domains where name='shop.example'", '"1"', none="null", connect=B,
        warning="Unable to query domain ID: {}\n", fatal=True),
    Row("get_next_id", ["domains"], "SELECT max(id) FROM domains", "2", none="1", failed="0",
        connect=B, warning="Unable to define max id: {}\n"),
    Row("get_dns_zone_id", ["1"], "select dns_zone_id from domains where id='1'", '"9"', connect=C,
        warning="Unable to query dns_zone_id: {}\n",
        nulled="update domains set dns_zone_id = NULL"),
]

WITH_HANDLE_ONLY = [
    Row("get_domain_status", ["1"], 'select status from domains where id="1"', "0 16", none="-2",
        failed="-1", warning='Unable to get status for domain with id="{}": {}\n', key="1"),
    Row("set_domain_status", ["1", "4294967295"],
        'update domains set status=4294967295 where id="1"', "0", failed="-1",
        warning='Unable to update status for domain with id="{}": {}.\n', key="1"),
    Row("get_client_id", ["1"],
        f"select c.id from domains d, clients c {NINE}where d.cl_id=c.id and d.id='1'", "1",
        none="0", failed="0", warning="Unable to define client's ID: {}\n"),
]

WRITERS = [
    Row("put_misc_param", ["n", "it's \\"], "replace into misc (param, val) values('n',"
        " 'it\\'s \\\\')", "0", failed="-1", connect=D,
        warning="Unable to put parameter {} into misc: {}\n", key="n"),
    Row("put_misc_param", ["n", "NULL"], "replace into misc (param) values('n')", "0", failed="-1",
        connect=D, warning="Unable to put parameter {} into misc: {}\n", key="n"),
    Row("put_dom_param", ["1", "n", "it's"], "replace into dom_param (dom_id, param, val)"
        " values('1', 'n', 'it\\'s')", "0", failed="-1", connect=A,
        warning="Unable to put parameter {} into dom_param: {}\n", key="n"),
    Row("put_parameter", ["7", "n", "it's"], "replace into Parameters (id, parameter, value)"
        " values('7', 'n', 'it\\'s')", "0", failed="-1", connect=A,
        warning="Unable to put parameter {} into Parameters: {}\n", key="n"),
    Row("del_misc_param", ["n"], "delete from misc where param='n'", "0", failed="-1", connect=A,
        warning="Unable to delete parameter {} from misc: {}\n", key="n"),
    Row("del_dom_param", ["1", "n"], "delete from dom_param where dom_id='1' and param='n'", "0",
        failed="-1", connect=A, warning="Unable to delete parameter {} from dom_param: {}\n",
        key="n"),
    Row("del_parameter", ["7", "n", "it's"], "delete from Parameters where id='7' and"
        " parameter='n' and value='it\\'s'", "0", failed="-1", connect=A,
        warning="Unable to delete parameter {} from Parameters: {}\n", key="n"),
    Row("del_parameter", ["7", "n", "NULL"], "delete from Parameters where id='7' and"
        " parameter='n'", "0", failed="-1", connect=A,
        warning="Unable to delete parameter {} from Parameters: {}\n", key="n"),
]

ALL = [(row, how) for row in READERS + WRITERS for how in ("own", "given")] + [
    (row, "given") for row in WITH_HANDLE_ONLY]


def without_system_error(text):
    """The client library leaves some system error number, which the report shows."""
    return re.sub(r"\n?\nSystem error \d+: [^\n]*", "", text)


class Outcome:
    def __init__(self, process):
        self.status = process.returncode
        out = without_system_error(process.stdout.decode())
        self.err = without_system_error(process.stderr.decode())
        lines = out.splitlines(keepends=True)
        # The returned value, and what was reported on standard output.
        self.result = " ".join(line[1:-1] for line in lines if line.startswith("="))
        self.out = "".join(line for line in lines if not line.startswith("="))


def call(how, name, *arguments, faults=None, env=None):
    environment = {"PATH": "/usr/bin:/bin", **(env or {})}
    if faults is not None:
        environment |= {"LD_PRELOAD": str(FAULTS), "KEM_FAULTS": faults,
                        "ASAN_OPTIONS": "verify_asan_link_order=0"}
    return Outcome(subprocess.run([CALLS, how, name, *arguments], capture_output=True,
                                  env=environment))


def reported(outcome, text, status=0):
    """Whether exactly this was reported, on both streams."""
    line = "library_calls: " + text
    assert outcome.err == line
    assert outcome.out == line
    assert outcome.status == status


@pytest.fixture
def library(panel):
    panel.sql(DATA)
    return panel


@pytest.mark.parametrize("row, how", ALL, ids=str)
def test_sends_its_statement_and_returns_what_it_finds(library, row, how):
    outcome = None

    def run():
        nonlocal outcome
        outcome = call(how, row.name, *row.arguments)
    assert library.statements(run)[SESSION:] == [row.statement]
    assert (outcome.result, outcome.err, outcome.out, outcome.status) == (row.found, "", "", 0)


@pytest.mark.parametrize("row, how", [(r, h) for r, h in ALL if r not in WRITERS
                                      and r.name != "set_domain_status"], ids=str)
def test_without_a_row(library, row, how):
    for table in ("misc", "clients", "domains", "dom_param", "Parameters", "anon_ftp"):
        library.sql(f"delete from {table}")
    outcome = call(how, row.name, *row.arguments)
    assert outcome.result == row.none


@pytest.mark.parametrize("row, how", [(r, h) for r, h in ALL if r.nulled], ids=str)
def test_a_null_counts_as_no_value(library, row, how):
    library.sql(row.nulled)
    outcome = call(how, row.name, *row.arguments)
    assert (outcome.result, outcome.err) == (row.null, "")


@pytest.mark.parametrize("row, how", ALL, ids=str)
def test_a_failing_statement_is_reported(library, row, how):
    outcome = call(how, row.name, *row.arguments, faults=f"mysql_real_query#{SESSION + 1}")
    assert outcome.result == ("" if row.fatal else row.failed)
    reported(outcome, row.warning, 1 if row.fatal else 0)


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


def test_any_other_character_is_a_key(library):
    for code in range(1, 256):
        if chr(code) not in "'\"\\":
            key = bytes([code])
            process = subprocess.run([CALLS, "given", "get_misc_param", key], capture_output=True)
            assert process.returncode == 0, key
            if SANITIZED and code > 40:
                break


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


@pytest.mark.parametrize("how", ["own", "given"])
@pytest.mark.parametrize("name, table", [
    ("put_dom_param", "dom_param"), ("put_parameter", "Parameters")])
def test_a_missing_value_is_not_written(library, how, name, table):
    outcomes = []
    sent = library.statements(lambda: outcomes.append(call(how, name, "1", "n", "NULL")))
    assert sent[SESSION:] == []
    assert outcomes[0].result == "-1"
    reported(outcomes[0], f"Unable to put parameter n into {table}: there is no value\n")


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


@pytest.mark.parametrize("value, result", [
    ("NULL", '-2'), ("'abc'", '-3'), ("'7 apples'", '0 7'), ("''", '-3')])
def test_a_status_that_is_no_number(library, value, result):
    library.sql("alter table domains modify status varchar(20) null;"
                f"update domains set status = {value}")
    outcome = call("given", "get_domain_status", "1")
    assert outcome.result == result
    if result == "-2":
        reported(outcome, 'Unable to get status for domain with id="1": such domain is not exist.\n')
    if result == "-3":
        reported(outcome, 'Unable to get status for domain with id="1": error translate status value'
                 " from char to unsigned int.\n")


# --- questions with more than one statement, and fallbacks ---------------------------------------

ZONE = ("select * from domains d, dns_zone z, dns_recs r \t\twhere d.id='1' and d.dns_zone_id=z.id"
        " and r.dns_zone_id=z.id \t\tand ((r.type='A') or (r.type='CNAME')) \t\tand"
        " left(r.host,4)='www.'")
SUBDOMAIN = "select * from subdomains \t\t\twhere dom_id='1' and name='www'"


@pytest.mark.parametrize("change, result, statements", [
    ("select 1", "1", [ZONE, SUBDOMAIN]),
    ("update dns_recs set type = 'CNAME'", "1", [ZONE, SUBDOMAIN]),
    ("update dns_recs set type = 'MX'", "0", [ZONE]),
    ("update dns_recs set host = 'ftp.shop.example.'", "0", [ZONE]),
    ("insert into subdomains values (1, 'www')", "0", [ZONE, SUBDOMAIN]),
    ("insert into subdomains values (1, 'shop')", "1", [ZONE, SUBDOMAIN]),
])
@pytest.mark.parametrize("how", ["own", "given"])
def test_has_www_alias(library, how, change, result, statements):
    library.sql(change)
    outcomes = []
    sent = library.statements(lambda: outcomes.append(call(how, "has_www_alias", "1")))
    assert (outcomes[0].result, sent[SESSION:]) == (result, statements)


@pytest.mark.parametrize("statement, what", [(1, "prefix"), (2, "subdomain")])
def test_has_www_alias_reports_a_failing_statement(library, statement, what):
    outcome = call("given", "has_www_alias", "1", faults=f"mysql_real_query#{SESSION + statement}")
    assert outcome.result == "-1"
    reported(outcome, f"Unable to query www {what}: {ERROR}\n")


def test_has_www_alias_without_a_connection(library):
    sandbox.SHADOW.unlink()
    outcome = call("own", "has_www_alias", "1")
    assert outcome.result == "-1" and outcome.err.endswith(f"library_calls: {B}")


EMAIL = f"select c.email from domains d, clients c {NINE}where d.cl_id=c.id and d.id='1'"


@pytest.mark.parametrize("change, result, statements", [
    ("select 1", '"grete@customer.example"', [EMAIL]),
    ("update clients set email = ''", '"hostmaster@panel.example"', [EMAIL, ADMIN]),
    ("update clients set email = NULL", '"hostmaster@panel.example"', [EMAIL, ADMIN]),
    ("delete from domains", '"hostmaster@panel.example"', [EMAIL, ADMIN]),
])
def test_get_client_email(library, change, result, statements):
    library.sql(change)
    outcomes = []
    sent = library.statements(lambda: outcomes.append(call("given", "get_client_email", "1")))
    assert (outcomes[0].result, sent[SESSION:]) == (result, statements)
    assert call("own", "get_client_email", "1").result == result


def test_get_client_email_without_any(library):
    library.sql("delete from clients; delete from misc")
    outcome = call("given", "get_client_email", "1")
    assert outcome.result == "null"
    reported(outcome, "Unable to define admin email\n")


def test_get_client_email_reports_a_failing_statement(library):
    outcome = call("own", "get_client_email", "1", faults=f"mysql_real_query#{SESSION + 1}")
    assert outcome.result == "null"
    reported(outcome, f"Unable to define clients email: {ERROR}\n")


def test_get_client_email_without_a_connection(library):
    sandbox.SHADOW.unlink()
    outcome = call("own", "get_client_email", "1")
    assert outcome.result == "null" and outcome.err.endswith(f"library_calls: {B}")


@pytest.mark.parametrize("length", [4094, 4095, 4096, 4097, 9000])
def test_results_are_cut_at_their_bounds(library, length):
    library.sql("alter table clients modify email text;"
                f"update clients set email = repeat('e', {length});"
                f"update misc set val = repeat('v', {length});"
                f"update dom_param set val = repeat('p', {length})")
    assert call("own", "get_client_email", "1").result == '"' + "e" * min(length, 4096) + '"'
    assert call("own", "get_misc_param", "admin_email").result == \
        '"' + "v" * min(length, 4095) + '"'
    assert call("own", "get_dom_param", "1", "colour").result == \
        '"' + "p" * min(length, 4095) + '"'


def test_query_value_cuts_its_value(library):
    for length in (4095, 4096, 9000):
        query = f"select repeat('q', {length})"
        assert call("own", "query_value", query, "0").result == '"' + "q" * min(length, 4095) + '"'


def test_query_value_sends_its_query_whole(library):
    query = "select 'found' from domains where name in ('shop.example'" + ", 'x'" * 1000 + ")"
    assert call("own", "query_value", query, "0").result == '"found"'


@pytest.mark.parametrize("routine, arguments, start", [
    ("get_dom_id", ["quiet"], "select id from domains where name='"),
    ("get_domain_name", [], "select name from domains where name='")])
def test_a_statement_is_cut(library, routine, arguments, start):
    """The cut statement ends within quotes, so it fails."""
    name = ".".join(["d" * 49] * 100)
    outcomes = []
    sent = library.statements(lambda: outcomes.append(call("given", routine, name, *arguments)))
    assert sent[-1] == (start + name)[:4095]
    assert outcomes[0].status == 1


def test_the_statement_of_put_misc_param_is_not_cut(library):
    value = "v" * 9000
    assert call("own", "put_misc_param", "long", value).result == "0"
    assert library.sql("select val from misc where param='long'").strip() == value


def test_the_text_of_an_error_is_cut_to_the_buffer(library):
    for size, want in (("8", "DB erro"), ("1", ""), ("200", None)):
        outcome = call("given", "db_error_text", size, "context")
        if want is not None:
            assert outcome.result == f'"{want}"'
        else:
            assert outcome.result == '"DB error (context): unknown error"'


@pytest.mark.parametrize("value, on", [
    ("true", "1"), ("trueish", "1"), ("True", "0"), ("tru", "0"), ("false", "0"), ("", "0")])
def test_only_the_first_four_letters_count(library, value, on):
    library.sql(f"update anon_ftp set status = '{value}'; update hosting set fp = '{value}'")
    assert call("own", "is_anon_ftp_on", "1").result == on
    assert call("own", "is_frontpage_on", "shop.example", "plain").result == on


def test_get_dom_id_looks_for_the_ascii_form(library):
    library.sql("insert into domains (id, name, cl_id) values (5, 'xn--mller-kva.example', 1)")
    outcomes = []
    sent = library.statements(
        lambda: outcomes.append(call("given", "get_dom_id_strict", "müller.example")))
    assert outcomes[0].result == '"5"'
    assert sent[SESSION:] == ["select id from domains where name='xn--mller-kva.example'"]


def test_get_dom_id_of_an_unknown_domain(library):
    assert call("own", "get_dom_id", "nowhere.example", "quiet").result == "null"
    for call_of in (["get_dom_id", "nowhere.example", "loud"],
                    ["get_dom_id_strict", "nowhere.example"]):
        outcome = call("own", *call_of)
        assert outcome.result == ""
        reported(outcome, "get_dom_id(): domains record not found in DB for 'nowhere.example'\n", 1)


def test_get_dom_id_of_null(library):
    assert call("own", "get_dom_id", "NULL", "quiet").result == "null"
    outcome = call("own", "get_dom_id_strict", "NULL")
    assert outcome.result == ""
    reported(outcome, "get_dom_id(): domains record not found in DB for '(null)'\n", 1)


def test_get_dom_id_of_a_name_without_an_ascii_form(library):
    reported(call("own", "get_dom_id", "x" * 64 + ".example", "quiet"),
             "idn_toascii() failed: Invalid length\n", 1)


def test_get_dom_id_does_not_let_a_wide_quote_out(library):
    outcome = call("given", "get_dom_id", "x\N{FULLWIDTH APOSTROPHE}y", "quiet")
    assert outcome.status == -signal.SIGABRT


@pytest.mark.parametrize("stored, asked, result", [
    ("Shop.EXAMPLE", "shop.example", '"shop.example"'), ("x", "nowhere.example", "null")])
def test_get_domain_name(library, stored, asked, result):
    library.sql(f"update domains set name = '{stored}'; drop table misc;"
                "create table misc (param varchar(99), val text);"
                "insert into misc values ('mysql41_compatible', 'true')")
    outcomes = []
    sent = library.statements(lambda: outcomes.append(call("own", "get_domain_name", asked)))
    assert outcomes[0].result == result
    assert sent[SESSION:] == [f"select name from domains where name='{asked}'"]


def test_get_domain_name_ends_without_a_connection_and_with_a_failing_statement(library):
    outcome = call("own", "get_domain_name", "x", faults=f"mysql_real_query#{SESSION + 1}")
    reported(outcome, f"Unable to query domain name: {ERROR}\n", 1)
    sandbox.SHADOW.unlink()
    outcome = call("own", "get_domain_name", "x")
    assert outcome.status == 1 and outcome.err.endswith(f"library_calls: {B}")


@pytest.mark.parametrize("key", ["'", '"', "\\"])
@pytest.mark.parametrize("name", ["get_domain_name", "has_www_alias", "get_client_email",
                                  "get_dom_id_strict"])
def test_keys_of_the_others_are_checked_too(library, name, key):
    assert call("own", name, key).status == -signal.SIGABRT


@pytest.mark.parametrize("value, result, status", [
    (None, "0", 0), ("1", "1", 0), ("2", "2", 0), ("3", "3", 0),
    ("0", "", 1), ("4", "", 1), ("-1", "", 1), ("", "", 1), ("x", "", 1)])
def test_get_run_mode(library, value, result, status):
    env = {} if value is None else {"KEM_RUN_MODE": value}
    outcome = call("own", "get_run_mode", env=env)
    assert (outcome.result, outcome.status) == (result, status)
    if status:
        reported(outcome, "unrecognized KEM_RUNMODE\n", 1)


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


@pytest.mark.parametrize("version, mode", [("3.23.58", "0"), ("4.0.27", "0"), ("4.1.0", "1")])
def test_the_mode_of_an_old_server(library, version, mode):
    library.sql("insert into misc values ('mysql41_compatible', 'true')")
    library.database.restart(f"--version={version}")
    try:
        assert call("given", "db_get_utf8_mode").result == mode
    finally:
        library.database.restart()


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
    ("   QMAIL_ROOT_D     /var/qmail   \n", '"/var/qmail"'),
    ("QMAIL_ROOT_D\t/var/qmail\r\n", '"/var/qmail"'),
    ("QMAIL_ROOT_D /first\nQMAIL_ROOT_D /second\n", '"/first"'),
    ("QMAIL_ROOT_D /with inner  spaces\n", '"/with inner  spaces"'),
    ("QMAIL_ROOT_D /no/newline", '"/no/newline"'),
    ("QMAIL_ROOT_D /kept at the end  ", '"/kept at the end  "'),
    ("QMAIL_ROOT_D_X /other\nQMAIL_ROOT_D /this\n", '"/this"'),
    ("\n\n \t \nQMAIL_ROOT_D /after/blanks\n", '"/after/blanks"'),
    ("QMAIL_ROOT_D\nQMAIL_ROOT_D /second/has/a/value\n", '"/second/has/a/value"'),
    ("QMAIL_ROOT_D\v/v\f\n", '"/v"'),
    ("#QMAIL_ROOT_D /x\n", None), ("qmail_root_d /x\n", None), ("QMAIL_ROOT_D\n", None),
    ("QMAIL_ROOT_D", None), ("QMAIL_ROOT_D   ", None), ("QMAIL_ROOT_D=/x\n", None), ("\n", None),
    ("x" * 100000 + "\nQMAIL_ROOT_D " + "y" * 100000 + "\n", '"' + "y" * 100000 + '"'),
], ids=lambda value: repr(value)[:40])
def test_the_configuration_file(library, text, value):
    sandbox.CONF.write_bytes(text.encode())
    outcome = call("own", "conf_require", "QMAIL_ROOT_D")
    assert outcome.result == (value or "")
    if value is None:
        reported(outcome, "Error: QMAIL_ROOT_D not defined\n", 1)


@pytest.mark.skipif(SANITIZED, reason="valgrind and the sanitizers exclude each other")
@pytest.mark.parametrize("row, how", [(r, h) for r, h in ALL if h == "own" or r.connect is None],
                         ids=str)
def test_nothing_leaks(library, row, how):
    process = subprocess.run(
        ["valgrind", "-q", "--error-exitcode=99", "--leak-check=full",
         "--errors-for-leak-kinds=definite", CALLS, how, row.name, *row.arguments],
        capture_output=True)
    assert process.returncode == 0, process.stderr.decode()
