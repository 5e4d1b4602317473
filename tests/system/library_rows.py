"""The lookups of the panel's library: their statements, what they return, and their diagnostics."""

from library_caller import ERROR, B, ADMIN, NINE

A = "Unable to connect to mysql database\n"
C = "get_ip_address: Unable to connect to the mysql database"
D = "Unable to connect to mysql database"

DOMAIN_PARAMETER = "Unable to query domain parameter {}: {}\n"


class Row:
    """A routine: a call that finds something, its statement, its result and its report."""

    def __init__(self, name, arguments, statement, found, *, none='""', connect=None,
                 warning, failed="null", key=None):
        self.name, self.arguments, self.statement, self.found = name, arguments, statement, found
        self.none, self.connect, self.failed = none, connect, failed
        self.key, self.text = key, warning
        self.warning = self.warning_about(key)

    def warning_about(self, key):
        return self.text.format(key, ERROR) if self.key else self.text.format(ERROR)

    def __repr__(self):
        return self.name


def value_warning(statement):
    return "Unable to query parameter by query " + statement + ": {}\n"


HTYPE = "select htype from domains where id='1'"

READERS = [
    Row("get_table_value", ["1", "clients", "id", "login"],
        "select login from clients where id='1'", '"shop"', connect=B,
        warning=value_warning("select login from clients where id='1'")),
    Row("get_misc_param", ["admin_email"], ADMIN, '"hostmaster@panel.example"', connect=B,
        warning=value_warning(ADMIN)),
    Row("get_domain_htype", ["1"], HTYPE, '"vrt_hst"', connect=B, warning=value_warning(HTYPE)),
    Row("get_ip_address", ["1"],
        "select ipa.ip_address from domains d, hosting h, IP_Addresses ipa where d.id='1' and"
        " d.id=h.dom_id and h.ip_address_id=ipa.id", '"192.0.2.7"', connect=C,
        warning="Unable to query IP address: {}\n"),
    Row("get_dom_param", ["1", "colour"],
        "select val from dom_param where dom_id='1' and param='colour'", '"blue"', connect=A,
        warning=DOMAIN_PARAMETER, key="colour"),
    Row("get_domain_param", ["1", "size"],
        "select r.value from domains d, Parameters r \t\twhere d.id='1' and d.params_id=r.id and"
        " r.parameter='size'", '"large"', connect=B, warning=DOMAIN_PARAMETER, key="size"),
    Row("get_service_param", ["1", "mail", "port"],
        "select r.value from DomainServices s, Parameters r \t\t\t\t where s.dom_id='1' and"
        " s.type='mail' and s.parameters_id=r.id  and r.parameter='port'", '"8080"', connect=B,
        warning=DOMAIN_PARAMETER, key="port"),
    Row("get_domain_limit", ["1", "max_box"],
        "select l.value from domains d, Limits l \t\t\t\t where d.id='1' and d.limits_id=l.id  and"
        " l.limit_name='max_box'", '"25"', connect=B,
        warning="Unable to query domain limit {}: {}\n", key="max_box"),
    Row("is_anon_ftp_on", ["1"],
        f"select a.status from domains d, anon_ftp a {NINE}where d.id='1' and a.dom_id=d.id", "1",
        none="0", failed="0", connect=B, warning="Unable to query anon_ftp: {}\n"),
    Row("is_frontpage_on", ["shop.example", "plain"],
        f"select h.fp from domains d, hosting h {NINE}where d.name='shop.example' and"
        " h.dom_id=d.id", "1", none="0", failed="0", connect=B,
        warning="Unable to query frontpage status: {}\n"),
    Row("is_frontpage_on", ["shop.example", "ssl"],
        f"select h.fp_ssl from domains d, hosting h {NINE}where d.name='shop.example' and"
        " h.dom_id=d.id", "1", none="0", failed="0", connect=B,
        warning="Unable to query frontpage status: {}\n"),
    Row("get_dom_id", ["shop.example", "quiet"],
        "select id from domains where name='shop.example'", '"1"', none="null", connect=B,
        warning="Unable to query domain ID: {}\n"),
    Row("get_next_id", ["domains"], "SELECT max(id) FROM domains", "2", none="1", failed="0",
        connect=B, warning="Unable to define max id: {}\n"),
    Row("get_dns_zone_id", ["1"], "select dns_zone_id from domains where id='1'", '"9"', connect=C,
        warning="Unable to query dns_zone_id: {}\n"),
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
