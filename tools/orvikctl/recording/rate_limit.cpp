// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/rate_limit.h"

#include <algorithm>
#include <system_error>

#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

double rateOf(const Camera& camera) {
  std::error_code error;
  return camera.readout(error).frameRate;
}

/// The rate with another value of a control, which then gets its own again.
double rateWith(Camera& camera, Orvik_CONTROL_TYPE type, int value, ControlValue present) {
  std::error_code error;
  camera.write(type, {value, false}, error);
  const double rate = error ? 0 : rateOf(camera);
  camera.write(type, present, error);
  return rate;
}

bool isFaster(std::optional<double> other, double rate) { return other && *other > 1.01 * rate; }

std::string rateText(double rate) { return fixedText(rate, 1) + " frames/s"; }

std::string bandwidthText(const RateFacts& facts) {
  std::string text = "the USB bandwidth limits the rate to " + rateText(facts.rate);
  if (isFaster(facts.atFullBandwidth, facts.rate)) {
    text += ": --bandwidth " + std::to_string(facts.fullBandwidth) + " gives up to " +
            rateText(*facts.atFullBandwidth) + ", if the connection carries it";
  }
  if (facts.isSlowPort) return text + "; a USB 3 port carries more";
  return text + "; a smaller --roi or --type raw8 is faster";
}

}  // namespace

std::optional<RateFacts> rateFactsOf(Camera& camera) {
  constexpr int kLowerPercent = 90;  // of the present bandwidth
  RateFacts facts;
  std::error_code error;
  const auto exposure = camera.get(control::kExposure, error);
  facts.rate = rateOf(camera);
  if (error || facts.rate <= 0) return std::nullopt;
  facts.exposureSeconds = std::chrono::duration<double>(exposure).count();
  facts.isSlowPort = camera.info().usb3Camera == Orvik_TRUE && camera.info().usb3Host != Orvik_TRUE;

  const Control* const control = camera.control(Orvik_CTL_BANDWIDTH);
  const auto bandwidth = valueIfAny(camera, Orvik_CTL_BANDWIDTH);
  if (control != nullptr && bandwidth) {
    facts.fullBandwidth = control->max();
    facts.isBandwidthAutomatic = bandwidth->isAuto;
    const auto with = [&](int percent) {
      return rateWith(camera, Orvik_CTL_BANDWIDTH, percent, *bandwidth);
    };
    if (bandwidth->value < control->max()) facts.atFullBandwidth = with(control->max());
    const int lower = bandwidth->value * kLowerPercent / 100;
    if (lower >= control->min()) facts.atLowerBandwidth = with(lower);
  }
  const auto highSpeed = valueIfAny(camera, Orvik_CTL_HIGH_SPEED_MODE);
  if (highSpeed && highSpeed->value == 0) {
    facts.atHighSpeed = rateWith(camera, Orvik_CTL_HIGH_SPEED_MODE, 1, *highSpeed);
  }
  return facts;
}

std::optional<RateLimit> rateLimitOf(const RateFacts& facts) {
  constexpr double kHostTimed = 1;  // s, from which on exposure and read-out take turns
  if (facts.rate <= 0) return std::nullopt;
  const double share = facts.rate * facts.exposureSeconds;
  if (share > 0.98 || facts.exposureSeconds >= kHostTimed) {
    return RateLimit{RateLimit::Cause::kExposure, facts.rate,
                     "the exposure limits the rate to " + rateText(facts.rate)};
  }
  const bool isSlowerWithLess =
      facts.atLowerBandwidth && *facts.atLowerBandwidth < 0.99 * facts.rate;
  if (isFaster(facts.atFullBandwidth, facts.rate) || isSlowerWithLess) {
    return RateLimit{RateLimit::Cause::kBandwidth, facts.rate, bandwidthText(facts)};
  }
  std::string text = "the read-out of the sensor limits the rate to " + rateText(facts.rate) +
                     ": fewer rows in --roi are faster";
  if (isFaster(facts.atHighSpeed, facts.rate)) {
    text += ", and so is --high-speed on, with up to " + rateText(*facts.atHighSpeed);
  }
  return RateLimit{RateLimit::Cause::kReadout, facts.rate, text};
}

const char* nameOf(RateLimit::Cause cause) {
  switch (cause) {
    case RateLimit::Cause::kExposure:
      return "exposure";
    case RateLimit::Cause::kBandwidth:
      return "bandwidth";
    case RateLimit::Cause::kReadout:
      break;
  }
  return "readout";
}

}  // namespace orvik::ctl
