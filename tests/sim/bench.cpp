// SPDX-License-Identifier: MIT
#include "sim/bench.h"

#include <chrono>
#include <utility>

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

constexpr int kKilohertz = 18562;

std::uint16_t word(int value) { return static_cast<std::uint16_t>(value); }

}  // namespace

std::size_t Program::frameBytes() const {
  return static_cast<std::size_t>(columns / bin()) * static_cast<std::size_t>(rows / bin()) *
         (wide ? 2U : 1U);
}

double Program::exposureSeconds() const {
  const int kilohertz = sensorBin == 2 ? 9281 : kKilohertz;
  return static_cast<double>(frameLines - shutterLine - 1) * lineCycles / kilohertz / 1000;
}

seam::Clock::Duration Program::frameTime() const {
  const int kilohertz = sensorBin == 2 ? 9281 : kKilohertz;
  return seam::Clock::Duration{std::int64_t{frameLines} * lineCycles * 1000000 / kilohertz};
}

Bytes Fetch::received() const {
  return {memory->begin(), memory->begin() + static_cast<std::ptrdiff_t>(transfer->actualBytes())};
}

Bench::Bench(const sim::CameraOptions& options, std::shared_ptr<seam::Clock> clock,
             const char* model)
    : clock_(std::move(clock)),
      bulkEndpoint_(sim::findModel(model)->bulkEndpoint()),
      host_(std::make_unique<sim::SimHost>(clock_)) {
  sim::CameraOptions onIdealLink = options;
  if (options.link.rate == sim::LinkOptions::Rate::kOfBus) {
    onIdealLink.link = sim::LinkOptions::ideal();
  }
  id_ = host_->plug(*sim::findModel(model), onIdealLink);
  reopen();
}

void Bench::dropPort() {
  control_.reset();
  port_.reset();
}

void Bench::reopen() {
  dropPort();
  port_ = host_->open(host_->devices().back());
  port_->claimInterface(0);
  control_ = port_->newControlTransfer();
}

void Bench::advance(seam::Clock::Duration duration) {
  dynamic_cast<ManualClock&>(*clock_).advance(duration);
}

bool Bench::settle() { return dynamic_cast<ManualClock&>(*clock_).settle(); }

TransferStatus Bench::control(const seam::SetupPacket& setup, Bytes& data, std::size_t& moved) {
  const auto memory = std::make_shared<Bytes>(data);
  const TransferStatus submitted = control_->submit(setup, {*memory, memory}, 500ms);
  if (submitted != TransferStatus::kOk) return submitted;
  if (!control_->wait(5s)) return TransferStatus::kTimedOut;
  data = *memory;
  moved = control_->actualBytes();
  return control_->status();
}

TransferStatus Bench::out(std::uint8_t request, int value, int index, Bytes data) {
  std::size_t moved = 0;
  return control({0x40, request, word(value), word(index)}, data, moved);
}

std::optional<Bytes> Bench::standardIn(std::uint8_t type, std::uint8_t request, int value,
                                       int index, int length) {
  Bytes data(static_cast<std::size_t>(length));
  std::size_t moved = 0;
  if (control({type, request, word(value), word(index)}, data, moved) != TransferStatus::kOk) {
    return std::nullopt;
  }
  data.resize(moved);
  return data;
}

std::optional<Bytes> Bench::in(std::uint8_t request, int value, int index, int length) {
  return standardIn(0xC0, request, value, index, length);
}

