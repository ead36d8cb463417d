// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/capture_setup.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <iterator>
#include <system_error>
#include <vector>

#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/defaults.h"
#include "tools/orvikctl/software.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

struct Assignment {
  Orvik_CONTROL_TYPE type;
  ControlValue value;
};

/// Collects control values; those whose option was not given are left out.
class Assignments {
 public:
  explicit Assignments(const Camera& camera) : camera_(camera) {}

  void add(Orvik_CONTROL_TYPE type, const char* option, const std::string& text) {
    if (text.empty()) return;
    const Control* control = camera_.control(type);
    if (control == nullptr) {
      throw Failure(ExitCode::kUsage, std::string("this camera has no control for ") + option +
                                          ". `orvikctl controls` shows what it has.");
    }
    list_.push_back({type, parseControlValue(camera_, *control, text)});
  }
  [[nodiscard]] const std::vector<Assignment>& list() const { return list_; }

 private:
  const Camera& camera_;
  std::vector<Assignment> list_;
};

void addWhiteBalance(Assignments& assignments, const std::string& text) {
  if (text.empty()) return;
  const auto setting = parseSetting(text);
  const std::string automatic = setting && setting->isAuto ? ":auto" : "";
  std::string red = "auto";
  std::string blue = "auto";
  if (setting && setting->value) {
    const std::size_t comma = setting->value->find(',');
    if (comma == std::string::npos) {
      throw Failure(ExitCode::kUsage, "--wb " + text + ": give red and blue, as in 52,95.");
    }
    red = setting->value->substr(0, comma) + automatic;
    blue = setting->value->substr(comma + 1) + automatic;
  }
  assignments.add(Orvik_CTL_WB_R, "--wb", red);
  assignments.add(Orvik_CTL_WB_B, "--wb", blue);
}

/// The number that a word stands for; a number as it is.
std::string numberText(const ControlOption& option, const std::string& text) {
  const auto word = std::ranges::find(option.words, text);
  if (word == option.words.end()) return text;
  return std::to_string(word - option.words.begin());
}

/// The controls that are set before the image format, or those that are set after it.
Assignments assignmentsOf(const Camera& camera, const CaptureOptions& options, bool beforeFormat) {
  Assignments assignments(camera);
  forEachControlOption([&](Orvik_CONTROL_TYPE type, const ControlOption& option) {
    const auto given = options.controls.find(type);
    if (option.beforeFormat != beforeFormat || given == options.controls.end()) return;
    assignments.add(type, option.name, numberText(option, given->second));
  });
  if (!beforeFormat) addWhiteBalance(assignments, options.whiteBalance);
  return assignments;
}

void set(Camera& camera, const Assignments& assignments) {
  for (const auto& [type, value] : assignments.list()) camera.write(type, value);
}

bool isGiven(const CaptureOptions& options, Orvik_CONTROL_TYPE type) {
  if (type == Orvik_CTL_WB_R || type == Orvik_CTL_WB_B) return !options.whiteBalance.empty();
  const auto given = options.controls.find(type);
  return given != options.controls.end() && !given->second.empty();
}

/// Lets raw images pass as the sensor delivers them.
std::vector<Replaced> neutralise(Camera& camera, const CaptureOptions& options) {
  constexpr std::array kNeutral = {
      Assignment{Orvik_CTL_GAMMA, {imaging::kNeutralGamma, false}},
      Assignment{Orvik_CTL_WB_R, {imaging::kNeutralWhiteBalance, false}},
      Assignment{Orvik_CTL_WB_B, {imaging::kNeutralWhiteBalance, false}},
      Assignment{Orvik_CTL_FLIP, {0, false}},
  };
  std::vector<Replaced> replaced;
  for (const auto& [type, neutral] : kNeutral) {
    const auto now = valueIfAny(camera, type);
    if (!now || *now == neutral || isGiven(options, type)) continue;
    camera.write(type, neutral);
    replaced.push_back({type, *now});
  }
  return replaced;
}

/// Ends the automatic modes, which follow a video only.
std::vector<Replaced> endAutomatic(Camera& camera) {
  std::vector<Replaced> replaced;
  for (const Orvik_CONTROL_TYPE type : {Orvik_CTL_EXPOSURE, Orvik_CTL_GAIN}) {
    const auto now = valueIfAny(camera, type);
    if (!now || !now->isAuto) continue;
    camera.write(type, {now->value, false});
    replaced.push_back({type, *now});
  }
  return replaced;
}

/// Tells which controls have neither an option nor their default, so that nobody wonders.
void noteKept(const Camera& camera, const CaptureOptions& options) {
  std::string kept;
  forEachControlOption([&](Orvik_CONTROL_TYPE type, const ControlOption&) {
    const Control* const control = camera.control(type);
    if (control == nullptr || isGiven(options, type)) return;
    const auto now = valueIfAny(camera, type);
    if (!now || isAsNew(*control, *now)) return;
    kept += (kept.empty() ? "" : ", ") + assignmentText(*control, *now);
  });
  if (kept.empty()) return;
  std::cerr << "note: kept from before: " << kept
            << "; --defaults begins with the model's defaults\n";
}

