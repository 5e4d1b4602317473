#ifndef AUTORESPONDER_INTAKE_HEADER_FIELDS_H
#define AUTORESPONDER_INTAKE_HEADER_FIELDS_H

#include <string_view>

/// A field of a header.
struct HeaderField {
  std::string_view name;  ///< as written
  std::string_view body;  ///< without white space around it; folded as in the message
};

/// Walks the fields of a header in their order, also repeated ones, and any that the message
/// library has no accessor for. Reads each byte once.
class HeaderFields {
 public:
  /// `header`: its text, which has to outlive this object and the fields.
  explicit HeaderFields(std::string_view header) : rest_(header) {}

  /// Whether there is one more field, which `field` is then. Lines without a colon are skipped.
  bool Next(HeaderField& field);

 private:
  std::string_view TakeLines();

  std::string_view rest_;
};

#endif
