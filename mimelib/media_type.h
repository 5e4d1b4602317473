#ifndef MIMELIB_MEDIA_TYPE_H
#define MIMELIB_MEDIA_TYPE_H

#include <cstddef>

#include "mimelib/codes.h"
#include "mimelib/component.h"
#include "mimelib/kept_items.h"

class DwMediaType;

/// A parameter of a Content-Type field.
class DwParameter {
 public:
  DwParameter(DwString attribute, DwString value, DwMediaType* owner, size_t resume);

  /// The name, as written.
  const DwString& Attribute() const { return attribute_; }
  /// The value, as written but without the quotes around it; backslashes stay.
  const DwString& Value() const { return value_; }

  /// The next parameter of the field, or null.
  DwParameter* Next() const;

 private:
  DwString attribute_;
  DwString value_;
  DwMediaType* owner_;
  size_t resume_;
  mutable DwParameter* next_ = nullptr;  // younger than this one, so kept at least as long
};

/// The body of a Content-Type field (RFC 2045, 5.1). Each of its elements is looked for from where
/// the last one ended, over anything that is something else; so a field without a subtype has no
/// parameters, and malformed parameters are passed over.
class DwMediaType : public DwMessageComponent {
 public:
  explicit DwMediaType(const DwString& field);

  /// The code of the type (DwMime::MediaTypes), compared without regard to case.
  int Type() const { return type_; }

  /// The first parameter that has a name and a value, or null.
  DwParameter* FirstParameter() { return ParseParameterAt(parameters_start_); }

  /// The value of the first parameter called "boundary", empty when there is none.
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

  /// The code of the encoding (DwMime::Ctes). The whole field is compared, without regard to case:
  /// a comment or anything else beside the name makes it unknown.
  int AsEnum() const;
};

#endif
