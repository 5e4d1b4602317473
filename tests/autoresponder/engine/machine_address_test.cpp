#include <gtest/gtest.h>

#include "autoresponder/engine/courtesy.h"

namespace {

TEST(MachineAddress, IsOne) {
  for (const char* const address : {
           "mailer-daemon@x",  "Mailer-Daemon@x",
           "MAILER-DAEMON",    "postmaster@x",
           "PostMaster@x",     "listserv@x",
           "LISTSERV@x",       "listproc@x",
           "majordomo@x",      "Majordomo@x",
           "mailman@x",        "sympa@x",
           "noreply@x",        "noreply2@x",
           "noreplies@x",      "mailer_daemon@x",
           "mailerdaemon@x",   "NoReply@x",
           "no-reply@x",       "no_reply@x",
           "no.reply@x",       "NO-REPLY@x",
           "donotreply@x",     "DoNotReply@x",
           "do-not-reply@x",   "do_not_reply@x",
           "do.not.reply@x",   "dont-reply@x",
           "dontreply@x",      "donot-reply@x",
           "do-not-respond@x", "noreply-orders@x",
           "orders-noreply@x", "shop.no-reply.de@x",
           "noreply+4711@x",   "owner-news@x",
           "Owner-News@x",     "news-owner@x",
           "co-owner@x",       "news-request@x",
           "NEWS-REQUEST@x",   "bounce@x",
           "bounces@x",        "news-bounce@x",
           "news-bounces@x",   "news-bounces+otto=customer.example@x",
           "bounce-4711@x",    "bounces_4711@x",
           "bounce=otto@x",    "\"noreply\"@x",
           "\"no\\reply\"@x",  "noreply@[192.0.2.1]",
           "\"a@b\"-owner@x",
       }) {
    EXPECT_TRUE(is_machine_address(address)) << address;
  }
}

TEST(MachineAddress, IsNotOne) {
  for (const char* const address : {
           "",
           "@",
           "@x",
           "otto@x",
           "otto@noreply.example",
           "otto+noreply@x",
           "noreplyson@x",
           "casinoreply@x",
           "no@x",
           "reply@x",
           "reply-no@x",
           "nobody-reply@x",
           "no-replys@x",
           "donate-reply@x",
           "owner@x",
           "owner-@x",
           "-owner@x",
           "owner.news@x",
           "news.owner@x",
           "landowner@x",
           "owners-club@x",
           "request@x",
           "-request@x",
           "request-news@x",
           "requests@x",
           "news-requests@x",
           "bouncer@x",
           "bouncy@x",
           "the-bounce-club@x",
           "postmasters@x",
           "postmaster.otto@x",
           "mailer@x",
           "mailerdaemon-fan@x",
           "majordomo-fan@x",
           "listserver@x",
           "mailmaniac@x",
       }) {
    EXPECT_FALSE(is_machine_address(address)) << address;
  }
}

}  // namespace
