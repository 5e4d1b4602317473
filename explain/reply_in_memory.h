#ifndef EXPLAIN_REPLY_IN_MEMORY_H
#define EXPLAIN_REPLY_IN_MEMORY_H

#include <cstdint>
#include <string>

#include "support/base/owned.h"

/// While it lives, the response file is memory of this process, under a name that this process and
/// the commands that it starts can open, so that the run's own functions and commands write the
/// reply and no file. Interrupted or not, nothing of it stays.
class ReplyInMemory {
 public:
  ReplyInMemory();
  ~ReplyInMemory();
  ReplyInMemory(const ReplyInMemory&) = delete;
  ReplyInMemory& operator=(const ReplyInMemory&) = delete;

  /// How many bytes have been written.
  int64_t Size() const;
  /// What has been written, up to where `end` first stands in it; all of it for an empty `end`.
  std::string TextUpTo(const std::string& end) const;

 private:
  std::string name_before_;
  OwnedDescriptor descriptor_;
};

#endif
