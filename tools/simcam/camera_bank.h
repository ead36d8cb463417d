// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "sim/sim_host.h"
#include "tools/simcam/server.h"

namespace orvik::simcam {

/// The virtual cameras of this program, by their names on the wire: "1-1", "1-2" and so on. Any
/// thread.
class CameraBank {
 public:
  /// @param defaults plug options that apply unless a description gives others; "" for none
  CameraBank(sim::SimHost& host, std::string defaults)
      : host_(host), defaults_(std::move(defaults)) {}

  struct Plugging {
    std::string busId;    ///< empty when it failed
    std::string refusal;  ///< one sentence
  };
  /// Plugs in a camera under the lowest free number.
  /// @param description "MODEL" or "MODEL,key=value,..." with the keys of orvik_sim.h
  Plugging plug(std::string_view description);
  /// @return false when there is no such camera.
  bool unplug(std::string_view busId);

  struct Line {
    std::string busId;
    std::string model;
    std::string serial;
    bool usb3Port = true;
  };
  std::vector<Line> list();
  std::vector<Export> exports();

 private:
  sim::SimHost& host_;
  const std::string defaults_;
  std::mutex mutex_;
  std::map<int, int> idOfNumber_;  ///< the number in the bus id, and the host's id
};

}  // namespace orvik::simcam
