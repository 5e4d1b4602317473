#include "autoresponder/engine/loop_guard.h"

#include <gtest/gtest.h>

#include "../../named_row.h"

namespace {

struct Row : NamedRow {
  const char* sender;
  const char* recipient;
  LoopGuard want;
};

class Guards : public testing::TestWithParam<Row> {};

TEST_P(Guards, Refuse) {
  IncomingMessage message;
  message.sender = GetParam().sender;
  message.recipient = GetParam().recipient;
  EXPECT_EQ(loop_guard(message), GetParam().want);
}

constexpr Row kRows[] = {
    {"Stranger", "a@b", "c@d", LoopGuard::kPassed},
    {"SenderThatIsTheRecipient", "a@b", "a@b", LoopGuard::kSenderIsRecipient},
    {"NotAnotherCase", "a@B", "a@b", LoopGuard::kPassed},
    {"MailerDaemon", "MAILER-DAEMON@x", "a@b", LoopGuard::kMailerDaemon},
    {"MailerDaemonInLowerCase", "mailer-daemon@x", "a@b", LoopGuard::kMailerDaemon},
    {"NotMailerDaemonInMixedCase", "Mailer-Daemon@x", "a@b", LoopGuard::kPassed},
    {"Scanner", "scanner-DrWEB-DAEMON@host", "a@b", LoopGuard::kMailerDaemon},
    {"MailerDaemonInTheDomain", "a@MAILER-DAEMON.example", "a@b", LoopGuard::kMailerDaemon},
    {"SenderFirst", "MAILER-DAEMON@x", "MAILER-DAEMON@x", LoopGuard::kSenderIsRecipient},
    {"Nobody", "", "", LoopGuard::kSenderIsRecipient},
};

INSTANTIATE_TEST_SUITE_P(Rows, Guards, testing::ValuesIn(kRows));

TEST(LoopGuardDiagnostic, NamesTheRefusal) {
  EXPECT_STREQ(loop_guard_diagnostic(LoopGuard::kSenderIsRecipient),
               "Field From: equial field To:");
  EXPECT_STREQ(loop_guard_diagnostic(LoopGuard::kMailerDaemon),
               "Field From: contains MAILER-DAEMON");
  EXPECT_STREQ(loop_guard_diagnostic(LoopGuard::kPassed), "");
}

}  // namespace
