"""A rule that does everything, and checks that its mails are whole."""

COPY, OWNER, REPLY = b"copy@colleague.example", b"grete@customer.example", b"otto@customer.example"


def busy_rule(panel):
    """Adds a rule that forwards, attaches a file and lacks another."""
    rule = panel.rule(text="See below.")
    panel.forward(rule, COPY.decode())
    panel.attach(rule, "list.txt")
    panel.name_attachments(rule, "missing.txt")
    return rule


def sent(panel):
    return [mail.arguments[-1] for mail in panel.mails()]


def whole(panel):
    """Whether every mail that left is whole, and none left twice."""
    for mail in panel.mails():
        end = {COPY: b"A question.\n\n", OWNER: b"missing.txt\n\n"}.get(
            mail.arguments[-1], b"--\n" if b"multipart" in mail.message else b"\n\n\n")
        if not mail.message.endswith(end):
            return False
    return len(set(sent(panel))) == len(sent(panel))
