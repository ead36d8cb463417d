// SPDX-License-Identifier: MIT
// What a browser asks for: docs/server_messages.md.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "imaging/region.h"
#include "imaging/view/stretch.h"
#include "integrations/server/capture/capture_request.h"
#include "integrations/server/live/live_viewer.h"
#include "orvik/orvik.hpp"

namespace orvik::server::command {

struct View {
  ViewWish wish;
};
struct Seen {
  std::uint32_t message = 0;
};
struct Pointer {
  std::optional<std::pair<int, int>> pixel;
};
struct Focus {
  bool isOn = false;
};
struct SetStretch {
  imaging::Stretch stretch;
};
struct Control {
  Orvik_CONTROL_TYPE type = Orvik_CTL_GAIN;
  ControlValue value;
};
struct Format {
  imaging::Region region;
  int bin = 1;
  IMG_TYPE type = Orvik_IMG_RAW8;
};
struct Cool {
  int target = 0;
  double rate = 0;
};
struct Warm {
  double rate = 0;
};
struct CoolerOff {};
struct Guide {
  GuideD line = Orvik_GUIDE_DIR_0;
  bool isOn = false;
};
struct Pulse {
  GuideD line = Orvik_GUIDE_DIR_0;
  std::chrono::milliseconds length{0};
};
struct Dark {
  std::optional<bool> use;  ///< empty: record one
};
struct HotPixels {
  std::optional<bool> use;  ///< empty: find them
};
struct Capture {
  CaptureRequest request;
};
struct StopCapture {};
struct Delete {
  std::string name;
};

using Any = std::variant<View, Seen, Pointer, Focus, SetStretch, Control, Format, Cool, Warm,
                         CoolerOff, Guide, Pulse, Dark, HotPixels, Capture, StopCapture, Delete>;

/// A message as it was understood.
struct Parsed {
  std::optional<std::int64_t> id;  ///< empty if there is none, or no whole number
  std::optional<Any> command;      ///< empty if it was not understood
  std::string fault;               ///< then why, a sentence
};

/// Understands a message, whatever it contains. Members that a command does not know are ignored.
Parsed parse(std::string_view text);

}  // namespace orvik::server::command
