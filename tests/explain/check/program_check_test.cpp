#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "../../named_row.h"
#include "../../scratch_directory.h"
#include "checked_database.h"
#include "explain/check/inspection.h"

namespace {

struct Installed : NamedRow {
  mode_t mode;
  uid_t owner;
  gid_t group;
  const char* codes;
};

class TheProgram : public CheckedDatabase, public testing::WithParamInterface<Installed> {
 protected:
  TheProgram() : program_(root_.Path("sbin/autoresponder")) {
    inspection_.product_root = root_.Path("");
    std::filesystem::create_directory(root_.Path("sbin"));
  }

  // Without what is about a program that this machine has, and about how its /tmp is mounted.
  std::string Codes() {
    CodesOf(check_program);
    std::string codes;
    for (const Finding& finding : inspection_.findings) {
      const bool is_ours = finding.text.find(program_) != std::string::npos;
      if (!is_ours || finding.text.find("is on a file system") != std::string::npos) continue;
      codes += std::string(codes.empty() ? "" : " ") + finding.code;
    }
    return codes;
  }

  ScratchDirectory root_;
  const std::string program_;
};

TEST_P(TheProgram, IsForTheDeliveriesOnly) {
  if (getuid() != 0) GTEST_SKIP() << "only root can give files away";
  std::ofstream(program_) << "#!/bin/sh\n";
  ASSERT_EQ(chown(program_.c_str(), GetParam().owner, GetParam().group), 0);
  ASSERT_EQ(chmod(program_.c_str(), GetParam().mode), 0);
  EXPECT_EQ(Codes(), GetParam().codes);
}

constexpr Installed kInstalled[] = {
    {{"Right"}, 04750, 0, 64000, ""},
    {{"OfAnotherOwner"}, 04750, 64000, 64000, "program_owner"},
    {{"NotSetuid"}, 0750, 0, 64000, "program_not_setuid"},
    {{"ForEverybody"}, 04755, 0, 64000, "program_open"},
    {{"ForEverybodyOfRootsGroup"}, 04755, 0, 0, "program_open"},
    {{"OfRootsGroup"}, 04750, 0, 0, "program_closed"},
    {{"NotForItsGroup"}, 04740, 0, 64000, "program_closed"},
    {{"WrittenByItsGroup"}, 04770, 0, 64000, "program_writable"},
    {{"WrittenByEverybody"}, 04752, 0, 64000, "program_writable"},
};

INSTANTIATE_TEST_SUITE_P(Files, TheProgram, testing::ValuesIn(kInstalled),
                         [](const auto& tested) { return tested.param.name; });

TEST_F(TheProgram, IsNeeded) {
  bool is_installed = false;
  for (const std::string& path : installed_programs(inspection_)) {
    is_installed = is_installed || std::filesystem::exists(path);
  }
  EXPECT_EQ(Codes(), is_installed ? "" : "program_missing");
}

}  // namespace
