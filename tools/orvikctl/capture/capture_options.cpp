// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture/capture_options.h"

#include <limits>
#include <string_view>
#include <vector>

#include "imaging/image_types.h"
#include "imaging/output.h"
#include "tools/orvikctl/control_facts.h"
#include "tools/orvikctl/help_text.h"

namespace orvik::ctl {
namespace {

template <typename Text>
auto oneOf(const Text& words) {
  return unmentioned(CLI::IsMember(std::vector<std::string>(words.begin(), words.end())));
}

/// Whether the command takes images of one kind, or a sequence whose steps bring their own.
enum class Kinds { kOne, kSteps };

/// Adds the options of this group that set one control each.
void addControlOptions(CLI::App& app, CaptureOptions& options, ControlOption::Group group,
                       const char* heading, Kinds kinds) {
  forEachControlOption([&](Orvik_CONTROL_TYPE type, const ControlOption& option) {
    if (option.group != group) return;
    if (type == Orvik_CTL_EXPOSURE && kinds == Kinds::kSteps) return;
    CLI::Option* const added =
        app.add_option(option.name, options.controls[type], option.description)
            ->type_name(option.typeName)
            ->group(heading);
    if (!option.words.empty()) added->check(oneOf(option.words));
  });
}

void addSensorOptions(CLI::App& app, CaptureOptions& options, Kinds kinds) {
  const auto* group = "Exposure and sensor";
  addControlOptions(app, options, ControlOption::Group::kSensor, group, kinds);
  app.add_option("--wb", options.whiteBalance, "White balance, 1 to 99 each; 50 is neutral")
      ->type_name("RED,BLUE[:auto]")
      ->group(group);
}

void addImageOptions(CLI::App& app, CaptureOptions& options) {
  const auto* group = "Image";
  addRegionOptions(app, options, group);
  const std::vector<std::string_view> types = imaging::imageTypeNames();
  std::string typeName;
  for (const std::string_view name : types) {
    typeName.append(typeName.empty() ? "" : "|").append(name);
  }
  app.add_option("--type", options.type, "Pixels [snap: raw16 where offered; else raw8]")
      ->check(oneOf(types))
      ->type_name(typeName)
      ->group(group);
  addControlOptions(app, options, ControlOption::Group::kImage, group, Kinds::kOne);
  app.add_option("--hot-pixels", options.hotPixels,
                 "Whether hot pixels that the camera remembers are mended [on]")
      ->check(oneOf(kOffOn))
      ->type_name("on|off")
      ->group(group);
}

void addFileOptions(CLI::App& app, CaptureOptions& options) {
  const auto* group = "Files";
  app.add_option("-o,--output", options.output,
                 "File name; its extension chooses the format: .fits, .png, or .ser and .raw for "
                 "video. A number such as %04d makes a series, counted from 1. A FIFO, or - for "
                 "standard output, takes all formats; with -, the report goes to standard error")
      ->type_name("PATTERN")
      ->required()
      ->group(group);
  app.add_option("--format", options.format, "Format of an output whose name does not tell it")
      ->check(oneOf(imaging::kOutputFormatNames))
      ->type_name("fits|png|ser|raw")
      ->group(group);
  app.add_flag("--overwrite", options.overwrite, "Replace files that exist")->group(group);
  app.add_option("--kind", options.frameKind, "Kind of frame, for the FITS header [light]")
      ->check(unmentioned(CLI::IsMember({"light", "dark", "bias", "flat"})))
      ->type_name("light|dark|bias|flat")
      ->group(group);
  app.add_option("--filter", options.filter, "Filter in use, for the file's header")
      ->type_name("NAME")
      ->group(group);
}

void addNameOptions(CLI::App& app, CaptureOptions& options) {
  const auto* group = "Files";
  app.add_option("--object", options.object, "What is observed, for the file's header")
      ->group(group);
  app.add_option("--observer", options.observer, "Who observes, for the file's header")
      ->group(group);
  app.add_option("--telescope", options.telescope, "Telescope, for the file's header")
      ->group(group);
}

void addGeneralOptions(CLI::App& app, CaptureOptions& options) {
  app.add_flag("-q,--quiet", options.quiet, "Show no progress and no notes");
  app.add_flag("--defaults", options.startFromDefaults,
               "Begin with the model's defaults instead of the settings that the camera was left "
               "with");
}

}  // namespace

void addRegionOptions(CLI::App& app, CaptureOptions& options, const char* group) {
  app.add_option("--roi", options.region,
                 "Size in pixels after binning, and the top left corner (centred if left out); "
                 "width a multiple of 4, height even [whole sensor]")
      ->type_name("WxH[+X+Y]")
      ->group(group);
  app.add_option("--bin", options.bin, "Bin factor [1]")
      ->check(unmentioned(CLI::Range(1, 16)))
      ->type_name("N")
      ->group(group);
}

void addCaptureOptions(CLI::App& app, CaptureOptions& options) {
  app.add_option("-n,--count", options.count, "Number of images")
      ->check(unmentioned(
          CLI::Range(std::int64_t{1}, std::int64_t{std::numeric_limits<std::int32_t>::max()})))
      ->type_name("N");
  addGeneralOptions(app, options);
  addSensorOptions(app, options, Kinds::kOne);
  addImageOptions(app, options);
  addCoolingOptions(app, options.cooling);
  addFileOptions(app, options);
  addNameOptions(app, options);
  addCommonOptions(app, options, Scope::kOneCamera);
}

void addStepOptions(CLI::App& app, CaptureOptions& options) {
  addGeneralOptions(app, options);
  addSensorOptions(app, options, Kinds::kSteps);
  addImageOptions(app, options);
  addCoolingOptions(app, options.cooling);
  addNameOptions(app, options);
  addCommonOptions(app, options, Scope::kOneCamera);
}

}  // namespace orvik::ctl
