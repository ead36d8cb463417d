// SPDX-License-Identifier: MIT
#include "tools/orvikctl/terminal/terminal.h"

#include <chafa.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <sstream>

namespace orvik::ctl {
namespace {

constexpr auto kAnswerLimit = std::chrono::milliseconds(300);
constexpr std::array kEndingSignals = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP};

struct Unref {
  void operator()(ChafaTermInfo* info) const { chafa_term_info_unref(info); }
};

std::string valueOf(const std::vector<std::string>& environment, const std::string& name) {
  for (const std::string& variable : environment) {
    if (variable.starts_with(name + "=")) return variable.substr(name.size() + 1);
  }
  return "";
}

// For the handler, which may use nothing else.
termios g_before{};
std::array<struct sigaction, kEndingSignals.size()> g_actions{};

void restore() {
  tcsetattr(STDIN_FILENO, TCSANOW, &g_before);
  for (std::size_t i = 0; i < kEndingSignals.size(); ++i) {
    sigaction(kEndingSignals[i], &g_actions[i], nullptr);
  }
}

/// Restores the terminal, then lets the signal do what it did before.
extern "C" void onSignalWhileAsking(int signal) {
  restore();
  raise(signal);
}

/// A terminal that delivers each byte at once and echoes none.
class PlainInput {
 public:
  PlainInput() {
    isActive_ = tcgetattr(STDIN_FILENO, &g_before) == 0;
    if (!isActive_) return;
    struct sigaction action = {};
    action.sa_handler = onSignalWhileAsking;
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i) {
      sigaction(kEndingSignals[i], &action, &g_actions[i]);
    }
    termios plain = g_before;
    plain.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    plain.c_cc[VMIN] = 0;
    plain.c_cc[VTIME] = 0;
    isActive_ = tcsetattr(STDIN_FILENO, TCSANOW, &plain) == 0;
    if (!isActive_) restore();
  }
  ~PlainInput() {
    if (isActive_) restore();
  }
  PlainInput(const PlainInput&) = delete;
  PlainInput& operator=(const PlainInput&) = delete;

  [[nodiscard]] bool isActive() const { return isActive_; }

 private:
  bool isActive_ = false;
};

/// What the terminal answers, up to the letter that ends it.
std::string readAnswer() {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + kAnswerLimit;
  std::string answer;
  for (auto left = kAnswerLimit; left.count() > 0;
       left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now())) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, static_cast<int>(left.count())) <= 0) continue;
    char letter = 0;
    if (read(STDIN_FILENO, &letter, 1) != 1) break;
    answer += letter;
    if (letter == 'c') break;
  }
  return answer;
}

}  // namespace

TerminalKind terminalKind(const std::vector<std::string>& environment) {
  const std::string name = valueOf(environment, "TERM");
  if (name.empty() || name == "dumb") return {};
  std::vector<std::string> copy = environment;
  std::vector<gchar*> variables(copy.size() + 1);  // the last one is null
  std::ranges::transform(copy, variables.begin(),
                         [](std::string& variable) { return variable.data(); });
  const std::unique_ptr<ChafaTermInfo, Unref> info(
      chafa_term_db_detect(chafa_term_db_get_default(), variables.data()));
  const auto has = [&](ChafaTermSeq sequence) {
    return chafa_term_info_have_seq(info.get(), sequence) != 0;
  };
  TerminalKind kind;
  const std::string depth = valueOf(environment, "COLORTERM");
  // The common name says nothing of true colour.
  const bool isTrue = depth == "truecolor" || depth == "24bit" ||
                      (has(CHAFA_TERM_SEQ_SET_COLOR_FGBG_DIRECT) && name != "xterm-256color");
  if (!valueOf(environment, "NO_COLOR").empty()) {
    kind.colours = Colours::kNone;
  } else if (isTrue) {
    kind.colours = Colours::kTrue;
  } else {
    kind.colours = has(CHAFA_TERM_SEQ_SET_COLOR_FGBG_256) && name.find("256") != std::string::npos
                       ? Colours::k256
                       : Colours::k16;
  }
  // A multiplexer passes the variables of the terminal on, but not its graphics.
  const bool isMultiplexed = name.starts_with("tmux") || name.starts_with("screen");
  kind.sixel = has(CHAFA_TERM_SEQ_BEGIN_SIXELS) && !isMultiplexed;
  kind.kitty = !isMultiplexed && (has(CHAFA_TERM_SEQ_BEGIN_KITTY_IMMEDIATE_IMAGE_V1) ||
                                  !valueOf(environment, "KITTY_WINDOW_ID").empty());
  return kind;
}

TerminalKind terminalKind() {
  std::vector<std::string> environment;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    environment.emplace_back(*variable);
  }
  return terminalKind(environment);
}

TerminalSize terminalSize(int descriptor) {
  TerminalSize size;
  winsize window{};
  if (ioctl(descriptor, TIOCGWINSZ, &window) != 0) return size;
  if (window.ws_col > 0 && window.ws_row > 0) {
    size.columns = window.ws_col;
    size.rows = window.ws_row;
    if (window.ws_xpixel >= window.ws_col && window.ws_ypixel >= window.ws_row) {
      size.cellWidth = window.ws_xpixel / window.ws_col;
      size.cellHeight = window.ws_ypixel / window.ws_row;
    }
  }
  return size;
}

bool canAskTerminal() {
  if (isatty(STDIN_FILENO) != 1 || isatty(STDOUT_FILENO) != 1) return false;
  const pid_t foreground = tcgetpgrp(STDIN_FILENO);  // -1 for another session's terminal
  return foreground == -1 || foreground == getpgrp();
}

bool askForSixel() {
  const PlainInput input;
  if (!input.isActive()) return false;
  constexpr std::string_view kRequest = "\033[c";
  if (write(STDOUT_FILENO, kRequest.data(), kRequest.size()) !=
      static_cast<ssize_t>(kRequest.size())) {
    return false;
  }
  const std::string answer = readAnswer();
  tcflush(STDIN_FILENO, TCIFLUSH);
  return namesSixel(answer);
}

bool namesSixel(const std::string& answer) {
  const std::size_t begin = answer.find("\033[?");
  if (begin == std::string::npos || !answer.ends_with('c')) return false;
  std::istringstream numbers(answer.substr(begin + 3, answer.size() - begin - 4));
  for (std::string number; std::getline(numbers, number, ';');) {
    if (number == "4") return true;
  }
  return false;
}

}  // namespace orvik::ctl
