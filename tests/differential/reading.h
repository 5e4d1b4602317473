#pragma once

#include <ostream>
#include <string>

/// What the intake takes from a message; "" for a mailbox that is missing.
struct Reading {
  std::string sender;
  std::string recipient;
  std::string subject;  ///< in UTF-8
  std::string charset;  ///< of the text part, as declared
  std::string body;     ///< of the text part, without its transfer encoding
};

inline bool operator==(const Reading& a, const Reading& b) {
  return a.sender == b.sender && a.recipient == b.recipient && a.subject == b.subject &&
         a.charset == b.charset && a.body == b.body;
}

void PrintTo(const Reading& reading, std::ostream* out);

/// The reading of our own parser and decoders. `message` is what arrives on standard input.
Reading read_with_mimelib(const std::string& message);
