/* deliver USER FILE COMMAND [ARGUMENT...]: becomes the command, as the user and the group of
 * that number, with the file as its standard input, as a mail server starts a command of a
 * mailbox's user. Linked statically, so that it adds little to what is timed. */
#include <fcntl.h>
#include <grp.h>
#include <stdlib.h>
#include <unistd.h>

int main(int count, char** arguments) {
  if (count < 4) return 2;
  const int file = open(arguments[2], O_RDONLY);
  if (file < 0 || dup2(file, STDIN_FILENO) < 0 || close(file) < 0) return 1;
  const uid_t user = (uid_t)strtoul(arguments[1], NULL, 10);
  if (setgroups(0, NULL) != 0 || setgid(user) != 0 || setuid(user) != 0) return 1;
  execv(arguments[3], arguments + 3);
  return 1;
}
