// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace orvik::server {

struct Options {
  std::vector<std::string> virtualCameras;
  std::string listen = "127.0.0.1:11111";
  std::vector<std::string> hosts;
  std::string name = "Orvik";
  std::string location;
  std::string folder;     ///< "" for the default
  std::string tokenFile;  ///< "" for no token
  std::string guideLines = "0123";
  bool noDiscovery = false;
  std::uint16_t discoveryPort = 32227;
};

/// Adds everything that the program understands to `program`; `options` must live as long.
void defineCommandLine(CLI::App& program, Options& options);

}  // namespace orvik::server
