"""The two switches of the configuration: how they are read, and what they do not change."""

import re

import pytest

import panel as sandbox
from conftest import CHECKOUT, message

KEYS = ("AUTORESPONDER_REPAIRS", "AUTORESPONDER_COURTESY")
QUOTED = "o'neil@x.example"


def answers_a_quote(panel):
    """Whether repairs are on, as seen from outside."""
    sandbox.forget_mails()
    panel.run(message(sender=QUOTED))
    return [mail.arguments[-1] for mail in panel.mails()] == [QUOTED.encode()]


def test_both_are_off_without_their_keys(panel):
    panel.rule()
    assert not answers_a_quote(panel)
    assert panel.explain(message(), "--json").answer()["switches"] == {
        "repairs": False, "courtesy": False}


@pytest.mark.parametrize("repairs", [False, True], ids=["off", "on"])
@pytest.mark.parametrize("courtesy", [False, True], ids=["off", "on"])
def test_each_is_on_where_its_key_says_so(panel, repairs, courtesy):
    panel.rule()
    panel.switch(repairs, courtesy)
    result = panel.explain(message(), "--json")
    assert result.err == b""
    assert result.answer()["switches"] == {"repairs": repairs, "courtesy": courtesy}
    assert answers_a_quote(panel) == repairs


@pytest.mark.parametrize("repairs", ["off", "on"])
@pytest.mark.parametrize("courtesy", ["off", "on"])
def test_explain_tells_which_are_on(panel, repairs, courtesy):
    panel.switch(repairs == "on", courtesy == "on")
    told = panel.explain(message())
    assert f"\nSwitches: repairs {repairs}, courtesy {courtesy}.\n" in told.out.decode()


@pytest.mark.parametrize("key", KEYS)
@pytest.mark.parametrize("value", ["ON", "On", "1", "yes", "true", "on off", "onn", "0"])
def test_another_value_is_reported_and_counts_as_off(panel, key, value):
    panel.rule()
    sandbox.write_conf({**sandbox.conf_values(), key: value})
    report = f"autoresponder: {key} is neither on nor off\n".encode()
    result = panel.run(message())
    assert (result.status, result.err, result.out) == (0, report, b"")
    assert len(panel.mails()) == 1
    explained = panel.explain(message(), "--json")
    assert explained.err == report
    assert explained.answer()["switches"] == {"repairs": False, "courtesy": False}
    assert not answers_a_quote(panel)


def test_the_manual_page_has_both():
    page = (CHECKOUT / "packaging" / "kem.conf.5").read_text()
    assert re.findall(r"^\.It Li (\w+) Ar on \| off$", page, re.MULTILINE) == list(KEYS)


def test_both_are_reported_in_their_order(panel):
    sandbox.write_conf({**sandbox.conf_values(), **{key: "maybe" for key in KEYS}})
    assert panel.run(message()).err.decode().splitlines()[:2] == [
        f"autoresponder: {key} is neither on nor off" for key in KEYS]


# A message and a rule that no repair and no courtesy concerns.
EXPECTED_STATEMENTS = [
    "delete from resp_freq where rn_id=1 and (TO_DAYS(NOW())-TO_DAYS(time_resp))>0",
    "select COUNT(*) from resp_freq where rn_id=1",
    "select num from resp_freq where rn_id=1 and email='otto@customer.example'",
    "insert into resp_freq set rn_id=1, email='otto@customer.example', num=1",
]
LOCKED_STATEMENTS = [
    EXPECTED_STATEMENTS[0],
    "start transaction",
    "select id from mail_resp where id=1 for update",
    "show create table resp_freq",
    *EXPECTED_STATEMENTS[1:],
    "commit",
]
# Asks for the mailbox's names, to see whether the message is from it or addressed to it.
NAMES_STATEMENTS = [
    "select alias from mail_aliases where mn_id=1",
    "select da.name from domainaliases da, mail m where da.dom_id=m.dom_id and m.id=1 and"
    " da.mail='true'",
]


@pytest.mark.parametrize("repairs", [False, True], ids=["as ever", "repairs"])
@pytest.mark.parametrize("courtesy", [False, True], ids=["as ever", "courtesy"])
def test_the_statements_of_the_limiter(panel, repairs, courtesy):
    panel.switch(repairs, courtesy)
    panel.rule()
    sent = panel.statements(lambda: panel.run(message()))
    first = next(i for i, statement in enumerate(sent) if "from mail_resp where mn_id" in statement)
    assert sent[first + 1:] == [
        *(LOCKED_STATEMENTS if repairs else EXPECTED_STATEMENTS),
        "select address from resp_forward where rn_id=1",
        *(NAMES_STATEMENTS if courtesy else []),
        "select filename from resp_attach where rn_id=1"]
