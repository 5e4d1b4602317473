/* feed FILE COMMAND [ARGUMENT...]: becomes the command, with the file as its standard input. Linked
 * statically, so that it adds little to what is timed. */
#include <fcntl.h>
#include <unistd.h>

int main(int count, char** arguments) {
  if (count < 3) return 2;
  const int file = open(arguments[1], O_RDONLY);
  if (file < 0 || dup2(file, STDIN_FILENO) < 0 || close(file) < 0) return 1;
  execv(arguments[2], arguments + 2);
  return 1;
}
