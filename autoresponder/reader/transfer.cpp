// The wire between child and parent: numbers, texts and the result.
#include "autoresponder/reader/transfer.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include "autoresponder/message/well_formed.h"
#include "autoresponder/reader/diagnostics.h"
#include "autoresponder/reader/reader_failure.h"

namespace {

constexpr size_t kBlock = size_t{1} << 20;

// Gives the pages that lie within the bytes back to the system.
void give_back(char* bytes, size_t length) {
  static const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto start = reinterpret_cast<uintptr_t>(bytes);
  const uintptr_t first = (start + page - 1) / page * page;
  const uintptr_t end = (start + length) / page * page;
  if (first < end) madvise(bytes + (first - start), end - first, MADV_DONTNEED);
}

// Reserved memory costs nothing until it is written. If the system refuses it nevertheless, the
// text cannot be received.
std::string with_room_for(uint64_t length) {
  try {
    std::string text;
    text.reserve(length);
    return text;
  } catch (const std::bad_alloc&) {
    throw ReaderFailure();
  }
}

// Precedes a result, so that nothing else is taken for one.
constexpr uint64_t kResult = 0x52657375'6C743031;

// Sent in place of an outcome if the extraction threw `std::out_of_range`.
constexpr uint64_t kAborted = static_cast<uint64_t>(Extraction::kNoRecipient) + 1;

// Maximum size of an exception's text, in bytes.
constexpr size_t kMaxReason = 256;

void require(bool condition) {
  if (!condition) throw ReaderFailure();
}

void receive_diagnostics(Receiver& receiver, size_t message_size) {
  DiagnosticsRelay relay(message_size);
  for (;;) {
    const uint64_t start = receiver.Number(UINT64_MAX);
    if (start == kResult) break;
    require(start == kDiagnostics);
    relay.Add(receiver.Text(kMaxDiagnostics));
  }
  relay.End();
}

void receive_facts(Receiver& receiver, size_t message_size, CourtesyFacts& facts) {
  for (bool* const fact : {&facts.has_null_return_path, &facts.is_auto_submitted, &facts.is_bulk,
                           &facts.suppresses_replies, &facts.is_spam}) {
    *fact = receiver.Number(1) != 0;
  }
  facts.return_path = receiver.Text(kMaxListedAddress);
  facts.list_field = receiver.Text(kMaxListedAddress);
  facts.addressees = receiver.Texts(kMaxAddressees, message_size);
  facts.message_id = receiver.Text(kMaxMessageId);
  facts.references = receiver.Texts(kMaxReferences, message_size);
}

std::string receive_recipient(Receiver& receiver, const Assignment& assignment) {
  std::string address = receiver.Text(assignment.message_size);
  if (assignment.delivered_to != nullptr) return assignment.delivered_to;
  require(is_mailbox_address(address));
  return address;
}

void receive_record(Receiver& receiver, const Assignment& assignment, IncomingMessage& record) {
  const size_t size = assignment.message_size;
  record.sender = receiver.Text(size);
  record.SetRecipient(receive_recipient(receiver, assignment));
  record.subject = receiver.Text(kMaxGrowth * size);
  record.date = receiver.Text(size);
  record.charset = receiver.Text(std::max(size, kDefaultCharset.size()));
  receive_facts(receiver, size, record.courtesy);
  require(is_well_formed(record, size));
}

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

void Sender::Number(uint64_t number) {
  char bytes[sizeof number];
  for (char& byte : bytes) {
    byte = static_cast<char>(number & 0xFF);
    number >>= 8;
  }
  sink_(bytes, sizeof bytes);
}

void Sender::Text(std::string_view text) {
  Number(text.size());
  sink_(text.data(), text.size());
}

void Sender::Texts(const std::vector<std::string_view>& texts) {
  Number(texts.size());
  for (const std::string_view text : texts) Text(text);
}

void Sender::LastUseOf(std::string& text) {
  Number(text.size());
  for (size_t at = 0; at < text.size(); at += kBlock) {
    const size_t length = std::min(kBlock, text.size() - at);
    sink_(&text[at], length);
    if (text.size() > kBlock) give_back(&text[at], length);
  }
}

uint64_t Receiver::Number(uint64_t max) {
  char bytes[sizeof(uint64_t)];
  source_(bytes, sizeof bytes);
  uint64_t number = 0;
  for (size_t i = sizeof bytes; i > 0; --i) {
    number = number << 8 | static_cast<unsigned char>(bytes[i - 1]);
  }
  if (number > max) throw ReaderFailure();
  return number;
}

std::string Receiver::Text(uint64_t max_length) {
  const uint64_t length = Number(max_length);
  std::string text = with_room_for(length);
  while (text.size() < length) {
    const size_t at = text.size();
    text.resize(std::min<uint64_t>(length, at + kBlock));
    source_(&text[at], text.size() - at);
  }
  return text;
}

std::vector<std::string> Receiver::Texts(uint64_t max_count, uint64_t max_length) {
  const uint64_t count = Number(max_count);
  std::vector<std::string> texts;
  while (texts.size() < count) {
    texts.push_back(Text(max_length));
    max_length -= texts.back().size();
  }
  return texts;
}

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

// With the repair `subject` no extraction throws `std::out_of_range`, so kAborted is refused.
ExtractionResult receive_result(Receiver& receiver, const Assignment& assignment,
                                IncomingMessage& record) {
  receive_diagnostics(receiver, assignment.message_size);
  const uint64_t status =
      receiver.Number(assignment.switches.repairs.subject ? kAborted - 1 : kAborted);
  if (status == kAborted) throw std::out_of_range(receiver.Text(kMaxReason));
  const auto outcome = static_cast<Extraction>(status);
  const auto field =
      static_cast<SenderField>(receiver.Number(static_cast<uint64_t>(SenderField::kFrom)));
  require((outcome == Extraction::kNoSender) == (field == SenderField::kNone));
  if (outcome == Extraction::kDone) {
    receive_record(receiver, assignment, record);
    return {outcome, field, {}};
  }
  std::string sender = receiver.Text(assignment.message_size);
  require(outcome == Extraction::kNoSender ? sender.empty() : is_mailbox_address(sender));
  require(outcome != Extraction::kNoRecipient || assignment.delivered_to == nullptr);
  return {outcome, field, std::move(sender)};
}
