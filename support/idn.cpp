#include "support/idn.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <regex.h>

#include <idna.h>

#include "support/base/owned.h"
#include "support/libidn.h"
#include "support/report.h"

int idn_last_error = 0;

kem::LateLibrary kem::libidn("libidn", LIBIDN_FILE, RTLD_NOW);

namespace {

struct CodeText {
  int code;
  const char* text;
};

constexpr CodeText kCodeTexts[] = {
    {0, "Success"},
    {1, "Stringprep error"},
    {2, "Punycode error"},
    {3, "Contains non-LDH characters"},
    {4, "Contains minus"},
    {5, "Invalid length"},
    {6, "ACE prefix not found"},
    {7, "Verify error"},
    {8, "ACE prefix found"},
    {9, "Iconv error"},
    {IDNA_MALLOC_ERROR, "Cannot allocate buffer"},
};

// Reports what failed and why, and ends the process.
void end_process(const char* routine, const char* text) {
  report_error(1, 0, "%s(%s) failed: %s", routine, text, idn_strerror(idn_last_error));
}

void end_process_without_memory(int code) {
  if (code == IDNA_MALLOC_ERROR) report_error(1, 0, "Allocation failed");
}

constexpr const char* kUrl = "^(ftp://|https?://)?([^@]+@)?([^/:]+)(.*)?$";
enum UrlGroup { kWhole, kScheme, kUser, kHost, kRest, kGroups };

// A compiled regular expression; a failure to compile ends the process.
class Pattern {
 public:
  explicit Pattern(const char* expression) {
    if (const int code = regcomp(&regex_, expression, REG_EXTENDED); code != 0) {
      report_error(1, 0, "regcomp() failed: %s", Describe(code).c_str());
    }
  }
  ~Pattern() { regfree(&regex_); }
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  int Match(const char* text, regmatch_t* groups, size_t count) const {
    return regexec(&regex_, text, count, groups, 0);
  }

  std::string Describe(int code) const {
    char text[256];
    regerror(code, &regex_, text, sizeof text);
    return text;
  }

 private:
  regex_t regex_{};
};

std::string group_text(const char* text, const regmatch_t& group) {
  if (group.rm_so < 0) return {};
  return std::string(text + group.rm_so, static_cast<size_t>(group.rm_eo - group.rm_so));
}

}  // namespace

bool kem::needs_libidn(std::string_view text) {
  constexpr size_t kMaxLabel = 63;
  size_t length = 0;  // of the label so far
  for (const char byte : text) {
    const bool is_ascii = static_cast<unsigned char>(byte) < 0x80;
    const bool ends_empty = byte == '.' && length == 0;
    length = byte == '.' ? 0 : length + 1;
    if (!is_ascii || ends_empty || length > kMaxLabel) return true;
  }
  return false;
}

char* idn_toascii(const char* text) {
  if (!kem::needs_libidn(text)) {
    char* const copy = strdup(text);
    if (copy == nullptr) end_process_without_memory(IDNA_MALLOC_ERROR);
    return copy;
  }
  char* output = nullptr;
  static const auto convert =
      reinterpret_cast<decltype(&idna_to_ascii_8z)>(kem::libidn.Find("idna_to_ascii_8z"));
  const int code = convert(text, &output, 0);
  end_process_without_memory(code);
  if (code == IDNA_SUCCESS) return output;
  idn_last_error = code;
  free(output);
  return nullptr;
}

char* idn_toutf8(const char* text) {
  char* output = nullptr;
  static const auto convert =
      reinterpret_cast<decltype(&idna_to_unicode_8z8z)>(kem::libidn.Find("idna_to_unicode_8z8z"));
  const int code = convert(text, &output, 0);
  end_process_without_memory(code);
  if (code != IDNA_SUCCESS) idn_last_error = code;
  return output;
}

char* idn_toascii_safe(const char* text) {
  char* const output = idn_toascii(text);
  if (output == nullptr) end_process("idn_toascii_safe", text);
  return output;
}

char* idn_toutf8_safe(const char* text) {
  char* const output = idn_toutf8(text);
  if (output == nullptr) end_process("idn_toutf8_safe", text);
  return output;
}

std::string idn_toascii_string(const char* text) {
  return OwnedText(idn_toascii_safe(text)).get();
}

std::string idn_toutf8_string(const char* text) {
  return OwnedText(idn_toutf8_safe(text)).get();
}

char* idn_email_toascii(const char* address) {
  const char* const at = strchr(address, '@');
  if (at == nullptr) return nullptr;
  const std::string local_part(address, at);
  const OwnedText domain(idn_toascii(at + 1));
  return xasprintf("%s@%s", local_part.c_str(), domain ? domain.get() : "(null)");
}

char* idn_email_toascii_safe(const char* address) {
  char* const output = idn_email_toascii(address);
  if (output == nullptr) end_process("idn_email_toascii_safe", address);
  return output;
}

const char* idn_url_toascii(const char* url) {
  static char result[4096];
  const Pattern pattern(kUrl);
  regmatch_t groups[kGroups];
  if (const int code = pattern.Match(url, groups, kGroups); code != 0) {
    report_error(0, 0, "regexec() failed: %s", pattern.Describe(code).c_str());
    return nullptr;
  }
  if (groups[kHost].rm_so < 0) {
    report_error(0, 0, "no hostname found in URL");
    return nullptr;
  }
  const std::string host = group_text(url, groups[kHost]).substr(0, sizeof result - 1);
  const OwnedText ascii(idn_toascii(host.c_str()));
  if (!ascii) {
    report_error(0, 0, "idn_toascii() failed: %s", idn_strerror(idn_last_error));
    return nullptr;
  }
  // The URL may be an earlier result: it is read before the buffer is written.
  const std::string converted = group_text(url, groups[kScheme]) + group_text(url, groups[kUser]) +
                                ascii.get() + group_text(url, groups[kRest]);
  snprintf(result, sizeof result, "%s", converted.c_str());
  return result;
}

const char* idn_strerror(int code) {
  for (const CodeText& entry : kCodeTexts) {
    if (entry.code == code) return entry.text;
  }
  return "Unknown error";
}
