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

/// Makes the pictures of one camera, in bands of a few rows that fit into the processor's caches.
/// From the second picture of the same settings on, what all of them have in common is kept (four
/// bytes a sample); a further one costs a pass over its samples. Light that is expensive to work
/// out is kept as well (four bytes a pixel). Nothing large is allocated before. One thread at a
/// time.
class PictureMaker {
 public:
  PictureMaker(const Model& model, const CameraOptions& options, std::uint32_t serial);

  /// Makes rows of a picture.
  /// @param look how the telescope showed the sky; nothing to a scene that fills the view evenly
  /// @param number selects the noise; the same number gives the same picture
  /// @param bytes of these rows, filled with samples without marks
  void make(const FrameSettings& settings, const Look& look, std::uint64_t number,
            const RowRange& rows, std::span<std::uint8_t> bytes);

  /// Works out ahead what the first picture will need, whatever its settings.
  void prepare();

  /// Gives back the memory of what is kept.
  void release();

 private:
  /// What the light on the pixels depends on.
  struct LightSettings {
    Area area;
    Look look;

    friend bool operator==(const LightSettings&, const LightSettings&) = default;
  };
  /// What all pictures of the same settings have in common, and the first of them.
  struct Series {
    FrameSettings settings;
    Look look;
    std::uint64_t first = 0;
  };
  /// The means and deviations of some rows.
  struct SignalRows {
    std::span<const std::int16_t> mean;
    std::span<const std::int16_t> deviation;
  };

  void begin(const FrameSettings& settings, const Look& look, std::uint64_t number);
  const Look& lookOfScene(const Look& look);
  SignalRows signalOf(const RowRange& rows, bool keep);
  std::span<const float> lightOn(const Area& part);
  void illuminate(const Area& area, std::vector<float>& flux);
  void dim(const Area& area, std::span<float> flux);

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
  std::optional<Series> series_;
  Signal kept_;                  ///< of the series: all rows up to some row
  std::vector<float> areaFlux_;  ///< of a scene that is not cheap
  std::optional<LightSettings> illuminated_;
  std::vector<float> bandFlux_;
  Signal bandSignal_;
  std::vector<std::int16_t> samples_;  ///< one row
};

}  // namespace orvik::sim
