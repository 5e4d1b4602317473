#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../../scratch_directory.h"
#include "autoresponder/reply/attachments.h"

namespace {

// A root directory with the file "a/b/file".
class OpenBelow : public testing::Test {
 protected:
  OpenBelow() {
    std::filesystem::create_directories(Path("root/a/b"));
    Write("root/a/b/file", "content");
    Write("outside", "secret");
  }

  std::string Path(const std::string& name) const { return directory_.Path(name); }
  void Write(const std::string& name, const char* text) const { std::ofstream(Path(name)) << text; }

  std::shared_ptr<const OpenAttachment> Open(const std::string& name) const {
    return open_below(Path("root"), {"a", "b", name});
  }

 private:
  ScratchDirectory directory_;
};

TEST_F(OpenBelow, OpensAndMeasuresAPlainFile) {
  const auto file = Open("file");
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->size(), 7);
  char text[8] = "";
  EXPECT_EQ(read(file->descriptor(), text, 7), 7);
  EXPECT_STREQ(text, "content");
}

TEST_F(OpenBelow, KeepsTheFileWhenItsNameIsAnothers) {
  const auto file = Open("file");
  ASSERT_NE(file, nullptr);
  std::filesystem::rename(Path("outside"), Path("root/a/b/file"));
  char text[8] = "";
  EXPECT_EQ(read(file->descriptor(), text, 7), 7);
  EXPECT_STREQ(text, "content");
}

TEST_F(OpenBelow, TakesOnlyPlainFiles) {
  EXPECT_EQ(Open("missing"), nullptr);
  std::filesystem::create_directory(Path("root/a/b/directory"));
  EXPECT_EQ(Open("directory"), nullptr);
  mkfifo(Path("root/a/b/pipe").c_str(), 0600);
  EXPECT_EQ(Open("pipe"), nullptr);
}

TEST_F(OpenBelow, FollowsNoLinkBelowTheRoot) {
  std::filesystem::create_symlink("file", Path("root/a/b/link"));
  EXPECT_EQ(Open("link"), nullptr);
  std::filesystem::create_symlink("a", Path("root/linked"));
  EXPECT_EQ(open_below(Path("root"), {"linked", "b", "file"}), nullptr);
  std::filesystem::create_symlink("b", Path("root/a/linked"));
  EXPECT_EQ(open_below(Path("root"), {"a", "linked", "file"}), nullptr);
}

TEST_F(OpenBelow, FollowsALinkThatIsTheRoot) {
  std::filesystem::create_symlink("root", Path("link"));
  EXPECT_NE(open_below(Path("link"), {"a", "b", "file"}), nullptr);
  EXPECT_EQ(open_below(Path("missing"), {"a", "b", "file"}), nullptr);
}

TEST_F(OpenBelow, NoticesAChange) {
  const auto file = Open("file");
  ASSERT_NE(file, nullptr);
  EXPECT_TRUE(file->IsUnchanged());
  Write("root/a/b/file", "short");
  EXPECT_FALSE(file->IsUnchanged());
}

TEST_F(OpenBelow, NoticesThatItWasWrittenAnew) {
  const auto file = Open("file");
  ASSERT_NE(file, nullptr);
  const auto time = std::filesystem::last_write_time(Path("root/a/b/file"));
  std::filesystem::last_write_time(Path("root/a/b/file"), time + std::chrono::nanoseconds(1));
  EXPECT_FALSE(file->IsUnchanged());
}

class OpenBelowByName : public OpenBelow, public testing::WithParamInterface<const char*> {};

TEST_P(OpenBelowByName, TakesOnlyPlainNames) {
  EXPECT_EQ(Open(GetParam()), nullptr);
  EXPECT_EQ(open_below(Path("root"), {"a", GetParam(), "b", "file"}), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Names, OpenBelowByName,
                         testing::Values("", ".", "..", "/", "./file", "../b/file", "file/",
                                         "/etc/passwd", "../../../outside"));

}  // namespace
