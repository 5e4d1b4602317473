// Preloaded into the program by tests: makes calls of the C library and of the database client fail
// that cannot be made to fail from outside.
//
// KEM_FAULTS is a list of faults, separated by blanks:
//   CALL            every call fails
//   CALL#N          the Nth call fails (from 1)
//   malloc=SIZE     the allocation of exactly SIZE bytes fails
//   signal=S@N      signal number S arrives before the Nth of all these calls
//   stop=PID@N      process PID is stopped before the Nth of all these calls
//   silence=S       the database may be silent for S seconds
//   kill=PID@N      process PID is killed before the Nth of all these calls
// where CALL is mkostemp, close_range, popen, system, mysql_init, mysql_real_query (which every
// statement passes, the four of the session among them), mysql_store_result, mysql_fetch_row or
// iconv_close, or null_columns for a row whose columns are all NULL. A failing query reaches the
// server as one that it does not understand.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <iterator>
#include <unistd.h>

#include <iconv.h>

namespace {

constexpr const char* kNonsense = "nonsense";

template <class Function>
Function next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// The first value of KEM_FAULTS: the process that reads the message clears its environment, and
// calls before main have none yet.
const char* all_faults() {
  static char faults[4096];
  const char* const value = *faults == '\0' ? getenv("KEM_FAULTS") : nullptr;
  if (value != nullptr) snprintf(faults, sizeof faults, "%s", value);
  return faults;
}

// The text after `name` and its separator in KEM_FAULTS, or null; "" for a name without a text.
const char* fault(const char* name) {
  const char* const faults = all_faults();
  const size_t length = strlen(name);
  for (const char* at = faults; at != nullptr && *at != '\0'; at = strchr(at, ' ')) {
    while (*at == ' ') ++at;
    if (strncmp(at, name, length) != 0) continue;
    if (at[length] == '\0' || at[length] == ' ') return "";
    if (at[length] == '#' || at[length] == '=') return at + length + 1;
  }
  return nullptr;
}

// Whether `name` has the form "name=X@N" and this is the Nth call; `x` is then X.
bool is_due(const char* name, int calls, int& x) {
  const char* const what = fault(name);
  return what != nullptr && sscanf(what, "%d@", &x) == 1 && atoi(strchr(what, '@') + 1) == calls;
}

bool fails(const char* name, int& calls) {
  static int all_calls = 0;
  int x = 0;
  ++all_calls;
  if (is_due("signal", all_calls, x)) raise(x);
  if (is_due("stop", all_calls, x)) kill(x, SIGSTOP);
  if (is_due("kill", all_calls, x)) {
    kill(x, SIGKILL);
    usleep(50000);  // it takes the server a moment to be gone
  }
  ++calls;
  const char* const which = fault(name);
  return which != nullptr && (*which == '\0' || atoi(which) == calls);
}

}  // namespace

extern "C" {

// The loader keeps memory of this malloc for libraries that are loaded later, where the leak
// checker does not look.
const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() {
  return "leak:add_to_global_resize\n";
}
const char* __lsan_default_options();
const char* __lsan_default_options() {
  return "print_suppressions=0";
}

void* malloc(size_t size) {
  static const auto real = next<void* (*)(size_t)>("malloc");
  static const char* const which = fault("malloc");
  if (which != nullptr && size == static_cast<size_t>(atol(which))) {
    errno = ENOMEM;
    return nullptr;
  }
  return real(size);
}

int mkostemp(char* name, int flags) {
  static int calls = 0;
  if (!fails("mkostemp", calls)) return next<int (*)(char*, int)>("mkostemp")(name, flags);
  errno = EACCES;
  return -1;
}

// Not counted, because the process that reads the message calls it too.
int close_range(unsigned first, unsigned last, int flags) {
  if (fault("close_range") == nullptr) {
    return next<int (*)(unsigned, unsigned, int)>("close_range")(first, last, flags);
  }
  errno = EPERM;
  return -1;
}

FILE* popen(const char* command, const char* mode) {
  static int calls = 0;
  if (!fails("popen", calls))
    return next<FILE* (*)(const char*, const char*)>("popen")(command, mode);
  errno = EMFILE;
  return nullptr;
}

int system(const char* command) {
  static int calls = 0;
  if (!fails("system", calls)) return next<int (*)(const char*)>("system")(command);
  errno = EAGAIN;
  return -1;
}

void* mysql_init(void* handle) {
  static int calls = 0;
  if (fails("mysql_init", calls)) return nullptr;
  return next<void* (*)(void*)>("mysql_init")(handle);
}

int mysql_options(void* handle, int option, const void* value) {
  constexpr int kTimeouts[] = {0, 11, 12};  // to connect, to read, to write
  const char* const silence = fault("silence");
  const unsigned seconds = silence != nullptr ? static_cast<unsigned>(atoi(silence)) : 0;
  const bool is_timeout =
      std::find(std::begin(kTimeouts), std::end(kTimeouts), option) != std::end(kTimeouts);
  return next<int (*)(void*, int, const void*)>("mysql_options")(
      handle, option, is_timeout && silence != nullptr ? &seconds : value);
}

int mysql_real_query(void* handle, const char* statement, unsigned long length) {
  static int calls = 0;
  const auto real = next<int (*)(void*, const char*, unsigned long)>("mysql_real_query");
  if (fails("mysql_real_query", calls)) return real(handle, kNonsense, strlen(kNonsense));
  return real(handle, statement, length);
}

void* mysql_store_result(void* handle) {
  static int calls = 0;
  void* const result = next<void* (*)(void*)>("mysql_store_result")(handle);
  if (!fails("mysql_store_result", calls)) return result;
  next<void (*)(void*)>("mysql_free_result")(result);
  return nullptr;
}

char** mysql_fetch_row(void* result) {
  static int calls = 0;
  static int null_calls = 0;
  static char* nulls[16] = {};
  char** const row = next<char** (*)(void*)>("mysql_fetch_row")(result);
  if (fails("mysql_fetch_row", calls)) return nullptr;
  return row != nullptr && fails("null_columns", null_calls) ? nulls : row;
}

int iconv_close(iconv_t handle) {
  static int calls = 0;
  const int result = next<int (*)(iconv_t)>("iconv_close")(handle);
  return fails("iconv_close", calls) ? -1 : result;
}

}  // extern "C"
