// SPDX-License-Identifier: MIT
#include <exception>
#include <iostream>
#include <string>

#include "imaging/errors.h"
#include "orvik/orvik.hpp"
#include "tools/orvikctl/command_line.h"
#include "tools/orvikctl/exit_code.h"
#include "tools/orvikctl/interrupt.h"

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

int fail(ExitCode code, const std::string& message) {
  std::cerr << "orvikctl: " << message << '\n';
  return static_cast<int>(code);
}

}  // namespace

int main(int argc, char** argv) {
  orvik::ctl::catchInterrupts();
  try {
    return run(argc, argv);
  } catch (const orvik::ctl::Failure& failure) {
    return fail(failure.code(), failure.what());
  } catch (const orvik::Error& error) {
    return fail(orvik::ctl::exitCodeOf(error.orvikCode()), error.what());
  } catch (const orvik::imaging::NameError& error) {
    return fail(ExitCode::kUsage, std::string("--output ") + error.what());
  } catch (const orvik::imaging::FileExists& error) {
    return fail(ExitCode::kFileFailed,
                std::string(error.what()) + " Choose another --output, or add --overwrite.");
  } catch (const orvik::imaging::FileError& error) {
    return fail(ExitCode::kFileFailed, error.what());
  } catch (const std::exception& error) {
    return fail(ExitCode::kInternal, error.what());
  } catch (...) {
    return fail(ExitCode::kInternal, "unknown fault");
  }
}
