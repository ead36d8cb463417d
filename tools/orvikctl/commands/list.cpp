// SPDX-License-Identifier: MIT
#include <iostream>
#include <memory>
#include <sstream>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/table.h"

namespace orvik::ctl {
namespace {

std::string binText(const Orvik_CAMERA_INFO& info) {
  std::string text;
  for (const int bin : binsOf(info)) text += (text.empty() ? "" : " ") + std::to_string(bin);
  return text;
}

std::string micrometres(double value) {
  std::ostringstream text;
  text << value << " um";
  return text.str();
}

void printTable(const std::vector<ConnectedCamera>& cameras) {
  Table table({"INDEX", "NAME", "SERIAL", "PORT", "SIZE", "SENSOR", "PIXEL", "BINS"});
  for (const ConnectedCamera& camera : cameras) {
    std::vector<std::string> row = {std::to_string(camera.index), camera.name,
                                    camera.serial.empty() ? "-" : camera.serial, camera.port};
    if (camera.info) {
      const Orvik_CAMERA_INFO& info = *camera.info;
      row.push_back(std::to_string(info.maxWidth) + "x" + std::to_string(info.maxHeight));
      row.emplace_back(info.colour == Orvik_TRUE ? "colour" : "mono");
      row.push_back(micrometres(info.pixelSizeUm));
      row.push_back(binText(info));
    }
    table.add(std::move(row));
  }
  table.print(std::cout);
}

void printJson(const std::vector<ConnectedCamera>& cameras) {
  Json list = Json::array();
  for (const ConnectedCamera& camera : cameras) {
    Json entry = {{"index", camera.index}, {"name", camera.name}};
    entry["serial"] = camera.serial.empty() ? Json() : Json(camera.serial);
    entry["port"] = camera.port;
    if (camera.info) {
      entry["width"] = camera.info->maxWidth;
      entry["height"] = camera.info->maxHeight;
      entry["colour"] = camera.info->colour == Orvik_TRUE;
      entry["pixelSizeUm"] = camera.info->pixelSizeUm;
      entry["bins"] = binsOf(*camera.info);
    }
    list.push_back(std::move(entry));
  }
  std::cout << list.dump(2) << '\n';
}

ExitCode list(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  if (options.json) {
    printJson(cameras.all());
  } else if (!cameras.all().empty()) {
    printTable(cameras.all());
  }
  if (!cameras.all().empty()) return ExitCode::kOk;
  std::cerr << "orvikctl: " << kNoCameraText << '\n';
  return ExitCode::kNoCamera;
}

}  // namespace

Command addList(CLI::App& program) {
  auto options = std::make_shared<CommonOptions>();
  CLI::App* app = program.add_subcommand("list", "List the connected cameras");
  addCommonOptions(*app, *options, Scope::kAllCameras);
  return {app, [options] { return list(*options); }};
}

}  // namespace orvik::ctl
