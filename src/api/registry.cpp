// SPDX-License-Identifier: MIT
#include "api/registry.h"

#include <algorithm>
#include <utility>

#include "models/catalogue.h"
#include "seam/identity.h"
#include "usb/usb_device.h"

namespace orvik {

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

std::shared_ptr<OpenCamera> Registry::cameraAt(int index) const {
  const std::lock_guard lock(tables_);
  return cameras_[static_cast<std::size_t>(index)];
}

void Registry::put(int index, std::shared_ptr<OpenCamera> camera) {
  const std::lock_guard lock(tables_);
  cameras_[static_cast<std::size_t>(index)] = std::move(camera);
}

std::shared_ptr<OpenCamera> Registry::find(int index, Orvik_ERROR_CODE& error) const {
  if (!isConnected(index)) {
    error = Orvik_ERROR_CAMERA_INDEX;
    return nullptr;
  }
  auto camera = cameraAt(index);
  error = camera ? Orvik_OK : Orvik_ERROR_NO_CAMERA_OBJECT;
  return camera;
}

Orvik_ERROR_CODE Registry::property(Orvik_CAMERA_INFO& info, int index) {
  const std::lock_guard controlling(controlling_);
  if (!isConnected(index)) return Orvik_ERROR_INFO_INDEX;
  info.cameraIndex = index;
  if (const auto camera = cameraAt(index)) {
    camera->driver->GetCameraProperty(&info);
    return Orvik_OK;
  }
  const auto unopened = createCamera(productAt(index));
  if (!unopened) return Orvik_ERROR_NO_CAMERA_OBJECT;
  // Some models learn which of their variants they are from the device. One that cannot be opened
  // at present is described as the model.
  const bool opened = unopened->model().probed && unopened->OpenCamera(sameModelOrdinal(index));
  unopened->GetCameraProperty(&info);
  if (opened) unopened->CloseCamera();
  return Orvik_OK;
}

/// Which camera of its model this one is, counted from 1. All products of a model count, because
/// the model's driver counts its devices the same way.
int Registry::sameModelOrdinal(int index) const {
  const std::lock_guard lock(tables_);
  const auto end = productIds_.begin() + index;
  const ModelRow* model = modelOfProduct(*end);
  return 1 + static_cast<int>(std::count_if(productIds_.begin(), end, [&](std::uint16_t product) {
           return modelOfProduct(product) == model;
         }));
}

Orvik_ERROR_CODE Registry::open(int index) {
  if (!isConnected(0)) enumerate();
  const std::lock_guard controlling(controlling_);
  if (!isConnected(index)) return Orvik_ERROR_CAMERA_INDEX;
  if (cameraAt(index)) return Orvik_OK;

  auto camera = std::make_shared<OpenCamera>();
  camera->driver = createCamera(productAt(index));
  if (!camera->driver) return Orvik_ERROR_NO_CAMERA_OBJECT;
  if (!camera->driver->OpenCamera(sameModelOrdinal(index))) return Orvik_ERROR_OPEN_FAILED;
  camera->driver->SetTimeMark(false);
  camera->driver->InitCamera();
  put(index, std::move(camera));
  return Orvik_OK;
}

Orvik_ERROR_CODE Registry::close(int index) {
  const std::lock_guard controlling(controlling_);
  // An index may have gone away under its open camera, which is to be closed all the same.
  if (index >= 0 && static_cast<std::size_t>(index) < kMaxCameras) {
    if (const auto camera = cameraAt(index)) {
      put(index, nullptr);
      camera->driver->CloseCamera();
    }
  }
  return isConnected(index) ? Orvik_OK : Orvik_ERROR_CAMERA_INDEX;
}

}  // namespace orvik
