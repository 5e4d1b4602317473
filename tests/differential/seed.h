#pragma once

#include <cstdlib>
#include <iostream>

/// The seed of the first generated message; each further message has the next one. Printed, so that
/// a run with another seed (environment variable DIFFERENTIAL_SEED) can be repeated.
inline unsigned first_seed() {
  static const unsigned seed = [] {
    constexpr unsigned kDefault = 822;
    const char* const chosen = getenv("DIFFERENTIAL_SEED");
    const unsigned value =
        chosen != nullptr ? static_cast<unsigned>(strtoul(chosen, nullptr, 10)) : kDefault;
    std::cout << "DIFFERENTIAL_SEED=" << value << '\n';
    return value;
  }();
  return seed;
}
