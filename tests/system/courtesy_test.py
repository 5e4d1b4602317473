"""With AUTORESPONDER_COURTESY on: which messages get no reply."""

import pytest

from courtesy import courteous, objection, text_with  # noqa: F401
from courtesy_messages import MESSAGES

PLACES = ["From", "Reply-To", "SENDER", "Return-Path"]


def objection_to(panel, address, place):
    """The objection to an address in one of the places."""
    if place == "From":
        return objection(panel, text_with(sender=address))
    if place == "SENDER":
        return objection(panel, text_with(), sender=address)
    return objection(panel, text_with(f"{place}: {address}"))


# 1. The envelope sender.

@pytest.mark.parametrize("sender", ["", "#@[]"])
def test_does_not_answer_a_null_envelope_sender(courteous, sender):
    assert objection(courteous, text_with(), sender=sender) == "null sender"


@pytest.mark.parametrize("field", ["Return-Path: <>", "RETURN-PATH: (none)\n <(at all)> "])
def test_does_not_answer_a_null_return_path(courteous, field):
    assert objection(courteous, text_with(field)) == "null sender"


@pytest.mark.parametrize("sender", [None, "otto@customer.example", "<>@x", " "])
def test_answers_another_envelope_sender(courteous, sender):
    assert objection(courteous, text_with(), sender=sender) is None


def test_answers_another_return_path(courteous):
    assert objection(courteous, text_with("Return-Path: <otto@customer.example> (not <>)")) is None


# 2. to 6. Fields of the header; tests/autoresponder/intake/automatic_mail_test.cpp has their forms.

@pytest.mark.parametrize("field, reason", [
    ("Auto-Submitted: auto-generated; owner-email=\"a@b\"", "Auto-Submitted"),
    ("auto-submitted: (no) auto-replied", "Auto-Submitted"),
    ("List-Id: <news.x>", "List-Id"),
    ("List-Help: <mailto:a@b>", "List-Help"),
    ("List-Subscribe: <mailto:a@b>", "List-Subscribe"),
    ("List-Unsubscribe: <mailto:a@b>", "List-Unsubscribe"),
    ("List-Post: NO", "List-Post"),
    ("List-Owner: <mailto:a@b>", "List-Owner"),
    ("List-Archive: <https://x.example/>", "List-Archive"),
    ("Precedence: bulk", "Precedence"),
    ("Precedence: list", "Precedence"),
    ("Precedence: Junk", "Precedence"),
    ("X-Auto-Response-Suppress: All", "X-Auto-Response-Suppress"),
    ("X-Auto-Response-Suppress: DR, AutoReply", "X-Auto-Response-Suppress"),
    ("X-Auto-Response-Suppress: OOF", "X-Auto-Response-Suppress"),
    ("X-Spam-Flag: YES", "spam"),
    ("X-Spam-Status: Yes, score=9", "spam"),
])
def test_does_not_answer_a_message_with(courteous, field, reason):
    assert objection(courteous, text_with(field)) == reason


@pytest.mark.parametrize("field", [
    "Auto-Submitted: (a person) no", "Auto-Submitted: No; x=y", "X-Auto-Submitted: auto-replied",
    "X-List-Id: x", "Listing: x", "List-Price: 5", "Precedence: first-class", "Precedence: (bulk)",
    "X-Auto-Response-Suppress: DR, RN, NRN", "X-Spam-Flag: NO", "X-Spam-Status: No, yes",
    "X-Spam-Level: ******", "Comments: Auto-Submitted: auto-replied"])
def test_answers_a_message_with(courteous, field):
    assert objection(courteous, text_with(field)) is None


# 7. Machines; tests/autoresponder/engine/machine_address_test.cpp has their names.

@pytest.mark.parametrize("place", PLACES)
def test_does_not_answer_a_machine(courteous, place):
    assert objection_to(courteous, "News-Request@x.example", place) == "sender is a machine"


def test_does_not_answer_a_mailer_daemon_in_mixed_case(courteous):
    assert objection(courteous, text_with(sender="Mailer-Daemon@x.example")) == "sender is a machine"


# 8. The mailbox itself.

OWN_NAMES = ["INFO@shop.example", "sales@shop.example", "Sales@Shop.Example", "info@laden.example",
             "sales@LADEN.example", "info@shop.example.", "info@müller.example",
             "sales@xn--mller-kva.example"]
OTHER_NAMES = ["anna@shop.example", "berg@shop.example", "info@other.example", "info@third.example",
               "info@web.example", "info@sub.shop.example", "xinfo@shop.example", "info@shop.examplex"]


@pytest.mark.parametrize("name, place", [(name, "From") for name in OWN_NAMES]
                         + [(OWN_NAMES[0], place) for place in PLACES[1:]])
def test_does_not_answer_the_mailbox_itself(courteous, name, place):
    assert objection_to(courteous, name, place) == "from the mailbox itself"


@pytest.mark.parametrize("name", OTHER_NAMES)
def test_answers_another_mailbox(courteous, name):
    assert objection(courteous, text_with(sender=name), sender=name) is None


# A form on a web site writes like this, and the customer waits for the answer.
def test_answers_a_reply_to_outside_though_from_is_the_mailbox(courteous):
    text = text_with("Reply-To: otto@customer.example", sender="info@shop.example")
    assert objection(courteous, text, sender="www-data@web1.panel.example") is None


# 9. Its addressees.

@pytest.mark.parametrize("name, form", [(name, "To: {}") for name in OWN_NAMES] + [
    ("info@shop.example", form) for form in (
        "To: {}", "Cc: {}", "Bcc: {}", "Resent-To: {}", "Resent-Cc: {}", "Resent-Bcc: {}",
        "to: (x) a@b.example,\n Shop <{}>", "Cc: team: a@b.example, <{}>;")])
def test_answers_a_message_to_the_mailbox(courteous, name, form):
    assert objection(courteous, text_with(form.format(name), to=None)) is None


@pytest.mark.parametrize("name", OTHER_NAMES)
def test_does_not_answer_a_message_to_another_mailbox(courteous, name):
    assert objection(courteous, text_with(to=name)) == "not addressed to the mailbox"


@pytest.mark.parametrize("fields", [
    ["To: undisclosed-recipients:;"], ["To: \"info@shop.example\" <a@b.example>"],
    ["To: a@b.example (info@shop.example)"], ["X-To: info@shop.example"],
    ["Delivered-To: info@shop.example"], ["To:"], []])
def test_does_not_answer_a_message_that_only_mentions_the_mailbox(courteous, fields):
    assert objection(courteous, text_with(*fields, to=None)) == "not addressed to the mailbox"


@pytest.mark.parametrize("recipient, to", [
    ("x-sales@laden.example", "info@shop.example"), ("x-info@shop.example", "sales@laden.example"),
    ("x-SALES@Laden.Example", "Sales@laden.EXAMPLE"), (None, "sales@shop.example")])
def test_answers_by_whichever_name_it_was_delivered(courteous, recipient, to):
    assert objection(courteous, text_with(to=to), recipient=recipient) is None


@pytest.mark.parametrize("name", MESSAGES)
def test_knows_the_messages_of(courteous, name):
    want, text = MESSAGES[name]
    assert objection(courteous, text.encode()) == want
