// The child's side: takes the message and answers the parent.
#include "autoresponder/reader/reading.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include <mimelib/mimepp.h>

#include "autoresponder/intake/extraction.h"
#include "autoresponder/reader/diagnostics.h"
#include "autoresponder/reader/transfer.h"
#include "support/base/owned.h"

#ifdef READER_WRITES_COUNTERS
extern "C" {
#include <gcov.h>
}
#endif

namespace {

// In a build that counts covered lines: writes the counts, before the parent kills this process.
void write_counters() {
#ifdef READER_WRITES_COUNTERS
  __gcov_dump();
#endif
}

// Ends the process if the parent hangs up.
void read_all(int channel, char* bytes, size_t length) {
  while (length > 0) {
    const ssize_t received = read(channel, bytes, length);
    if (received <= 0) _exit(0);
    bytes += received;
    length -= static_cast<size_t>(received);
  }
}

// The keys of a question, as `Sender::Texts` wrote them. Views, because keys may be large.
std::vector<std::string_view> keys_in(std::string_view question) {
  Receiver numbers([&question](char* bytes, size_t length) {
    question.copy(bytes, length);
    question.remove_prefix(length);
  });
  std::vector<std::string_view> keys(numbers.Number(UINT64_MAX));
  for (std::string_view& key : keys) {
    const size_t length = numbers.Number(UINT64_MAX);
    key = question.substr(0, length);
    question.remove_prefix(length);
  }
  return keys;
}

// Ends only with the process: when the parent hangs up, or kills it.
[[noreturn]] void answer_searches(int channel, FILE* out, Body& body) {
  Receiver questions([channel](char* bytes, size_t length) { read_all(channel, bytes, length); });
  Sender sender([out](const char* bytes, size_t length) { fwrite(bytes, 1, length, out); });
  for (;;) {
    const std::string question = questions.Text(UINT64_MAX);
    for (const size_t line : body.FirstWith(keys_in(question))) sender.Number(line);
    fflush(out);
  }
}

// Sends the result, or what the extraction threw if that must end the run. Returns whether the body
// can be searched.
bool send_extraction(FILE* out, MessageBuffer& message, bool has_delivery, const Switches& switches,
                     IncomingMessage& record) {
  Sender sender([out](const char* bytes, size_t length) { fwrite(bytes, 1, length, out); });
  if (!send_standard_error(sender)) return false;
  // An empty one will do: the parent has the address.
  const auto delivered_to = has_delivery ? std::make_optional(std::string()) : std::nullopt;
  DwInitialize();
  bool goes_on = false;
  try {
    const ExtractionResult result =
        extract(message.Take<DwString>(), delivered_to, switches, record);
    goes_on = result.outcome == Extraction::kDone;
    send_result(sender, result, record);
  } catch (const std::out_of_range& exception) {
    send_abort(sender, exception.what());
  }
  write_counters();
  return fflush(out) == 0 && goes_on;
}

}  // namespace

void read_for_parent(int channel, MessageBuffer& message, bool has_delivery,
                     const Switches& switches) {
  const OwnedFile out(fdopen(channel, "w"));
  IncomingMessage record;
  if (!out || !send_extraction(out.get(), message, has_delivery, switches, record)) return;
  answer_searches(channel, out.get(), *record.body_lines);
}
