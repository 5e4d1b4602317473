#ifndef SUPPORT_LIBIDN_H
#define SUPPORT_LIBIDN_H

#include "support/late_library.h"

namespace kem {

/// libidn, loaded when first needed. If a conversion may follow an action that must not be
/// repeated, load it before that action.
extern LateLibrary libidn;

}  // namespace kem

#endif
