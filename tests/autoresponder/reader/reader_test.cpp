#include "autoresponder/reader/reader.h"

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "../../memory_file.h"

namespace {

MessageBuffer buffer_of(const std::string& text) {
  MessageBuffer buffer;
  memcpy(buffer.RoomFor(text.size()), text.data(), text.size());
  buffer.Add(text.size());
  return buffer;
}

constexpr char kHeader[] = "From: otto@customer.example\nTo: info@shop.example\nSubject: Hello\n";

// A message that is read in a process of its own.
class AReadMessage : public testing::Test {
 protected:
  Extraction Read(const std::string& text, const char* delivered_to = "info@shop.example") {
    return read_message(buffer_of(text), delivered_to, switches_, record_).outcome;
  }

  Switches switches_;
  IncomingMessage record_;
};

TEST_F(AReadMessage, FillsTheRecord) {
  EXPECT_EQ(Read(std::string(kHeader) + "Date: today\n\nA question.\n"), Extraction::kDone);
  EXPECT_EQ(record_.sender, "otto@customer.example");
  EXPECT_EQ(record_.recipient, "info@shop.example");
  EXPECT_EQ(record_.recipient_mailname, "info");
  EXPECT_EQ(record_.recipient_domain, "shop.example");
  EXPECT_EQ(record_.subject, "Hello");
  EXPECT_EQ(record_.date, "today");
  EXPECT_EQ(record_.charset, "US-ASCII");
}

TEST_F(AReadMessage, HasTheRecipientOfTheDeliveryOrOfTo) {
  Read(kHeader, "other@shop.example");
  EXPECT_EQ(record_.recipient, "other@shop.example");
  Read(kHeader, nullptr);
  EXPECT_EQ(record_.recipient, "info@shop.example");
}

TEST_F(AReadMessage, ReportsWhatIsMissing) {
  const CapturedDiagnostics written;
  EXPECT_EQ(Read("Subject: Hello\n\nA question.\n"), Extraction::kNoSender);
  EXPECT_EQ(Read("From: otto@customer.example\n\n", nullptr), Extraction::kNoRecipient);
  EXPECT_EQ(written.Text(),
            "Could not get sender's e-mail address from Reply-To: or From: headers.\n"
            "Could not get recipient's e-mail address from environment variable RECIPIENT or To: "
            "header.\n");
  EXPECT_EQ(record_.sender, "");
}

TEST_F(AReadMessage, TellsTheFactsOfCourtesyWhereTheyAreAsked) {
  const std::string text = std::string("Return-Path: <bounce@list.example>\n") + kHeader +
                           "Cc: Anna <anna@shop.example>\nList-Id: <l.list.example>\n"
                           "Message-ID: <1@customer.example>\nReferences: <0@customer.example>\n\n";
  Read(text);
  EXPECT_EQ(record_.courtesy.list_field, "");
  switches_.courtesy = true;
  Read(text);
  const CourtesyFacts& facts = record_.courtesy;
  EXPECT_EQ(facts.return_path, "bounce@list.example");
  EXPECT_EQ(facts.list_field, "List-Id");
  EXPECT_EQ(facts.addressees, (std::vector<std::string>{"info@shop.example", "anna@shop.example"}));
  EXPECT_EQ(facts.message_id, "<1@customer.example>");
  EXPECT_EQ(facts.references, std::vector<std::string>{"<0@customer.example>"});
  EXPECT_FALSE(facts.has_null_return_path || facts.is_auto_submitted || facts.is_bulk ||
               facts.suppresses_replies || facts.is_spam);
}

TEST_F(AReadMessage, TellsInWhichLineEachKeyIsFirst) {
  Read(std::string(kHeader) + "\nred\ngreen, blue\nblue\n");
  EXPECT_EQ(record_.body_lines->FirstWith({"blue", "red", "yellow", "green", ""}),
            (std::vector<size_t>{2, 1, 0, 2, 1}));
}

TEST_F(AReadMessage, FindsNoKeyThatIsLongerThanItsText) {
  Read(std::string(kHeader) + "\nred\n");
  const std::string longer(100000, 'x');
  EXPECT_EQ(record_.body_lines->FirstWith({longer, "red"}), (std::vector<size_t>{0, 1}));
}

TEST_F(AReadMessage, IsSearchedForMoreThanFitsIntoOneQuestion) {
  std::string text = std::string(kHeader) + "\n";
  std::vector<std::string> lines;
  for (char c = 'a'; c < 'z'; ++c) lines.push_back(std::string(100000, c));
  for (const std::string& line : lines) text += line + "\n";
  Read(text);
  std::vector<size_t> places;
  for (size_t i = 1; i <= lines.size(); ++i) places.push_back(i);
  EXPECT_EQ(record_.body_lines->FirstWith({lines.begin(), lines.end()}), places);
}

TEST_F(AReadMessage, RelaysDiagnostics) {
  const CapturedDiagnostics written;
  EXPECT_EQ(Read("From: otto@customer.example\nSubject: =?utf-8?Q\n\n"), Extraction::kDone);
  EXPECT_EQ(written.Text(), "wrong rfc1522 sequence (no encoding): =?utf-8?Q\n");
}

}  // namespace
