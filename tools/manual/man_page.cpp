// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cctype>
#include <map>

#include "tools/manual/program.h"

namespace orvik::manual {
namespace {

/// Text as roff takes it. What stands in backquotes becomes bold.
std::string roff(const std::string& text) {
  std::string result;
  bool isBold = false;
  for (const char letter : text) {
    const bool isControl = result.empty() || result.back() == '\n';
    if (isControl && (letter == '.' || letter == '\'')) result += "\\&";
    if (letter == '\\') {
      result += "\\e";
    } else if (letter == '-') {
      result += "\\-";
    } else if (letter == '`') {
      isBold = !isBold;
      result += isBold ? "\\fB" : "\\fR";
    } else {
      result += letter;
    }
  }
  return result;
}

std::string bold(const std::string& text) { return "\\fB" + roff(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + roff(text) + "\\fR"; }

std::string sentence(const std::string& text) {
  return text.empty() || text.back() == '.' ? text : text + ".";
}

std::string upper(std::string text) {
  for (char& letter : text) letter = static_cast<char>(std::toupper(letter));
  return text;
}

/// A part of a footer, as empty lines divide it: running text, then lines that are kept as they
/// are.
struct Block {
  std::string text{};
  std::string lines{};

  /// Whether the text is a heading of the lines.
  [[nodiscard]] bool isHeaded() const { return !lines.empty() && text.back() == ':'; }
};

std::vector<Block> blocksOf(const std::string& footer) {
  std::istringstream stream(footer);
  std::vector<Block> blocks(1);
  for (std::string line; std::getline(stream, line);) {
    if (line.empty()) {
      blocks.emplace_back();
    } else if (line.front() == ' ') {
      blocks.back().lines += roff(line.substr(line.find_first_not_of(' '))) + "\n";
    } else {
      blocks.back().text += (blocks.back().text.empty() ? "" : "\n") + line;
    }
  }
  return blocks;
}

std::string example(const std::string& lines) {
  return lines.empty() ? "" : ".PP\n.RS 4\n.EX\n" + lines + ".EE\n.RE\n";
}

std::string paragraph(const Block& block) {
  return (block.text.empty() ? "" : ".PP\n" + roff(block.text) + "\n") + example(block.lines);
}

std::string entry(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : namesOf(option)) names.push_back(bold(name));
  std::string text = ".TP\n" + joined(names, ", ");
  if (option.get_positional()) text += italic(option.get_name(true));
  if (takesValue(option) && !option.get_positional()) text += " " + italic(option.get_type_name());
  text += "\n" + roff(sentence(option.get_description()));
  const std::string fallback = option.get_default_str();
  if (!fallback.empty()) text += "\nThe default is " + roff(fallback) + ".";
  return text + "\n";
}

bool isAmong(const std::vector<std::string>& entries, const CLI::Option& option) {
  return std::find(entries.begin(), entries.end(), entry(option)) != entries.end();
}

/// The options of a command without those that are described for all commands.
std::string entries(const CLI::App& command, const std::vector<std::string>& elsewhere) {
  std::string text;
  for (const CLI::Option* argument : argumentsOf(command)) text += entry(*argument);
  for (const std::string& group : command.get_groups()) {
    std::string members;
    for (const CLI::Option* option : optionsOf(command)) {
      if (option->get_group() == group && !isAmong(elsewhere, *option)) members += entry(*option);
    }
    if (!members.empty() && group != "Options") text += ".PP\n" + roff(group) + ":\n";
    text += members;
  }
  return text;
}

std::string usage(const CLI::App& command) {
  std::string text = bold(pathOf(command)) + " [" + italic("OPTIONS") + "]";
  if (!membersOf(command).empty()) text += " " + italic("COMMAND");
  for (const CLI::Option* argument : argumentsOf(command)) {
    const bool isList = argument->get_items_expected_max() > 1;
    const std::string name = italic(argument->get_name(true)) + (isList ? "..." : "");
    text += argument->get_required() ? " " + name : " [" + name + "]";
  }
  return text + "\n";
}

/// Options that most commands have in the same words, in the order of their definition.
std::vector<std::string> commonEntries(const CLI::App& program) {
  std::vector<std::string> order;
  std::map<std::string, int> counts;
  int commands = 0;
  for (const CLI::App* command : allCommands(program)) {
    if (!membersOf(*command).empty()) continue;
    ++commands;
    for (const CLI::Option* option : optionsOf(*command)) {
      if (++counts[entry(*option)] == 1) order.push_back(entry(*option));
    }
  }
  std::erase_if(order, [&](const auto& one) { return 2 * counts[one] <= commands; });
  return commands == 1 ? std::vector<std::string>{} : order;
}

std::string section(const CLI::App& command, const std::vector<std::string>& common) {
  std::string text = ".SS " + pathOf(command) + "\n" + usage(command) + ".PP\n" +
                     roff(sentence(command.get_description())) + "\n" + entries(command, common);
  std::vector<std::string> also;
  for (const CLI::Option* option : optionsOf(command)) {
    if (isAmong(common, *option)) also.push_back(bold(namesOf(*option).back()));
  }
  if (!also.empty()) text += ".PP\nCommon options: " + joined(also, ", ") + ".\n";
  // A command without a footer has its parent's.
  if (command.get_footer() == command.get_parent()->get_footer()) return text;
  for (const Block& block : blocksOf(command.get_footer())) text += paragraph(block);
  return text;
}

}  // namespace

std::string manPage(const CLI::App& program, const std::string& version,
                    const std::vector<std::string>& seeAlso) {
  std::string purpose = program.get_description();
  purpose.front() = static_cast<char>(std::tolower(purpose.front()));
  purpose.pop_back();
  const auto common = commonEntries(program);

  std::string text =
      ".TH " + upper(program.get_name()) + R"( 1 "" "Orvik )" + version + "\" Orvik\n";
  text += ".SH NAME\n" + roff(program.get_name()) + " \\- " + roff(purpose) + "\n";
  text += ".SH SYNOPSIS\n" + usage(program);
  text += ".SH DESCRIPTION\n" + roff(program.get_description()) + "\n";
  std::string sections;
  for (const Block& block : blocksOf(program.get_footer())) {
    if (!block.isHeaded()) {
      text += paragraph(block);
    } else {
      sections += ".SH " + upper(block.text.substr(0, block.text.size() - 1)) + "\n";
      sections += example(block.lines);
    }
  }
  text += ".SH OPTIONS\n" + entries(program, common);
  if (!common.empty()) text += ".SS Options of most commands\n";
  text += joined(common, "");
  if (!membersOf(program).empty()) text += ".SH COMMANDS\n";
  for (const CLI::App* command : allCommands(program)) {
    if (command != &program) text += section(*command, common);
  }
  text += sections + ".SH SEE ALSO\n";
  std::vector<std::string> pages;
  pages.reserve(seeAlso.size());
  for (const std::string& page : seeAlso) pages.push_back(".BR " + roff(page) + " (1)");
  return text + joined(pages, ",\n") + "\n";
}

}  // namespace orvik::manual
