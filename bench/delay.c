/* delay PORT SERVER-ADDRESS SERVER-PORT MICROSECONDS
 *
 * A network path to a database server: passes on each connection, and delays its bytes by half
 * of the given round trip in each direction. Opening a connection takes a round trip and a half
 * until the server knows of it, as with TCP over a real path. At the end of each connection it
 * writes the number of its round trips to standard output, in a line: one for TCP, and one for
 * each answer of the server. */
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <errno.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

enum { MAX_CHUNKS = 4096, SIZE = 1 << 16 };

/* Bytes that are delayed. */
struct chunk {
  long long due; /* in nanoseconds */
  size_t length;
  char* bytes;
};

/* One direction of a connection. */
struct way {
  int from;
  int to;
  int is_open;
  unsigned first;
  unsigned count;
  struct chunk chunks[MAX_CHUNKS];
};

static long long now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1000000000LL + time.tv_nsec;
}

static void fail(const char* what) {
  perror(what);
  exit(1);
}

/* Sleeps until shortly before `due`, then spins: waking up is not exact enough. */
static void wait_until(long long due) {
  const long long awake = 100000;
  const long long left = due - now() - awake;
  if (left > 0) {
    const struct timespec time = {left / 1000000000LL, left % 1000000000LL};
    nanosleep(&time, NULL);
  }
  while (now() < due) {
  }
}

static struct chunk* next_of(struct way* way) {
  return way->count > 0 ? &way->chunks[way->first] : NULL;
}

/* Reads what has arrived; returns 0 at the end of the stream. */
static int take(struct way* way, long long half) {
  if (way->count == MAX_CHUNKS) {
    fprintf(stderr, "delay: too much on its way\n");
    exit(1);
  }
  static char block[SIZE];
  const ssize_t length = read(way->from, block, SIZE);
  struct chunk* const chunk = &way->chunks[(way->first + way->count++) % MAX_CHUNKS];
  chunk->due = now() + half;
  chunk->length = length > 0 ? (size_t)length : 0;
  chunk->bytes = malloc(chunk->length + 1);
  if (chunk->bytes == NULL) fail("delay");
  memcpy(chunk->bytes, block, chunk->length);
  way->is_open = length > 0;
  return length > 0;
}

/* Sends the first chunk; an empty chunk ends this direction. */
static void hand_over(struct way* way) {
  struct chunk* const chunk = next_of(way);
  size_t written = 0;
  while (written < chunk->length) {
    const ssize_t length =
        send(way->to, chunk->bytes + written, chunk->length - written, MSG_NOSIGNAL);
    if (length <= 0) break;
    written += (size_t)length;
  }
  if (chunk->length == 0) shutdown(way->to, SHUT_WR);
  free(chunk->bytes);
  way->first = (way->first + 1) % MAX_CHUNKS;
  --way->count;
}

/* The direction whose first chunk is due first; NULL if both are empty. */
static struct way* earliest(struct way* up, struct way* down) {
  const struct chunk* const a = next_of(up);
  const struct chunk* const b = next_of(down);
  if (a == NULL || b == NULL) return a != NULL ? up : b != NULL ? down : NULL;
  return a->due <= b->due ? up : down;
}

/* Waits for bytes, at most until the next chunk is nearly due. */
static void await(struct way* up, struct way* down, struct pollfd* ends) {
  const struct way* const next = earliest(up, down);
  const long long awake = 100000;
  long long left = next != NULL ? next->chunks[next->first].due - now() - awake : 0;
  if (left < 0) left = 0;
  const struct timespec time = {left / 1000000000LL, left % 1000000000LL};
  ends[0] = (struct pollfd){up->is_open ? up->from : -1, POLLIN, 0};
  ends[1] = (struct pollfd){down->is_open ? down->from : -1, POLLIN, 0};
  if (ppoll(ends, 2, next != NULL ? &time : NULL, NULL) < 0 && errno != EINTR) fail("delay: poll");
}

/* Carries both directions until both have ended; returns the number of answers. */
static int carry(int client, int server, long long half) {
  static struct way up;
  static struct way down;
  up = (struct way){.from = client, .to = server, .is_open = 1};
  down = (struct way){.from = server, .to = client, .is_open = 1};
  int answers = 0;
  int is_awaited = 1; /* the server speaks first */
  while (up.is_open || down.is_open || earliest(&up, &down) != NULL) {
    struct pollfd ends[2];
    await(&up, &down, ends);
    if (ends[0].revents != 0 && take(&up, half)) is_awaited = 1;
    if (ends[1].revents != 0 && take(&down, half)) {
      answers += is_awaited;
      is_awaited = 0;
    }
    struct way* const next = earliest(&up, &down);
    if (next != NULL && next_of(next)->due <= now() + (half > 0 ? 100000 : 0)) {
      wait_until(next_of(next)->due);
      hand_over(next);
    }
  }
  return answers;
}

static int without_delay(int socket) {
  const int on = 1;
  if (setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) fail("delay: option");
  return socket;
}

static void serve(int client, const struct sockaddr_in* address, long long half) {
  without_delay(client);
  wait_until(now() + 3 * half);
  const int server = without_delay(socket(AF_INET, SOCK_STREAM, 0));
  if (connect(server, (const struct sockaddr*)address, sizeof *address) != 0)
    fail("delay: connect");
  const int answers = carry(client, server, half);
  printf("%d\n", 1 + answers);
  fflush(stdout);
}

int main(int count, char** arguments) {
  if (count != 5) return 2;
  prctl(PR_SET_TIMERSLACK, 1);
  signal(SIGCHLD, SIG_IGN);
  struct sockaddr_in own = {.sin_family = AF_INET, .sin_port = htons((uint16_t)atoi(arguments[1]))};
  own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  struct sockaddr_in address = {.sin_family = AF_INET,
                                .sin_port = htons((uint16_t)atoi(arguments[3]))};
  inet_aton(arguments[2], &address.sin_addr);
  const long long half = atoll(arguments[4]) * 1000 / 2;
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  if (bind(listener, (const struct sockaddr*)&own, sizeof own) != 0) fail("delay: bind");
  if (listen(listener, 16) != 0) fail("delay: listen");
  for (;;) {
    const int client = accept(listener, NULL, NULL);
    if (client < 0) fail("delay: accept");
    if (fork() == 0) {
      close(listener);
      serve(client, &address, half);
      return 0;
    }
    close(client);
  }
}
