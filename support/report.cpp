#include "support/report.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/base/owned.h"

const char* prog_name = nullptr;

namespace {

constexpr size_t kFirstBuffer = 4096;

// The message in a buffer that grows if the first one is too small; `size` is set to the buffer's
// size. If the buffer cannot grow, the message is cut.
OwnedText format_message(const char* format, va_list arguments, size_t& size) {
  OwnedText message(static_cast<char*>(malloc(kFirstBuffer)));
  if (!message) return message;
  size = kFirstBuffer;
  va_list again;
  va_copy(again, arguments);
  const int length = vsnprintf(message.get(), size, format, arguments);
  if (length >= static_cast<int>(kFirstBuffer)) {
    const size_t needed = static_cast<size_t>(length) + 1;
    if (char* const grown = static_cast<char*>(realloc(message.get(), needed))) {
      static_cast<void>(message.release());
      message.reset(grown);
      size = needed;
      vsnprintf(message.get(), size, format, again);
    }
  }
  va_end(again);
  return message;
}

// Kept: the suffix is added whole or not at all; a message that fills the buffer never has it.
void append_system_error(char* message, size_t size) {
  if (errno == 0) return;
  const size_t length = strlen(message);
  const size_t space = size - length;
  const int error = errno;
  const int written =
      snprintf(message + length, space, "\nSystem error %d: %s", error, strerror(error));
  if (written < 0 || static_cast<size_t>(written) >= space) message[length] = '\0';
}

void write_line(FILE* stream, const char* prefix, const char* text) {
  if (prefix != nullptr) fprintf(stream, "%s: ", prefix);
  fputs(text, stream);
  const size_t length = strlen(text);
  if (length == 0 || text[length - 1] != '\n') fputc('\n', stream);
  fflush(stream);
}

}  // namespace

void report_error(int status, int /*flag*/, const char* format, ...) {
  const int saved_errno = errno;
  size_t size = 0;
  va_list arguments;
  va_start(arguments, format);
  const OwnedText message = format_message(format, arguments, size);
  va_end(arguments);
  if (!message) {
    put_message("Can't allocate memory for error message", status);
    return;
  }
  errno = saved_errno;
  append_system_error(message.get(), size);
  put_message(message.get(), status);
}

void put_message(const char* text, int status) {
  const char* const name = prog_name != nullptr ? basename(prog_name) : nullptr;
  write_line(stderr, name, text);
  write_line(stdout, name, text);
  if (status != 0) exit(status);
}

char* xasprintf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* const text = xvasprintf(format, arguments);
  va_end(arguments);
  return text;
}

char* xvasprintf(const char* format, va_list arguments) {
  char* text = nullptr;
  if (vasprintf(&text, format, arguments) == -1) {
    report_error(1, 0, "Cannot allocate memory: %s", strerror(errno));
  }
  return text;
}
