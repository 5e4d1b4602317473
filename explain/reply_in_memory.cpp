#include "explain/reply_in_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

ReplyInMemory::ReplyInMemory() : descriptor_(memfd_create("reply", 0)) {}

// The name "/proc/self/fd/N" also works in commands, which inherit the descriptor. Extra slashes
// pad it.
ResponseFile ReplyInMemory::File(const std::string& replaced) const {
  const std::string number = std::to_string(descriptor_.number());
  const std::string directory = "/proc/self/fd";
  const size_t slashes = replaced.size() - directory.size() - number.size();
  return {fcntl(descriptor_.number(), F_DUPFD_CLOEXEC, 0),
          directory + std::string(slashes, '/') + number, /*is_in_memory=*/true};
}

std::string ReplyInMemory::TextUpTo(const std::string& end) const {
  std::string text;
  char block[65536];
  ssize_t length = 0;
  while ((length = pread(descriptor_.number(), block, sizeof block,
                         static_cast<off_t>(text.size()))) > 0) {
    const size_t from = text.size() > end.size() ? text.size() - end.size() : 0;
    text.append(block, static_cast<size_t>(length));
    const size_t found = end.empty() ? std::string::npos : text.find(end, from);
    if (found != std::string::npos) return text.substr(0, found);
  }
  return text;
}
