// Compares conversions with what iconv alone makes of the whole text.

#include <codecvt>
#include <locale>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "../charset_names.h"
#include "../plain_iconv.h"
#include "charset_calls.h"

using namespace std::string_view_literals;

namespace {

// These converters hold characters back, and on a full output buffer write them for ever.
TEST(CharsetAgainstIconv, ComesToAnEndWhereCharactersAreHeldBack) {
  for (const char* charset : {"SHIFT_JISX0213", "EUC-JISX0213", "BIG5-HKSCS", "TSCII"}) {
    for (const std::string_view sequence :
         {"\x82\xF9|"sv, "\xA4\xD7|"sv, "\x88\x66|"sv, "\xAA"sv}) {
      const std::string text = "aaa" + times(5000, sequence);
      SCOPED_TRACE(testing::Message() << charset << ": " << testing::PrintToString(sequence));
      EXPECT_EQ(convert_charset(text, charset, "UTF-8", true),
                convert_by_iconv(text, charset, "UTF-8", true));
    }
  }
}

// A text is converted in pieces; a character may be in two of them.
TEST(CharsetAgainstIconv, IsTheSameWhereverAPieceEnds) {
  const std::string character = "\xE3\x81\x82\xC3\xA4z\xE4\xBA\x9C";
  for (const char* charset : {"UTF-16", "UTF-7", "ISO-2022-JP", "ISO-2022-CN", "EUC-JP", "GB18030",
                              "SHIFT_JIS", "IBM1390", "UTF-32LE"}) {
    for (size_t shift = 0; shift < 8; ++shift) {
      const std::string text = std::string(shift, 'x') + times(300, character);
      SCOPED_TRACE(testing::Message() << charset << " " << shift);
      const auto there = convert_by_iconv(text, "UTF-8", charset, true);
      ASSERT_TRUE(there);
      EXPECT_EQ(convert_charset(text, "UTF-8", charset, true), *there);
      EXPECT_EQ(convert_charset(*there, charset, "UTF-8", true),
                convert_by_iconv(*there, charset, "UTF-8", true));
    }
  }
}

// Characters of many scripts, among them some that combine with others.
std::string many_scripts(std::minstd_rand& random) {
  constexpr char32_t kStarts[] = {0x20,  0xA0,   0x300,  0x3B1,  0x410,  0x5D0,  0x627,  0xB85,
                                  0xE01, 0x1E00, 0x2010, 0x3042, 0x30A2, 0x4E00, 0xAC00, 0xFF01};
  std::u32string characters;
  for (int i = 0; i < 700; ++i) {
    characters += kStarts[random() % std::size(kStarts)] + static_cast<char32_t>(random() % 60);
  }
  std::wstring_convert<std::codecvt_utf8<char32_t>, char32_t> utf8;
  return utf8.to_bytes(characters);
}

TEST(CharsetAgainstIconv, GivesWhatIconvGivesInEveryCharset) {
  const std::vector<std::string> names = all_charsets();
  ASSERT_GT(names.size(), 100U);
  std::minstd_rand random(20261121);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const std::string text = many_scripts(random);
    const auto there = convert_by_iconv(text, "UTF-8", name, true);
    if (!there) {
      EXPECT_NE(failure(text, "UTF-8", name, true), "nothing thrown");
      continue;
    }
    EXPECT_TRUE(convert_charset(text, "UTF-8", name, true) == *there);
    std::string bytes = *there;
    for (int i = 0; i < 20; ++i) bytes[random() % bytes.size()] = static_cast<char>(random());
    for (const std::string& source : {*there, bytes}) {
      const auto back = convert_by_iconv(source, name, "UTF-8", true);
      EXPECT_EQ(failure(source, name, "UTF-8", true) == "nothing thrown", back.has_value());
      if (!back) continue;
      EXPECT_TRUE(convert_charset(source, name, "UTF-8", true) == *back);
    }
  }
}

TEST(CharsetAgainstIconv, DropsWithASuffixWhatIconvDrops) {
  for (const char* charset : {"KOI8-R//IGNORE", "UTF-8//IGNORE", "ISO-8859-1//TRANSLIT"}) {
    for (const size_t length : {100U, 1000U, 5000U, 20000U}) {
      const std::string text = times(length, "a\xC3\xBC\xE2\x82\xAC\xFF");
      SCOPED_TRACE(testing::Message() << charset << " " << length);
      EXPECT_EQ(convert_charset(text, "UTF-8", charset, true),
                convert_by_iconv(text, "UTF-8", charset, true));
    }
  }
}

// Sequences that are valid, cut, too long, surrogates or beyond Unicode, in any order.
std::string mixed_sequences(unsigned seed) {
  constexpr std::string_view kPieces[] = {
      "plain text of some length",
      "\n",
      "\0"sv,
      "\x7F",
      "\xC3\xBC",
      "\xE2\x82\xAC",
      "\xF0\x9F\x98\x80",
      "\xC3",
      "\xE2\x82",
      "\xF0\x9F\x98",
      "\x80",
      "\xC0\x80",
      "\xE0\x80\x80",
      "\xED\xA0\x80",
      "\xEF\xBB\xBF",
      "\xF4\x8F\xBF\xBF",
      "\xF4\x90\x80\x80",
      "\xF8\x88\x80\x80\x80",
      "\xFD\xBF\xBF\xBF\xBF\xBF",
      "\xFF",
  };
  std::string text;
  for (unsigned i = 0; i < seed % 300; ++i) {
    seed = seed * 1103515245 + 12345;
    text += kPieces[(seed >> 16) % std::size(kPieces)];
  }
  return text;
}

TEST(CharsetAgainstIconv, GivesWhatIconvGivesForEachSpellingOfAName) {
  for (const char* from :
       {"utf-8", "UTF-8", "utf8", "Us-Ascii", "ascii", "ansi_x3.4-1968", "iso-8859-1", "ISO8859-1",
        "iso_8859-1", "Latin1", "utf-8//", "utf-16"}) {
    for (unsigned seed = 0; seed < 300; ++seed) {
      const std::string text = mixed_sequences(seed);
      const auto want = convert_by_iconv(text, from, "UTF-8", true);
      SCOPED_TRACE(testing::Message() << "seed " << seed << " from " << from);
      if (want) {
        EXPECT_EQ(convert_charset(Exactly(text), from, "UTF-8", true), *want);
      } else {
        EXPECT_EQ(failure(text, from, "UTF-8", true),
                  "Conversion from " + std::string(from) + " to UTF-8");
      }
    }
  }
}

}  // namespace
