// SPDX-License-Identifier: MIT
// Every frame that arrives damaged is counted and never delivered. A slow reader loses frames, but
// does not make memory grow.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "reliability/faulty_bench.h"
#include "support/process.h"

namespace orvik::test {
namespace {

struct Damage {
  const char* name;
  const char* fault;
  fault::Action action;
};

void PrintTo(const Damage& damage, std::ostream* out) { *out << damage.name; }

class LostFrames : public FaultyBench, public ::testing::WithParamInterface<Damage> {
 protected:
  /// Captures until three frames have been damaged and three more have been delivered.
  void expectThreeLost() {
    std::string script;
    for (const char* moment : {"at 7", "at 20", "at 33"}) {
      script.append(GetParam().fault).append(" ").append(moment).append(";");
    }
    setFaults(script);
    ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
    ASSERT_TRUE(
        eventually([&] { return getFrame() == Orvik_OK && struck(GetParam().action) == 3; }));
    for (int n = 0; n < 3; ++n) ASSERT_EQ(getFrame(), Orvik_OK);
    EXPECT_GE(dropped(), 3);
    EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
  }
};

TEST_P(LostFrames, AreCountedWhenAFrameIsOneRead) {
  openCamera();
  expectThreeLost();
}

TEST_P(LostFrames, AreCountedWhenAFrameIsThreeReads) {
  openCamera();
  setRegion(1304, 976, Orvik_IMG_RAW16);
  OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 100'000, Orvik_FALSE);  // above the frame time again
  expectThreeLost();
}

INSTANTIATE_TEST_SUITE_P(, LostFrames,
                         ::testing::Values(Damage{"Short", "bulk short 2", fault::Action::kShort},
                                           Damage{"Long", "bulk long 2", fault::Action::kLong},
                                           Damage{"Overflow", "bulk overflow",
                                                  fault::Action::kOverflow}),
                         [](const auto& instance) { return instance.param.name; });

/// Damage that shows only in the marks of a frame; the frames are of one read.
class SpoiltMarks : public LostFrames {};

TEST_P(SpoiltMarks, AreCounted) {
  openCamera();
  expectThreeLost();
}

INSTANTIATE_TEST_SUITE_P(, SpoiltMarks,
                         ::testing::Values(Damage{"Start", "bulk flip 0", fault::Action::kFlip},
                                           Damage{"Sequence", "bulk flip 2", fault::Action::kFlip},
                                           Damage{"End", "bulk flip -1", fault::Action::kFlip},
                                           Damage{"TornFrame", "bulk tear", fault::Action::kTear}),
                         [](const auto& instance) { return instance.param.name; });

/// Faults that damage single requests and must not stop the video.
class Hiccups : public FaultyBench, public ::testing::WithParamInterface<const char*> {};

TEST_P(Hiccups, DoNotEndTheVideo) {
  openCamera();
  setFaults(GetParam());
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  for (int n = 0; n < 20; ++n) ASSERT_EQ(getFrame(), Orvik_OK);
  EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
}

INSTANTIATE_TEST_SUITE_P(, Hiccups,
                         ::testing::Values("bulk empty every 5", "bulk stall every 7",
                                           "bulk fail every 6", "bulk refuse every 3",
                                           "bulk delay 1..30 chance 0.5", "bulk duplicate every 4",
                                           "bulk deaf 40 every 10", "bulk timeout at 4",
                                           "control fail to 5", "control stall chance 0.5"));

using SlowReader = FaultyBench;

TEST_F(SlowReader, CostsFramesNeverMemory) {
  openCamera();
  setRegion(640, 480, Orvik_IMG_RAW16);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  ASSERT_EQ(getFrame(), Orvik_OK);
  ASSERT_TRUE(eventually([] { return dropped() >= 5; }));
  const std::size_t before = processCounts().resident;
  ASSERT_TRUE(eventually([] { return dropped() >= 65; }));
  // Sixty frames of 0.6 MB have arrived in the meantime.
  EXPECT_LT(processCounts().resident, before + 20'000'000);
  EXPECT_EQ(getFrame(0), Orvik_OK);
}

}  // namespace
}  // namespace orvik::test
