#include "mimelib/headers.h"

#include <string>
#include <string_view>
#include <type_traits>

#include <gtest/gtest.h>

#include "../named_row.h"
#include "dw_strings.h"

using namespace std::string_view_literals;

namespace {

struct Header : NamedRow {
  std::string_view text;
  bool has_subject;
  std::string_view subject;
};

class HeaderText : public testing::TestWithParam<Header> {};

TEST_P(HeaderText, HasTheSubject) {
  DwHeaders headers(string_of(GetParam().text));
  EXPECT_EQ(headers.HasSubject(), GetParam().has_subject);
  EXPECT_EQ(bytes_of(headers.Subject().AsString()), GetParam().subject);
}

constexpr Header kHeaders[] = {
    {"Empty", "", false, ""},
    {"OtherFieldsOnly", "From: a@b\nDate: today\n", false, ""},
    {"PlainField", "Subject: Hello\n", true, "Hello"},
    {"NoBlankAfterColon", "Subject:Hello\n", true, "Hello"},
    {"BlankBeforeColon", "Subject \t: Hello\n", true, "Hello"},
    {"OtherCase", "sUBJECT: Hello\n", true, "Hello"},
    {"EmptyBody", "Subject:\n", true, ""},
    {"BlankBody", "Subject: \t \n", true, ""},
    {"NoLineEnd", "From: a@b\nSubject: Hello", true, "Hello"},
    {"NothingAfterColon", "Subject:", true, ""},
    {"FirstOfTwo", "Subject: one\nSubject: two\n", true, "one"},
    {"FirstOfTwoIsEmpty", "Subject:\nSubject: two\n", true, ""},
    {"ColonsInBody", "Subject: a: b:c\n", true, "a: b:c"},
    {"WhiteSpaceAroundBody", "Subject: \t Hello \t\v\f \n", true, "Hello"},
    {"WhiteSpaceInBody", "Subject: a \t b\n", true, "a \t b"},
    {"Folded", "Subject: one\n two\n\tthree\nFrom: a@b\n", true, "one\n two\n\tthree"},
    {"FoldedFromTheStart", "Subject:\n folded\n", true, "\n folded"},
    {"FoldedBlankLine", "Subject: one\n \n two\n", true, "one\n \n two"},
    {"FoldedBlankLineAtTheEnd", "Subject: one\n\t \nFrom: a@b\n", true, "one"},
    {"FoldedFieldName", "From: a@b\n Subject: Hello\n", false, ""},
    {"CrLf", "From: a@b\r\nSubject: Hello\r\nTo: c@d\r\n", true, "Hello"},
    {"CrLfFolded", "Subject: one\r\n two\r\n", true, "one\r\n two"},
    {"CrAlone", "Subject: one\rtwo\r\n", true, "one\rtwo"},
    {"NulInBody", "Subject: a\0b\n"sv, true, "a\0b"sv},
    {"NulInName", "Sub\0ject: a\n"sv, false, ""},
    {"EightBitBody", "Subject: Gr\xFC\xDF\n", true, "Gr\xFC\xDF"},
    {"EightBitName", "Subject\xA0: Hello\n", false, ""},
    {"LongerName", "X-Subject: a\nSubjects: b\nSubject-X: c\n", false, ""},
    {"ShorterName", "Subj: a\n", false, ""},
    {"BlankInName", "Sub ject: a\n", false, ""},
    {"LineWithoutColonBefore", "no field\nSubject: Hello\n", true, "Hello"},
    {"MailboxLineBefore", "From a@b Mon Jan  1 00:00:00 2001\nSubject: Hello\n", true, "Hello"},
    {"EncodedWordNotDecoded", "Subject: =?utf-8?Q?a?=\n", true, "=?utf-8?Q?a?="},
};

INSTANTIATE_TEST_SUITE_P(Rows, HeaderText, testing::ValuesIn(kHeaders));

TEST(Headers, FindTheFieldsInAnyOrder) {
  DwHeaders headers(
      "Content-Transfer-Encoding: base64\nContent-Type: text/html; charset=utf-8\n"
      "Date: Mon, 1 Jan 2001 00:00:00 +0000\nSubject: s\nTo: to@x\nFrom: from@x\n"
      "Reply-To: reply@x\n");
  EXPECT_TRUE(headers.HasReplyTo());
  EXPECT_TRUE(headers.HasFrom());
  EXPECT_TRUE(headers.HasTo());
  EXPECT_TRUE(headers.HasSubject());
  EXPECT_TRUE(headers.HasDate());
  EXPECT_TRUE(headers.HasContentType());
  EXPECT_TRUE(headers.HasContentTransferEncoding());
  EXPECT_EQ(bytes_of(headers.ReplyTo().AsString()), "reply@x");
  EXPECT_EQ(bytes_of(headers.From().AsString()), "from@x");
  EXPECT_EQ(bytes_of(headers.To().AsString()), "to@x");
  EXPECT_EQ(bytes_of(headers.Subject().AsString()), "s");
  EXPECT_EQ(bytes_of(headers.Date().AsString()), "Mon, 1 Jan 2001 00:00:00 +0000");
  EXPECT_EQ(headers.ContentType().Type(), DwMime::kTypeText);
  EXPECT_EQ(headers.ContentTransferEncoding().AsEnum(), DwMime::kCteBase64);
}

TEST(Headers, MakeAnEmptyFieldOfAMissingOne) {
  DwHeaders headers("X: y\n");
  EXPECT_EQ(headers.ReplyTo().FirstAddress(), nullptr);
  EXPECT_EQ(headers.From().FirstMailbox(), nullptr);
  EXPECT_EQ(headers.To().FirstAddress(), nullptr);
  EXPECT_EQ(headers.Subject().AsString().length(), 0U);
  EXPECT_EQ(headers.Date().AsString().length(), 0U);
  EXPECT_EQ(headers.ContentType().Type(), DwMime::kTypeNull);
  EXPECT_EQ(headers.ContentType().FirstParameter(), nullptr);
  EXPECT_EQ(headers.ContentTransferEncoding().AsEnum(), DwMime::kCteNull);
}

TEST(Headers, DoNotHaveTheFieldThatTheyMade) {
  DwHeaders headers("X: y\n");
  headers.Subject();
  headers.ReplyTo();
  EXPECT_FALSE(headers.HasSubject());
  EXPECT_FALSE(headers.HasReplyTo());
}

// Accessors that may make a field are not const: with a library whose accessors build the field in
// the header, a call on a const header would not compile.
TEST(Headers, MakeNoFieldWhileTheyAreConst) {
  EXPECT_FALSE((std::is_invocable_v<decltype(&DwHeaders::ReplyTo), const DwHeaders&>));
  EXPECT_FALSE((std::is_invocable_v<decltype(&DwHeaders::From), const DwHeaders&>));
  EXPECT_FALSE((std::is_invocable_v<decltype(&DwHeaders::To), const DwHeaders&>));
  EXPECT_FALSE((std::is_invocable_v<decltype(&DwHeaders::Subject), const DwHeaders&>));
  EXPECT_FALSE((std::is_invocable_v<decltype(&DwHeaders::Date), const DwHeaders&>));
  EXPECT_FALSE((std::is_invocable_v<decltype(&DwHeaders::ContentType), const DwHeaders&>));
  EXPECT_FALSE(
      (std::is_invocable_v<decltype(&DwHeaders::ContentTransferEncoding), const DwHeaders&>));
  EXPECT_TRUE((std::is_invocable_v<decltype(&DwHeaders::HasReplyTo), const DwHeaders&>));
}

TEST(Headers, GiveTheSameFieldEveryTime) {
  DwHeaders headers("To: a@b\n");
  EXPECT_EQ(&headers.To(), &headers.To());
  EXPECT_EQ(&headers.From(), &headers.From());
}

TEST(Headers, TakeTheFirstOfEachName) {
  DwHeaders headers("To: a@b\nFrom: c@d\nTO: e@f\nfrom: g@h\nDate: one\nDate: two\n");
  EXPECT_EQ(bytes_of(headers.To().AsString()), "a@b");
  EXPECT_EQ(bytes_of(headers.From().AsString()), "c@d");
  EXPECT_EQ(bytes_of(headers.Date().AsString()), "one");
}

TEST(Headers, KnowTheirText) {
  DwHeaders headers("Subject: a\n b\n");
  EXPECT_EQ(bytes_of(headers.AsString()), "Subject: a\n b\n");
}

TEST(Headers, ReadAMillionLines) {
  std::string text;
  for (int i = 0; i < 1000000; ++i) text += "X: y\n";
  DwHeaders headers(string_of(text + "Subject: last\n"));
  EXPECT_EQ(bytes_of(headers.Subject().AsString()), "last");
}

TEST(Headers, ReadAMillionFoldedLines) {
  std::string body = "first";
  for (int i = 0; i < 1000000; ++i) body += "\n x";
  DwHeaders headers(string_of("Subject: " + body + "\nDate: today\n"));
  EXPECT_TRUE(bytes_of(headers.Subject().AsString()) == body);
  EXPECT_EQ(bytes_of(headers.Date().AsString()), "today");
}

TEST(Headers, ReadAMillionTimesTheSameField) {
  std::string text = "Subject: first\n";
  for (int i = 0; i < 1000000; ++i) text += "Subject: x\n";
  DwHeaders headers(string_of(text));
  EXPECT_EQ(bytes_of(headers.Subject().AsString()), "first");
}

}  // namespace
