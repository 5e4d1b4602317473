#ifndef KEM_STRINGS_H
#define KEM_STRINGS_H

#include <cstddef>

struct st_mysql;

/// Routines on NUL-terminated byte strings.

/// `text`, or null, escaped for a single-quoted SQL literal on `connection`, in a new buffer that
/// the caller frees with `free`; null for a null text. A failed allocation ends the process as
/// `xmalloc` does.
char* sql_escape(st_mysql* connection, const char* text);

/// Replaces every `find` by `replacement` in `source`. Where `destination` is not null, it gets the
/// result and `source` is left as it is; it must have room. Returns the buffer that was written.
char* str_replace_char(char* source, char* destination, char find, char replacement);

/// Copies `source` to `destination` with every occurrence of `find` replaced by `replacement`, at
/// most `size` bytes with the NUL; the two may be the same.
///
/// The copy stops before the first piece with which it would reach `size`; the rest of the source
/// follows only if it still fits. Where `find` is null or empty, up to `size` bytes are copied
/// unchanged, and a source of `size` bytes or more is not terminated. Returns `destination`; null
/// where that is null; `source`, after a message on standard error, where memory fails.
const char* strn_replace(const char* source, char* destination, const char* find,
                         const char* replacement, size_t size);

/// Overwrites the white space at the end of `text` with NULs and returns a pointer to its first
/// character that is not white space, inside the same buffer.
char* str_trim(char* text);

/// Lower-cases `text` in place; nothing for null.
void str_tolower(char* text);

/// The first word after the first occurrence of `key` in `text`, words being separated by white
/// space: at most 4095 bytes of it, in a process-wide buffer that the next call overwrites; empty
/// where the text is null or the key is not in it. The text may be an earlier result.
const char* get_word_after(const char* text, const char* key);

/// What follows the first occurrence of `key` in `text` up to the next newline or the end: at most
/// 4095 bytes of it, in another process-wide buffer that the next call overwrites; empty where the
/// text is null or the key is not in it. The text may be an earlier result.
const char* get_line_after(const char* text, const char* key);

/// Ends the process with status 1 when `condition` is not 0 and `value` is null or empty; `name` is
/// what the parameter is called in the message.
void check_param(int condition, const char* value, const char* name);

/// Ends the process with status 1 when the two counts differ.
void check_all_processed(int processed, int given);

/// `size` bytes that the caller frees with `free`; on failure the process ends with status 1 and
/// "alloc(%d)".
void* xmalloc(size_t size);

/// `memory` (from `xmalloc`, or null) resized to `size` bytes; on failure the process ends with
/// status 1 and "alloc(%d)".
void* xrealloc(void* memory, size_t size);

/// A number from 0 to `n` - 1. Not for secrets: every call seeds the generator with the time in
/// seconds, so that two calls within a second return the same.
int random_below(int n);

#endif
