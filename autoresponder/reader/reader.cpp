// The parent's side: what the run calls.
#include "autoresponder/reader/reader.h"

#include <memory>
#include <new>
#include <unistd.h>
#include <utility>

#include "autoresponder/message/well_formed.h"
#include "autoresponder/reader/reader_failure.h"
#include "autoresponder/reader/reader_process.h"
#include "autoresponder/reader/reading.h"
#include "autoresponder/reader/transfer.h"

namespace {

using Seconds = std::chrono::seconds;

// How long the run waits for the child, all answers together. Generous, because the machine may be
// busy: a child that computes without an end meets its limit on processor time first.
Seconds time_to_read(size_t size) {
  constexpr Seconds kMin{120};
  constexpr size_t kBytesASecond = size_t{16} << 10;
  return kMin + Seconds(size / kBytesASecond);
}

// In one buffer, because a system call for each of a thousand keys takes longer than the search.
std::string joined_question(const std::vector<std::string_view>& keys) {
  std::string question;
  Sender([&question](const char* bytes, size_t length) {
    question.append(bytes, length);
  }).Texts(keys);
  return question;
}

// The body of a message, kept by the child.
class KeptBody : public Body {
 public:
  KeptBody(std::unique_ptr<ReaderProcess> reader, size_t message_size)
      : reader_(std::move(reader)), max_text_(kMaxGrowth * message_size) {}

  // Asks several questions if one would not fit into the child's memory beside the body.
  std::vector<size_t> FirstWith(const std::vector<std::string_view>& keys) override {
    constexpr size_t kMaxQuestion = size_t{1} << 20;
    std::vector<size_t> lines;
    std::vector<std::string_view> asked;
    size_t size = 0;
    for (const std::string_view key : keys) {
      const std::string_view possible = key.size() > max_text_ ? kInNoLine : key;
      if (!asked.empty() && size + possible.size() > kMaxQuestion) {
        Ask(asked, lines);
        asked.clear();
        size = 0;
      }
      asked.push_back(possible);
      size += possible.size();
    }
    if (!asked.empty()) Ask(asked, lines);
    reader_->HangUp();
    return lines;
  }

 private:
  static constexpr std::string_view kInNoLine = "\n";

  void Ask(const std::vector<std::string_view>& keys, std::vector<size_t>& lines) {
    ReaderProcess& reader = *reader_;
    Sender([&reader](const char* bytes, size_t length) {
      reader.Send(bytes, length);
    }).Text(joined_question(keys));
    Receiver receiver([&reader](char* bytes, size_t length) { reader.Receive(bytes, length); });
    for (size_t i = 0; i < keys.size(); ++i) lines.push_back(receiver.Number(max_text_ + 1));
  }

  std::unique_ptr<ReaderProcess> reader_;
  size_t max_text_;  // bytes of the body in UTF-8
};

// Frees the message in this process; the child keeps its copy.
std::unique_ptr<ReaderProcess> start_reader(MessageBuffer message, const Assignment& assignment) {
  return std::make_unique<ReaderProcess>(
      [&](int channel, ConfinementSet /*reached*/) {
        read_for_parent(channel, message, assignment.delivered_to != nullptr, assignment.switches);
      },
      message.size());
}

}  // namespace

ExtractionResult read_message(MessageBuffer message, const char* delivered_to,
                              const Switches& switches, IncomingMessage& record) try {
  const Assignment assignment{message.size(), delivered_to, switches};
  auto reader = start_reader(std::move(message), assignment);
  reader->Allow(time_to_read(assignment.message_size));
  Receiver receiver([&reader](char* bytes, size_t length) { reader->Receive(bytes, length); });
  ExtractionResult result = receive_result(receiver, assignment, record);
  if (result.outcome == Extraction::kDone) {
    record.body_lines = std::make_unique<KeptBody>(std::move(reader), assignment.message_size);
  }
  return result;
} catch (const std::bad_alloc&) {
  throw ReaderFailure();
}

std::vector<Confinement> missing_confinements() {
  const ConfinementSet wanted = wanted_confinements();
  ReaderProcess reader(
      [](int channel, ConfinementSet reached) {
        [[maybe_unused]] const ssize_t sent = write(channel, &reached, sizeof reached);
      },
      0);
  reader.Allow(time_to_read(0));
  ConfinementSet reached = 0;
  reader.Receive(reinterpret_cast<char*>(&reached), sizeof reached);
  std::vector<Confinement> missing;
  for (unsigned i = 0; i < kConfinements; ++i) {
    const auto one = static_cast<Confinement>(i);
    if ((wanted & ~reached & bit(one)) != 0) missing.push_back(one);
  }
  return missing;
}
