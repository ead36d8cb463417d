// SPDX-License-Identifier: MIT
#include <cstdint>
#include <iostream>
#include <memory>
#include <vector>

#include "imaging/save_file.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/commands/group.h"
#include "tools/orvikctl/flash_progress.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

struct DumpOptions : CommonOptions {
  std::uint32_t address = 0;
  std::int32_t size = 0x80000;  // what this library keeps there, and the firmware
  std::string output;
  bool overwrite = false;
};

ExitCode dump(const DumpOptions& options) {
  imaging::requireFolder(options.output);
  imaging::refuseExisting(options.output, options.overwrite);
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera = openCamera(cameras.choose(options.camera));
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(options.size));
  camera.firmware().readFlash(options.address, bytes, flashProgress());
  imaging::saveFile(options.output, bytes, options.overwrite);
  if (options.json) {
    const Json result = {
        {"file", options.output}, {"address", options.address}, {"bytes", options.size}};
    std::cout << result.dump(2) << '\n';
  } else {
    std::cout << options.output << ": " << sizeText(bytes.size()) << '\n';
  }
  return ExitCode::kOk;
}

}  // namespace

Command addFlash(CLI::App& program) {
  CLI::App* group = addGroup(program, "flash", "Read a camera's flash");
  auto options = std::make_shared<DumpOptions>();
  CLI::App* app = group->add_subcommand("dump", "Copy a camera's flash into a file");
  app->add_option("-o,--output", options->output, "File to write")->type_name("FILE")->required();
  app->add_flag("--overwrite", options->overwrite, "Replace the file if it exists");
  app->add_option("--address", options->address, "Where to begin, a multiple of 256 [0]")
      ->type_name("BYTES");
  app->add_option("--size", options->size,
                  "How much to read [0x80000: firmware, hot pixels and the mark]")
      ->check(CLI::PositiveNumber.description(""))
      ->type_name("BYTES");
  addCommonOptions(*app, *options, Scope::kOneCamera);
  return groupCommand(group, {{app, [options] { return dump(*options); }}});
}

}  // namespace orvik::ctl
