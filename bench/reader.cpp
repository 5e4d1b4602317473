// reader: prints what the process that takes messages apart costs for a plain message: the median
// times, in milliseconds, from its start to its answer and from there to its end.
// reader once: starts one, and lets it end by itself.

#include "autoresponder/reader/reader.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace {

constexpr char kMessage[] =
    "From: otto@customer.example\nTo: info@shop.example\nSubject: A question\n\n"
    "Do you have apples?\n";

MessageBuffer message() {
  MessageBuffer buffer;
  memcpy(buffer.RoomFor(strlen(kMessage)), kMessage, strlen(kMessage));
  buffer.Add(strlen(kMessage));
  return buffer;
}

double median_milliseconds(std::vector<std::chrono::duration<double>> times) {
  std::sort(times.begin(), times.end());
  return 1000 * times[times.size() / 2].count();
}

}  // namespace

int main(int argc, char** /*argv*/) {
  if (argc > 1) {
    IncomingMessage record;
    read_message(message(), "info@shop.example", Switches(), record);
    record.body_lines->FirstWith({});
    sleep(2);
    return 0;
  }
  constexpr int kReaders = 2000;
  std::vector<std::chrono::duration<double>> answers;
  std::vector<std::chrono::duration<double>> ends;
  for (int i = 0; i < kReaders; ++i) {
    IncomingMessage record;
    const auto start = std::chrono::steady_clock::now();
    read_message(message(), "info@shop.example", Switches(), record);
    const auto answer = std::chrono::steady_clock::now();
    record.body_lines.reset();
    answers.emplace_back(answer - start);
    ends.emplace_back(std::chrono::steady_clock::now() - answer);
  }
  printf("%.2f %.2f\n", median_milliseconds(answers), median_milliseconds(ends));
}
