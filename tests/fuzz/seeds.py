#!/usr/bin/python3
"""seeds.py MESSAGES.json CORPORA DIRECTORY: writes a seed corpus, one directory per fuzz target.

The recorded messages are cut into what each target takes; a few inputs that they do not hold are
added by hand, and what earlier runs found (`keep`).
"""

import hashlib
import json
import pathlib
import sys
import tarfile


def corpus(messages):
    """Yields (target, input) pairs; each target describes its input at the head of its file."""
    for message in messages:
        yield "message", message
        yield "message", message.replace(b"\n", b"\r\n")
        yield "intake", b"\n" + message
        yield "intake", b"=example.com-info@example.com\n" + message
        header, _, body = message.partition(b"\n\n")
        yield "courtesy", header
        yield "codecs", body
        for line in header.split(b"\n"):
            yield "encoded_word", line.partition(b": ")[2]
            yield "header_encode", b"\0" + line
            yield "string_tools", b"\1\0\0" + b":\0=\0" + line

    for value in [
        b"=?utf-8?Q?Caf=C3=A9?= =?utf-8?B?QUJD?=", b"Re: =?utf-8?q?x_y?=  tail",
        b"=?utf-8?Q?abc?=xyz", b"=?utf-8?X?abc?=", b"=?utf-8", b"=?utf-8?Q", b"=?utf-8?Q?abc",
        b"?= =?utf-8?Q?abc?=", b"=?utf-8?Q?abc?= ", b"=?x-unknown?Q?abc?=",
        b"=?ISO-2022-JP?B?GyRCJCIbKEI=?=",
        b"=?UCS-4?B?f////w==?=", b"=?utf-8?Q?=C3?= tail", "=?utf-8?Q?ä?= ö".encode(),
    ]:
        yield "encoded_word", value
        yield "intake", b"\nFrom: a@b\nTo: c@d\nSubject: " + value + b"\n\nbody\n"
        yield "codecs", value.split(b"?")[3] if value.count(b"?") > 3 else value
    texts = [b"a@b", b"c@d", b"subject", b"date", b"utf-8"]
    yield "result", b"".join(number.to_bytes(8, "little") for number in (0x526573756C743031, 0, 2)) + \
        b"".join(len(text).to_bytes(8, "little") + text for text in texts) + bytes(8 * 10)
    yield "intake", b"=\nFrom: a@b\n\nempty recipient"
    yield "intake", b'\nFrom: "a\0b"@c\nTo: d@"e\0"\n\naddresses end at a NUL'
    yield "intake", b"\nFrom: a@b\nTo: c@d\nSubject: =?utf-8?Q?a?= \0\n\nends in blanks"

    for field in [b"Return-Path: (none) < > (x)", b"Return-Path: <a@b>", b"Auto-Submitted: (x) no; y=z",
                  b"List-Id: <a.b>", b"Precedence: bulk", b"X-Auto-Response-Suppress: DR, OOF",
                  b"X-Spam-Status: Yes, score=9", b"To: list: a@b, \"c d\" <@r:e@f>;, g (h) @ [1.2.3.4]",
                  b"Resent-Cc: \xc3\xbc@\xc3\xbc.example", b"Message-ID: <a.b@[1.2]>",
                  b"References: <a@b>\r\n\t\"x\" (y) <c@d>" + 30 * b" <e@f>", b"In-Reply-To: <a@b>"]:
        yield "courtesy", field + b"\n"
        yield "courtesy", field + b"\0\nMessage-ID: <x@y>\n" + field

    for data in [b"", b"Q", b"QQ==QUJD", b"Q\r\nQ==", b"QU*JD", b"=4G=G1= A=-1=0x", b"abc=",
                 b"soft=\r\nhard \r\n=3D=ZZ=", b"\xc1=\xb4\xb1\n"]:
        yield "codecs", data

    for choices in [b"\0\0", b"\6\0", b"\0\6", b"\x0a\0", b"\0\x14", b"\x14\0", b"\x3a\x24",
                    b"\0\x3a"]:
        for repeats in b"\0\xff":
            yield "charset", choices + bytes([repeats]) + "plain, Grüße, 日本語, 😀".encode()
        yield "charset", choices + b"\0A\xffB\xc3"
    yield "charset", b"\1ISO-2022-JP\0\1UTF-8//TRANSLIT\0\0\x1b$B$\"\x1b(B"

    # Each charset of the C library, with bytes that some hold back and bytes that grow in some.
    for number in range(1200):
        for piece in b"\x82\xf9|", b"\xaa\x87", b"\x1b$)A\x0e!", "ä日".encode():
            yield "charset_cost", number.to_bytes(2, "big") + b"\xff" + piece
    yield "charset_cost", b"\xff\xffUTF-8//" + 4000 * b",x" + b"\0\xfftext"

    for text in ["Re: Grüße", " x-y", "Hello world", "a=?b?=", "tab\there", ""]:
        yield "header_encode", b"\0" + text.encode()
        yield "header_encode", b"\xff" + 40 * text.encode()

    table = b"from\0ann@example.org\0subject\0Hello\0to\0-\0long\0" + 60 * b"v" + b"\0\0"
    for options in b"\0\1\2\3":
        for capacity in b"\x03\xe7", b"\0\x14", b"\0\x01":
            head = bytes([options]) + capacity + b"\0"
            yield "template_subst", head + table + b"To <to> from <from>: <subject> <unknown><>"
            yield "template_subst", head + table + b"<<from>> <" + 33 * b"n" + b"> <long> tail"

    for size in b"\x10\0", b"\0\6", b"\0\0":
        yield "string_tools", size + b"\0" + b"b\0BBB\0abcabc"
        yield "string_tools", size + b"\0" + b"\0X\0abc def\nnext"
    for length in 4095, 4096, 4097:
        yield "string_tools", b"\x20\0\0" + b"key=\0v\0key=" + length * b"v"
    yield "string_tools", b"\x20\0\xff" + b"key=\0v\0  key=" + 60 * b"v" + b" \t\r\n"

    for line in b"-a 'a b' a@b <a", b"a''b 2 <  'a' ", b"'\n'\t\"a\" \\ $a", b"b <b", b"'" + 9 * b"a' '":
        yield "plain_command", line

    conf = (b"# kem\n PRODUCT_ROOT_D \t/opt/kem  \r\n"
            b"QMAIL_ROOT_D /var/qmail with blank\nEMPTY\nLAST   ")
    for key in b"PRODUCT_ROOT_D", b"QMAIL_ROOT_D", b"EMPTY", b"LAST", b"#", b"NONE":
        yield "conf", key + b"\0" + conf


def main():
    source, corpora, directory = map(pathlib.Path, sys.argv[1:])
    recorded = json.loads(source.read_text(encoding="utf-8"))
    for target, seed in corpus([row["message"].encode() for row in recorded]):
        name = hashlib.sha1(seed).hexdigest()
        (directory / target).mkdir(parents=True, exist_ok=True)
        (directory / target / name).write_bytes(seed)
    for kept in corpora.glob("*.tar.xz"):
        with tarfile.open(kept) as archive:
            archive.extractall(directory / kept.name.removesuffix(".tar.xz"))


if __name__ == "__main__":
    main()
