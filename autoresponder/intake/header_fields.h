#pragma once

#include <string_view>

/// A field of a header.
struct HeaderField {
  std::string_view name;  ///< as written
  std::string_view body;  ///< without white space around it; folded as in the message
};

/// Walks through all fields of a header in their order, repeated ones too, in linear time. The
/// message library has no accessor for some of them.
class HeaderFields {
 public:
  /// `header` must outlive this object and the fields.
  explicit HeaderFields(std::string_view header) : rest_(header) {}

  /// Sets `field` to the next field; false if there is none. Lines without a colon are skipped.
  bool Next(HeaderField& field);

 private:
  std::string_view TakeLines();

  std::string_view rest_;
};
