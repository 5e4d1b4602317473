"""Compares the diagnostics in autoresponder(8) with the sources: the page has every text that the
program can write, and no other. Also the keys in kem.conf(5).

The texts are read from the sources: a definition counts if one that counts mentions its name,
beginning with main. The few texts that this finds too many are in NOT_BY_A_RUN.
"""

import re
from pathlib import Path

import pytest

CHECKOUT = Path(__file__).resolve().parent.parent.parent
FOLDERS = ("autoresponder", "mime", "support", "mimelib")
PAGE = CHECKOUT / "packaging" / "autoresponder.8"

TOKEN = re.compile(r'//[^\n]*|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|R"\((?:.|\n)*?\)"')
LITERAL = re.compile(r'"((?:\\.|[^"\\\n])*)"')
# Functions and tables whose arguments are texts for people.
WRITERS = re.compile(
    r"\b(diagnose|report_error|put_message|perror|refuse|warn|warn_unconverted|Fail|fail|PanelFailure|end_run|"
    r"end_process|db_error_text|stop|Complaint)\s*(?=[({])"
    r"|\bsnprintf\(error\b|\bfailure =|\bk\w*Diagnostic =|\bkCodeTexts\[\] ="
    r"|#define KEM_CONF_VALUE|\.Query\(|\breturn (?=\"[^\"]* [^\"]*\";)")
STATEMENT = re.compile(r"(select|show|insert|update|delete| from| and|') | for update$")  # for the server

# Texts that this finds, but a run cannot write, and why.
NOT_BY_A_RUN = {
    "Unable to connect to the mysql database": "the run's readers of settings are given its connection",
}


def sources():
    for folder in FOLDERS:
        yield from sorted((CHECKOUT / folder).rglob("*.cpp"))
        yield from sorted((CHECKOUT / folder).rglob("*.h"))


def without_comments(text):
    return TOKEN.sub(lambda m: "" if m[0].startswith("//") else m[0], text)


def definitions(text):
    """The parts of a file that begin at the left margin, each with its name."""
    lines = text.replace("\\\n", "").split("\n")
    starts = [i for i, line in enumerate(lines) if re.match(r"[A-Za-z_#\[]", line)]
    for start, end in zip(starts, starts[1:] + [len(lines)]):
        head = lines[start]
        name = (re.match(r"#define (\w+)", head)
                or re.match(r"[^(]*?(\w+)(?:\[\w*\])? =", head)
                or re.match(r"(?:template.*?> )?(?:class|struct|enum(?: class)?) (\w+)", head)
                or re.search(r"([\w~]+)(?:<[^<>]*>)?\(", head)
                or re.search(r"(\w+)(?:\[\w*\])?(?: =|\{| \{|;)", head))
        if name is not None:
            yield name[1], "\n".join(lines[start:end])


def reachable(found, start):
    """The texts of all definitions that `start` mentions, directly or not."""
    names, todo = set(), {start}
    while todo:
        names |= todo
        mentioned = set()
        for name in todo:
            for text in found.get(name, ()):
                mentioned |= set(re.findall(r"\w+", LITERAL.sub('""', text)))
        todo = {name for name in mentioned if name in found} - names
    return {name: found[name] for name in names}


def argument(text):
    """`text` up to the bracket that closes its first one, otherwise to the end of the statement."""
    depth = 0
    for match in re.finditer(r'"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|[(){};]', text):
        if match[0] in "({":
            depth += 1
        elif match[0] in ")}":
            depth -= 1
            if depth == 0:
                return text[:match.end()]
        elif match[0] == ";" and depth == 0:
            return text[:match.start()]
    return text


def stated(definition):
    """The texts for people in a definition, cut where a value is put in."""
    for writer in WRITERS.finditer(definition):
        opened = writer.end() if writer[0][-1] != "(" else writer.end() - 1
        argued = argument(definition[opened:] if not writer[0].startswith("snprintf")
                          else "(" + definition[opened:])
        if "#define" in writer[0]:
            argued = definition[opened:].split("{", 1)[1]
        for literal in LITERAL.findall(re.sub(r'"\s*\n?\s*"', "", argued)):
            text = re.sub(r"\\n", "", literal).replace('\\"', '"')
            for piece in re.split(r"%[sdu]", text):
                if re.search(r"[A-Za-z]", piece) and not STATEMENT.match(piece):
                    yield piece.strip(" ")


