#pragma once

#include <string_view>

#include "mimelib/string.h"

/// The bytes of `text`; valid until it is changed.
inline std::string_view view_of(const DwString& text) {
  return {text.data(), text.length()};
}
