#ifndef MIMELIB_HEADERS_H
#define MIMELIB_HEADERS_H

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>

#include "mimelib/address.h"
#include "mimelib/component.h"
#include "mimelib/media_type.h"

/// The header of a message or body part. Of the fields it knows, found without regard to case, the
/// first of each name counts. An accessor of a missing field makes an empty one.
class DwHeaders : public DwMessageComponent {
 public:
  explicit DwHeaders(const DwString& text);

  bool HasReplyTo() const { return Has(kReplyTo); }
  bool HasFrom() const { return Has(kFrom); }
  bool HasTo() const { return Has(kTo); }
  bool HasSubject() const { return Has(kSubject); }
  bool HasDate() const { return Has(kDate); }
  bool HasContentType() const { return Has(kContentType); }
  bool HasContentTransferEncoding() const { return Has(kContentTransferEncoding); }

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

  // Where the body of a field stands in the header's text.
  struct Place {
    bool found = false;
    size_t start = 0;
    size_t length = 0;
  };

  bool Has(FieldName name) const { return places_[name].found; }
  DwString Body(FieldName name) const;
  void Remember(std::string_view name, std::string_view body);

  template <class Component>
  Component& Field(std::unique_ptr<Component>& field, FieldName name) {
    if (!field) field = std::make_unique<Component>(Body(name));
    return *field;
  }

  std::array<Place, kFieldNames> places_;

  std::unique_ptr<DwAddressList> reply_to_;
  std::unique_ptr<DwMailboxList> from_;
  std::unique_ptr<DwAddressList> to_;
  std::unique_ptr<DwText> subject_;
  std::unique_ptr<DwDateTime> date_;
  std::unique_ptr<DwMediaType> content_type_;
  std::unique_ptr<DwMechanism> content_transfer_encoding_;
};

#endif
