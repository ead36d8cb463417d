// SPDX-License-Identifier: MIT
#include "tools/orvikctl/doctor/diagnose.h"

#include <algorithm>
#include <cstdint>
#include <sstream>

namespace orvik::ctl::doctor {
namespace {

constexpr double kSuperSpeedMegabits = 5000;
constexpr double kHighSpeedMegabits = 480;
constexpr std::int64_t kMib = 1 << 20;

// From this kernel on, programs and USB devices can share memory.
constexpr int kKernelMajor = 4;
constexpr int kKernelMinor = 6;

constexpr const char* kInstallRules =
    "Install the library with its udev rules, or copy 70-orvik.rules into /etc/udev/rules.d. Then "
    "run `sudo udevadm control --reload` and plug the camera in again.";

/// Collects findings about one camera.
class CameraJudge {
 public:
  CameraJudge(const CameraFacts& camera, std::vector<Finding>& findings)
      : camera_(camera), findings_(findings) {}

  void judge(bool hasUdevRules) {
    judgeModel();
    judgeAccess(hasUdevRules);
    judgeHolders();
    judgeSpeed();
    judgeSleep();
  }

 private:
  void add(const char* id, const std::string& what, const std::string& fix) {
    findings_.push_back({id, camera_.name + " on port " + camera_.port + " " + what, fix});
  }

  void judgeModel() {
    if (camera_.product) return;
    add("unknown-model", "is of a model that this version does not know.",
        "Install a newer version.");
  }

  void judgeAccess(bool hasUdevRules) {
    if (camera_.access == Access::kNoFile) {
      add("no-device-file", "has no device file " + camera_.file + ".",
          "In a container, hand /dev/bus/usb in. Elsewhere, see that udev runs.");
    } else if (camera_.access == Access::kRefused) {
      add("no-permission", "may not be opened by you.",
          hasUdevRules ? "Plug it in again, so that the udev rules take effect. If you work from "
                         "afar, join the group plugdev: `sudo usermod -aG plugdev $USER`, then "
                         "log in again."
                       : kInstallRules);
    }
  }

  void judgeHolders() {
    if (!camera_.holders.empty()) {
      const Holder& holder = camera_.holders.front();
      add("in-use",
          "is in use by " + holder.program + " (process " + std::to_string(holder.process) + ").",
          "End that program, or close the camera in it.");
    } else if (camera_.kernelDriver == "usbfs") {
      add("in-use", "is in use by a program of another user.",
          "Run `sudo orvikctl doctor` to learn which, and end it.");
    } else if (!camera_.kernelDriver.empty()) {
      add("kernel-driver", "is taken by the kernel's driver " + camera_.kernelDriver + ".",
          "Unload it with `sudo modprobe -r " + camera_.kernelDriver + "`, and blacklist it.");
    }
  }

  void judgeSpeed() {
    if (camera_.megabits <= 0) return;
    const std::string fix =
        "Use a port of the other kind (USB 3 ports are often blue), without a hub if you can, and "
        "the cable that came with the camera.";
    if (camera_.megabits < kHighSpeedMegabits) {
      add("slow-link", "runs at the speed of USB 1, which is too slow for images.", fix);
    } else if (camera_.product && camera_.product->usb3Camera == Orvik_TRUE &&
               camera_.megabits < kSuperSpeedMegabits) {
      add("usb2-port", "is built for USB 3 and runs at the speed of USB 2, a tenth of its own.",
          fix);
    }
  }

  void judgeSleep() {
    if (!camera_.maySleep) return;
    add("autosuspend", "may be sent to sleep by the system while it is not read.",
        "The udev rules that come with the library prevent that. Until the next start: `echo on | "
        "sudo tee /sys/bus/usb/devices/" +
            camera_.port + "/power/control`.");
  }

