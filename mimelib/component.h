#ifndef MIMELIB_COMPONENT_H
#define MIMELIB_COMPONENT_H

#include <utility>

#include "mimelib/string.h"

/// Anything that was cut out of a message: it knows its text as it stands there.
class DwMessageComponent {
 public:
  explicit DwMessageComponent(DwString text) : text_(std::move(text)) {}
  virtual ~DwMessageComponent() = default;
  DwMessageComponent(const DwMessageComponent&) = delete;
  DwMessageComponent& operator=(const DwMessageComponent&) = delete;

  /// The text as it stands in the message, undecoded; lives as long as the component.
  const DwString& AsString() { return text_; }

  /// Takes the text apart. Only a new message needs the call; its components are made parsed.
  virtual void Parse() {}

 protected:
  const DwString& text() const { return text_; }

 private:
  DwString text_;
};

/// Free text, such as the body of a Subject field.
class DwText : public DwMessageComponent {
 public:
  using DwMessageComponent::DwMessageComponent;
};

/// The body of a Date field, which is not interpreted.
class DwDateTime : public DwMessageComponent {
 public:
  using DwMessageComponent::DwMessageComponent;
};

#endif
