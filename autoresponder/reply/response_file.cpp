#include "autoresponder/reply/response_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/base/descriptors.h"

// If the file could not be created before, others may know its name: whatever they put there is
// removed, and never opened.
OwnedFile ResponseFile::Rewrite() {
  if (!descriptor_.IsOpen()) {
    unlink(path_.c_str());
    descriptor_ = OwnedDescriptor(
        open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  }
  if (ftruncate(descriptor_.number(), 0) != 0) return nullptr;
  OwnedDescriptor copy(fcntl(descriptor_.number(), F_DUPFD_CLOEXEC, 0));
  if (!copy.IsOpen() || lseek(copy.number(), 0, SEEK_SET) != 0) return nullptr;
  OwnedFile file(fdopen(copy.number(), "w"));
  if (file) copy.Release();
  return file;
}

int64_t ResponseFile::Size() const {
  struct stat status {};
  return fstat(descriptor_.number(), &status) == 0 ? status.st_size : 0;
}

bool ResponseFile::IsNamed() const {
  return is_in_memory_ || is_path_of(path_.c_str(), descriptor_.number());
}

void ResponseFile::Remove() const {
  if (!is_in_memory_) unlink(path_.c_str());
}
