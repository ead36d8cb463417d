// SPDX-License-Identifier: MIT
#include "sim/older_bench.h"

#include <algorithm>
#include <string_view>

namespace orvik::test {
namespace {

struct Place {
  int address;   ///< of the 16-bit register
  int variable;  ///< of the sensor that takes commands
};

constexpr std::array kPlaces = {
    Place{0x3002, 0x0100}, Place{0x3004, 0x0102}, Place{0x3006, 0x0104}, Place{0x3008, 0x0106},
    Place{0x300A, 0x0108}, Place{0x300C, 0x010A}, Place{0x3012, 0x010C}, Place{0x3028, 0x010E},
    Place{0x302A, 0x0110}, Place{0x302C, 0x0112}, Place{0x301E, 0x0114},
};

}  // namespace

OlderBench::OlderBench(const char* model, const sim::CameraOptions& options)
    : Bench(options, std::make_shared<ManualClock>(), model),
      takesCommands_(std::string_view(model).starts_with("T02C")) {}

int OlderBench::wordAt(int address) {
  const Bytes answer = in(0xA7, address, 0, 2).value();
  return answer.at(0) * 256 + answer.at(1);
}

int OlderBench::command(int code) {
  sensor(0x0010, code);
  int polls = 1;
  while (in(0xB7, 0x0010).value().front() != 0 && polls < 50) ++polls;
  return polls;
}

void OlderBench::writeVariable(int address, int value) {
  sensor(0x0012, address >> 8);
  sensor(0x0013, address & 0xFF);
  sensor(0x0014, value >> 8);
  sensor(0x0015, value & 0xFF);
  command(4);
}

int OlderBench::variable(int address) {
  sensor(0x0012, address >> 8);
  sensor(0x0013, address & 0xFF);
  command(5);
  return in(0xB7, 0x0014).value().front() * 256 + in(0xB7, 0x0015).value().front();
}

void OlderBench::changeConfiguration() {
  command(1);
  for (int polls = 0; polls < 100 && in(0xB7, 0x0011).value().front() == 3; ++polls) {
  }
}

void OlderBench::set(Setting setting, int value) {
  const Place& place = kPlaces.at(static_cast<std::size_t>(setting));
  if (!takesCommands_) {
    word(place.address, value);
    if (setting == Setting::kLineCycles) {  // the logic gathers lines of this length
      fpga(19, value & 0xFF);
      fpga(20, value >> 8);
    }
    return;
  }
  writeVariable(place.variable, value);
  changeConfiguration();
}

void OlderBench::program(const OlderProgram& p) {
  out(0xAF);
  runSensor(false);
  set(Setting::kFirstRow, p.y);
  set(Setting::kFirstColumn, p.x);
  set(Setting::kRows, p.rows);
  set(Setting::kColumns, p.columns);
  set(Setting::kFrameLines, p.frameLines);
  set(Setting::kLineCycles, p.lineCycles);
  set(Setting::kExposureLines, p.exposureLines);
  if (p.wide) out(0xAC);
}

void OlderBench::runSensor(bool run) {
  if (takesCommands_) {
    command(run ? 3 : 2);
  } else {
    word(0x301A, run ? 0x10DC : 0x10D8);
  }
}

void OlderBench::start(const OlderProgram& p) {
  program(p);
  out(0xA9);
  runSensor(true);
}

bool hasTrailer(const Bytes& frame) {
  constexpr std::array<std::uint8_t, 4> kTrailer = {0x11, 0xAA, 0x00, 0xBB};
  return frame.size() >= kTrailer.size() &&
         std::equal(kTrailer.begin(), kTrailer.end(), frame.end() - kTrailer.size());
}

sim::CameraOptions idealOptions() {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.noise = false;
  return options;
}

}  // namespace orvik::test
