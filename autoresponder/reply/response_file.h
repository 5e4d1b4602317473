#ifndef AUTORESPONDER_REPLY_RESPONSE_FILE_H
#define AUTORESPONDER_REPLY_RESPONSE_FILE_H

#include <cstdint>
#include <string>

#include "support/base/owned.h"

/// The file in which one reply is built, and the name by which commands open it.
class ResponseFile {
 public:
  /// Owns `descriptor`; below 0 where the file could not be created. Then it is created when it is
  /// written.
  ResponseFile(int descriptor, std::string path);

  const std::string& path() const { return path_; }

  /// Empties the file and opens it for writing from its start; null where that fails.
  OwnedFile Rewrite();

  /// Bytes that are in it, also those that commands have appended.
  int64_t Size() const;

  /// Removes the name. A file without one, such as memory, is left alone.
  void Remove() const;

 private:
  std::string path_;
  OwnedDescriptor descriptor_;
};

#endif
