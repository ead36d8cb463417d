// SPDX-License-Identifier: MIT
#include "sim/picture/picture_maker.h"

#include <array>
#include <cstddef>

#include "sim/picture/converter.h"
#include "sim/picture/noise_table.h"
#include "sim/random.h"

namespace orvik::sim {
namespace {

/// The factor that a colour of the light has behind a filter. Behind no filter the three parts come
/// together as they do in white light.
double factorBehind(Filter filter, const LightColour& colour) {
  switch (filter) {
    case Filter::kRed:
      return colour.red;
    case Filter::kGreen:
      return colour.green;
    case Filter::kBlue:
      return colour.blue;
    case Filter::kClear:
      break;
  }
  return (0.96 * colour.red + colour.green + 0.53 * colour.blue) / (0.96 + 1 + 0.53);
}

}  // namespace

PictureMaker::PictureMaker(const Model& model, const CameraOptions& options, std::uint32_t serial)
    : model_(&model),
      serial_(serial),
      ideal_(!options.noise),
      light_(options.light),
      colour_(options.colour),
      noiseSeed_(scramble(options.seed ^ (std::uint64_t{serial} << 32U))),
      scene_(options.scene),
      sceneKind_(options.sceneKind),
      sceneSeed_(options.seed) {}

void PictureMaker::prepare(const FrameSettings& settings, const Look& look) {
  prepared_.reset();  // should memory run out half-way
  if (hotPixels_.empty()) hotPixels_ = hotPixelsOf(model_->sensor, serial_);
  illuminate({settings.area, look});
  const SensorCondition condition{model_->pixel, ideal_, hotPixels_};
  computeSignal(settings, condition, model_->sensor.mosaic != Mosaic::kMono, flux_, signal_);
  prepared_ = settings;
}

/// The look that the scene is shown in: a scene without a view is always the same.
const Look& PictureMaker::lookOfScene(const Look& look) {
  // Never destroyed: a camera may still stream while the program exits.
  static const Look& kRest = *new Look;
  if (look == kRest) return kRest;
  if (!scene_) scene_ = makeScene(sceneKind_, sceneSeed_);
  if (!view_) view_ = scene_->view(model_->sensor);
  return view_ ? look : kRest;
}

void PictureMaker::illuminate(const LightSettings& settings) {
  if (illuminated_ == settings) return;
  illuminated_.reset();
  if (!scene_) scene_ = makeScene(sceneKind_, sceneSeed_);
  flux_.resize(settings.area.pixels());
  if (settings.look != Look{}) {
    view_->illuminate(settings.area, settings.look, flux_);
  } else {
    scene_->illuminate(model_->sensor, settings.area, flux_);
  }
  dim(settings.area);
  illuminated_ = settings;
}

/// Brings the scene's light to the brightness and colour that it is to have.
void PictureMaker::dim(const Area& area) {
  const SensorFormat& sensor = model_->sensor;
  std::array<float, 4> cell{};  // of the mosaic, row by row
  for (int n = 0; n < 4; ++n) {
    cell[static_cast<std::size_t>(n)] = static_cast<float>(
        light_ * factorBehind(sensor.filterAt(area.x + n % 2, area.y + n / 2), colour_));
  }
  if (cell == std::array<float, 4>{1, 1, 1, 1}) return;
  const auto width = static_cast<std::size_t>(area.width);
  for (std::size_t n = 0; n < flux_.size(); ++n) {
    flux_[n] *= cell[n / width % 2 * 2 + n % width % 2];
  }
}

void PictureMaker::make(const FrameSettings& settings, const Look& look, std::uint64_t number,
                        std::span<std::uint8_t> frame) {
  const Look& shown = lookOfScene(look);
  if (prepared_ != settings || illuminated_->look != shown) prepare(settings, shown);
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
