// SPDX-License-Identifier: MIT
#include "tools/orvikctl/cooling_display.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <span>

namespace orvik::ctl {
namespace {

constexpr int kColumns = 64;
constexpr int kRows = 10;

struct Range {
  double low;
  double high;
};

/// The temperatures to be drawn, a degree apart at least.
Range rangeOf(std::span<const imaging::CoolingSample> samples) {
  Range range{samples.front().temperature, samples.front().temperature};
  for (const imaging::CoolingSample& sample : samples) {
    range.low = std::min({range.low, sample.temperature, double(sample.target)});
    range.high = std::max({range.high, sample.temperature, double(sample.target)});
  }
  range.high = std::max(range.high, range.low + 1);
  return range;
}

}  // namespace

std::string faultText(Orvik_COOLER_FAULT fault) {
  switch (fault) {
    case Orvik_COOLER_NO_READING:
      return "the thermistor does not answer";
    case Orvik_COOLER_OUT_OF_RANGE:
      return "the thermistor shows no temperature from -20 to 113 degC";
    case Orvik_COOLER_NO_FAULT:
      break;
  }
  return "";
}

void CoolerFaultNotes::note(Orvik_COOLER_FAULT fault) {
  if (fault == fault_) return;
  fault_ = fault;
  if (fault == Orvik_COOLER_NO_FAULT) {
    std::cerr << "the temperature can be read again: cooling goes on\n";
  } else {
    std::cerr << "no cooling: " << faultText(fault) << "; the power has been taken away\n";
  }
}

std::string coolingText(const imaging::CoolingSample& sample) {
  const auto seconds = static_cast<long>(sample.seconds);
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), "%ld:%02ld  %.1f degC  target %d degC  power %d %%",
                seconds / 60, seconds % 60, sample.temperature, sample.target, sample.power);
  if (sample.fault == Orvik_COOLER_NO_FAULT) return text.data();
  return std::string(text.data()) + "  power taken away: " + faultText(sample.fault);
}

std::vector<std::string> coolingPlot(const std::deque<imaging::CoolingSample>& samples, int columns,
                                     int rows) {
  if (samples.empty()) return {};
  const auto count = std::min(std::ssize(samples), static_cast<std::ptrdiff_t>(columns));
  const std::vector<imaging::CoolingSample> shown(samples.end() - count, samples.end());
  const Range range = rangeOf(shown);
  const double step = rows > 1 ? (range.high - range.low) / (rows - 1) : 1;
  std::vector<std::string> lines;
  for (int row = 0; row < rows; ++row) {
    std::array<char, 32> label{};
    std::snprintf(label.data(), label.size(), "%6.1f |", range.high - row * step);
    lines.push_back(label.data() + std::string(static_cast<std::size_t>(columns), ' '));
  }
  const std::size_t labelWidth = lines.front().size() - static_cast<std::size_t>(columns);
  const auto put = [&](std::size_t column, double value, char mark) {
    const auto row = static_cast<std::size_t>(std::lround((range.high - value) / step));
    if (row < lines.size()) lines[row][labelWidth + column] = mark;
  };
  std::size_t column = static_cast<std::size_t>(columns) - shown.size();
  for (const imaging::CoolingSample& sample : shown) {
    put(column, sample.target, '-');
    put(column, sample.temperature, '*');
    ++column;
  }
  return lines;
}

CoolingDisplay::CoolingDisplay(bool silent, double every)
    : silent_(silent), terminal_(isatty(STDOUT_FILENO) == 1), every_(every) {}

void CoolingDisplay::show(const imaging::CoolingSample& sample) {
  if (silent_) return;
  if (terminal_) {
    samples_.push_back(sample);
    if (samples_.size() > kColumns) samples_.pop_front();
    draw();
  } else if (sample.seconds >= next_) {
    std::cout << coolingText(sample) << '\n' << std::flush;
    next_ = sample.seconds + every_;
  }
}

void CoolingDisplay::draw() {
  std::string text;
  if (drawnLines_ > 0) text.append("\033[").append(std::to_string(drawnLines_)).append("A");
  const std::vector<std::string> plot = coolingPlot(samples_, kColumns, kRows);
  for (const std::string& line : plot) text.append("\r").append(line).append("\033[K\n");
  text.append("\r").append(coolingText(samples_.back()));
  text.append("  (* sensor, - target)\033[K\n");
  drawnLines_ = plot.size() + 1;
  std::cout << text << std::flush;
}

}  // namespace orvik::ctl
