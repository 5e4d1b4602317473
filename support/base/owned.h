#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>
#include <utility>

namespace kem {

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

/// Owner of a file descriptor; a number below 0 is none.
class OwnedDescriptor {
 public:
  explicit OwnedDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~OwnedDescriptor() {
    if (IsOpen()) close(descriptor_);
  }
  OwnedDescriptor(const OwnedDescriptor&) = delete;
  OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
  OwnedDescriptor(OwnedDescriptor&& other) noexcept : descriptor_(other.Release()) {}
  OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }

  bool IsOpen() const { return descriptor_ >= 0; }
  int number() const { return descriptor_; }

  /// The number, for another owner.
  int Release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_;
};

}  // namespace kem

// Short names for the code of this project. No installed header includes this one.
using kem::CloseFile;
using kem::FreeMemory;
using kem::OwnedDescriptor;
using kem::OwnedFile;
using kem::OwnedText;
