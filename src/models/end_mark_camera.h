// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "models/model_camera.h"

namespace orvik {

/// The facts of an end-mark model that are not in its ModelRow.
struct EndMarkFacts {
  std::size_t transferBytes = std::size_t{1} << 20;  ///< of one read
  std::uint64_t longExposureUs = 1'000'000;          ///< the host times exposures from here on
};

/// The settings of the sensor of an end-mark model, 16 bits each.
enum class SensorValue : std::uint8_t {
  kFirstRow,
  kFirstColumn,
  kRows,
  kColumns,
  kFrameLength,    ///< lines
  kLineLength,     ///< clock cycles
  kExposureLines,  ///< 0 if the host times the exposure
  kGain,
  kRedGain,   ///< 128 is unity
  kBlueGain,  ///< 128 is unity
  kBlackLevel,
};

/// The family of the models whose frames end with one mark: all settings are in the sensor, 16 bits
/// each. USB 2, no cooler; binning on the host.
class EndMarkCamera : public ModelCamera<Camera> {
 public:
  using Facts = EndMarkFacts;

  void writeRegionSize() override;
  void selectClock() override;
  bool selectClock(int khz) override;
  void setSampleDepth(bool on) override;

 protected:
  EndMarkCamera(const ModelRow& row, const EndMarkFacts& facts,
                std::shared_ptr<const FrameProtocol> protocol);

  struct Setting {
    SensorValue what;
    int value;
  };
  /// Writes settings to the sensor that take effect together.
  virtual bool tellSensor(std::initializer_list<Setting> settings) = 0;

  void writeStartPosition() override;
  void writeGain() override;
  bool writeBrightness() override;
  void writeWhiteBalance() override;
  void writeLineLength() override;
  bool writeExposure() override;
  [[nodiscard]] LineLimits lineLimits() const override;

  [[nodiscard]] const EndMarkFacts& facts() const { return facts_; }

 private:
  const EndMarkFacts& facts_;
};

}  // namespace orvik
