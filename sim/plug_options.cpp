// SPDX-License-Identifier: MIT
#include "sim/plug_options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <initializer_list>
#include <optional>
#include <set>
#include <system_error>

namespace orvik::sim {
namespace {

template <typename T>
struct Word {
  std::string_view text;
  T value;
};

constexpr std::array kPorts = {Word<bool>{"usb3", true}, Word<bool>{"usb2", false}};
constexpr std::array kPaces = {Word<Pace>{"real", Pace::kReal}, Word<Pace>{"free", Pace::kFree}};
constexpr std::array kLatches = {
    Word<Temperament::Latch>{"frame", Temperament::Latch::kFrame},
    Word<Temperament::Latch>{"immediate", Temperament::Latch::kImmediate},
};
constexpr std::array kModeChanges = {
    Word<Temperament::ModeChange>{"finish", Temperament::ModeChange::kFinish},
    Word<Temperament::ModeChange>{"cut", Temperament::ModeChange::kCut},
};
constexpr std::array kClearHalts = {
    Word<Temperament::ClearHalt>{"discard", Temperament::ClearHalt::kDiscard},
    Word<Temperament::ClearHalt>{"keep", Temperament::ClearHalt::kKeep},
};
// Within what a camera's white balance reaches.
constexpr std::array kColours = {
    Word<LightColour>{"white", {1, 1, 1}},
    Word<LightColour>{"red", {1, 0.6, 0.6}},
    Word<LightColour>{"blue", {0.6, 0.8, 1}},
};
constexpr std::array kScenes = {
    Word<SceneKind>{"stars", SceneKind::kStars},
    Word<SceneKind>{"moon", SceneKind::kMoon},
    Word<SceneKind>{"planet", SceneKind::kPlanet},
    Word<SceneKind>{"grey", SceneKind::kGrey},
    Word<SceneKind>{"dark", SceneKind::kDark},
    Word<SceneKind>{"gradient", SceneKind::kGradient},
};

template <typename T, std::size_t kCount>
bool readWord(std::string_view text, const std::array<Word<T>, kCount>& words, T& value) {
  const auto* const found = std::ranges::find(words, text, &Word<T>::text);
  if (found == words.end()) return false;
  value = found->value;
  return true;
}

/// Reads the whole text as a number.
template <typename T, typename... Format>
std::optional<T> number(std::string_view text, Format... format) {
  T value{};
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, value, format...);
  if (error != std::errc{} || stopped != end) return std::nullopt;
  return value;
}

bool readSerial(std::string_view text, std::optional<std::uint32_t>& serial) {
  if (text.size() == 8) serial = number<std::uint32_t>(text, 16);
  return serial.has_value();
}

bool readSeed(std::string_view text, std::uint64_t& seed) {
  const auto read = number<std::uint64_t>(text);
  seed = read.value_or(seed);
  return read.has_value();
}

bool readPath(std::string_view text, std::string& path) {
  path = text;
  return !text.empty();
}

bool readReal(std::string_view text, double low, double high, double& value) {
  const auto read = number<double>(text);
  // Written so that a value that is not a number is refused as well.
  if (!read || !(*read >= low && *read <= high)) return false;
  value = *read;
  return true;
}

/// Where a number goes, and its limits.
struct Real {
  double& value;
  double low;
  double high;
};

/// As many numbers as there are places for them, with colons between them.
bool readReals(std::string_view text, std::initializer_list<Real> places) {
  if (std::ranges::count(text, ':') + 1 != static_cast<std::ptrdiff_t>(places.size())) return false;
  for (const Real& place : places) {
    const std::size_t colon = std::min(text.find(':'), text.size());
    if (!readReal(text.substr(0, colon), place.low, place.high, place.value)) return false;
    text.remove_prefix(std::min(colon + 1, text.size()));
  }
  return true;
}

/// A word, or three factors.
bool readColour(std::string_view text, LightColour& colour) {
  return readWord(text, kColours, colour) ||
         readReals(text, {{colour.red, 0, 1}, {colour.green, 0, 1}, {colour.blue, 0, 1}});
}

constexpr double kFastest = 100;  // pixels per second

bool readDrift(std::string_view text, Offset& drift) {
  return readReals(text, {{drift.x, -kFastest, kFastest}, {drift.y, -kFastest, kFastest}});
}

/// A radius that stays, or one at the beginning, one at the end, and the seconds between them.
bool readFocus(std::string_view text, FocusCourse& focus) {
  constexpr double kWidest = 50;  // pixels
  if (readReals(text, {{focus.to, -kWidest, kWidest}})) return true;
  return readReals(text, {{focus.from, -kWidest, kWidest},
                          {focus.to, -kWidest, kWidest},
                          {focus.seconds, 0.1, 86400}});
}

/// A word, or a rate in MB/s.
bool readLink(std::string_view text, LinkOptions& link) {
  if (text == "bus" || text == "unlimited") {
    link.rate = text == "bus" ? LinkOptions::Rate::kOfBus : LinkOptions::Rate::kUnlimited;
    return true;
  }
  double megabytes = 0;
  if (!readReal(text, 1, 1000, megabytes)) return false;
  link.rate = LinkOptions::Rate::kOfCable;
  link.bytesPerSecond = megabytes * 1e6;
  return true;
}

bool readLatency(std::string_view text, LinkOptions& link) {
  const auto microseconds = number<std::uint32_t>(text);
  if (!microseconds || *microseconds > 50'000) return false;
  link.latency = std::chrono::microseconds(*microseconds);
  return true;
}

/// What an option takes, for the message that refuses anything else.
struct Key {
  std::string_view name;
  std::string_view takes;
  bool (*read)(std::string_view, CameraOptions&);
};

constexpr std::array kKeys = {
    Key{"port", "usb3 or usb2",
        [](std::string_view v, CameraOptions& o) { return readWord(v, kPorts, o.usb3Port); }},
    Key{"serial", "eight hexadecimal digits",
        [](std::string_view v, CameraOptions& o) { return readSerial(v, o.serial); }},
    Key{"seed", "a whole number from 0 to 2^64 - 1",
        [](std::string_view v, CameraOptions& o) { return readSeed(v, o.seed); }},
    Key{"scene", "stars, moon, planet, grey, dark or gradient",
        [](std::string_view v, CameraOptions& o) { return readWord(v, kScenes, o.sceneKind); }},
    Key{"drift", "two numbers from -100 to 100 as in 1.5:-0.5",
        [](std::string_view v, CameraOptions& o) { return readDrift(v, o.telescope.drift); }},
    Key{"guide-rate", "a number from 0 to 100",
        [](std::string_view v, CameraOptions& o) {
          return readReal(v, 0, kFastest, o.telescope.guideRate);
        }},
    Key{"guide-angle", "a number from -360 to 360",
        [](std::string_view v, CameraOptions& o) {
          return readReal(v, -360, 360, o.telescope.guideAngle);
        }},
    Key{"seeing", "a number from 0 to 20",
        [](std::string_view v, CameraOptions& o) {
          return readReal(v, 0, 20, o.telescope.seeing);
        }},
    Key{"focus",
        "a number from -50 to 50, or two of them and a time from 0.1 to 86400 as in -8:8:60",
        [](std::string_view v, CameraOptions& o) { return readFocus(v, o.telescope.focus); }},
    Key{"pace", "real or free",
        [](std::string_view v, CameraOptions& o) { return readWord(v, kPaces, o.pace); }},
    Key{"link", "bus, unlimited, or a number from 1 to 1000",
        [](std::string_view v, CameraOptions& o) { return readLink(v, o.link); }},
    Key{"latency", "a whole number from 0 to 50000",
        [](std::string_view v, CameraOptions& o) { return readLatency(v, o.link); }},
    Key{"latch", "frame or immediate",
        [](std::string_view v, CameraOptions& o) {
          return readWord(v, kLatches, o.temperament.latch);
        }},
    Key{"mode-change", "finish or cut",
        [](std::string_view v, CameraOptions& o) {
          return readWord(v, kModeChanges, o.temperament.modeChange);
        }},
    Key{"clear-halt", "discard or keep",
        [](std::string_view v, CameraOptions& o) {
          return readWord(v, kClearHalts, o.temperament.clearHalt);
        }},
    Key{"flash", "the name of a file",
        [](std::string_view v, CameraOptions& o) { return readPath(v, o.flashPath); }},
    Key{"light", "a number from 0.001 to 1000",
        [](std::string_view v, CameraOptions& o) { return readReal(v, 0.001, 1000, o.light); }},
    Key{"colour", "white, red, blue, or three numbers from 0 to 1 as in 1:0.5:0.2",
        [](std::string_view v, CameraOptions& o) { return readColour(v, o.colour); }},
    Key{"ambient", "a number from -40 to 60",
        [](std::string_view v, CameraOptions& o) { return readReal(v, -40, 60, o.ambient); }},
};

std::string quoted(std::string_view text) { return std::string("'").append(text).append("'"); }

/// @return "" or why not.
std::string readPair(std::string_view name, std::string_view value, CameraOptions& options) {
  if (name == "fault") {  // has a language of its own, and reasons of its own to refuse
    const std::string refusal = fault::parseScript(value, options.faults);
    return refusal.empty() ? "" : "The option 'fault': " + refusal;
  }
  const auto* const key = std::ranges::find(kKeys, name, &Key::name);
  if (key == kKeys.end()) return "There is no option " + quoted(name) + ".";
  if (key->read(value, options)) return {};
  return "The option " + quoted(name) + " takes " + std::string(key->takes) + ", not " +
         quoted(value) + ".";
}

}  // namespace

std::string parsePlugOptions(std::string_view text, CameraOptions& options) {
  std::set<std::string_view> seen;
  while (!text.empty()) {
    const std::size_t comma = text.find(',');
    const std::string_view pair = text.substr(0, comma);
    text = comma == std::string_view::npos ? std::string_view{} : text.substr(comma + 1);
    const bool trailingComma = comma != std::string_view::npos && text.empty();

    const std::size_t equals = pair.find('=');
    if (equals == std::string_view::npos || trailingComma) {
      return "The option " + quoted(trailingComma ? "" : pair) + " is not of the form key=value.";
    }
    const std::string_view name = pair.substr(0, equals);
    const std::string_view value = pair.substr(equals + 1);
    if (!seen.insert(name).second) return "The option " + quoted(name) + " is given twice.";
    std::string refusal = readPair(name, value, options);
    if (!refusal.empty()) return refusal;
  }
  return {};
}

}  // namespace orvik::sim
