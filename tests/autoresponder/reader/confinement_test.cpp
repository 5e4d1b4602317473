#include "autoresponder/reader/confinement.h"

#include <gtest/gtest.h>

#include "autoresponder/reader/system_call_filter.h"

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

TEST(SystemCallFilter, IsShortEnoughForTheKernel) {
  EXPECT_GT(system_call_filter(1).size(), 100u);
  EXPECT_LT(system_call_filter(1).size(), 4096u);
}

// The kernel refuses a program that jumps beyond its end.
TEST(SystemCallFilter, JumpsWithinItself) {
  const auto program = system_call_filter(1);
  for (size_t i = 0; i < program.size(); ++i) {
    if (BPF_CLASS(program[i].code) != BPF_JMP) continue;
    EXPECT_LT(i + 1 + program[i].jt, program.size());
    EXPECT_LT(i + 1 + program[i].jf, program.size());
  }
}

}  // namespace
