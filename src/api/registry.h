// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "camera/camera.h"
#include "orvik/orvik_service.h"
#include "usb/serial_numbers.h"

namespace orvik {

/// An open camera as the flat functions use it. Shared, so that a camera that is closed while
/// another thread is inside a call is destroyed after that call.
struct OpenCamera {
  std::unique_ptr<Camera> driver;
  std::atomic<int> imageBytes{0};  ///< of one delivered image; 0 until a format has been set
  /// Of the last delivery; set by the delivering thread at its end.
  std::atomic<Orvik_NO_FRAME_REASON> noFrameReason{Orvik_NO_FRAME_NONE};

  // Set before any other thread sees the camera, and constant from then on.
  int handle = 0;
  const seam::Host* host = nullptr;  ///< kept alive by the driver's device
  seam::DeviceInfo device;
  std::string serialNumber;  ///< "" for none
};

/// A device of the maker that is plugged in.
struct ConnectedDevice {
  seam::DeviceInfo device;
  std::string serialNumber;  ///< "" for none
  int handle = 0;            ///< of the camera that has opened it; 0 for none
};

/// The cameras of the process: by index, the enumerated devices and the cameras that were opened by
/// index; by handle, all open cameras.
///
/// Lookup may run on any thread. Enumeration, opening, closing and property queries run on one
/// thread at a time, which a lock ensures.
class Registry {
 public:
  static constexpr std::size_t kMaxCameras = 128;
  static constexpr int kFirstHandle = ORVIK_FIRST_HANDLE;

  static Registry& instance();

  /// Lists the maker's devices, by device-interface class, and stores them.
  /// @return their number, at most kMaxCameras.
  int enumerate();
  /// @param number index or handle
  Orvik_ERROR_CODE property(Orvik_CAMERA_INFO& info, int number);
  Orvik_ERROR_CODE open(int number);
  Orvik_ERROR_CODE close(int number);

  /// The devices that are plugged in now, in the order of enumeration, regardless of enumerate().
  std::vector<ConnectedDevice> connected();
  /// Opens a device by serial number or port.
  /// @param handle changed on success only
  Orvik_ERROR_CODE openDevice(const std::string& identity, int& handle);

  /// Finds an open camera.
  /// @param number index or handle
  /// @param error receives the code for a bad number or a camera that is not open
  /// @return null in both cases.
  std::shared_ptr<OpenCamera> find(int number, Orvik_ERROR_CODE& error) const;

 private:
  using CameraPtr = std::shared_ptr<OpenCamera>;

  Registry() = default;

  // Each of these takes the lock for the tables.
  [[nodiscard]] bool isConnected(int index) const;
  [[nodiscard]] std::uint16_t productAt(int index) const;
  [[nodiscard]] CameraPtr cameraAt(int index) const;
  [[nodiscard]] int sameModelOrdinal(int index) const;
  /// The camera that has the device open at present; null if there is none.
  [[nodiscard]] CameraPtr cameraWith(const seam::Host& host, const seam::DeviceInfo& device) const;
  /// Registers an opened camera under a new handle.
  void add(const CameraPtr& camera);
  /// Removes the camera with this number from the tables. @return the camera, or null.
  CameraPtr take(int number);

  // To be called with controlling_ held.
  [[nodiscard]] CameraPtr cameraOfDeviceAt(int index) const;
  static Orvik_ERROR_CODE openByIdentity(const ConnectedDevice& device, OpenCamera& camera);
  static void prepare(OpenCamera& camera, const seam::Host& host);

  std::mutex controlling_;     ///< held for a whole enumeration, query, open or close
  mutable std::mutex tables_;  ///< held for each access to the tables
  std::vector<std::uint16_t> productIds_;
  std::array<CameraPtr, kMaxCameras> cameras_;  ///< by index, those that were opened by index
  std::map<int, CameraPtr> open_;               ///< by handle, all
  int nextHandle_ = kFirstHandle;
  SerialNumbers serialNumbers_;
};

}  // namespace orvik
