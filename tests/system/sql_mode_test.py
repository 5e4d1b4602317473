"""A server to which a backslash in a literal is a plain character (NO_BACKSLASH_ESCAPES): no text
of a stranger or of the caller ends its literal."""

import pytest

from conftest import message

TEXTS = ["o'neil", "back\\slash", "end\\", "quote\\'", "' or '1'='1", "\\' or 1=1 -- "]


@pytest.fixture(params=["", "NO_BACKSLASH_ESCAPES"], ids=["usual mode", "no backslash escapes"])
def mode(panel, request):
    panel.sql(f"set global sql_mode = '{request.param}'")
    yield request.param
    panel.sql("set global sql_mode = ''")


def literal(text, mode):
    """The text as it is in a statement."""
    if mode:
        return text.replace("'", "''")
    return text.replace("\\", "\\\\").replace("'", "\\'")


@pytest.mark.parametrize("text", TEXTS)
def test_the_lookups_of_the_mailbox(panel, mode, text):
    statements = panel.statements(lambda: panel.run(
        message(), recipient=f"shop.example-{text}@{text}.example"))
    lookups = [line for line in statements if line.startswith("select m.id")]
    assert len(lookups) == 4
    quoted = literal(text, mode)
    for line in lookups:
        assert f"name='{quoted}.example'" in line
        assert line.count(f"='{quoted}'") == 1


@pytest.mark.parametrize("text", TEXTS)
def test_a_mailbox_with_such_a_name_is_found(panel, mode, text):
    panel.sql("set sql_mode=''; insert into mail (id, dom_id, mail_name) values (9, 1, '"
              + literal(text, "") + "')")
    panel.rule(mn_id=9)
    panel.run(message(), recipient=f"x-{text}@shop.example")
    assert panel.senders() == [(panel.sql("select id from mail_resp").strip(),
                                "otto@customer.example", "1")]


@pytest.mark.parametrize("local_part", ["o'neil", '"back\\\\slash"', '"end\\\\"', '"\\\' or 1=1 -- "'])
def test_the_statements_of_the_limiter(panel, mode, local_part):
    rule = panel.rule(ans_freq=2)
    sender = f"{local_part}@x.example"
    for count in (1, 2):
        panel.run(message(sender=sender))
        stored = panel.sql("select rn_id, hex(email), num from resp_freq").split()
        assert stored == [str(rule), sender.encode().hex().upper(), str(count)]


# Otherwise the domain of a crafted RECIPIENT would continue the query for the owner.
def test_the_query_for_the_owner_of_missing_files(panel, mode):
    crafted = "x\\' union select 'thief@evil.example', val, val from misc -- "
    panel.sql("set sql_mode=''; insert into domains (id, name, cl_id) values (9, '"
              + literal(crafted, "") + "', 1);"
              "insert into mail (id, dom_id, mail_name) values (9, 9, 'info')")
    panel.name_attachments(panel.rule(mn_id=9), "missing.txt")
    panel.run(message(), recipient=f"x-info@{crafted}")
    owners = [mail.arguments[-1] for mail in panel.mails() if mail.arguments[-1] != b"otto@customer.example"]
    assert owners == [b"grete@customer.example"]
