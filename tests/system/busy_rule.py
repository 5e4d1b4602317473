"""A rule that does everything, and how to see that what left of it is whole."""

COPY, OWNER, REPLY = b"copy@colleague.example", b"grete@customer.example", b"otto@customer.example"


def busy_rule(panel):
    """A rule that does everything: forwards, attaches a file, misses another."""
    rule = panel.rule(text="See below.")
    panel.forward(rule, COPY.decode())
    panel.attach(rule, "list.txt")
    panel.name_attachments(rule, "missing.txt")
    return rule


def sent(panel):
    return [mail.arguments[-1] for mail in panel.mails()]


def whole(panel):
    """Whether every mail that left is complete, and none left twice."""
    for mail in panel.mails():
        end = {COPY: b"A question.\n\n", OWNER: b"missing.txt\n\n"}.get(
            mail.arguments[-1], b"--\n" if b"multipart" in mail.message else b"\n\n\n")
        if not mail.message.endswith(end):
            return False
    return len(set(sent(panel))) == len(sent(panel))
