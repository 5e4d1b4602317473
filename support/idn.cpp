#include "support/idn.h"

#include <cstdlib>

#include <idna.h>

#include "support/owned.h"
#include "support/report.h"

int idn_last_error = 0;

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

}  // namespace

char* idn_toascii(const char* text) {
  char* output = nullptr;
  const int code = idna_to_ascii_8z(text, &output, 0);
  if (code == IDNA_SUCCESS) return output;
  if (code == IDNA_MALLOC_ERROR) report_error(1, 0, "Allocation failed");
  idn_last_error = code;
  free(output);
  return nullptr;
}

char* idn_toascii_safe(const char* text) {
  char* const output = idn_toascii(text);
  if (output == nullptr) {
    report_error(1, 0, "%s(%s) failed: %s", "idn_toascii_safe", text, idn_strerror(idn_last_error));
  }
  return output;
}

std::string idn_toascii_string(const char* text) {
  const OwnedText ascii(idn_toascii_safe(text));
  return ascii.get();
}

const char* idn_strerror(int code) {
  for (const CodeText& entry : kCodeTexts) {
    if (entry.code == code) return entry.text;
  }
  return "Unknown error";
}
