#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "encoded.h"
#include "mimelib/decode.h"

using namespace std::string_view_literals;

namespace {

class DecodeBase64 : public testing::TestWithParam<Encoded> {};

TEST_P(DecodeBase64, Gives) {
  expect_decoded(GetParam(), DwDecodeBase64);
}

constexpr Encoded kBase64[] = {
    {"Nothing", "", "", 0},
    {"FullGroup", "QUJD\n\n", "ABC", 0},
    {"FullGroupWithoutLineEnd", "QUJD", "ABC", 0},
    {"OnePaddingByte", "QUI=\n\n", "AB", 0},
    {"TwoPaddingBytes", "QQ==\n\n", "A", 0},
    {"EveryByteOfTheAlphabet", "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/\n",
     "\x00\x10\x83\x10\x51\x87\x20\x92\x8B\x30\xD3\x8F\x41\x14\x93\x51\x55\x97\x61\x96\x9B\x71"
     "\xD7\x9F\x82\x18\xA3\x92\x59\xA7\xA2\x9A\xAB\xB2\xDB\xAF\xC3\x1C\xB3\xD3\x5D\xB7\xE3\x9E"
     "\xBB\xF3\xDF\xBF"sv,
     0},
    {"Lines", "QUJD\r\nREVG\r\n", "ABCDEF", 0},
    {"LineEndInAGroup", "QU\r\nJD\n", "ABC", 0},
    {"BytesOutsideTheAlphabet", "Q-U_J*\xE9\0D\n"sv, "ABC", 0},
    {"NothingOfLineEnds", "\n\n\n", "", 0},
    {"NothingOfOtherBytes", "----\n", "\0\0\0\0\0"sv, -1},
    {"GroupOfOne", "QUJDR\n", "ABC", 0},
    {"GroupOfTwo", "QUJDRE\n", "ABC", 0},
    {"GroupOfThree", "QUJDREU\n", "ABC", 0},
    {"OneGroupOfThree", "QUI\n", "", 0},
    {"OnePaddingByteTooFew", "QQ= \n\n", "", 0},
    {"PaddingTooEarly", "Q===\n\n", "", 0},
    {"PaddingBetween", "QU=D\n\n", "", 0},
    {"PaddingFirst", "=QUJD\n", "", 0},
    {"NothingAfterPadding", "QQ==QUJD\n", "A", 0},
    {"NothingAfterOnePaddingByte", "QUI=QUJD", "AB", 0},
    {"PaddingGroup", "QUJD====", "ABC", 0},
    // Kept: texts of these lengths give NULs.
    {"OneByte", "Q", "\0"sv, -1},
    {"TwoBytes", "\n\n", "\0\0"sv, -1},
    {"ThreeBytes", "QUI", "", 0},
    {"FiveBytes", "QUJD\n", "\0\0\0\0\0"sv, -1},
    {"SixBytes", "QUJD\n\n", "ABC", 0},
    {"NineBytes", "QUJDREVG\n", "ABCDEF", 0},
};

INSTANTIATE_TEST_SUITE_P(Rows, DecodeBase64, testing::ValuesIn(kBase64));

TEST(DecodeBase64, WorksInPlace) {
  DwString text("QUJDREVG");
  EXPECT_EQ(DwDecodeBase64(text, text), 0);
  EXPECT_EQ(bytes_of(text), "ABCDEF");
}

TEST(DecodeBase64, ReadsASlice) {
  const DwString whole("xxQUJDREVGxx");
  DwString out;
  EXPECT_EQ(DwDecodeBase64(slice_of(whole, 2, 8), out), 0);
  EXPECT_EQ(bytes_of(out), "ABCDEF");
}

TEST(DecodeBase64, ReadsAMillionGroups) {
  std::string text;
  std::string want;
  for (int i = 0; i < 1000000; ++i) {
    text += "QUJD";
    want += "ABC";
  }
  DwString out;
  EXPECT_EQ(DwDecodeBase64(string_of(text), out), 0);
  EXPECT_TRUE(bytes_of(out) == want);
}

// Long enough for the decoder to take many symbols at once.
std::string long_text() {
  std::string text;
  for (int i = 0; i < 30; ++i) text += "QUJD";
  return text;
}

std::string long_bytes() {
  std::string bytes;
  for (int i = 0; i < 30; ++i) bytes += "ABC";
  return bytes;
}

TEST(DecodeBase64, SkipsBytesOutsideTheAlphabetWhereverTheyStand) {
  const std::string text = long_text();
  for (const char* other : {"\n", "\r\n", "-", "\xC1", "\n\n", " "}) {
    for (size_t i = 0; i <= text.size(); ++i) {
      DwString out;
      EXPECT_EQ(DwDecodeBase64(string_of(std::string(text).insert(i, other)), out), 0);
      EXPECT_EQ(bytes_of(out), long_bytes()) << i;
    }
  }
}

TEST(DecodeBase64, SkipsEveryOtherByteOfTheTableAtEveryPlace) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
  for (int code = 0; code < 256; ++code) {
    const char c = static_cast<char>(code);
    if (kAlphabet.find(c) != std::string_view::npos) continue;
    for (size_t place = 0; place < 40; ++place) {
      DwString out;
      DwDecodeBase64(string_of(long_text().insert(place, 1, c)), out);
      EXPECT_EQ(bytes_of(out), long_bytes()) << code << " at " << place;
    }
  }
}

TEST(DecodeBase64, GivesEverySymbolItsValueAtEveryPlace) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (size_t value = 0; value < 64; ++value) {
    for (size_t place = 0; place < 32; ++place) {
      std::string text(64, 'A');
      text[place] = kAlphabet[value];
      std::string want(48, '\0');
      const size_t bits = value << 6 * (3 - place % 4);
      for (size_t i = 0; i < 3; ++i)
        want[place / 4 * 3 + i] = static_cast<char>(bits >> 8 * (2 - i));
      DwString out;
      EXPECT_EQ(DwDecodeBase64(string_of(text), out), 0);
      EXPECT_EQ(bytes_of(out), want) << kAlphabet[value] << " at " << place;
    }
  }
}

TEST(DecodeBase64, EndsAtPaddingWhereverItStands) {
  for (size_t i = 0; i < 120; ++i) {
    DwString out;
    EXPECT_EQ(DwDecodeBase64(string_of(long_text().insert(i, "=")), out), 0);
    // The padded group gives bytes only if the "=" is its last character.
    EXPECT_EQ(out.length(), i / 4 * 3 + (i % 4 == 3 ? 2 : 0)) << i;
  }
}

}  // namespace
