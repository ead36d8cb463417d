// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace orvik::manual {

/// What can stand for a value on the command line, as far as it is known beforehand.
struct Values {
  enum class Kind { kFree, kWords, kAssignments, kFile, kFolder };

  Kind kind = Kind::kFree;
  std::vector<std::string> words{};  ///< of kWords, and the names of kAssignments (NAME=VALUE)
};

/// The values of an option or of an argument; its type name tells them.
Values valuesOf(const CLI::Option& option);

/// Whether an option takes a value.
bool takesValue(const CLI::Option& option);

/// All options of a command, or only its arguments, in the order of their definition.
std::vector<const CLI::Option*> optionsOf(const CLI::App& command);
std::vector<const CLI::Option*> argumentsOf(const CLI::App& command);

/// The subcommands of a command, in the order of their definition.
std::vector<const CLI::App*> membersOf(const CLI::App& command);

/// All names of an option with their dashes, the short ones first.
std::vector<std::string> namesOf(const CLI::Option& option);

/// The words that lead to a command, as in "orvikctl dark record".
std::string pathOf(const CLI::App& command);

/// A command with all below it, each before its subcommands.
std::vector<const CLI::App*> allCommands(const CLI::App& program);

std::string joined(const std::vector<std::string>& parts, const std::string& separator);

// The three files of a program.
std::string manPage(const CLI::App& program, const std::string& version,
                    const std::vector<std::string>& seeAlso);
std::string bashCompletion(const CLI::App& program);
std::string zshCompletion(const CLI::App& program);

}  // namespace orvik::manual
