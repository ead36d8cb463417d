// SPDX-License-Identifier: MIT
#include "sim/plug_options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
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

/// A word, or three factors with colons between them.
bool readColour(std::string_view text, LightColour& colour) {
  if (readWord(text, kColours, colour)) return true;
  const std::size_t first = text.find(':');
  const std::size_t second = text.find(':', first + 1);
  if (first == std::string_view::npos || second == std::string_view::npos) return false;
  return readReal(text.substr(0, first), 0, 1, colour.red) &&
         readReal(text.substr(first + 1, second - first - 1), 0, 1, colour.green) &&
         readReal(text.substr(second + 1), 0, 1, colour.blue);
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
