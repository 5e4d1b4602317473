#ifndef SUPPORT_LIBIDN_H
#define SUPPORT_LIBIDN_H

namespace kem {

/// Loads libidn, unless it is loaded already. Not at the start: looking up its names costs more
/// than all other start-up of our own, and most runs convert no name. Without the library the
/// process ends with status 1, so whoever is going to do more than convert calls this first.
void load_libidn();

/// The function `name` of libidn, which is loaded; without it the process ends with status 1.
void* find_libidn_function(const char* name);

template <class Function>
Function* libidn_function(const char* name) {
  return reinterpret_cast<Function*>(find_libidn_function(name));
}

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::find_libidn_function;
using kem::libidn_function;
using kem::load_libidn;

#endif
