"""Two mail servers on one database: what they share, and what a customer sees where they are set up
differently."""

import shutil
import time

import pytest

from proxy_panel import COPY, OWNER, REPLY, message, sandbox, sent, wait_until
from two_servers import HOME, SecondServer

LATIN_LETTER = (b"From: otto@customer.example\nTo: info@shop.example\nSubject: Hello\n"
                b"Content-Type: text/plain; charset=windows-1252\n\nSch\xf6ne Gr\xfc\xdfe\n")


@pytest.fixture
def first(panel, proxy):
    """The panel's own server, which has a proxy too."""
    proxy()
    return panel


@pytest.fixture
def second(first):
    server = SecondServer()
    yield server
    server.proxy.stop()
    shutil.rmtree(HOME)


def run_both(first, second, text=None):
    """Runs both on one message; returns what they wrote to standard error."""
    ends = [server.run(text or message()) for server in (first, second)]
    assert [end.status for end in ends] == [0, 0]
    return tuple(end.err for end in ends)


# --- what they share ------------------------------------------------------------------------------

def test_both_do_the_same(first, second):
    rule = first.rule()
    first.forward(rule, COPY.decode())
    first.attach(rule, "list.txt")
    assert run_both(first, second) == (b"", b"")
    assert sent(first) == sent(second) == [COPY, REPLY]
    assert [mail.message for mail in first.mails()] == [mail.message for mail in second.mails()]


def test_a_sender_whom_one_has_answered_gets_no_more_from_the_other(first, second):
    first.rule(ans_freq=1)
    assert run_both(first, second) == (b"", b"")
    assert (sent(first), sent(second)) == ([REPLY], [])
    assert first.senders() == [("1", "otto@customer.example", "1")]


@pytest.mark.parametrize("zone", ["Pacific/Kiritimati", "Pacific/Pago_Pago"])
@pytest.mark.parametrize("day, mails",
                         [("curdate()", []), ("curdate() - interval 1 second", [REPLY])])
def test_the_day_is_the_database_servers_not_the_mail_servers(first, second, zone, day, mails):
    first.rule(ans_freq=1)
    first.sql("insert into resp_freq (rn_id, email, num, time_resp)"
              f" values (1, 'otto@customer.example', 1, {day});")
    assert second.run(message(), TZ=zone).err == b""
    assert sent(second) == mails


# --- what must be equal ---------------------------------------------------------------------------

def test_another_limit_on_size_decides_between_reply_and_notice(first, second):
    first.rule(text="x" * 5000)
    second.limit("4000")
    assert run_both(first, second) == (b"", b"")
    assert [len(mail.message) > 4000 for mail in (*first.mails(), *second.mails())] == [True, False]


def test_courtesy_on_one_server_only_lets_chance_decide_about_a_newsletter(first, second):
    first.rule()
    second.configure(AUTORESPONDER_COURTESY="on")
    err = run_both(first, second, b"List-Id: <news.example>\n" + message())
    assert err == (b"", b"autoresponder: no reply, courtesy: List-Id\n")
    assert (sent(first), sent(second)) == ([REPLY], [])
    assert first.senders() == [("1", "otto@customer.example", "2")]


def test_repairs_on_one_server_only_let_chance_decide_about_a_quote(first, second):
    first.rule()
    second.configure(AUTORESPONDER_REPAIRS="on")
    refused, err = run_both(first, second, message(sender="o'neil@x.example"))
    assert refused == (
        b"autoresponder: refused to run a command with a quote in: o'neil@x.example\n")
    assert err == b""
    assert (sent(first), sent(second)) == ([], [b"o'neil@x.example"])


def test_repairs_on_one_server_only_lock_nothing_for_the_other(first, second):
    first.rule()
    second.configure(AUTORESPONDER_REPAIRS="on")
    lock = first.start_sql("start transaction; select id from mail_resp where id=1 for update;"
                           " select sleep(1.5);")
    wait_until(lambda: "sleep" in first.sql("select info from information_schema.processlist"
                                            " where info like 'select sleep%'"))
    begin = time.monotonic()
    assert first.run(message()).err == b""
    unlocked = time.monotonic() - begin
    assert second.run(message()).err == b""
    assert unlocked < 1 <= time.monotonic() - begin
    lock.wait()


def test_without_the_shared_files_the_owner_is_told_at_each_reply(first, second):
    first.attach(first.rule(), "list.txt")
    second.configure(QMAIL_MAILNAMES_D=str(HOME / "store"))
    assert run_both(first, second) == (b"", b"")
    assert (sent(first), sent(second)) == ([REPLY], [OWNER, REPLY])


def test_a_server_without_a_charset_misses_the_trigger(first, second):
    first.rule(keystr="Grüße", key_where="body")
    assert run_both(first, second, LATIN_LETTER) == (b"", b"")
    without = "mount -t tmpfs tmpfs /usr/lib/*-linux-gnu/gconv &&"
    result = second.run(LATIN_LETTER, without)
    assert result.err == b"Could not convert message body text from windows-1252 to UTF-8.\n"
    assert (sent(first), sent(second)) == ([REPLY], [REPLY])


# --- what may differ ------------------------------------------------------------------------------

@pytest.mark.parametrize("repairs", ["off", "on"])
def test_the_shared_files_may_have_another_path_and_be_mounts(first, second, repairs):
    first.attach(first.rule(), "list.txt")
    place = HOME / "store" / "shop.example"
    place.mkdir(parents=True)
    second.configure(QMAIL_MAILNAMES_D=str(HOME / "store"), AUTORESPONDER_REPAIRS=repairs)
    result = second.run(message(), f"mount --bind {sandbox.MAILNAMES}/shop.example {place} &&")
    assert (result.status, result.err) == (0, b"")
    (mail,) = second.mails()
    assert b'filename="list.txt"\n\nY29udGVudA==\n' in mail.message
