#ifndef SUPPORT_STRINGS_H
#define SUPPORT_STRINGS_H

#include <cstddef>

struct st_mysql;

/// `text` (NUL-terminated, or null) escaped for a single-quoted SQL literal on `connection`, in a
/// new buffer that the caller frees with `free`; null for a null text. A failed allocation ends the
/// process as `xmalloc` does.
char* sql_escape(st_mysql* connection, const char* text);

/// Overwrites the white space at the end of `text` (NUL-terminated) with NULs and returns a pointer
/// to its first character that is not white space, inside the same buffer.
char* str_trim(char* text);

/// `size` bytes that the caller frees with `free`; on failure the process ends with status 1 and
/// "alloc(%d)".
void* xmalloc(size_t size);

#endif
