"""What the tests of repairs share."""

import email
import email.policy

import pytest

NEWLINE = "autoresponder: refused to run a command with a newline in: "
NOT_WHOLE = "autoresponder: not sent, because its attachments are not whole: "


@pytest.fixture
def repaired(panel):
    panel.switch(repairs=True)
    return panel


def files_of(mail):
    """The attachments of a mail as an independent reader finds them: name and content."""
    read = email.message_from_bytes(mail.message, policy=email.policy.default)
    return [(part.get_filename(), part.get_payload(decode=True))
            for part in list(read.iter_parts())[1:]]
