#ifndef SUPPORT_LIBIDN_H
#define SUPPORT_LIBIDN_H

namespace kem {

/// Loads libidn, unless it is loaded already. Where it cannot be loaded the process ends with
/// status 1: call this before an action that must not be repeated, if a conversion may follow it.
/// libidn is not linked because resolving its symbols takes longer than the rest of a program's
/// start, and most runs convert no name.
void load_libidn();

/// Why libidn cannot be loaded, in the loader's words; null if it can. Valid until the next call.
const char* libidn_trouble();

/// The function `name` of libidn, which is loaded; without it the process ends with status 1.
void* find_libidn_function(const char* name);

/// `find_libidn_function`, with the function's type.
template <class Function>
Function* libidn_function(const char* name) {
  return reinterpret_cast<Function*>(find_libidn_function(name));
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::find_libidn_function;
using kem::libidn_function;
using kem::libidn_trouble;
using kem::load_libidn;

#endif