void Bench::initialise() {
  constexpr std::pair<int, int> kSensor[] = {
      {0x300F, 0x00}, {0x3012, 0x2C}, {0x3013, 0x01}, {0x3016, 0x08}, {0x301D, 0xC2},
      {0x3070, 0x02}, {0x3071, 0x01}, {0x309E, 0x22}, {0x30A5, 0xFB}, {0x30A6, 0x02},
      {0x30B3, 0xFF}, {0x30B4, 0x01}, {0x30B5, 0x42}, {0x30C2, 0x01}, {0x310F, 0x0F},
      {0x3110, 0x0E}, {0x3111, 0xE7}, {0x3112, 0x9C}, {0x3113, 0x83}, {0x3114, 0x10},
      {0x3115, 0x42}, {0x3128, 0x1E}, {0x3144, 0x07}, {0x31ED, 0x38}, {0x320C, 0xCF},
      {0x324C, 0x40}, {0x324D, 0x03}, {0x3261, 0xE0}, {0x3262, 0x02}, {0x326E, 0x2F},
      {0x326F, 0x30}, {0x3270, 0x03}, {0x3298, 0x00}, {0x329A, 0x12}, {0x329B, 0xE1},
      {0x329C, 0x0C}, {0x305C, 0x20}, {0x305D, 0x00}, {0x305E, 0x20}, {0x305F, 0x00},
      {0x3036, 0x08}, {0x3007, 0x40}, {0x3002, 0x01}, {0x3049, 0x00}};
  for (const auto& [address, value] : kSensor) sensor(address, value);
  out(0xAF);
  for (const int gain : {12, 13, 14, 15}) fpga(gain, 128);
}

void Bench::program(const Program& p) {
  stop();
  if (p.initialised) initialise();
  const auto sensorWord = [&](int address, int value) {
    sensor(address, value & 0xFF);
    sensor(address + 1, value >> 8);
  };
  const bool binning = p.sensorBin == 2;
  sensor(0x3006, binning ? 0x22 : 0);
  sensor(0x3009, binning ? 0x10 : 0x11);
  sensor(0x3044, p.fast10Bit ? 0xE0 : 0xE1);
  sensor(0x3005, p.fast10Bit || binning ? 0 : 1);
  sensorWord(0x3038, p.y);
  sensorWord(0x303A, p.rows);
  sensorWord(0x303C, p.x);
  sensorWord(0x303E, p.columns);
  sensorWord(0x300A, p.blackLevel);
  sensorWord(0x3014, p.gain);
  sensorWord(0x3020, p.shutterLine & 0xFFFF);
  sensor(0x3022, p.shutterLine >> 16);
  fpga(2, binning ? 2 : 4);
  fpga(6, binning ? 5 : 9);
  fpga(10, p.fast10Bit ? 0 : (p.wide ? 17 : 1));
  fpga(4, p.columns / p.bin() & 0xFF);
  fpga(5, p.columns / p.bin() >> 8);
  fpga(8, p.rows / p.bin() & 0xFF);
  fpga(9, p.rows / p.bin() >> 8);
  fpga(16, p.frameLines & 0xFF);
  fpga(17, p.frameLines >> 8 & 0xFF);
  fpga(18, p.frameLines >> 16);
  fpga(19, p.lineCycles & 0xFF);
  fpga(20, p.lineCycles >> 8);
}

void Bench::run(std::uint8_t mode) {
  out(0xA9);
  sensor(0x3000, 0);
  fpga(0, mode);
}

void Bench::start(const Program& p) {
  program(p);
  run(p.run);
}

void Bench::stop() {
  out(0xAA);
  fpga(0, 0x31);
  sensor(0x3000, 1);
}

Fetch Bench::newFetch(std::size_t bytes) {
  return {port_->newBulkTransfer(bulkEndpoint_), std::make_shared<Bytes>(bytes)};
}

bool Bench::sends(std::size_t bytes, std::chrono::milliseconds timeout) {
  Fetch fetch = newFetch(bytes);
  return fetch.submit() == TransferStatus::kOk && fetch.transfer->wait(timeout);
}

Bytes Bench::fetchFrame(std::size_t bytes) {
  Fetch fetch = newFetch(bytes);
  if (fetch.submit() != TransferStatus::kOk || !fetch.transfer->wait(60s) ||
      fetch.transfer->status() != TransferStatus::kOk) {
    return {};
  }
  return fetch.received();
}

int wordOf(const Bytes& frame, std::size_t index) {
  return frame.at(2 * index) + 256 * frame.at(2 * index + 1);
}

std::optional<int> sequenceOf(const Bytes& frame) {
  const std::size_t words = frame.size() / 2;
  if (words < 4 || wordOf(frame, 0) != 0x5A7E || wordOf(frame, words - 1) != 0x3CF0 ||
      wordOf(frame, 1) != wordOf(frame, words - 2)) {
    return std::nullopt;
  }
  return wordOf(frame, 1);
}

}  // namespace orvik::test
