#include "mimelib/string.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "dw_strings.h"

using namespace std::string_literals;

namespace {

TEST(String, IsEmptyAtFirst) {
  const DwString text;
  EXPECT_EQ(text.length(), 0U);
  EXPECT_EQ(bytes_of(text), "");
}

TEST(String, HoldsATextUpToItsNul) {
  EXPECT_EQ(bytes_of(DwString("text")), "text");
  EXPECT_EQ(bytes_of(DwString("te\0xt")), "te");
}

TEST(String, HoldsBytesAndTheirNuls) {
  EXPECT_EQ(bytes_of(DwString("a\0b\0", 4)), "a\0b\0"s);
}

TEST(String, TakesMemoryOver) {
  char* const bytes = static_cast<char*>(malloc(4));
  ASSERT_NE(bytes, nullptr);
  memcpy(bytes, "a\0bc", 4);
  DwString text = DwString::Adopt(bytes, 3);
  EXPECT_EQ(text.data(), bytes);
  EXPECT_EQ(bytes_of(text), "a\0b"s);
  text.append("d");
  EXPECT_EQ(bytes_of(text), "a\0bd"s);
}

TEST(String, AppendsTexts) {
  DwString text("a");
  text.append("b").append("c\0d", 3).append("e");
  EXPECT_EQ(bytes_of(text), "abc\0de"s);
}

TEST(String, AppendsToNothing) {
  DwString text;
  text.append("a");
  EXPECT_EQ(bytes_of(text), "a");
}

TEST(String, AppendsNothing) {
  DwString text("a");
  text.append("").append("x", 0);
  EXPECT_EQ(bytes_of(text), "a");
}

TEST(String, AppendsItself) {
  DwString text("ab");
  text.append(text.data(), text.length());
  EXPECT_EQ(bytes_of(text), "abab");
  text.append(text.data() + 1, 2);
  EXPECT_EQ(bytes_of(text), "ababba");
}

TEST(String, LeavesItsCopiesUnchanged) {
  DwString text("Ab");
  const DwString copy = text;
  text.append("c");
  text.ConvertToLowerCase();
  EXPECT_EQ(bytes_of(text), "abc");
  EXPECT_EQ(bytes_of(copy), "Ab");
}

TEST(String, IsLeftUnchangedByItsCopies) {
  const DwString text("Ab");
  DwString copy = text;
  copy.ConvertToLowerCase();
  copy.append("c");
  EXPECT_EQ(bytes_of(text), "Ab");
  EXPECT_EQ(bytes_of(copy), "abc");
}

TEST(String, GrowsByAMillionLinesInLinearTime) {
  DwString text;
  for (int i = 0; i < 1000000; ++i) text.append("line").append("\n", 1);
  ASSERT_EQ(text.length(), 5000000U);
  EXPECT_EQ(std::string(text.data() + 4999990, 10), "line\nline\n");
}

TEST(StringSlice, HoldsItsBytes) {
  const DwString text("a\0bcd", 5);
  EXPECT_EQ(bytes_of(slice_of(text, 1, 3)), "\0bc"s);
  EXPECT_EQ(bytes_of(slice_of(text, 0, 5)), "a\0bcd"s);
  EXPECT_EQ(bytes_of(slice_of(text, 2, 0)), "");
  EXPECT_EQ(bytes_of(slice_of(text, 5, 1)), "");
  EXPECT_EQ(bytes_of(slice_of(DwString(), 0, 1)), "");
}

TEST(StringSlice, IsNoCopy) {
  const DwString text("abcd");
  EXPECT_EQ(slice_of(text, 1, 2).data(), text.data() + 1);
}

TEST(StringSlice, OfASlice) {
  EXPECT_EQ(bytes_of(slice_of(slice_of("abcdef", 1, 4), 1, 2)), "cd");
}

TEST(StringSlice, OutlivesItsText) {
  auto text = std::make_unique<DwString>("abcd");
  const DwString slice = slice_of(*text, 1, 2);
  text.reset();
  EXPECT_EQ(bytes_of(slice), "bc");
}

TEST(StringSlice, LeavesItsTextUnchanged) {
  const DwString text("ABCD");
  DwString slice = slice_of(text, 1, 2);
  slice.ConvertToLowerCase();
  slice.append("x");
  EXPECT_EQ(bytes_of(slice), "bcx");
  EXPECT_EQ(bytes_of(text), "ABCD");
}

TEST(StringSlice, IsLeftUnchangedByItsText) {
  DwString text("ABCD");
  const DwString slice = slice_of(text, 1, 3);
  text.append("E");
  text.ConvertToLowerCase();
  EXPECT_EQ(bytes_of(slice), "BCD");
}

TEST(StringSlice, ChangesOnlyItsOwnBytes) {
  DwString middle = slice_of("ABCD", 1, 2);
  middle.ConvertToLowerCase();
  EXPECT_EQ(bytes_of(middle), "bc");
  DwString end = slice_of("ABCD", 2, 2);
  end.ConvertToLowerCase();
  end.append("E");
  EXPECT_EQ(bytes_of(end), "cdE");
}

TEST(StringSlice, AppendsItsOwnBytesAsTheLastUserOfItsBuffer) {
  DwString slice = slice_of("forty-two bytes that do not fit in a small", 0, 20);
  slice.append(slice.data(), slice.length());
  EXPECT_EQ(bytes_of(slice), "forty-two bytes thatforty-two bytes that");
}

TEST(StringLowerCase, TouchesAsciiLettersAlone) {
  DwString text("@AZ[`az{\xC0\xDC\0Q", 12);
  text.ConvertToLowerCase();
  EXPECT_EQ(bytes_of(text), "@az[`az{\xC0\xDC\0q"s);
}

TEST(StringLowerCase, OfNothing) {
  DwString text;
  text.ConvertToLowerCase();
  EXPECT_EQ(bytes_of(text), "");
}

TEST(StringCompare, LooksAtEveryByte) {
  EXPECT_TRUE(DwString("ab") == DwString("ab"));
  EXPECT_TRUE(slice_of("xab", 1, 2) == "ab");
  EXPECT_FALSE(DwString("ab") == "aB");
  EXPECT_FALSE(DwString("ab") == "abc");
  EXPECT_FALSE(DwString("a\0b", 3) == DwString("a\0c", 3));
  EXPECT_TRUE(DwString() == "");
}

TEST(StringGetline, ReadsLinesWithTheirCrs) {
  std::istringstream in("one\r\n\ntwo\n");
  DwString line("replaced");
  EXPECT_TRUE(getline(in, line));
  EXPECT_EQ(bytes_of(line), "one\r");
  EXPECT_TRUE(getline(in, line));
  EXPECT_EQ(bytes_of(line), "");
  EXPECT_TRUE(getline(in, line));
  EXPECT_EQ(bytes_of(line), "two");
  EXPECT_FALSE(in.eof());
}

TEST(StringGetline, KeepsNuls) {
  std::istringstream in("a\0b\n\0\n"s);
  DwString line;
  getline(in, line);
  EXPECT_EQ(bytes_of(line), "a\0b"s);
  getline(in, line);
  EXPECT_EQ(bytes_of(line), "\0"s);
}

TEST(StringGetline, ReadsALastLineWithoutItsEnd) {
  std::istringstream in("last");
  DwString line;
  getline(in, line);
  EXPECT_EQ(bytes_of(line), "last");
  EXPECT_TRUE(in.eof());
}

TEST(StringGetline, GivesNothingAtTheEnd) {
  std::istringstream in("");
  DwString line("replaced");
  EXPECT_FALSE(getline(in, line));
  EXPECT_EQ(bytes_of(line), "");
  EXPECT_TRUE(in.eof());
}

TEST(StringGetline, LeavesCopiesOfTheLineUnchanged) {
  std::istringstream in("one\ntwo\n");
  DwString line;
  getline(in, line);
  const DwString copy = line;
  getline(in, line);
  EXPECT_EQ(bytes_of(copy), "one");
  EXPECT_EQ(bytes_of(line), "two");
}

TEST(StringGetline, ReadsIntoASlice) {
  std::istringstream in("one\n");
  DwString line = slice_of("abcd", 1, 2);
  getline(in, line);
  EXPECT_EQ(bytes_of(line), "one");
}

TEST(StringOutput, WritesEveryByte) {
  std::ostringstream out;
  out << DwString("a\0b", 3) << DwString() << slice_of("xcd", 1, 1) << '!';
  EXPECT_EQ(out.str(), "a\0bc!"s);
}

}  // namespace
