#include "explain/reply_in_memory.h"

#include <cstring>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "autoresponder/temporary_files.h"

// The commands inherit the descriptor, and its name means this memory to each of them. It is as
// long as the file's, so that a command is as long as the run's.
ReplyInMemory::ReplyInMemory()
    : name_before_(response_file_path), descriptor_(memfd_create("reply", 0)) {
  const std::string number = std::to_string(descriptor_.number());
  const std::string directory = "/proc/self/fd";
  const size_t slashes = name_before_.size() - directory.size() - number.size();
  const std::string name = directory + std::string(slashes, '/') + number;
  memcpy(response_file_path, name.c_str(), name.size() + 1);
}

ReplyInMemory::~ReplyInMemory() {
  memcpy(response_file_path, name_before_.c_str(), name_before_.size() + 1);
}

int64_t ReplyInMemory::Size() const {
  struct stat status {};
  return fstat(descriptor_.number(), &status) == 0 ? status.st_size : 0;
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
