#include "autoresponder/panel/frequency_limiter.h"

#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "../../named_row.h"

namespace {

struct Row : NamedRow {
  std::optional<const char*> replies_today;
  int senders;
  const char* ans_freq;
  const char* mem_limit;
  LimiterStep want;
};

class Step : public testing::TestWithParam<Row> {};

TEST_P(Step, Is) {
  const Row& row = GetParam();
  const std::optional<std::string> replies_today = row.replies_today;
  EXPECT_EQ(limiter_step(replies_today, row.senders, row.ans_freq, row.mem_limit), row.want);
}

const Row kRows[] = {
    {"NewSender", {}, 0, "10", "1000", LimiterStep::kRemember},
    {"LastNewSenderThatFits", {}, 1, "10", "2", LimiterStep::kRemember},
    {"NewSenderWhenFull", {}, 2, "10", "2", LimiterStep::kEvictAndRemember},
    {"NewSenderWhenOverfull", {}, 3, "10", "2", LimiterStep::kEvictAndRemember},
    {"NewSenderWhereNobodyIsRemembered", {}, 0, "10", "0", LimiterStep::kEvictAndRemember},
    {"MemoryThatIsNoNumber", {}, 0, "10", "many", LimiterStep::kEvictAndRemember},
    {"KnownSender", "1", 5, "10", "1000", LimiterStep::kCountUp},
    {"KnownSenderWhenFull", "1", 5, "10", "5", LimiterStep::kCountUp},
    {"LastReply", "9", 1, "10", "1000", LimiterStep::kCountUp},
    {"EnoughReplies", "10", 1, "10", "1000", LimiterStep::kRefuse},
    {"MoreThanEnough", "11", 1, "10", "1000", LimiterStep::kRefuse},
    {"CountThatIsNoNumber", "x", 1, "1", "1000", LimiterStep::kCountUp},
    {"CountWithMoreAfterIt", "3x", 1, "3", "1000", LimiterStep::kRefuse},
};

INSTANTIATE_TEST_SUITE_P(Rows, Step, testing::ValuesIn(kRows));

TEST(NeverReplies, WhenTheNumberIsNotAboveZero) {
  for (const char* number : {"0", "-1", "", "abc", " "}) EXPECT_TRUE(never_replies(number));
  for (const char* number : {"1", "10", " 2", "+3", "4x"}) EXPECT_FALSE(never_replies(number));
}

}  // namespace
