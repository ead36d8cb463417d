// SPDX-License-Identifier: MIT
#include "tools/orvikctl/progress.h"

#include <unistd.h>

#include <array>

#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(200);

}  // namespace

std::string progressText(const ProgressState& state) {
  std::string text = std::to_string(state.done);
  if (state.total) text.append("/").append(std::to_string(*state.total));
  text += " frames";
  if (state.rate) {
    std::array<char, 40> rate{};
    std::snprintf(rate.data(), rate.size(), ", %.1f frames/s", *state.rate);
    text += rate.data();
  }
  if (state.lost) text.append(", ").append(std::to_string(*state.lost)).append(" lost");
  if (state.secondsLeft) text.append(", ").append(clockText(*state.secondsLeft)).append(" left");
  return text;
}

ProgressLine::ProgressLine(bool wanted) : visible_(wanted && isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() { wipe(); }

void ProgressLine::show(const std::string& text) {
  const auto now = std::chrono::steady_clock::now();
  if (!visible_ || now < next_) return;
  next_ = now + kInterval;
  lineHasText_ = true;
  std::fprintf(stderr, "\r%s\033[K", text.c_str());
}

void ProgressLine::wipe() {
  if (lineHasText_) std::fputs("\r\033[K", stderr);
  lineHasText_ = false;
}

}  // namespace orvik::ctl
