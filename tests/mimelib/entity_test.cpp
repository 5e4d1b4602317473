#include "mimelib/entity.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "../named_row.h"
#include "../parsed_message.h"

using namespace std::string_view_literals;

namespace {

struct Entity : NamedRow {
  std::string_view text;
  std::string_view header;
  std::string_view body;
};

class EntityText : public testing::TestWithParam<Entity> {};

TEST_P(EntityText, IsSplit) {
  const auto message = parsed(GetParam().text);
  EXPECT_EQ(bytes_of(message->Headers().AsString()), GetParam().header);
  EXPECT_EQ(bytes_of(message->Body().AsString()), GetParam().body);
  EXPECT_EQ(bytes_of(message->AsString()), GetParam().text);
}

constexpr Entity kEntities[] = {
    {"Empty", "", "", ""},
    {"HeaderAndBody", "A: b\n\nbody\n", "A: b\n", "body\n"},
    {"NoBody", "A: b\n\n", "A: b\n", ""},
    {"NoEmptyLine", "A: b\n", "A: b\n", ""},
    {"NoLineEnd", "A: b", "A: b", ""},
    {"NoHeader", "\nbody\n", "", "body\n"},
    {"EmptyLineAlone", "\n", "", ""},
    {"EmptyLinesInBody", "A: b\n\n\nbody\n\n", "A: b\n", "\nbody\n\n"},
    {"BodyWithoutLineEnd", "A: b\n\nbody", "A: b\n", "body"},
    {"CrLf", "A: b\r\nC: d\r\n\r\nbody\r\n", "A: b\r\nC: d\r\n", "body\r\n"},
    {"CrLfAfterLf", "A: b\n\r\nbody\n", "A: b\n", "body\n"},
    {"LfAfterCrLf", "A: b\r\n\nbody\n", "A: b\r\n", "body\n"},
    {"CrAloneIsNoLineEnd", "A: b\r\rbody\r", "A: b\r\rbody\r", ""},
    {"CrBeforeTextIsNoEmptyLine", "A: b\n\rC: d\n\nx\n", "A: b\n\rC: d\n", "x\n"},
    {"FoldedLines", "A: b\n c\n\td\n\nbody\n", "A: b\n c\n\td\n", "body\n"},
    {"FoldedBlankLine", "A: b\n \n\nbody\n", "A: b\n \n", "body\n"},
    {"LineWithoutColonStartsTheBody", "A: b\nbody\n\nmore\n", "A: b\n", "body\n\nmore\n"},
    {"FirstLineWithoutColon", "body\n\nmore\n", "", "body\n\nmore\n"},
    {"LastLineWithoutColonOrEnd", "A: b\nbody", "A: b\nbody", ""},
    {"ColonFirst", ": b\n\nbody\n", ": b\n", "body\n"},
    {"BlankInName", "A b: c\n\nbody\n", "A b: c\n", "body\n"},
    {"NulsInHeader", "A:\0b\n\0: c\n\nx\n"sv, "A:\0b\n\0: c\n"sv, "x\n"},
    {"NulsInBody", "A: b\n\n\0x\0"sv, "A: b\n", "\0x\0"sv},
    {"NulIsNoEmptyLine", "A: b\n\0\nx\n"sv, "A: b\n", "\0\nx\n"sv},
    {"EightBitBytes", "A: \xFF\n\n\xFE\n", "A: \xFF\n", "\xFE\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, EntityText, testing::ValuesIn(kEntities));

struct Body : NamedRow {
  std::string_view text;
  std::string_view want;
};

class MultipartBody : public testing::TestWithParam<Body> {};

// The texts of the parts, each in brackets.
std::string parts_of(DwEntity& entity) {
  std::string all;
  for (DwBodyPart* part = entity.Body().FirstBodyPart(); part != nullptr; part = part->Next()) {
    all += "[" + bytes_of(part->AsString()) + "]";
  }
  return all;
}

TEST_P(MultipartBody, HasTheParts) {
  const auto message =
      parsed("Content-Type: multipart/mixed; boundary=b\n\n" + std::string(GetParam().text));
  EXPECT_EQ(parts_of(*message), GetParam().want);
}

constexpr Body kBodies[] = {
    {"NoneInNothing", "", ""},
    {"NoneWithoutDelimiter", "text\n--c\nA: b\n\nx\n--c--\n", ""},
    {"One", "--b\nA: b\n\none\n--b--\n", "[A: b\n\none]"},
    {"Two", "--b\n\none\n--b\n\ntwo\n--b--\n", "[\none][\ntwo]"},
    {"TextAround", "before\n--b\n\none\n--b--\nafter\n", "[\none]"},
    {"CrLf", "\r\n--b\r\n\r\none\r\n--b\r\n\r\ntwo\r\n--b--\r\n", "[\r\none][\r\ntwo]"},
    {"LfBeforeCrLf", "--b\r\n\none\n--b--\n", "[\none]"},
    {"EmptyPart", "--b\n--b\n\ntwo\n--b--\n", "[][\ntwo]"},
    {"PartOfOneLineEnd", "--b\n\n--b--\n", "[]"},
    {"PartOfTwoLineEnds", "--b\n\n\n--b--\n", "[\n]"},
    {"OnlyOneLineEndBelongsToTheDelimiter", "--b\n\none\n\n\n--b--\n", "[\none\n\n]"},
    {"NeverClosed", "--b\n\none\n", "[\none\n]"},
    {"NeverClosedWithoutLineEnd", "--b\n\none", "[\none]"},
    {"ClosedWithoutLineEnd", "--b\n\none\n--b--", "[\none]"},
    {"OpenedAtTheEnd", "--b\n\none\n--b\n", "[\none]"},
    {"OpenedAtTheEndWithoutLineEnd", "--b\n\none\n--b", "[\none]"},
    {"DelimiterAlone", "--b", ""},
    {"ClosingDelimiterOpens", "--b--\n\none\n--b--\n", "[\none]"},
    {"NothingAfterTheClosingDelimiter", "--b\n\none\n--b--\n--b\n\ntwo\n--b--\n", "[\none]"},
    {"BlanksAfterDelimiters", "--b \t\n\none\n--b-- \t\n", "[\none]"},
    {"BlankBeforeDelimiter", " --b\n\none\n", ""},
    {"TextAfterDelimiter", "--b x\n\none\n--b--x\n", ""},
    {"LongerBoundary", "--bb\n\none\n", ""},
    {"OtherCase", "--B\n\none\n", ""},
    {"OneHyphen", "-b\n\none\n", ""},
    {"DelimiterInALine", "x--b\n\none\n", ""},
    {"OneHyphenCloses", "--b\n\none\n--b-\nafter\n", "[\none]"},
    {"ThreeHyphensClose", "--b\n\none\n--b---\n--b\n\ntwo\n--b--\n", "[\none]"},
    {"OneHyphenAndBlanksClose", "--b\n\none\n--b- \t\r\nafter\n", "[\none]"},
    {"OneHyphenClosesWithoutLineEnd", "--b\n\none\n--b-", "[\none]"},
    {"OneHyphenOpens", "--b-\n\none\n--b--\n", "[\none]"},
    {"TextAfterHyphens", "--b\n\none\n--b-x\n--b--x\n--b-\0\n"sv,
     "[\none\n--b-x\n--b--x\n--b-\0\n]"sv},
    {"BlankBeforeOrBetweenHyphens", "--b\n\none\n--b -\n--b\t--\n--b- -\n",
     "[\none\n--b -\n--b\t--\n--b- -\n]"},
    {"CrBeforeHyphens", "--b\n\none\n--b\r--\n", "[\none\n--b\r--\n]"},
    {"WrongNumberOfHyphensBefore", "--b\n\none\n-b--\n---b--\n", "[\none\n-b--\n---b--\n]"},
    {"NulAfterDelimiter", "--b\0\n\none\n"sv, ""},
    {"NulInPart", "--b\n\n\0\n--b--\n"sv, "[\n\0]"sv},
    {"NestedMultipartWhole",
     "--b\nContent-Type: multipart/mixed; boundary=c\n\n--c\n\nx\n--c--\n--b\n\ntwo\n--b--\n",
     "[Content-Type: multipart/mixed; boundary=c\n\n--c\n\nx\n--c--][\ntwo]"},
};

INSTANTIATE_TEST_SUITE_P(Rows, MultipartBody, testing::ValuesIn(kBodies));

TEST(Message, IsEmptyUntilItIsParsed) {
  const std::unique_ptr<DwMessage> message(DwMessage::NewMessage("Subject: s\n\nbody\n", nullptr));
  EXPECT_FALSE(message->Headers().HasSubject());
  EXPECT_EQ(message->Body().AsString().length(), 0U);
  EXPECT_EQ(message->Body().FirstBodyPart(), nullptr);
  EXPECT_EQ(bytes_of(message->AsString()), "Subject: s\n\nbody\n");
}

TEST(Message, KeepsItsOwnText) {
  DwString text("A: b\n\nbody\n");
  const std::unique_ptr<DwMessage> message(DwMessage::NewMessage(text, nullptr));
  text.append("more");
  text.ConvertToLowerCase();
  message->Parse();
  EXPECT_EQ(bytes_of(message->Headers().AsString()), "A: b\n");
  EXPECT_EQ(bytes_of(message->Body().AsString()), "body\n");
}

TEST(MultipartParts, AreParsed) {
  const auto message = parsed(
      "Content-Type: multipart/mixed; boundary=\"b b\"\n\n"
      "--b b\nContent-Type: text/html; charset=x\nSubject: inner\n\n<p>\n--b b--\n");
  DwBodyPart* const part = message->Body().FirstBodyPart();
  ASSERT_NE(part, nullptr);
  EXPECT_EQ(part->Headers().ContentType().Type(), DwMime::kTypeText);
  EXPECT_EQ(bytes_of(part->Headers().Subject().AsString()), "inner");
  EXPECT_EQ(bytes_of(part->Body().AsString()), "<p>");
  EXPECT_EQ(part->Next(), nullptr);
}

TEST(MultipartParts, AreNotLookedForInOtherTypes) {
  for (const char* const type : {"text/plain", "message/rfc822", "multi/part", ""}) {
    const auto message =
        parsed("Content-Type: " + std::string(type) + "; boundary=b\n\n--b\n\none\n--b--\n");
    EXPECT_EQ(message->Body().FirstBodyPart(), nullptr) << type;
  }
}

TEST(MultipartParts, AreFoundBySubtypesOfAnyName) {
  const auto message = parsed("Content-Type: multipart/x-new; boundary=b\n\n--b\n\none\n--b--\n");
  EXPECT_EQ(parts_of(*message), "[\none]");
}

TEST(MultipartParts, AreDelimitedByAnEmptyBoundary) {
  const auto message =
      parsed("Content-Type: multipart/mixed; boundary=\"\"\n\n--\n\none\n--x\n----\n");
  EXPECT_EQ(parts_of(*message), "[\none\n--x]");
  const auto without = parsed("Content-Type: multipart/mixed\n\n--\n\none\n--\n");
  EXPECT_EQ(parts_of(*without), "[\none]");
}

TEST(MultipartParts, HaveThePartsOfANestedMultipart) {
  const auto message = parsed(
      "Content-Type: multipart/mixed; boundary=b\n\n"
      "--b\nContent-Type: multipart/mixed; boundary=c\n\n--c\n\none\n--c\n\ntwo\n--c--\n--b--\n");
  DwBodyPart* const part = message->Body().FirstBodyPart();
  ASSERT_NE(part, nullptr);
  EXPECT_EQ(parts_of(*part), "[\none][\ntwo]");
}

TEST(MultipartParts, HaveTheSameSuccessorEveryTime) {
  const auto message =
      parsed("Content-Type: multipart/mixed; boundary=b\n\n--b\n\none\n--b\n\ntwo\n--b--\n");
  DwBodyPart* const first = message->Body().FirstBodyPart();
  ASSERT_NE(first, nullptr);
  DwBodyPart* const second = first->Next();
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(first->Next(), second);
  EXPECT_EQ(second->Next(), nullptr);
}

}  // namespace
