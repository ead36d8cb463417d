// SPDX-License-Identifier: MIT
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <vector>

#include "orvik/orvik_service.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/capture_setup.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/commands/group.h"
#include "tools/orvikctl/error_text.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/output/save_file.h"
#include "tools/orvikctl/progress.h"

namespace orvik::ctl {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

struct RecordOptions : CommonOptions {
  std::string exposure;
  std::string gain;
  std::string output;
  bool overwrite = false;
  bool use = false;
};

struct UseOptions : CommonOptions {
  std::string file;
};

/// A path that is valid in another run as well.
std::string keptPath(const std::string& file) {
  std::string path = fs::absolute(file).string();
  if (path.size() >= ORVIK_PATH_BYTES) {
    throw Failure(ExitCode::kUsage, path +
                                        " is too long a path: a camera's settings have room for " +
                                        std::to_string(ORVIK_PATH_BYTES - 1) + " bytes.");
  }
  return path;
}

Orvik_DARK_INFO darkInfo(const Camera& camera) {
  Orvik_DARK_INFO info{};
  check(OrvikGetDarkInfo(camera.handle(), &info), "asking about the dark");
  return info;
}

void print(const Orvik_DARK_INFO& info, bool json) {
  const bool hasDark = info.hasDark == Orvik_TRUE;
  if (json) {
    const Json result = {{"inUse", info.inUse == Orvik_TRUE},
                         {"file", info.path[0] == '\0' ? Json() : Json(info.path)},
                         {"mean", hasDark ? Json(info.mean) : Json()},
                         {"hotPixels", hasDark ? Json(info.hotPixels) : Json()}};
    std::cout << result.dump(2) << '\n';
    return;
  }
  if (!hasDark) {
    std::cout << "no dark frame\n";
    return;
  }
  std::cout << (info.path[0] == '\0' ? "a dark frame" : info.path)
            << (info.inUse == Orvik_TRUE ? ", in use" : ", not in use") << ": mean " << info.mean
            << " of 255, " << info.hotPixels << " hot pixels\n";
}

void setFromText(Camera& camera, Orvik_CONTROL_TYPE type, const std::string& text) {
  const Orvik_CONTROL_CAPS* caps = camera.control(type);
  if (caps != nullptr && !text.empty()) {
    camera.setValue(type, parseControlValue(camera, *caps, text));
  }
}

/// Every sensor pixel in 8 bits, and nothing that changes while the dark is taken.
ImageFormat prepare(Camera& camera, const RecordOptions& options) {
  setFromText(camera, Orvik_CTL_EXPOSURE, options.exposure);
  setFromText(camera, Orvik_CTL_GAIN, options.gain);
  for (const auto type : {Orvik_CTL_EXPOSURE, Orvik_CTL_GAIN}) {
    const auto now = camera.valueIfAny(type);
    if (now && now->isAuto) camera.setValue(type, {now->value, false});
  }
  const Orvik_CAMERA_INFO info = camera.info();
  const ImageFormat format{
      .width = info.maxWidth, .height = info.maxHeight, .bin = 1, .type = Orvik_IMG_RAW8};
  camera.setFormat(format);
  return format;
}

/// Waits for one frame in short steps; false when the user interrupted.
bool takeFrame(Camera& camera, std::vector<std::uint8_t>& frame, Clock::duration limit) {
  constexpr int kStepMs = 200;
  const auto end = Clock::now() + limit;
  while (!interrupted()) {
    if (camera.readFrame(frame, kStepMs)) return true;
    if (Clock::now() > end) check(Orvik_ERROR_NO_FRAME, "recording the dark");
  }
  return false;
}

bool takeDark(Camera& camera, const ImageFormat& format) {
  int wanted = 0;
  check(OrvikStartDarkRecording(camera.handle(), &wanted), "recording the dark");
  const std::chrono::microseconds exposure(camera.value(Orvik_CTL_EXPOSURE).value);
  std::vector<std::uint8_t> frame(static_cast<std::size_t>(format.width) *
                                  static_cast<std::size_t>(format.height));
  Progress progress(true);
  Orvik_DARK_RECORDING recording{};
  camera.startVideo();
  while (recording.isOver != Orvik_TRUE) {
    progress.show({.done = recording.framesTaken,
                   .total = wanted,
                   .rate = std::nullopt,
                   .lost = std::nullopt,
                   .secondsLeft = std::nullopt});
    if (!takeFrame(camera, frame, exposure + readOutLimit(format))) return false;
    check(OrvikGetDarkRecording(camera.handle(), &recording), "recording the dark");
  }
  camera.stopVideo();
  return true;
}

ExitCode record(const RecordOptions& options) {
  const std::string path = keptPath(options.output);
  requireFolder(path);
  refuseExisting(path, options.overwrite);
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera(cameras.choose(options.camera));
  const ImageFormat format = prepare(camera, options);
  std::cerr << "note: the telescope has to be covered.\n";
  if (!takeDark(camera, format)) return ExitCode::kInterrupted;
  check(OrvikSaveDark(camera.handle(), path.c_str()), "writing " + path);
  if (options.use) check(OrvikUseDark(camera.handle(), Orvik_TRUE), "using the dark");
  check(OrvikSaveSettings(camera.handle()), "keeping the settings");
  print(darkInfo(camera), options.json);
  return ExitCode::kOk;
}

ExitCode use(const UseOptions& options) {
  std::string path = keptPath(options.file);
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera(cameras.choose(options.camera));
  Orvik_BOOL load = Orvik_TRUE;
  check(OrvikEnableDarkSubtract(camera.handle(), path.data(), &load), "loading " + path);
  check(OrvikSaveSettings(camera.handle()), "keeping the settings");
  print(darkInfo(camera), options.json);
  return ExitCode::kOk;
}

ExitCode off(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera(cameras.choose(options.camera));
  check(OrvikDisableDarkSubtract(camera.handle()), "ending dark subtraction");
  check(OrvikSaveSettings(camera.handle()), "keeping the settings");
  print(darkInfo(camera), options.json);
  return ExitCode::kOk;
}

ExitCode info(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera(cameras.choose(options.camera));
  print(darkInfo(camera), options.json);
  return ExitCode::kOk;
}

Command addRecord(CLI::App& group) {
  auto options = std::make_shared<RecordOptions>();
  CLI::App* app = group.add_subcommand(
      "record", "Take a dark with the telescope covered: the mean of 1 to 5 frames");
  app->add_option("-o,--output", options->output, "File to write, a bitmap")
      ->type_name("FILE.bmp")
      ->required();
  app->add_flag("--overwrite", options->overwrite, "Replace the file if it exists");
  app->add_flag("--use", options->use, "Subtract it from now on");
  app->add_option("--exposure", options->exposure, "As for the images it is to be subtracted from")
      ->type_name("TIME");
  app->add_option("--gain", options->gain, "As for the images")->type_name("N");
  addCommonOptions(*app, *options, Scope::kOneCamera);
  return {app, [options] { return record(*options); }};
}

}  // namespace

