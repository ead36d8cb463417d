// SPDX-License-Identifier: MIT
#include <exception>

#include "tools/orvikctl/command_line.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/report_failure.h"

namespace {

using orvik::ctl::Command;
using orvik::ctl::ExitCode;

int run(int argc, char** argv) {
  CLI::App program;
  const auto commands = orvik::ctl::defineCommandLine(program);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? 0 : static_cast<int>(ExitCode::kUsage);
  }
  for (const Command& command : commands) {
    if (command.options->parsed()) return static_cast<int>(command.run());
  }
  return static_cast<int>(ExitCode::kInternal);
}

}  // namespace

int main(int argc, char** argv) {
  orvik::ctl::catchInterrupts();
  try {
    return run(argc, argv);
  } catch (...) {
    return static_cast<int>(orvik::ctl::reportFailure(std::current_exception()));
  }
}
