// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "sim/camera_options.h"
#include "sim/frame_settings.h"
#include "sim/models.h"
#include "sim/picture/hot_pixels.h"
#include "sim/picture/signal.h"

namespace orvik::sim {

/// Makes the pictures of one camera. What all frames of the same settings have in common is worked
/// out once; a further frame costs a pass over its samples. Nothing large is allocated before the
/// first picture. One thread at a time.
class PictureMaker {
 public:
  PictureMaker(const Model& model, const CameraOptions& options, std::uint32_t serial);

  /// @param look how the telescope showed the sky; nothing to a scene that fills the view evenly
  /// @param number selects the noise; the same number gives the same picture
  /// @param frame settings.bytes() bytes, filled with samples without marks
  void make(const FrameSettings& settings, const Look& look, std::uint64_t number,
            std::span<std::uint8_t> frame);

 private:
  /// What the light on the pixels depends on.
  struct LightSettings {
    Area area;
    Look look;

    friend bool operator==(const LightSettings&, const LightSettings&) = default;
  };

  void prepare(const FrameSettings& settings, const Look& look);
  const Look& lookOfScene(const Look& look);
  void illuminate(const LightSettings& settings);
  void dim(const Area& area);

  const Model* model_;
  std::uint32_t serial_;
  bool ideal_;
  double light_;
  LightColour colour_;
  std::uint64_t noiseSeed_;
  std::shared_ptr<const Scene> scene_;
  SceneKind sceneKind_;
  std::uint64_t sceneSeed_;

  std::vector<HotPixel> hotPixels_;
  std::unique_ptr<SkyView> view_;  ///< null before the sky moves
  std::vector<float> flux_;
  std::optional<LightSettings> illuminated_;
  Signal signal_;
  std::vector<std::int16_t> samples_;      ///< one row
  std::optional<FrameSettings> prepared_;  ///< with the light as in illuminated_
};

}  // namespace orvik::sim
