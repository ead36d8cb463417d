// SPDX-License-Identifier: MIT
#include "sim/picture/picture_maker.h"

#include "sim/picture/converter.h"
#include "sim/picture/noise_table.h"
#include "sim/random.h"

namespace orvik::sim {

PictureMaker::PictureMaker(const Model& model, const CameraOptions& options, std::uint32_t serial)
    : model_(&model),
      serial_(serial),
      ideal_(!options.noise),
      light_(static_cast<float>(options.light)),
      noiseSeed_(scramble(options.seed ^ (std::uint64_t{serial} << 32U))),
      scene_(options.scene),
      sceneKind_(options.sceneKind),
      sceneSeed_(options.seed) {}

void PictureMaker::prepare(const FrameSettings& settings) {
  prepared_.reset();  // should memory run out half-way
  if (!scene_) scene_ = makeScene(sceneKind_, sceneSeed_);
  if (hotPixels_.empty()) hotPixels_ = hotPixelsOf(model_->sensor, serial_);
  if (fluxArea_ != settings.area) {
    const Area& area = settings.area;
    flux_.resize(static_cast<std::size_t>(area.width) * static_cast<std::size_t>(area.height));
    scene_->illuminate(model_->sensor, area, flux_);
    for (float& value : flux_) value *= light_;
    fluxArea_ = area;
  }
  const SensorCondition condition{model_->pixel, ideal_, hotPixels_};
  computeSignal(settings, condition, model_->sensor.mosaic != Mosaic::kMono, flux_, signal_);
  prepared_ = settings;
}

void PictureMaker::make(const FrameSettings& settings, std::uint64_t number,
                        std::span<std::uint8_t> frame) {
  if (prepared_ != settings) prepare(settings);
  const auto columns = static_cast<std::size_t>(settings.columns);
  const auto rows = static_cast<std::size_t>(settings.rows);
  const std::size_t rowBytes = frame.size() / rows;
  const std::uint64_t frameSeed = scramble(noiseSeed_ + number);
  const RowOutput output(settings);
  samples_.resize(columns);
  for (std::size_t y = 0; y < rows; ++y) {
    convertRow(std::span(signal_.mean).subspan(y * columns, columns),
               std::span(signal_.deviation).subspan(y * columns, columns),
               NoiseTable::run(scramble(frameSeed + y), columns), settings.converterBits, samples_);
    output.put(static_cast<int>(y), samples_, frame.subspan(y * rowBytes, rowBytes));
  }
}

}  // namespace orvik::sim
