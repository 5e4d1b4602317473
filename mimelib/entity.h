#pragma once

#include <cstddef>
#include <memory>

#include "mimelib/component.h"
#include "mimelib/headers.h"

class DwBodyPart;

/// The body of an entity. That of a multipart entity has body parts (RFC 2046, 5.1).
class DwBody : public DwMessageComponent {
 public:
  /// `is_multipart`: whether it can have parts; `boundary`: what delimits them, may be empty.
  DwBody(const DwString& body, bool is_multipart, DwString boundary);
  ~DwBody() override;

  /// The first part: what follows the first delimiter line, even (kept) a closing one. Null if
  /// there is none; owned by the body.
  DwBodyPart* FirstBodyPart();

 private:
  friend class DwBodyPart;

  DwBodyPart* ParsePartAt(size_t position);

  bool is_multipart_;
  DwString boundary_;
  KeptItems<DwBodyPart> kept_;
};

/// Header and body (RFC 822, 3.1). The header ends at an empty line, or before a line that has no
/// colon and does not continue a folded one. A last line without a line end always belongs to it.
class DwEntity : public DwMessageComponent {
 public:
  explicit DwEntity(const DwString& entity);

  DwHeaders& Headers() { return *headers_; }
  DwBody& Body() { return *body_; }

  /// Splits the text into header and body, which are empty until then. Call it once for a new
  /// message; a body part is already parsed.
  void Parse();

 private:
  std::unique_ptr<DwHeaders> headers_;
  std::unique_ptr<DwBody> body_;
};

/// A part of a multipart body.
class DwBodyPart : public DwEntity {
 public:
  /// `resume`: the position in the body `owner` where the next part starts; npos for the last one.
  DwBodyPart(const DwString& part, DwBody* owner, size_t resume);

  /// The next part, or null. Owned by the body that holds this one.
  DwBodyPart* Next() const;

 private:
  DwBody* owner_;
  size_t resume_;
  mutable DwBodyPart* next_ = nullptr;  // made later, so also deleted later
};

/// A whole message.
class DwMessage : public DwEntity {
 public:
  /// Returns a new message of `text`, owned by the caller, who has to call `Parse` next. `parent`
  /// is not used.
  static DwMessage* NewMessage(const DwString& text, DwMessageComponent* parent);

 private:
  using DwEntity::DwEntity;
};
