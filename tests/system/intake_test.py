"""How the program reads a message, seen in what it forwards and answers."""

import pytest

import panel as sandbox
from conftest import message


def spooled(panel, text):
    """The spool file, as a forwarded copy shows it."""
    panel.forward(panel.rule(), "copy@colleague.example")
    panel.run(text)
    return panel.mails()[0].message


@pytest.mark.parametrize("text, expected", [
    (b"From: a@b\n\nbody\n", b"From: a@b\n\nbody\n\n"),
    (b"From: a@b\n\nbody", b"From: a@b\n\nbody\n"),
    (b"From: a@b", b"From: a@b\n"),
    (b"From: a@b\r\n\r\nbody\r\n", b"From: a@b\r\n\r\nbody\r\n\n"),
    (b"From: a@b\n\nnul\0 and \xff\n", b"From: a@b\n\nnul\0 and \xff\n\n"),
    (b"From: a@b\n\n" + b"x" * 200000, b"From: a@b\n\n" + b"x" * 200000 + b"\n"),
], ids=["newline at the end", "none", "no body", "CR LF", "any bytes", "long line"])
def test_spools_the_input_and_one_newline(panel, text, expected):
    assert spooled(panel, text) == expected


@pytest.mark.parametrize("variable, expected", [
    ("shop.example-info@shop.example", b"info@shop.example"),
    ("info@shop.example", b"info@shop.example"),
    ("-info@shop.example", b"info@shop.example"),
])
def test_takes_the_recipient_after_the_first_dash(panel, variable, expected):
    panel.rule()
    panel.run(message(), recipient=variable)
    assert panel.mails()[0].arguments[1] == expected


@pytest.mark.parametrize("variable, mail_name, domain", [
    ("shop-x.example-info@shop-x.example", "x.example-info", "shop-x.example"),
    ("nobody", "nobody", "nobody"),
    ("x-nobody", "nobody", "nobody"),
    ("a@b@c", "a", "b@c"),
    ("", "", ""),
    ("x-", "", ""),
])
def test_cuts_the_recipient_at_its_first_at_sign(panel, variable, mail_name, domain):
    result = panel.run(message(), recipient=variable)
    assert result.err.decode() == f"autoresponder: Mailname not found: {mail_name}@{domain}\n"
    assert result.status == 0


@pytest.mark.parametrize("to", [
    "info@shop.example", "Shop <info@shop.example>, x@y", "list: a@x, b@y;, info@shop.example",
    "<>, info@shop.example",
])
def test_takes_the_first_usable_mailbox_of_to_without_the_variable(panel, to):
    panel.rule()
    panel.run(f"From: otto@customer.example\nTo: {to}\n\nbody\n".encode(), recipient=None)
    assert panel.mails()[0].arguments[1] == b"info@shop.example"


def test_does_not_look_at_to_when_the_variable_is_empty(panel):
    panel.rule()
    assert panel.run(message(), recipient="").err == b"autoresponder: Mailname not found: @\n"


@pytest.mark.parametrize("header, sender", [
    ("Reply-To: Team <team@example.org>\nFrom: a@example.org", b"team@example.org"),
    ("Reply-To: friends:;\nFrom: a@example.org", b"a@example.org"),
    ('From: "Ann" <ann@Example.ORG>', b"ann@Example.ORG"),
    ("From: <>, b@example.org", b"b@example.org"),
    ('From: "a\0b"@example.org', b'"a'),
])
def test_answers_reply_to_or_else_from(panel, header, sender):
    panel.rule()
    panel.run(f"{header}\n\nbody\n".encode())
    assert panel.mails()[0].arguments[2] == sender


def test_reports_what_follows_an_encoded_word(panel):
    panel.rule(subject="<forward_subject>")
    result = panel.run(b"From: a@b\nSubject: =?utf-8?Q?a?=b\n\nbody\n")
    assert result.err == b"wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?a?=b\n"


LATIN1 = "Grüße".encode("latin-1")


