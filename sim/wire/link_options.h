// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>

namespace orvik::sim {

/// How fast a camera's link is. At free pace it has no effect: everything is as fast as possible.
struct LinkOptions {
  enum class Rate : std::uint8_t {
    kOfBus,      ///< the bus's, which all cameras on it share
    kOfCable,    ///< at most `bytesPerSecond`, and the bus's share
    kUnlimited,  ///< data takes no time
  };
  Rate rate = Rate::kOfBus;
  double bytesPerSecond = 0;               ///< of a cable or hub that carries less than the bus
  std::chrono::microseconds latency{110};  ///< of a control request

  /// A link on which transfers take no time.
  static constexpr LinkOptions ideal() {
    return {.rate = Rate::kUnlimited, .latency = std::chrono::microseconds(0)};
  }
};

/// Behaviour that may differ between cameras of one kind. A driver has to cope with both choices.
struct Temperament {
  enum class Latch : std::uint8_t {
    kFrame,      ///< the registers that are in effect as a frame begins hold for all of it
    kImmediate,  ///< a register takes effect with the next row
  };
  enum class ModeChange : std::uint8_t {
    kFinish,  ///< a sensor that changes its way of exposing finishes the frame that it reads out
    kCut,     ///< it drops the frame; what has been read out stays on its way to the host
  };
  enum class ClearHalt : std::uint8_t {
    kDiscard,  ///< clearing the pipe's halt discards what waits and the rest of the frame
    kKeep,     ///< it does not
  };
  Latch latch = Latch::kFrame;
  ModeChange modeChange = ModeChange::kFinish;
  ClearHalt clearHalt = ClearHalt::kDiscard;
};

}  // namespace orvik::sim
