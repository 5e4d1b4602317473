"""The reply, byte for byte, and as an independent reader of mail understands it."""

import email
import email.header
import email.policy

import pytest

import panel as sandbox
from conftest import BOUNDARY, message

HEAD = (b"From: info@shop.example\nTo: otto@customer.example\nMIME-Version: 1.0\n")
PART = (b"Content-Type: text/plain; charset=\"UTF-8\"\nContent-Transfer-Encoding: 8bit\n"
        b"Content-Disposition: inline\n\n")


def reply(panel, text=None, **options):
    """The one mail that left."""
    result = panel.run(message() if text is None else text, **options)
    assert (result.status, result.err) == (0, b"")
    (mail,) = panel.mails()
    return mail.message


def subject_line(panel, text):
    return reply(panel, text).split(b"\nSubject: ")[1].split(b"\n")[0].decode()


def test_plain_reply(panel):
    panel.rule(text="Thank you.")
    assert reply(panel) == HEAD + b"Subject: Re: Hello\n" + PART + b"Thank you.\n\n\n"


def test_reply_to_comes_first(panel):
    panel.rule(reply_to="sales@shop.example")
    assert reply(panel).startswith(b"Reply-To: sales@shop.example\nFrom: info@shop.example\n")


def test_declares_the_content_type_of_the_rule(panel):
    panel.rule(content_type="text/html")
    assert b"\nContent-Type: text/html; charset=\"UTF-8\"\n" in reply(panel)


def test_an_independent_reader_understands_it(panel):
    panel.rule(text="Grüße", charset="ISO-8859-1", subject="Danke für <request_subject>")
    mail = email.message_from_bytes(reply(panel), policy=email.policy.default)
    assert mail["Subject"] == "Danke für Hello"
    assert mail.get_content() == "Grüße\n\n\n"
    assert (mail["From"], mail["To"]) == ("info@shop.example", "otto@customer.example")


# --- subject -------------------------------------------------------------------------------------

def from_otto(subject):
    return f"From: otto@customer.example\nSubject: {subject}\n\nbody\n".encode()


@pytest.mark.parametrize("template, incoming, expected", [
    ("", "Grüße", "=?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?="),
    (None, "Hello", "Re: Hello"),
    ("", "=?utf-8?B?R3LDvMOfZQ==?=", "=?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?="),
    ("Auto: <request_subject>", "Hello", "Auto: Hello"),
    ("Auto: <nosuch>", "Hello", "Auto: <nosuch>"),
    ("<incoming_message_subject>, <orig_emails_subj>", "Hello", "Hello, Hello"),
    ("<request_from>, <orig_emails_sender_mailname>", "Hello",
     "otto@customer.example, otto@customer.example"),
    ("<Request_Subject>", "Hello", "=?utf-8?Q?<Request=5FSubject>?="),
    ("a <request_subject", "Hello", "=?utf-8?Q?a_<request=5Fsubject?="),
    ("Your <request_subject>", "<request_from>", "=?utf-8?Q?Your_<request=5Ffrom>?="),
    (" x-y", "Hello", " =?utf-8?Q?x=2Dy?="),
], ids=repr)
def test_subject(panel, template, incoming, expected):
    panel.rule(subject=template)
    assert subject_line(panel, from_otto(incoming)) == expected


@pytest.mark.parametrize("length", [990, 991, 992, 5000])
def test_a_filled_template_is_cut_at_999_bytes(panel, length):
    panel.rule(subject="Again: <request_subject>!")
    assert subject_line(panel, from_otto("x" * length)) == \
        ("=?utf-8?Q?Again:_" + "x" * length + "=21?=" if length <= 991
         else "Again: " + "x" * min(length, 992))


def test_a_missing_subject_gives_an_empty_one(panel):
    panel.rule()
    assert subject_line(panel, b"From: otto@customer.example\n\nbody\n") == "Re: "


# --- charset -------------------------------------------------------------------------------------

