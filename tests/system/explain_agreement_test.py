"""Compares what autoresponder-explain foretells with what the program then does, on generated
panels and messages; and checks that foretelling changes nothing."""

import re

import panel as sandbox
from drawn_case import SEED, TEMPORARY_NAME, Case, rows_of

CASES = 200
REPLIES = "replies", "replies_with_notice"
LOST = "read_as_option", "reply_to_unreadable"  # by the mail server, which has got them


def rows_after(rows, answer):
    """The limiter's table as it should be after the run that `answer` foretells. The column cuts
    longer senders; without repairs such a sender gets another row every time."""
    known = {(rule, sender): replies for rule, sender, replies in rows}
    new = []
    for rule in answer["rules"]:
        step = rule.get("limiter", {}).get("step")
        key = str(rule["id"]), answer["message"].get("sender", "")[:320]
        for sender in rule.get("limiter", {}).get("evicted", []):
            del known[str(rule["id"]), sender]
        if step == "count_up":
            known[key] += 1
        elif step in ("remember", "evict_and_remember"):
            new.append((*key, 1))
    return sorted([(*key, replies) for key, replies in known.items()] + new)


def commands_of(answer):
    return [command for rule in answer["rules"] for command in rule["commands"]
            if command["fate"] == "runs"]


def plain_name(command):
    """A command of the run with the template of its temporary file's name."""
    return TEMPORARY_NAME.sub(r"\1XXXXXX", command)


# The program and the explanation share the code for the order of an answer, so their agreement says
# nothing about it. Therefore that order is also compared with this one.
PURPOSES = ["forward", "notify", "attach", "reply"]
SILENT = {"switched_off", "not_triggered", "never_replies", "limit_reached", "not_reached"}


def check_order(rule):
    """A rule's commands have this order, and there is none if the limiter refused."""
    purposes = [command["purpose"] for command in rule["commands"]]
    assert purposes == [purpose for purpose in PURPOSES if purpose in purposes]
    if rule["outcome"] in SILENT:
        assert purposes == []
        assert not {"forwarding", "attachments", "notification", "reply"} & rule.keys()
    if rule["outcome"] == "not_whole":
        assert purposes[-1] == "attach"
    if rule["outcome"] in (*REPLIES, *LOST, "quote_in_command",
                           "newline_in_command", "sender_is_option"):
        assert purposes[-1] == "reply"
        assert ("attach" in purposes) == bool(rule.get("attachments", {}).get("found"))
        assert ("forward" in purposes) == ("forwarding" in rule)


def check_changes(answer):
    """What repairs would change is told only while they are off."""
    if answer["switches"]["repairs"]:
        assert "with_repairs" not in answer
        assert all("with_repairs" not in rule for rule in answer["rules"])
    for rule in answer["rules"]:
        changes = rule.get("with_repairs", [])
        if not answer["switches"]["repairs"] and rule["outcome"] == "quote_in_command":
            assert "quotes" in changes
        if rule["outcome"] in SILENT:
            assert set(changes) <= {"limiter"}


def check_with_courtesy(panel, case, answer):
    """What courtesy would change is what is foretold with courtesy on."""
    if "with_courtesy" not in answer:
        return
    panel.switch(case.repairs, True)
    again = panel.explain(case.message, "--json", recipient=case.recipient).answer()
    assert (again["verdict"] == "no_reply") == (answer["with_courtesy"] == "no_reply")
    panel.switch(case.repairs, False)


def check_objections(answer, result):
    """The run gives the reasons for no reply that were foretold."""
    told = {rule["objection"] for rule in answer["rules"] if rule["outcome"] == "courtesy"}
    said = set(re.findall("autoresponder: no reply, courtesy: (.*)", result.err.decode("latin-1")))
    assert told == said


def check_case(panel, case):
    """Foretells, runs, compares; returns the reasons and outcomes that came up."""
    panel.forget_commands()
    sandbox.forget_mails()
    case.install(panel)
    panel.leave_all_to_the_shell()
    before = panel.state()
    answer = panel.explain(case.message, "--json", "--show-reply", recipient=case.recipient).answer()
    assert panel.state() == before
    assert panel.mails() == []
    check_with_courtesy(panel, case, answer)
    rows = rows_of(panel)
    panel.forget_commands()
    result = panel.run(case.message, recipient=case.recipient)

    commands = commands_of(answer)
    assert [plain_name(command) for command in panel.commands()] == [
        command["line"] for command in commands]
    mails = panel.mails()
    purposes = [command["purpose"] for command in commands if command["purpose"] != "attach"]
    replies = [mail.message for mail, purpose in zip(mails, purposes) if purpose == "reply"]
    assert replies == [rule["reply"]["text"].encode() for rule in answer["rules"]
                       if rule["outcome"] in (*REPLIES, *LOST)]
    assert (answer["verdict"] == "reply") == any(rule["outcome"] in REPLIES for rule in answer["rules"])
    assert rows_of(panel) == rows_after(rows, answer)
    assert answer["switches"] == {"repairs": case.repairs, "courtesy": case.courtesy}
    for rule in answer["rules"]:
        check_order(rule)
    check_changes(answer)
    outcomes = [rule["outcome"] for rule in answer["rules"]]
    assert (result.status == 1) == ("recipient_not_ascii" in outcomes)
    aborted = result.status < 0
    assert aborted == (answer["reason"] == "run_aborts")
    check_objections(answer, result)
    if aborted:  # the file of such a run stays
        panel.remove_temporary_files()
    assert not (case.repairs and aborted)
    return {answer["reason"], *outcomes,
            f"switches {case.repairs} {case.courtesy}",
            *(f"repairs: {change}" for told in [answer, *answer["rules"]]
              for change in told.get("with_repairs", [])), *(c["purpose"] for c in commands),
            *(rule["limiter"].get("step") for rule in answer["rules"] if "limiter" in rule),
            *(rule["trigger"]["place"] for rule in answer["rules"] if "trigger" in rule),
            *([answer["mailbox"]["found_by"]] if "mailbox" in answer else [])}


def test_foretells_what_the_run_does(panel):
    seen = set()
    for number in range(CASES):
        case = Case(number)
        try:
            seen |= check_case(panel, case)
        except Exception as trouble:
            raise AssertionError(f"case {number} of EXPLAIN_SEED={SEED}: {case.message!r}"
                                 f" to {case.recipient!r}\n{case.statements}") from trouble
    assert {
        "rule_replies", "no_sender", "no_recipient", "run_aborts", "sender_is_recipient",
        "mailer_daemon", "mailbox_not_found", "no_rules", "no_rule_replies",
        "replies", "replies_with_notice", "switched_off", "not_triggered", "never_replies",
        "limit_reached", "quote_in_command", "recipient_not_ascii", "not_reached",
        "newline_in_command", "sender_is_option", "not_whole", "courtesy",
        *(f"switches {repairs} {courtesy}" for repairs in (False, True)
          for courtesy in (False, True)),
        *(f"repairs: {change}" for change in (
            "limiter", "quotes", "forwarding", "newlines", "options", "store", "lines",
            "notification", "subject")),
        "forward", "notify", "attach", "reply",
        "refuse", "count_up", "remember", "evict_and_remember", "nowhere", "subject", "body",
        "mail_name", "alias", "domain_alias", "alias_and_domain_alias"} - seen == set()
