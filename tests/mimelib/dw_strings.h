#ifndef TESTS_MIMELIB_DW_STRINGS_H
#define TESTS_MIMELIB_DW_STRINGS_H

#include <cstddef>

#include "../dw_text.h"
#include "mimelib/component.h"
#include "mimelib/string.h"

/// A part of `text` as the components of a message have it: in the same buffer.
inline DwString slice_of(const DwString& text, size_t start, size_t length) {
  struct Component : DwMessageComponent {
    using DwMessageComponent::DwMessageComponent;
    using DwMessageComponent::Slice;
    using DwMessageComponent::text;
  };
  const Component whole(text);
  return whole.Slice(whole.text().substr(start, length));
}

#endif
