// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <vector>

#include "sim/sky/light_plane.h"
#include "sim/sky/optics.h"
#include "sim/sky/scene.h"

namespace orvik::sim {

/// An object that covers a bounded part of a black sky, and is expensive to work out.
class SkyObject : public Scene {
 public:
  /// The part of the sky beyond which there is no light, in sensor pixels, with the telescope where
  /// it points at first. It may be larger than the sensor.
  [[nodiscard]] virtual Area extent(const SensorFormat& sensor) const = 0;
  /// The light of a part of it, row by row.
  [[nodiscard]] virtual std::vector<Light> lights(const SensorFormat& sensor,
                                                  const Area& part) const = 0;

  [[nodiscard]] std::unique_ptr<SkyView> view(const SensorFormat& sensor) const final;
};

/// An object through a telescope. Its light is worked out once, for somewhat more of the sky than
/// the camera sees, and moved by parts of a pixel for each picture.
class ObjectView final : public SkyView {
 public:
  /// @param object must outlive this one
  ObjectView(const SkyObject& object, const SensorFormat& sensor)
      : object_(&object), sensor_(sensor), extent_(object.extent(sensor)), vignette_(sensor) {}

  void illuminate(const Area& area, const Look& look, std::span<float> flux) override;

 private:
  const LightPlane& prepare(const Area& sky, const Look& look);
  void workOut(const Area& sky);
  void addMoved(const LightPlane& light, const Place& place, const Area& area,
                std::span<float> flux);
  void addRow(const LightPlane& light, const Area& area, int row, const Offset& offset,
              float weight, std::span<float> flux);

  const SkyObject* object_;
  SensorFormat sensor_;
  Area extent_;
  Vignette vignette_;
  LightPlane sharp_;
  LightPlane blurred_;
  double airSigma_ = 0;  ///< of blurred_
  double discRadius_ = 0;
  std::vector<float> mixed_;  ///< between rows of the sky, where the row of pixels lies
};

}  // namespace orvik::sim
