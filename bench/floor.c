/* floor SCRIPT <MESSAGE: does for one message what no autoresponder can leave out, and nothing
 * else.
 *
 * It reads the configuration and the password, spools standard input with a newline added, and
 * then replays the script, the record of a run of the program: connects through the client library,
 * sends the same statements and fetches their rows, writes the same files and runs the same
 * commands. Each entry of the script is a letter, two decimal lengths and the bytes of two texts:
 *
 *   S path          spool standard input to the path
 *   C               connect to the database
 *   Q statement     send a statement and fetch what it returns
 *   W path content  write a file
 *   X command       run a shell command
 *   P file words    start a program, whose words end in NULs, with the file as its standard input
 *   U path          remove a file
 *
 * Built with GROUND and linked statically, with the C library too, it is `ground`: it also skips
 * all that a local socket does not need when the client library starts. No program that connects
 * through that library costs less.
 */
#define _GNU_SOURCE
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <mysql.h>
#ifdef GROUND
#include <openssl/crypto.h>
#endif

enum { BLOCK = 1 << 16 };

static MYSQL* connection;

static void fail(const char* what) {
  perror(what);
  exit(1);
}

/* The whole file, followed by a NUL. */
static char* read_file(const char* path, size_t* size) {
  struct stat status;
  const int file = open(path, O_RDONLY);
  if (file < 0 || fstat(file, &status) != 0) fail(path);
  *size = (size_t)status.st_size;
  char* text = malloc(*size + 1);
  if (text == NULL || read(file, text, *size) != (ssize_t)*size) fail(path);
  text[*size] = '\0';
  close(file);
  return text;
}

static void put(int file, const char* bytes, size_t size) {
  while (size > 0) {
    const ssize_t written = write(file, bytes, size);
    if (written <= 0) fail("write");
    bytes += written;
    size -= (size_t)written;
  }
}

static int create(const char* path) {
  const int file = open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (file < 0) fail(path);
  return file;
}

static void spool(const char* path) {
  static char block[BLOCK];
  const int file = create(path);
  for (ssize_t size = 1; size > 0;) {
    size = read(STDIN_FILENO, block, sizeof block);
    if (size > 0) put(file, block, (size_t)size);
  }
  put(file, "\n", 1);
  close(file);
}

static void leave_out_what_is_not_needed(void) {
#ifdef GROUND
  OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG | OPENSSL_INIT_NO_LOAD_CRYPTO_STRINGS |
                          OPENSSL_INIT_NO_ADD_ALL_CIPHERS | OPENSSL_INIT_NO_ADD_ALL_DIGESTS |
                          OPENSSL_INIT_NO_ATEXIT,
                      NULL);
  mysql_port = MYSQL_PORT; /* saves its look-up; a shared client library does not export it */
#endif
}

static void connect_to(void) {
  leave_out_what_is_not_needed();
  size_t size;
  char* password = read_file("/etc/kem/.kem.shadow", &size);
  password[strcspn(password, "\n")] = '\0';
  connection = mysql_init(NULL);
  if (!mysql_real_connect(connection, "localhost", "admin", password, "kem", 0, NULL, 0)) {
    fail(mysql_error(connection));
  }
}

static void query(const char* statement, size_t size) {
  if (mysql_real_query(connection, statement, size) != 0) fail(mysql_error(connection));
  MYSQL_RES* result = mysql_store_result(connection);
  if (result == NULL) return;
  while (mysql_fetch_row(result) != NULL) {
  }
  mysql_free_result(result);
}

static void write_file(const char* path, const char* content, size_t size) {
  const int file = create(path);
  put(file, content, size);
  close(file);
}

static void start(const char* input, char* words, size_t size) {
  char* arguments[64];
  size_t count = 0;
  for (size_t at = 0; at < size && count < 63; at += strlen(words + at) + 1) {
    arguments[count++] = words + at;
  }
  arguments[count] = NULL;
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, input, O_RDONLY, 0);
  pid_t child;
  if (posix_spawn(&child, arguments[0], &files, NULL, arguments, environ) != 0) fail("posix_spawn");
  waitpid(child, NULL, 0);
  posix_spawn_file_actions_destroy(&files);
}

static void step(char what, const char* first, size_t first_size, char* second,
                 size_t second_size) {
  switch (what) {
    case 'S':
      spool(first);
      break;
    case 'C':
      connect_to();
      break;
    case 'Q':
      query(first, first_size);
      break;
    case 'W':
      write_file(first, second, second_size);
      break;
    case 'X':
      if (system(first) == -1) fail("system");
      break;
    case 'P':
      start(first, second, second_size);
      break;
    case 'U':
      unlink(first);
      break;
    default:
      fail("unknown entry");
  }
}

int main(int count, char** arguments) {
  if (count != 2) {
    fprintf(stderr, "usage: floor SCRIPT <MESSAGE\n");
    return 2;
  }
  size_t size;
  read_file("/etc/kem/kem.conf", &size);
  char* entry = read_file(arguments[1], &size);
  const char* const end = entry + size;
  while (entry < end) {
    const char what = *entry;
    const size_t first_size = strtoul(entry + 1, &entry, 10);
    const size_t second_size = strtoul(entry, &entry, 10);
    char* const first = entry + 1;
    char* const second = first + first_size + 1;
    step(what, first, first_size, second, second_size);
    entry = second + second_size + 1;
  }
  return 0;
}
