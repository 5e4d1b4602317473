#include "autoresponder/shell.h"

#include <cstdlib>
#include <iostream>

#include "autoresponder/termination.h"

ShellCommand& ShellCommand::Text(std::string_view text) {
  line_ += text;
  return *this;
}

ShellCommand& ShellCommand::Value(std::string_view value) {
  if (!escaping_value_ && value.find('\'') != std::string_view::npos) escaping_value_ = value;
  return Text(value);
}

ShellCommand& ShellCommand::Append(const ShellCommand& command) {
  if (!escaping_value_) escaping_value_ = command.escaping_value_;
  return Text(command.line_);
}

ShellOutcome hand_to_shell(const ShellCommand& command, ShellUse use) {
  if (const auto& value = command.escaping_value()) {
    std::cerr << "autoresponder: refused to run a command with a quote in: " << *value << std::endl;
    return {true, nullptr};
  }
  const char* const line = command.line().c_str();
  switch (use) {
    case ShellUse::kRun: {
      [[maybe_unused]] const int status = system(line);
      break;
    }
    case ShellUse::kWriteFile:
      run_file_writer(command.line());
      break;
    case ShellUse::kReadFromUs:
      return {false, popen(line, "w")};
  }
  return {};
}
