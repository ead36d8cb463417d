// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "camera/camera_base.h"
#include "orvik/orvik.h"

namespace orvik {

/// An open camera as the flat functions use it. Shared: a camera that is closed while another
/// thread is inside a call goes away after that call.
struct OpenCamera {
  std::unique_ptr<CCameraBase> driver;
  std::atomic<int> imageBytes{0};  ///< of one delivered image; 0 until a format has been set
};

/// The process's cameras by index: what is connected, and what is open.
///
/// Looking up is for any thread; enumeration, opening, closing and property queries are for one
/// thread at a time, and a lock makes sure of it.
class Registry {
 public:
  static constexpr std::size_t kMaxCameras = 128;

  static Registry& instance();

  /// Walks the device-interface classes in their order and remembers the maker's devices.
  /// @return how many there are, at most kMaxCameras.
  int enumerate();
  Orvik_ERROR_CODE property(Orvik_CAMERA_INFO& info, int index);
  Orvik_ERROR_CODE open(int index);
  Orvik_ERROR_CODE close(int index);

  /// Finds an open camera.
  /// @param error receives the code for a bad index or a camera that is not open
  /// @return null in that case.
  std::shared_ptr<OpenCamera> find(int index, Orvik_ERROR_CODE& error) const;

 private:
  Registry() = default;

  [[nodiscard]] bool isConnected(int index) const;
  [[nodiscard]] std::uint16_t productAt(int index) const;
  [[nodiscard]] std::shared_ptr<OpenCamera> cameraAt(int index) const;
  void put(int index, std::shared_ptr<OpenCamera> camera);
  [[nodiscard]] int sameModelOrdinal(int index) const;

  std::mutex controlling_;     ///< held for a whole enumeration, query, open or close
  mutable std::mutex tables_;  ///< held for a look at the tables
  std::vector<std::uint16_t> productIds_;
  std::array<std::shared_ptr<OpenCamera>, kMaxCameras> cameras_;
};

}  // namespace orvik
