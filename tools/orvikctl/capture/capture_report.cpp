// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/capture_report.h"

#include <array>
#include <cstdio>
#include <iostream>
#include <system_error>

#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

std::uintmax_t sizeOf(const std::filesystem::path& file) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  return error ? 0 : size;
}

std::string fixed(double value, int digits) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", digits, value);
  return text.data();
}

void printJson(const CaptureReport& report) {
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
  json["files"] = std::move(files);
  std::cout << json.dump(2) << '\n';
}

void printText(const CaptureReport& report) {
  std::cout << report.frames << (report.frames == 1 ? " frame in " : " frames in ")
            << fixed(report.seconds, 2) << " s";
  if (report.rate) std::cout << ", " << fixed(*report.rate, 1) << " frames/s";
  if (report.lost) std::cout << ", " << *report.lost << " lost";
  std::cout << '\n';
  if (report.files.empty()) return;
  std::uintmax_t bytes = 0;
  for (const auto& file : report.files) bytes += sizeOf(file);
  std::cout << report.files.front().string();
  if (report.files.size() > 1) std::cout << " ... " << report.files.back().string();
  std::cout << "  " << sizeText(bytes) << '\n';
}

}  // namespace

void printReport(const CaptureReport& report, bool json) {
  if (json) {
    printJson(report);
  } else {
    printText(report);
  }
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
  return fixed(value, 1) + " " + kUnits[unit];
}

}  // namespace orvik::ctl
