#ifndef EXPLAIN_SILENCED_OUTPUT_H
#define EXPLAIN_SILENCED_OUTPUT_H

#include "support/owned.h"

/// While it lives, nothing reaches standard output: it is for the answer alone, and not for what
/// the library's reports and the commands of an attachment write there.
class SilencedOutput {
 public:
  SilencedOutput();
  ~SilencedOutput();
  SilencedOutput(const SilencedOutput&) = delete;
  SilencedOutput& operator=(const SilencedOutput&) = delete;

 private:
  OwnedDescriptor output_;
};

#endif
