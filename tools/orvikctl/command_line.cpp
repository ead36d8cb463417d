// SPDX-License-Identifier: MIT
#include "tools/orvikctl/command_line.h"

#include <memory>
#include <string>
#include <string_view>

#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/software.h"

namespace orvik::ctl {
namespace {

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
  for (int number = 0; number <= kHighestExitCode; ++number) {
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

}  // namespace

std::vector<Command> defineCommandLine(CLI::App& program) {
  program.name("orvikctl");
  program.description("Finds, sets and records USB astronomical cameras.");
  program.set_version_flag("--version", kSoftware);
  program.require_subcommand(1);
  program.formatter(std::make_shared<HelpText>());
  program.failure_message([](const CLI::App* app, const CLI::Error& error) {
    return "orvikctl: " + std::string(error.what()) + "\nRun `orvikctl " + helpCommand(*app) +
           "` for the options.\n";
  });
  program.footer(footer());
  return {addList(program),  addInfo(program),     addControls(program),  addGet(program),
          addSet(program),   addSettings(program), addSnap(program),      addSequence(program),
          addVideo(program), addFocus(program),    addView(program),      addGuide(program),
          addDark(program),  addCool(program),     addHotPixels(program), addId(program),
          addFlash(program), addFirmware(program), addSelftest(program),  addDoctor(program)};
}

}  // namespace orvik::ctl
