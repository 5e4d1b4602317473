#include <cerrno>
#include <dlfcn.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <idna.h>

#include "support/libidn.h"

namespace {

TEST(LateLibrary, GivesItsFunctions) {
  const auto text_of =
      reinterpret_cast<decltype(&idna_strerror)>(kem::libidn.Find("idna_strerror"));
  ASSERT_NE(text_of, nullptr);
  EXPECT_STREQ(text_of(IDNA_SUCCESS), "Success");
}

TEST(LateLibraryDeathTest, EndsTheProcessWithTheLoadersWordsAloneWhereAFunctionIsMissing) {
  errno = EIO;
  EXPECT_EXIT(kem::libidn.Find("idna_nothing"), testing::ExitedWithCode(1),
              testing::AllOf(testing::HasSubstr("Unable to load libidn: "),
                             testing::HasSubstr("undefined symbol: idna_nothing"),
                             testing::Not(testing::HasSubstr("System error"))));
}

TEST(LateLibraryDeathTest, EndsTheProcessWhereItIsMissing) {
  kem::LateLibrary missing("nothing", "libnothing.so.0", RTLD_NOW);
  EXPECT_NE(missing.Trouble(), nullptr);
  EXPECT_EXIT(missing.Load(), testing::ExitedWithCode(1),
              testing::HasSubstr("Unable to load nothing: libnothing.so.0: "));
}

TEST(LateLibrary, KeepsTheSystemError) {
  errno = EIO;
  kem::LateLibrary("libidn", "libidn.so.12", RTLD_NOW).Load();
  EXPECT_EQ(errno, EIO);
}

}  // namespace
