// The wire between child and parent: the result.
#include "autoresponder/reader/result.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "autoresponder/message/well_formed.h"
#include "autoresponder/reader/diagnostics.h"
#include "autoresponder/reader/reader_failure.h"

namespace {

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