Command addDark(CLI::App& program) {
  CLI::App* group =
      addGroup(program, "dark", "Take a dark frame, and have it subtracted from 8-bit images");
  const Command recordCommand = addRecord(*group);

  auto useOptions = std::make_shared<UseOptions>();
  CLI::App* useApp = group->add_subcommand("use", "Subtract a dark from now on");
  useApp->add_option("file", useOptions->file, "Dark frame of this model")
      ->type_name("FILE.bmp")
      ->required();
  addCommonOptions(*useApp, *useOptions, Scope::kOneCamera);

  auto offOptions = std::make_shared<CommonOptions>();
  CLI::App* offApp = group->add_subcommand("off", "End dark subtraction");
  addCommonOptions(*offApp, *offOptions, Scope::kOneCamera);

  auto infoOptions = std::make_shared<CommonOptions>();
  CLI::App* infoApp = group->add_subcommand("info", "Tell which dark is in use");
  addCommonOptions(*infoApp, *infoOptions, Scope::kOneCamera);

  return groupCommand(group, {recordCommand,
                              {useApp, [useOptions] { return use(*useOptions); }},
                              {offApp, [offOptions] { return off(*offOptions); }},
                              {infoApp, [infoOptions] { return info(*infoOptions); }}});
}

}  // namespace orvik::ctl
