#pragma once

#include <string>
#include <string_view>

/// A subject in UTF-8, in two parts, because the incoming subject may be large and is not copied.
struct SubjectText {
  std::string start;
  std::string_view incoming;  ///< follows `start`; valid as long as the message

  std::string Whole() const { return start + std::string(incoming); }
};
