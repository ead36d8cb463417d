// SPDX-License-Identifier: MIT
#include <iostream>
#include <memory>

#include "imaging/image_types.h"
#include "imaging/mosaic.h"
#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

/// The record as JSON, which the plain form is printed from as well.
Json describe(const ConnectedCamera& chosen, const Camera& camera) {
  const Orvik_CAMERA_INFO& info = camera.info();
  Json types = Json::array();
  for (const IMG_TYPE type : camera.imageTypes()) types.push_back(imaging::imageType(type).name);
  const bool colour = info.colour == Orvik_TRUE;
  return {
      {"index", chosen.index},
      {"name", info.name},
      {"serial", chosen.serial.empty() ? Json() : Json(chosen.serial)},
      {"port", chosen.port},
      {"width", info.maxWidth},
      {"height", info.maxHeight},
      {"colour", colour},
      {"bayer", colour ? Json(imaging::mosaic(info.bayer).name) : Json()},
      {"pixelSizeUm", info.pixelSizeUm},
      {"bins", camera.bins()},
      {"imageTypes", std::move(types)},
      {"cooler", info.hasCooler == Orvik_TRUE},
      {"guidePort", info.hasST4 == Orvik_TRUE},
      {"shutter", info.hasShutter == Orvik_TRUE},
      {"usbCamera", info.usb3Camera == Orvik_TRUE ? 3 : 2},
      {"usbPort", info.usb3Host == Orvik_TRUE ? 3 : 2},
  };
}

std::string yesNo(const Json& flag) { return flag.get<bool>() ? "yes" : "no"; }

std::string joined(const Json& list) {
  std::string text;
  for (const Json& item : list) {
    if (!text.empty()) text += ' ';
    text += item.is_string() ? item.get<std::string>() : item.dump();
  }
  return text;
}

void printText(const Json& info) {
  const auto line = [](const char* label, const std::string& value) {
    std::cout << label << std::string(16 - std::string_view(label).size(), ' ') << value << '\n';
  };
  line("name", info["name"].get<std::string>());
  line("index", info["index"].dump());
  if (info["serial"].is_string()) line("serial", info["serial"].get<std::string>());
  line("port", info["port"].get<std::string>());
  line("sensor", info["width"].dump() + "x" + info["height"].dump() + " pixels of " +
                     info["pixelSizeUm"].dump() + " um, " +
                     (info["colour"].get<bool>() ? "colour " + info["bayer"].get<std::string>()
                                                 : std::string("mono")));
  line("bins", joined(info["bins"]));
  line("image types", joined(info["imageTypes"]));
  line("cooler", yesNo(info["cooler"]));
  line("guide port", yesNo(info["guidePort"]));
  line("shutter", yesNo(info["shutter"]));
  line("USB", "camera for USB " + info["usbCamera"].dump() + " on a USB " + info["usbPort"].dump() +
                  " port");
}

ExitCode info(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  const Camera camera =
      openCamera(chosen);  // The generation of the port shows once the camera is open.
  const Json description = describe(chosen, camera);
  if (options.json) {
    std::cout << description.dump(2) << '\n';
  } else {
    printText(description);
  }
  return ExitCode::kOk;
}

}  // namespace

Command addInfo(CLI::App& program) {
  auto options = std::make_shared<CommonOptions>();
  CLI::App* app = program.add_subcommand("info", "Open a camera and tell all about it");
  addCommonOptions(*app, *options, Scope::kOneCamera);
  return {app, [options] { return info(*options); }};
}

}  // namespace orvik::ctl
