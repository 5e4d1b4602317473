#pragma once

#include <string>

#include "autoresponder/reply/response_file.h"
#include "support/base/owned.h"

/// A file in memory that replaces the response file, so that the run's own functions and commands
/// can build the reply without a file on disk. This process and the commands that it starts can
/// open it by name. Nothing of it remains after the process, even if a signal ends it.
class ReplyInMemory {
 public:
  ReplyInMemory();

  /// The file, under a name that is padded to the length of `replaced`, the real file's name, so
  /// that command lengths match.
  ResponseFile File(const std::string& replaced) const;

  /// What has been written, before the first occurrence of `end`; all of it if `end` is empty.
  std::string TextUpTo(const std::string& end) const;

 private:
  OwnedDescriptor descriptor_;
};
