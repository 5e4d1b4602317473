#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "../../named_row.h"
#include "../../scratch_directory.h"
#include "explain/check/mail_server.h"

namespace {

struct Row : NamedRow {
  const char* domain;
  const char* prefix;  // null: no line counts
};

class FoundLine : public testing::TestWithParam<Row> {};

TEST_P(FoundLine, AreFoundAsTheMailServerFindsThem) {
  const VirtualDomains lines = {
      {"shop.example", "exact"},     {".example", "below"}, {".a.b.example", "nearer"},
      {"shout.other", "upper case"}, {"none.example", ""},  {"joe@shop.example", "address"},
  };
  const auto* const found = find_virtual_domain(lines, GetParam().domain);
  if (GetParam().prefix == nullptr) {
    EXPECT_EQ(found, nullptr);
  } else {
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->second, GetParam().prefix);
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

INSTANTIATE_TEST_SUITE_P(Lines, FoundLine, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

TEST(VirtualDomainsOfAll, HaveNoName) {
  const VirtualDomains lines = {{"", "all"}, {"shop.example", "exact"}};
  EXPECT_EQ(find_virtual_domain(lines, "any.test")->second, "all");
  EXPECT_EQ(find_virtual_domain(lines, "shop.example")->second, "exact");
}

TEST(VirtualDomainsFile, CountsTheLastLineForADomainInAnyCase) {
  ScratchDirectory directory;
  Inspection inspection;
  inspection.qmail_root = directory.Path("");
  std::filesystem::create_directory(directory.Path("control"));
  std::ofstream(directory.Path("control/virtualdomains"))
      << "# shop.example:comment\nshop.example:first\nno colon\nSHOP.example:last  \n:all\n";
  const VirtualDomains want = {{"", "all"}, {"shop.example", "last"}};
  EXPECT_EQ(read_virtual_domains(inspection), want);
  EXPECT_TRUE(inspection.findings.empty());
}

}  // namespace
