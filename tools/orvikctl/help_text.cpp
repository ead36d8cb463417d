// SPDX-License-Identifier: MIT
#include "tools/orvikctl/help_text.h"

#include <sstream>

namespace orvik::ctl {
namespace {

constexpr std::size_t kLineWidth = 96;
constexpr std::size_t kDescriptionColumn = 26;

/// The words of `text` in lines that begin at the column of descriptions.
std::string wrapped(const std::string& text, std::size_t column) {
  std::string result;
  const auto breakLine = [&] {
    result += "\n" + std::string(kDescriptionColumn, ' ');
    column = kDescriptionColumn;
  };
  if (column >= kDescriptionColumn) {
    breakLine();
  } else {
    result.append(kDescriptionColumn - column, ' ');
    column = kDescriptionColumn;
  }
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (column > kDescriptionColumn && column + 1 + word.size() > kLineWidth) breakLine();
    if (column > kDescriptionColumn) {
      result += ' ';
      ++column;
    }
    result += word;
    column += word.size();
  }
  return result;
}

}  // namespace

std::string HelpText::make_option(const CLI::Option* option, bool isPositional) const {
  const std::string name = "  " + make_option_name(option, isPositional) + make_option_opts(option);
  return name + wrapped(make_option_desc(option), name.size()) + "\n";
}

std::string HelpText::make_option_opts(const CLI::Option* option) const {
  const std::string type = option->get_type_name();
  return type.empty() ? "" : " " + type;
}

}  // namespace orvik::ctl
