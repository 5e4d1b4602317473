#include "explain/held_output.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include "../recorded_command.h"

namespace {

void write_to(int descriptor, const std::string& text) {
  ASSERT_EQ(write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

TEST(OutputThatIsHeld, IsGivenBackOrDropped) {
  std::string errors;
  const std::string written = output_of([&errors] {
    write_to(STDOUT_FILENO, "before ");
    HeldOutput held;
    write_to(STDOUT_FILENO, "dropped");
    write_to(STDERR_FILENO, std::string(5000, 'x') + "\n");
    errors = held.Release();
    write_to(STDOUT_FILENO, "after");
  });
  EXPECT_EQ(written, "before after");
  EXPECT_EQ(errors, std::string(5000, 'x') + "\n");
}

}  // namespace
