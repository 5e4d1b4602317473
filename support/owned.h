#ifndef SUPPORT_OWNED_H
#define SUPPORT_OWNED_H

#include <cstdio>
#include <cstdlib>
#include <memory>

/// Owner of memory from `malloc`.
struct FreeMemory {
  void operator()(void* memory) const { free(memory); }
};
using OwnedText = std::unique_ptr<char, FreeMemory>;

/// Owner of a file from `fopen`.
struct CloseFile {
  void operator()(FILE* file) const { fclose(file); }
};
using OwnedFile = std::unique_ptr<FILE, CloseFile>;

#endif
