// SPDX-License-Identifier: MIT
// What the pictures show, as far as that can be checked without knowing what the telescope sees.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/expect.h"
#include "tools/orvikctl/selftest/figures.h"

namespace orvik::ctl::selftest {
namespace {

constexpr std::int32_t kShortUs = 2000;
constexpr std::int32_t kLongerUs = 30000;

/// The mean of the second frame of a video: settings made before it hold for all of it.
double meanNow(const Subject& subject) {
  FrameBuffer frame(subject.format());
  subject.startVideo();
  subject.readFrame(frame);
  subject.readFrame(frame);
  subject.stopVideo();
  return frame.mean();
}

/// The means at the lowest and at the highest value of a control.
std::pair<double, double> meansAtLimits(const Subject& subject, Orvik_CONTROL_TYPE type) {
  const Orvik_CONTROL_CAPS caps = subject.control(type);
  subject.set(type, caps.minValue);
  const double low = meanNow(subject);
  subject.set(type, caps.maxValue);
  return {low, meanNow(subject)};
}

std::string fromTo(double first, double second) {
  return "mean " + figure(first, "to ") + figure(second, "");
}

std::string exposure(Subject& subject) {
  const std::int32_t shortest = subject.setExposure(kShortUs);
  const double dim = meanNow(subject);
  const std::int32_t longer = subject.setExposure(kLongerUs);
  const double bright = meanNow(subject);
  expectThat(bright >= dim - 2,
             "an image of " + std::to_string(longer) + " us at least as bright as one of " +
                 std::to_string(shortest) + " us",
             fromTo(dim, bright));
  return fromTo(dim, bright);
}

std::string gain(Subject& subject) {
  // The black level of a real sensor moves a little with its gain.
  constexpr double kSlack = 6;
  subject.setExposure(kLongerUs);
  const auto [dim, bright] = meansAtLimits(subject, Orvik_CTL_GAIN);
  expectThat(bright >= dim - kSlack, "an image at the highest gain as bright as at the lowest",
             fromTo(dim, bright));
  return fromTo(dim, bright);
}

std::string blackLevel(Subject& subject) {
  const auto [low, high] = meansAtLimits(subject, Orvik_CTL_BRIGHTNESS);
  if (low > 200) throw CheckSkipped("the picture is too bright to tell");
  expectThat(high > low + 1, "a higher mean at the highest black level", fromTo(low, high));
  return fromTo(low, high);
}

std::string depth(Subject& subject) {
  const std::vector<IMG_TYPE> types = imageTypesOf(subject.info());
  if (std::find(types.begin(), types.end(), Orvik_IMG_RAW16) == types.end()) {
    throw CheckSkipped("the camera has 8 bits only");
  }
  subject.set(Orvik_CTL_GAIN, subject.control(Orvik_CTL_GAIN).minValue);
  const double narrow = meanNow(subject);
  subject.setFormat(Subject::small(1, Orvik_IMG_RAW16));
  const double wide = meanNow(subject) / 256;
  expectWithin(narrow - 2 - narrow / 4, narrow + 2 + narrow / 4, wide,
               "mean of 16-bit samples / 256, as against that of 8-bit ones");
  return fromTo(narrow, wide);
}

std::string gamma(Subject& subject) {
  // Black stays black at any gamma: without light, the black level is what there is to see.
  for (const Orvik_CONTROL_CAPS& caps : subject.controls()) {
    if (caps.controlType == Orvik_CTL_BRIGHTNESS) subject.set(caps.controlType, caps.maxValue);
  }
  const auto [low, high] = meansAtLimits(subject, Orvik_CTL_GAMMA);
  if (low < 0.01 && high < 0.01) throw CheckSkipped("the picture is black");
  expectThat(std::abs(high - low) > 0.01, "other means at the lowest and the highest gamma",
             fromTo(low, high));
  return fromTo(low, high);
}

constexpr std::array kChecks = {
    Check{"picture.exposure", "a longer exposure is not darker", exposure},
    Check{"picture.gain", "a higher gain is not darker", gain},
    Check{"picture.black-level", "a higher black level lifts the picture", blackLevel},
    Check{"picture.gamma", "gamma changes the picture", gamma},
    Check{"picture.depth", "8 and 16 bits show the same brightness", depth},
};

}  // namespace

std::span<const Check> pictureChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
