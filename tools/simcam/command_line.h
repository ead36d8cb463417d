// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace orvik::simcam {

struct Options {
  std::vector<std::string> cameras;
  bool empty = false;  ///< no camera is plugged in at the start
  std::string listen = "127.0.0.1";
  std::uint16_t port = 3240;
  std::string scene;
  std::string seed;
  std::string faults;
};

/// Adds everything that the program understands to `program`; `options` must live as long.
void defineCommandLine(CLI::App& program, Options& options);

}  // namespace orvik::simcam
