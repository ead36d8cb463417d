// SPDX-License-Identifier: MIT
#include "tools/manual/program.h"

#include <regex>

#include "controls/control_table.h"
#include "orvik/orvik_sim.h"
#include "tools/orvikctl/selftest/check.h"

namespace orvik::manual {
namespace {

std::vector<std::string> modelNames() {
  std::vector<std::string> names;
  for (int n = 0; const char* name = OrvikSimModel(n); ++n) names.emplace_back(name);
  return names;
}

/// A space would divide a name into two words; `orvikctl` takes a dash for it.
std::vector<std::string> controlNames() {
  std::vector<std::string> names;
  for (int n = 0; isControlType(n); ++n) {
    Orvik_CONTROL_CAPS caps{};
    describeControl(ModelRow{}, Orvik_CONTROL_TYPE{n}, caps);
    names.push_back(std::regex_replace(std::string(caps.name), std::regex(" "), "-"));
  }
  return names;
}

std::vector<std::string> checkNames() {
  std::vector<std::string> names;
  for (const ctl::selftest::Check& check : ctl::selftest::allChecks())
    names.emplace_back(check.name);
  return names;
}

std::vector<std::string> split(const std::string& text, char separator) {
  std::istringstream stream(text);
  std::vector<std::string> parts;
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

}  // namespace

Values valuesOf(const CLI::Option& option) {
  using Kind = Values::Kind;
  static const std::regex kChoice("[a-z0-9]+(\\|[a-z0-9]+)+");
  const std::string type = option.get_type_name();
  if (std::regex_match(type, kChoice)) return {Kind::kWords, split(type, '|')};
  if (type.rfind("FILE", 0) == 0 || type == "PATTERN") return {Kind::kFile};
  if (type == "FOLDER") return {Kind::kFolder};
  if (type == "MODEL[,OPTIONS]") return {Kind::kWords, modelNames()};
  if (type == "CHECK") return {Kind::kWords, checkNames()};
  if (type == "NAME") return {Kind::kWords, controlNames()};
  if (type.rfind("NAME=", 0) == 0) return {Kind::kAssignments, controlNames()};
  return {};
}

bool takesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

std::vector<const CLI::Option*> optionsOf(const CLI::App& command) {
  return command.get_options([](const CLI::Option* option) { return !option->get_positional(); });
}

std::vector<const CLI::Option*> argumentsOf(const CLI::App& command) {
  return command.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

std::vector<const CLI::App*> membersOf(const CLI::App& command) {
  return command.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<std::string> namesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

std::string pathOf(const CLI::App& command) {
  const CLI::App* parent = command.get_parent();
  return (parent == nullptr ? "" : pathOf(*parent) + " ") + command.get_name();
}

std::vector<const CLI::App*> allCommands(const CLI::App& program) {
  std::vector<const CLI::App*> all = {&program};
  for (const CLI::App* member : membersOf(program)) {
    const auto below = allCommands(*member);
    all.insert(all.end(), below.begin(), below.end());
  }
  return all;
}

std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : separator) + part;
  return text;
}

}  // namespace orvik::manual
