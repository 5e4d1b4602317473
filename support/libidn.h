#ifndef SUPPORT_LIBIDN_H
#define SUPPORT_LIBIDN_H

/// The function `name` of libidn, which is loaded with the first one: looking up the names of that
/// library costs more than all other start-up of our own, and most runs send nothing that would
/// need it. Without the library or the function the process ends with status 1.
void* find_libidn_function(const char* name);

template <class Function>
Function* libidn_function(const char* name) {
  return reinterpret_cast<Function*>(find_libidn_function(name));
}

#endif
