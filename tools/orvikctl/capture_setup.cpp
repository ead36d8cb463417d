// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture_setup.h"

#include <algorithm>
#include <iostream>
#include <vector>

#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/output/mosaic.h"
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
    const Orvik_CONTROL_CAPS* caps = camera_.control(type);
    if (caps == nullptr) {
      throw Failure(ExitCode::kUsage, std::string("this camera has no control for ") + option +
                                          ". `orvikctl controls` shows what it has.");
    }
    list_.push_back({type, parseControlValue(camera_, *caps, text)});
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
  for (const auto& [type, value] : assignments.list()) camera.setValue(type, value);
}

IMG_TYPE chooseType(const Orvik_CAMERA_INFO& info, const std::string& text, Preference preference) {
  const std::vector<IMG_TYPE> offered = imageTypesOf(info);
  const std::string wanted =
      !text.empty() ? text : (preference == Preference::kDepth ? "raw16" : "raw8");
  std::string names;
  for (const IMG_TYPE type : offered) {
    if (imageType(type).name == wanted) return type;
    names.append(" ").append(imageType(type).name);
  }
  if (text.empty()) return Orvik_IMG_RAW8;
  throw Failure(ExitCode::kUsage,
                "this camera does not offer --type " + text + ". It offers:" + names + ".");
}

void requireBin(const Orvik_CAMERA_INFO& info, int bin) {
  const std::vector<int> offered = binsOf(info);
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

/// The largest region at this bin: sensors are read in steps of four columns and two rows.
Region wholeSensor(const Orvik_CAMERA_INFO& info, int bin) {
  return {info.maxWidth / bin / 4 * 4, info.maxHeight / bin / 2 * 2, std::nullopt};
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

std::optional<BayerPattern> mosaicOf(const Camera& camera, const Orvik_CAMERA_INFO& info,
                                     const ImageFormat& format) {
  if (info.colour == Orvik_FALSE || !imageType(format.type).isRaw) return std::nullopt;
  const int flip = camera.valueIfAny(Orvik_CTL_FLIP).value_or(ControlValue{}).value;
  return deliveredMosaic({.sensor = info.bayer,
                          .startX = format.startX,
                          .startY = format.startY,
                          .width = format.width,
                          .height = format.height,
                          .bin = format.bin,
                          .flipHorizontal = flip == 1 || flip == 3,
                          .flipVertical = flip == 2 || flip == 3});
}

}  // namespace

ImageFormat applyOptions(Camera& camera, const CaptureOptions& options, Preference preference) {
  const Orvik_CAMERA_INFO info = camera.info();
  const Assignments readOut = assignmentsOf(camera, options, true);
  const Assignments image = assignmentsOf(camera, options, false);
  const IMG_TYPE type = chooseType(info, options.type, preference);
  requireBin(info, options.bin);
  const auto requested = requestedRegion(options.region);
  const Region region = requested ? *requested : wholeSensor(info, options.bin);

  set(camera, readOut);
  camera.setFormat(
      {.width = region.width, .height = region.height, .bin = options.bin, .type = type});
  if (region.position) moveRegion(camera, *region.position);
  set(camera, image);
  return camera.format();
}

ImageInfo describeImages(const Camera& camera, const CaptureOptions& options) {
  const Orvik_CAMERA_INFO cameraInfo = camera.info();
  const ImageFormat format = camera.format();
  ImageInfo info;
  info.instrument = cameraInfo.name;
  info.width = format.width;
  info.height = format.height;
  info.type = format.type;
  info.mosaic = mosaicOf(camera, cameraInfo, format);
  info.bin = format.bin;
  info.pixelSizeUm = cameraInfo.pixelSizeUm;
  info.startX = format.startX;
  info.startY = format.startY;
  info.frameKind = frameKindText(options.frameKind);
  info.object = options.object;
  info.observer = options.observer;
  info.telescope = options.telescope;
  if (const auto offset = camera.valueIfAny(Orvik_CTL_BRIGHTNESS)) info.offset = offset->value;
  const auto cooler = camera.valueIfAny(Orvik_CTL_COOLER_ON);
  const auto target = camera.valueIfAny(Orvik_CTL_TARGET_TEMP);
  if (cooler && cooler->value != 0 && target) info.targetTemperature = target->value;
  refreshReadings(camera, info);
  return info;
}

void refreshReadings(const Camera& camera, ImageInfo& info) {
  info.exposure = std::chrono::microseconds(camera.value(Orvik_CTL_EXPOSURE).value);
  info.gain = camera.value(Orvik_CTL_GAIN).value;
  const auto tenths = camera.valueIfAny(Orvik_CTL_TEMPERATURE);
  if (tenths) info.sensorTemperature = tenths->value / 10.0;
}

std::chrono::milliseconds readOutLimit(const ImageFormat& format) {
  constexpr auto kReadOutTimeout = std::chrono::seconds(10);
  constexpr std::size_t kSlowestBytesPerMs = 5000;  // a crowded USB 2 bus
  const std::size_t bytes = imageBytes(format.width, format.height, format.type);
  // An image that is binned on the host crosses the bus unbinned.
  const auto binned = static_cast<std::size_t>(format.bin) * static_cast<std::size_t>(format.bin);
  return kReadOutTimeout + std::chrono::milliseconds(bytes * binned / kSlowestBytesPerMs);
}

}  // namespace orvik::ctl
