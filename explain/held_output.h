#pragma once

#include <string>

#include "support/base/owned.h"

/// Redirects standard output and standard error until it is released: standard output is for the
/// answer only, and text from a message in a diagnostic must not control the terminal.
class HeldOutput {
 public:
  HeldOutput();

  /// Ends the redirection and returns what was written to standard error meanwhile. Drops what was
  /// written to standard output. Call it at most once.
  std::string Release();

 private:
  OwnedDescriptor output_;
  OwnedDescriptor errors_;
  OwnedDescriptor held_errors_;
};
