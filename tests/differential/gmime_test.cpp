#include <algorithm>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../memory_file.h"
#include "difference_rules.h"
#include "message_generator.h"
#include "reading.h"
#include "second_opinion.h"
#include "seed.h"

namespace {

constexpr unsigned kMessages = 6000;

struct Mismatch {
  unsigned seed;
  std::string message;
  Reading ours;
  Reading gmimes;
};

// The result of reading every message both ways.
struct Comparison {
  std::vector<Mismatch> mismatches;
  std::vector<unsigned> needed;  // per rule: how many messages would differ without it
  unsigned senders = 0;
  unsigned recipients = 0;
  unsigned subjects = 0;
  unsigned bodies = 0;
  unsigned body_parts = 0;
  std::set<std::string> charsets;
  std::set<GMimeContentEncoding> encodings;
};

std::vector<DifferenceRule> all_rules() {
  std::vector<DifferenceRule> rules = header_rules();
  rules.insert(rules.end(), body_rules().begin(), body_rules().end());
  return rules;
}

// Changes the reading to ours by all rules but `left_out`.
Reading apply_rules(const std::vector<DifferenceRule>& rules, SecondOpinion opinion,
                    size_t left_out) {
  for (size_t i = 0; i < rules.size(); ++i) {
    if (i != left_out) rules[i].apply(opinion);
  }
  return opinion.reading;
}

// Counts the rules without which the readings would differ.
void count_needed_rules(const std::vector<DifferenceRule>& rules, const SecondOpinion& opinion,
                        const Reading& ours, std::vector<unsigned>& needed) {
  for (size_t i = 0; i < rules.size(); ++i) {
    if (!(apply_rules(rules, opinion, i) == ours)) ++needed[i];
  }
}

void count_what_is_there(const SecondOpinion& opinion, Comparison& comparison) {
  const Reading& reading = opinion.reading;
  comparison.senders += reading.sender.empty() ? 0 : 1;
  comparison.recipients += reading.recipient.empty() ? 0 : 1;
  comparison.subjects += reading.subject.empty() ? 0 : 1;
  comparison.bodies += reading.body.empty() ? 0 : 1;
  comparison.body_parts += opinion.has_text && !opinion.is_whole_message ? 1 : 0;
  comparison.charsets.insert(reading.charset);
  comparison.encodings.insert(opinion.encoding);
}

Comparison compare_all() {
  const CapturedDiagnostics quiet;
  Comparison comparison;
  const std::vector<DifferenceRule> rules = all_rules();
  comparison.needed.resize(rules.size());
  for (unsigned i = 0; i < kMessages; ++i) {
    const unsigned seed = first_seed() + i;
    const std::string message = make_message(seed);
    const SecondOpinion opinion = read_with_gmime(message);
    count_what_is_there(opinion, comparison);
    const Reading gmimes = apply_rules(rules, opinion, rules.size());
    const Reading ours = read_with_mimelib(message);
    if (ours == gmimes) {
      count_needed_rules(rules, opinion, ours, comparison.needed);
    } else {
      comparison.mismatches.push_back({seed, message, ours, gmimes});
    }
  }
  return comparison;
}

const Comparison& comparison() {
  static const Comparison once = compare_all();
  return once;
}

TEST(AgainstGMime, TheSameMessagesGiveTheSameReading) {
  constexpr size_t kShown = 5;
  const std::vector<Mismatch>& mismatches = comparison().mismatches;
  for (size_t i = 0; i < std::min(kShown, mismatches.size()); ++i) {
    const Mismatch& mismatch = mismatches[i];
    EXPECT_EQ(mismatch.ours, mismatch.gmimes) << "seed " << mismatch.seed << ":\n"
                                              << mismatch.message;
  }
  EXPECT_EQ(mismatches.size(), 0U);
}

TEST(AgainstGMime, EveryRuleOfDifferenceIsNeeded) {
  const std::vector<DifferenceRule> rules = all_rules();
  for (size_t i = 0; i < rules.size(); ++i) {
    std::cout << comparison().needed[i] << " messages: " << rules[i].name << '\n';
    const unsigned mended_in = rules[i].mended_in;
    const bool is_mended = mended_in != 0 && g_mime_check_version(3, 2, mended_in);
    EXPECT_NE(comparison().needed[i] > 0, is_mended) << rules[i].name << ": " << rules[i].reason;
  }
}

TEST(AgainstGMime, TheMessagesHoldWhatIsCompared) {
  EXPECT_EQ(comparison().senders, kMessages);
  EXPECT_GT(comparison().recipients, kMessages / 2);
  EXPECT_GT(comparison().subjects, kMessages / 2);
  EXPECT_GT(comparison().bodies, kMessages / 2);
  EXPECT_GT(comparison().body_parts, kMessages / 5);
  for (const char* const charset : {"utf-8", "iso-8859-1", "koi8-r", "us-ascii", "UTF-8"}) {
    EXPECT_EQ(comparison().charsets.count(charset), 1U) << charset;
  }
  for (const GMimeContentEncoding encoding :
       {GMIME_CONTENT_ENCODING_DEFAULT, GMIME_CONTENT_ENCODING_7BIT, GMIME_CONTENT_ENCODING_8BIT,
        GMIME_CONTENT_ENCODING_BINARY, GMIME_CONTENT_ENCODING_BASE64,
        GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE}) {
    EXPECT_EQ(comparison().encodings.count(encoding), 1U)
        << g_mime_content_encoding_to_string(encoding);
  }
}

}  // namespace
