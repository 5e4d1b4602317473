#include "autoresponder/run/spool.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "../../memory_file.h"

namespace {

TEST(Spool, HoldsANewlineForAnEmptyInput) {
  const OwnedDescriptor before(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
  const OwnedDescriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
  dup2(nothing.number(), STDIN_FILENO);
  const int memory = memfd_create("spool", MFD_CLOEXEC);
  SpoolFile spool(memory, "no name");
  MessageBuffer message = spool_standard_input(spool);
  dup2(before.number(), STDIN_FILENO);
  EXPECT_EQ(contents_of(memory), "\n");
  EXPECT_EQ(message.Take<std::string>(), "\n");
  EXPECT_TRUE(spool.IsWhole());
}

}  // namespace
