// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace orvik::ctl {

/// How many colours text can have.
enum class Colours { kNone, k16, k256, kTrue };

/// What a terminal can show.
struct TerminalKind {
  Colours colours = Colours::kNone;
  bool sixel = false;
  bool kitty = false;
};

/// What the variables of an environment tell of the terminal, each as "NAME=VALUE".
TerminalKind terminalKind(const std::vector<std::string>& environment);

/// The same of this process.
TerminalKind terminalKind();

/// Size of a terminal in cells, and of a cell in pixels.
struct TerminalSize {
  int columns = 80;
  int rows = 24;
  int cellWidth = 10;
  int cellHeight = 20;
};

/// The size of the terminal behind a descriptor; the defaults for what it does not tell.
TerminalSize terminalSize(int descriptor);

/// Whether standard input and output are a terminal that can be asked: in the background a program
/// would be stopped by its attempt.
bool canAskTerminal();

/// Asks the terminal whether it draws sixel graphics (primary device attributes), and waits 300 ms
/// for the answer at most. The terminal's settings are restored in any case, also if a signal ends
/// or stops the program meanwhile. One thread at a time.
bool askForSixel();

/// Whether an answer to the request for primary device attributes names sixel graphics (4), as in
/// "\033[?62;4;22c".
bool namesSixel(const std::string& answer);

}  // namespace orvik::ctl
