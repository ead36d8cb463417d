// SPDX-License-Identifier: MIT
// What the pictures show, as far as it can be told without knowing what the telescope looks at.
#include <algorithm>
#include <array>
#include <cmath>

#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/expect.h"
#include "tools/orvikctl/selftest/figures.h"

namespace orvik::ctl::selftest {
namespace {

constexpr int32_t kShortUs = 2000;
constexpr int32_t kLongerUs = 30000;

/** The mean of the second frame of a video: settings made before it hold for all of it. */
double meanNow(const Subject& subject) {
  FrameBuffer frame(subject.format());
  subject.startVideo();
  subject.readFrame(frame);
  subject.readFrame(frame);
  subject.stopVideo();
  return frame.mean();
}

std::string fromTo(double first, double second) {
  return "mean " + figure(first, "to ") + figure(second, "");
}

std::string exposure(Subject& subject) {
  const int32_t shortest = subject.setExposure(kShortUs);
  const double dim = meanNow(subject);
  const int32_t longer = subject.setExposure(kLongerUs);
  const double bright = meanNow(subject);
  expectThat(bright >= dim - 2,
             "an image of " + std::to_string(longer) + " us at least as bright as one of " +
                 std::to_string(shortest) + " us",
             fromTo(dim, bright));
  return fromTo(dim, bright);
}

std::string gain(Subject& subject) {
  const Orvik_CONTROL_CAPS caps = subject.control(Orvik_CTL_GAIN);
  // The black level of a real sensor moves a little with its gain.
  constexpr double kSlack = 6;
  subject.setExposure(kLongerUs);
  subject.set(Orvik_CTL_GAIN, caps.minValue);
  const double dim = meanNow(subject);
  subject.set(Orvik_CTL_GAIN, caps.maxValue);
  const double bright = meanNow(subject);
  expectThat(bright >= dim - kSlack, "an image at the highest gain as bright as at the lowest",
             fromTo(dim, bright));
  return fromTo(dim, bright);
}

std::string blackLevel(Subject& subject) {
  const Orvik_CONTROL_CAPS caps = subject.control(Orvik_CTL_BRIGHTNESS);
  subject.set(Orvik_CTL_BRIGHTNESS, caps.minValue);
  const double low = meanNow(subject);
  subject.set(Orvik_CTL_BRIGHTNESS, caps.maxValue);
  const double high = meanNow(subject);
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
  const Orvik_CONTROL_CAPS caps = subject.control(Orvik_CTL_GAMMA);
  subject.set(Orvik_CTL_GAMMA, caps.minValue);
  const double low = meanNow(subject);
  subject.set(Orvik_CTL_GAMMA, caps.maxValue);
  const double high = meanNow(subject);
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
