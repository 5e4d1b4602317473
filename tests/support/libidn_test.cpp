#include "support/libidn.h"

#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <idna.h>

namespace {

TEST(LibidnFunction, IsThatOfTheLibrary) {
  const auto text_of = libidn_function<decltype(idna_strerror)>("idna_strerror");
  ASSERT_NE(text_of, nullptr);
  EXPECT_STREQ(text_of(IDNA_SUCCESS), "Success");
}

TEST(LibidnFunction, ThatIsMissingEndsTheProcessWithTheLoadersWordsAlone) {
  errno = EIO;
  EXPECT_EXIT(find_libidn_function("idna_nothing"), testing::ExitedWithCode(1),
              testing::AllOf(testing::HasSubstr("Unable to load libidn: "),
                             testing::HasSubstr("undefined symbol: idna_nothing"),
                             testing::Not(testing::HasSubstr("System error"))));
}

}  // namespace
