// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/capture_report.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <system_error>

#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

std::uintmax_t sizeOf(const std::filesystem::path& file) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  return error ? 0 : size;
}

void printJson(const CaptureReport& report, std::ostream& out) {
  Json files = Json::array();
  for (const auto& file : report.files) {
    files.push_back({{"path", file.string()}, {"bytes", sizeOf(file)}});
  }
  Json json = {{"frames", report.frames}};
  if (report.lost) json["lost"] = *report.lost;
  json["seconds"] = report.seconds;
  if (report.rate) json["framesPerSecond"] = *report.rate;
  json["width"] = report.info.width;
  json["height"] = report.info.height;
  json["type"] = imaging::imageType(report.info.type).name;
  json["exposureUs"] = report.info.exposure.count();
  json["gain"] = report.info.gain;
  if (report.brightness) json["brightness"] = brightnessJson(*report.brightness);
  json["files"] = std::move(files);
  json.update(report.more);
  out << json.dump(2) << '\n';
}

/// Three significant digits: "0.000123", "3.14".
std::string shortText(double value) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.3g", value);
  return text.data();
}

void printFiles(const CaptureReport& report, std::ostream& out) {
  if (report.files.empty()) return;
  std::uintmax_t bytes = 0;
  for (const auto& file : report.files) bytes += sizeOf(file);
  out << report.files.front().string();
  if (report.files.size() > 1) out << " ... " << report.files.back().string();
  out << "  " << sizeText(bytes) << '\n';
}

void printText(const CaptureReport& report, std::ostream& out) {
  out << report.frames << (report.frames == 1 ? " frame in " : " frames in ")
      << fixedText(report.seconds, 2) << " s";
  if (report.rate) out << ", " << fixedText(*report.rate, 1) << " frames/s";
  if (report.lost) out << ", " << *report.lost << " lost";
  out << '\n';
  if (report.brightness) out << brightnessText(*report.brightness) << '\n';
  printFiles(report, out);
  for (const std::string& note : report.notes) out << note << '\n';
}

}  // namespace

void printReport(const CaptureReport& report, bool json) { printReport(report, json, std::cout); }

void printReport(const CaptureReport& report, bool json, std::ostream& out) {
  if (json) {
    printJson(report, out);
  } else {
    printText(report, out);
  }
  out << std::flush;
  warnOfBrightness(report.brightness, report.info.frameKind);
}

Json brightnessJson(const SeriesBrightness& brightness) {
  const Brightness& last = brightness.last;
  Json json = {{"min", last.min},
               {"median", std::round(last.median)},
               {"max", last.max},
               {"saturated", last.saturated},
               {"depth", last.depth}};
  json["series"] = {{"images", brightness.images},
                    {"min", brightness.min},
                    {"lowestMedian", std::round(brightness.lowestMedian)},
                    {"highestMedian", std::round(brightness.highestMedian)},
                    {"max", brightness.max},
                    {"mostSaturated", brightness.mostSaturated}};
  return json;
}

std::string brightnessText(const SeriesBrightness& brightness) {
  const auto share = [](double part) { return shortText(100 * part) + " %"; };
  const Brightness& last = brightness.last;
  std::string text = "min " + std::to_string(last.min) + ", median " + fixedText(last.median, 0) +
                     ", max " + std::to_string(last.max) + " of " + std::to_string(last.depth) +
                     ", saturated " + share(last.saturated);
  if (brightness.images < 2) return text;
  return text + "; all images: min " + std::to_string(brightness.min) + ", median " +
         fixedText(brightness.lowestMedian, 0) + " to " + fixedText(brightness.highestMedian, 0) +
         ", max " + std::to_string(brightness.max) + ", saturated up to " +
         share(brightness.mostSaturated);
}

void warnOfBrightness(const std::optional<SeriesBrightness>& brightness, const std::string& kind) {
  if (!brightness) return;
  const std::string warning = brightnessWarning(*brightness, kind);
  if (!warning.empty()) std::cerr << "warning: " << warning << '\n';
}

std::string sizeText(std::uintmax_t bytes) {
  constexpr std::array kUnits = {"kB", "MB", "GB", "TB"};
  if (bytes < 1000) return std::to_string(bytes) + " bytes";
  auto value = static_cast<double>(bytes) / 1000;
  std::size_t unit = 0;
  while (value >= 999.95 && unit + 1 < kUnits.size()) {
    value /= 1000;
    ++unit;
  }
  return fixedText(value, 1) + " " + kUnits[unit];
}

}  // namespace orvik::ctl
