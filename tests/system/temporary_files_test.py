"""Somebody removes or replaces a temporary file while the run works: no mail has the content of
another file."""

import pytest

import panel as sandbox
from conftest import message

NOT_SENT = b"autoresponder: not sent, because its file was removed: /tmp/kem-response-uu-"
NOT_FORWARDED = b"autoresponder: not forwarded, because its file was removed: /tmp/kem-autoresponder-"
REMOVE = "rm /tmp/kem-{name}-*"
REPLACE = "for f in /tmp/kem-{name}-*; do echo other >$f.new; mv $f.new $f; done"


def when_mailed(name, deed):
    """Makes the first mail that is sent do the deed."""
    record = sandbox.HOME / "done"
    record.unlink(missing_ok=True)
    own = sandbox.SENDMAIL.split("\n", 1)
    sandbox.write_sendmail(f"{own[0]}\n[ -e {record} ] || {{ touch {record}; "
                           f"{deed.format(name=name)}; }}\n{own[1]}")


@pytest.mark.parametrize("repairs", [False, True])
@pytest.mark.parametrize("deed", [REMOVE, REPLACE], ids=["removed", "replaced"])
@pytest.mark.parametrize("attached", [False, True])
def test_a_reply_whose_file_is_another_one_is_not_sent(panel, deed, attached, repairs):
    """The owner's notification is sent after the reply's file was created, while it is empty."""
    panel.switch(repairs=repairs)
    rule = panel.rule()
    panel.name_attachments(rule, "missing.txt")
    if attached:
        panel.attach(rule, "list.txt")
    panel.rule(text="The next rule answers.")
    when_mailed("response-uu", deed)
    result = panel.run(message())
    assert result.status == 0
    assert result.err.startswith(NOT_SENT) and result.err.count(b"\n") == 1
    notification, reply = panel.mails()
    assert b"missing.txt" in notification.message and b"The next rule answers." in reply.message
    assert panel.temporary_files() == []


@pytest.mark.parametrize("deed", [REMOVE, REPLACE], ids=["removed", "replaced"])
def test_a_message_whose_file_is_another_one_is_not_forwarded(panel, deed):
    panel.rule(text="The first rule answers.")
    panel.forward(panel.rule(text="The second too."), "copy@colleague.example")
    when_mailed("autoresponder", deed)
    result = panel.run(message())
    assert result.status == 0
    assert result.err.startswith(NOT_FORWARDED) and result.err.count(b"\n") == 1
    assert [mail.arguments[2:] for mail in panel.mails()] == [[b"otto@customer.example"]] * 2
    assert panel.temporary_files() == []
