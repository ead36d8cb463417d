// SPDX-License-Identifier: MIT
// A program loads the libraries at run time and unloads them while a cooled camera is open. The
// camera's threads continue, and after loading the libraries again the camera is still open.
// usage: PROGRAM LIBORVIK LIBORVIK_SIM
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <thread>

#include "orvik/orvik_sim.h"

namespace {

/// Keeps both libraries loaded during the lifetime of this object.
class Libraries {
 public:
  Libraries(const char* driver, const char* sim)
      : driver_(dlopen(driver, RTLD_NOW)), sim_(dlopen(sim, RTLD_NOW)) {}
  Libraries(const Libraries&) = delete;
  Libraries& operator=(const Libraries&) = delete;
  ~Libraries() {
    dlclose(sim_);
    dlclose(driver_);
  }

  [[nodiscard]] bool areLoaded() const { return driver_ != nullptr && sim_ != nullptr; }

  template <class Function>
  [[nodiscard]] Function* find(Function*, const char* name) const {
    void* const symbol = dlsym(sim_, name);
    return reinterpret_cast<Function*>(symbol != nullptr ? symbol : dlsym(driver_, name));
  }

 private:
  void* driver_;
  void* sim_;
};

// Looks the function up by name and casts it to its type; nothing is linked.
#define CALL(libraries, name) (libraries).find(static_cast<decltype(&name)>(nullptr), #name)

bool openCooledCamera(const Libraries& libraries) {
  return CALL(libraries, OrvikSimPlug)("T13C_C", "") > 0 &&
         CALL(libraries, OrvikGetNumOfConnectedCameras)() == 1 &&
         CALL(libraries, OrvikOpenCamera)(0) == Orvik_OK &&
         CALL(libraries, OrvikSetControlValue)(0, Orvik_CTL_COOLER_ON, 1, Orvik_FALSE) == Orvik_OK;
}

bool cameraIsOpen(const Libraries& libraries) {
  int count = 0;
  return CALL(libraries, OrvikGetNumOfControls)(0, &count) == Orvik_OK && count > 0;
}

int failed(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return failed("two libraries are wanted");
  {
    const Libraries libraries(argv[1], argv[2]);
    if (!libraries.areLoaded()) return failed(dlerror());
    // On a thread that ends, because thread-local objects of a library keep that library loaded.
    bool opened = false;
    std::thread([&] { opened = openCooledCamera(libraries); }).join();
    if (!opened) return failed("no camera could be opened");
  }
  // The cooler's thread takes a measurement in the meantime.
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  const Libraries again(argv[1], argv[2]);
  if (!again.areLoaded()) return failed(dlerror());
  if (!cameraIsOpen(again)) return failed("the camera was lost");
  return CALL(again, OrvikCloseCamera)(0) == Orvik_OK ? 0 : failed("the camera does not close");
}
