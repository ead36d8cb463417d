// SPDX-License-Identifier: MIT
#include <map>

#include "tools/manual/program.h"

namespace orvik::manual {
namespace {

std::string shellWord(const std::string& text) { return "'" + text + "'"; }

/// What completes these values, as commands of the shell.
std::string action(const Values& values) {
  switch (values.kind) {
    case Values::Kind::kWords:
      return "words=" + shellWord(joined(values.words, " "));
    case Values::Kind::kAssignments:
      return "words=" + shellWord(joined(values.words, "= ") + "=") + " nospace=1";
    case Values::Kind::kFile:
      return "compopt -o default; return";
    case Values::Kind::kFolder:
      return "compopt -o dirnames; return";
    case Values::Kind::kFree:
      return "return";
  }
  return "";
}

/// The branches that choose by command and option what can follow the option.
std::string valueBranches(const CLI::App& program) {
  std::map<std::string, std::vector<std::string>> patterns;  // by what completes their values
  for (const CLI::App* command : allCommands(program)) {
    for (const CLI::Option* option : optionsOf(*command)) {
      if (!takesValue(*option)) continue;
      for (const std::string& name : namesOf(*option))
        patterns[action(valuesOf(*option))].push_back(shellWord(pathOf(*command) + " " + name));
    }
  }
  std::string text;
  for (const auto& [values, options] : patterns)
    text += "  " + joined(options, " | \\\n    ") + ") " + values + " ;;\n";
  return text;
}

/// The branches that choose by command what can stand where no option waits for a value.
std::string wordBranches(const CLI::App& program) {
  std::string text;
  for (const CLI::App* command : allCommands(program)) {
    std::vector<std::string> options;
    for (const CLI::Option* option : optionsOf(*command)) {
      for (const std::string& name : namesOf(*option)) options.push_back(name);
    }
    std::vector<std::string> members;
    for (const CLI::App* member : membersOf(*command)) members.push_back(member->get_name());
    text += "    " + shellWord(pathOf(*command)) + ")\n";
    text += "      options=" + shellWord(joined(options, " ")) + "\n";
    // Arguments of one command are all of one kind, or free.
    const auto arguments = argumentsOf(*command);
    if (!members.empty()) {
      text += "      words=" + shellWord(joined(members, " ")) + "\n";
    } else if (!arguments.empty() && valuesOf(*arguments.front()).kind != Values::Kind::kFree) {
      text += "      [[ $word == -* ]] || { " + action(valuesOf(*arguments.front())) + "; }\n";
    }
    text += "      ;;\n";
  }
  return text;
}

}  // namespace

std::string bashCompletion(const CLI::App& program) {
  std::vector<std::string> paths;
  for (const CLI::App* command : allCommands(program)) {
    if (command != &program) paths.push_back(shellWord(pathOf(*command)));
  }
  const std::string name = program.get_name();
  const std::string function = "_" + name;
  std::string text = "# Completion of " + name + " in bash, made from the program's own options.\n";
  text += function + "() {\n";
  text +=
      "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}\n"
      "  local command=" +
      name + " options='' words='' nospace='' i\n";
  // Bash divides --option=value into three words.
  text +=
      "  if [[ $word == = ]]; then\n"
      "    word=\n"
      "  elif [[ $before == = ]]; then\n"
      "    before=${COMP_WORDS[COMP_CWORD - 2]}\n"
      "    [[ $before == -* ]] || return\n"
      "  fi\n";
  if (!paths.empty()) {
    text +=
        "  for ((i = 1; i < COMP_CWORD; ++i)); do\n"
        "    case \"$command ${COMP_WORDS[i]}\" in\n"
        "    " +
        joined(paths, " | \\\n      ") +
        ") command+=\" ${COMP_WORDS[i]}\" ;;\n"
        "    esac\n"
        "  done\n";
  }
  text += "  case \"$command $before\" in\n" + valueBranches(program) +
          "  *)\n"
          "    case $command in\n" +
          wordBranches(program) +
          "    esac\n"
          "    [[ -n $words && $word != -* ]] || words=$options\n"
          "    ;;\n"
          "  esac\n"
          "  [[ -z $nospace ]] || compopt -o nospace\n"
          "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
          "}\n"
          "complete -F " +
          function + " " + name + "\n";
  return text;
}

}  // namespace orvik::manual
