#include <sstream>

#include <gtest/gtest.h>

#include "autoresponder/reply/reply_text.h"

namespace {

constexpr const char* kAlways = "Auto-Submitted: auto-replied\nX-Auto-Response-Suppress: All\n";

TEST(ReplyCourtesyFields, SayThatTheReplyIsAutomatic) {
  EXPECT_EQ(reply_courtesy_fields({}), kAlways);
}

TEST(ReplyCourtesyFields, NameTheMessage) {
  CourtesyFacts facts;
  facts.message_id = "<b@x>";
  EXPECT_EQ(reply_courtesy_fields(facts),
            std::string(kAlways) + "In-Reply-To: <b@x>\nReferences: <b@x>\n");
}

TEST(ReplyCourtesyFields, NameTheThreadAndTheMessage) {
  CourtesyFacts facts;
  facts.message_id = "<c@x>";
  facts.references = {"<a@x>", "<b@x>"};
  EXPECT_EQ(reply_courtesy_fields(facts),
            std::string(kAlways) + "In-Reply-To: <c@x>\nReferences: <a@x>\n\t<b@x>\n\t<c@x>\n");
}

TEST(ReplyCourtesyFields, NameTheThreadOfAMessageWithoutAnId) {
  CourtesyFacts facts;
  facts.references = {"<a@x>"};
  EXPECT_EQ(reply_courtesy_fields(facts), std::string(kAlways) + "References: <a@x>\n");
}

TEST(ReplyCourtesyFields, HaveNoLineThatIsTooLong) {
  const std::string id = "<" + std::string(897, 'x') + "@y>";
  CourtesyFacts facts;
  facts.message_id = id;
  facts.references = std::vector<std::string>(20, id);
  std::istringstream lines(reply_courtesy_fields(facts));
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count) EXPECT_LT(line.size(), 998U);
  EXPECT_EQ(count, 24);
}

}  // namespace
