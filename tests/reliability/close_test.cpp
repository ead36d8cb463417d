// SPDX-License-Identifier: MIT
// Closing always returns and leaks nothing; a camera that was left in the middle of an operation
// opens and works; no answer of a camera terminates the process.
#include <gtest/gtest.h>

#include <ostream>

#include "reliability/faulty_bench.h"
#include "support/process.h"

namespace orvik::test {
namespace {

struct Trouble {
  const char* name;
  const char* script;
};

void PrintTo(const Trouble& trouble, std::ostream* out) { *out << trouble.name; }

class Close : public FaultyBench, public ::testing::WithParamInterface<Trouble> {
 protected:
  /// Opens, uses and closes a camera, with faults after the first frame or the snapshot's start.
  void live(int round) {
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
    setRegion(kWidth, kHeight, Orvik_IMG_RAW8);
    const bool snapshot = round % 2 == 1;
    ASSERT_EQ(snapshot ? OrvikStartExposure(0) : OrvikStartVideoCapture(0), Orvik_OK);
    if (!snapshot) {
      EXPECT_EQ(getFrame(), Orvik_OK);
    }
    setFaults(GetParam().script);
    if (!snapshot) getFrame(5);
    EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
    setFaults("");
  }
};

TEST_P(Close, LeavesNeitherThreadsNorHandles) {
  openCamera("T13C_C");
  OrvikCloseCamera(0);
  for (int round = 0; round < 2; ++round) live(round);  // one-time allocations
  const ProcessCounts before = processCounts();
  for (int round = 0; round < 6; ++round) live(round);
  EXPECT_TRUE(eventually([&] { return processCounts().threads <= before.threads; }))
      << processCounts().threads << " threads, before " << before.threads;
  EXPECT_LE(processCounts().handles, before.handles);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  setRegion(kWidth, kHeight, Orvik_IMG_RAW8);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  EXPECT_EQ(getFrame(), Orvik_OK);
}

// When a program is killed, the camera continues with its last settings: none of the requests that
// would stop it arrives.
INSTANTIATE_TEST_SUITE_P(, Close,
                         ::testing::Values(Trouble{"InPeace", ""},
                                           Trouble{"LeftStreaming", "control fail"},
                                           Trouble{"LeftInMidFrame", "control fail; bulk timeout"},
                                           Trouble{"Stalled", "any stall chance 0.5"},
                                           Trouble{"SlowHost", "any delay 1..20"}),
                         [](const auto& instance) { return instance.param.name; });

using LeftStreaming = FaultyBench;

TEST_F(LeftStreaming, TheNextProgramGetsWholeFramesOfItsOwn) {
  openCamera();
  for (int round = 0; round < 4; ++round) {
    // The region differs each time, so that frames left over from the last program do not fit.
    setRegion(640, 480, Orvik_IMG_RAW16);
    ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
    ASSERT_EQ(getFrame(), Orvik_OK);
    setFaults("control fail");
    OrvikCloseCamera(0);
    setFaults("");
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
    setRegion(kWidth, kHeight, Orvik_IMG_RAW8);
    ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
    for (int n = 0; n < 3; ++n) EXPECT_EQ(getFrame(), Orvik_OK);
    EXPECT_EQ(dropped(), 0) << "nothing of what was there before reaches the new capture";
    ASSERT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
  }
}

class Nonsense : public FaultyBench {
 protected:
  /// Opens, uses and closes every camera that can be opened.
  static void useAll() {
    const int count = OrvikGetNumOfConnectedCameras();
    for (int index = 0; index < count; ++index) {
      if (OrvikOpenCamera(index) != Orvik_OK) continue;
      OrvikSetROIFormat(index, 64, 64, 1, Orvik_IMG_RAW8);
      OrvikSetControlValue(index, Orvik_CTL_EXPOSURE, 100, Orvik_FALSE);
      OrvikStartVideoCapture(index);
      std::vector<unsigned char> image(64 * 64);
      OrvikGetVideoData(index, image.data(), static_cast<int>(image.size()), 20);
      std::int32_t temperature = 0;
      Orvik_BOOL automatic = Orvik_FALSE;
      OrvikGetControlValue(index, Orvik_CTL_TEMPERATURE, &temperature, &automatic);
      Orvik_ID mark;
      OrvikGetID(index, &mark);
      EXPECT_EQ(OrvikCloseCamera(index), Orvik_OK);
    }
  }

  void expectUsable() {
    setFaults("");
    ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 2);
    EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK);
    EXPECT_EQ(OrvikOpenCamera(1), Orvik_OK);
  }
};

TEST_F(Nonsense, InDescriptorsIsRefusedOrServed) {
  plug();
  plug("T13C_C");
  ::testing::internal::CaptureStderr();  // malformed descriptors are reported there
  for (int seed = 1; seed <= 12; ++seed) {
    setFaults("control 06 flip " + std::to_string(seed) + " chance 0.1; control 06 short " +
              std::to_string(seed) + " chance 0.1; seed " + std::to_string(seed));
    useAll();
  }
  ::testing::internal::GetCapturedStderr();
  expectUsable();
}

TEST_F(Nonsense, InAnswersAndFramesIsServed) {
  plug();
  plug("T13C_C");
  for (int seed = 1; seed <= 12; ++seed) {
    std::string script = "seed " + std::to_string(seed);
    for (const char* request : {"A7", "AD", "B3", "B4", "B7", "BC", "C3", "C7"}) {
      script += std::string(";control ") + request + " flip " + std::to_string(seed % 4);
      script += " chance 0.4;control " + std::string(request) + " short 1 chance 0.3";
    }
    setFaults(script + ";bulk flip 1 chance 0.2; bulk short 100 chance 0.1");
    useAll();
  }
  expectUsable();
}

}  // namespace
}  // namespace orvik::test
