// SPDX-License-Identifier: MIT
#include "api/registry.h"

#include <strings.h>

#include <algorithm>
#include <utility>

#include "camera/model_devices.h"
#include "models/catalogue.h"
#include "seam/identity.h"
#include "seam/location_text.h"
#include "usb/current_host.h"
#include "usb/device_list.h"
#include "usb/usb_device.h"

namespace orvik {
namespace {

bool isHandle(int number) { return number >= Registry::kFirstHandle; }

bool sameSerial(const std::string& one, const std::string& other) {
  return strcasecmp(one.c_str(), other.c_str()) == 0;
}

/// The devices that an identity matches: the one at that port, else those with that serial number.
std::vector<ConnectedDevice> meantBy(const std::string& identity,
                                     std::vector<ConnectedDevice> devices) {
  const auto isAtPort = [&](const ConnectedDevice& each) {
    return seam::portText(each.device.location) == identity;
  };
  const bool isPort = std::ranges::any_of(devices, isAtPort);
  std::erase_if(devices, [&](const ConnectedDevice& each) {
    return isPort ? !isAtPort(each) : !sameSerial(each.serialNumber, identity);
  });
  return devices;
}

}  // namespace

Registry& Registry::instance() {
  // Never destroyed: a thread of the program may still be inside a call when the program ends.
  static auto* const registry = new Registry;
  return *registry;
}

int Registry::enumerate() {
  const std::lock_guard controlling(controlling_);
  std::vector<std::uint16_t> found;
  for (int n = 0; n < identity::kClassCount; ++n) {
    CUsbDevice device(identity::classGuid(n));
    const int count = device.deviceCount();
    for (int i = 0; i < count && found.size() < kMaxCameras; ++i) {
      device.Open(static_cast<std::uint8_t>(i));
      if (device.vendorId() == identity::kVendorId) found.push_back(device.productId());
    }
  }
  const std::lock_guard lock(tables_);
  productIds_ = std::move(found);
  return static_cast<int>(productIds_.size());
}

bool Registry::isConnected(int index) const {
  const std::lock_guard lock(tables_);
  return index >= 0 && static_cast<std::size_t>(index) < productIds_.size();
}

std::uint16_t Registry::productAt(int index) const {
  const std::lock_guard lock(tables_);
  return productIds_[static_cast<std::size_t>(index)];
}

Registry::CameraPtr Registry::cameraAt(int index) const {
  const std::lock_guard lock(tables_);
  return cameras_[static_cast<std::size_t>(index)];
}

/// The ordinal of this camera among those of its model, counted from 1. All products of a model
/// count, because the driver of the model counts its devices the same way.
int Registry::sameModelOrdinal(int index) const {
  const std::lock_guard lock(tables_);
  const auto end = productIds_.begin() + index;
  const ModelRow* model = modelOfProduct(*end);
  return 1 + static_cast<int>(std::count_if(productIds_.begin(), end, [&](std::uint16_t product) {
           return modelOfProduct(product) == model;
         }));
}

Registry::CameraPtr Registry::cameraWith(const seam::Host& host,
                                         const seam::DeviceInfo& device) const {
  const std::lock_guard lock(tables_);
  for (const auto& [handle, camera] : open_) {
    if (camera->host == &host && camera->device == device && !camera->driver->isUnplugged()) {
      return camera;
    }
  }
  return nullptr;
}

void Registry::add(const CameraPtr& camera) {
  const std::lock_guard lock(tables_);
  camera->handle = nextHandle_++;
  open_.emplace(camera->handle, camera);
}

Registry::CameraPtr Registry::take(int number) {
  const std::lock_guard lock(tables_);
  CameraPtr camera;
  if (isHandle(number)) {
    const auto found = open_.find(number);
    if (found != open_.end()) camera = found->second;
  } else if (number >= 0 && static_cast<std::size_t>(number) < kMaxCameras) {
    camera = cameras_[static_cast<std::size_t>(number)];
  }
  if (!camera) return nullptr;
  open_.erase(camera->handle);
  std::ranges::replace(cameras_, camera, nullptr);
  return camera;
}

std::shared_ptr<OpenCamera> Registry::find(int number, Orvik_ERROR_CODE& error) const {
  const std::lock_guard lock(tables_);
  CameraPtr camera;
  error = Orvik_ERROR_NO_CAMERA_OBJECT;
  if (isHandle(number)) {
    const auto found = open_.find(number);
    if (found != open_.end()) camera = found->second;
    if (number >= nextHandle_) error = Orvik_ERROR_CAMERA_INDEX;
  } else if (number >= 0 && static_cast<std::size_t>(number) < productIds_.size()) {
    camera = cameras_[static_cast<std::size_t>(number)];
  } else {
    error = Orvik_ERROR_CAMERA_INDEX;
  }
  if (camera) error = Orvik_OK;
  return camera;
}

/// The camera that has the device at `index` open, under a handle or under another index.
Registry::CameraPtr Registry::cameraOfDeviceAt(int index) const {
  const ModelRow* model = modelOfProduct(productAt(index));
  if (model == nullptr) return nullptr;
  const auto host = currentHost();
  const auto device = deviceOfModel(*model, host->devices(), sameModelOrdinal(index));
  return device ? cameraWith(*host, *device) : nullptr;
}

Orvik_ERROR_CODE Registry::property(Orvik_CAMERA_INFO& info, int number) {
  const std::lock_guard controlling(controlling_);
  Orvik_ERROR_CODE error = Orvik_OK;
  auto camera = find(number, error);
  if (error == Orvik_ERROR_CAMERA_INDEX) return Orvik_ERROR_INFO_INDEX;
  info.cameraIndex = number;
  if (!camera && isHandle(number)) return error;
  if (!camera) camera = cameraOfDeviceAt(number);
  if (camera) {
    camera->driver->describe(info);
    return Orvik_OK;
  }
  const auto unopened = createCamera(productAt(number));
  if (!unopened) return Orvik_ERROR_NO_CAMERA_OBJECT;
  // Some models have variants, which only the device knows. A device that cannot be opened at
  // present is described as the model.
  const bool opened = unopened->model().probed && unopened->open(sameModelOrdinal(number));
  unopened->describe(info);
  if (opened) unopened->close();
  return Orvik_OK;
}

/// Common to all ways of opening a device; called when it is open.
void Registry::prepare(OpenCamera& camera, const seam::Host& host) {
  camera.host = &host;
  camera.device = camera.driver->device();
  camera.serialNumber = camera.driver->serialNumber();
  camera.driver->loadOwnSettings();
  camera.driver->state().timeMark = false;
  camera.driver->initialise();
}

Orvik_ERROR_CODE Registry::open(int number) {
  if (!isHandle(number) && !isConnected(0)) enumerate();
  const std::lock_guard controlling(controlling_);
  Orvik_ERROR_CODE error = Orvik_OK;
  if (find(number, error) || error == Orvik_ERROR_CAMERA_INDEX || isHandle(number)) return error;

  auto camera = std::make_shared<OpenCamera>();
  camera->driver = createCamera(productAt(number));
  if (!camera->driver) return Orvik_ERROR_NO_CAMERA_OBJECT;
  const auto host = currentHost();
  if (cameraOfDeviceAt(number) || !camera->driver->open(sameModelOrdinal(number))) {
    return Orvik_ERROR_OPEN_FAILED;
  }
  prepare(*camera, *host);
  add(camera);
  const std::lock_guard lock(tables_);
  cameras_[static_cast<std::size_t>(number)] = std::move(camera);
  return Orvik_OK;
}

std::vector<ConnectedDevice> Registry::connected() {
  const auto host = currentHost();
  const auto present = inOrderOfEnumeration(host->devices());
  serialNumbers_.keepOnly(*host, present);
  std::vector<ConnectedDevice> devices;
  for (const seam::DeviceInfo& device : present) {
    const CameraPtr camera = cameraWith(*host, device);
    if (camera) {
      devices.push_back({device, camera->serialNumber, camera->handle});
    } else {
      devices.push_back({device, serialNumbers_.of(*host, device), 0});
    }
  }
  return devices;
}

/// @param camera receives the driver, open, when the code is Orvik_OK
Orvik_ERROR_CODE Registry::openByIdentity(const ConnectedDevice& device, OpenCamera& camera) {
  camera.driver = createCamera(device.device.productId);
  if (!camera.driver) return Orvik_ERROR_NO_CAMERA_OBJECT;
  if (!camera.driver->open(device.device)) return Orvik_ERROR_OPEN_FAILED;
  // The serial number comes from the device itself this time. A device that reports none is
  // accepted at its port.
  const std::string serialNumber = camera.driver->serialNumber();
  if (!serialNumber.empty() && !device.serialNumber.empty() &&
      !sameSerial(serialNumber, device.serialNumber)) {
    camera.driver->close();
    return Orvik_ERROR_OPEN_FAILED;
  }
  return Orvik_OK;
}

Orvik_ERROR_CODE Registry::openDevice(const std::string& identity, int& handle) {
  const std::lock_guard controlling(controlling_);
  const auto host = currentHost();
  const auto meant = meantBy(identity, connected());
  if (meant.empty()) return Orvik_ERROR_NO_DEVICE;
  if (meant.size() > 1) return Orvik_ERROR_SEVERAL_DEVICES;
  if (meant.front().handle != 0) {
    handle = meant.front().handle;
    return Orvik_OK;
  }
  auto camera = std::make_shared<OpenCamera>();
  const Orvik_ERROR_CODE error = openByIdentity(meant.front(), *camera);
  if (error != Orvik_OK) return error;
  prepare(*camera, *host);
  if (camera->serialNumber.empty()) camera->serialNumber = meant.front().serialNumber;
  add(camera);
  handle = camera->handle;
  return Orvik_OK;
}

Orvik_ERROR_CODE Registry::close(int number) {
  const std::lock_guard controlling(controlling_);
  Orvik_ERROR_CODE error = Orvik_OK;
  find(number, error);
  // The index may no longer exist although its camera is still open; it is closed all the same.
  if (const CameraPtr camera = take(number)) camera->driver->close();
  return error == Orvik_ERROR_NO_CAMERA_OBJECT ? Orvik_OK : error;
}

}  // namespace orvik
