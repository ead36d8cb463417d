// SPDX-License-Identifier: MIT
// The guide port: a pulse at a time on each axis.
#include <algorithm>
#include <cstring>

#include "camera_device.h"
#include "event_thread.h"
#include "property_values.h"

namespace orvik::indi {
namespace {

constexpr struct {
  const char* property;
  INDI_EQ_AXIS name;
} kAxes[] = {{"TELESCOPE_TIMED_GUIDE_NS", AXIS_DE}, {"TELESCOPE_TIMED_GUIDE_WE", AXIS_RA}};

}  // namespace

IPState CameraDevice::guide(Direction direction, std::uint32_t ms) {
  if (link_ != Link::kOpen) return IPS_ALERT;
  const std::size_t number = direction / 2;
  const auto line = static_cast<GuideD>(guideLines_[direction].getValue());
  Axis& axis = axes_[number];
  axis.pulse.request_stop();  // the pulse that is running ends here
  axis.pulse = post(
      axis.worker,
      [this, number, line, ms](const std::stop_token& stop) {
        camera_.pulse(line, std::chrono::milliseconds(ms), stop);
        onEventThread([this, number, stop] {
          if (!stop.stop_requested()) GuideComplete(kAxes[number].name);
        });
      },
      [this, number] {
        auto lengths = getNumber(kAxes[number].property);
        send(lengths, IPS_ALERT);
      });
  return IPS_BUSY;
}

void CameraDevice::endPulse(std::size_t axis) {
  axes_[axis].pulse.request_stop();
  GuideComplete(kAxes[axis].name);
}

bool CameraDevice::endsPulse(const char* property, const double values[], int count) {
  for (const std::size_t axis : {0U, 1U}) {
    if (std::strcmp(property, kAxes[axis].property) != 0) continue;
    if (std::any_of(values, values + count, [](double length) { return length > 0; })) return false;
    endPulse(axis);
    return true;
  }
  return false;
}

bool CameraDevice::guideLinesRequested(const double values[], char* names[], int count) {
  std::vector<double> lines;
  for (const auto& line : guideLines_) lines.push_back(line.getValue());
  for (int n = 0; n < count; ++n) {
    const int element = guideLines_.findWidgetIndexByName(names[n]);
    if (element >= 0) lines[static_cast<std::size_t>(element)] = values[n];
  }
  const std::array<double, 4> all{0, 1, 2, 3};
  const bool isValid = std::is_permutation(lines.begin(), lines.end(), all.begin(), all.end());
  if (isValid) {
    for (std::size_t n = 0; n < lines.size(); ++n) guideLines_[n].setValue(lines[n]);
  } else {
    LOG_ERROR("Each direction needs a line of its own, 0 to 3.");
  }
  send(guideLines_, isValid ? IPS_OK : IPS_ALERT);
  return isValid;
}

}  // namespace orvik::indi
