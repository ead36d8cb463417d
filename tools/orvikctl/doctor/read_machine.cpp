// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>

#include "tools/orvikctl/doctor/machine.h"

namespace orvik::ctl::doctor {
namespace {

namespace fs = std::filesystem;

/// The entries of a folder; none if it cannot be read.
std::vector<fs::path> entriesOf(const fs::path& folder) {
  std::vector<fs::path> entries;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    entries.push_back(it->path());
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

/// The contents of a file without the final newline; "" if it cannot be read.
std::string textOf(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(in), {}};
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

std::optional<int> numberOf(const fs::path& file, int base = 10) {
  const std::string text = textOf(file);
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  if (error != std::errc() || end == text.data()) return std::nullopt;
  return value;
}

std::string linkTarget(const fs::path& link) {
  std::error_code ignored;
  return fs::read_symlink(link, ignored).string();
}

std::string deviceFile(int bus, int device) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "/dev/bus/usb/%03d/%03d", bus, device);
  return text.data();
}

fs::path below(const fs::path& root, const std::string& absolute) {
  return root / fs::path(absolute).relative_path();
}

Access accessTo(const fs::path& file) {
  if (access(file.c_str(), R_OK | W_OK) == 0) return Access::kGranted;
  return errno == ENOENT || errno == ENOTDIR ? Access::kNoFile : Access::kRefused;
}

/// The kernel driver of the first interface that has one.
std::string driverOf(const fs::path& device) {
  for (const fs::path& entry : entriesOf(device)) {
    if (entry.filename().string().find(':') == std::string::npos) continue;
    const std::string target = linkTarget(entry / "driver");
    if (!target.empty()) return fs::path(target).filename();
  }
  return "";
}

std::vector<Holder> holdersOf(const fs::path& root, const std::string& file) {
  std::vector<Holder> holders;
  for (const fs::path& process : entriesOf(root / "proc")) {
    const std::string name = process.filename();
    int number = 0;
    const auto parsed = std::from_chars(name.data(), name.data() + name.size(), number);
    if (parsed.ptr != name.data() + name.size() || number == getpid()) continue;
    for (const fs::path& open : entriesOf(process / "fd")) {
      if (linkTarget(open) != file) continue;
      holders.push_back({textOf(process / "comm"), number});
      break;
    }
  }
  return holders;
}

std::optional<Orvik_PRODUCT> findProduct(std::span<const Orvik_PRODUCT> products, int id) {
  const auto found = std::find_if(products.begin(), products.end(),
                                  [id](const auto& product) { return product.productId == id; });
  return found == products.end() ? std::nullopt : std::optional(*found);
}

CameraFacts readCamera(const fs::path& root, const fs::path& device,
                       std::span<const Orvik_PRODUCT> products) {
  CameraFacts camera;
  camera.product = findProduct(products, numberOf(device / "idProduct", 16).value_or(-1));
  camera.name = camera.product ? camera.product->name : textOf(device / "product");
  if (camera.name.empty()) camera.name = "a camera of an unknown model";
  camera.port = device.filename();
  camera.file =
      deviceFile(numberOf(device / "busnum").value_or(0), numberOf(device / "devnum").value_or(0));
  camera.megabits = numberOf(device / "speed").value_or(0);
  camera.maySleep = textOf(device / "power" / "control") == "auto";
  camera.access = accessTo(below(root, camera.file));
  camera.holders = holdersOf(root, camera.file);
  camera.kernelDriver = driverOf(device);
  return camera;
}

/// Whether a file among udev's rules knows the vendor.
bool hasUdevRules(const fs::path& root, int vendorId) {
  std::array<char, 8> vendor{};
  std::snprintf(vendor.data(), vendor.size(), "%04x", static_cast<unsigned>(vendorId) & 0xFFFFU);
  for (const char* folder : {"etc/udev/rules.d", "run/udev/rules.d", "usr/local/lib/udev/rules.d",
                             "usr/lib/udev/rules.d", "lib/udev/rules.d"}) {
    for (const fs::path& file : entriesOf(root / folder)) {
      if (file.extension() != ".rules") continue;
      if (textOf(file).find(vendor.data()) != std::string::npos) return true;
    }
  }
  return false;
}

/// A variable as the library sees it.
std::optional<std::string> variable(const char* name) {
  const char* const value = secure_getenv(name);
  return value == nullptr ? std::nullopt : std::optional<std::string>(value);
}

}  // namespace

std::vector<Orvik_PRODUCT> knownProducts() {
  std::vector<Orvik_PRODUCT> products;
  Orvik_PRODUCT product{};
  while (OrvikGetProduct(static_cast<int>(products.size()), &product) == Orvik_OK) {
    products.push_back(product);
  }
  return products;
}

MachineFacts readMachine(const fs::path& root, std::span<const Orvik_PRODUCT> products) {
  MachineFacts machine;
  machine.virtualCameras = variable("ORVIK_SIM");
  machine.replay = variable("ORVIK_REPLAY");
  const int vendorId = products.empty() ? -1 : products.front().vendorId;
  std::error_code ignored;
  machine.hasUsb = fs::exists(root / "sys/bus/usb/devices", ignored);
  for (const fs::path& device : entriesOf(root / "sys/bus/usb/devices")) {
    if (numberOf(device / "idVendor", 16) != vendorId) continue;
    machine.cameras.push_back(readCamera(root, device, products));
  }
  machine.usbMemoryMib = numberOf(root / "sys/module/usbcore/parameters/usbfs_memory_mb");
  machine.kernel = textOf(root / "proc/sys/kernel/osrelease");
  machine.hasUdevRules = hasUdevRules(root, vendorId);
  Orvik_SETTINGS_PLACE place{};
  if (OrvikGetSettingsPlace(&place) == Orvik_OK) {
    machine.settingsFile = place.file;
    if (place.obstacle != 0) {
      machine.settingsObstacle = std::generic_category().message(place.obstacle);
    }
  }
  return machine;
}

}  // namespace orvik::ctl::doctor
