// SPDX-License-Identifier: MIT
#include <cstdint>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "imaging/save_file.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/commands/group.h"
#include "tools/orvikctl/consent.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

struct HotPixelOptions : CommonOptions {
  std::string dark;
  std::string list;
  bool overwrite = false;
  bool yes = false;
};

void checkList(const HotPixelOptions& options) {
  if (options.list.empty()) return;
  imaging::requireFolder(options.list);
  imaging::refuseExisting(options.list, options.overwrite);
}

/// The dark that is to tell: a file, or else the one in use.
void loadDark(const Camera& camera, const HotPixelOptions& options) {
  if (options.dark.empty()) return;
  camera.dark().load(options.dark);
}

void writeList(const HotPixelOptions& options, const std::vector<Orvik_PIXEL>& pixels) {
  std::ostringstream out;
  out << "x,y\n";
  for (const Orvik_PIXEL& pixel : pixels) out << pixel.x << ',' << pixel.y << '\n';
  const std::string text = out.str();
  imaging::saveFile(options.list, std::vector<std::uint8_t>(text.begin(), text.end()),
                    options.overwrite);
}

/// @param where they were found
void report(const Camera& camera, const HotPixelOptions& options, const char* where) {
  const std::vector<Orvik_PIXEL> pixels = camera.hotPixels().list();
  if (!options.list.empty()) writeList(options, pixels);
  if (options.json) {
    const Json result = {{"hotPixels", pixels.size()},
                         {"list", options.list.empty() ? Json() : Json(options.list)}};
    std::cout << result.dump(2) << '\n';
  } else {
    std::cout << pixels.size() << " hot pixels " << where << '\n';
  }
}

ExitCode detect(const HotPixelOptions& options) {
  checkList(options);
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera = openCamera(cameras.choose(options.camera));
  loadDark(camera, options);
  camera.hotPixels().detect();
  report(camera, options, "in the dark");
  return ExitCode::kOk;
}

ExitCode save(const HotPixelOptions& options) {
  checkList(options);
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  const Camera camera = openCamera(chosen);
  loadDark(camera, options);
  camera.hotPixels().detect();
  requireConsent(options.yes, "The table of hot pixels in the flash of " + chosen.label() +
                                  " will be replaced.");
  camera.hotPixels().save();
  camera.hotPixels().load();
  report(camera, options, "written into the camera's flash; they are mended from now on");
  return ExitCode::kOk;
}

ExitCode erase(const HotPixelOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  const Camera camera = openCamera(chosen);
  const HotPixels table = camera.hotPixels();
  const std::vector<Orvik_PIXEL> pixels = table.list();
  requireConsent(options.yes,
                 "The table of hot pixels in the flash of " + chosen.label() + " will be emptied.");
  camera.dark().disable();  // the table would be made from it again
  for (const Orvik_PIXEL& pixel : pixels) table.mark(pixel, false);
  table.save();
  table.load();
  report(camera, options, "left in the camera's flash");
  return ExitCode::kOk;
}

ExitCode show(const HotPixelOptions& options) {
  checkList(options);
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera = openCamera(cameras.choose(options.camera));
  camera.hotPixels().load();
  report(camera, options, "in the camera's flash");
  return ExitCode::kOk;
}

using Work = ExitCode (*)(const HotPixelOptions&);

CLI::App* addMember(CLI::App& group, const char* name, const char* what, HotPixelOptions& options) {
  CLI::App* app = group.add_subcommand(name, what);
  app->add_option("-o,--output", options.list, "Write their coordinates, a line \"x,y\" for each")
      ->type_name("FILE.csv");
  app->add_flag("--overwrite", options.overwrite, "Replace the file if it exists");
  addCommonOptions(*app, options, Scope::kOneCamera);
  return app;
}

void addDarkOption(CLI::App& app, HotPixelOptions& options) {
  app.add_option("--dark", options.dark, "Dark frame to look at, instead of the one in use")
      ->type_name("FILE.bmp");
}

}  // namespace

Command addHotPixels(CLI::App& program) {
  CLI::App* group =
      addGroup(program, "hotpixels", "Find hot pixels, and have the camera keep them");
  std::vector<Command> members;
  const auto add = [&](const char* name, const char* what, Work work) {
    auto options = std::make_shared<HotPixelOptions>();
    CLI::App* app = addMember(*group, name, what, *options);
    members.push_back({app, [options, work] { return work(*options); }});
    return options;
  };
  const auto detectOptions = add("detect", "Look for hot pixels in a dark frame", detect);
  addDarkOption(*members.back().options, *detectOptions);
  const auto saveOptions =
      add("save", "Look for hot pixels and write their table into the camera's flash", save);
  addDarkOption(*members.back().options, *saveOptions);
  addConsentOption(*members.back().options, saveOptions->yes);
  add("show", "Tell which hot pixels the camera's flash holds", show);
  const auto eraseOptions = add("erase", "Empty the table in the camera's flash", erase);
  addConsentOption(*members.back().options, eraseOptions->yes);
  group->footer(
      "Hot pixels in the camera's flash are mended in all images, raw ones as well; the header "
      "tells\n"
      "how many (HOTPIX). `snap` and `video` leave them with --hot-pixels off.");
  return groupCommand(group, std::move(members));
}

}  // namespace orvik::ctl
