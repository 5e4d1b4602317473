#pragma once

#include <cstddef>

#include "../dw_text.h"
#include "mimelib/component.h"
#include "mimelib/string.h"

/// A part of `text` that shares its buffer, like the texts of a message's components.
inline DwString slice_of(const DwString& text, size_t start, size_t length) {
  struct Component : DwMessageComponent {
    using DwMessageComponent::DwMessageComponent;
    using DwMessageComponent::Slice;
    using DwMessageComponent::text;
  };
  const Component whole(text);
  return whole.Slice(whole.text().substr(start, length));
}
