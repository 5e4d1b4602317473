"""A panel with courtesy on, and messages for it."""

import re

import pytest

import panel as sandbox
from conftest import RECIPIENT

NAMES = """
insert into mail_aliases (mn_id, alias) values (1, 'sales');
insert into domainaliases (dom_id, name, mail) values (1, 'laden.example', 'true');
insert into domainaliases (dom_id, name, mail) values (1, 'web.example', 'false');
insert into domainaliases (dom_id, name, mail) values (1, 'müller.example', 'true');
insert into domains (id, name, cl_id) values (2, 'other.example', 1);
insert into mail (id, dom_id, mail_name) values (2, 1, 'anna'), (3, 2, 'info');
insert into mail_aliases (mn_id, alias) values (2, 'berg');
insert into domainaliases (dom_id, name, mail) values (2, 'third.example', 'true');
"""


def switch(state):
    sandbox.write_conf({**sandbox.conf_values(), "AUTORESPONDER_COURTESY": state})


@pytest.fixture
def courteous(panel):
    """A panel with courtesy on and one rule, which answers everything."""
    switch("on")
    panel.sql(NAMES)
    panel.rule()
    return panel


def text_with(*fields, to="info@shop.example", sender="otto@customer.example"):
    """A message that gets a reply unless the further fields prevent it."""
    addressed = [f"To: {to}"] if to is not None else []
    return "\n".join([f"From: {sender}", *addressed, "Subject: Hello", *fields, "", "A question.\n"]
                     ).encode()


def objection(panel, text, sender=None, recipient=RECIPIENT):
    """The reason for no reply; None if there was a reply. `sender`: the value of SENDER; None
    leaves it unset."""
    result = panel.run(text, recipient=recipient, env={} if sender is None else {"SENDER": sender})
    assert result.status == 0
    if result.err == b"":
        (mail,) = panel.mails()
        assert mail.arguments[:2] == [b"-f", b""]
        return None
    assert panel.mails() == []
    return re.fullmatch(rb"autoresponder: no reply, courtesy: (.*)\n", result.err)[1].decode()
