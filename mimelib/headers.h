#pragma once

#include <array>
#include <memory>
#include <string_view>

#include "mimelib/address.h"
#include "mimelib/component.h"
#include "mimelib/media_type.h"

/// The header of a message or body part. Field names are compared without regard to case; of
/// several fields with one name the first counts.
class DwHeaders : public DwMessageComponent {
 public:
  explicit DwHeaders(const DwString& header);

  /// Whether there is such a field, even an empty one.
  bool HasReplyTo() const { return Has(kReplyTo); }
  bool HasFrom() const { return Has(kFrom); }
  bool HasTo() const { return Has(kTo); }
  bool HasSubject() const { return Has(kSubject); }
  bool HasDate() const { return Has(kDate); }
  bool HasContentType() const { return Has(kContentType); }
  bool HasContentTransferEncoding() const { return Has(kContentTransferEncoding); }

  /// The body of the field, owned by the header. A missing field gets an empty body, and `Has...`
  /// stays false.
  DwAddressList& ReplyTo() { return Field(reply_to_, kReplyTo); }
  DwMailboxList& From() { return Field(from_, kFrom); }
  DwAddressList& To() { return Field(to_, kTo); }
  DwText& Subject() { return Field(subject_, kSubject); }
  DwDateTime& Date() { return Field(date_, kDate); }
  DwMediaType& ContentType() { return Field(content_type_, kContentType); }
  DwMechanism& ContentTransferEncoding() {
    return Field(content_transfer_encoding_, kContentTransferEncoding);
  }

 private:
  enum FieldName {
    kReplyTo,
    kFrom,
    kTo,
    kSubject,
    kDate,
    kContentType,
    kContentTransferEncoding,
    kFieldNames,
  };

  bool Has(FieldName name) const { return bodies_[name].data() != nullptr; }
  void Remember(std::string_view name, std::string_view body);

  template <class Component>
  Component& Field(std::unique_ptr<Component>& field, FieldName name) {
    if (!field) field = std::make_unique<Component>(Has(name) ? Slice(bodies_[name]) : DwString());
    return *field;
  }

  std::array<std::string_view, kFieldNames>
      bodies_;  // views into the text; null for a missing field

  std::unique_ptr<DwAddressList> reply_to_;
  std::unique_ptr<DwMailboxList> from_;
  std::unique_ptr<DwAddressList> to_;
  std::unique_ptr<DwText> subject_;
  std::unique_ptr<DwDateTime> date_;
  std::unique_ptr<DwMediaType> content_type_;
  std::unique_ptr<DwMechanism> content_transfer_encoding_;
};
