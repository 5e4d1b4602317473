#ifndef TESTS_MEMORY_FILE_H
#define TESTS_MEMORY_FILE_H

#include <cstdio>
#include <cstdlib>
#include <string>

/// A file in memory that is written through a `FILE*`.
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

/// Keeps what is written to `stderr` while it lives: malformed input is reported there, and who
/// looks at thousands of such inputs would drown in it.
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

#endif
