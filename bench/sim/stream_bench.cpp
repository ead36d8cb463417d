// SPDX-License-Identifier: MIT
// The throughput of a free-running virtual camera through the USB seam, compared with a memcpy of
// the same bytes, and the cost of a new image. The camera fills transfers on a thread of its own
// while the caller only waits, so streams are measured in real time.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/process.h"
#include "sim/picture/picture_maker.h"
#include "sim/sim_host.h"

namespace orvik::bench {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kColumns = 1280;
constexpr int kRows = 960;
/// A value that the dark sky of this camera does not have.
constexpr std::uint8_t kUntouched = 0xA5;
constexpr std::size_t kFrameBytes = std::size_t{kColumns} * kRows;

/// A T15C on a host, set to run freely with frames of kColumns x kRows samples of one byte.
class RunningCamera {
 public:
  RunningCamera() {
    sim::CameraOptions options;
    options.pace = sim::Pace::kFree;
    host_.plug(*sim::findModel("T15C"), options);
    port_ = host_.open(host_.devices().front());
    port_->claimInterface(0);
    control_ = port_->newControlTransfer();
    out(0xAF, 0, 0);
    constexpr int kSensor[][2] = {{0x305C, 0x20}, {0x305D, 0}, {0x305E, 0x20}, {0x305F, 0},
                                  {0x3002, 1},    {0x3049, 0}, {0x3007, 0x40}};
    for (const auto& [address, value] : kSensor) out(0xB6, address, value);
    sensorWord(0x303E, kColumns);
    sensorWord(0x303A, kRows);
    constexpr int kFpga[][2] = {{2, 4},
                                {6, 9},
                                {10, 1},
                                {4, kColumns & 0xFF},
                                {5, kColumns >> 8},
                                {8, kRows & 0xFF},
                                {9, kRows >> 8},
                                {17, 4},
                                {19, 0x24},
                                {20, 0x01}};
    for (const auto& [number, value] : kFpga) out(0xBD, number, value);
    out(0xA9, 0, 0);
    out(0xB6, 0x3000, 0);
    out(0xBD, 0, 0x21);
  }

  seam::Port& port() { return *port_; }

 private:
  void out(std::uint8_t request, int value, int index) {
    control_->submit(
        {0x40, request, static_cast<std::uint16_t>(value), static_cast<std::uint16_t>(index)}, {},
        std::chrono::milliseconds(500));
  }
  void sensorWord(int address, int value) {
    out(0xB6, address, value & 0xFF);
    out(0xB6, address + 1, value >> 8);
  }

  sim::SimHost host_;
  std::unique_ptr<seam::Port> port_;
  std::unique_ptr<seam::ControlTransfer> control_;
};

void copyFrames(benchmark::State& state) {
  std::array<Bytes, 4> pictures;
  pictures.fill(Bytes(kFrameBytes, 1));
  std::array<Bytes, 4> frames = pictures;
  std::size_t n = 0;
  for (auto _ : state) {
    std::memcpy(frames[n % 4].data(), pictures[n % 4].data(), kFrameBytes);
    benchmark::ClobberMemory();
    ++n;
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kFrameBytes));
}
BENCHMARK(copyFrames)->Name("stream, free-running/memcpy/S")->UseRealTime();

void streamFrames(benchmark::State& state) {
  RunningCamera camera;
  std::array<Bytes, 4> frames;
  std::array<std::unique_ptr<seam::BulkTransfer>, 4> transfers;
  for (std::size_t n = 0; n < 4; ++n) {
    frames[n].assign(kFrameBytes, kUntouched);
    transfers[n] = camera.port().newBulkTransfer(0x81);
    transfers[n]->submit({frames[n], nullptr});
  }
  std::size_t n = 0;
  const auto takeOne = [&] {
    seam::BulkTransfer& transfer = *transfers[n];
    if (!transfer.wait(std::chrono::seconds(5)) || transfer.status() != seam::TransferStatus::kOk ||
        transfer.actualBytes() != kFrameBytes) {
      return false;
    }
    transfer.submit({frames[n], nullptr});
    n = (n + 1) % 4;
    return true;
  };
  bool goesOn = true;
  for (int warm = 0; warm < 40 && goesOn; ++warm) goesOn = takeOne();  // until images are made
  const Usage usage;
  for (auto _ : state) {
    goesOn = goesOn && takeOne();
    if (!goesOn) {
      state.SkipWithError("no whole frame came");
      break;
    }
  }
  usage.report(state);
  for (const auto& transfer : transfers) {
    transfer->cancel();
    transfer->wait(std::chrono::seconds(5));
  }
  const bool areWhole = std::ranges::all_of(frames, [](const Bytes& frame) {
    return std::ranges::count(frame, kUntouched) < std::ptrdiff_t{kColumns};
  });
  if (!areWhole) state.SkipWithError("a frame has not been written");
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kFrameBytes));
}
BENCHMARK(streamFrames)->Name("stream, free-running/orvik/S")->UseRealTime();

void makePictures(benchmark::State& state) {
  sim::CameraOptions options;
  options.sceneKind = sim::SceneKind::kGrey;
  sim::PictureMaker maker(*sim::findModel("T15C"), options, 1);
  sim::FrameSettings settings;
  settings.area = {0, 0, kColumns, kRows};
  settings.columns = kColumns;
  settings.rows = kRows;
  settings.amplification = 10;
  settings.wideOutput = state.range(0) != 0;
  settings.highByteFirst = state.range(0) == 2;
  settings.exposure = std::chrono::milliseconds(10);
  Bytes frame(settings.bytes());
  std::uint64_t number = 0;
  for (auto _ : state) {
    maker.make(settings, {}, number++, {0, kRows}, frame);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kColumns * kRows);
}
BENCHMARK(makePictures)->Name("picture/wide")->Arg(0)->Arg(1)->Arg(2);  // 2: high byte first

/// Pictures of a sky that moves: each one is made anew.
/// @param state.range(0) a SceneKind, range(1) the width of the region, range(2) whether it is
/// blurred
void makeMovingPictures(benchmark::State& state) {
  sim::CameraOptions options;
  options.sceneKind = static_cast<sim::SceneKind>(state.range(0));
  const sim::Model& model = *sim::findModel("T15C");
  sim::PictureMaker maker(model, options, 1);
  const int width = static_cast<int>(state.range(1));
  const int height = width * 3 / 4 / 2 * 2;
  sim::FrameSettings settings;
  settings.area = {(model.sensor.width - width) / 4 * 2, 0, width, height};
  settings.area.y = (model.sensor.height - height) / 4 * 2;
  settings.columns = width;
  settings.rows = height;
  settings.amplification = 10;
  settings.exposure = std::chrono::milliseconds(10);
  Bytes frame(settings.bytes());
  sim::Look look;
  if (state.range(2) != 0) look.airSigma = 1.5;
  std::uint64_t number = 0;
  maker.make(settings, look, number++, {0, height}, frame);
  for (auto _ : state) {
    look.places.front().offset = {0.03 * static_cast<double>(number),
                                  0.01 * static_cast<double>(number)};
    maker.make(settings, look, number++, {0, height}, frame);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * width * height);
}
BENCHMARK(makeMovingPictures)
    ->Name("picture/moving")
    ->ArgNames({"scene", "width", "blurred"})
    ->ArgsProduct({{static_cast<int>(sim::SceneKind::kStars),
                    static_cast<int>(sim::SceneKind::kMoon),
                    static_cast<int>(sim::SceneKind::kPlanet)},
                   {640, 1300},
                   {0, 1}})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace orvik::bench
