/* In place of sendmail: reads a mail and discards it. Appends to a file how many microseconds of
 * processor time this process had used before it became sendmail, as the shell, and how many in
 * all. */
#include <fcntl.h>
#include <stdio.h>
#include <sys/resource.h>
#include <unistd.h>

static long used(void) {
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return 1000000 * (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) + usage.ru_utime.tv_usec +
         usage.ru_stime.tv_usec;
}

int main(void) {
  static char block[1 << 16];
  const long before = used();
  while (read(STDIN_FILENO, block, sizeof block) > 0) {
  }
  const int file = open("/run/panel/sendmail-times", O_WRONLY | O_CREAT | O_APPEND, 0644);
  char line[64];
  const int length = snprintf(line, sizeof line, "%ld %ld\n", before, used());
  return file >= 0 && write(file, line, (size_t)length) == length ? 0 : 1;
}
