// SPDX-License-Identifier: MIT
#include "tools/orvikctl/selftest/report.h"

#include <array>
#include <iomanip>
#include <sstream>

namespace orvik::ctl::selftest {
namespace {

constexpr int kNameWidth = 23;

void add(Tally& tally, const CheckResult& result) {
  (result.verdict == Verdict::kPass   ? tally.passed
   : result.verdict == Verdict::kFail ? tally.failed
                                      : tally.skipped) += 1;
  tally.seconds += result.seconds;
}

const char* verdictName(Verdict verdict) {
  static constexpr std::array kNames = {"pass", "fail", "skip"};
  return kNames[static_cast<std::size_t>(verdict)];
}

Json tallyJson(const Tally& tally) {
  return {{"passed", tally.passed},
          {"failed", tally.failed},
          {"skipped", tally.skipped},
          {"seconds", tally.seconds}};
}

Json cameraJson(const CameraReport& camera) {
  Json checks = Json::array();
  for (const CheckResult& result : camera.results) {
    checks.push_back({{"check", result.name},
                      {"promise", result.promise},
                      {"verdict", verdictName(result.verdict)},
                      {"detail", result.detail},
                      {"seconds", result.seconds}});
  }
  return {{"name", camera.name},
          {"index", camera.index},
          {"serial", camera.serial.empty() ? Json() : Json(camera.serial)},
          {"summary", tallyJson(tallyOf(camera.results))},
          {"checks", std::move(checks)}};
}

}  // namespace

Tally tallyOf(std::span<const CheckResult> results) {
  Tally tally;
  for (const CheckResult& result : results) add(tally, result);
  return tally;
}

Tally tallyOf(std::span<const CameraReport> reports) {
  Tally tally;
  for (const CameraReport& camera : reports) {
    for (const CheckResult& result : camera.results) add(tally, result);
  }
  return tally;
}

std::string headingText(const CameraReport& camera) {
  return camera.name + ", camera " + std::to_string(camera.index) +
         (camera.serial.empty() ? "" : ", " + camera.serial);
}

std::string lineText(const CheckResult& result) {
  std::ostringstream text;
  // Failures must stand out in a long list.
  text << "  " << (result.verdict == Verdict::kFail ? "FAIL" : verdictName(result.verdict)) << "  "
       << std::left << std::setw(kNameWidth) << result.name << ' ' << result.promise;
  if (!result.detail.empty()) text << ": " << result.detail;
  return text.str();
}

std::string tallyText(const Tally& tally) {
  std::ostringstream text;
  text << tally.passed + tally.failed + tally.skipped << " checks: " << tally.passed << " passed, "
       << tally.failed << " failed, " << tally.skipped << " skipped, in " << std::fixed
       << std::setprecision(1) << tally.seconds << " s";
  return text.str();
}

Json reportJson(std::span<const CameraReport> reports) {
  Json cameras = Json::array();
  for (const CameraReport& camera : reports) cameras.push_back(cameraJson(camera));
  return {{"summary", tallyJson(tallyOf(reports))}, {"cameras", std::move(cameras)}};
}

}  // namespace orvik::ctl::selftest
