#include "autoresponder/reply/open_attachment.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace {

bool is_plain_name(const std::string& name) {
  const bool is_directory = name.empty() || name == "." || name == "..";
  return !is_directory && name.find('/') == std::string::npos;
}

// O_NONBLOCK: opening a pipe must not wait for its writer.
constexpr int kFile = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
constexpr int kDirectory = O_PATH | O_CLOEXEC | O_NOFOLLOW | O_DIRECTORY;

std::shared_ptr<const OpenAttachment> measure(OwnedDescriptor file) {
  struct stat status {};
  if (!file.IsOpen() || fstat(file.number(), &status) != 0) return nullptr;
  if (!S_ISREG(status.st_mode)) return nullptr;
  return std::make_shared<OpenAttachment>(std::move(file), status.st_size, status.st_mtim);
}

}  // namespace

OpenAttachment::OpenAttachment(OwnedDescriptor descriptor, int64_t size, timespec changed)
    : descriptor_(std::move(descriptor)), size_(size), changed_(changed) {}

bool OpenAttachment::IsUnchanged() const {
  struct stat status {};
  if (fstat(descriptor(), &status) != 0) return false;
  const timespec& now = status.st_mtim;
  return status.st_size == size_ && now.tv_sec == changed_.tv_sec &&
         now.tv_nsec == changed_.tv_nsec;
}

// Opens each step relative to the one before, without following links: a directory that is replaced
// by a link meanwhile leads nowhere else.
std::shared_ptr<const OpenAttachment> open_below(const std::string& root,
                                                 std::initializer_list<std::string> steps) {
  if (!std::all_of(steps.begin(), steps.end(), is_plain_name)) return nullptr;
  OwnedDescriptor reached(open(root.c_str(), O_PATH | O_CLOEXEC | O_DIRECTORY));
  const auto* const file = steps.end() - 1;
  for (const auto* step = steps.begin(); step != steps.end() && reached.IsOpen(); ++step) {
    const int flags = step == file ? kFile : kDirectory;
    reached = OwnedDescriptor(openat(reached.number(), step->c_str(), flags));
  }
  return measure(std::move(reached));
}
