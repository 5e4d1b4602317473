#include "support/libidn.h"

#include <cerrno>

#include <gtest/gtest.h>
#include <idna.h>

namespace {

TEST(LibidnFunction, IsThatOfTheLibrary) {
  const auto text_of = libidn_function<decltype(idna_strerror)>("idna_strerror");
  ASSERT_NE(text_of, nullptr);
  EXPECT_STREQ(text_of(IDNA_SUCCESS), "Success");
}

TEST(LibidnFunction, LeavesTheSystemErrorAsItWas) {
  errno = 0;
  find_libidn_function("idna_strerror");
  EXPECT_EQ(errno, 0);
}

TEST(LibidnFunction, ThatIsMissingEndsTheProcess) {
  errno = 0;
  EXPECT_EXIT(find_libidn_function("idna_nothing"), testing::ExitedWithCode(1),
              "undefined symbol: idna_nothing");
}

}  // namespace
