#pragma once

#include <string_view>

#include "support/late_library.h"

namespace kem {

/// libidn, loaded when first needed. If a conversion may follow an action that must not be
/// repeated, load it before that action.
extern LateLibrary libidn;

/// Whether `idn_toascii(text)` calls libidn. Without it, a text is its own ASCII form if it is
/// ASCII and each label has 1 to 63 bytes (RFC 3490 section 4.1).
bool needs_libidn(std::string_view text);

}  // namespace kem