@pytest.mark.parametrize("text, key", [
    (b"Content-Transfer-Encoding: quoted-printable\n\nGr=41n", "GrAn"),
    (b"Content-Type: text/plain; CHARSET=ISO-8859-1\n\n" + LATIN1, "Grüße"),
    (b"Content-Type: text/html; charset=koi8-r\nContent-Transfer-Encoding: base64\n\n8NLJ18XU\n",
     "Привет"),
    (b"Content-Type: text/plain; charset=utf-8\n\na\xffb", "a?b"),
    (b"Content-Type: text/plain; charset=x-unknown\n\n" + "Grüße".encode(), "Grüße"),
    (b"\nbefore\0after", "before"),
    (b"Content-Type: multipart/mixed; boundary=b\n\n--b\n\nfirst\n--b\n"
     b"Content-Type: text/html\n\nsecond\n--b--\n", "second"),
])
def test_matches_the_body_in_utf8(panel, text, key):
    panel.rule(key_where="body", keystr=key)
    panel.run(b"From: a@b\n" + text)
    assert len(panel.mails()) == 1


@pytest.mark.parametrize("text, key", [
    (b"\nbefore\0after", "after"),
    (b"Content-Type: application/pdf\n\nsecret", "secret"),
    (b"Content-Type: multipart/mixed; boundary=b\n\n--b\n"
     b"Content-Type: multipart/alternative; boundary=c\n\n--c\nContent-Type: text/plain\n\n"
     b"inner\n--c--\n--b\nContent-Type: image/png\n\nx\n--b--\n", "inner"),
    (b"\nover two\nlines", "two\nlines"),
])
def test_does_not_see_other_text(panel, text, key):
    panel.rule(key_where="body", keystr=key)
    panel.run(b"From: a@b\n" + text)
    assert panel.mails() == []


@pytest.mark.parametrize("text", [
    b"Content-Type: text/plain; charset=x-unknown\n\nbody\n",
    b"Content-Type: text/plain; charset=x-unknown\n\n",
])
def test_reports_a_body_in_an_unknown_charset(panel, text):
    panel.rule(key_where="body", keystr="")
    result = panel.run(b"From: a@b\n" + text)
    assert result.err == b"Could not convert message body text from x-unknown to UTF-8.\n"
    assert len(panel.mails()) == 1


def test_reports_a_body_that_ends_inside_a_character(panel):
    panel.rule(key_where="body", keystr="Gr\u00fc")
    result = panel.run(b"From: a@b\nContent-Type: text/plain; charset=utf-8\n"
                       b"Content-Transfer-Encoding: base64\n\nR3LDvMM=\n")
    assert result.err == b"Could not convert message body text from utf-8 to UTF-8.\n"
    assert len(panel.mails()) == 1


def test_reports_a_subject_in_an_unknown_charset_under_the_charset_of_the_body(panel):
    panel.rule()
    result = panel.run(b"From: a@b\nContent-Type: text/plain; charset=koi8-r\n"
                       b"Subject: =?x-unknown?Q?abc?=\n\nbody\n")
    assert result.err == b"Could not convert message subject text from koi8-r to UTF-8.\n"
    assert b"\nSubject: Re: \n" in panel.mails()[0].message


def test_keeps_malformed_words_of_the_subject(panel):
    panel.rule()
    result = panel.run(b"From: a@b\nSubject: =?utf-8 x\n\nbody\n")
    assert result.err == b"wrong rfc1522 sequence (no charset): =?utf-8\n"
    assert b"\nSubject: =?utf-8?Q?Re:_=3D=3Futf=2D8_x?=\n" in panel.mails()[0].message


def test_an_empty_body_is_one_empty_line(panel):
    panel.rule(key_where="body", keystr="")
    panel.run(b"From: a@b\nContent-Type: application/pdf\n\nx")
    assert len(panel.mails()) == 1


def test_removes_the_spool_file_of_a_refused_message(panel):
    sandbox.forget_mails()
    panel.run(b"no header\n")
    assert panel.temporary_files() == []
