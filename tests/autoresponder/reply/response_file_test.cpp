#include "autoresponder/reply/response_file.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../../scratch_directory.h"

namespace {

namespace fs = std::filesystem;

class ResponseFileTest : public testing::Test {
 protected:
  std::string Path() const { return directory_.Path("reply"); }
  std::string Other() const { return directory_.Path("other"); }

  // A file that was created under its name, as a run does it.
  ResponseFile Created() const {
    std::string name = directory_.Path("reply-XXXXXX");
    const int descriptor = mkstemp(name.data());
    return {descriptor, name};
  }

 private:
  ScratchDirectory directory_;
};

void write(ResponseFile& file, const char* text) {
  const OwnedFile out = file.Rewrite();
  ASSERT_TRUE(out);
  fputs(text, out.get());
}

TEST_F(ResponseFileTest, IsEmptyAtFirst) {
  EXPECT_EQ(Created().Size(), 0);
}

TEST_F(ResponseFileTest, HoldsWhatWasWrittenLast) {
  ResponseFile file = Created();
  write(file, "a long text");
  EXPECT_EQ(file.Size(), 11);
  write(file, "short");
  EXPECT_EQ(file.Size(), 5);
  EXPECT_EQ(contents_of(file.path()), "short");
}

TEST_F(ResponseFileTest, CountsWhatCommandsAppend) {
  ResponseFile file = Created();
  write(file, "text");
  std::ofstream(file.path(), std::ios::app) << " and more";
  EXPECT_EQ(file.Size(), 13);
}

TEST_F(ResponseFileTest, IsRemovedByItsName) {
  const ResponseFile file = Created();
  EXPECT_TRUE(fs::exists(file.path()));
  file.Remove();
  EXPECT_FALSE(fs::exists(file.path()));
}

TEST_F(ResponseFileTest, IsCreatedForItsOwnerAloneWhenItIsWritten) {
  ResponseFile file(-1, Path());
  const mode_t before = umask(0);
  write(file, "text");
  umask(before);
  struct stat status {};
  ASSERT_EQ(stat(Path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
  EXPECT_EQ(contents_of(Path()), "text");
  EXPECT_EQ(file.Size(), 4);
}

// Somebody who foresees the name must neither read the reply nor have another file overwritten.
TEST_F(ResponseFileTest, UsesNothingThatHadItsName) {
  std::ofstream(Other()) << "kept";
  for (const bool is_link : {true, false}) {
    if (is_link) {
      fs::create_symlink(Other(), Path());
    } else {
      fs::create_hard_link(Other(), Path());
    }
    ResponseFile file(-1, Path());
    write(file, "text");
    EXPECT_EQ(contents_of(Other()), "kept");
    EXPECT_EQ(contents_of(Path()), "text");
    EXPECT_FALSE(fs::is_symlink(Path()));
    fs::remove(Path());
  }
}

TEST_F(ResponseFileTest, CannotBeWrittenWhereItCannotBeCreated) {
  ResponseFile file(-1, Path() + "/below/nothing");
  EXPECT_FALSE(file.Rewrite());
  EXPECT_EQ(file.Size(), 0);
}

}  // namespace
