#include "explain/check/virtual_domains.h"

#include <gtest/gtest.h>

#include "../../named_row.h"

namespace {

struct Row : NamedRow {
  const char* domain;
  const char* prefix;  // null: no line counts
};

class VirtualDomains : public testing::TestWithParam<Row> {};

TEST_P(VirtualDomains, AreFoundAsTheMailServerFindsThem) {
  const std::vector<VirtualDomain> lines = {
      {"shop.example", "exact"},      {".example", "below"}, {".a.b.example", "nearer"},
      {"SHOUT.other", "upper case"},  {"none.example", ""},  {"joe@shop.example", "address"},
      {"shop.example", "the second"},
  };
  const VirtualDomain* const found = find_virtual_domain(lines, GetParam().domain);
  if (GetParam().prefix == nullptr) {
    EXPECT_EQ(found, nullptr);
  } else {
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->prefix, GetParam().prefix);
  }
}

constexpr Row kRows[] = {
    {"Exactly", "shop.example", "exact"},
    {"BelowADomain", "x.example", "below"},
    {"BelowTheNearestDomain", "c.a.b.example", "nearer"},
    {"NotTheDomainItself", "example", nullptr},
    {"WhateverTheCase", "shout.OTHER", "upper case"},
    {"WithoutAPrefix", "none.example", ""},
    {"Nowhere", "elsewhere.test", nullptr},
};

INSTANTIATE_TEST_SUITE_P(Lines, VirtualDomains, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

TEST(VirtualDomainsOfAll, HaveNoName) {
  const std::vector<VirtualDomain> lines = {{"", "all"}, {"shop.example", "exact"}};
  EXPECT_EQ(find_virtual_domain(lines, "any.test")->prefix, "all");
  EXPECT_EQ(find_virtual_domain(lines, "shop.example")->prefix, "exact");
}

}  // namespace
