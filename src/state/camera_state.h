// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>

#include "orvik/orvik.h"
#include "seam/clock.h"
#include "state/fpga_version.h"
#include "state/frame_format.h"
#include "state/settings_history.h"

namespace orvik {

/// Why a cooler gets no power though its temperature is regulated.
enum class CoolerFault : std::uint8_t {
  kNone,
  kNoReading,   ///< the thermistor has not been read for kReadingLifetime
  kOutOfRange,  ///< for as long it has shown what no thermistor within its range shows
};

/// How long a temperature counts as that of the sensor. The longest time, too, for which a cooler
/// is left its power without one: at full current a sensor cools by less than twenty degrees in it.
inline constexpr auto kReadingLifetime = std::chrono::seconds(30);

/// The values of a camera that more than one thread sees: one side writes, the other polls. The
/// capture worker holds them by shared ownership, so that it can outlive the camera object.
struct CameraState {
  static constexpr seam::Clock::Duration kNever = seam::Clock::Duration::min();

  // Image geometry
  std::atomic<int> width{0};   ///< pixels after binning
  std::atomic<int> height{0};  ///< pixels after binning
  std::atomic<int> bin{1};
  std::atomic<int> startX{0};  ///< sensor pixels
  std::atomic<int> startY{0};  ///< sensor pixels
  std::atomic<IMAGE_TYPE> imageType{IMAGE_8BIT};
  std::atomic<bool> rawOutput{false};
  std::atomic<bool> output16Bits{false};
  std::atomic<bool> hardwareBin{false};
  std::atomic<bool> highSpeedMode{false};
  std::atomic<bool> rowMirror{false};  ///< readout counts rows from the bottom; no model does yet

  // Control values
  std::atomic<int> gain{0};
  std::atomic<bool> gainAuto{false};
  std::atomic<std::uint64_t> exposureUs{0};
  std::atomic<bool> exposureAuto{false};
  std::atomic<int> gamma{50};
  std::atomic<int> brightness{0};
  std::atomic<int> whiteBalanceRed{0};
  std::atomic<int> whiteBalanceBlue{0};
  std::atomic<bool> whiteBalanceAuto{false};
  std::atomic<int> bandwidth{0};  ///< percent
  std::atomic<bool> bandwidthAuto{false};
  std::atomic<std::chrono::nanoseconds> bandwidthAutoSince{};  ///< when it was switched on
  std::atomic<int> overClock{0};                               ///< percent
  std::atomic<bool> flipHorizontal{false};
  std::atomic<bool> flipVertical{false};
  std::atomic<int> autoMaxGain{50};
  std::atomic<int> autoMaxExposure{30};  ///< seconds
  std::atomic<int> autoTargetBrightness{100};

  // Kept with the settings, beside the control values
  std::atomic<int> bandwidthUsb3{0};  ///< percent; what a USB 3 host starts with
  std::atomic<bool> autoBlackLevel{false};
  std::array<std::atomic<std::uint8_t>, 4> blackLevelOffsets{};  ///< OO, EE, OE, EO
  std::atomic<bool> timeMark{false};  ///< 8-bit and colour images carry the time
  std::atomic<bool> hotPixelCorrection{false};
  std::atomic<bool> usingDark{false};
  std::array<char, 256> darkPath{};  ///< zero-terminated; guarded by the lock for settings

  /// Which settings the sensor had when.
  SettingsHistory settingsHistory;

  // Timing
  std::atomic<int> clockKhz{0};
  std::atomic<int> lineLength{0};  ///< clock cycles
  std::atomic<std::uint32_t> exposureLines{0};
  std::atomic<bool> longExposure{false};  ///< the host times the exposure
  std::atomic<float> maxFrameRate{0};     ///< frames a second
  std::atomic<float> dataRate{0};         ///< megapixels a second

  // What the camera reported
  std::atomic<bool> usb3Host{false};
  std::atomic<std::uint8_t> firmwareVersion{0};         ///< as read when the camera was initialised
  std::atomic<FpgaVersion> fpgaVersion{FpgaVersion{}};  ///< as read when the camera was initialised
  std::atomic<float> temperature{0};                    ///< degrees Celsius, last valid reading
  /// Whether the thermometer gave a valid reading when it was asked last.
  std::atomic<bool> temperatureValid{false};
  /// When it did so last, on the camera's clock; kNever before the first since the camera was
  /// opened.
  std::atomic<seam::Clock::Duration> temperatureAt{kNever};

  // Cooler
  std::atomic<bool> coolerOn{false};      ///< the temperature is regulated
  std::atomic<int> targetTemperature{0};  ///< degrees Celsius
  std::atomic<float> coolerPower{0};      ///< percent, as last acknowledged by the camera
  std::atomic<CoolerFault> coolerFault{CoolerFault::kNone};
  std::atomic<bool> temperatureKept{false};  ///< a thread keeps `temperature` up to date

  void noteTemperature(float celsius, seam::Clock::Duration now) {
    temperature = celsius;
    temperatureAt = now;
    temperatureValid = true;
  }
  /// Whether `temperature` is that of the sensor.
  [[nodiscard]] bool temperatureIsRecent(seam::Clock::Duration now) const {
    const seam::Clock::Duration readAt = temperatureAt;
    return readAt != kNever && now - readAt <= kReadingLifetime;
  }

  /// The bin factor that is left to the host.
  [[nodiscard]] int softwareBin() const { return hardwareBin ? 1 : bin.load(); }
  /// Rows of a frame on the wire.
  [[nodiscard]] int rowsDelivered() const { return height * softwareBin(); }
  /// Columns of a frame on the wire.
  [[nodiscard]] int columnsDelivered() const { return width * softwareBin(); }
  [[nodiscard]] int bytesPerSample() const { return output16Bits ? 2 : 1; }
  /// The size and layout that these values make. Consistent for who holds the lock for settings.
  [[nodiscard]] FrameFormat frameFormat() const {
    return {.width = width,
            .height = height,
            .bin = bin,
            .hardwareBin = hardwareBin,
            .is16Bits = output16Bits,
            .rawOutput = rawOutput,
            .type = imageType};
  }
  /// What a frame that is exposed with these values is exposed with.
  [[nodiscard]] FrameSettings frameSettings() const {
    return {.exposureUs = exposureUs,
            .gain = gain,
            .brightness = brightness,
            .balance = {.red = whiteBalanceRed, .blue = whiteBalanceBlue},
            .startX = startX,
            .startY = startY};
  }
};

}  // namespace orvik
