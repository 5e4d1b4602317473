#include "explain/reply_in_memory.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <sys/mman.h>

#include "autoresponder/temporary_files.h"

// The commands inherit the descriptor, and its name means this memory to each of them.
ReplyInMemory::ReplyInMemory()
    : name_before_(response_file_path), descriptor_(memfd_create("reply", 0)) {
  snprintf(response_file_path, name_before_.size() + 1, "/proc/self/fd/%d", descriptor_.number());
}

ReplyInMemory::~ReplyInMemory() {
  memcpy(response_file_path, name_before_.c_str(), name_before_.size() + 1);
}

std::string ReplyInMemory::Text() const {
  std::ifstream file(response_file_path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
