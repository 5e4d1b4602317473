#ifndef EXPLAIN_REPLY_IN_MEMORY_H
#define EXPLAIN_REPLY_IN_MEMORY_H

#include <string>

#include "autoresponder/reply/response_file.h"
#include "support/base/owned.h"

/// Memory of this process that can be written like a response file, under a name that this process
/// and the commands that it starts can open, so that the run's own functions and commands write the
/// reply and no file. Interrupted or not, nothing of it stays.
class ReplyInMemory {
 public:
  ReplyInMemory();

  /// The file. Its name is as long as that of the file that it replaces, so that a command is as
  /// long as the run's.
  ResponseFile File(const std::string& replaced) const;

  /// What has been written, up to where `end` is first in it; all of it for an empty `end`.
  std::string TextUpTo(const std::string& end) const;

 private:
  OwnedDescriptor descriptor_;
};

#endif
