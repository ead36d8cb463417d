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

/// Why a cooler has no power although its temperature is regulated.
enum class CoolerFault : std::uint8_t {
  kNone,
  kNoReading,   ///< the thermistor could not be read for kReadingLifetime
  kOutOfRange,  ///< for kReadingLifetime it has reported values outside its range
};

/// How long a reading counts as the temperature of the sensor. Also the longest time for which a
/// cooler keeps its power without a reading: at full current a sensor cools by less than twenty
/// degrees in this time.
inline constexpr auto kReadingLifetime = std::chrono::seconds(30);

/// The values of a camera that several threads use: one writes, others read. The capture worker
/// holds them by shared ownership, so that it can outlive the camera object.
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
  std::atomic<bool> rowMirror{false};  ///< read-out counts rows from the bottom; no model does yet

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

  // Saved with the settings, in addition to the control values
  std::atomic<int> bandwidthUsb3{0};  ///< percent; the initial value with a USB 3 host
  std::atomic<bool> autoBlackLevel{false};
  std::array<std::atomic<std::uint8_t>, 4> blackLevelOffsets{};  ///< OO, EE, OE, EO
  std::atomic<bool> timeMark{false};  ///< 8-bit and colour images carry the time
  std::atomic<bool> hotPixelCorrection{false};
  std::atomic<bool> usingDark{false};
  std::array<char, 256> darkPath{};  ///< zero-terminated; guarded by the settings lock
  /// The settings of the sensor over time.
  SettingsHistory settingsHistory;

  // Timing
  std::atomic<int> clockKhz{0};
  std::atomic<int> lineLength{0};  ///< clock cycles
  std::atomic<std::uint32_t> exposureLines{0};
  std::atomic<bool> longExposure{false};  ///< the host times the exposure
  std::atomic<float> maxFrameRate{0};     ///< frames per second
  std::atomic<float> dataRate{0};         ///< megapixels per second

  // What the camera reported
  std::atomic<bool> usb3Host{false};
  std::atomic<std::uint8_t> firmwareVersion{0};         ///< as read when the camera was initialised
  std::atomic<FpgaVersion> fpgaVersion{FpgaVersion{}};  ///< as read when the camera was initialised
  std::atomic<float> temperature{0};                    ///< degrees Celsius, last valid reading
  /// Whether the last reading of the thermometer was valid.
  std::atomic<bool> temperatureValid{false};
  /// Time of the last valid reading, on the camera's clock; kNever before the first since the
  /// camera was opened.
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
  /// Whether `temperature` is recent enough to be that of the sensor.
  [[nodiscard]] bool temperatureIsRecent(seam::Clock::Duration now) const {
    const seam::Clock::Duration readAt = temperatureAt;
    return readAt != kNever && now - readAt <= kReadingLifetime;
  }

  /// The bin factor that the host applies.
  [[nodiscard]] int softwareBin() const { return hardwareBin ? 1 : bin.load(); }
  /// Rows of a frame on the wire.
  [[nodiscard]] int rowsDelivered() const { return height * softwareBin(); }
  /// Columns of a frame on the wire.
  [[nodiscard]] int columnsDelivered() const { return width * softwareBin(); }
  [[nodiscard]] int bytesPerSample() const { return output16Bits ? 2 : 1; }
  /// The size and layout of frames with these values. Consistent if the caller holds the settings
  /// lock.
  [[nodiscard]] FrameFormat frameFormat() const {
    return {.width = width,
            .height = height,
            .bin = bin,
            .hardwareBin = hardwareBin,
            .is16Bits = output16Bits,
            .rawOutput = rawOutput,
            .type = imageType};
  }
  /// The settings of a frame that is exposed with these values.
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
