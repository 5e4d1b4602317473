#pragma once

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <unistd.h>

/// A file in memory, for functions that write to a `FILE*`.
class MemoryFile {
 public:
  MemoryFile() : file_(open_memstream(&bytes_, &size_)) {
    if (file_ == nullptr) abort();
  }
  ~MemoryFile() {
    fclose(file_);
    free(bytes_);
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  FILE* get() const { return file_; }

  std::string Text() const {
    fflush(file_);
    return {bytes_, size_};
  }

 private:
  char* bytes_ = nullptr;
  size_t size_ = 0;
  FILE* file_;
};

/// What the file with this descriptor holds, from its start; nothing if it cannot be read. Moves
/// the descriptor's position to the end.
inline std::optional<std::string> contents_of(int descriptor) {
  const off_t size = lseek(descriptor, 0, SEEK_END);
  if (size < 0) return std::nullopt;
  std::string text(static_cast<size_t>(size), '\0');
  if (pread(descriptor, text.data(), text.size(), 0) != size) return std::nullopt;
  return text;
}

/// Captures what is written to `stderr` during its lifetime: tests with thousands of malformed
/// inputs would flood the terminal with diagnostics.
class CapturedDiagnostics {
 public:
  CapturedDiagnostics() : before_(stderr) { stderr = file_.get(); }
  ~CapturedDiagnostics() { stderr = before_; }
  CapturedDiagnostics(const CapturedDiagnostics&) = delete;
  CapturedDiagnostics& operator=(const CapturedDiagnostics&) = delete;

  std::string Text() const { return file_.Text(); }

 private:
  MemoryFile file_;
  FILE* before_;
};
