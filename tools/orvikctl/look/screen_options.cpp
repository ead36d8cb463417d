// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/screen_options.h"

#include <unistd.h>

#include <array>
#include <utility>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

template <typename Value>
using Names = std::array<std::pair<const char*, Value>, 4>;
constexpr Names<PictureMode> kModes = {{{"half", PictureMode::kHalf},
                                        {"blocks", PictureMode::kBlocks},
                                        {"sixel", PictureMode::kSixel},
                                        {"kitty", PictureMode::kKitty}}};
constexpr Names<Colours> kColours = {{{"none", Colours::kNone},
                                      {"16", Colours::k16},
                                      {"256", Colours::k256},
                                      {"true", Colours::kTrue}}};

/// The value with a name; nothing for "auto".
template <typename Value>
std::optional<Value> chosen(const Names<Value>& table, const std::string& name) {
  std::optional<Value> found;
  for (const auto& [word, value] : table) {
    if (name == word) found = value;
  }
  return found;
}

template <typename Value>
auto namesOf(const Names<Value>& table) {
  std::vector<std::string> names = {"auto"};
  for (const auto& [name, value] : table) names.emplace_back(name);
  return unmentioned(CLI::IsMember(names));
}

}  // namespace

void addScreenOptions(CLI::App& app, ScreenOptions& options) {
  const auto* group = "Screen";
  app.add_option("--mode", options.mode,
                 "How pictures are drawn [auto: the best that the terminal is known to show]")
      ->check(namesOf(kModes))
      ->type_name("auto|half|blocks|sixel|kitty")
      ->group(group);
  app.add_option("--colours", options.colours,
                 "How many colours [auto: those of the terminal; none where there is no terminal]")
      ->check(namesOf(kColours))
      ->type_name("auto|none|16|256|true")
      ->group(group);
  app.add_option("--size", options.size,
                 "Room in characters [that of the terminal; 80x24 where there is none]")
      ->type_name("COLSxROWS")
      ->group(group);
}

TerminalSize Screen::size() const {
  TerminalSize now = terminalSize(STDOUT_FILENO);
  if (wanted) {
    now.columns = wanted->columns;
    now.rows = wanted->rows;
  }
  return now;
}

Screen screenOf(const ScreenOptions& options) {
  constexpr int kMostCells = 1000;
  Screen screen;
  screen.isTerminal = isatty(STDOUT_FILENO) == 1;
  if (!options.size.empty()) {
    const auto size = parseRegion(options.size);
    if (!size || size->position || size->width > kMostCells || size->height > kMostCells) {
      throw Failure(ExitCode::kUsage,
                    "--size " + options.size + ": write COLUMNSxROWS, as in 80x24, 1000 at most.");
    }
    screen.wanted = TerminalSize{size->width, size->height};
  }
  TerminalKind kind = screen.isTerminal ? terminalKind() : TerminalKind{};
  const auto mode = chosen(kModes, options.mode);
  const bool isKnown = kind.colours == Colours::kNone || kind.sixel || kind.kitty;
  if (!mode && !isKnown && canAskTerminal()) kind.sixel = askForSixel();
  screen.colours = chosen(kColours, options.colours).value_or(kind.colours);
  if (mode) {
    screen.mode = *mode;
  } else {
    kind.colours = screen.colours;
    screen.mode = bestMode(kind);
  }
  return screen;
}

}  // namespace orvik::ctl
