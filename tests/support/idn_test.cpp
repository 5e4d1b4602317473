#include "support/idn.h"

#include <dlfcn.h>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <idna.h>

#include "../named_row.h"
#include "support/base/owned.h"
#include "support/libidn.h"

namespace {

// The return code of every conversion; 0: that of libidn.
int forced_code = 0;

}  // namespace

// These hide the functions of libidn, so that a test can make them fail.
extern "C" int idna_to_ascii_8z(const char* input, char** output, int flags) {
  if (forced_code != 0) return forced_code;
  using Function = int(const char*, char**, int);
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "idna_to_ascii_8z"))(input, output, flags);
}

extern "C" int idna_to_unicode_8z8z(const char* input, char** output, int flags) {
  if (forced_code != 0) return forced_code;
  using Function = int(const char*, char**, int);
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "idna_to_unicode_8z8z"))(input, output,
                                                                               flags);
}

namespace {

// 63 bytes, the longest label there can be.
#define LONGEST_LABEL "abcdefghijklmnopqrstuvwxyz0123456789abcdefghijklmnopqrstuvwxyz0"

struct Name : NamedRow {
  const char* text;
  const char* want;
};

class IdnToAscii : public testing::TestWithParam<Name> {};

TEST_P(IdnToAscii, Gives) {
  const OwnedText got(idn_toascii(GetParam().text));
  EXPECT_STREQ(got.get(), GetParam().want);
}

TEST_P(IdnToAscii, GivesTheSameAsAString) {
  EXPECT_EQ(idn_toascii_string(GetParam().text), GetParam().want);
}

constexpr Name kNames[] = {
    {"Empty", "", ""},
    {"AsciiWithItsCase", "Example.COM", "Example.COM"},
    {"AddressUnchanged", "Info@Example.com", "Info@Example.com"},
    {"LastDotKept", "example.com.", "example.com."},
    {"AceUnchanged", "XN--bcher-KVA.de", "XN--bcher-KVA.de"},
    {"LabelOf63Bytes", LONGEST_LABEL ".de", LONGEST_LABEL ".de"},
    {"OtherAsciiUnchanged", "a'b\"c d_", "a'b\"c d_"},
    {"Umlaut", "b\xC3\xBC\x63her.example", "xn--bcher-kva.example"},
    {"UpperCaseUmlaut", "B\xC3\x9C\x43HER.example", "xn--bcher-kva.example"},
    {"CaseOfTheAsciiLabels", "WWW.b\xC3\xBC\x63her.DE", "WWW.xn--bcher-kva.DE"},
    {"Ideographs", "\xE6\x97\xA5\xE6\x9C\xAC.example", "xn--wgv71a.example"},
    // Only dots separate labels, so the local part belongs to the first label of the domain.
    {"AddressWithUmlaut", "info@b\xC3\xBC\x63her.example", "xn--info@bcher-feb.example"},
    // U+FF07 normalises to the ASCII quote: a name without quotes comes back with one.
    {"FullwidthApostropheAsQuote", "o\xEF\xBC\x87x@example.com", "o'x@example.com"},
    {"FullwidthLettersAsLowerCaseAscii", "\xEF\xBC\xA1\xEF\xBC\xA2@example.com", "ab@example.com"},
    {"IdeographicFullStopAsDot", "a\xE3\x80\x82\x62", "a.b"},
    {"SoftHyphenDropped", "a\xC2\xAD\x62", "ab"},
};

INSTANTIATE_TEST_SUITE_P(Rows, IdnToAscii, testing::ValuesIn(kNames));

struct Refused : NamedRow {
  const char* text;
  int code;
  const char* message;
};

// What is not asked of libidn is what libidn says.
TEST_P(IdnToAscii, GivesWhatLibidnGives) {
  OwnedText got;
  char* output = nullptr;
  ASSERT_EQ(idna_to_ascii_8z(GetParam().text, &output, 0), IDNA_SUCCESS);
  got.reset(output);
  EXPECT_STREQ(got.get(), GetParam().want);
}

TEST(NeedsLibidn, OnlyWhereATextIsNotItsOwnAsciiForm) {
  const std::string alphabet = "aZ0.-@'x\x01\x7F\x80";
  std::mt19937 random(20261122);
  int unneeded = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string text(random() % 8 + (random() % 4 == 0 ? 60 : 0), 'a');
    for (char& c : text) c = random() % 3 == 0 ? alphabet[random() % alphabet.size()] : c;
    if (kem::needs_libidn(text)) continue;
    ++unneeded;
    char* output = nullptr;
    ASSERT_EQ(idna_to_ascii_8z(text.c_str(), &output, 0), IDNA_SUCCESS) << text;
    EXPECT_EQ(OwnedText(output).get(), text);
  }
  EXPECT_GT(unneeded, 5000);
}

class IdnRefuses : public testing::TestWithParam<Refused> {};

TEST_P(IdnRefuses, ATextWithoutAsciiForm) {
  idn_last_error = 0;
  const OwnedText got(idn_toascii(GetParam().text));
  EXPECT_EQ(got, nullptr);
  EXPECT_EQ(idn_last_error, GetParam().code);
}

using IdnRefusesDeathTest = IdnRefuses;

