// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <utility>

#include "base/guarded.h"
#include "camera/camera.h"
#include "orvik/camera_base.h"

namespace orvik {

/// The data of a published camera object: the camera of the engine. It is hidden because members of
/// an exported class would be exported otherwise.
struct __attribute__((visibility("hidden"))) CCameraBase::Impl {
  std::unique_ptr<Camera> camera;

  /// @tparam Model the engine's class. @return null if there is no memory.
  template <class Model>
  static std::unique_ptr<Impl> make() noexcept {
    return guarded(std::unique_ptr<Impl>(), [] {
      auto camera = std::make_unique<Model>();
      camera->delivery().keepLastFrame();  // for DeNoise() and PixelNet()
      return std::make_unique<Impl>(Impl{std::move(camera)});
    });
  }
};

namespace classes {

/// Runs `body(camera)` for a member of a published class.
/// @param impl CCameraBase::impl(), which a free function cannot name; may be null
/// @param onFailure the result for an object without a camera, or if memory runs out
template <class Impl, class Result, class Body>
Result onCamera(Impl* impl, Result onFailure, Body body) noexcept {
  if (impl == nullptr) return onFailure;
  return guarded(std::move(onFailure), [&]() -> Result { return body(*impl->camera); });
}

/// The same for a member without a result.
template <class Impl, class Body>
void withCamera(Impl* impl, Body body) noexcept {
  onCamera(impl, false, [&](Camera& camera) {
    body(camera);
    return true;
  });
}

/// Stores a result unless the pointer is null.
template <class Value, class Given>
void put(Value* wanted, Given value) {
  if (wanted != nullptr) *wanted = static_cast<Value>(value);
}

/// A caller's memory; empty if the pointer is null or the size is below 1.
template <class Byte, class Size>
std::span<Byte> memory(Byte* start, Size size) {
  return start == nullptr || size < 1 ? std::span<Byte>()
                                      : std::span<Byte>(start, static_cast<std::size_t>(size));
}

/// Passes the balance of a camera that is balanced on the host to CAlgorithm. The engine does not
/// need it; programs that demosaic raw frames with CAlgorithm do.
void shareBalance(const Camera& camera);

}  // namespace classes
}  // namespace orvik
