#ifndef EXPLAIN_HELD_OUTPUT_H
#define EXPLAIN_HELD_OUTPUT_H

#include <string>

#include "support/base/owned.h"

/// Holds back what library code and commands write to the two standard outputs, until it is told
/// to let go: standard output is for the answer alone, and what strangers bring into a diagnostic
/// must not steer a terminal.
class HeldOutput {
 public:
  HeldOutput();

  /// Lets the outputs go where they went before, and returns what was written to standard error
  /// meanwhile. What was written to standard output is dropped. Once only.
  std::string Release();

 private:
  OwnedDescriptor output_;
  OwnedDescriptor errors_;
  OwnedDescriptor held_errors_;
};

#endif
