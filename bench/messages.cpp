// Measures the message library on its worst input: many fields, parts, addresses and parameters;
// and a copy of the message and a search for its line ends.

#include <cstring>
#include <memory>
#include <sstream>

#include <mimelib/mimepp.h>

#include "samples.h"

namespace {

using OwnedMessage = std::unique_ptr<DwMessage>;

OwnedMessage parsed(const DwString& text) {
  OwnedMessage message(DwMessage::NewMessage(text, nullptr));
  message->Parse();
  return message;
}

std::string repeated(std::string_view piece) {
  std::string text;
  while (text.size() < kSampleSize) text += piece;
  return text;
}

template <class Use>
void measure_message(benchmark::State& state, const std::string& text, Use use) {
  const DwString message(text.data(), text.size());
  measure(state, text.size(), [&] {
    const OwnedMessage taken_apart = parsed(message);
    use(*taken_apart);
  });
}

template <class Item>
size_t walk(const Item* item) {
  size_t count = 0;
  for (; item != nullptr; item = item->Next()) ++count;
  return count;
}

}  // namespace

static void message_of_fields(benchmark::State& state) {
  measure_message(
      state, repeated("Received: from a.example by b.example; long ago\n"),
      [](DwMessage& message) { benchmark::DoNotOptimize(message.Headers().HasFrom()); });
}
BENCHMARK(message_of_fields);

static void message_of_small_parts(benchmark::State& state) {
  measure_message(
      state,
      "Content-Type: multipart/mixed; boundary=x\n\n" +
          repeated("--x\nContent-Type: image/png\n\nsome bytes\n"),
      [](DwMessage& message) { benchmark::DoNotOptimize(walk(message.Body().FirstBodyPart())); });
}
BENCHMARK(message_of_small_parts);

static void message_of_one_part(benchmark::State& state) {
  measure_message(
      state, "Content-Type: multipart/mixed; boundary=x\n\n--x\n\n" + sample_in_ascii() + "--x--\n",
      [](DwMessage& message) { benchmark::DoNotOptimize(walk(message.Body().FirstBodyPart())); });
}
BENCHMARK(message_of_one_part);

static void message_of_addresses(benchmark::State& state) {
  measure_message(state, "To: " + repeated("\"Otto O.\" <otto@customer.example>,\n "),
                  [](DwMessage& message) {
                    benchmark::DoNotOptimize(walk(message.Headers().To().FirstAddress()));
                  });
}
BENCHMARK(message_of_addresses);

static void message_of_parameters(benchmark::State& state) {
  measure_message(
      state, "Content-Type: text/plain" + repeated("; name=\"some value\""),
      [](DwMessage& message) {
        benchmark::DoNotOptimize(walk(message.Headers().ContentType().FirstParameter()));
      });
}
BENCHMARK(message_of_parameters);

static void lines_read(benchmark::State& state) {
  std::istringstream in(sample_in_ascii());
  DwString line;
  measure(state, kSampleSize, [&] {
    in.clear();
    in.seekg(0);
    while (getline(in, line)) benchmark::DoNotOptimize(line.length());
  });
}
BENCHMARK(lines_read);

static void message_line_ends_by_memchr(benchmark::State& state) {
  const std::string text = sample_in_ascii();
  measure(state, text.size(), [&] {
    const char* rest = text.data();
    const char* const end = rest + text.size();
    while (const void* const found = memchr(rest, '\n', static_cast<size_t>(end - rest))) {
      rest = static_cast<const char*>(found) + 1;
    }
    benchmark::DoNotOptimize(rest);
  });
}
BENCHMARK(message_line_ends_by_memchr);

static void message_copied(benchmark::State& state) {
  measure_copy(state, sample_in_ascii());
}
BENCHMARK(message_copied);
