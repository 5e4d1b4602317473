#pragma once

#include <cstddef>

#include "mimelib/component.h"

namespace DwMime {

/// Top-level media types (RFC 2046, RFC 2077). Null: the field names none.
enum MediaTypes {
  kTypeNull = 0,
  kTypeUnknown,
  kTypeText,
  kTypeMultipart,
  kTypeMessage,
  kTypeApplication,
  kTypeImage,
  kTypeAudio,
  kTypeVideo,
  kTypeModel,
};

/// Content transfer encodings (RFC 2045, 6). Null: the field names none.
enum Ctes {
  kCteNull = 0,
  kCteUnknown,
  kCte7bit,
  kCte8bit,
  kCteBinary,
  kCteQuotedPrintable,
  kCteBase64,
};

}  // namespace DwMime

class DwMediaType;

/// A parameter of a Content-Type field.
class DwParameter {
 public:
  /// `resume`: the position in the field `owner` from which the next parameter is searched for.
  DwParameter(DwString attribute, DwString value, DwMediaType* owner, size_t resume);

  /// The name as written, in any case.
  const DwString& Attribute() const { return attribute_; }
  /// The value as written, without the quotes around it; backslashes stay.
  const DwString& Value() const { return value_; }

  /// The next parameter of the field, or null. Owned by the field.
  DwParameter* Next() const;

 private:
  DwString attribute_;
  DwString value_;
  DwMediaType* owner_;
  size_t resume_;
  mutable DwParameter* next_ = nullptr;  // made later, so also deleted later
};

/// The body of a Content-Type field (RFC 2045, 5.1). Type, "/", subtype, and then ";", name, "="
/// and value of each parameter are searched for one after the other, past any other tokens. So a
/// field without a subtype has no parameters, and the pieces of a malformed parameter are skipped.
class DwMediaType : public DwMessageComponent {
 public:
  explicit DwMediaType(const DwString& field);

  /// The code of the type (DwMime::MediaTypes), compared without regard to case.
  int Type() const { return type_; }

  /// The first parameter that has a name and a value, or null.
  DwParameter* FirstParameter() { return ParseParameterAt(parameters_start_); }

  /// The value of the first parameter "boundary"; empty if there is none.
  DwString Boundary();

 private:
  friend class DwParameter;

  DwParameter* ParseParameterAt(size_t position);

  int type_ = DwMime::kTypeNull;
  size_t parameters_start_ = 0;
  KeptItems<DwParameter> kept_;
};

/// The body of a Content-Transfer-Encoding field (RFC 2045, 6.1).
class DwMechanism : public DwMessageComponent {
 public:
  using DwMessageComponent::DwMessageComponent;

  /// The code of the encoding (DwMime::Ctes). The whole field is compared with the name, without
  /// regard to case: with a comment or any other addition the encoding is unknown.
  int AsEnum() const;
};
