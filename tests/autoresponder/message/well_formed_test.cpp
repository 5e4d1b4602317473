#include "autoresponder/message/well_formed.h"

#include <string>

#include <gtest/gtest.h>

#include "../../named_row.h"

using namespace std::string_view_literals;

namespace {

struct Text : NamedRow {
  std::string_view text;
  bool want;
};

class MailboxAddress : public testing::TestWithParam<Text> {};

TEST_P(MailboxAddress, IsWellFormed) {
  EXPECT_EQ(is_mailbox_address(GetParam().text), GetParam().want);
}

constexpr Text kMailboxes[] = {
    {"Plain", "otto@customer.example", true},
    {"Dots", "j..d.@x..", true},
    {"NoDomain", "root@", true},
    {"OptionWithAnAt", "-t@", true},
    {"Quoted", "\"a b\\\"c\"@x.example", true},
    {"QuotesWithinWords", "a\"b c\"d@x", true},
    {"Literal", "a@[1.2.3.4]", true},
    {"FoldedLiteral", "a@[b\r\n c]", true},
    {"CrInALiteral", "a@[b\rc]", true},
    {"CutOffInQuotes", "\"ab", true},
    {"CutOffInALiteral", "a@x[b", true},
    {"Umlaut", "j\xC3\xBCrgen@x", true},
    {"Delete", "a\x7f@x", true},
    {"Empty", "", false},
    {"NoAt", "root", false},
    {"Option", "-t", false},
    {"OptionWithAPath", "-C/etc/passwd", false},
    {"NoLocalPart", "@x", false},
    {"TwoAts", "a@b@c", false},
    {"Blank", "a b@x", false},
    {"BlankInTheDomain", "a@x y", false},
    {"FieldAfterCr", "a@b\rBcc: c@d", false},
    {"FieldAfterNewline", "a@b\nBcc: c@d", false},
    {"FieldInALiteral", "a@[b\nBcc: c@d]", false},
    {"NewlineAtTheEnd", "a@[b\n", false},
    {"NewlineInQuotes", "\"a\n b\"@x", false},
    {"CrInQuotes", "\"a\rb\"@x", false},
    {"CrInCutOffQuotes", "\"a\rb", false},
    {"Brackets", "<a@x>", false},
    {"Nul", "a\0@x"sv, false},
    {"Control", "a\x01@x", false},
    {"LiteralInTheLocalPart", "[a]@x", false},
    {"QuotesInTheDomain", "a@\"x\"", false},
};

INSTANTIATE_TEST_SUITE_P(Rows, MailboxAddress, testing::ValuesIn(kMailboxes),
                         [](const auto& row) { return row.param.name; });

class MessageId : public testing::TestWithParam<Text> {};

TEST_P(MessageId, IsWellFormed) {
  EXPECT_EQ(is_message_id(GetParam().text), GetParam().want);
}

const std::string kLongId = "<" + std::string(900, 'x') + "@y>";

const Text kIds[] = {
    {"Plain", "<1.2@x.example>", true},
    {"Literal", "<1@[x:y]>", true},
    {"EmptyLiteral", "<1@[]>", true},
    {"LiteralThatIsNotClosed", "<1@[>", false},
    {"Empty", "", false},
    {"BracketsAlone", "<>", false},
    {"NoAt", "<x>", false},
    {"Colons", "<<:@>", false},
    {"NoBrackets", "1@b", false},
    {"Blank", "<1 @b>", false},
    {"LineEnd", "<1\n@b>", false},
    {"Field", "<1@b>\nBcc: c@d>", false},
    {"Nul", "<1\0@b>"sv, false},
    {"Long", kLongId, false},
    {"NoRight", "<1@>", false},
    {"TwoDots", "<1..2@x>", false},
};

INSTANTIATE_TEST_SUITE_P(Rows, MessageId, testing::ValuesIn(kIds),
                         [](const auto& row) { return row.param.name; });

constexpr size_t kMessageSize = 1000;

IncomingMessage record() {
  IncomingMessage message;
  message.sender = "otto@customer.example";
  message.charset = "US-ASCII";
  return message;
}

struct Change : NamedRow {
  void (*make)(IncomingMessage& record);
  bool want;
};

class Record : public testing::TestWithParam<Change> {};

TEST_P(Record, IsWellFormed) {
  IncomingMessage message = record();
  GetParam().make(message);
  EXPECT_EQ(is_well_formed(message, kMessageSize), GetParam().want);
}

std::string bytes(size_t count) {
  return std::string(count, 'x');
}

const Change kChanges[] = {
    {"Plain", [](IncomingMessage& /*r*/) {}, true},
    {"LongSender", [](IncomingMessage& r) { r.sender = bytes(1000) + "@x"; }, false},
    {"NoSender", [](IncomingMessage& r) { r.sender = ""; }, false},
    {"LargeSubject", [](IncomingMessage& r) { r.subject = bytes(12000); }, true},
    {"TooLargeSubject", [](IncomingMessage& r) { r.subject = bytes(12001); }, false},
    {"NulInTheSubject", [](IncomingMessage& r) { r.subject = std::string(1, '\0'); }, true},
    {"LongDate", [](IncomingMessage& r) { r.date = bytes(1001); }, false},
    {"NulInTheDate", [](IncomingMessage& r) { r.date = std::string(1, '\0'); }, false},
    {"LongCharset", [](IncomingMessage& r) { r.charset = bytes(1001); }, false},
    {"NulInTheCharset", [](IncomingMessage& r) { r.charset = std::string(1, '\0'); }, false},
    {"ListField", [](IncomingMessage& r) { r.courtesy.list_field = "List-Post"; }, true},
    {"NoListField", [](IncomingMessage& r) { r.courtesy.list_field = "List-Nonsense"; }, false},
    {"ReturnPath", [](IncomingMessage& r) { r.courtesy.return_path = "a@x"; }, true},
    {"NulInTheReturnPath",
     [](IncomingMessage& r) { r.courtesy.return_path = std::string("a\0b@x", 5); }, true},
    {"TwoLinesOfReturnPath", [](IncomingMessage& r) { r.courtesy.return_path = "a\nb@x"; }, false},
    {"LongReturnPath", [](IncomingMessage& r) { r.courtesy.return_path = bytes(511) + "@x"; },
     false},
    {"Addressees",
     [](IncomingMessage& r) {
       r.courtesy.addressees = {"a@x", "b c@y"};
     },
     true},
    {"NoAddressee",
     [](IncomingMessage& r) {
       r.courtesy.addressees = {"a@x", ""};
     },
     false},
    {"MoreAddresseesThanTheMessageHolds",
     [](IncomingMessage& r) { r.courtesy.addressees = std::vector<std::string>(334, "a@x"); },
     false},
    {"EmptyReference", [](IncomingMessage& r) { r.courtesy.references = {""}; }, false},
    {"Reference", [](IncomingMessage& r) { r.courtesy.references = {"<1@x>"}; }, true},
    {"TooManyReferences",
     [](IncomingMessage& r) { r.courtesy.references = std::vector<std::string>(21, "<1@x>"); },
     false},
    {"MessageId", [](IncomingMessage& r) { r.courtesy.message_id = "<x>"; }, false},
};

INSTANTIATE_TEST_SUITE_P(Rows, Record, testing::ValuesIn(kChanges),
                         [](const auto& row) { return row.param.name; });

}  // namespace
