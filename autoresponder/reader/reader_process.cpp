// The parent's side: the child process and the connection to it.
#include "autoresponder/reader/reader_process.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "autoresponder/reader/reader_failure.h"
#include "support/base/signals.h"

namespace {

// The child's process number; 0 for none. Global, because signal handlers read it.
std::atomic<pid_t> reader{0};
static_assert(std::atomic<pid_t>::is_always_lock_free, "a signal handler reads it");

// Ends by `_exit`: no exit handler of the parent must run in the child.
[[noreturn]] void be_reader(const ReaderProcess::Work& work, int channel, size_t size,
                            ConfinementSet wanted, pid_t parent) {
  try {
    work(STDIN_FILENO, confine(wanted, channel, size, parent));
  } catch (...) {
    _exit(1);
  }
  _exit(0);
}

struct Connection {
  OwnedDescriptor ours;
  OwnedDescriptor readers;
};

Connection connect() {
  int ends[2] = {-1, -1};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) throw ReaderNotStarted();
  return {OwnedDescriptor(ends[0]), OwnedDescriptor(ends[1])};
}

bool comes_again(ssize_t result) {
  return result < 0 && (errno == EINTR || errno == EAGAIN);
}

}  // namespace

ReaderProcess::ReaderProcess(const Work& work, size_t size, ConfinementSet wanted) : socket_(-1) {
  Connection connection = connect();
  const pid_t parent = getpid();
  const SignalBlock block;
  const pid_t child = fork();
  if (child == 0) be_reader(work, connection.readers.number(), size, wanted, parent);
  if (child < 0) throw ReaderNotStarted();
  reader = child;
  socket_ = std::move(connection.ours);
}

void ReaderProcess::Await(short event) {
  using Clock = std::chrono::steady_clock;
  using std::chrono::milliseconds;
  constexpr milliseconds kMax{1 << 30};
  const auto left = std::chrono::duration_cast<milliseconds>(left_);
  if (!socket_.IsOpen() || left <= milliseconds::zero()) throw ReaderFailure();
  pollfd socket{socket_.number(), event, 0};
  const auto start = Clock::now();
  const int ready = poll(&socket, 1, static_cast<int>(std::min(left, kMax).count()));
  if (ready == 0) throw ReaderFailure();
  left_ -= Clock::now() - start;
}

void ReaderProcess::Send(const char* bytes, size_t length) {
  while (length > 0) {
    Await(POLLOUT);
    const ssize_t sent = send(socket_.number(), bytes, length, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (comes_again(sent)) continue;
    if (sent <= 0) throw ReaderFailure();
    bytes += sent;
    length -= static_cast<size_t>(sent);
  }
}

size_t ReaderProcess::ReceiveSome(char* bytes, size_t length) {
  for (;;) {
    Await(POLLIN);
    const ssize_t received = recv(socket_.number(), bytes, length, MSG_DONTWAIT);
    if (comes_again(received)) continue;
    if (received <= 0) throw ReaderFailure();
    return static_cast<size_t>(received);
  }
}

void ReaderProcess::Receive(char* bytes, size_t length) {
  constexpr size_t kAhead = 4096;
  while (length > 0) {
    if (ahead_used_ == ahead_.size() && length < kAhead) {
      ahead_.resize(kAhead);
      ahead_.resize(ReceiveSome(ahead_.data(), kAhead));
      ahead_used_ = 0;
    }
    const size_t ready = std::min(length, ahead_.size() - ahead_used_);
    if (ready > 0) memcpy(bytes, &ahead_[ahead_used_], ready);
    ahead_used_ += ready;
    const size_t done = ready > 0 ? ready : ReceiveSome(bytes, length);
    bytes += done;
    length -= done;
  }
}

void ReaderProcess::End() {
  forget_reader();
  HangUp();
}

void end_reader() {
  const pid_t process = reader;
  if (process == 0) return;
  kill(process, SIGKILL);
  TEMP_FAILURE_RETRY(waitpid(process, nullptr, 0));
}

void forget_reader() {
  if (reader == 0) return;
  const SignalBlock block;  // a handler must not kill by a number that is free again
  end_reader();
  reader = 0;
}
