// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "seam/usb_host.h"
#include "sim/fault/script.h"
#include "sim/hardware/flash_file.h"
#include "sim/sky/scene.h"
#include "sim/telescope/telescope_options.h"
#include "sim/wire/link_options.h"

namespace orvik::sim {

enum class Pace : std::uint8_t {
  kReal,  ///< frames in the time that the registers ask for, at the rate of the link
  kFree,  ///< a frame whenever the host waits for data; a few pictures are repeated, and
          ///< nothing takes time on the link
};

/// One control transfer, as it went over the wire.
struct ControlRecord {
  seam::SetupPacket setup;
  std::span<const std::uint8_t> data;  ///< sent to the device, or answered by it
  seam::TransferStatus status;
};

/// Called after each control transfer, in order, on the thread that submitted it. It must not call
/// the camera or its host.
using ControlObserver = std::function<void(const ControlRecord&)>;

/// Called with the bytes of each frame, including its marks, before they are sent. It may change,
/// shorten or lengthen them; if it returns false, the frame is dropped. Runs on the camera's
/// streaming thread and must not call the camera or its host.
using FrameFilter = std::function<bool(std::vector<std::uint8_t>&)>;

/// The colour of the light: a factor for each of the three kinds of colour filter.
struct LightColour {
  double red = 1;
  double green = 1;
  double blue = 1;

  friend bool operator==(const LightColour&, const LightColour&) = default;
};

/// How a virtual camera is plugged in.
struct CameraOptions {
  bool usb3Port = true;
  std::optional<std::uint32_t> serial;  ///< derived from the camera's id when absent
  std::uint64_t seed = 1;               ///< of sky and noise
  SceneKind sceneKind = SceneKind::kStars;
  std::shared_ptr<const Scene> scene;  ///< used instead of `sceneKind` if given
  TelescopeOptions telescope;
  Pace pace = Pace::kReal;
  LinkOptions link;
  Temperament temperament;
  double light = 1;                  ///< factor on the scene's brightness
  LightColour colour;                ///< of the light
  double ambient = 20;               ///< degrees Celsius
  std::string flashPath;             ///< file that keeps the flash; "" for none
  std::shared_ptr<FlashFile> flash;  ///< that file, once it is open
  bool noise = true;                 ///< false: a sensor without noise, dark current and hot pixels
  ControlObserver controlObserver;
  FrameFilter frameFilter;
  fault::Script faults;  ///< faults between the camera and the host
};

}  // namespace orvik::sim
