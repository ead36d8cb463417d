// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "orvik/orvik_sim.h"
#include "seam/install.h"
#include "sim/hardware/spi_flash.h"
#include "sim/models.h"
#include "sim/plug_options.h"
#include "sim/sim_host.h"
#include "sim/wire/descriptors.h"

namespace orvik::sim {
namespace {

std::mutex mutex;
bool installed = false;

/// The one host of the process. It outlives every thread that may use it.
const std::shared_ptr<SimHost>& host() {
  static const auto& theHost = *new std::shared_ptr<SimHost>(std::make_shared<SimHost>());
  return theHost;
}

/// Unplugs all cameras when the program ends or the library is unloaded, so that none of their
/// threads executes code that has been unloaded. A forked process has no such threads.
void unplugAtExit() {
  static const pid_t owner = getpid();
  [[maybe_unused]] static const int registered = std::atexit([] {
    if (getpid() == owner) OrvikSimUnplugAll();
  });
}

std::string& lastError() {
  thread_local std::string text;
  return text;
}

int fail(std::string why) {
  lastError() = std::move(why);
  return -1;
}

int plug(const char* code, const char* text) {
  if (code == nullptr) return fail("No model is named.");
  const Model* model = findModel(code);
  if (model == nullptr) return fail("There is no model '" + std::string(code) + "'.");
  CameraOptions options;
  std::string refusal = parsePlugOptions(text == nullptr ? "" : text, options);
  if (!refusal.empty()) return fail(std::move(refusal));

  if (!options.flashPath.empty()) {
    options.flash = FlashFile::open(options.flashPath, SpiFlash::kBytes);
    if (!options.flash) {
      return fail("The file '" + options.flashPath +
                  "' cannot keep a flash: it cannot be opened, or is not one of 1 MiB.");
    }
  }

  const std::lock_guard lock(mutex);
  const int id = host()->plug(*model, options);
  if (id == 0) return fail("The virtual bus has no free port.");
  if (!installed) orvik_private_install_host(host());
  installed = true;
  unplugAtExit();
  lastError().clear();
  return id;
}

Orvik_SIM_CAMERA recordOf(const PluggedCamera& camera) {
  Orvik_SIM_CAMERA record{};
  record.id = camera.id;
  std::snprintf(record.model, sizeof record.model, "%s", camera.model->code);
  std::snprintf(record.serial, sizeof record.serial, "%s", serialText(camera.serial).c_str());
  record.bus = camera.info.location.bus;
  record.port = camera.info.location.ports.front();
  record.address = camera.info.location.address;
  record.usb3Port = camera.usb3Port ? Orvik_TRUE : Orvik_FALSE;
  return record;
}

}  // namespace
}  // namespace orvik::sim

using namespace orvik::sim;

int OrvikSimPlug(const char* model, const char* options) {
  try {
    return plug(model, options);
  } catch (const std::exception&) {
    // The text fits in the string object itself, so that this allocates nothing.
    lastError() = "Out of memory.";
    return -1;
  }
}

int OrvikSimUnplug(int id) {
  try {
    return host()->unplug(id) ? 1 : 0;
  } catch (const std::exception&) {
    return 0;
  }
}

void OrvikSimUnplugAll(void) {
  try {
    const std::lock_guard lock(mutex);
    if (!installed) return;
    host()->unplugAll();
    orvik_private_install_host(nullptr);
    installed = false;
  } catch (const std::exception&) {
    // Nothing was plugged in, or everything has been unplugged.
  }
}

int OrvikSimList(Orvik_SIM_CAMERA* cameras, int capacity) {
  try {
    const std::vector<PluggedCamera> plugged = host()->cameras();
    const int count = static_cast<int>(plugged.size());
    const int shown = cameras == nullptr ? 0 : std::clamp(capacity, 0, count);
    std::transform(plugged.begin(), plugged.begin() + shown, cameras, recordOf);
    return count;
  } catch (const std::exception&) {
    return 0;
  }
}

const char* OrvikSimModel(int position) {
  const auto all = models();
  if (position < 0 || static_cast<std::size_t>(position) >= all.size()) return nullptr;
  return all[static_cast<std::size_t>(position)].code;
}

const char* OrvikSimLastError(void) { return lastError().c_str(); }
