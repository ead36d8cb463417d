// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "sim/bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

sim::CameraOptions freeRunning() {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.sceneKind = sim::SceneKind::kGrey;
  return options;
}

TEST(Stream, FreeRunningFramesAreMarkedAndNumbered) {
  Bench bench(freeRunning());
  const Program program;
  bench.start(program);
  std::optional<int> last;
  for (int n = 0; n < 20; ++n) {
    const Bytes frame = bench.fetchFrame(program.frameBytes());
    ASSERT_EQ(frame.size(), program.frameBytes());
    const auto sequence = sequenceOf(frame);
    ASSERT_TRUE(sequence.has_value());
    EXPECT_EQ(*sequence, last ? *last + 1 : *sequence);
    last = sequence;
  }
}

}  // namespace
}  // namespace orvik::test
