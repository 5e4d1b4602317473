#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "mimelib/string.h"

/// A message or a part of one, such as a field or the body.
class DwMessageComponent {
 public:
  explicit DwMessageComponent(DwString text) : text_(std::move(text)) {}
  virtual ~DwMessageComponent() = default;
  DwMessageComponent(const DwMessageComponent&) = delete;
  DwMessageComponent& operator=(const DwMessageComponent&) = delete;

  /// Its text as it is in the message, undecoded. Valid as long as the component.
  const DwString& AsString() { return text_; }

 protected:
  std::string_view text() const { return {text_.data(), text_.length()}; }

  /// The bytes of `part`, a view into `text()`, without copying them.
  DwString Slice(std::string_view part) const {
    return text_.Slice(static_cast<size_t>(part.data() - text_.data()), part.size());
  }

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
