#include "explain/check/files.h"

#include <fstream>

#include <gmock/gmock.h>

#include "../../named_row.h"
#include "../../scratch_directory.h"

namespace {

struct Row : NamedRow {
  uid_t owner;
  mode_t mode;
  bool may_write;
  const char* words;
};

class StateOfAFile : public testing::TestWithParam<Row> {
 protected:
  StateOfAFile() {
    state_.st_uid = GetParam().owner;
    state_.st_mode = S_IFREG | GetParam().mode;
  }
  struct stat state_ {};
};

TEST_P(StateOfAFile, TellsWhetherOthersThanRootMayWrite) {
  EXPECT_EQ(others_may_write(state_), GetParam().may_write);
}

TEST_P(StateOfAFile, HasItsModeInWords) {
  EXPECT_EQ(mode_of(state_), GetParam().words);
}

constexpr Row kRows[] = {
    {"OfRootAlone", 0, 0600, false, "mode 0600"}, {"SetUserId", 0, 04750, false, "mode 4750"},
    {"OfAnother", 7, 0600, true, "mode 0600"},    {"OfTheGroup", 0, 0620, true, "mode 0620"},
    {"OfEverybody", 0, 0602, true, "mode 0602"},
};

INSTANTIATE_TEST_SUITE_P(Files, StateOfAFile, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

TEST(ControlLines, LeaveOutCommentsEmptyLinesAndWhiteSpaceAtTheEnd) {
  const ScratchDirectory scratch;
  std::ofstream(scratch.Path("locals")) << "one.example \t\n#no\n\n \n two.example\nlast";
  Inspection inspection;
  const auto lines = control_lines(scratch.Path("locals"), inspection);
  ASSERT_TRUE(lines);
  EXPECT_THAT(*lines, testing::ElementsAre("one.example", " two.example", "last"));
  EXPECT_TRUE(inspection.findings.empty());
}

TEST(ControlLines, AreNoneWithoutTheFile) {
  const ScratchDirectory scratch;
  Inspection inspection;
  EXPECT_FALSE(control_lines(scratch.Path("locals"), inspection));
  EXPECT_TRUE(inspection.findings.empty());
}

TEST(ControlLines, OfAFileThatCannotBeReadAreAFinding) {
  const ScratchDirectory scratch;
  std::ofstream(scratch.Path("file")) << "x";
  Inspection inspection;
  EXPECT_FALSE(control_lines(scratch.Path("file/locals"), inspection));
  ASSERT_EQ(inspection.findings.size(), 1U);
  EXPECT_EQ(inspection.findings[0].severity, Severity::kUnseen);
  EXPECT_EQ(inspection.findings[0].text,
            scratch.Path("file/locals") + " could not be looked at: Not a directory");
}

TEST(FieldsOf, AreWhatStandsBetweenColons) {
  EXPECT_THAT(fields_of("+a:b::d"), testing::ElementsAre("+a", "b", "", "d"));
  EXPECT_THAT(fields_of(""), testing::ElementsAre(""));
}

}  // namespace
