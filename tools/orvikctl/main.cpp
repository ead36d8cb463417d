// SPDX-License-Identifier: MIT
#include <array>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include "imaging/errors.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/exit_code.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/software.h"

namespace {

using orvik::ctl::Command;
using orvik::ctl::ExitCode;

constexpr const char* kFooter =
    "Results go to standard output; messages and progress to standard error, progress only on a\n"
    "terminal. Files that exist are replaced only with --overwrite; single images appear under\n"
    "their names when they are complete.\n"
    "\n"
    "Examples:\n"
    "  orvikctl list\n"
    "  orvikctl controls --sim T15C\n"
    "  orvikctl snap --exposure 2.5s --gain 200 -o m42.fits\n"
    "  orvikctl video --exposure 5ms --roi 640x480 --duration 90s -o jupiter.ser\n"
    "  orvikctl cool --target -10 --rate 2\n";

std::string footer() {
  std::string text =
      "`orvikctl COMMAND --help` explains the options of a command.\n\nExit codes:\n";
  for (int number = 0; number <= orvik::ctl::kHighestExitCode; ++number) {
    const std::string_view meaning = exitCodeText(ExitCode{number});
    if (meaning.empty()) continue;
    const std::string digits = std::to_string(number);
    text.append("  ").append(digits).append(5 - digits.size(), ' ').append(meaning).append("\n");
  }
  return text + "\n" + kFooter;
}

/// How to ask for the help of the subcommand in use, or of the program.
std::string helpCommand(const CLI::App& program) {
  const auto used = program.get_subcommands();
  if (used.empty()) return "--help";
  return used.front()->get_name() + " " + helpCommand(*used.front());
}

int run(int argc, char** argv) {
  CLI::App program("Finds, sets and records USB astronomical cameras.", "orvikctl");
  program.set_version_flag("--version", orvik::ctl::kSoftware);
  program.require_subcommand(1);
  program.formatter(std::make_shared<orvik::ctl::HelpText>());
  program.failure_message([](const CLI::App* app, const CLI::Error& error) {
    return "orvikctl: " + std::string(error.what()) + "\nRun `orvikctl " + helpCommand(*app) +
           "` for the options.\n";
  });
  program.footer(footer());
  using namespace orvik::ctl;
  const std::array commands = {
      addList(program),  addInfo(program),     addControls(program),  addGet(program),
      addSet(program),   addSnap(program),     addVideo(program),     addGuide(program),
      addDark(program),  addCool(program),     addHotPixels(program), addId(program),
      addFlash(program), addFirmware(program), addSelftest(program),  addDoctor(program)};
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
    std::cerr << "orvikctl: " << error.what() << '\n';
  } catch (...) {
    std::cerr << "orvikctl: unknown fault\n";
  }
  return static_cast<int>(ExitCode::kInternal);
}
