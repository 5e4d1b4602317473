#ifndef AUTORESPONDER_REPLY_OPEN_ATTACHMENT_H
#define AUTORESPONDER_REPLY_OPEN_ATTACHMENT_H

#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <string>

#include "support/base/owned.h"

/// An attachment that is open for reading, so that the file that was measured is the one that is
/// encoded, whatever is under its name by then.
class OpenAttachment {
 public:
  /// Owns `descriptor`, an open plain file of `size` bytes, last modified at `changed`.
  OpenAttachment(OwnedDescriptor descriptor, int64_t size, timespec changed);

  int descriptor() const { return descriptor_.number(); }
  int64_t size() const { return size_; }

  /// Whether size and modification time are still those of the construction.
  bool IsUnchanged() const;

 private:
  OwnedDescriptor descriptor_;
  int64_t size_;
  timespec changed_;
};

/// Opens the plain file at the end of `steps`, which lead from the directory `root` downwards, one
/// name each. Null where it cannot be opened, where a step is no plain name (empty, ".", "..", with
/// a "/"), and where a directory or the file is a symbolic link or anything other than a directory
/// or a plain file. `root` itself may be or hold links.
std::shared_ptr<const OpenAttachment> open_below(const std::string& root,
                                                 std::initializer_list<std::string> steps);

#endif
