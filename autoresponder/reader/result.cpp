#include "autoresponder/reader/result.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

#include "autoresponder/reader/reader_failure.h"

namespace {

// The first number of a result, so that what is no result at all is recognised as such.
constexpr uint64_t kResult = 0x52657375'6C743031;

// What an extraction came to: one of its outcomes, or the exception.
constexpr uint64_t kAborted = static_cast<uint64_t>(Extraction::kNoRecipient) + 1;

void require(bool condition) {
  if (!condition) throw ReaderFailure();
}

std::string receive_text(Receiver& receiver) {
  std::string text = receiver.Text();
  require(text.find('\0') == std::string::npos);
  return text;
}

// In an address of a message, a line ends only where the next one continues it: a reader that says
// otherwise wants to write fields of its own into the reply's header.
std::string receive_address(Receiver& receiver) {
  std::string address = receive_text(receiver);
  for (size_t at = address.find('\n'); at != std::string::npos; at = address.find('\n', at + 1)) {
    const char next = address.c_str()[at + 1];
    require(next == ' ' || next == '\t');
  }
  return address;
}

// The name of a field goes into a diagnostic as it is.
std::string receive_field_name(Receiver& receiver) {
  std::string name = receiver.Text();
  require(std::all_of(name.begin(), name.end(), [](char byte) {
    return isalpha(static_cast<unsigned char>(byte)) != 0 || byte == '-';
  }));
  return name;
}

// A message id goes into the reply's header as it is.
std::string receive_message_id(std::string id) {
  const bool is_visible =
      std::all_of(id.begin(), id.end(), [](char byte) { return byte > ' ' && byte < '\x7F'; });
  require(id.empty() ||
          (is_visible && id.size() <= kLongestMessageId && id.front() == '<' && id.back() == '>'));
  return id;
}

void receive_facts(Receiver& receiver, CourtesyFacts& facts) {
  for (bool* const fact : {&facts.has_null_return_path, &facts.is_auto_submitted, &facts.is_bulk,
                           &facts.suppresses_replies, &facts.is_spam}) {
    *fact = receiver.Number(1) != 0;
  }
  facts.return_path = receive_text(receiver);
  facts.list_field = receive_field_name(receiver);
  facts.addressees = receiver.Texts();
  facts.message_id = receive_message_id(receiver.Text());
  for (std::string& id : receiver.Texts()) {
    facts.references.push_back(receive_message_id(std::move(id)));
  }
}

void receive_record(Receiver& receiver, const std::optional<std::string>& delivered_to,
                    IncomingMessage& record) {
  record.sender = receive_address(receiver);
  std::string recipient = receive_address(receiver);
  if (delivered_to) recipient = *delivered_to;
  record.SetRecipient(std::move(recipient));
  record.subject = receiver.Text();  // a decoded one may hold NULs
  record.date = receive_text(receiver);
  record.charset = receive_text(receiver);
  receive_facts(receiver, record.courtesy);
}

}  // namespace

namespace {

void send_facts(Sender& sender, const CourtesyFacts& facts) {
  for (const bool fact : {facts.has_null_return_path, facts.is_auto_submitted, facts.is_bulk,
                          facts.suppresses_replies, facts.is_spam}) {
    sender.Number(fact ? 1 : 0);
  }
  sender.Text(facts.return_path);
  sender.Text(facts.list_field);
  sender.Texts({facts.addressees.begin(), facts.addressees.end()});
  sender.Text(facts.message_id);
  sender.Texts({facts.references.begin(), facts.references.end()});
}

}  // namespace

void send_result(Sender& sender, const ExtractionResult& result, IncomingMessage& record) {
  sender.Number(kResult);
  sender.Number(static_cast<uint64_t>(result.outcome));
  sender.Number(static_cast<uint64_t>(result.sender_field));
  if (result.outcome != Extraction::kDone) {
    sender.Text(result.sender);
    return;
  }
  for (std::string* text :
       {&record.sender, &record.recipient, &record.subject, &record.date, &record.charset}) {
    sender.LastUseOf(*text);
  }
  send_facts(sender, record.courtesy);
}

void send_abort(Sender& sender, const std::string& what) {
  sender.Number(kResult);
  sender.Number(kAborted);
  sender.Text(what);
}

ExtractionResult receive_result(Receiver& receiver, const std::optional<std::string>& delivered_to,
                                IncomingMessage& record) {
  require(receiver.Number() == kResult);
  const uint64_t status = receiver.Number(kAborted);
  if (status == kAborted) throw std::out_of_range(receive_text(receiver));
  const auto outcome = static_cast<Extraction>(status);
  const auto field =
      static_cast<SenderField>(receiver.Number(static_cast<uint64_t>(SenderField::kFrom)));
  require((outcome == Extraction::kNoSender) == (field == SenderField::kNone));
  if (outcome != Extraction::kDone) return {outcome, field, receive_address(receiver)};
  receive_record(receiver, delivered_to, record);
  return {outcome, field, {}};
}

// A text may grow to twelve times its size as it is converted.
uint64_t most_of_result(size_t message_size) {
  constexpr uint64_t kGrowth = 16;
  constexpr uint64_t kLeast = uint64_t{1} << 20;
  return kLeast + kGrowth * message_size;
}
