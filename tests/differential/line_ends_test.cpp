#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../memory_file.h"
#include "message_generator.h"
#include "mutation.h"
#include "random.h"
#include "reading.h"
#include "recorded_messages.h"
#include "seed.h"

namespace {

constexpr unsigned kGenerated = 2000;
constexpr unsigned kMutationsOfEach = 10;

// `message` with its lines ended by `line_end`; carriage returns elsewhere stay.
std::string with_line_ends(const std::string& message, const char* line_end) {
  std::string result;
  for (const char c : message) {
    if (c != '\n') {
      result += c;
      continue;
    }
    while (!result.empty() && result.back() == '\r') result.pop_back();
    result += line_end;
  }
  // A CR that is left at the end would form a line end with the newline of spooling.
  while (!result.empty() && result.back() == '\r') result.pop_back();
  return result;
}

std::string unfolded(std::string text) {
  const auto is_line_end = [](char c) { return c == '\r' || c == '\n'; };
  text.erase(std::remove_if(text.begin(), text.end(), is_line_end), text.end());
  return text;
}

// Reads what the header says, whatever ends its lines.
Reading read_header(const std::string& message) {
  Reading reading;
  try {
    reading = read_with_mimelib(message);
  } catch (const std::out_of_range&) {
    reading.subject = "(none: blanks after an encoded word end it)";
  }
  reading.sender = unfolded(reading.sender);
  reading.recipient = unfolded(reading.recipient);
  reading.subject = unfolded(reading.subject);
  reading.charset.clear();
  reading.body.clear();
  return reading;
}

// Compares messages, and counts those that could have differed.
class LineEnds {
 public:
  void Check(const std::string& message) {
    const std::string lf = with_line_ends(message, "\n");
    const std::string crlf = with_line_ends(message, "\r\n");
    const Reading reading = read_header(lf);
    const Reading other = read_header(crlf);
    if (!(reading == other) && ++differences_ <= kShown) {
      EXPECT_EQ(reading, other) << testing::PrintToString(lf);
    }
    ++checked_;
    with_sender_ += reading.sender.empty() ? 0 : 1;
    with_subject_ += reading.subject.empty() ? 0 : 1;
  }

  void ExpectNoDifference() const {
    std::cout << checked_ << " messages\n";
    EXPECT_EQ(differences_, 0U);
    EXPECT_GT(with_sender_, checked_ / 2);
    EXPECT_GT(with_subject_, checked_ / 8);
  }

 private:
  static constexpr unsigned kShown = 5;

  unsigned differences_ = 0;
  unsigned checked_ = 0;
  unsigned with_sender_ = 0;
  unsigned with_subject_ = 0;
};

void check_mutations(Random& random, const std::string& message, LineEnds& line_ends) {
  for (unsigned i = 0; i < kMutationsOfEach; ++i) line_ends.Check(mutate(random, message));
}

TEST(LineEndsDoNotMatter, InGeneratedMessages) {
  const CapturedDiagnostics quiet;
  LineEnds line_ends;
  for (unsigned i = 0; i < kGenerated; ++i) line_ends.Check(make_message(first_seed() + i));
  line_ends.ExpectNoDifference();
}

TEST(LineEndsDoNotMatter, InRecordedMessages) {
  const CapturedDiagnostics quiet;
  LineEnds line_ends;
  for (const std::string& message : recorded_messages()) line_ends.Check(message);
  line_ends.ExpectNoDifference();
}

TEST(LineEndsDoNotMatter, InMutationsOfGeneratedMessages) {
  const CapturedDiagnostics quiet;
  LineEnds line_ends;
  Random random(first_seed());
  for (unsigned i = 0; i < kGenerated; ++i) {
    check_mutations(random, make_message(first_seed() + i), line_ends);
  }
  line_ends.ExpectNoDifference();
}

TEST(LineEndsDoNotMatter, InMutationsOfRecordedMessages) {
  const CapturedDiagnostics quiet;
  LineEnds line_ends;
  Random random(first_seed());
  for (const std::string& message : recorded_messages()) {
    check_mutations(random, message, line_ends);
  }
  line_ends.ExpectNoDifference();
}

}  // namespace
