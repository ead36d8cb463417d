// SPDX-License-Identifier: MIT
#include "usb/virtual_cameras.h"

#include <dlfcn.h>

namespace orvik {
namespace {

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\n");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\n") + 1 - begin);
}

std::string_view modelOf(std::string_view camera) {
  return trimmed(camera.substr(0, camera.find(',')));
}

bool endsWithFaults(std::string_view camera) {
  const std::size_t comma = camera.rfind(',');
  return comma != std::string_view::npos && camera.substr(comma + 1).starts_with("fault=");
}

/// The functions of orvik_sim.h that are needed here. They are looked up by name, because
/// liborvik_sim is built on this library.
struct Simulator {
  int (*plug)(const char* model, const char* options) = nullptr;
  int (*unplug)(int id) = nullptr;
  const char* (*model)(int position) = nullptr;
  const char* (*lastError)() = nullptr;

  [[nodiscard]] bool isComplete() const {
    return plug != nullptr && unplug != nullptr && model != nullptr && lastError != nullptr;
  }

  [[nodiscard]] bool hasModel(std::string_view code) const {
    for (int position = 0; const char* each = model(position); ++position) {
      if (code == each) return true;
    }
    return false;
  }
};

/// The folder that this library was loaded from, with a slash at its end; "" if it is not known.
std::string ownFolder() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&plugVirtualCameras), &info) == 0) return {};
  const std::string file = info.dli_fname;
  return file.substr(0, file.rfind('/') + 1);
}

void* loadSimulator() {
  const std::string name = ORVIK_SIM_LIBRARY;
  // If the program itself links the library, its copy has to be used: a second one, from another
  // folder, would have cameras of its own.
  void* library = dlopen(name.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (library == nullptr) library = dlopen((ownFolder() + name).c_str(), RTLD_NOW);
  if (library == nullptr) library = dlopen(name.c_str(), RTLD_NOW);
  return library;
}

template <typename Function>
void lookUp(void* library, const char* name, Function*& function) {
  function = reinterpret_cast<Function*>(dlsym(library, name));
}

}  // namespace

std::vector<std::string> splitCameras(std::string_view list,
                                      const std::function<bool(std::string_view)>& isModel) {
  std::vector<std::string> cameras;
  for (bool more = true; more;) {
    const std::size_t semicolon = list.find(';');
    const std::string_view part = list.substr(0, semicolon);
    more = semicolon != std::string_view::npos;
    if (more) list.remove_prefix(semicolon + 1);

    if (!cameras.empty() && endsWithFaults(cameras.back()) && !isModel(modelOf(part))) {
      cameras.back().append(";").append(part);
    } else if (const auto camera = trimmed(part); !camera.empty()) {
      cameras.emplace_back(camera);
    }
  }
  return cameras;
}

std::string plugVirtualCameras(std::string_view list) {
  void* const library = loadSimulator();
  if (library == nullptr) {
    const char* const reason = dlerror();  // NOLINT(concurrency-mt-unsafe): each thread has its own
    return std::string("The library of virtual cameras cannot be loaded: ") +
           (reason == nullptr ? "unknown reason" : reason) + ".";
  }
  Simulator simulator;
  lookUp(library, "OrvikSimPlug", simulator.plug);
  lookUp(library, "OrvikSimUnplug", simulator.unplug);
  lookUp(library, "OrvikSimModel", simulator.model);
  lookUp(library, "OrvikSimLastError", simulator.lastError);
  if (!simulator.isComplete()) return ORVIK_SIM_LIBRARY " is of another version.";

  const auto cameras = splitCameras(list, [&](auto code) { return simulator.hasModel(code); });
  if (cameras.empty()) return "No camera is named.";
  std::vector<int> plugged;
  for (const std::string& camera : cameras) {
    const std::size_t comma = camera.find(',');
    const std::string options = comma == std::string::npos ? "" : camera.substr(comma + 1);
    const int id = simulator.plug(std::string(modelOf(camera)).c_str(), options.c_str());
    if (id < 0) {
      std::string reason = simulator.lastError();
      for (const int other : plugged) simulator.unplug(other);
      return reason;
    }
    plugged.push_back(id);
  }
  return {};
}

}  // namespace orvik
