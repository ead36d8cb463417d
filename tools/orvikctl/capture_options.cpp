// SPDX-License-Identifier: MIT
#include "tools/orvikctl/capture_options.h"

#include <limits>

#include "tools/orvikctl/help_text.h"

namespace orvik::ctl {
namespace {

void addSensorOptions(CLI::App& app, CaptureOptions& options) {
  const auto* group = "Exposure and sensor";
  const auto onOff = unmentioned(CLI::IsMember({"on", "off"}));
  app.add_option("--exposure", options.exposure,
                 "Exposure time: 1500us, 20ms, 2.5s, 3min; a plain number counts microseconds")
      ->type_name("TIME[:auto]")
      ->group(group);
  app.add_option("--gain", options.gain, "Gain in steps of the sensor")
      ->type_name("N[:auto]")
      ->group(group);
  app.add_option("--brightness", options.brightness, "Black level (offset) in steps of the sensor")
      ->type_name("N")
      ->group(group);
  app.add_option("--gamma", options.gamma, "Gamma, 1 to 100; 50 is linear")
      ->type_name("N")
      ->group(group);
  app.add_option("--wb", options.whiteBalance, "White balance, 1 to 99 each; 50 is neutral")
      ->type_name("RED,BLUE[:auto]")
      ->group(group);
  app.add_option("--bandwidth", options.bandwidth, "Share of the USB bandwidth, percent")
      ->type_name("N[:auto]")
      ->group(group);
  app.add_option("--high-speed", options.highSpeed, "Faster read-out of 8-bit images, fewer bits")
      ->check(onOff)
      ->type_name("on|off")
      ->group(group);
}

void addImageOptions(CLI::App& app, CaptureOptions& options) {
  const auto* group = "Image";
  app.add_option("--roi", options.region,
                 "Size in pixels after binning, and the top left corner (centred if left out); "
                 "width a multiple of 4, height even [whole sensor]")
      ->type_name("WxH[+X+Y]")
      ->group(group);
  app.add_option("--bin", options.bin, "Bin factor [1]")
      ->check(unmentioned(CLI::Range(1, 16)))
      ->type_name("N")
      ->group(group);
  app.add_option("--hardware-bin", options.hardwareBin, "Whether the camera bins, or the host")
      ->check(unmentioned(CLI::IsMember({"on", "off"})))
      ->type_name("on|off")
      ->group(group);
  app.add_option("--type", options.type, "Pixels [snap: raw16 where offered; else raw8]")
      ->check(unmentioned(CLI::IsMember({"raw8", "raw16", "rgb24", "y8"})))
      ->type_name("raw8|raw16|rgb24|y8")
      ->group(group);
  app.add_option("--flip", options.flip, "Mirror the image: h left to right, v top to bottom")
      ->check(unmentioned(CLI::IsMember({"none", "h", "v", "both"})))
      ->type_name("none|h|v|both")
      ->group(group);
}

void addFileOptions(CLI::App& app, CaptureOptions& options) {
  const auto* group = "Files";
  app.add_option("-o,--output", options.output,
                 "File name; its extension chooses the format: .fits, .png, or .ser for video. A "
                 "number such as %04d makes a series, counted from 1")
      ->type_name("PATTERN")
      ->required()
      ->group(group);
  app.add_flag("--overwrite", options.overwrite, "Replace files that exist")->group(group);
  app.add_option("--kind", options.frameKind, "Kind of frame, for the FITS header [light]")
      ->check(unmentioned(CLI::IsMember({"light", "dark", "bias", "flat"})))
      ->type_name("light|dark|bias|flat")
      ->group(group);
  app.add_option("--object", options.object, "What is observed, for the file's header")
      ->group(group);
  app.add_option("--observer", options.observer, "Who observes, for the file's header")
      ->group(group);
  app.add_option("--telescope", options.telescope, "Telescope, for the file's header")
      ->group(group);
}

}  // namespace

void addCaptureOptions(CLI::App& app, CaptureOptions& options) {
  app.add_option("-n,--count", options.count, "Number of images")
      ->check(unmentioned(
          CLI::Range(std::int64_t{1}, std::int64_t{std::numeric_limits<std::int32_t>::max()})))
      ->type_name("N");
  app.add_flag("-q,--quiet", options.quiet, "Show no progress");
  addSensorOptions(app, options);
  addImageOptions(app, options);
  addFileOptions(app, options);
  addCommonOptions(app, options, Scope::kOneCamera);
}

}  // namespace orvik::ctl
