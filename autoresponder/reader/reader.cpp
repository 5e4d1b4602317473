#include "autoresponder/reader/reader.h"

#include <memory>
#include <new>
#include <unistd.h>
#include <utility>

#include "autoresponder/reader/reader_failure.h"
#include "autoresponder/reader/reader_process.h"
#include "autoresponder/reader/reading.h"
#include "autoresponder/reader/result.h"

namespace {

using Seconds = std::chrono::seconds;

// Generous, because a busy machine is no reason to give up; a reader that computes without an end
// meets its limit on processor time first.
constexpr Seconds kLeastTime{120};

Seconds time_to_read(size_t size) {
  constexpr size_t kBytesASecond = size_t{16} << 10;
  return kLeastTime + Seconds(size / kBytesASecond);
}

Seconds time_to_search(size_t size, size_t keys) {
  constexpr size_t kBytesASecond = size_t{1} << 20;
  return kLeastTime + keys * Seconds(1 + size / kBytesASecond);
}

// In one piece, because a system call for each of a thousand keys takes longer than the search.
std::string joined_question(const std::vector<std::string_view>& keys) {
  size_t size = sizeof(uint64_t);
  for (const std::string_view key : keys) size += sizeof(uint64_t) + key.size();
  std::string question;
  question.reserve(size);
  Sender([&question](const char* bytes, size_t length) {
    question.append(bytes, length);
  }).Texts(keys);
  return question;
}

// The body of a message, which a reader keeps.
class KeptBody : public Body {
 public:
  KeptBody(std::unique_ptr<ReaderProcess> reader, size_t message_size)
      : reader_(std::move(reader)), message_size_(message_size) {}

  std::vector<size_t> FirstWith(const std::vector<std::string_view>& keys) const override {
    std::vector<size_t> lines;
    if (!keys.empty()) lines = Ask(keys);
    reader_->HangUp();
    return lines;
  }

 private:
  std::vector<size_t> Ask(const std::vector<std::string_view>& keys) const {
    ReaderProcess& reader = *reader_;
    reader.Allow(time_to_search(message_size_, keys.size()));
    Sender([&reader](const char* bytes, size_t length) {
      reader.Send(bytes, length);
    }).Text(joined_question(keys));
    Receiver receiver([&reader](char* bytes, size_t length) { reader.Receive(bytes, length); }, 0);
    std::vector<size_t> lines;
    while (lines.size() < keys.size()) lines.push_back(receiver.Number());
    return lines;
  }

  std::unique_ptr<ReaderProcess> reader_;
  size_t message_size_;
};

// Here the message ends with this function: only the reader keeps it.
std::unique_ptr<ReaderProcess> start_reader(MessageBuffer message, bool has_delivery,
                                            const Switches& switches) {
  return std::make_unique<ReaderProcess>(
      [&](int channel, ConfinementSet /*reached*/) {
        read_for_parent(channel, message, has_delivery, switches);
      },
      message.size());
}

// A result for which there is no memory cannot be taken over.
ExtractionResult receive(Receiver& receiver, const std::optional<std::string>& delivered_to,
                         IncomingMessage& record) {
  try {
    return receive_result(receiver, delivered_to, record);
  } catch (const std::bad_alloc&) {
    throw ReaderFailure();
  }
}

}  // namespace

ExtractionResult read_message(MessageBuffer message, const std::optional<std::string>& delivered_to,
                              const Switches& switches, IncomingMessage& record) {
  const size_t size = message.size();
  auto reader = start_reader(std::move(message), delivered_to.has_value(), switches);
  reader->Allow(time_to_read(size));
  Receiver receiver([&reader](char* bytes, size_t length) { reader->Receive(bytes, length); },
                    most_of_result(size));
  ExtractionResult result = receive(receiver, delivered_to, record);
  if (result.outcome == Extraction::kDone) {
    record.body = std::make_unique<KeptBody>(std::move(reader), size);
  }
  return result;
}

std::vector<Confinement> missing_confinements() {
  const ConfinementSet wanted = wanted_confinements();
  ReaderProcess reader(
      [](int channel, ConfinementSet reached) {
        [[maybe_unused]] const ssize_t sent = write(channel, &reached, sizeof reached);
      },
      0);
  reader.Allow(kLeastTime);
  ConfinementSet reached = 0;
  reader.Receive(reinterpret_cast<char*>(&reached), sizeof reached);
  std::vector<Confinement> missing;
  for (unsigned i = 0; i < kConfinements; ++i) {
    const auto one = static_cast<Confinement>(i);
    if ((wanted & ~reached & bit(one)) != 0) missing.push_back(one);
  }
  return missing;
}
