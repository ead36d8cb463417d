// SPDX-License-Identifier: MIT
#include <array>
#include <cstdio>
#include <iostream>
#include <memory>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/commands/group.h"
#include "tools/orvikctl/consent.h"
#include "tools/orvikctl/exit_code.h"
#include "tools/orvikctl/flash_progress.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

struct FirmwareOptions : CommonOptions {
  std::string file;
  bool yes = false;
};

std::string hexText(unsigned value, int digits) {
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "%0*X", digits, value);
  return text.data();
}

Json versionsOf(const Camera& camera) {
  const Orvik_FIRMWARE_VERSION version = camera.firmware().version();
  return {{"firmware", version.firmware},
          {"fpga", std::to_string(version.fpgaMajor) + "." +
                       hexText(static_cast<unsigned>(version.fpgaMinor), 4)}};
}

bool hasSections(const Orvik_FIRMWARE_FILE& file) { return file.format == Orvik_FIRMWARE_SECTIONS; }

/// Refuses firmware that is made for the other kind of bridge.
void requireBridge(const std::string& path, const Orvik_FIRMWARE_FILE& file,
                   const ConnectedCamera& camera) {
  if (!camera.info || hasSections(file) == (camera.info->usb3Camera == Orvik_TRUE)) return;
  throw Failure(ExitCode::kUsage, path + " is made for the bridge of USB " +
                                      (hasSections(file) ? "3" : "2") + " cameras; " +
                                      camera.label() + " has the one of USB " +
                                      (hasSections(file) ? "2" : "3") + " cameras.");
}

void printFile(const std::string& path, const Orvik_FIRMWARE_FILE& file, bool json) {
  if (json) {
    const Json result = {{"file", path},
                         {"format", hasSections(file) ? "sections" : "records"},
                         {"bytes", file.fileBytes},
                         {"parts", file.parts},
                         {"dataBytes", file.dataBytes},
                         {"entry", file.entry},
                         {"fitsFlash", file.fitsFlash == Orvik_TRUE}};
    std::cout << result.dump(2) << '\n';
    return;
  }
  std::cout << path << ": firmware for the bridge of USB " << (hasSections(file) ? 3 : 2)
            << " cameras, " << sizeText(static_cast<std::uintmax_t>(file.dataBytes))
            << " of program and data, entry 0x" << hexText(file.entry, 8) << '\n'
            << (file.fitsFlash == Orvik_TRUE ? "It can be loaded, or written into the flash.\n"
                                             : "It can be loaded, not written into the flash.\n");
}

ExitCode info(const FirmwareOptions& options) {
  if (!options.file.empty()) {
    printFile(options.file, checkFirmwareFile(options.file), options.json);
    return ExitCode::kOk;
  }
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera = openCamera(cameras.choose(options.camera));
  const Json versions = versionsOf(camera);
  if (options.json) {
    std::cout << versions.dump(2) << '\n';
  } else {
    std::cout << "firmware  " << versions["firmware"].dump() << "\nFPGA      "
              << versions["fpga"].get<std::string>() << '\n';
  }
  return ExitCode::kOk;
}

void report(const FirmwareOptions& options, const char* what) {
  if (options.json) {
    const Json result = {{"file", options.file}, {"result", what}};
    std::cout << result.dump(2) << '\n';
  } else {
    std::cout << options.file << ": " << what << '\n';
  }
}

ExitCode load(const FirmwareOptions& options) {
  const Orvik_FIRMWARE_FILE file = checkFirmwareFile(options.file);
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  requireBridge(options.file, file, chosen);
  const Camera camera = openCamera(chosen);
  requireConsent(options.yes, options.file + " will be loaded into " + chosen.label() +
                                  " and started. It runs until the camera loses power; firmware "
                                  "for another model can make it silent until then.");
  camera.firmware().load(options.file);
  report(options, "loaded and started");
  std::cerr << "note: the camera may come back with another index; see `orvikctl list`.\n";
  return ExitCode::kOk;
}

/// Adds to the library's message what a failed write means.
[[noreturn]] void failFlash(const Error& error) {
  throw Failure(exitCodeOf(error.orvikCode()),
                std::string(error.what()) +
                    "\nThe camera's flash may not hold any firmware as a whole. The camera still "
                    "runs what it had started with: leave it plugged in and repeat this command. "
                    "If it goes on failing, write the firmware that it had before.");
}

ExitCode flash(const FirmwareOptions& options) {
  const Orvik_FIRMWARE_FILE file = checkFirmwareFile(options.file);
  if (file.fitsFlash != Orvik_TRUE) {
    throw Failure(ExitCode::kUsage,
                  options.file + (hasSections(file)
                                      ? " is longer than the flash's room for firmware, 256 KiB."
                                      : " is made for the bridge of USB 2 cameras, which does not "
                                        "start from this flash; use `orvikctl firmware load`."));
  }
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  requireBridge(options.file, file, chosen);
  const Camera camera = openCamera(chosen);
  requireConsent(options.yes,
                 "The firmware in the flash of " + chosen.label() + " will be replaced by " +
                     options.file +
                     ". Firmware for another model, or a loss of power meanwhile, can leave a "
                     "camera that does not start. Keep a copy with `orvikctl flash dump`.");
  try {
    camera.firmware().flash(options.file, flashProgress());
  } catch (const Error& error) {
    failFlash(error);
  }
  report(options, "written and verified");
  std::cerr << "note: the camera starts with it the next time it is plugged in.\n";
  return ExitCode::kOk;
}

ExitCode verify(const FirmwareOptions& options) {
  const Orvik_FIRMWARE_FILE file = checkFirmwareFile(options.file);
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  requireBridge(options.file, file, chosen);
  const Camera camera = openCamera(chosen);
  camera.firmware().verify(options.file, flashProgress());
  report(options, "the flash holds this firmware");
  return ExitCode::kOk;
}

using Work = ExitCode (*)(const FirmwareOptions&);

/// @param writes whether the command asks before it writes
Command addMember(CLI::App& group, const char* name, const char* what, Work work, bool needsFile,
                  bool writes) {
  auto options = std::make_shared<FirmwareOptions>();
  CLI::App* app = group.add_subcommand(name, what);
  CLI::Option* file = app->add_option("file", options->file, "Firmware file")->type_name("FILE");
  if (needsFile) file->required();
  if (writes) addConsentOption(*app, options->yes);
  addCommonOptions(*app, *options, Scope::kOneCamera);
  return {app, [options, work] { return work(*options); }};
}

}  // namespace

Command addFirmware(CLI::App& program) {
  CLI::App* group = addGroup(program, "firmware", "Tell, load, write or verify firmware");
  return groupCommand(
      group, {addMember(*group, "info", "Tell a camera's versions, or what a firmware file is",
                        info, false, false),
              addMember(*group, "load", "Load firmware into a camera's memory and start it", load,
                        true, true),
              addMember(*group, "flash", "Write firmware into a camera's flash and verify it",
                        flash, true, true),
              addMember(*group, "verify", "Compare a camera's flash with a firmware file", verify,
                        true, false)});
}

}  // namespace orvik::ctl
