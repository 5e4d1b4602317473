#include "autoresponder/panel/rule.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "autoresponder/message/body_lines.h"

namespace {

ResponderRule rule_of(const char* key_where, const char* keystr) {
  ResponderRule rule;
  rule.key_where = key_where;
  rule.keystr = keystr;
  rule.resp_on = "true";
  return rule;
}

bool fires(const ResponderRule& rule, IncomingMessage& message) {
  return find_triggers({rule}, message).at(0).fires;
}

TEST(Rule, HasADefaultForEveryNull) {
  char* row[11] = {};
  const ResponderRule rule(row);
  EXPECT_STREQ(rule.id, "0");
  EXPECT_STREQ(rule.keystr, "");
  EXPECT_STREQ(rule.key_where, "no");
  EXPECT_STREQ(rule.text, "");
  EXPECT_STREQ(rule.resp_on, "false");
  EXPECT_STREQ(rule.ans_freq, "10");
  EXPECT_STREQ(rule.mem_limit, "1000");
  EXPECT_STREQ(rule.subject, "");
  EXPECT_STREQ(rule.reply_to, "");
  EXPECT_STREQ(rule.charset, "UTF-8");
  EXPECT_STREQ(rule.content_type, "text/plain");
}

Repairs in_lines() {
  Repairs repairs;
  repairs.lines = true;
  return repairs;
}

TEST(RepairedRule, IsTheRuleWithoutRepairs) {
  ResponderRule rule;
  rule.reply_to = "\"a@x\n";
  rule.charset = "UTF-8\x01";
  rule.content_type = "text/plain\n";
  const RepairedRule repaired(rule, {});
  EXPECT_STREQ(repaired.rule().reply_to, "\"a@x\n");
  EXPECT_STREQ(repaired.rule().charset, "UTF-8\x01");
  EXPECT_STREQ(repaired.rule().content_type, "text/plain\n");
}

TEST(RepairedRule, HasNoReplyToThatCannotBeParsed) {
  Repairs repairs;
  repairs.reply_to = true;
  ResponderRule rule;
  rule.reply_to = "\"Shop <a@b.example>";
  EXPECT_STREQ(RepairedRule(rule, repairs).rule().reply_to, "");
  rule.reply_to = "\"Shop\" <a@b.example>";
  EXPECT_STREQ(RepairedRule(rule, repairs).rule().reply_to, "\"Shop\" <a@b.example>");
}

TEST(RepairedRule, HasBlanksForControlCharactersInHeaderTexts) {
  ResponderRule rule;
  rule.reply_to = "a@x\r\nBcc: b@x";
  rule.charset = "UTF-8\x01";
  rule.content_type = "text/plain;\n\tx=\x7Fy";
  rule.text = "two\nlines";
  rule.subject = "two\nlines";
  rule.id = "7";
  const RepairedRule in_one_line(rule, in_lines());
  EXPECT_STREQ(in_one_line.rule().reply_to, "a@x  Bcc: b@x");
  EXPECT_STREQ(in_one_line.rule().charset, "UTF-8 ");
  EXPECT_STREQ(in_one_line.rule().content_type, "text/plain;  x= y");
  EXPECT_STREQ(in_one_line.rule().text, "two\nlines");
  EXPECT_STREQ(in_one_line.rule().subject, "two\nlines");
  EXPECT_STREQ(in_one_line.rule().id, "7");
}

TEST(RepairedRule, LeavesOtherBytesAsTheyAre) {
  ResponderRule rule;
  rule.reply_to = " \x80\xC3\xBC\xFF ~!\"";
  EXPECT_STREQ(RepairedRule(rule, in_lines()).rule().reply_to, " \x80\xC3\xBC\xFF ~!\"");
}

TEST(Rule, KeepsEveryColumnAsText) {
  std::string columns[] = {"7",   "Invoice", "subj", "Thank you.\n", "true",     "3",
                           "0x5", "Re",      "a@b",  "KOI8-R",       "text/html"};
  char* row[11];
  for (size_t i = 0; i < 11; ++i) row[i] = columns[i].data();
  const ResponderRule rule(row);
  EXPECT_STREQ(rule.id, "7");
  EXPECT_STREQ(rule.keystr, "Invoice");
  EXPECT_STREQ(rule.key_where, "subj");
  EXPECT_STREQ(rule.text, "Thank you.\n");
  EXPECT_STREQ(rule.resp_on, "true");
  EXPECT_STREQ(rule.ans_freq, "3");
  EXPECT_STREQ(rule.mem_limit, "0x5");
  EXPECT_STREQ(rule.subject, "Re");
  EXPECT_STREQ(rule.reply_to, "a@b");
  EXPECT_STREQ(rule.charset, "KOI8-R");
  EXPECT_STREQ(rule.content_type, "text/html");
}

TEST(Rule, TakesAnEmptyColumnForNoDefault) {
  std::string empty;
  char* row[11];
  for (char*& column : row) column = empty.data();
  const ResponderRule rule(row);
  EXPECT_STREQ(rule.id, "");
  EXPECT_STREQ(rule.key_where, "");
  EXPECT_STREQ(rule.resp_on, "");
  EXPECT_STREQ(rule.ans_freq, "");
  EXPECT_STREQ(rule.mem_limit, "");
  EXPECT_STREQ(rule.charset, "");
  EXPECT_STREQ(rule.content_type, "");
}

TEST(Rule, IsQueriedByTheMailboxAsItStands) {
  EXPECT_EQ(rules_query("42"),
            "select id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to, "
            "charset, content_type from mail_resp where mn_id=42");
}

bool active_with(const char* resp_on) {
  ResponderRule rule;
  rule.resp_on = resp_on;
  return is_active(rule);
}

TEST(Rule, IsSwitchedOffByFalseAlone) {
  EXPECT_FALSE(active_with("false"));
  EXPECT_TRUE(active_with("true"));
  EXPECT_TRUE(active_with(""));
  EXPECT_TRUE(active_with("False"));
  EXPECT_TRUE(active_with("FALSE"));
  EXPECT_TRUE(active_with("false "));
  EXPECT_TRUE(active_with("0"));
}

struct Trigger : NamedRow {
  const char* key_where;
  const char* keystr;
  const char* subject;
  std::optional<std::string> body;
  bool fires;
};

class RuleTrigger : public testing::TestWithParam<Trigger> {};

TEST_P(RuleTrigger, Fires) {
  const Trigger& row = GetParam();
  IncomingMessage message;
  message.subject = row.subject;
  if (row.body) message.body_lines = std::make_unique<BodyLines>(*row.body);
  EXPECT_EQ(fires(rule_of(row.key_where, row.keystr), message), row.fires);
}

const Trigger kTriggers[] = {
    {"KeyInSubject", "subj", "Invoice", "Re: Invoice 42", "", true},
    {"KeyIsTheSubject", "subj", "Invoice", "Invoice", "", true},
    {"OtherCaseInSubject", "subj", "Invoice", "re: invoice 42", "", false},
    {"KeyInBodyOnly", "subj", "Invoice", "Hello", "Invoice", false},
    {"PartOfTheKeyInSubject", "subj", "Invoice", "Invoic", "", false},
    {"BlankOfTheKeyInSubject", "subj", " 42", "Invoice 42", "", true},
    {"BlankOfTheKeyNotInSubject", "subj", "Invoice ", "Invoice", "", false},
    {"Utf8KeyInSubject", "subj", "Gr\xC3\xBC\xC3\x9F", "Re: Gr\xC3\xBC\xC3\x9F\x65", "", true},
    {"PatternIsText", "subj", "I.*e", "Invoice", "", false},
    {"EmptyKeyInSubject", "subj", "", "Hello", "", true},
    {"EmptyKeyInEmptySubject", "subj", "", "", std::nullopt, true},
    {"KeyInEmptySubject", "subj", "Invoice", "", "Invoice", false},

    {"KeyInFirstLine", "body", "Invoice", "", "My Invoice\nplease\n", true},
    {"KeyInLastLine", "body", "Invoice", "", "please\nInvoice", true},
    {"OtherCaseInBody", "body", "Invoice", "", "invoice\n", false},
    {"KeyInSubjectOnly", "body", "Invoice", "Invoice", "Hello\n", false},
    {"KeyAcrossALineBreak", "body", "In\nvoice", "", "In\nvoice\n", false},
    {"KeyAcrossADroppedLineBreak", "body", "Invoice", "", "In\nvoice\n", false},
    {"EmptyKeyInBody", "body", "", "", "Hello\n", true},
    {"EmptyKeyInEmptyBody", "body", "", "", "", true},
    {"EmptyKeyInNoBody", "body", "", "", std::nullopt, false},
    {"KeyInNoBody", "body", "Invoice", "", std::nullopt, false},

    {"NoTrigger", "no", "Invoice", "Hello", "Hello\n", true},
    {"NoTriggerAndNoBody", "no", "Invoice", "", std::nullopt, true},
    {"EmptyTrigger", "", "Invoice", "Hello", "Hello\n", true},
    {"TriggerInOtherCase", "Subj", "Invoice", "Hello", "Hello\n", true},
    {"LongerTrigger", "subject", "Invoice", "Hello", "Hello\n", true},
    {"UnknownTrigger", "sender", "Invoice", "Hello", "Hello\n", true},
};

INSTANTIATE_TEST_SUITE_P(Rows, RuleTrigger, testing::ValuesIn(kTriggers));

TEST(RuleTrigger, IsFoundInLinearTime) {
  const std::string half(500000, 'a');
  IncomingMessage message;
  message.subject = half + half;
  const std::string other = half + "b";
  EXPECT_FALSE(fires(rule_of("subj", other.c_str()), message));
  EXPECT_TRUE(fires(rule_of("subj", half.c_str()), message));
}

TEST(RuleTrigger, OfNullFiresForEveryMessage) {
  char on[] = "true";
  char* row[11] = {};
  row[4] = on;
  IncomingMessage message;
  EXPECT_TRUE(fires(ResponderRule(row), message));
}

TEST(RuleTrigger, OfARuleThatIsOffNeverFires) {
  ResponderRule rule = rule_of("no", "");
  rule.resp_on = "false";
  IncomingMessage message;
  EXPECT_FALSE(fires(rule, message));
}

// A body that notes what it was asked.
class AskedBody : public Body {
 public:
  explicit AskedBody(std::vector<std::string>& asked) : asked_(asked) {}

  std::vector<size_t> FirstWith(const std::vector<std::string_view>& keys) override {
    asked_.emplace_back("asked");
    asked_.insert(asked_.end(), keys.begin(), keys.end());
    return std::vector<size_t>(keys.size(), 7);
  }

 private:
  std::vector<std::string>& asked_;
};

TEST(RuleTrigger, AsksTheBodyOnceForTheRulesThatLookThere) {
  std::vector<std::string> asked;
  IncomingMessage message;
  message.subject = "offer";
  message.body_lines = std::make_unique<AskedBody>(asked);
  ResponderRule off = rule_of("body", "off");
  off.resp_on = "false";
  const auto matches = find_triggers(
      {rule_of("body", "one"), rule_of("subj", "offer"), off, rule_of("body", "two")}, message);
  EXPECT_EQ(asked, (std::vector<std::string>{"asked", "one", "two"}));
  const size_t lines[] = {7, 0, 0, 7};
  const bool fires[] = {true, true, false, true};
  for (size_t i = 0; i < matches.size(); ++i) {
    EXPECT_EQ(matches[i].line, lines[i]);
    EXPECT_EQ(matches[i].fires, fires[i]);
  }
}

}  // namespace
