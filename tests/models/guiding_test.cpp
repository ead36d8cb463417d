// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "models/models.h"
#include "orvik/orvik.h"
#include "support/fault_script.h"
#include "support/stepped_clock.h"
#include "support/time_of.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kNoLine = static_cast<GuideD>(4);
constexpr auto kNegative = static_cast<GuideD>(-1);

class GuidingTest : public ::testing::Test {
 protected:
  GuidingTest() {
    sim::CameraOptions options;
    options.controlObserver = [this](const sim::ControlRecord& record) {
      const seam::SetupPacket& setup = record.setup;
      if (setup.request != 0xB0 && setup.request != 0xB1) return;
      lines_.push_back((setup.request == 0xB0 ? "on " : "off ") + std::to_string(setup.value));
    };
    id_ = bench_.plug(options);
    camera_->open(1);
  }

  std::vector<std::string> take() { return std::exchange(lines_, {}); }

  std::vector<std::string> lines_;
  std::shared_ptr<SteppedClock> clock_ = std::make_shared<SteppedClock>();
  VirtualBench bench_{clock_};
  std::unique_ptr<T15C> camera_ = std::make_unique<T15C>();
  int id_ = 0;
};

TEST_F(GuidingTest, LinesAreSwitchedOneByOne) {
  EXPECT_TRUE(camera_->pulseGuideOn(Orvik_GUIDE_DIR_3));
  EXPECT_TRUE(camera_->pulseGuideOn(Orvik_GUIDE_DIR_0));
  EXPECT_TRUE(camera_->pulseGuideOff(Orvik_GUIDE_DIR_3));
  EXPECT_THAT(take(), ElementsAre("on 3", "on 0", "off 3"));
  EXPECT_TRUE(camera_->pulseGuideOn(kNoLine));
  EXPECT_TRUE(camera_->pulseGuideOff(kNegative));
  EXPECT_TRUE(camera_->pulseGuide(kNoLine, 1000));
  EXPECT_THAT(take(), IsEmpty());
}

TEST_F(GuidingTest, APulseLastsAsLongAsItWasToldTo) {
  std::thread guider([this] { EXPECT_TRUE(camera_->pulseGuide(Orvik_GUIDE_DIR_1, 1500)); });
  EXPECT_TRUE(clock_->run(1499ms));
  EXPECT_EQ(bench_.host().guideLog(id_).size(), 1U);
  clock_->sleepFor(1ms);
  guider.join();
  const auto log = bench_.host().guideLog(id_);
  ASSERT_EQ(log.size(), 2U);
  EXPECT_EQ(log[1].at - log[0].at, 1500ms);
  EXPECT_TRUE(camera_->pulseGuide(Orvik_GUIDE_DIR_2, 0));
  EXPECT_TRUE(camera_->pulseGuide(Orvik_GUIDE_DIR_2, -5));
  EXPECT_THAT(take(), ElementsAre("on 1", "off 1", "on 2", "off 2", "on 2", "off 2"));
}

TEST_F(GuidingTest, SwitchingTheLineOffEndsItsPulse) {
  std::thread guider([this] { camera_->pulseGuide(Orvik_GUIDE_DIR_1, 3'600'000); });
  EXPECT_TRUE(eventually([this] { return bench_.host().guideLog(id_).size() == 1; }));
  EXPECT_TRUE(camera_->pulseGuideOff(Orvik_GUIDE_DIR_1));
  guider.join();
}

TEST_F(GuidingTest, LinesGoOffWithTheCamera) {
  camera_->pulseGuideOn(Orvik_GUIDE_DIR_0);
  camera_->pulseGuideOn(Orvik_GUIDE_DIR_2);
  camera_->pulseGuideOff(Orvik_GUIDE_DIR_0);
  take();
  camera_->close();
  EXPECT_THAT(take(), ElementsAre("off 2"));
  EXPECT_TRUE(camera_->pulseGuideOn(Orvik_GUIDE_DIR_1)) << "closed, and true all the same";
  EXPECT_THAT(take(), IsEmpty());

  ASSERT_TRUE(camera_->open(1));
  camera_->pulseGuideOn(Orvik_GUIDE_DIR_1);
  camera_.reset();
  EXPECT_THAT(take(), ElementsAre("on 1", "off 1"));
}

TEST_F(GuidingTest, ACameraThatIsGoneIsNoHindrance) {
  camera_->pulseGuideOn(Orvik_GUIDE_DIR_0);
  bench_.host().unplug(id_);
  EXPECT_TRUE(camera_->pulseGuideOn(Orvik_GUIDE_DIR_1));
  EXPECT_TRUE(camera_->pulseGuideOff(Orvik_GUIDE_DIR_0));
  EXPECT_TRUE(camera_->close());
}

// The camera object is left as it is when the process ends, as one held by the flat interface is.
enum class Leaving { kInPeace, kAfterAFork, kWhileRequestsHang };

[[noreturn]] void leaveACamera(Leaving how) {
  static auto* const bench = new VirtualBench;
  sim::CameraOptions options;
  options.controlObserver = [](const sim::ControlRecord& record) {
    const seam::SetupPacket& setup = record.setup;
    const auto say = [](const char* text) {
      static_cast<void>(!write(STDERR_FILENO, text, strlen(text)));
    };
    if (setup.request == 0xB1 && setup.value == 2) say("line ");
    if (setup.request == 0xB2 && setup.value == 255) say("cooler ");
    if (setup.request == 0xAA) say("stream ");
    if (setup.request == 0xBE && setup.value == 1) say("bus ");
  };
  bench->plug(options, "T13C_C");
  static auto* const faults =
      new std::shared_ptr<fault::FaultHost>(new fault::FaultHost(bench->sharedHost()));
  installHost(*faults);
  static auto* const camera = new T13C_C;
  camera->open(1);
  camera->pulseGuideOn(Orvik_GUIDE_DIR_2);
  camera->setPower(50);
  camera->StartUSBStreaming();
  camera->EnableGPIF32DQ(false);
  const pid_t child = how == Leaving::kAfterAFork ? fork() : 0;
  if (child != 0) {
    waitpid(child, nullptr, 0);
    _exit(0);
  }
  if (how == Leaving::kWhileRequestsHang) {
    (*faults)->setScript(scriptOf("control deaf 60000"));
    for (int n = 0; n < 3; ++n) {
      std::thread([] {
        for (;;) camera->WriteFPGAREG(13, 128);
      }).detach();
    }
    eventually([] { return (*faults)->struck(fault::Action::kDeaf) > 0; });
  }
  std::exit(0);  // NOLINT(concurrency-mt-unsafe)
}

TEST(LeavingAtTheEnd, ACameraIsSafeWhenTheProgramEnds) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(leaveACamera(Leaving::kInPeace), ::testing::ExitedWithCode(0),
              "^line cooler stream bus $");
  EXPECT_EXIT(leaveACamera(Leaving::kAfterAFork), ::testing::ExitedWithCode(0), "^$")
      << "a forked process owns no camera";
  EXPECT_LT(timeOf([] {
              EXPECT_EXIT(leaveACamera(Leaving::kWhileRequestsHang), ::testing::ExitedWithCode(0),
                          "");
            }),
            15s);
}

}  // namespace
}  // namespace orvik::test
