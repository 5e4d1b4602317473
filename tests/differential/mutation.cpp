#include "mutation.h"

#include <algorithm>
#include <string_view>

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kPieces[] = {
    "\""sv,         "("sv,           ")"sv,
    "\\"sv,         "<"sv,           ">"sv,
    "@"sv,          ","sv,           ":"sv,
    ";"sv,          "["sv,           "]"sv,
    "."sv,          " "sv,           "\t"sv,
    "\r"sv,         "\n"sv,          "\n "sv,
    "\n\t"sv,       "\n\n"sv,        "\r\n"sv,
    "\\\n "sv,      "\0"sv,          "\x01"sv,
    "\x7F"sv,       "\xFF"sv,        "=?"sv,
    "?="sv,         "?= "sv,         "?= \0"sv,
    "=?utf-8?Q?"sv, "=?x?B?"sv,      "=0D"sv,
    "=0A"sv,        "=\n "sv,        "\nTo: "sv,
    "\nSubject:"sv, "\nFrom "sv,     "a@b"sv,
    "g:;"sv,        "\nReply-To:"sv, "=?utf-8?Q?a?=\n =?utf-8?Q?=0D?= "sv,
};

// The header and a little of what follows it.
size_t header_end(const std::string& message) {
  const size_t end = std::min(message.find("\n\n"), message.find("\n\r\n"));
  return std::min(end == std::string::npos ? end : end + 4, message.size());
}

}  // namespace

std::string mutate(Random& random, std::string message) {
  constexpr size_t kMaxLength = 40;
  for (size_t changes = 1 + random.Below(4); changes > 0; --changes) {
    const size_t end = header_end(message);
    const size_t place = random.Below(end + 1);
    const size_t length = random.Below(std::min(kMaxLength, end - place) + 1);
    switch (random.Below(4)) {
      case 0:
        message.erase(place, length);
        break;
      case 1:
        message.insert(random.Below(end + 1), message.substr(place, length));
        break;
      case 2:
        message.replace(place, random.Chance(50) ? length : 0, random.Pick(kPieces));
        break;
      default:
        message.insert(place, random.Pick(kPieces));
        break;
    }
  }
  return message;
}
