// SPDX-License-Identifier: MIT
#include "tools/orvikctl/look/focus_course.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

constexpr double kPointSeconds = 0.5;
constexpr std::size_t kMostPoints = 1000;

/// "1:05", without what is left of the last second.
std::string momentText(double seconds) { return clockText(std::floor(seconds)); }

}  // namespace

void FocusCourse::add(const FocusSample& sample) {
  last_ = sample;
  if (sample.reading && (!best_ || sample.reading->hfr < best_->reading->hfr)) best_ = sample;
  if (radii_.empty() || sample.seconds >= pointBegin_ + kPointSeconds) {
    pointBegin_ = sample.seconds;
    sum_ = 0;
    count_ = 0;
    const double before =
        bestRadii_.empty() ? std::numeric_limits<double>::quiet_NaN() : bestRadii_.back();
    radii_.push_back(std::numeric_limits<double>::quiet_NaN());
    bestRadii_.push_back(before);
    if (radii_.size() > kMostPoints) {
      radii_.erase(radii_.begin());
      bestRadii_.erase(bestRadii_.begin());
    }
  }
  if (!sample.reading) return;
  sum_ += sample.reading->hfr;
  ++count_;
  radii_.back() = sum_ / count_;
  bestRadii_.back() = best_->reading->hfr;
}

std::string focusText(const FocusCourse& course) {
  const FocusSample& last = course.last();
  std::string text = momentText(last.seconds) + "  ";
  if (last.reading) {
    const StarReading& reading = *last.reading;
    const int percent = static_cast<int>(std::lround(100.0 * reading.brightest.peak / last.depth));
    text += std::to_string(reading.stars) + (reading.stars == 1 ? " star" : " stars") + "  HFR " +
            fixedText(reading.hfr, 2) + "  FWHM " + fixedText(reading.fwhm, 2) + "  peak " +
            std::to_string(reading.brightest.peak) + " (" +
            (reading.brightest.saturated ? "saturated" : std::to_string(percent) + " %") + ")";
  } else {
    text += "no star found: expose longer, or come nearer to the focus";
  }
  if (!course.best()) return text;
  return text + "  best " + fixedText(course.best()->reading->hfr, 2) + " at " +
         momentText(course.best()->seconds);
}

Json focusJson(const FocusCourse& course) {
  const FocusSample& last = course.last();
  Json json = {{"time", last.seconds},
               {"frame", last.frame},
               {"stars", last.reading ? last.reading->stars : 0}};
  const auto put = [&](const char* name, const auto& value) {
    json[name] = last.reading ? Json(value(*last.reading)) : Json();
  };
  put("hfr", [](const StarReading& reading) { return reading.hfr; });
  put("hfrBrightest", [](const StarReading& reading) { return reading.brightest.hfr; });
  put("fwhm", [](const StarReading& reading) { return reading.fwhm; });
  put("peak", [](const StarReading& reading) { return reading.brightest.peak; });
  put("saturated", [](const StarReading& reading) { return reading.brightest.saturated; });
  put("x", [&](const StarReading& reading) { return last.offset.width + reading.brightest.x; });
  put("y", [&](const StarReading& reading) { return last.offset.height + reading.brightest.y; });
  json["best"] = course.best() ? Json(course.best()->reading->hfr) : Json();
  return json;
}

std::string bestText(const FocusCourse& course) {
  if (!course.best()) return "no star was found";
  return "best HFR " + fixedText(course.best()->reading->hfr, 2) + " at " +
         momentText(course.best()->seconds) + ", frame " + std::to_string(course.best()->frame);
}

}  // namespace orvik::ctl
