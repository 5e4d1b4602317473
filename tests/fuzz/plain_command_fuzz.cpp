// Compares what a command gets that is started without a shell with what the real shell gives it.
//
// An input is what follows the program in the command line. Its bytes are mapped to an alphabet
// that holds what a shell may read, but no name of a command and no ">". There is a file "a" to
// read.

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "../recorded_command.h"
#include "autoresponder/reply/direct_run.h"
#include "fuzz.h"

namespace {

constexpr std::string_view kAlphabet =
    "aab2/'''' \t  <=-\n#~\"\\$;&|*?()[]{}!%@:,._+\x81\xC3\xBC\r";

char letter(char byte) {
  const bool is_known = kAlphabet.find(byte) != std::string_view::npos;
  return is_known ? byte : kAlphabet[static_cast<unsigned char>(byte) % kAlphabet.size()];
}

// A working directory with the file.
class Directory {
 public:
  Directory() : path_(std::filesystem::temp_directory_path() / "plain-command-fuzz") {
    std::filesystem::create_directory(path_);
    std::filesystem::current_path(path_);
    std::ofstream("a") << "input\n";
  }

 private:
  std::filesystem::path path_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Directory directory;
  std::string line = COMMAND_RECORDER " ";
  for (size_t i = 0; i < size && i < 60; ++i) line += letter(static_cast<char>(data[i]));
  auto command = plain_command(line);
  if (!command) return 0;
  bool was_started = false;
  const std::string output = output_of([&] { was_started = run_directly(std::move(*command)); });
  if (!was_started) return 0;  // its input does not exist
  require(output == output_of_shell(line), "a command gets the same without a shell");
  return 0;
}
