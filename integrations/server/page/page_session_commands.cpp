// SPDX-License-Identifier: MIT
// What each command of a browser does.
#include <cstdio>
#include <string>
#include <utility>

#include "imaging/image_types.h"
#include "integrations/server/page/dark_recording.h"
#include "integrations/server/page/page_session.h"

namespace orvik::server {
namespace {

/// "20 ms", "1.5 s".
std::string timeText(std::int32_t microseconds) {
  std::array<char, 32> text{};
  if (microseconds < 1000) return std::to_string(microseconds) + " us";
  const bool isShort = microseconds < 1'000'000;
  std::snprintf(text.data(), text.size(), "%.4g %s", microseconds / (isShort ? 1e3 : 1e6),
                isShort ? "ms" : "s");
  return text.data();
}

std::string degreesText(int celsius) { return std::to_string(celsius) + " degrees C"; }

std::string switchText(const char* what, bool isOn) {
  return what + std::string(isOn ? " on" : " off");
}

std::string stretchText(const imaging::Stretch& stretch) {
  switch (stretch.mode) {
    case imaging::Stretch::Mode::kLinear:
      break;
    case imaging::Stretch::Mode::kAuto:
      return "Stretch automatic";
    case imaging::Stretch::Mode::kAsinh:
      return "Stretch asinh";
  }
  return "Stretch linear";
}

}  // namespace

std::string PageSession::textOf(const command::Control& control) const {
  const auto description = camera_->camera().description();
  const Control* const found = description ? description->control(control.type) : nullptr;
  std::string text(found != nullptr ? found->name() : "Control");
  if (control.value.isAuto) return text + " automatic";
  if (control.type == Orvik_CTL_EXPOSURE) return text + " " + timeText(control.value.value);
  return text + " " + std::to_string(control.value.value);
}

void PageSession::run(Id, const command::View& view) { camera_->live().wish(viewer_, view.wish); }

void PageSession::run(Id, const command::Seen& seen) {
  camera_->live().seen(viewer_, seen.message);
}

void PageSession::run(Id, const command::Pointer& pointer) {
  camera_->live().point(viewer_, pointer.pixel);
}

void PageSession::run(Id, const command::Focus& focus) {
  camera_->live().focus(viewer_, focus.isOn);
}

void PageSession::run(Id id, const command::SetStretch& stretch) {
  camera_->live().setStretch(stretch.stretch);
  answer(id, "stretch", stretchText(stretch.stretch))({});
}

void PageSession::run(Id id, const command::Control& control) {
  camera_->camera().setControl(
      control.type, control.value,
      answer(id, "control " + std::to_string(static_cast<int>(control.type)), textOf(control)));
}

void PageSession::run(Id id, const command::Format& format) {
  const imaging::Region& region = format.region;
  camera_->camera().setFormat(
      region, format.bin, format.type,
      answer(id, "",
             "Region " + std::to_string(region.width) + " x " + std::to_string(region.height) +
                 ", bin " + std::to_string(format.bin) + ", " +
                 std::string(imaging::imageType(format.type).name)));
}

void PageSession::run(Id id, const command::Cool& cool) {
  camera_->camera().coolTo(cool.target, cool.rate,
                           answer(id, "", "Cooling to " + degreesText(cool.target)));
}

void PageSession::run(Id id, const command::Warm& warm) {
  camera_->camera().warmUp(warm.rate, answer(id, "", "Warming up"));
}

void PageSession::run(Id id, const command::CoolerOff&) {
  camera_->camera().setCooler(false, std::nullopt, answer(id, "", "Cooler off"));
}

void PageSession::run(Id, const command::Guide& guide) {
  bool& isHeld = heldLines_[static_cast<std::size_t>(guide.line)];
  if (guide.isOn) {
    camera_->camera().holdLine(guide.line);
    if (!isHeld) {
      camera_->notes()->add(name_,
                            "Guides on line " + std::to_string(static_cast<int>(guide.line)));
    }
  } else {
    camera_->camera().releaseLine(guide.line);
  }
  isHeld = guide.isOn;
}

void PageSession::run(Id id, const command::Pulse& pulse) {
  camera_->camera().pulse(
      pulse.line, pulse.length,
      answer(id, "",
             "Pulse of " + std::to_string(pulse.length.count()) + " ms on line " +
                 std::to_string(static_cast<int>(pulse.line))));
}

void PageSession::run(Id id, const command::Dark& dark) {
  if (!dark.use) {
    recordDark(camera_->camera(), name_, answer(id, "", "Dark frame recorded"));
    return;
  }
  camera_->camera().control([use = *dark.use](Camera& camera) { camera.dark().use(use); },
                            answer(id, "", switchText("Dark frame", *dark.use)));
}

void PageSession::run(Id id, const command::HotPixels& hotPixels) {
  if (hotPixels.use) {
    camera_->camera().control(
        [use = *hotPixels.use](Camera& camera) { camera.hotPixels().use(use); },
        answer(id, "", switchText("Correction of hot pixels", *hotPixels.use)));
    return;
  }
  camera_->camera().control([](Camera& camera) { camera.hotPixels().detect(); },
                            answer(id, "", "Hot pixels found in the dark frame"));
}

void PageSession::run(Id id, const command::Capture& capture) {
  camera_->desk().start(capture.request, name_, answer(id, "", ""));
}

void PageSession::run(Id id, const command::StopCapture&) {
  answer(id, "", "")(camera_->desk().stop(name_));
}

void PageSession::run(Id id, const command::Delete& remove) {
  onDiskThread_([folder = folder_, name = remove.name,
                 done = answer(id, "", "Deleted " + remove.name)] { done(folder->remove(name)); });
}

}  // namespace orvik::server