def texts_of_the_program():
    found = {}
    for path in sources():
        for name, text in definitions(without_comments(path.read_text())):
            found.setdefault(name, []).append(text)
    counted = reachable(found, "main")
    return {piece for texts in counted.values() for text in texts for piece in stated(text)}


def unquoted(text):
    return text.replace("\\&", "")


def page_items():
    """The diagnostics of the page, each as its fixed texts."""
    section = PAGE.read_text().split(".Sh DIAGNOSTICS")[1].split("\n.Sh ")[0]
    heads = re.findall(r'^\.It (Li .*)$', section, re.MULTILINE)
    return [[unquoted(text).strip(" ") for text in re.findall(r'Li "([^"]*)"', head)]
            for head in heads]


def page_texts():
    """Those texts, and the words in quotes that are values of one of them."""
    section = PAGE.read_text().split(".Sh DIAGNOSTICS")[1].split("\n.Sh ")[0]
    return ([text for item in page_items() for text in item]
            + [unquoted(words) for words in re.findall(r"^\.Dq ([^\n]*?)(?: [,;.])?$", section,
                                                       re.MULTILINE)])


TEXTS = texts_of_the_program() - NOT_BY_A_RUN.keys()


# The page has this text whole, the source in pieces.
def whole(piece):
    return {"idn_toascii_safe": "idn_toascii_safe("}.get(piece, piece)


@pytest.mark.parametrize("text", sorted(TEXTS))
def test_the_page_has_every_text_of_the_program(text):
    assert any(whole(text) in entry for entry in page_texts())


@pytest.mark.parametrize("item", page_items(), ids=" … ".join)
def test_the_program_has_every_text_of_the_page(item):
    for text in item:
        if re.search(r"[A-Za-z]", text):
            assert any(piece in text for piece in TEXTS), text


def test_the_sources_were_understood():
    assert {"Field From: equial field To:", "autoresponder: Unable to exec query :", "alloc(",
            "Could not convert message", "set names query", "Invalid length", "no charset",
            "autoresponder: refused to run a command with a quote in:", "Bad base64 symbol:",
            "Unable to query parameter by query", "Unknown error"} <= TEXTS
    assert "Unable to query IP address:" not in TEXTS


def test_no_other_way_to_write_a_text():
    """Only these files write to the two streams; otherwise the search above could miss a text."""
    writing = re.compile(r"std::c(?:err|out|log)\b|\bstderr\b|\bstdout\b|\bperror\(|\bf?printf\("
                         r"|\bSTD(?:ERR|OUT)_FILENO\b")
    found = {path.name for path in sources()
             if writing.search(LITERAL.sub('""', without_comments(path.read_text())))}
    # The last four keep a stream open, close it, or pass on what a command or the reader has
    # written.
    assert found == {"diagnose.h", "report.cpp", "strings.cpp", "process.cpp", "confinement.cpp",
                     "diagnostics.cpp", "shell.cpp"}


def test_the_keys_of_the_configuration():
    header = (CHECKOUT / "support" / "conf.h").read_text()
    page = (CHECKOUT / "packaging" / "kem.conf.5").read_text().split(".Sh KEYS")[1]
    keys = re.findall(r"\bKEY\((\w+)\)", header)
    assert len(keys) == 30
    assert re.findall(r"^\.It Li (\w+)$", page, re.MULTILINE) == keys


def test_the_switches_of_the_configuration():
    source = (CHECKOUT / "autoresponder" / "run" / "configuration.cpp").read_text()
    page = (CHECKOUT / "packaging" / "kem.conf.5").read_text()
    switches = re.findall(r'is_on\("(\w+)"\)', source)
    assert len(switches) == 2
    assert re.findall(r"^\.It Li (\w+) Ar on \| off$", page, re.MULTILINE) == switches
