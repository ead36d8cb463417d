// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/sidecar.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

#include "imaging/mosaic.h"
#include "imaging/save_file.h"
#include "imaging/time_text.h"
#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/software.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

std::string onOff(bool isOn) { return isOn ? "on" : "off"; }
std::string pairText(int x, int y, char separator) {
  return std::to_string(x) + separator + std::to_string(y);
}
std::string utc(std::chrono::system_clock::time_point time) {
  return imaging::utcText(time, 6) + "Z";
}

/// The values of the text, one line each.
class Lines {
 public:
  explicit Lines(const std::string& heading) : text_("[" + heading + "]\n") {}

  void add(const std::string& name, const std::string& value) {
    if (value.empty()) return;
    text_ += name + "=";
    // A value is one line, whatever was typed.
    for (const char letter : value)
      text_ += static_cast<unsigned char>(letter) < ' ' ? ' ' : letter;
    text_ += '\n';
  }
  void add(const Entries& entries) {
    for (const auto& [name, value] : entries) add(name, value);
  }
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_;
};

void addTimes(Lines& lines, const RecordedPart& part) {
  const FrameCourse& course = part.course;
  lines.add("FrameCount", std::to_string(course.frames()));
  lines.add("LostFrames", std::to_string(part.lost));
  if (course.frames() == 0) return;
  // The end is that of the last exposure.
  const auto begin = course.first().start();
  const auto end = course.last().start() + course.last().exposure();
  lines.add("StartCapture", utc(begin));
  lines.add("MidCapture", utc(begin + (end - begin) / 2));
  lines.add("EndCapture", utc(end));
  lines.add("Duration", fixedText(std::chrono::duration<double>(end - begin).count(), 3) + "s");
  if (const auto rate = course.rate()) lines.add("FramesPerSecond", fixedText(*rate, 2));
  if (const auto rate = course.lowestRate()) {
    lines.add("FramesPerSecondLowest", fixedText(*rate, 2));
  }
}

void addImage(Lines& lines, const RecordedPart& part) {
  const imaging::ImageInfo& info = part.info;
  const FrameInfo& first = part.course.first();
  const int bin = std::max(first.bin, 1);
  lines.add("ROI", pairText(info.width, info.height, 'x'));
  lines.add("ROIOffset", pairText(first.startX / bin, first.startY / bin, ','));
  if (info.startX != first.startX / bin || info.startY != first.startY / bin) {
    lines.add("ROIOffsetEnd", pairText(info.startX, info.startY, ','));
  }
  lines.add("Binning", std::to_string(info.bin));
  lines.add("PixelSize", fixedText(info.pixelSizeUm, 2) + "um");
  lines.add("ColourFormat", std::string(imaging::imageType(info.type).name));
  lines.add("BitsPerSample", std::to_string(imaging::imageType(info.type).bitsPerSample));
  if (info.mosaic) lines.add("BayerPattern", std::string(imaging::mosaic(*info.mosaic).name));
  lines.add("Flip", std::string(imaging::kFlipNames.at(static_cast<std::size_t>(info.flip & 3))));
  lines.add("Exposure", fixedText(static_cast<double>(first.exposureUs) / 1000, 3) + "ms");
  if (part.course.last().exposureUs != first.exposureUs) {
    lines.add("ExposureEnd",
              fixedText(static_cast<double>(part.course.last().exposureUs) / 1000, 3) + "ms");
  }
  lines.add("Gain", std::to_string(first.gain));
  if (part.course.last().gain != first.gain) {
    lines.add("GainEnd", std::to_string(part.course.last().gain));
  }
}

void addTemperatures(Lines& lines, const RecordedPart& part) {
  const auto text = [](std::optional<double> degrees) {
    return degrees ? fixedText(*degrees, 1) + "C" : std::string();
  };
  lines.add("TemperatureStart", text(part.course.first().celsius()));
  lines.add("TemperatureEnd", text(part.course.last().celsius()));
  lines.add("TemperatureTarget", text(part.info.targetTemperature));
}

}  // namespace

Entries settingEntries(const Camera& camera) {
  Entries entries;
  const auto add = [&](const char* name, Orvik_CONTROL_TYPE type, const char* unit = "") {
    const auto now = valueIfAny(camera, type);
    if (!now) return;
    entries.emplace_back(name, std::to_string(now->value) + unit);
    const Control* const control = camera.control(type);
    if (control != nullptr && control->hasAuto()) {
      entries.emplace_back(std::string(name) + "Auto", onOff(now->isAuto));
    }
  };
  const auto addSwitch = [&](const char* name, Orvik_CONTROL_TYPE type) {
    if (const auto now = valueIfAny(camera, type))
      entries.emplace_back(name, onOff(now->value != 0));
  };
  for (const auto& [name, type] :
       {std::pair{"ExposureAuto", Orvik_CTL_EXPOSURE}, std::pair{"GainAuto", Orvik_CTL_GAIN}}) {
    if (const auto now = valueIfAny(camera, type)) entries.emplace_back(name, onOff(now->isAuto));
  }
  add("Brightness", Orvik_CTL_BRIGHTNESS);
  add("Gamma", Orvik_CTL_GAMMA);
  if (camera.info().colour == Orvik_TRUE) {
    add("WhiteBalanceRed", Orvik_CTL_WB_R);
    add("WhiteBalanceBlue", Orvik_CTL_WB_B);
  }
  addSwitch("HardwareBin", Orvik_CTL_HARDWARE_BIN);
  addSwitch("HighSpeed", Orvik_CTL_HIGH_SPEED_MODE);
  add("Bandwidth", Orvik_CTL_BANDWIDTH, "%");
  entries.emplace_back("USB", camera.info().usb3Host == Orvik_TRUE ? "3" : "2");
  return entries;
}

std::string sidecarText(const RecordedPart& part, const Entries& settings, const Entries& more) {
  Lines lines(part.info.instrument);
  addTimes(lines, part);
  addImage(lines, part);
  lines.add(settings);
  addTemperatures(lines, part);
  lines.add("Filter", part.info.filter);
  lines.add("Object", part.info.object);
  lines.add("Observer", part.info.observer);
  lines.add("Telescope", part.info.telescope);
  lines.add("Software", part.info.software);
  lines.add("Library", OrvikGetVersion());
  lines.add(more);
  return lines.text();
}

Sidecar::Sidecar(std::filesystem::path file, bool overwrite) : file_(std::move(file)) {
  imaging::refuseExisting(file_, overwrite);
}

void Sidecar::write(const std::string& text) {
  constexpr auto kInterval = std::chrono::seconds(5);
  due_ = Clock::now() + kInterval;
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
  imaging::saveFileUnsynced(file_, bytes);
}

}  // namespace orvik::ctl
