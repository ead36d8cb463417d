// SPDX-License-Identifier: MIT
#include <filesystem>
#include <iostream>
#include <memory>

#include "imaging/save_file.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/commands/group.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/progress.h"

namespace orvik::ctl {
namespace {

namespace fs = std::filesystem;

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
  const Control* control = camera.control(type);
  if (control != nullptr && !text.empty()) {
    camera.write(type, parseControlValue(camera, *control, text));
  }
}

/// Every sensor pixel in 8 bits, and nothing that changes while the dark is taken.
void prepare(Camera& camera, const RecordOptions& options) {
  setFromText(camera, Orvik_CTL_EXPOSURE, options.exposure);
  setFromText(camera, Orvik_CTL_GAIN, options.gain);
  for (const auto type : {Orvik_CTL_EXPOSURE, Orvik_CTL_GAIN}) {
    const auto now = valueIfAny(camera, type);
    if (now && now->isAuto) camera.write(type, {now->value, false});
  }
  camera.setFormat({.width = camera.info().maxWidth, .height = camera.info().maxHeight});
}

/// False when the user interrupted.
bool takeDark(Camera& camera) {
  const int wanted = camera.dark().startRecording();
  Progress progress(true);
  Video video(camera, interruption());
  Frame frame;
  for (;;) {
    const Orvik_DARK_RECORDING recording = camera.dark().recording();
    if (recording.isOver == Orvik_TRUE) return true;
    progress.show({.done = recording.framesTaken,
                   .total = wanted,
                   .rate = std::nullopt,
                   .lost = std::nullopt,
                   .secondsLeft = std::nullopt});
    if (!video.next(frame)) return false;
  }
}

ExitCode record(const RecordOptions& options) {
  const std::string path = keptPath(options.output);
  imaging::requireFolder(path);
  imaging::refuseExisting(path, options.overwrite);
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera = openCamera(cameras.choose(options.camera));
  prepare(camera, options);
  std::cerr << "note: the telescope has to be covered.\n";
  if (!takeDark(camera)) return ExitCode::kInterrupted;
  camera.dark().save(path);
  if (options.use) camera.dark().use(true);
  camera.saveSettings();
  print(camera.dark().info(), options.json);
  return ExitCode::kOk;
}

ExitCode use(const UseOptions& options) {
  const std::string path = keptPath(options.file);
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera = openCamera(cameras.choose(options.camera));
  camera.dark().load(path);
  camera.saveSettings();
  print(camera.dark().info(), options.json);
  return ExitCode::kOk;
}

ExitCode off(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera = openCamera(cameras.choose(options.camera));
  camera.dark().disable();
  camera.saveSettings();
  print(camera.dark().info(), options.json);
  return ExitCode::kOk;
}

ExitCode info(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  Camera camera = openCamera(cameras.choose(options.camera));
  print(camera.dark().info(), options.json);
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
