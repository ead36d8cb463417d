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

constexpr std::size_t kNoLine = 4;

class GuidingTest : public ::testing::Test {
 protected:
  GuidingTest() {
    sim::CameraOptions options;
    options.controlObserver = [this](const sim::ControlRecord& record) {
      const seam::SetupPacket& setup = record.setup;
      if (setup.request == 0xAA) lines_.emplace_back("stop");
      if (setup.request != 0xB0 && setup.request != 0xB1) return;
      lines_.push_back((setup.request == 0xB0 ? "on " : "off ") + std::to_string(setup.value));
    };
    id_ = bench_.plug(options);
    camera_->open(1);
  }

  bool pulse(std::size_t line, std::chrono::milliseconds length) {
    return camera_->guideLines().pulse(line, camera_->clock(), length);
  }
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

  std::vector<std::string> lines_;
  std::shared_ptr<SteppedClock> clock_ = std::make_shared<SteppedClock>();
  VirtualBench bench_{clock_};
  std::unique_ptr<T15C> camera_ = std::make_unique<T15C>();
  int id_ = 0;
};

TEST_F(GuidingTest, LinesAreSwitchedOneByOne) {
  EXPECT_TRUE(camera_->guideLines().switchOn(3));
  EXPECT_TRUE(camera_->guideLines().switchOn(0));
  EXPECT_TRUE(camera_->guideLines().switchOff(3));
  EXPECT_THAT(take(), ElementsAre("on 3", "on 0", "off 3"));
  EXPECT_FALSE(camera_->guideLines().switchOn(kNoLine));
  EXPECT_FALSE(camera_->guideLines().switchOff(kNoLine));
  EXPECT_FALSE(pulse(kNoLine, 1000ms));
  EXPECT_THAT(take(), IsEmpty());
}

TEST_F(GuidingTest, APulseLastsAsLongAsItWasToldTo) {
  std::thread guider([this] { EXPECT_TRUE(pulse(1, 1500ms)); });
  EXPECT_TRUE(clock_->run(1499ms));
  EXPECT_EQ(bench_.host().guideLog(id_).size(), 1U);
  clock_->sleepFor(1ms);
  guider.join();
  const auto log = bench_.host().guideLog(id_);
  ASSERT_EQ(log.size(), 2U);
  EXPECT_EQ(log[1].at - log[0].at, 1500ms);
  EXPECT_TRUE(pulse(2, 0ms));
  EXPECT_TRUE(pulse(2, -5ms));
  EXPECT_THAT(take(), ElementsAre("on 1", "off 1", "on 2", "off 2", "on 2", "off 2"));
}

TEST_F(GuidingTest, SwitchingTheLineOffEndsItsPulse) {
  std::thread guider([this] { pulse(1, 3'600'000ms); });
  EXPECT_TRUE(eventually([this] { return bench_.host().guideLog(id_).size() == 1; }));
  EXPECT_TRUE(camera_->guideLines().switchOff(1));
  guider.join();
}

TEST_F(GuidingTest, LinesGoOffWithTheCamera) {
  camera_->guideLines().switchOn(0);
  camera_->guideLines().switchOn(2);
  camera_->guideLines().switchOff(0);
  camera_->startCapture(false);
  EXPECT_TRUE(clock_->run(0ms)) << "the worker lets the sensor wake up";
  take();
  camera_->close();
  EXPECT_THAT(take(), ElementsAre("off 2", "stop")) << "the telescope first";
  EXPECT_FALSE(camera_->guideLines().switchOn(1)) << "closed";
  EXPECT_THAT(take(), IsEmpty());

  ASSERT_TRUE(camera_->open(1));
  camera_->guideLines().switchOn(1);
  EXPECT_TRUE(camera_->reconnect());
  camera_->guideLines().switchOn(3);
  camera_.reset();
  EXPECT_THAT(take(), ElementsAre("on 1", "off 1", "on 3", "off 3"));
}

TEST_F(GuidingTest, ACameraThatIsGoneIsNoHindrance) {
  camera_->guideLines().switchOn(0);
  bench_.host().unplug(id_);
  EXPECT_FALSE(camera_->guideLines().switchOn(1));
  EXPECT_FALSE(camera_->guideLines().switchOff(0));
  EXPECT_TRUE(camera_->isUnplugged());
  EXPECT_TRUE(camera_->close());
  bench_.plug();
  ASSERT_TRUE(camera_->open(1));
  EXPECT_FALSE(camera_->isUnplugged()) << "what is plugged in again is another one";
  EXPECT_TRUE(camera_->beginMemoryWork());
}

/// How the process ends. The camera object is not destroyed before, as is the case with one that
/// the flat interface holds.
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
  camera->guideLines().switchOn(2);
  camera->cooler().setPower(50);
  camera->link().send(VendorRequest::kStartStreaming);
  camera->link().send(VendorRequest::kSwitchBus, 0);
  const pid_t child = how == Leaving::kAfterAFork ? fork() : 0;
  if (child != 0) {
    waitpid(child, nullptr, 0);
    _exit(0);
  }
  if (how == Leaving::kWhileRequestsHang) {
    (*faults)->setScript(scriptOf("control deaf 60000"));
    for (int n = 0; n < 3; ++n) {
      std::thread([] {
        for (;;) camera->link().writeFpga(13, 128);
      }).detach();
    }
    if (!eventually([] { return (*faults)->struck(fault::Action::kDeaf) > 0; })) _exit(1);
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
