#pragma once

#include <memory>
#include <string_view>

#include <mimelib/mimepp.h>

#include "dw_text.h"

inline std::unique_ptr<DwMessage> parsed(std::string_view text) {
  std::unique_ptr<DwMessage> message(DwMessage::NewMessage(string_of(text), nullptr));
  message->Parse();
  return message;
}
