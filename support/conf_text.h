#pragma once

#include <cstddef>

#include "support/conf.h"

namespace kem {

/// A required key, and where its value is.
struct ConfValue {
  const char* key;
  const char** value;
};

#define KEM_CONF_VALUE(key) {#key, &key},
constexpr ConfValue kConfValues[] = {KEM_CONF_KEYS(KEM_CONF_VALUE)};
#undef KEM_CONF_VALUE

/// Splits `text`, which has a NUL after its `length` bytes, into lines, in place: each newline and
/// the white space before it become NULs.
void cut_conf_lines(char* text, size_t length);

/// The value of `key` (NUL-terminated) in a text that `cut_conf_lines` has split, or null. It
/// points into the text.
const char* find_conf_value(const char* text, size_t length, const char* key);

/// Overwrites the image of the configuration file and all that was made of it, for a child process
/// that must not know it. All values are empty texts from then on.
void wipe_conf();

}  // namespace kem
