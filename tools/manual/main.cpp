// SPDX-License-Identifier: MIT
// Writes man pages and completions of both programs into a folder, from the definitions of their
// options. Runs while the project is built; it is not installed.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "tools/manual/program.h"
#include "tools/orvikctl/command_line.h"
#include "tools/orvikctl/software.h"
#include "tools/simcam/command_line.h"

namespace {

namespace fs = std::filesystem;

void write(const fs::path& file, const std::string& text) {
  std::ofstream stream(file);
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  stream << text;
  stream.close();
}

void writeAll(const fs::path& folder, const CLI::App& program, const std::string& other) {
  const std::string& name = program.get_name();
  write(folder / (name + ".1"), orvik::manual::manPage(program, orvik::ctl::kVersion, {other}));
  write(folder / (name + ".bash"), orvik::manual::bashCompletion(program));
  write(folder / ("_" + name), orvik::manual::zshCompletion(program));
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
    CLI::App server;
    orvik::simcam::Options options;
    orvik::simcam::defineCommandLine(server, options);
    writeAll(argv[1], control, server.get_name());
    writeAll(argv[1], server, control.get_name());
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "orvik_manual: %s\n", failure.what());
    return 1;
  }
}
