// SPDX-License-Identifier: MIT
// What is known of a camera at a moment. All who show it see the same.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "imaging/region.h"
#include "orvik/orvik.hpp"

namespace orvik::server {

enum class Link {
  kAbsent,   ///< unplugged
  kClosed,   ///< plugged in; nobody uses it
  kOpening,  ///< is being opened
  kOpen,
};

/// What the camera is taking images for.
enum class Activity {
  kNone,
  kLive,     ///< video for those who watch
  kCapture,  ///< somebody's exposure, sequence or recording, of which there is one at a time
};

struct ControlState {
  Orvik_CONTROL_TYPE type = Orvik_CTL_GAIN;
  ControlValue now;
};

/// The cooler and its sensor.
struct CoolingState {
  bool isOn = false;
  int target = 0;              ///< degrees Celsius: where the cooler is led now
  std::optional<int> rampEnd;  ///< degrees Celsius: where a ramp leads; empty without one
  bool isWarmingUp = false;
  int power = 0;  ///< percent
  Orvik_COOLER_FAULT fault = Orvik_COOLER_NO_FAULT;
};

/// A sample of the temperature's course.
struct TemperatureSample {
  std::chrono::system_clock::time_point time;
  double celsius = 0;
  std::optional<int> target;  ///< while the cooler is on
  int power = 0;              ///< percent
};

/// Something that somebody has done to the camera, or that has happened to it.
struct Event {
  std::uint64_t number = 0;  ///< from 1 on
  std::chrono::system_clock::time_point time;
  std::string who;   ///< "192.168.1.5", "Alpaca client 7"; "" for the camera itself
  std::string text;  ///< "Gain 120"
};

struct CameraStatus {
  Link link = Link::kAbsent;
  std::string problem;  ///< why it could not be opened, or what failed last; "" if nothing
  Activity activity = Activity::kNone;
  std::string capture;  ///< while a capture runs: what and whose, "exposure of 60 s by Alpaca"

  // What follows is of the last time when the camera was open.
  std::optional<double> temperature;    ///< of the sensor, degrees Celsius
  std::optional<CoolingState> cooling;  ///< empty for a camera without a cooler
  std::array<bool, 4> guideLines{};     ///< which are on, by GuideD
  std::vector<ControlState> controls;   ///< in the camera's order: as the page has set them
  ImageFormat format;                   ///< of the live view, as the page has set it
  imaging::Region region;               ///< the same in pixels of the sensor
  bool usesDark = false;
  bool hasDark = false;
  bool usesHotPixels = false;
  int hotPixels = 0;
  double frameRate = 0;       ///< frames per second of the running video, measured
  std::int64_t lost = 0;      ///< frames that the running video has lost
  std::vector<Event> events;  ///< the last few, the oldest first
};

}  // namespace orvik::server
