#ifndef TESTS_PARSED_MESSAGE_H
#define TESTS_PARSED_MESSAGE_H

#include <memory>
#include <string>
#include <string_view>

#include <mimelib/mimepp.h>

inline std::string bytes_of(const DwString& text) {
  return {text.data(), text.length()};
}

inline std::unique_ptr<DwMessage> parsed(std::string_view text) {
  std::unique_ptr<DwMessage> message(
      DwMessage::NewMessage(DwString(text.data(), text.size()), nullptr));
  message->Parse();
  return message;
}

#endif
