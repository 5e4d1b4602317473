/* lmtp SOCKET SENDER RECIPIENT: hands the message on standard input to an LMTP server (RFC
 * 2033), as a mail server would, and ends with status 0 when the server has delivered it. Linked
 * statically, so that it adds little to what is timed. */
#include <stdbool.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static bool connect_to(int server, const char* path) {
  struct sockaddr_un address = {.sun_family = AF_UNIX};
  if (strlen(path) >= sizeof address.sun_path) return false;
  strcpy(address.sun_path, path);
  return connect(server, (const struct sockaddr*)&address, sizeof address) == 0;
}

/* Whether the next answer begins with that digit. Its last line has a blank after the number. */
static bool answered(FILE* in, char digit) {
  char line[1024];
  do {
    if (fgets(line, sizeof line, in) == NULL) return false;
  } while (strlen(line) > 3 && line[3] == '-');
  return line[0] == digit;
}

/* Writes the message with CR LF line ends, and doubles dots that begin a line (RFC 5321, 4.5.2). */
static void put_message(FILE* out) {
  static char block[1 << 16];
  ssize_t length;
  bool at_start = true;
  while ((length = read(STDIN_FILENO, block, sizeof block)) > 0) {
    const char* const end = block + length;
    for (const char* start = block; start < end;) {
      const char* const found = memchr(start, '\n', (size_t)(end - start));
      const char* const stop = found != NULL ? found : end;
      if (at_start && *start == '.') putc('.', out);
      fwrite(start, 1, (size_t)(stop - start), out);
      at_start = found != NULL;
      if (found != NULL) fputs("\r\n", out);
      start = found != NULL ? found + 1 : end;
    }
  }
  if (!at_start) fputs("\r\n", out);
}

static bool deliver(FILE* in, FILE* out, const char* sender, const char* recipient) {
  if (!answered(in, '2')) return false;
  fputs("LHLO localhost\r\n", out);
  if (fflush(out) != 0 || !answered(in, '2')) return false;
  fprintf(out, "MAIL FROM:<%s>\r\n", sender);
  if (fflush(out) != 0 || !answered(in, '2')) return false;
  fprintf(out, "RCPT TO:<%s>\r\n", recipient);
  if (fflush(out) != 0 || !answered(in, '2')) return false;
  fputs("DATA\r\n", out);
  if (fflush(out) != 0 || !answered(in, '3')) return false;
  put_message(out);
  fputs(".\r\n", out);
  return fflush(out) == 0 && answered(in, '2');
}

int main(int count, char** arguments) {
  if (count != 4) return 2;
  const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (server < 0 || !connect_to(server, arguments[1])) return 1;
  FILE* const in = fdopen(server, "r");
  FILE* const out = fdopen(dup(server), "w");
  static char buffer[1 << 16];
  if (in == NULL || out == NULL || setvbuf(out, buffer, _IOFBF, sizeof buffer) != 0) return 1;
  return deliver(in, out, arguments[2], arguments[3]) ? 0 : 1;
}
