#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "autoresponder/message/body_lines.h"

namespace {

// Where the key occurs, as the standard strings find it.
size_t found_at(std::string_view text, std::string_view key) {
  const char* const found = find_text(text, key);
  return found == nullptr ? std::string_view::npos : static_cast<size_t>(found - text.data());
}

TEST(FindText, FindsWhatTheStandardStringsFind) {
  // Few letters, so that keys nearly match everywhere and the bounded number of comparisons runs
  // out.
  unsigned state = 1;
  const auto draw = [&state](size_t length, unsigned letters) {
    std::string text;
    for (size_t i = 0; i < length; ++i) {
      state = state * 1103515245 + 12345;
      text += static_cast<char>('a' + (state >> 16) % letters);
    }
    return text;
  };
  for (size_t length = 0; length < 200; ++length) {
    for (unsigned letters = 1; letters < 5; ++letters) {
      for (size_t key_length = 0; key_length < 12; ++key_length) {
        const std::string text = draw(length, letters);
        const std::string key = draw(key_length, letters);
        EXPECT_EQ(found_at(text, key), text.find(key)) << key << " in " << text;
      }
    }
  }
}

TEST(FindText, FindsTheLastBytes) {
  const std::string text = std::string(5000, 'a') + "b";
  EXPECT_EQ(found_at(text, "b"), 5000U);
  EXPECT_EQ(found_at(text, "ab"), 4999U);
  EXPECT_EQ(found_at(text, "bc"), std::string_view::npos);
  EXPECT_EQ(found_at(text, text), 0U);
  EXPECT_EQ(found_at(text, text + "a"), std::string_view::npos);
}

TEST(FindText, FindsNothingInNothing) {
  EXPECT_EQ(find_text({}, "a"), nullptr);
  EXPECT_EQ(found_at("", ""), 0U);
}

// Quadratic time would take minutes.
TEST(FindText, TakesLinearTimeOnPeriodicText) {
  const std::string text(size_t{16} << 20, 'a');
  EXPECT_EQ(found_at(text, std::string(100000, 'a') + "b"), std::string_view::npos);
  EXPECT_EQ(found_at(text, "b" + std::string(100000, 'a')), std::string_view::npos);
}

}  // namespace
