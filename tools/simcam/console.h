// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "tools/simcam/camera_bank.h"
#include "tools/simcam/server.h"

namespace orvik::simcam {

/// The commands that a running server takes, one on each line.
class Console {
 public:
  Console(CameraBank& bank, Server& server) : bank_(bank), server_(server) {}

  struct Answer {
    std::string text;  ///< lines to print, each with its newline
    bool quit = false;
  };
  Answer execute(std::string_view line);

 private:
  std::string list();

  CameraBank& bank_;
  Server& server_;
};

}  // namespace orvik::simcam
