#ifndef SUPPORT_LIBIDN_H
#define SUPPORT_LIBIDN_H

#include "support/late_library.h"

namespace kem {

/// libidn, which is loaded late. Load it before an action that must not be repeated, if a
/// conversion may follow it.
extern LateLibrary libidn;

}  // namespace kem

#endif
