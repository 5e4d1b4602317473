#ifndef AUTORESPONDER_RUN_SPOOL_H
#define AUTORESPONDER_RUN_SPOOL_H

#include <string>

#include "autoresponder/reader/message_buffer.h"
#include "support/base/descriptors.h"
#include "support/base/owned.h"

/// The file that holds the incoming message for forwarding.
class SpoolFile {
 public:
  /// Owns `descriptor`; below 0 where the file could not be created.
  SpoolFile(int descriptor, std::string path);

  bool IsOpen() const { return descriptor_.IsOpen(); }
  const std::string& path() const { return path_; }
  /// Whether commands that open the file by its name get this file.
  bool IsNamed() const { return is_path_of(path_.c_str(), descriptor_.number()); }
  /// Whether everything could be written.
  bool IsWhole() const { return !failed_; }

  /// Appends `length` bytes. Once something could not be written, no more is.
  void Write(const char* bytes, size_t length);

 private:
  std::string path_;
  OwnedDescriptor descriptor_;
  bool failed_ = false;
};

/// Copies standard input to `spool` and returns it. Kept: both are the input and one newline,
/// whether it ends in one or not. Where standard input cannot be read, that is its end.
MessageBuffer spool_standard_input(SpoolFile& spool);

#endif
