#include "autoresponder/confinement/confinement.h"

#include <gtest/gtest.h>

namespace {

constexpr size_t kMegabyte = size_t{1} << 20;

TEST(Confinement, GivesTimeInProportionToTheMessage) {
  EXPECT_EQ(processor_limit(2048), 2u);
  EXPECT_EQ(processor_limit(kMegabyte), 34u);
}

TEST(Confinement, GivesMemoryInProportionToTheMessage) {
  EXPECT_EQ(memory_limit(0), 64 * kMegabyte);
  EXPECT_EQ(memory_limit(kMegabyte), 112 * kMegabyte);
}

TEST(Confinement, AlwaysGivesUpPrivileges) {
  EXPECT_NE(wanted_confinements() & bit(Confinement::kNoPrivileges), 0u);
}

}  // namespace
