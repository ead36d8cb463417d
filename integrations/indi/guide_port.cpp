// SPDX-License-Identifier: MIT
// The guide port: a pulse at a time on each axis.
#include <cstring>

#include "camera_device.h"
#include "event_thread.h"

namespace orvik::indi {
namespace {

constexpr const char* kAxisProperties[] = {"TELESCOPE_TIMED_GUIDE_NS", "TELESCOPE_TIMED_GUIDE_WE"};

}  // namespace

IPState CameraDevice::guide(Direction direction, std::uint32_t ms) {
  if (link_ != Link::kOpen) return IPS_ALERT;
  const int number = direction == kNorth || direction == kSouth ? 0 : 1;
  const auto line = static_cast<GuideD>(guideLines_[direction].getValue());
  Axis& axis = axes_[static_cast<std::size_t>(number)];
  axis.stop.request_stop();  // the pulse that is running ends here
  axis.stop =
      axis.worker.post([this, number, pulse = ++axis.pulse, line, ms](const std::stop_token& stop) {
        std::string problem;
        try {
          if (!stop.stop_requested()) camera_.pulse(line, std::chrono::milliseconds(ms), stop);
        } catch (const Error& error) {
          problem = error.what();
        }
        onEventThread([this, number, pulse, problem] { pulseEnded(number, pulse, problem); });
      });
  return IPS_BUSY;
}

void CameraDevice::stopGuiding(int axis) {
  Axis& stopped = axes_[static_cast<std::size_t>(axis)];
  stopped.stop.request_stop();
}

void CameraDevice::pulseEnded(int axis, int number, const std::string& problem) {
  if (!problem.empty()) LOGF_ERROR("%s", problem.c_str());
  if (axes_[static_cast<std::size_t>(axis)].pulse != number) return;
  GuideComplete(axis == 0 ? AXIS_DE : AXIS_RA);
  if (problem.empty()) return;
  auto lengths = getNumber(kAxisProperties[axis]);
  lengths.setState(IPS_ALERT);
  lengths.apply();
}

bool CameraDevice::stopsGuiding(const char* property, const double values[], int count) {
  for (int axis : {0, 1}) {
    if (std::strcmp(property, kAxisProperties[axis]) != 0) continue;
    for (int n = 0; n < count; ++n) {
      if (values[n] > 0) return false;
    }
    stopGuiding(axis);
    return true;
  }
  return false;
}

bool CameraDevice::guideLinesRequested(const double values[], char* names[], int count) {
  std::array<double, 4> lines{};
  for (std::size_t n = 0; n < lines.size(); ++n) lines[n] = guideLines_[n].getValue();
  for (int n = 0; n < count; ++n) {
    const int element = guideLines_.findWidgetIndexByName(names[n]);
    if (element >= 0) lines[static_cast<std::size_t>(element)] = values[n];
  }
  std::array<double, 4> sorted = lines;
  std::sort(sorted.begin(), sorted.end());
  const bool isValid = sorted == std::array<double, 4>{0, 1, 2, 3};
  if (isValid) {
    for (std::size_t n = 0; n < lines.size(); ++n) guideLines_[n].setValue(lines[n]);
  } else {
    LOG_ERROR("Each direction needs a line of its own, 0 to 3.");
  }
  guideLines_.setState(isValid ? IPS_OK : IPS_ALERT);
  guideLines_.apply();
  return isValid;
}

}  // namespace orvik::indi
