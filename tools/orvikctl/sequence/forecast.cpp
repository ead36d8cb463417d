// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/forecast.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <system_error>

#include "imaging/image_types.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/sequence/step_options.h"
#include "tools/orvikctl/table.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

constexpr double kReadOutBytesPerSecond = 40e6;
constexpr double kUsualTemperature = 20;
constexpr double kFlatSeconds = 1;

/// Bytes of an image's file.
std::uintmax_t fileBytes(const Orvik_CAMERA_INFO& camera, const StepPlan& step) {
  constexpr std::uintmax_t kBlock = 2880;  // of FITS files
  constexpr std::uintmax_t kHeader = 2 * kBlock;
  const std::vector<IMG_TYPE> types = imageTypesOf(camera);
  const std::string wanted = step.type.empty() ? "raw16" : step.type;
  const auto type = std::ranges::find_if(
      types, [&](IMG_TYPE one) { return imaging::imageType(one).name == wanted; });
  const int bin = std::max(step.bin.value_or(1), 1);
  int width = camera.maxWidth / bin / 4 * 4;
  int height = camera.maxHeight / bin / 2 * 2;
  if (const auto region = parseRegion(step.region)) {
    width = region->width;
    height = region->height;
  }
  const std::uintmax_t pixels =
      imageBytes(width, height, type == types.end() ? Orvik_IMG_RAW8 : *type);
  return kHeader + (pixels + kBlock - 1) / kBlock * kBlock;
}

std::optional<std::uintmax_t> freeSpace(std::filesystem::path place) {
  std::error_code error;
  place = std::filesystem::absolute(place, error);
  while (!error && !std::filesystem::exists(place, error) && place.has_relative_path()) {
    place = place.parent_path();
  }
  const std::filesystem::space_info space = std::filesystem::space(place, error);
  if (error) return std::nullopt;
  return space.available;
}

double inSeconds(Microseconds length) { return std::chrono::duration<double>(length).count(); }

double imageSeconds(const SequencePlan& plan, const StepPlan& step,
                    const std::optional<std::uintmax_t>& bytes) {
  double seconds = exposureSeconds(step);
  if (bytes) seconds += static_cast<double>(*bytes) / kReadOutBytesPerSecond;
  if (plan.interval) seconds = std::max(seconds, inSeconds(*plan.interval));
  if (plan.dither && step.kind == "light") {
    const double move = 2 * inSeconds(plan.dither->pulse) + inSeconds(plan.dither->settle);
    seconds += move / plan.dither->every;
  }
  return seconds;
}

std::string sizeCell(const std::optional<std::uintmax_t>& bytes) {
  return bytes ? sizeText(*bytes) : "?";
}

void printTable(const SequencePlan& plan, const Forecast& forecast) {
  Table table({"STEP", "IMAGES", "EXIST", "TIME", "DISK", "FILES"});
  for (std::size_t n = 0; n < forecast.steps.size(); ++n) {
    const Forecast::Step& step = forecast.steps[n];
    std::string files = step.first.string();
    if (step.images > 1) files += " ... " + step.last.string();
    table.add({stepText(plan.steps[n]), std::to_string(step.images),
               std::to_string(step.images - step.missing), clockText(step.seconds),
               sizeCell(step.bytes), files});
  }
  table.print(std::cout);
  std::cout << "in all " << clockText(forecast.seconds);
  if (forecast.coolingSeconds > 0) {
    std::cout << ", of which " << clockText(forecast.coolingSeconds) << " for the cooling ramps";
  }
  std::cout << "; pauses and commands come on top\ndisk: " << sizeCell(forecast.bytes)
            << " needed, " << sizeCell(forecast.free) << " free\n";
  if (!forecast.bytes) std::cout << "without a camera the sizes are not known\n";
}

Json orNull(const std::optional<std::uintmax_t>& bytes) { return bytes ? Json(*bytes) : Json(); }

void printJson(const SequencePlan& plan, const Forecast& forecast) {
  Json steps = Json::array();
  for (std::size_t n = 0; n < forecast.steps.size(); ++n) {
    const Forecast::Step& step = forecast.steps[n];
    steps.push_back({{"kind", plan.steps[n].kind},
                     {"filter", plan.steps[n].filter},
                     {"images", step.images},
                     {"missing", step.missing},
                     {"seconds", step.seconds},
                     {"bytes", orNull(step.bytes)},
                     {"first", step.first.string()},
                     {"last", step.last.string()}});
  }
  const Json json = {{"steps", std::move(steps)},
                     {"coolingSeconds", forecast.coolingSeconds},
                     {"seconds", forecast.seconds},
                     {"bytes", orNull(forecast.bytes)},
                     {"free", orNull(forecast.free)}};
  std::cout << json.dump(2) << '\n';
}

}  // namespace

bool isMissing(const PlannedImage& image, bool overwrite) {
  std::error_code ignored;
  return overwrite ||
         !std::filesystem::exists(std::filesystem::symlink_status(image.file, ignored));
}

double exposureSeconds(const StepPlan& step) {
  return step.exposure ? inSeconds(*step.exposure) : kFlatSeconds;
}

Forecast forecastOf(const SequencePlan& plan, const std::vector<PlannedImage>& images,
                    bool overwrite, const Orvik_CAMERA_INFO* camera) {
  Forecast forecast;
  forecast.steps.resize(plan.steps.size());
  if (camera != nullptr) forecast.bytes = 0;
  for (const PlannedImage& image : images) {
    Forecast::Step& step = forecast.steps[image.step];
    if (step.images == 0) step.first = image.file;
    step.last = image.file;
    ++step.images;
    if (isMissing(image, overwrite)) ++step.missing;
  }
  for (std::size_t n = 0; n < plan.steps.size(); ++n) {
    Forecast::Step& step = forecast.steps[n];
    std::optional<std::uintmax_t> bytes;
    if (camera != nullptr) bytes = fileBytes(*camera, plan.steps[n]);
    const auto missing = static_cast<std::uintmax_t>(step.missing);
    step.seconds = static_cast<double>(missing) * imageSeconds(plan, plan.steps[n], bytes);
    if (bytes) step.bytes = missing * *bytes;
    if (bytes) *forecast.bytes += *step.bytes;
    forecast.seconds += step.seconds;
  }
  if (const auto cooling = coolingPlanOf(plan.cooling); cooling && forecast.seconds > 0) {
    const double ramp = 60 * std::abs(kUsualTemperature - cooling->target) / cooling->ramp;
    forecast.coolingSeconds = (cooling->keepCold ? 1 : 2) * ramp + cooling->settle.value_or(0);
  }
  forecast.seconds += forecast.coolingSeconds;
  if (!images.empty()) forecast.free = freeSpace(images.front().file);
  return forecast;
}

void printForecast(const SequencePlan& plan, const Forecast& forecast, bool json) {
  if (json) {
    printJson(plan, forecast);
  } else {
    printTable(plan, forecast);
  }
}

}  // namespace orvik::ctl
