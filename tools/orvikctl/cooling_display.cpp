// SPDX-License-Identifier: MIT
#include "tools/orvikctl/cooling_display.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <iostream>

#include "tools/orvikctl/terminal/plot.h"

namespace orvik::ctl {
namespace {

constexpr int kColumns = 64;
constexpr int kRows = 10;

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
  std::array courses{Course{{}, '-'}, Course{{}, '*'}};
  for (const imaging::CoolingSample& sample : samples) {
    courses[0].values.push_back(sample.target);
    courses[1].values.push_back(sample.temperature);
  }
  return plotLines(courses, {.columns = columns, .rows = rows});
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
  std::vector<std::string> lines = coolingPlot(samples_, kColumns, kRows);
  lines.push_back(coolingText(samples_.back()) + "  (* sensor, - target)");
  std::cout << area_.draw(lines) << std::flush;
}

}  // namespace orvik::ctl
