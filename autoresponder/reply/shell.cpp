#include "autoresponder/reply/shell.h"

#include <cstdlib>

#include "support/base/diagnose.h"

ShellCommand& ShellCommand::Text(std::string_view text) {
  line_ += text;
  return *this;
}

ShellCommand& ShellCommand::Quoted(std::initializer_list<std::string_view> values) {
  line_ += '\'';
  for (const std::string_view value : values) {
    const bool escapes = value.find('\'') != std::string_view::npos;
    if (escapes && !escaping_value_) escaping_value_ = value;
    line_ += value;
  }
  line_ += '\'';
  return *this;
}

namespace {

void run(const std::string& line) {
  [[maybe_unused]] const int status = system(line.c_str());
}

}  // namespace

ShellOutcome hand_to_shell(const ShellCommand& command, ShellUse use, const WriterLimits& limits) {
  if (const auto& value = command.escaping_value()) {
    diagnose({"autoresponder: refused to run a command with a quote in: ", *value});
    return {true, nullptr};
  }
  const std::string& line = command.line();
  switch (use) {
    case ShellUse::kRun:
      run(line);
      break;
    case ShellUse::kWriteFile:
      if (!run_file_writer([&line] { run(line); }, limits)) {
        diagnose({"autoresponder: ended a command that took too long: ", line});
      }
      break;
    case ShellUse::kReadFromUs:
      return {false, popen(line.c_str(), "w")};
  }
  return {};
}