TEST_P(IdnRefusesDeathTest, AndEndsTheProcess) {
  const Refused& row = GetParam();
  const std::string message =
      "idn_toascii_safe(" + std::string(row.text) + ") failed: " + row.message;
  EXPECT_EXIT(OwnedText(idn_toascii_safe(row.text)), testing::ExitedWithCode(1),
              testing::HasSubstr(message));
  EXPECT_EXIT(idn_toascii_string(row.text), testing::ExitedWithCode(1),
              testing::HasSubstr(message));
}

constexpr Refused kRefused[] = {
    {"LabelOf64Bytes", LONGEST_LABEL "1.de", 5, "Invalid length"},
    {"LongLocalPart", LONGEST_LABEL "@example.com", 5, "Invalid length"},
    {"LabelTooLongOnceConverted",
     "\xC3\xBC-abcdefghijklmnopqrstuvwxyz0123456789abcdefghijklmnopqrstuvw", 2, "Punycode error"},
    {"EmptyLabel", "a..b", 5, "Invalid length"},
    {"AcePrefixBeforeUmlaut", "xn--b\xC3\xBC\x63her", 8, "ACE prefix found"},
    {"UnassignedCharacter", "a\xC8\xA1", 1, "Stringprep error"},
    {"InvalidUtf8", "a\xFF", 9, "Iconv error"},
};

INSTANTIATE_TEST_SUITE_P(Rows, IdnRefuses, testing::ValuesIn(kRefused));
INSTANTIATE_TEST_SUITE_P(Rows, IdnRefusesDeathTest, testing::ValuesIn(kRefused));

TEST(IdnLastError, IsNotResetByASuccess) {
  idn_last_error = 0;
  const OwnedText refused(idn_toascii("a..b"));
  EXPECT_EQ(refused, nullptr);
  const OwnedText accepted(idn_toascii("example.com"));
  EXPECT_STREQ(accepted.get(), "example.com");
  EXPECT_EQ(idn_last_error, 5);
}

TEST(IdnLastError, IsThatOfTheLastFailure) {
  idn_last_error = 0;
  const OwnedText first(idn_toascii("a\xFF"));
  EXPECT_EQ(idn_last_error, 9);
  const OwnedText second(idn_toascii("a..b"));
  EXPECT_EQ(idn_last_error, 5);
}

void convert_without_memory() {
  forced_code = 201;
  idn_toascii("b\xC3\xBC\x63her.example");
}

TEST(IdnDeathTest, EndsTheProcessWithoutMemory) {
  EXPECT_EXIT(convert_without_memory(), testing::ExitedWithCode(1),
              testing::HasSubstr("Allocation failed"));
}

TEST(IdnToUtf8, KeepsTheCodeOfAFailure) {
  idn_last_error = 0;
  forced_code = 6;
  const OwnedText got(idn_toutf8("xn--a.example"));
  forced_code = 0;
  EXPECT_EQ(got.get(), nullptr);
  EXPECT_EQ(idn_last_error, 6);
}

void convert_to_utf8_without_memory() {
  forced_code = 201;
  idn_toutf8("example.com");
}

TEST(IdnDeathTest, EndsTheProcessWithoutMemoryForUtf8) {
  EXPECT_EXIT(convert_to_utf8_without_memory(), testing::ExitedWithCode(1),
              testing::HasSubstr("Allocation failed"));
}

void convert_to_utf8_safely() {
  forced_code = 6;
  idn_toutf8_safe("xn--a.example");
}

TEST(IdnDeathTest, EndsTheProcessWhereThereIsNoUtf8Form) {
  EXPECT_EXIT(convert_to_utf8_safely(), testing::ExitedWithCode(1),
              testing::HasSubstr("idn_toutf8_safe(xn--a.example) failed: ACE prefix not found\n"));
}

struct CodeText : NamedRow {
  int code;
  const char* want;
};

class IdnStrerror : public testing::TestWithParam<CodeText> {};

TEST_P(IdnStrerror, Tells) {
  EXPECT_STREQ(idn_strerror(GetParam().code), GetParam().want);
}

constexpr CodeText kCodeTexts[] = {
    {"Success", 0, "Success"},
    {"StringprepError", 1, "Stringprep error"},
    {"PunycodeError", 2, "Punycode error"},
    {"ContainsNonLdh", 3, "Contains non-LDH characters"},
    {"ContainsMinus", 4, "Contains minus"},
    {"InvalidLength", 5, "Invalid length"},
    {"NoAcePrefix", 6, "ACE prefix not found"},
    {"VerifyError", 7, "Verify error"},
    {"ContainsAcePrefix", 8, "ACE prefix found"},
    {"IconvError", 9, "Iconv error"},
    {"MallocError", 201, "Cannot allocate buffer"},
    {"AfterTheSmallCodes", 10, "Unknown error"},
    {"BeforeTheLargeCode", 200, "Unknown error"},
    {"AfterTheLargeCode", 202, "Unknown error"},
    {"NegativeCode", -1, "Unknown error"},
};

INSTANTIATE_TEST_SUITE_P(Rows, IdnStrerror, testing::ValuesIn(kCodeTexts));

}  // namespace
