"""The wrong programs that one change of a C++ file can make. Nothing here understands C++: what does not
compile is not counted."""

import re

CONDITION = re.compile(r"^(\s*(?:\} else )?(?:if|while) \()(.+)(\)(?: \{| [^)]*;)?)$")
CHECK = re.compile(r"^\s+if \(.*\) (?:return.*|continue|break);$")
STATEMENT = re.compile(r"^\s+(?:\+\+|--)?[\w.>\-\[\]:*]+(?: [+\-|&]?= .+|\(.*\)(?:\.\w+\(.*\))?|\+\+|--);$")
ROW = re.compile(r"^\s+\{.*\},(?:\s*//.*)?$")
FUNCTION = re.compile(r"^(?!namespace|struct|class|enum|union|extern)\S.*\)(?: const)?(?: noexcept)? \{$")
BOUNDARIES = {" < ": " <= ", " <= ": " < ", " > ": " >= ", " >= ": " > ", " == ": " != ", " != ": " == ",
              " && ": " || ", " || ": " && ", " + ": " - ", " - ": " + "}
WORDS = {"true": "false", "false": "true", "continue": "break", "break": "continue"}


def is_code(line):
    text = line.strip()
    return text and not text.startswith(("//", "#", "*", "using ", "static_assert"))


def balanced(text):
    return text.count("(") == text.count(")")


def without_strings(line):
    """The line with its literals and comments blanked out, of the same length."""
    blank = lambda match: match[0][0] + " " * (len(match[0]) - 2) + match[0][-1]
    line = re.sub(r'"(?:[^"\\]|\\.)*"' r"|'(?:[^'\\]|\\.)+'", blank, line)
    return re.sub(r"//.*", lambda match: " " * len(match[0]), line)


def of_tokens(line):
    """Changes of one token: (kind, new line)."""
    bare = without_strings(line)
    for old, new in BOUNDARIES.items():
        for match in re.finditer(re.escape(old), bare):
            yield "operator" + old.rstrip(), line[:match.start()] + new + line[match.end():]
    for match in re.finditer(r"(?<![\w.])\d+(?![\w.])", bare):
        yield "constant", line[:match.start()] + str(int(match[0]) + 1) + line[match.end():]
    for match in re.finditer(r"\b(?:true|false|continue|break)\b", bare):
        yield "word", line[:match.start()] + WORDS[match[0]] + line[match.end():]
    for match in re.finditer(r"(\w+) \| \w+", bare):
        yield "lost flag", line[:match.start()] + line[match.start(1):match.end(1)] + line[match.end():]
    for match in re.finditer(r"\bk[A-Z]\w+\](?!\w)", bare):
        yield "column", line[:match.end() - 1] + " - 1" + line[match.end() - 1:]


def of_line(line):
    """Changes of one line: (kind, new lines)."""
    condition = CONDITION.match(line)
    if condition and balanced(condition[2]) and not re.search(r"[^=!<>]=[^=]|;", condition[2]):
        yield "negated condition", [f"{condition[1]}!({condition[2]}){condition[3]}"]
    if CHECK.match(line):
        yield "check left out", [""]
    elif STATEMENT.match(line):
        yield "statement left out", [""]
    if ROW.match(line):
        yield "row left out", [""]
    if FUNCTION.match(line):
        yield "early return", [line, "  return;" if " void " in f" {line}" else "  return {};"]
    for kind, new in of_tokens(line):
        yield kind, [new]


def changes(text):
    lines = text.split("\n")
    for number, line in enumerate(lines, 1):
        if not is_code(line):
            continue
        for kind, new in of_line(line):
            yield {"line": number, "length": 1, "kind": kind, "old": line, "new": new}
        following = lines[number] if number < len(lines) else ""
        if STATEMENT.match(line) and STATEMENT.match(following) and line != following:
            yield {"line": number, "length": 2, "kind": "swapped", "old": line, "new": [following, line]}
