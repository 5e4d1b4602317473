#include "mimelib/string.h"

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
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(bytes_of(text), "");
}

TEST(String, HoldsATextUpToItsNul) {
  EXPECT_EQ(bytes_of(DwString("text")), "text");
  EXPECT_EQ(bytes_of(DwString("te\0xt")), "te");
}

TEST(String, HoldsBytesAndTheirNuls) {
  const DwString text("a\0b\0", 4);
  EXPECT_EQ(bytes_of(text), "a\0b\0"s);
  EXPECT_STREQ(text.c_str(), "a");
}

TEST(String, HoldsWhatItTakesOver) {
  EXPECT_EQ(bytes_of(DwString("a\0b"s)), "a\0b"s);
}

TEST(String, AppendsTexts) {
  DwString text("a");
  text.append("b").append(DwString("c")).append("d\0e", 3);
  text += "f";
  text += DwString("g");
  EXPECT_EQ(bytes_of(text), "abcd\0efg"s);
}

TEST(String, AppendsToNothing) {
  DwString text;
  text.append("a");
  EXPECT_EQ(bytes_of(text), "a");
}

TEST(String, AppendsNothing) {
  DwString text("a");
  text.append("").append(DwString()).append("x", 0);
  EXPECT_EQ(bytes_of(text), "a");
}

TEST(String, AppendsItself) {
  DwString text("ab");
  text.append(text);
  EXPECT_EQ(bytes_of(text), "abab");
  text += text;
  EXPECT_EQ(bytes_of(text), "abababab");
}

TEST(String, AppendsASliceOfItself) {
  DwString text("abc");
  text.append(text.Slice(1, 1));
  EXPECT_EQ(bytes_of(text), "abcb");
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
  copy += "c";
  EXPECT_EQ(bytes_of(text), "Ab");
  EXPECT_EQ(bytes_of(copy), "abc");
}

TEST(StringSlice, HoldsItsBytes) {
  const DwString text("a\0bcd", 5);
  EXPECT_EQ(bytes_of(text.Slice(1, 3)), "\0bc"s);
  EXPECT_EQ(bytes_of(text.Slice(0, 5)), "a\0bcd"s);
  EXPECT_EQ(bytes_of(text.Slice(2, 0)), "");
}

TEST(StringSlice, EndsWithTheText) {
  const DwString text("abc");
  EXPECT_EQ(bytes_of(text.Slice(1, 99)), "bc");
  EXPECT_EQ(bytes_of(text.Slice(1, static_cast<size_t>(-1))), "bc");
  EXPECT_EQ(bytes_of(text.Slice(3, 1)), "");
  EXPECT_EQ(bytes_of(DwString().Slice(0, 1)), "");
}

TEST(StringSlice, OfASlice) {
  EXPECT_EQ(bytes_of(DwString("abcdef").Slice(1, 4).Slice(1, 2)), "cd");
}

TEST(StringSlice, IsTerminatedWhereItEnds) {
  const DwString text("abcd");
  const DwString slice = text.Slice(1, 2);
  EXPECT_STREQ(slice.c_str(), "bc");
  EXPECT_EQ(bytes_of(slice), "bc");
  EXPECT_STREQ(text.c_str(), "abcd");
  EXPECT_STREQ(text.Slice(2, 2).c_str(), "cd");
}

TEST(StringSlice, OutlivesItsText) {
  auto text = std::make_unique<DwString>("abcd");
  const DwString slice = text->Slice(1, 2);
  text.reset();
  EXPECT_STREQ(slice.c_str(), "bc");
}

TEST(StringSlice, LeavesItsTextUnchanged) {
  const DwString text("ABCD");
  DwString slice = text.Slice(1, 2);
  slice.ConvertToLowerCase();
  slice.append("x");
  EXPECT_EQ(bytes_of(slice), "bcx");
  EXPECT_EQ(bytes_of(text), "ABCD");
}

TEST(StringSlice, IsLeftUnchangedByItsText) {
  DwString text("ABCD");
  const DwString slice = text.Slice(1, 3);
  text.append("E");
  text.ConvertToLowerCase();
  EXPECT_EQ(bytes_of(slice), "BCD");
}

TEST(StringSlice, ChangesOnlyItsOwnBytes) {
  DwString text("ABCD");
  text = text.Slice(1, 2);
  text.ConvertToLowerCase();
  EXPECT_STREQ(text.c_str(), "bc");
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
  EXPECT_TRUE(DwString("xab").Slice(1, 2) == "ab");
  EXPECT_FALSE(DwString("ab") == "aB");
  EXPECT_FALSE(DwString("ab") == "abc");
  EXPECT_FALSE(DwString("a\0b", 3) == DwString("a\0c", 3));
  EXPECT_TRUE(DwString() == "");
  EXPECT_TRUE(DwString("a") != "b");
  EXPECT_FALSE(DwString("a") != "a");
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
  DwString line = DwString("abcd").Slice(1, 2);
  getline(in, line);
  EXPECT_EQ(bytes_of(line), "one");
}

TEST(StringOutput, WritesEveryByte) {
  std::ostringstream out;
  out << DwString("a\0b", 3) << DwString() << DwString("xcd").Slice(1, 1) << '!';
  EXPECT_EQ(out.str(), "a\0bc!"s);
}

TEST(String, GrowsByAMillionLinesInLinearTime) {
  DwString text;
  const DwString line("line");
  for (int i = 0; i < 1000000; ++i) text.append(line).append("\n", 1);
  ASSERT_EQ(text.length(), 5000000U);
  EXPECT_EQ(bytes_of(text.Slice(4999990, 10)), "line\nline\n");
}

TEST(DwString, AppendsItsOwnBytesAsTheLastUserOfASlice) {
  DwString part;
  {
    const DwString whole("forty-two bytes that do not fit in a small");
    part = whole.Slice(0, 20);
  }
  part.append(part.data(), part.length());
  EXPECT_TRUE(part == "forty-two bytes thatforty-two bytes that");
}

}  // namespace
