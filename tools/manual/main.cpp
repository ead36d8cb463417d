// SPDX-License-Identifier: MIT
// Writes man pages and completions of all programs into a folder, from the definitions of their
// options. Runs while the project is built; it is not installed.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tools/manual/program.h"
#include "tools/orvikctl/command_line.h"
#include "tools/orvikctl/software.h"
#include "tools/simcam/command_line.h"
#ifdef ORVIK_BUILD_SERVER
#include "integrations/server/command_line.h"
#endif

namespace {

namespace fs = std::filesystem;

void write(const fs::path& file, const std::string& text) {
  std::ofstream stream(file);
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  stream << text;
  stream.close();
}

void writeAll(const fs::path& folder, const std::vector<const CLI::App*>& programs) {
  for (const CLI::App* program : programs) {
    std::vector<std::string> others;
    for (const CLI::App* other : programs) {
      if (other != program) others.push_back(other->get_name());
    }
    const std::string& name = program->get_name();
    write(folder / (name + ".1"), orvik::manual::manPage(*program, orvik::ctl::kVersion, others));
    write(folder / (name + ".bash"), orvik::manual::bashCompletion(*program));
    write(folder / ("_" + name), orvik::manual::zshCompletion(*program));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: orvik_manual FOLDER\n", stderr);
    return 2;
  }
  try {
    CLI::App control;
    orvik::ctl::defineCommandLine(control);
    CLI::App simulator;
    orvik::simcam::Options simulatorOptions;
    orvik::simcam::defineCommandLine(simulator, simulatorOptions);
    std::vector<const CLI::App*> programs = {&control, &simulator};
#ifdef ORVIK_BUILD_SERVER
    CLI::App server;
    orvik::server::Options serverOptions;
    orvik::server::defineCommandLine(server, serverOptions);
    programs.push_back(&server);
#endif
    writeAll(argv[1], programs);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "orvik_manual: %s\n", failure.what());
    return 1;
  }
}