@pytest.mark.parametrize("charset, text, declared, expected", [
    ("ISO-8859-1", "Grüße", b"ISO-8859-1", "Grüße".encode("latin-1")),
    ("koi8-r", "Привет", b"koi8-r", "Привет".encode("koi8-r")),
    ("ISO-8859-1", "Привет", b"ISO-8859-1", b"?" * 12),
    ("x-unknown", "Grüße", b"UTF-8", "Grüße".encode()),
    ("UTF-8", "", b"UTF-8", b""),
    ("UTF-16BE", "AB", b"UTF-16BE", b"\0A\0B"),
])
def test_text_is_converted_to_the_charset_of_the_rule(panel, charset, text, declared, expected):
    panel.rule(charset=charset, text=text)
    head, _, body = reply(panel).partition(b"Content-Disposition: inline\n\n")
    assert b'; charset="' + declared + b'"\n' in head
    assert body == expected + b"\n\n\n"


def test_a_text_cut_inside_a_character_goes_out_as_it_is(panel):
    panel.sql("alter table mail_resp modify text blob")
    rule = panel.rule(charset="ISO-8859-1")
    panel.sql(f"update mail_resp set text = x'4772C3' where id = {rule}")
    mail = reply(panel)
    assert b'charset="UTF-8"' in mail and mail.endswith(b"\n\nGr\xc3\n\n\n")


# --- addresses -----------------------------------------------------------------------------------

def test_from_and_the_envelope_are_in_ascii(panel):
    panel.sql("insert into domains (id, name, cl_id) values (2, 'müller.example', 1);"
              "insert into misc values ('mysql41_compatible', 'true');"
              "insert into mail values (2, 2, 'info');")
    panel.rule(mn_id=2)
    panel.run(message(), recipient="info@müller.example")
    (mail,) = panel.mails()
    # The whole address is converted, so the local part is inside the first label.
    assert mail.arguments[1] == b"xn--info@mller-feb.example"
    assert mail.message.startswith(b"From: xn--info@mller-feb.example\n")


@pytest.mark.parametrize("length, status", [(63 - len("@shop"), 0), (64 - len("@shop"), 1)])
def test_an_address_with_too_long_a_label_ends_the_run(panel, length, status):
    name = "n" * length
    panel.sql(f"insert into mail values (2, 1, '{name}')")
    panel.forward(panel.rule(mn_id=2), "copy@colleague.example")
    result = panel.run(message(), recipient=f"{name}@shop.example")
    assert result.status == status
    report = (f"autoresponder: idn_toascii_safe({name}@shop.example) failed: Invalid length"
              .encode() if status else b"")
    assert result.err.startswith(report) and result.out.startswith(report)
    assert len(panel.mails()) == 2 - status


# --- several replies -----------------------------------------------------------------------------

def test_each_reply_has_a_boundary_of_its_own(panel):
    for text in ("one", "two"):
        panel.attach(panel.rule(text=text), f"{text}.txt")
    panel.run(message())
    first, second = (mail.message for mail in panel.mails())
    boundaries = [mail.split(b'boundary="')[1].split(b'"')[0] for mail in (first, second)]
    assert boundaries[0] == BOUNDARY.encode()
    assert boundaries[0] != boundaries[1]
    assert [len(boundary) for boundary in boundaries] == [39, 39]


def test_every_run_draws_the_same_boundaries(panel):
    panel.attach(panel.rule(), "list.txt")
    panel.run(message())
    panel.run(message())
    first, second = panel.mails()
    assert first.message == second.message


def test_each_reply_has_a_fresh_private_file(panel):
    script = ("#!/bin/sh\n/bin/readlink /proc/self/fd/0 >>/run/panel/names\n"
              "/usr/bin/stat -L -c %a /proc/self/fd/0 >>/run/panel/names\n")
    sandbox.write_sendmail(script)
    panel.rule()
    panel.rule()
    panel.run(message())
    with open("/run/panel/names") as file:
        one, mode_one, two, mode_two = file.read().split()
    assert mode_one == mode_two == "600"
    assert one != two
    assert one.startswith("/tmp/kem-response-uu-") and "XXXXXX" not in one
