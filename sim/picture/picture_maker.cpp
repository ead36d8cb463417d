// SPDX-License-Identifier: MIT
#include "sim/picture/picture_maker.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "sim/picture/converter.h"
#include "sim/picture/noise_table.h"
#include "sim/random.h"

namespace orvik::sim {
namespace {

/// How many samples are worked on at a time. A band's light, signal and bytes together then fit
/// into a processor's second-level cache.
constexpr std::size_t kBandSamples = std::size_t{96} << 10U;

/// Appends to what is kept. Memory is reserved for all rows, but only touched as they come.
void append(std::span<const std::int16_t> band, const FrameSettings& settings,
            std::vector<std::int16_t>& kept) {
  kept.reserve(static_cast<std::size_t>(settings.columns) *
               static_cast<std::size_t>(settings.rows));
  kept.insert(kept.end(), band.begin(), band.end());
}

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

void PictureMaker::prepare() {
  if (hotPixels_.empty()) hotPixels_ = hotPixelsOf(model_->sensor, serial_);
  if (!scene_) scene_ = makeScene(sceneKind_, model_->sensor, sceneSeed_);
  NoiseTable::run(0, 1);
}

/// Begins the pictures of other settings.
void PictureMaker::begin(const FrameSettings& settings, const Look& look, std::uint64_t number) {
  series_.reset();  // should memory run out half-way
  kept_ = {};
  prepare();
  series_ = {settings, look, number};
}

/// The look that the scene is shown in: a scene without a view is always the same.
const Look& PictureMaker::lookOfScene(const Look& look) {
  // Never destroyed: a camera may still stream while the program exits.
  static const Look& kRest = *new Look;
  if (look == kRest) return kRest;
  if (!scene_) scene_ = makeScene(sceneKind_, model_->sensor, sceneSeed_);
  if (!view_) view_ = scene_->view(model_->sensor);
  return view_ ? look : kRest;
}

void PictureMaker::illuminate(const Area& area, std::vector<float>& flux) {
  flux.resize(area.pixels());
  if (series_->look != Look{}) {
    view_->illuminate(area, series_->look, flux);
  } else {
    scene_->illuminate(model_->sensor, area, flux);
  }
  dim(area, flux);
}

/// The light on a part, of whole rows, of the area that is read out.
std::span<const float> PictureMaker::lightOn(const Area& part) {
  if (scene_->isCheap()) {
    illuminate(part, bandFlux_);
    return bandFlux_;
  }
  const Area& area = series_->settings.area;
  const LightSettings wanted{area, series_->look};
  if (illuminated_ != wanted) {
    illuminated_.reset();
    illuminate(area, areaFlux_);
    illuminated_ = wanted;
  }
  const auto width = static_cast<std::size_t>(area.width);
  return std::span(areaFlux_).subspan(static_cast<std::size_t>(part.y - area.y) * width,
                                      part.pixels());
}

/// Brings the scene's light to the brightness and colour that it is to have.
void PictureMaker::dim(const Area& area, std::span<float> flux) {
  const SensorFormat& sensor = model_->sensor;
  std::array<float, 4> cell{};  // of the mosaic, row by row
  for (int n = 0; n < 4; ++n) {
    cell[static_cast<std::size_t>(n)] = static_cast<float>(
        light_ * factorBehind(sensor.filterAt(area.x + n % 2, area.y + n / 2), colour_));
  }
  if (cell == std::array<float, 4>{1, 1, 1, 1}) return;
  const auto width = static_cast<std::size_t>(area.width);
  for (std::size_t n = 0; n < flux.size(); ++n) {
    flux[n] *= cell[n / width % 2 * 2 + n % width % 2];
  }
}

/// @param keep whether pictures to come will need it
PictureMaker::SignalRows PictureMaker::signalOf(const RowRange& rows, bool keep) {
  const FrameSettings& settings = series_->settings;
  const auto columns = static_cast<std::size_t>(settings.columns);
  const std::size_t begin = static_cast<std::size_t>(rows.begin) * columns;
  const std::size_t count = static_cast<std::size_t>(rows.count()) * columns;
  if (kept_.deviation.size() < begin + count) {
    const bool isMosaic = model_->sensor.mosaic != Mosaic::kMono;
    const SensorCondition condition{model_->pixel, ideal_, hotPixels_};
    computeSignal(settings, condition, isMosaic, rows, lightOn(pixelsOf(settings, isMosaic, rows)),
                  bandSignal_);
    if (!keep || kept_.deviation.size() != begin) return {bandSignal_.mean, bandSignal_.deviation};
    append(bandSignal_.mean, settings, kept_.mean);
    append(bandSignal_.deviation, settings, kept_.deviation);
  }
  return {std::span(kept_.mean).subspan(begin, count),
          std::span(kept_.deviation).subspan(begin, count)};
}

void PictureMaker::make(const FrameSettings& settings, const Look& look, std::uint64_t number,
                        const RowRange& rows, std::span<std::uint8_t> bytes) {
  const Look& shown = lookOfScene(look);
  if (!series_ || series_->settings != settings || series_->look != shown) {
    begin(settings, shown, number);
  }
  const auto columns = static_cast<std::size_t>(settings.columns);
  const std::size_t rowBytes = bytes.size() / static_cast<std::size_t>(rows.count());
  const std::uint64_t frameSeed = scramble(noiseSeed_ + number);
  const RowOutput output(settings);
  samples_.resize(columns);
  const int bandRows = std::max(2, static_cast<int>(kBandSamples / columns) / 2 * 2);
  for (int begin = rows.begin; begin < rows.end; begin += bandRows) {
    const RowRange band{begin, std::min(begin + bandRows, rows.end)};
    const SignalRows signal = signalOf(band, number != series_->first);
    for (int y = band.begin; y < band.end; ++y) {
      const std::size_t at = static_cast<std::size_t>(y - band.begin) * columns;
      convertRow(signal.mean.subspan(at, columns), signal.deviation.subspan(at, columns),
                 NoiseTable::run(scramble(frameSeed + static_cast<std::uint64_t>(y)), columns),
                 settings.converterBits, samples_);
      output.put(y, samples_,
                 bytes.subspan(static_cast<std::size_t>(y - rows.begin) * rowBytes, rowBytes));
    }
  }
}

void PictureMaker::release() {
  series_.reset();
  illuminated_.reset();
  kept_ = {};
  areaFlux_ = {};
  bandFlux_ = {};
  bandSignal_ = {};
}

}  // namespace orvik::sim
