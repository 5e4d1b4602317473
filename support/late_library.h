#pragma once

namespace kem {

/// A shared library that is not linked but loaded by the first call that needs it, because
/// resolving its symbols takes longer than the rest of a program's start, and most runs do not need
/// it.
///
/// Preloaded and linked functions come first, as they would if the library were linked. If the
/// library or a function of it cannot be loaded, the process ends with status 1 and "Unable to load
/// %s: %s", its name and the loader's message. `errno` stays as it was.
class LateLibrary {
 public:
  /// `name`: for people; `file`: as the loader finds it; `flags`: of `dlopen`.
  constexpr LateLibrary(const char* name, const char* file, int flags)
      : name_(name), file_(file), flags_(flags) {}

  /// Loads it, unless it is loaded already.
  void Load();

  /// The function `name`.
  void* Find(const char* name);

  /// Why it cannot be loaded, in the loader's words; null if it can. Valid until the next call.
  const char* Trouble() const;

 private:
  void End() const;

  const char* name_;
  const char* file_;
  int flags_;
  void* library_ = nullptr;
};

}  // namespace kem
