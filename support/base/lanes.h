#ifndef SUPPORT_BASE_LANES_H
#define SUPPORT_BASE_LANES_H

#include <cstdint>
#include <cstring>

namespace kem {

/// A 16-byte vector, for which the compiler uses the registers of the processor. Operators work on
/// each byte; comparisons yield 0xFF or 0 per byte.
using Lanes [[gnu::vector_size(16)]] = uint8_t;

/// Sixteen bytes, from any address.
inline Lanes load_lanes(const char* bytes) {
  Lanes lanes;
  memcpy(&lanes, bytes, sizeof lanes);
  return lanes;
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::Lanes;
using kem::load_lanes;

#endif
