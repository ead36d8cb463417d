// SPDX-License-Identifier: MIT
#include "models/end_mark_camera.h"

#include <utility>

#include "models/end_mark_timing.h"

namespace orvik {

EndMarkCamera::EndMarkCamera(const ModelRow& row, const EndMarkFacts& facts,
                             std::shared_ptr<const FrameProtocol> protocol)
    : ModelCamera(row, std::move(protocol)), facts_(facts) {
  state().clockKhz = end_mark::kNormalClockKhz;
  state().lineLength = end_mark::minLineLength(row.maxWidth);
  loadSettings(row.settingsName);
}

void EndMarkCamera::writeRegionSize() {
  tellSensor({{SensorValue::kRows, state().rowsDelivered()},
              {SensorValue::kColumns, state().columnsDelivered()}});
}

void EndMarkCamera::selectClock() { state().clockKhz = end_mark::kNormalClockKhz; }

bool EndMarkCamera::selectClock(int khz) { return isOpen() && khz == end_mark::kNormalClockKhz; }

void EndMarkCamera::setSampleDepth(bool on) { state().output16Bits = on; }

LineLimits EndMarkCamera::lineLimits() const {
  return {.bytesPerPercent = kBytesPerPercentUsb2,
          .minLineLength = end_mark::minLineLength(model().maxWidth)};
}

void EndMarkCamera::writeStartPosition() {
  tellSensor(
      {{SensorValue::kFirstRow, state().startY}, {SensorValue::kFirstColumn, state().startX}});
}

void EndMarkCamera::writeGain() { tellSensor({{SensorValue::kGain, state().gain}}); }

bool EndMarkCamera::writeBrightness() {
  return tellSensor({{SensorValue::kBlackLevel, state().brightness}});
}

void EndMarkCamera::writeWhiteBalance() {
  if (model().whiteBalanceOnHost) return;  // delivery applies it; see hostBalance()
  const int red = state().whiteBalanceRed;
  const int blue = state().whiteBalanceBlue;
  tellSensor(
      {{SensorValue::kRedGain, red * 256 / 100}, {SensorValue::kBlueGain, blue * 256 / 100}});
}

void EndMarkCamera::writeLineLength() {
  tellSensor({{SensorValue::kLineLength, state().lineLength}});
}

bool EndMarkCamera::writeExposure() {
  CameraState& now = state();
  const end_mark::Exposure exposure = end_mark::exposureFor(
      now.exposureUs, now.rowsDelivered(), now.lineLength, now.clockKhz, facts_.longExposureUs);
  now.exposureLines = exposure.lines;
  now.longExposure = exposure.isTimedByHost();
  return tellSensor({{SensorValue::kFrameLength, exposure.frameLength},
                     {SensorValue::kExposureLines, exposure.lines}});
}

}  // namespace orvik
