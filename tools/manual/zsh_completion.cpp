// SPDX-License-Identifier: MIT
#include <algorithm>

#include "tools/manual/program.h"

namespace orvik::manual {
namespace {

/// A word of the shell that is exactly `text`.
std::string shellWord(const std::string& text) {
  std::string result = "'";
  for (const char letter : text) result += letter == '\'' ? "'\\''" : std::string(1, letter);
  return result + "'";
}

std::string escaped(const std::string& text, const std::string& special) {
  std::string result;
  for (const char letter : text) {
    if (letter == '\\' || special.find(letter) != std::string::npos) result += '\\';
    result += letter;
  }
  return result;
}

/// What a description says first; a list of possibilities has room for no more.
std::string summary(const std::string& text) {
  return text.substr(0, std::min(text.find(". "), text.find("; ")));
}

/// ":message:action" as _arguments takes it.
std::string completion(const CLI::Option& option) {
  const Values values = valuesOf(option);
  std::string message =
      ":" + escaped(option.get_positional() ? option.get_name(true) : option.get_type_name(), ":") +
      ":";
  switch (values.kind) {
    case Values::Kind::kWords:
      return message + "(" + joined(values.words, " ") + ")";
    case Values::Kind::kAssignments:
      return message + "compadd -S '' -- " + joined(values.words, "= ") + "=";
    case Values::Kind::kFile:
      return message + "_files";
    case Values::Kind::kFolder:
      return message + "_files -/";
    case Values::Kind::kFree:
      return message + " ";
  }
  return message;
}

std::string optionSpec(const CLI::Option& option) {
  const std::vector<std::string> names = namesOf(option);
  const bool repeats = option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll &&
                       takesValue(option) && option.get_items_expected_max() > 1;
  const std::string label = "[" + escaped(summary(option.get_description()), "[]") + "]";
  std::string text;
  for (const std::string& name : names) {
    const bool isLong = name.rfind("--", 0) == 0;
    std::string spec = repeats ? "*" : "(" + joined(names, " ") + ")";
    spec += name + (!takesValue(option) ? "" : isLong ? "=" : "+");
    spec += label + (takesValue(option) ? completion(option) : "");
    text += " \\\n    " + shellWord(spec);
  }
  return text;
}

std::string functionName(const CLI::App& command) {
  std::string name = "_" + pathOf(command);
  for (char& letter : name) letter = letter == ' ' ? '_' : letter;
  return name;
}

std::string body(const CLI::App& command) {
  std::string text;
  for (const CLI::Option* option : optionsOf(command)) text += optionSpec(*option);
  for (const CLI::Option* argument : argumentsOf(command)) {
    const bool isList = argument->get_items_expected_max() > 1;
    const std::string place = isList ? "*" : argument->get_required() ? "" : ":";
    text += " \\\n    " + shellWord(place + completion(*argument));
  }
  const auto members = membersOf(command);
  if (members.empty()) return "  _arguments" + text + "\n";
  std::string names;
  std::string branches;
  for (const CLI::App* member : members) {
    names += "\n      " + shellWord(member->get_name() + ":" + summary(member->get_description()));
    branches += "    " + member->get_name() + ") " + functionName(*member) + " ;;\n";
  }
  return "  local curcontext=$curcontext state state_descr line\n"
         "  typeset -A opt_args\n"
         "  _arguments -C" +
         text +
         " \\\n    '1:command:->command' \\\n    '*::argument:->arguments'\n"
         "  case $state in\n"
         "  command)\n"
         "    local -a commands=(" +
         names +
         ")\n"
         "    _describe command commands\n"
         "    ;;\n"
         "  arguments)\n"
         "    case $words[1] in\n" +
         branches +
         "    esac\n"
         "    ;;\n"
         "  esac\n";
}

}  // namespace

std::string zshCompletion(const CLI::App& program) {
  std::string text = "#compdef " + program.get_name() + "\n";
  text += "# Made from the program's own options.\n";
  for (const CLI::App* command : allCommands(program)) {
    text += "\n" + functionName(*command) + "() {\n" + body(*command) + "}\n";
  }
  return text + "\n" + functionName(program) + " \"$@\"\n";
}

}  // namespace orvik::manual
