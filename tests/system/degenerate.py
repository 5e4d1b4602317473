"""Messages that are made to cost as much as they can. Each kind is a function of the size in bytes:
a message of many small pieces shows time or memory that grows faster than the message."""

import base64
import itertools

HEAD = b"From: otto@customer.example\nSubject: Hello\n"
TEXT = b"Content-Type: text/plain; charset="


def times(piece, size):
    return piece * (size // len(piece))


def body(charset, piece, size):
    return HEAD + TEXT + charset.encode() + b"\n\n" + times(piece, size)


def word(charset, data, encoding="B"):
    if encoding == "B":
        data = base64.b64encode(data)
    return b"=?" + charset.encode() + b"?" + encoding.encode() + b"?" + data + b"?="


def subject(value):
    return b"From: otto@customer.example\nSubject: " + value + b"\n\nbody\n"


def sender(address):
    return b"From: " + address + b"\nSubject: Hello\n\nbody\n"


def header(line, size):
    return times(line, size) + HEAD + b"\nbody\n"


# Charsets whose characters grow most in UTF-8, and some that hold characters back, with such bytes.
WORST_BYTES = {
    "TSCII": b"\x87", "IBM437": b"\xb0", "windows-1252": b"\x80", "BIG5-HKSCS": b"\x88\x66",
    "SHIFT_JISX0213": b"\x82\xf9|", "EUC-JISX0213": b"\xa4\xd7|", "TCVN5712-1": b"\xb0A",
    "IBM1390": b"\x42", "UTF-7": b"+AOQ-", "ISO-2022-JP": b"\x1b$B$\"\x1b(B",
    "ISO-2022-CN-EXT": b"\x1b$)A", "GB18030": b"\x81\x30\x81\x30", "UTF-16": b"\x01\x30",
    "UTF-8": b"\xff", "US-ASCII": b"\xff", "ISO-8859-1": b"\xff",
}

# Charsets that iconv loads as modules.
CHARSETS = [*(f"ISO-8859-{i}" for i in range(2, 12)), *(f"IBM{i}" for i in (850, 851, 852, 855, 856, 857, 858, *range(860, 867))),
            *(f"windows-{i}" for i in range(1250, 1259)), "KOI8-R", "KOI8-U", "EUC-KR", "EUC-JP", "BIG5",
            "SHIFT_JIS", "GB18030", "TSCII", "VISCII", "MACINTOSH", "HP-ROMAN8", "TIS-620", "CP932",
            *(f"IBM{i}" for i in range(1140, 1150)), *(f"IBM{i}" for i in (277, 278, 280, 281, 284, 285)),
            *(f"EBCDIC-{name}" for name in ("AT-DE", "CA-FR", "DK-NO", "ES", "FR", "IT", "UK", "US"))]

KINDS = {
    "plain": lambda size: HEAD + b"\n" + times(b"All work and no play\n", size),
    "comments": lambda size: b"Reply-To: " + times(b"(", size) + b"\n" + HEAD + b"\nbody\n",
    "comments that end": lambda size: b"Reply-To: " + times(b"(", size // 2) + times(b")", size // 2)
    + b"a@b\n" + HEAD + b"\nbody\n",
    "quoted backslashes": lambda size: sender(b'"' + times(b"\\\\", size) + b'"@b.c'),
    "long sender": lambda size: sender(times(b"a", size) + b"@b.c"),
    "sender of quotes": lambda size: sender(b'"' + times(b"'", size) + b'"@b.c'),
    "sender of words": lambda size: sender(times(b"a.", size) + b"a@b.c"),
    "sender of labels": lambda size: sender(b"a@" + times(b"b.", size) + b"c"),
    "route": lambda size: sender(b"<" + times(b"@a,", size) + b"@a:b@c.d>"),
    "groups": lambda size: b"Reply-To: " + times(b"g:;,", size) + b"a@b\n" + HEAD + b"\nbody\n",
    "addresses": lambda size: b"Reply-To: " + times(b"@,", size) + b"a@b\n" + HEAD + b"\nbody\n",
    "fields": lambda size: header(b"X-Line: value\n", size),
    "equal fields": lambda size: header(b"To: a@b\n", size),
    "folded field": lambda size: HEAD + b"X:\n" + times(b" folded\n", size) + b"\nbody\n",
    "folded subject": lambda size: b"Subject: s\n" + times(b" folded\n", size) + HEAD + b"\nbody\n",
    "parameters": lambda size: HEAD + b"Content-Type: text/plain" + times(b"; a=b", size)
    + b"\n\nbody\n",
    "parts": lambda size: HEAD + b"Content-Type: multipart/mixed; boundary=b\n\n"
    + times(b"--b\nContent-Type: image/png\n\nx\n", size) + b"--b--\n",
    "almost boundaries": lambda size: HEAD + b"Content-Type: multipart/mixed; boundary=bbbbbbbb\n\n"
    + times(b"--bbbbbbb\n", size),
    "long boundary": lambda size: HEAD + b"Content-Type: multipart/mixed; boundary="
    + times(b"b", size // 2) + b"\n\n--" + times(b"b", size // 2) + b"\n",
    "charset name": lambda size: HEAD + TEXT + times(b"x", size) + b"\n\nbody\n",
    "charset suffixes": lambda size: HEAD + TEXT + b'"UTF-8//' + times(b",x", size) + b'"\n\nbody\n',
    "charset suffixes in a word": lambda size: subject(b"=?UTF-8//" + times(b",x", size) + b"?Q?a?="),
    "suffix that ignores errors": lambda size: body('"UTF-8//IGNORE"', b"a\xff", size),
    "characters held back, with a suffix": lambda size:
    body('"SHIFT_JISX0213//TRANSLIT"', b"\x82\xf9|", size),
    "word with bad base64": lambda size: subject(b"=?utf-8?B?" + times(b"*", size // 20) + b"?="),
    "bad base64": lambda size: HEAD + b"Content-Transfer-Encoding: base64\n\n" + times(b"*\n", size),
    "bad quoted-printable": lambda size: HEAD + b"Content-Transfer-Encoding: quoted-printable\n\n"
    + times(b"=", size),
    "plain subject": lambda size: subject(times(b"word ", size)),
    "one word": lambda size: subject(word("utf-8", times(b"x", size * 3 // 4))),
    "words": lambda size: subject(times(word("utf-8", b"x") + b" ", size)),
    "almost words": lambda size: subject(times(b"=?utf-8?", size)),
    "question marks": lambda size: subject(b"=?utf-8?Q?" + times(b"?", size)),
    "unencoded word in TSCII": lambda size: subject(word("TSCII", times(b"\x82", size), "Q")),
    "charsets in turn": lambda size: subject(b"".join(itertools.islice(
        itertools.cycle([word(name, b"a", "Q") + b" x " for name in CHARSETS]),
        size // 25))),
    "charsets after many spellings of one": lambda size: subject(
        b"".join(b" =?koi8-u//%d?Q?a?= x" % i for i in range(70))
        + times(b" =?koi8-r?Q?a?= x =?iso-8859-7?Q?a?= x", size)),
    **{f"body in {name}": lambda size, name=name, piece=piece: body(name, piece, size)
       for name, piece in WORST_BYTES.items()},
    **{f"word in {name}": lambda size, name=name, piece=piece:
       subject(word(name, times(piece, size * 3 // 4))) for name, piece in WORST_BYTES.items()},
}


def thread(fields):
    return fields + b"To: info@shop.example\n" + HEAD + b"\nbody\n"


# Messages for what is read with courtesy on.
COURTESY_KINDS = {
    "list fields": lambda size: thread(times(b"List-Id: x\n", size)),
    "almost list fields": lambda size: thread(times(b"List-: x\n", size)),
    "trace fields": lambda size: thread(times(b"Received: from a by b; c\n", size)),
    "fields of references": lambda size: thread(times(b"References: <a@b>\n", size)),
    "references": lambda size: thread(b"References:" + times(b" <a@b>", size) + b"\n"),
    "references that are never closed": lambda size: thread(b"References: " + times(b"<", size)
                                                            + b"\n"),
    "reference of dots": lambda size: thread(b"References: <" + times(b"a.", size) + b"a@b>\n"),
    "message id": lambda size: thread(b"Message-ID: <" + times(b"a", size) + b"@b>\n"),
    "message id of NULs": lambda size: thread(b"Message-ID: <" + times(b"\0", size) + b"@b>\n"),
    "answered messages": lambda size: thread(b"In-Reply-To:" + times(b" <a@b>", size) + b"\n"),
    "comments in Auto-Submitted": lambda size: thread(b"Auto-Submitted: " + times(b"(", size // 2)
                                                      + times(b")", size // 2) + b"no\n"),
    "fields of Auto-Submitted": lambda size: thread(times(b"Auto-Submitted: no\n", size)),
    "words in Precedence": lambda size: thread(b"Precedence: " + times(b"x,", size) + b"\n"),
    "blanks in Return-Path": lambda size: thread(b"Return-Path: <" + times(b" ", size) + b">\n"),
    "addressees": lambda size: thread(b"Cc: " + times(b"info@b.example,", size) + b"\n"),
    "fields of addressees": lambda size: thread(times(b"Cc: info@b.example\n", size)),
    "addressees with UTF-8": lambda size: thread(
        b"Cc: " + times("info@müller.example,".encode(), size) + b"\n"),
    "addressees of many labels": lambda size: thread(
        b"Cc: " + times(b"info@" + "ü.".encode() * 160 + b"example,", size) + b"\n"),
    "addressees without an address": lambda size: thread(b"Cc: " + times(b"<@a,", size) + b"\n"),
    "addressee of words": lambda size: thread(b"Cc: " + times(b"a ", size) + b"@b\n"),
    "addressee of quotes": lambda size: thread(b"Cc: " + times(b'""', size) + b"@b\n"),
    "groups of addressees": lambda size: thread(b"Cc: " + times(b"g:a@b;,", size) + b"\n"),
    "colons in a group": lambda size: thread(b"Cc: " + times(b"g:", size) + b"a@b;\n"),
}
