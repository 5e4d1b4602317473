#include "autoresponder/reply/forwarding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(AddressesOf, AreSplitAtBlanks) {
  EXPECT_THAT(addresses_of(" a@x b@y "), ElementsAre("a@x", "b@y"));
  EXPECT_THAT(addresses_of("a@x"), ElementsAre("a@x"));
  EXPECT_THAT(addresses_of(" \t a@x\tb@y  c@z"), ElementsAre("a@x", "b@y", "c@z"));
  EXPECT_THAT(addresses_of(" a@x\nb@y "), ElementsAre("a@x\nb@y"));
}

TEST(AddressesOf, AreNoneInBlanks) {
  EXPECT_THAT(addresses_of(""), IsEmpty());
  EXPECT_THAT(addresses_of("  \t "), IsEmpty());
}

TEST(WithoutOptions, LeavesOutAndReportsOnlyThose) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(without_options(" a@x -bs b-c@y -oQ "), " a@x b-c@y ");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "autoresponder: refused to mail to an option: -bs\n"
            "autoresponder: refused to mail to an option: -oQ\n");
}

TEST(WithoutOptions, IsBlankWhereNobodyIsLeft) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(without_options(" -bs "), " ");
  EXPECT_EQ(without_options("  "), " ");
  testing::internal::GetCapturedStderr();
}

}  // namespace
