#include <cstring>
#include <stdexcept>

#include <gtest/gtest.h>

#include "../../memory_file.h"
#include "../../named_row.h"
#include "../../transferred_bytes.h"
#include "autoresponder/reader/diagnostics.h"
#include "autoresponder/reader/reader_failure.h"
#include "autoresponder/reader/transfer.h"

namespace {

constexpr uint64_t kResult = 0x52657375'6C743031;

constexpr Assignment kAssignment{200, nullptr, {}};

ExtractionResult receive(const std::string& bytes, IncomingMessage& record,
                         const Assignment& assignment = kAssignment) {
  Receiver receiver(source_of(bytes));
  return receive_result(receiver, assignment, record);
}

// A result in numbers and texts; each row below changes something in it.
struct Result {
  uint64_t start = kResult;
  uint64_t outcome = 0;
  uint64_t field = 2;
  std::string sender = "otto@customer.example";
  std::string recipient = "info@shop.example";
  std::string subject = "Hello";
  std::string list_field = "List-Id";
  std::string message_id = "<1@b>";
  std::string reference = "<2@b>";
};

std::string bytes_of(const Result& result) {
  return sent([&result](Sender& to) {
    for (const uint64_t number : {result.start, result.outcome, result.field}) to.Number(number);
    for (const std::string& text : {result.sender, result.recipient, result.subject}) to.Text(text);
    to.Text("today");
    to.Text("utf-8");
    for (int i = 0; i < 5; ++i) to.Number(0);
    to.Text("");
    to.Text(result.list_field);
    to.Texts({});
    to.Text(result.message_id);
    to.Texts({result.reference});
  });
}

TEST(ReaderResult, FillsTheRecord) {
  IncomingMessage record;
  const ExtractionResult result = receive(bytes_of({}), record);
  EXPECT_EQ(result.outcome, Extraction::kDone);
  EXPECT_EQ(result.sender_field, SenderField::kFrom);
  EXPECT_EQ(record.sender, "otto@customer.example");
  EXPECT_EQ(record.recipient, "info@shop.example");
  EXPECT_EQ(record.recipient_mailname, "info");
  EXPECT_EQ(record.recipient_domain, "shop.example");
  EXPECT_EQ(record.subject, "Hello");
  EXPECT_EQ(record.date, "today");
  EXPECT_EQ(record.charset, "utf-8");
  EXPECT_EQ(record.courtesy.list_field, "List-Id");
  EXPECT_EQ(record.courtesy.message_id, "<1@b>");
  EXPECT_EQ(record.courtesy.references, std::vector<std::string>{"<2@b>"});
}

TEST(ReaderResult, CannotChangeTheAddressOfTheDelivery) {
  IncomingMessage record;
  receive(bytes_of({}), record, {200, "other@mailbox.example", {}});
  EXPECT_EQ(record.recipient, "other@mailbox.example");
}

TEST(ReaderResult, IsWhatTheExtractionGave) {
  IncomingMessage given;
  given.sender = "a@b";
  given.SetRecipient("c@d");
  given.subject = "e";
  IncomingMessage record;
  receive(sent([&given](Sender& to) {
            send_result(to, {Extraction::kDone, SenderField::kReplyTo, {}}, given);
          }),
          record);
  EXPECT_EQ(record.sender, "a@b");
  EXPECT_EQ(record.recipient, "c@d");
  EXPECT_EQ(record.subject, "e");
}

TEST(ReaderResult, TellsTheSenderWhereThereIsNoRecipient) {
  IncomingMessage none;
  const std::string bytes = sent([&none](Sender& to) {
    send_result(to, {Extraction::kNoRecipient, SenderField::kFrom, "a@b"}, none);
  });
  IncomingMessage record;
  const ExtractionResult result = receive(bytes, record);
  EXPECT_EQ(result.outcome, Extraction::kNoRecipient);
  EXPECT_EQ(result.sender, "a@b");
  EXPECT_EQ(record.sender, "");
}

TEST(ReaderResult, ThrowsWhatTheExtractionThrew) {
  IncomingMessage record;
  const std::string bytes = sent([](Sender& to) { send_abort(to, "basic_string::substr"); });
  try {
    receive(bytes, record);
    FAIL() << "it does not throw";
  } catch (const std::out_of_range& exception) {
    EXPECT_STREQ(exception.what(), "basic_string::substr");
  }
}

struct Refused : NamedRow {
  Result result;
};

class ReaderResultRefused : public testing::TestWithParam<Refused> {};

TEST_P(ReaderResultRefused, Throws) {
  IncomingMessage record;
  EXPECT_THROW(receive(bytes_of(GetParam().result), record), ReaderFailure);
}

Result changed(const std::function<void(Result&)>& change) {
  Result result;
  change(result);
  return result;
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ReaderResultRefused,
    testing::Values(
        Refused{"OtherStart", changed([](Result& r) { r.start = 7; })},
        Refused{"UnknownOutcome", changed([](Result& r) { r.outcome = 4; })},
        Refused{"UnknownSenderField", changed([](Result& r) { r.field = 3; })},
        Refused{"SenderFromNoField", changed([](Result& r) { r.field = 0; })},
        Refused{"NoSenderFromAField", changed([](Result& r) { r.outcome = 1; })},
        Refused{"NulInSender", changed([](Result& r) { r.sender = std::string("a\0@b", 4); })},
        Refused{"FieldInSender", changed([](Result& r) { r.sender = "a@b\nBcc: c@d"; })},
        Refused{"SenderEndsItsLine", changed([](Result& r) { r.sender = "a@b\n"; })},
        Refused{"FieldInRecipient", changed([](Result& r) { r.recipient = "a@b\nBcc: c@d"; })},
        Refused{"NoNameOfAField", changed([](Result& r) { r.list_field = "List\nId"; })},
        Refused{"LineEndInMessageId", changed([](Result& r) { r.message_id = "<1\n@b>"; })},
        Refused{"BlankInMessageId", changed([](Result& r) { r.message_id = "<1 @b>"; })},
        Refused{"MessageIdWithoutBrackets", changed([](Result& r) { r.message_id = "1@b"; })},
        Refused{"FieldInReference", changed([](Result& r) { r.reference = "<1@b>\nBcc: c@d>"; })},
        Refused{"LongReference",
                changed([](Result& r) { r.reference = "<" + std::string(900, 'x') + ">"; })},
        Refused{"EmptySender", changed([](Result& r) { r.sender = ""; })},
        Refused{"SenderWithoutAt", changed([](Result& r) { r.sender = "root"; })},
        Refused{"SenderIsAnOption", changed([](Result& r) { r.sender = "-t"; })},
        Refused{"FieldAfterACr", changed([](Result& r) { r.sender = "a@b\rBcc: c@d"; })},
        Refused{"RecipientWithoutAt", changed([](Result& r) { r.recipient = "root"; })},
        Refused{"UnknownField", changed([](Result& r) { r.list_field = "List-Nonsense"; })},
        Refused{"EmptyReference", changed([](Result& r) { r.reference = ""; })},
        Refused{"LongSender", changed([](Result& r) { r.sender = std::string(199, 'x') + "@y"; })},
        Refused{"LongSubject", changed([](Result& r) { r.subject = std::string(2401, 'x'); })}),
    [](const auto& row) { return row.param.name; });

TEST(ReaderResult, MayHoldAFoldedAddress) {
  IncomingMessage record;
  receive(bytes_of(changed([](Result& r) { r.sender = "a@[b\n c]"; })), record);
  EXPECT_EQ(record.sender, "a@[b\n c]");
}

TEST(ReaderResult, MayHoldANulInTheSubject) {
  IncomingMessage record;
  const std::string subject("a\0b", 3);
  receive(bytes_of(changed([&subject](Result& r) { r.subject = subject; })), record);
  EXPECT_EQ(record.subject, subject);
}

TEST(ReaderResult, MayHoldASubjectThatGrew) {
  IncomingMessage record;
  receive(bytes_of(changed([](Result& r) { r.subject = std::string(2400, 'x'); })), record);
  EXPECT_EQ(record.subject.size(), 2400U);
}

TEST(ReaderResult, DoesNotEndTheRunWithRepairs) {
  IncomingMessage record;
  const std::string bytes = sent([](Sender& to) { send_abort(to, "basic_string::substr"); });
  EXPECT_THROW(receive(bytes, record, {200, nullptr, {all_repairs(true), false}}), ReaderFailure);
}

TEST(ReaderResult, LacksNoRecipientWhereThereIsADelivery) {
  IncomingMessage record;
  const std::string bytes = sent([&record](Sender& to) {
    send_result(to, {Extraction::kNoRecipient, SenderField::kFrom, "a@b"}, record);
  });
  EXPECT_THROW(receive(bytes, record, {200, "info@shop.example", {}}), ReaderFailure);
}

std::string diagnostics(std::string_view text) {
  return sent([text](Sender& to) {
    to.Number(kDiagnostics);
    to.Text(text);
  });
}

TEST(ReaderResult, FollowsTheDiagnostics) {
  const CapturedDiagnostics written;
  IncomingMessage record;
  receive(
      diagnostics("Bad base64 symbol: *\n") + diagnostics("Bad base64 symbol: !\n") + bytes_of({}),
      record);
  EXPECT_EQ(record.sender, "otto@customer.example");
  EXPECT_EQ(written.Text(), "Bad base64 symbol: *\nBad base64 symbol: !\n");
}

TEST(ReaderResult, FollowsNothingElse) {
  IncomingMessage record;
  EXPECT_THROW(receive(diagnostics("Abnormal exit.\n") + bytes_of({}), record), ReaderFailure);
}

TEST(ReaderResult, TellsTheDiagnosticsOfAnAbort) {
  const CapturedDiagnostics written;
  IncomingMessage record;
  const std::string abort = sent([](Sender& to) { send_abort(to, "basic_string::substr"); });
  EXPECT_THROW(receive(diagnostics("Bad base64 symbol: *\n") + abort, record), std::out_of_range);
  EXPECT_EQ(written.Text(), "Bad base64 symbol: *\n");
}

}  // namespace
