// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/exposure_search.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace orvik::ctl {
namespace {

constexpr double kTolerance = 0.05;
constexpr double kFollowTolerance = 0.10;
constexpr double kSaturated = 0.92;    // a level from which the response may not be linear
constexpr double kLeastSignal = 0.01;  // below it noise and rounding decide
constexpr double kClearSignal = 0.05;  // from here on a prediction is as good as a trial
constexpr double kGrowth = 8;
constexpr int kMostTrials = 12;
constexpr std::chrono::microseconds kFirstStep{1000};

}  // namespace

ExposureSearch::ExposureSearch(double wanted, Limits limits)
    : wanted_(wanted), limits_(limits), exposure_(limits.shortest) {}

ExposureSearch::State ExposureSearch::tell(double level) {
  if (++trials_ > kMostTrials) return State::kUnsteady;
  return judge(level, kTolerance);
}

ExposureSearch::State ExposureSearch::follow(double level) {
  tooBright_.reset();
  const State state = judge(level, kFollowTolerance);
  return state == State::kSearching ? State::kFound : state;
}

ExposureSearch::State ExposureSearch::judge(double level, double tolerance) {
  const bool isFirst = !black_;
  if (isFirst) black_ = Point{exposure_, level};
  if (std::abs(level / wanted_ - 1) <= tolerance) return State::kFound;
  if (level > wanted_ && exposure_ <= limits_.shortest) return State::kTooBright;
  if (level < wanted_ && exposure_ >= limits_.longest) return State::kTooDark;
  if (!isFirst) return step(level);
  moveTo(static_cast<double>(std::max(4 * limits_.shortest, kFirstStep).count()));
  return State::kSearching;
}

ExposureSearch::State ExposureSearch::step(double level) {
  const auto now = static_cast<double>(exposure_.count());
  const auto base = static_cast<double>(black_->exposure.count());
  if (level >= kSaturated) {
    tooBright_ = std::min(tooBright_.value_or(exposure_), exposure_);
    moveTo(std::max(now / kGrowth, std::sqrt(base * now)));
    return State::kSearching;
  }
  const double signal = level - black_->level;
  double next = now * kGrowth;
  if (signal >= kLeastSignal && now > base) {
    next = base + (now - base) * (wanted_ - black_->level) / signal;
    const double longest = (1 + kTolerance) * static_cast<double>(limits_.longest.count());
    if (signal >= kClearSignal && next > longest) return State::kTooDark;
  }
  // Where an exposure was saturated before, a longer one does not help.
  if (tooBright_ && next >= static_cast<double>(tooBright_->count())) {
    next = std::sqrt(now * static_cast<double>(tooBright_->count()));
  }
  moveTo(next);
  return State::kSearching;
}

void ExposureSearch::moveTo(double microseconds) {
  exposure_ =
      Exposure(std::llround(std::clamp(microseconds, static_cast<double>(limits_.shortest.count()),
                                       static_cast<double>(limits_.longest.count()))));
}

std::optional<double> parseLevel(const std::string& text) {
  constexpr double kLeast = 0.05;
  constexpr double kMost = 0.9;
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  const std::string unit(stop, end);
  if (error != std::errc{} || (!unit.empty() && unit != "%")) return std::nullopt;
  const double level = unit.empty() ? number / 65535 : number / 100;
  if (!(level >= kLeast && level <= kMost)) return std::nullopt;
  return level;
}

}  // namespace orvik::ctl
