#pragma once

#include <vector>

#include "second_opinion.h"

/// A known difference between GMime's reading and ours.
struct DifferenceRule {
  const char* name;
  const char* reason;
  /// Changes GMime's reading to ours where the difference applies.
  void (*apply)(SecondOpinion& opinion);
  /// The third number of the 3.2 release of GMime that is known to read as we do; 0 for none.
  unsigned mended_in = 0;
};

/// The rules for sender, recipient and subject, in the order in which they apply.
const std::vector<DifferenceRule>& header_rules();

/// The rules for the charset and body of the text part, in the order in which they apply.
const std::vector<DifferenceRule>& body_rules();
