#include "autoresponder/reader/diagnostics.h"

#include <gtest/gtest.h>

#include "../../memory_file.h"
#include "../../named_row.h"
#include "../../transferred_bytes.h"
#include "autoresponder/reader/reader_failure.h"

namespace {

constexpr size_t kMessageSize = 100;

std::string relayed(std::string_view text) {
  const CapturedDiagnostics written;
  DiagnosticsRelay relay(kMessageSize);
  if (!text.empty()) relay.Add(text);
  relay.End();
  return written.Text();
}

struct Line : NamedRow {
  const char* text;
};

class DiagnosticsRelayed : public testing::TestWithParam<Line> {};

TEST_P(DiagnosticsRelayed, AreWrittenAsTheyAre) {
  EXPECT_EQ(relayed(GetParam().text), GetParam().text);
}

constexpr Line kRelayed[] = {
    {"Nothing", ""},
    {"NoCharset", "wrong rfc1522 sequence (no charset): =?\n"},
    {"NoEncoding", "wrong rfc1522 sequence (no encoding): =?utf-8?Q\n"},
    {"NoData", "wrong rfc1522 sequence (no data): =?utf-8?Q?a\n"},
    {"TrailingStuff", "wrong rfc1522 sequence (trailing stuff): =?utf-8?Q?a?=b\n"},
    {"TokenBeforeAFold", "wrong rfc1522 sequence (no data): =?utf-8?Q?a\n\n"},
    {"Hex", "Bad hex in quoted-printable string: G1\n"},
    {"OneByteOfHex", "Bad hex in quoted-printable string: G\n"},
    {"Symbol", "Bad base64 symbol: *\n"},
    {"Body", "Could not convert message body text from x-unknown to UTF-8.\n"},
    {"FoldedCharset", "Could not convert message body text from x\n y to UTF-8.\n"},
    {"Subject", "Could not convert message subject text from US-ASCII to UTF-8.\n"},
    {"Sender", "Could not get sender's e-mail address from Reply-To: or From: headers.\n"},
    {"Recipient",
     "Could not get recipient's e-mail address from environment variable RECIPIENT or To: header."
     "\n"},
    {"Several", "Bad base64 symbol: *\nBad base64 symbol: !\n"},
};

INSTANTIATE_TEST_SUITE_P(Rows, DiagnosticsRelayed, testing::ValuesIn(kRelayed),
                         [](const auto& row) { return row.param.name; });

class DiagnosticsRefused : public testing::TestWithParam<Line> {};

TEST_P(DiagnosticsRefused, Throw) {
  EXPECT_THROW(relayed(GetParam().text), ReaderFailure);
}

constexpr Line kRefused[] = {
    {"OfTheRun", "autoresponder: Mailname not found: a@b\n"},
    {"EndOfTheRun", "Abnormal exit.\n"},
    {"Anything", "x\n"},
    {"NoToken", "wrong rfc1522 sequence (no data): x\n"},
    {"UnknownReason", "wrong rfc1522 sequence (none): =?\n"},
    {"LongHex", "Bad hex in quoted-printable string: abc\n"},
    {"LongSymbol", "Bad base64 symbol: ab\n"},
    {"MoreAfterTheSender",
     "Could not get sender's e-mail address from Reply-To: or From: headers. x\n"},
    {"OfTheRunAfterOneOfTheIntake", "Bad base64 symbol: *\nautoresponder: no reply\n"},
    {"BlankAtFirst", " autoresponder: no reply\n"},
    {"NothingAtFirst", "\n"},
    {"BlankAfterALineThatHasAnEnd", "Bad base64 symbol: *\n x\n"},
    {"WithoutItsEnd", "Bad base64 symbol: *"},
};

INSTANTIATE_TEST_SUITE_P(Rows, DiagnosticsRefused, testing::ValuesIn(kRefused),
                         [](const auto& row) { return row.param.name; });

TEST(DiagnosticsRelay, PutsLinesTogether) {
  const CapturedDiagnostics written;
  DiagnosticsRelay relay(kMessageSize);
  for (const char* const part : {"Bad base64", " symbol: *", "\nBad base64 symbol: ", "!\n"}) {
    relay.Add(part);
  }
  relay.End();
  EXPECT_EQ(written.Text(), "Bad base64 symbol: *\nBad base64 symbol: !\n");
}

TEST(DiagnosticsRelay, TakesNoMoreLinesThanAMessageOfThisSizeCanGive) {
  const std::string token = "wrong rfc1522 sequence (no data): =?x\n";
  EXPECT_EQ(relayed(token + std::string(kMessageSize, '\n')).size(), token.size() + kMessageSize);
  EXPECT_THROW(relayed(token + std::string(kMessageSize + 20, '\n')), ReaderFailure);
}

TEST(DiagnosticsRelay, KeepsNoLongerLineThanAMessageOfThisSizeCanGive) {
  EXPECT_THROW(relayed("wrong rfc1522 sequence (no data): =?" + std::string(1000, 'x')),
               ReaderFailure);
}

// That of a missing sender, for example, needs no byte of the message.
TEST(DiagnosticsRelay, TakesTwoHundredAndFiftySixBytesForAnEmptyMessage) {
  const std::string start = "wrong rfc1522 sequence (no data): =?";
  const auto relay_bytes = [&start](size_t size) {
    const CapturedDiagnostics written;
    DiagnosticsRelay relay(0);
    relay.Add(start + std::string(size - start.size() - 1, 'x') + "\n");
    relay.End();
    return written.Text().size();
  };
  EXPECT_EQ(relay_bytes(256), 256U);
  EXPECT_THROW(relay_bytes(257), ReaderFailure);
}

TEST(DiagnosticsRelay, TakesNoEmptyText) {
  DiagnosticsRelay relay(kMessageSize);
  EXPECT_THROW(relay.Add(""), ReaderFailure);
}

// Called in the sending process, by the stream that replaces its standard error.
TEST(SendStandardError, SendsLongTextsWhole) {
  FILE* const before = stderr;
  std::string bytes;
  Sender sender([&bytes](const char* part, size_t length) { bytes.append(part, length); });
  const std::string text(3 * kMaxDiagnostics + 1, 'x');
  ASSERT_TRUE(send_standard_error(sender));
  fwrite(text.data(), 1, text.size(), stderr);
  fclose(stderr);
  stderr = before;
  Receiver receiver(source_of(bytes));
  std::string received;
  while (received.size() < text.size()) {
    EXPECT_EQ(receiver.Number(UINT64_MAX), kDiagnostics);
    received += receiver.Text(kMaxDiagnostics);
  }
  EXPECT_EQ(received, text);
}

TEST(DiagnosticsRelay, TakesNoMoreThanAMessageOfThisSizeCanGive) {
  std::string symbols;
  for (size_t i = 0; i < kMessageSize; ++i) symbols += "Bad base64 symbol: *\n";
  EXPECT_EQ(relayed(symbols), symbols);
  EXPECT_THROW(relayed(symbols + symbols), ReaderFailure);
}

}  // namespace
