#include "explain/wording.h"

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::string text_of(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(PROJECT_DIR "/" + file).rdbuf();
  return text.str();
}

// The codes that the manual page has in lists.
std::set<std::string> codes_of_the_page() {
  std::istringstream page(text_of("packaging/autoresponder-explain.8"));
  std::set<std::string> codes;
  for (std::string line; std::getline(page, line);) {
    if (line.rfind(".Li ", 0) == 0) codes.insert(line.substr(4, line.find(' ', 4) - 4));
  }
  return codes;
}

// Adds the codes of all values of an enumeration, up to the first value without words.
template <class Enumeration>
void add_codes(std::vector<std::string>& codes) {
  for (int i = 0; *words_for(static_cast<Enumeration>(i)).code != '\0'; ++i) {
    codes.emplace_back(words_for(static_cast<Enumeration>(i)).code);
  }
}

void add_codes_of_outcomes(std::vector<std::string>& codes) {
  RuleExplanation rule;
  rule.commands.push_back({Purpose::kReply, "", NotRun::kQuote});
  for (int i = 0; i <= static_cast<int>(RuleOutcome::kUnknown); ++i) {
    rule.outcome = static_cast<RuleOutcome>(i);
    codes.emplace_back(words_for(rule).code);
  }
  rule.outcome = RuleOutcome::kCommandNotRun;
  for (int i = 0; i <= static_cast<int>(NotRun::kNoProgram); ++i) {
    rule.commands[0].not_run = static_cast<NotRun>(i);
    codes.emplace_back(words_for(rule).code);
  }
}

std::vector<std::string> all_codes() {
  std::vector<std::string> codes;
  add_codes<Verdict>(codes);
  add_codes<Reason>(codes);
  add_codes_of_outcomes(codes);
  add_codes<SenderField>(codes);
  add_codes<RecipientSource>(codes);
  add_codes<LoopGuard>(codes);
  add_codes<MailboxLookup>(codes);
  add_codes<TriggerPlace>(codes);
  add_codes<LimiterStep>(codes);
  add_codes<Purpose>(codes);
  add_codes<NotRun>(codes);
  add_codes<CourtesyChange>(codes);
  return codes;
}

TEST(Wording, IsInTheManualPage) {
  std::set<std::string> page = codes_of_the_page();
  page.insert("none");  // the code of no sender, which is never written
  const std::vector<std::string> codes = all_codes();
  EXPECT_EQ(codes.size(), 71U);
  for (const std::string& code : codes) EXPECT_EQ(page.count(code), 1U) << code;
}

TEST(Repairs, AreTheRowsOfTheDocumentInTheirOrder) {
  const std::string document = text_of("docs/operators.md");
  size_t at = document.find("`AUTORESPONDER_REPAIRS` changes this and nothing else:");
  size_t rows = 0;
  for (const Repair& repair : kRepairs) {
    at = document.find("\n| `" + std::string(repair.code) + "` | ", at);
    ASSERT_NE(at, std::string::npos) << repair.code;
    ++rows;
  }
  EXPECT_EQ(rows, 19U);
}

TEST(Repairs, AreToldByTheirCodesInTheManualPage) {
  const std::set<std::string> page = codes_of_the_page();
  size_t told = 0;
  for (const Repair& repair : kRepairs) {
    if (*effect_of(repair) == '\0') continue;
    EXPECT_EQ(page.count(repair.code), 1U) << repair.code;
    ++told;
  }
  EXPECT_EQ(told, 12U);
}

TEST(Repairs, CanBeSwitchedOnAlone) {
  for (const Repair& repair : kRepairs) {
    Repairs alone;
    alone.*repair.member = true;
    EXPECT_TRUE(has_repairs({alone, false}));
    for (const Repair& other : kRepairs) {
      EXPECT_EQ(alone.*other.member, other.member == repair.member);
    }
  }
  EXPECT_FALSE(has_repairs({}));
}

}  // namespace
