"""The lookups of the panel's library that do more than one statement, and their bounds."""

import signal

import pytest

import panel as sandbox
from library_caller import SESSION, ERROR, B, ADMIN, NINE, call, reported, library

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


@pytest.mark.skipif(sandbox.MYSQL_ROOT is not None,
                    reason="MySQL's log leaves out statements that it cannot read")
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
