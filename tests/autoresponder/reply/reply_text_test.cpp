#include "autoresponder/reply/reply_text.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../memory_file.h"
#include "../../named_row.h"

using namespace std::string_view_literals;

namespace {

// The C library's default seed.
constexpr unsigned kNoSeed = 1;

TEST(DrawBoundary, GivesAPrefixAndLetters) {
  for (int i = 0; i < 1000; ++i) {
    const std::string boundary = draw_boundary();
    ASSERT_EQ(boundary.size(), 39U);
    EXPECT_EQ(boundary.substr(0, 10), "--------=_");
    const size_t end =
        boundary.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", 10);
    EXPECT_EQ(end, std::string::npos) << boundary;
  }
}

TEST(DrawBoundary, GivesTheSameSequenceInEveryRun) {
  srand(kNoSeed);
  EXPECT_EQ(draw_boundary(), "--------=_nWlrBbmQBhCDarzOwKkYHIDdqSCDX");
  EXPECT_EQ(draw_boundary(), "--------=_rJmOWFrxsjyBldbEFSArCBynEcdyG");
}

TEST(DrawBoundary, UsesEveryLetter) {
  std::string drawn;
  for (int i = 0; i < 1000; ++i) drawn += draw_boundary().substr(10);
  for (const char letter : "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"sv) {
    EXPECT_NE(drawn.find(letter), std::string::npos) << letter;
  }
}

struct Subject : NamedRow {
  const char* subject_template;
  std::string_view incoming;
  std::string_view want;
};

class ReplySubject : public testing::TestWithParam<Subject> {};

TEST_P(ReplySubject, Is) {
  ResponderRule rule;
  rule.subject = GetParam().subject_template;
  IncomingMessage message;
  message.subject = GetParam().incoming;
  message.sender = "otto@customer.example";
  EXPECT_EQ(reply_subject(rule, message).Whole(), GetParam().want);
}

constexpr Subject kSubjects[] = {
    {"IncomingOneWithoutTemplate", "", "Hello", "Re: Hello"},
    {"PrefixAloneWithoutBoth", "", "", "Re: "},
    {"AnsweredTwice", "", "Re: Hello", "Re: Re: Hello"},
    {"Utf8", "", "Gr\xC3\xBC\xC3\x9F\x65", "Re: Gr\xC3\xBC\xC3\x9F\x65"},
    {"NulOfTheIncomingOne", "", "a\0b"sv, "Re: a\0b"sv},
    {"TemplateWithoutPlaceholder", "We are away", "Hello", "We are away"},
    {"IncomingMessageSubject", "<incoming_message_subject>", "Hello", "Hello"},
    {"OrigEmailsSenderMailname", "<orig_emails_sender_mailname>", "", "otto@customer.example"},
    {"OrigEmailsSubj", "<orig_emails_subj>", "Hello", "Hello"},
    {"RequestFrom", "<request_from>", "", "otto@customer.example"},
    {"RequestSubject", "Auto: <request_subject>", "Hello", "Auto: Hello"},
    {"ManyPlaceholders", "<request_from>: <request_subject>, <orig_emails_subj>!", "Hello",
     "otto@customer.example: Hello, Hello!"},
    {"UnknownPlaceholderKept", "Auto: <nosuch>", "Hello", "Auto: <nosuch>"},
    {"UnknownPlaceholderBeforeAKnownOne", "<nosuch><request_subject>", "Hello", "<nosuch>Hello"},
    {"PlaceholderInOtherCase", "<Request_Subject>", "Hello", "<Request_Subject>"},
    {"PlaceholderInTheIncomingSubject", "<request_subject>", "<request_from>", "<request_from>"},
    {"ValueUpToItsNul", "<request_subject>!", "a\0b"sv, "a!"},
    {"EmptyValue", "<request_subject>", "", ""},
};

INSTANTIATE_TEST_SUITE_P(Rows, ReplySubject, testing::ValuesIn(kSubjects));

std::string filled(const std::string& subject_template, const std::string& incoming) {
  ResponderRule rule;
  rule.subject = subject_template.c_str();
  IncomingMessage message;
  message.subject = incoming;
  return reply_subject(rule, message).Whole();
}

TEST(ReplySubject, IsCutWhereATemplateWasFilled) {
  EXPECT_EQ(filled("<request_subject>", std::string(2000, 'x')), std::string(999, 'x'));
  EXPECT_EQ(filled(std::string(2000, 'x'), ""), std::string(999, 'x'));
  EXPECT_EQ(filled(std::string(999, 'x'), ""), std::string(999, 'x'));
  EXPECT_EQ(filled(std::string(998, 'x') + "<request_subject>", "yz"), std::string(998, 'x') + "y");
}

TEST(ReplySubject, IsCutInsideACharacter) {
  EXPECT_EQ(filled(std::string(998, 'x') + "\xC3\xBC", ""), std::string(998, 'x') + "\xC3");
}

TEST(ReplySubject, IsNotCutWithoutATemplate) {
  EXPECT_EQ(filled("", std::string(2000, 'x')), "Re: " + std::string(2000, 'x'));
}

ResponderRule plain_rule() {
  ResponderRule rule;
  rule.text = "Thank you.";
  return rule;
}

std::string written(const ResponderRule& rule, const char* from = "info@shop.example",
                    const char* subject = "Hello", std::string_view boundary = "",
                    std::string_view more_fields = "") {
  IncomingMessage message;
  message.sender = "Otto@customer.example";
  message.recipient = "not looked at";
  message.subject = subject;
  const int memory = memfd_create("reply", 0);
  ResponseFile file(memory, "no name");
  EXPECT_TRUE(write_reply_text(file, rule, message, from, boundary, more_fields));
  return contents_of(memory).value();
}

TEST(ReplyText, IsAMessageOfItsOwn) {
  EXPECT_EQ(written(plain_rule()),
            "From: info@shop.example\n"
            "To: Otto@customer.example\n"
            "MIME-Version: 1.0\n"
            "Subject: Re: Hello\n"
            "Content-Type: text/plain; charset=\"UTF-8\"\n"
            "Content-Transfer-Encoding: 8bit\n"
            "Content-Disposition: inline\n"
            "\n"
            "Thank you.\n"
            "\n"
            "\n");
}

TEST(ReplyText, IsTheFirstPartBeforeAttachments) {
  ResponderRule rule = plain_rule();
  rule.reply_to = "sales@shop.example";
  rule.content_type = "text/html";
  rule.text = "<p>\n";
  EXPECT_EQ(written(rule, "info@shop.example", "Hello", "--------=_abc"),
            "Reply-To: sales@shop.example\n"
            "From: info@shop.example\n"
            "To: Otto@customer.example\n"
            "MIME-Version: 1.0\n"
            "Subject: Re: Hello\n"
            "Content-Type: multipart/mixed;\n"
            "\tboundary=\"--------=_abc\"\n"
            "\n"
            "----------=_abc\n"
            "Content-Type: text/html; charset=\"UTF-8\"\n"
            "Content-Transfer-Encoding: 8bit\n"
            "Content-Disposition: inline\n"
            "\n"
            "<p>\n"
            "\n"
            "\n"
            "\n");
}

TEST(ReplyText, HasMoreFieldsBeforeThoseOfItsContent) {
  const std::string got =
      written(plain_rule(), "info@shop.example", "Hello", "--------=_abc", "X-One: 1\nX-Two: 2\n");
  EXPECT_THAT(got, testing::HasSubstr("\nSubject: Re: Hello\n"
                                      "X-One: 1\n"
                                      "X-Two: 2\n"
                                      "Content-Type: multipart/mixed;\n"));
}

TEST(ReplyText, StartsWithReplyToWhereThereIsOne) {
  ResponderRule rule = plain_rule();
  rule.reply_to = "sales@shop.example";
  EXPECT_THAT(written(rule), testing::StartsWith("Reply-To: sales@shop.example\nFrom: info@"));
  EXPECT_THAT(written(plain_rule()), testing::StartsWith("From: info@shop.example\n"));
}

TEST(ReplyText, HasAnEncodedSubject) {
  EXPECT_THAT(written(plain_rule(), "info@shop.example", "Gr\xC3\xBC\xC3\x9F\x65"),
              testing::HasSubstr("\nSubject: =?utf-8?Q?Re:_Gr=C3=BC=C3=9Fe?=\nContent-Type: "));
}

TEST(ReplyText, HasNoLineOfAStrangerInItsHeader) {
  EXPECT_THAT(written(plain_rule(), "info@shop.example", "a\r\nBcc: x@y"),
              testing::HasSubstr("\nSubject: =?utf-8?Q?Re:_a=0D=0ABcc:_x@y?=\nContent-Type: "));
}

TEST(ReplyText, HasTheFilledSubjectTemplate) {
  ResponderRule rule = plain_rule();
  rule.subject = "Auto: <request_subject>";
  EXPECT_THAT(written(rule), testing::HasSubstr("\nSubject: Auto: Hello\n"));
  rule.subject = "Auto: <nosuch>";
  EXPECT_THAT(written(rule), testing::HasSubstr("\nSubject: Auto: <nosuch>\n"));
}

TEST(ReplyText, IsConvertedToItsCharset) {
  ResponderRule rule = plain_rule();
  rule.text = "Gr\xC3\xBC\xC3\x9F\x65";
  rule.charset = "ISO-8859-1";
  EXPECT_THAT(written(rule), testing::EndsWith("; charset=\"ISO-8859-1\"\n"
                                               "Content-Transfer-Encoding: 8bit\n"
                                               "Content-Disposition: inline\n"
                                               "\n"
                                               "Gr\xFC\xDF\x65\n\n\n"));
}

TEST(ReplyText, KeepsACharsetThatLacksACharacter) {
  ResponderRule rule = plain_rule();
  rule.text = "10 \xE2\x82\xAC";
  rule.charset = "ISO-8859-1";
  const std::string got = written(rule);
  EXPECT_THAT(got, testing::HasSubstr("charset=\"ISO-8859-1\"\n"));
  EXPECT_THAT(got, testing::EndsWith("\n\n10 ?\?\?\n\n\n"));
}

TEST(ReplyText, StaysInUtf8WhereItsCharsetIsUnknown) {
  ResponderRule rule = plain_rule();
  rule.text = "Gr\xC3\xBC\xC3\x9F\x65";
  rule.charset = "x-unknown";
  const std::string got = written(rule);
  EXPECT_THAT(got, testing::HasSubstr("Content-Type: text/plain; charset=\"UTF-8\"\n"));
  EXPECT_THAT(got, testing::EndsWith("\n\nGr\xC3\xBC\xC3\x9F\x65\n\n\n"));
}

TEST(ReplyText, StaysAsItIsWhereItEndsInsideACharacter) {
  ResponderRule rule = plain_rule();
  rule.text = "Gr\xC3";
  rule.charset = "ISO-8859-1";
  const std::string got = written(rule);
  EXPECT_THAT(got, testing::HasSubstr("Content-Type: text/plain; charset=\"UTF-8\"\n"));
  EXPECT_THAT(got, testing::EndsWith("\n\nGr\xC3\n\n\n"));
}

TEST(ReplyText, MayBeEmpty) {
  ResponderRule rule = plain_rule();
  rule.text = "";
  EXPECT_THAT(written(rule), testing::EndsWith("Content-Disposition: inline\n\n\n\n\n"));
}

}  // namespace