  const CameraFacts& camera_;
  std::vector<Finding>& findings_;
};

/// What full frames of all cameras have in flight, MiB: whole reads of 1 MiB each.
std::int64_t memoryWanted(const MachineFacts& machine) {
  std::int64_t wanted = 0;
  for (const CameraFacts& camera : machine.cameras) {
    if (camera.product) wanted += (camera.product->largestFrameBytes + kMib - 1) / kMib;
  }
  return wanted;
}

void judgeMemory(const MachineFacts& machine, std::vector<Finding>& findings) {
  const std::int64_t wanted = memoryWanted(machine);
  const int limit = machine.usbMemoryMib.value_or(0);
  if (limit == 0 || limit >= wanted) return;
  const std::string enough = std::to_string(wanted + wanted / 4);
  findings.push_back(
      {"usb-memory",
       "USB transfers may hold " + std::to_string(limit) + " MiB of memory, and full frames of " +
           (machine.cameras.size() > 1 ? "these cameras" : machine.cameras.front().name) +
           " want " + std::to_string(wanted) + ": at full speed some can be lost.",
       "`echo " + enough +
           " | sudo tee /sys/module/usbcore/parameters/usbfs_memory_mb`; to keep it, add "
           "usbcore.usbfs_memory_mb=" +
           enough + " to the kernel's command line."});
}

void judgeKernel(const MachineFacts& machine, std::vector<Finding>& findings) {
  int major = 0;
  int minor = 0;
  std::istringstream text(machine.kernel);
  char dot = 0;
  if (!(text >> major >> dot >> minor)) return;
  if (major > kKernelMajor || (major == kKernelMajor && minor >= kKernelMinor)) return;
  findings.push_back(
      {"old-kernel",
       "Linux " + machine.kernel + " cannot share memory with USB devices, which costs speed.",
       "Use Linux 4.6 or newer."});
}

void judgeSettings(const MachineFacts& machine, std::vector<Finding>& findings) {
  if (machine.settingsObstacle.empty()) return;
  if (machine.settingsFile.empty()) {
    findings.push_back(
        {"no-settings",
         "Cameras do not come up as they were left: you have no home folder in which "
         "their settings could be kept.",
         "Set HOME or XDG_CONFIG_HOME to a folder of yours."});
    return;
  }
  findings.push_back(
      {"no-settings",
       "Cameras do not come up as they were left: their settings cannot be kept in " +
           machine.settingsFile + " (" + machine.settingsObstacle + ").",
       "Make that file, its folder and what else is in it yours, or set "
       "XDG_CONFIG_HOME to a folder of yours."});
}

void judgeEnvironment(const MachineFacts& machine, std::vector<Finding>& findings) {
  if (machine.replay) {
    findings.push_back({"replay",
                        "ORVIK_REPLAY is set: programs see the cameras recorded in '" +
                            *machine.replay + "', and not those that are connected.",
                        "`unset ORVIK_REPLAY` to use the cameras that are connected."});
  } else if (machine.virtualCameras) {
    findings.push_back({"virtual-cameras",
                        "ORVIK_SIM is set: programs see the virtual cameras '" +
                            *machine.virtualCameras + "', and not those that are connected.",
                        "`unset ORVIK_SIM` to use the cameras that are connected."});
  }
}

bool anyRefused(const MachineFacts& machine) {
  return std::ranges::any_of(
      machine.cameras, [](const CameraFacts& camera) { return camera.access == Access::kRefused; });
}

}  // namespace

std::vector<Finding> diagnose(const MachineFacts& machine) {
  std::vector<Finding> findings;
  judgeEnvironment(machine, findings);
  if (!machine.hasUsb) {
    findings.push_back({"no-usb", "This system shows no USB devices at all.",
                        "In a container, hand /sys and /dev/bus/usb in. Elsewhere, load the "
                        "kernel's module usbcore."});
  }
  for (const CameraFacts& camera : machine.cameras) {
    CameraJudge(camera, findings).judge(machine.hasUdevRules);
  }
  // A camera that may not be opened for want of them has said so already.
  if (!machine.hasUdevRules && !anyRefused(machine)) {
    findings.push_back({"no-udev-rules",
                        "The udev rules are not installed: cameras belong to root alone.",
                        kInstallRules});
  }
  judgeMemory(machine, findings);
  judgeKernel(machine, findings);
  judgeSettings(machine, findings);
  return findings;
}

}  // namespace orvik::ctl::doctor
