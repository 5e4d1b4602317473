#ifndef MIMELIB_ENTITY_H
#define MIMELIB_ENTITY_H

#include <cstddef>
#include <memory>

#include "mimelib/component.h"
#include "mimelib/headers.h"
#include "mimelib/kept_items.h"

class DwBodyPart;

/// The body of an entity; that of a multipart one has body parts (RFC 2046, 5.1).
class DwBody : public DwMessageComponent {
 public:
  /// `is_multipart`: whether to look for parts; `boundary`: what delimits them, possibly empty.
  DwBody(const DwString& body, bool is_multipart, DwString boundary);
  ~DwBody() override;

  /// The first part, or null. The first delimiter line opens it, be it a closing one (kept).
  DwBodyPart* FirstBodyPart();

 private:
  friend class DwBodyPart;

  DwBodyPart* ParsePartAt(size_t position);

  bool is_multipart_;
  DwString boundary_;
  KeptItems<DwBodyPart> kept_;
};

/// Header and body (RFC 822, 3.1). A line that neither holds a colon nor is folded ends the header
/// as an empty line does, but belongs to the body. A last line without a line end is header.
class DwEntity : public DwMessageComponent {
 public:
  explicit DwEntity(const DwString& entity);
  ~DwEntity() override;

  DwHeaders& Headers() { return *headers_; }
  DwBody& Body() { return *body_; }

  /// Splits the text; header and body are empty before. For a new message only: a body part is made
  /// parsed.
  void Parse();

 private:
  std::unique_ptr<DwHeaders> headers_;
  std::unique_ptr<DwBody> body_;
};

/// A part of a multipart body.
class DwBodyPart : public DwEntity {
 public:
  /// `resume`: where the next part starts in the body of `owner`; npos for the last part.
  DwBodyPart(const DwString& part, DwBody* owner, size_t resume);

  /// The next part, or null.
  DwBodyPart* Next() const;

 private:
  DwBody* owner_;
  size_t resume_;
  mutable DwBodyPart* next_ = nullptr;  // younger than this part, so kept at least as long
};

/// A whole message.
class DwMessage : public DwEntity {
 public:
  /// A message of `text`, owned by the caller, who calls `Parse` before anything else. There is no
  /// use for a parent.
  static DwMessage* NewMessage(const DwString& text, DwMessageComponent* parent);

 private:
  using DwEntity::DwEntity;
};

#endif