IMG_TYPE chooseType(const Camera& camera, const std::string& text, CaptureKind kind) {
  const std::vector<IMG_TYPE> offered = camera.imageTypes();
  const std::string wanted =
      !text.empty() ? text : (kind == CaptureKind::kImages ? "raw16" : "raw8");
  std::string names;
  for (const IMG_TYPE type : offered) {
    if (imaging::imageType(type).name == wanted) return type;
    names.append(" ").append(imaging::imageType(type).name);
  }
  if (text.empty()) return Orvik_IMG_RAW8;
  throw Failure(ExitCode::kUsage,
                "this camera does not offer --type " + text + ". It offers:" + names + ".");
}

void requireBin(const Camera& camera, int bin) {
  const std::vector<int> offered = camera.bins();
  if (std::find(offered.begin(), offered.end(), bin) != offered.end()) return;
  std::string names;
  for (const int offer : offered) names.append(" ").append(std::to_string(offer));
  throw Failure(ExitCode::kUsage, "this camera does not offer --bin " + std::to_string(bin) +
                                      ". It offers:" + names + ".");
}

std::optional<Region> requestedRegion(const std::string& text) {
  if (text.empty()) return std::nullopt;
  const auto region = parseRegion(text);
  if (!region) {
    throw Failure(
        ExitCode::kUsage,
        "--roi " + text + ": write WIDTHxHEIGHT or WIDTHxHEIGHT+X+Y, as in 640x480+8+16.");
  }
  return region;
}

void moveRegion(Camera& camera, Region::Position position) {
  camera.setStart(position.x, position.y);
  const ImageFormat taken = camera.format();
  if (taken.startX == position.x && taken.startY == position.y) return;
  std::cerr << "note: the sensor starts the region at +" << taken.startX << '+' << taken.startY
            << " instead of +" << position.x << '+' << position.y << '\n';
}

std::string frameKindText(const std::string& option) {
  std::string text = option + " Frame";
  text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}

}  // namespace

void refuseAutomatic(const CaptureOptions& options) {
  for (const Orvik_CONTROL_TYPE type : {Orvik_CTL_EXPOSURE, Orvik_CTL_GAIN}) {
    const auto given = options.controls.find(type);
    if (given == options.controls.end()) continue;
    const auto setting = parseSetting(given->second);
    if (!setting || !setting->isAuto) continue;
    throw Failure(ExitCode::kUsage, std::string(controlFacts(type).option.name) + " " +
                                        given->second +
                                        ": automatic modes work in videos only, not for single "
                                        "images.");
  }
}

std::vector<Replaced> applyOptions(Camera& camera, const CaptureOptions& options,
                                   CaptureKind kind) {
  const Assignments readOut = assignmentsOf(camera, options, true);
  const Assignments image = assignmentsOf(camera, options, false);
  const IMG_TYPE type = chooseType(camera, options.type, kind);
  requireBin(camera, options.bin);
  const auto requested = requestedRegion(options.region);

  if (options.startFromDefaults) camera.resetSettings();
  std::vector<Replaced> replaced;
  if (kind == CaptureKind::kImages) replaced = endAutomatic(camera);
  if (imaging::imageType(type).isRaw)
    std::ranges::move(neutralise(camera, options), std::back_inserter(replaced));
  set(camera, readOut);
  ImageFormat format = camera.wholeSensor(options.bin, type);
  if (requested) format.width = requested->width;
  if (requested) format.height = requested->height;
  camera.setFormat(format);
  if (requested && requested->position) moveRegion(camera, *requested->position);
  set(camera, image);
  if (!options.hotPixels.empty()) camera.hotPixels().use(options.hotPixels == "on");
  if (!options.quiet) noteKept(camera, options);
  return replaced;
}

void restore(Camera& camera, const std::vector<Replaced>& replaced) {
  std::error_code ignored;  // a camera that is gone has nothing to restore
  for (const auto& [type, former] : replaced) camera.write(type, former, ignored);
}

imaging::ImageInfo describeImages(const Camera& camera, const CaptureOptions& options) {
  imaging::ImageInfo info;
  info.frameKind = frameKindText(options.frameKind);
  info.filter = options.filter;
  info.object = options.object;
  info.observer = options.observer;
  info.telescope = options.telescope;
  info.software = kSoftware;
  if (const auto offset = valueIfAny(camera, Orvik_CTL_BRIGHTNESS)) info.offset = offset->value;
  const auto cooler = valueIfAny(camera, Orvik_CTL_COOLER_ON);
  // What is held: a sensor that is too cold to be measured is held where it can be.
  if (cooler && cooler->value != 0) info.targetTemperature = camera.cooler().aim;
  refreshReadings(camera, info);
  return info;
}

void refreshReadings(const Camera& camera, imaging::ImageInfo& info) {
  info.exposure = std::chrono::microseconds(camera.read(Orvik_CTL_EXPOSURE).value);
  info.gain = camera.read(Orvik_CTL_GAIN).value;
  const auto tenths = valueIfAny(camera, Orvik_CTL_TEMPERATURE);
  if (tenths) info.sensorTemperature = tenths->value / 10.0;
  info.processing = imaging::processingOf(camera, camera.format().type);
}

}  // namespace orvik::ctl
