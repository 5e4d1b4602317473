#pragma once

#include <string>
#include <utility>

#include "autoresponder/reader/message_buffer.h"
#include "support/base/descriptors.h"
#include "support/base/owned.h"

/// The file that holds the incoming message for forwarding.
class SpoolFile {
 public:
  /// Owns `descriptor`, which is below 0 if the file could not be created.
  SpoolFile(int descriptor, std::string path) : path_(std::move(path)), descriptor_(descriptor) {}

  bool IsOpen() const { return descriptor_.IsOpen(); }
  const std::string& path() const { return path_; }
  /// Whether commands that open the file by its name get this file.
  bool IsNamed() const { return is_path_of(path_.c_str(), descriptor_.number()); }
  /// Whether everything could be written.
  bool IsWhole() const { return !failed_; }

  /// Appends `length` bytes. After a failure nothing more is written.
  void Write(const char* bytes, size_t length);

 private:
  std::string path_;
  OwnedDescriptor descriptor_;
  bool failed_ = false;
};

/// Copies standard input to `spool` and returns it. An error while reading counts as the end. Kept:
/// one newline is added to both, also if the input ends in one. Throws `std::bad_alloc`.
MessageBuffer spool_standard_input(SpoolFile& spool);
