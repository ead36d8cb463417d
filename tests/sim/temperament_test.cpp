// SPDX-License-Identifier: MIT
// What a virtual camera does within a frame, where hardware may behave in one of two ways.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/older_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using sim::Temperament;

constexpr int kPacket = 1024;

/// Eight packets of eight rows each.
constexpr Program kProgram{.columns = 128, .rows = 64, .blackLevel = 160};
constexpr int kPackets = 8;
constexpr int kRowsOfPacket = 8;

/// The level of a row far from the marks.
int levelOf(const Bytes& bytes) { return bytes.at(bytes.size() / 2); }

/// A camera in the dark that has sent three packets of a frame.
class InMidFrame {
 public:
  explicit InMidFrame(const Temperament& temperament, std::uint8_t run = 0x21)
      : bench_(options(temperament)) {
    Program program = kProgram;
    program.run = run;
    bench_.start(program);
    bench_.advance(program.frameTime() - program.readoutTime());
    for (int n = 0; n < 3; ++n) {
      bench_.advance(packetTime());
      EXPECT_EQ(levelOf(packet()), 10);
    }
  }

  Bench& bench() { return bench_; }
  Bytes packet() { return bench_.fetchFrame(kPacket); }
  static seam::Clock::Duration packetTime() {
    return kProgram.readoutTime() / kPackets + 1us;  // above what the division loses
  }
  /// Lets the rest of the frame come.
  void finishFrame() { bench_.advance(kPackets * packetTime()); }
  bool isQuiet() { return !bench_.sends(kPacket); }

 private:
  static sim::CameraOptions options(const Temperament& temperament) {
    sim::CameraOptions options;
    options.noise = false;
    options.sceneKind = sim::SceneKind::kDark;
    options.temperament = temperament;
    return options;
  }

  Bench bench_;
};

TEST(Temperament, ARegisterTakesEffectWithTheNextFrameOrTheNextRow) {
  {
    InMidFrame camera({.latch = Temperament::Latch::kFrame});
    camera.bench().sensor(0x300A, 0);
    camera.finishFrame();
    for (int n = 3; n < kPackets; ++n) EXPECT_EQ(levelOf(camera.packet()), 10) << n;
    camera.bench().advance(2 * kProgram.frameTime());
    EXPECT_EQ(levelOf(camera.packet()), 0);
  }
  InMidFrame camera({.latch = Temperament::Latch::kImmediate});
  camera.bench().advance(camera.packetTime());
  camera.bench().sensor(0x300A, 0);
  camera.finishFrame();
  EXPECT_EQ(levelOf(camera.packet()), 10) << "these rows had come";
  for (int n = 4; n < kPackets; ++n) EXPECT_EQ(levelOf(camera.packet()), 0) << n;
}

TEST(Temperament, ADepthThatTakesEffectAtOnceMakesAFrameOfAnotherSize) {
  InMidFrame camera({.latch = Temperament::Latch::kImmediate});
  camera.bench().fpga(10, 17);
  camera.finishFrame();
  const int rowsLeft = kProgram.rows - 3 * kRowsOfPacket;
  const Bytes rest = camera.bench().fetchFrame(static_cast<std::size_t>(rowsLeft) * 256);
  EXPECT_EQ(wordOf(rest, rest.size() / 2 - 1), 0x3CF0) << "twice as many bytes, and then the mark";
}

TEST(Temperament, AChangeOfModeFinishesTheFrameOrCutsIt) {
  {
    InMidFrame camera({.modeChange = Temperament::ModeChange::kFinish});
    camera.bench().fpga(0, 0xE1);
    camera.finishFrame();
    Bytes last;
    for (int n = 3; n < kPackets; ++n) last = camera.packet();
    EXPECT_EQ(wordOf(last, kPacket / 2 - 1), 0x3CF0);
    camera.bench().advance(1s);
    EXPECT_TRUE(camera.isQuiet());
  }
  InMidFrame camera({.modeChange = Temperament::ModeChange::kCut});
  camera.bench().advance(camera.packetTime() / 2);  // half a packet is left without its other half
  camera.bench().fpga(0, 0xE1);
  camera.finishFrame();
  EXPECT_TRUE(camera.isQuiet());
  camera.bench().fpga(0x0B, 1);
  camera.bench().advance(1s);
  camera.bench().fpga(0x0B, 0);
  camera.finishFrame();
  EXPECT_EQ(wordOf(camera.packet(), kPacket / 4), 0x5A7E) << "the next frame fills the packet up";
}

TEST(Temperament, ClearingTheHaltDiscardsTheRestOfTheFrameOrKeepsIt) {
  {
    InMidFrame camera({.clearHalt = Temperament::ClearHalt::kDiscard});
    camera.bench().advance(camera.packetTime());
    ASSERT_EQ(camera.bench().port().clearHalt(0x81), TransferStatus::kOk);
    camera.finishFrame();
    EXPECT_TRUE(camera.isQuiet()) << "neither what had come nor what came later";
    camera.bench().advance(kProgram.frameTime());
    EXPECT_EQ(wordOf(camera.packet(), 0), 0x5A7E);
  }
  InMidFrame camera({.clearHalt = Temperament::ClearHalt::kKeep});
  camera.bench().advance(camera.packetTime());
  ASSERT_EQ(camera.bench().port().clearHalt(0x81), TransferStatus::kOk);
  camera.finishFrame();
  Bytes last;
  for (int n = 3; n < kPackets; ++n) last = camera.packet();
  EXPECT_EQ(wordOf(last, kPacket / 2 - 1), 0x3CF0);
}

TEST(Temperament, TheFlashsBusCutsTheFrame) {
  InMidFrame camera({});
  camera.bench().out(0xBE, 0);
  camera.finishFrame();
  camera.bench().advance(3 * kProgram.frameTime());
  EXPECT_TRUE(camera.isQuiet()) << "the pins belong to the flash";
  camera.bench().out(0xBE, 1);
  camera.bench().advance(kProgram.frameTime());
  EXPECT_EQ(wordOf(camera.packet(), 0), 0x5A7E) << "a new frame";
}

}  // namespace
}  // namespace orvik::test
