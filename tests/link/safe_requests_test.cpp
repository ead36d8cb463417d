// SPDX-License-Identifier: MIT
// The driver switches off guide lines, cooling and streaming even if any request is lost.
// Otherwise the camera would move the telescope, cool or stream indefinitely.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <ostream>
#include <set>
#include <thread>

#include "reliability/faulty_bench.h"

namespace {

std::atomic<bool> diskIsSlow{false};

}  // namespace

/// Replaces the system function in this program.
extern "C" int fsync(int descriptor) {
  if (diskIsSlow) std::this_thread::sleep_for(std::chrono::seconds(3));
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace orvik::test {
namespace {

/// What a camera continues to do until it receives another request, derived from the requests that
/// reached it.
struct Doing {
  std::set<int> linesOn;
  bool cools = false;
  bool streams = false;
  bool flashHasBus = false;

  friend bool operator==(const Doing&, const Doing&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Doing& doing) {
    return out << doing.linesOn.size() << " lines on, cools " << doing.cools << ", streams "
               << doing.streams << ", flash has the bus " << doing.flashHasBus;
  }
};

const Doing kNothing;

/// Records the state of a camera from the requests that it receives.
class Watch {
 public:
  Doing doing() {
    const std::lock_guard lock(mutex_);
    return doing_;
  }

  void see(const seam::SetupPacket& setup) {
    const std::lock_guard lock(mutex_);
    switch (setup.request) {
      case 0xB0:
        doing_.linesOn.insert(setup.value);
        break;
      case 0xB1:
        doing_.linesOn.erase(setup.value);
        break;
      case 0xB2:
        doing_.cools = setup.value < 0xFF;
        break;
      case 0xA9:
      case 0xAA:
        doing_.streams = setup.request == 0xA9;
        break;
      case 0xBE:
        doing_.flashHasBus = setup.value == 0;
        break;
      default:
        break;
    }
  }

 private:
  std::mutex mutex_;
  Doing doing_;
};

class SafeState : public FaultyBench {
 protected:
  void openWatched(const char* model) {
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kGrey;
    options.controlObserver = [watch = watch_](const sim::ControlRecord& record) {
      watch->see(record.setup);
    };
    host_->plug(*sim::findModel(model), options);
    ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
    setRegion(kWidth, kHeight, Orvik_IMG_RAW8);
    setFaults("");  // restarts the count of requests
  }

  Doing doing() { return watch_->doing(); }

  /// Lets four register writes in a row get no answer, so that the driver treats the camera as
  /// silent for a second.
  static void fallSilent() {
    EXPECT_EQ(OrvikSetControlValue(0, Orvik_CTL_BRIGHTNESS, 20, Orvik_FALSE),
              Orvik_ERROR_DRIVER_FAILED);
    EXPECT_EQ(OrvikSetControlValue(0, Orvik_CTL_BRIGHTNESS, 21, Orvik_FALSE),
              Orvik_ERROR_DRIVER_FAILED);
  }

 private:
  const std::shared_ptr<Watch> watch_ =
      std::make_shared<Watch>();  // the camera may outlive the test
};

TEST_F(SafeState, AGuideLineGoesOffWhileTheCameraCountsAsSilent) {
  openWatched("T15C");
  for (const bool byClosing : {false, true}) {
    OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_1);
    ASSERT_EQ(doing().linesOn, std::set{1});
    setFaults("control B6 timeout to 4");
    fallSilent();
    EXPECT_EQ(byClosing ? OrvikCloseCamera(0) : OrvikPulseGuideOff(0, Orvik_GUIDE_DIR_1), Orvik_OK);
    EXPECT_EQ(doing(), kNothing);
    OrvikSetControlValue(0, Orvik_CTL_BRIGHTNESS, 20, Orvik_FALSE);
    setFaults("");
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  }
}

TEST_F(SafeState, ALostRequestFollowsTheNextThatGetsThrough) {
  openWatched("T15C");
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_0);
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_3);
  setFaults("control B1 fail at 1");
  OrvikPulseGuideOff(0, Orvik_GUIDE_DIR_0);
  EXPECT_EQ(doing().linesOn, std::set{3}) << "it is repeated at once";
  setFaults("control fail to 3");
  OrvikPulseGuideOff(0, Orvik_GUIDE_DIR_3);
  EXPECT_EQ(doing().linesOn, std::set{3});
  EXPECT_EQ(OrvikSetControlValue(0, Orvik_CTL_BRIGHTNESS, 20, Orvik_FALSE), Orvik_OK);
  EXPECT_EQ(doing(), kNothing);

  // The later request takes precedence.
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_2);
  setFaults("control fail to 3");
  OrvikPulseGuideOff(0, Orvik_GUIDE_DIR_2);
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_2);
  OrvikSetControlValue(0, Orvik_CTL_BRIGHTNESS, 21, Orvik_FALSE);
  EXPECT_EQ(doing().linesOn, std::set{2});

  setFaults("control B0 deaf 1800");
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_0);
  EXPECT_EQ(doing().linesOn.size(), 2U) << "though the answer was lost";
  OrvikCloseCamera(0);
  EXPECT_EQ(doing(), kNothing);
}

TEST_F(SafeState, ARequestThatIsNeverTakenDoesNotSlowTheOthers) {
  openWatched("T15C");
  setFaults("control B1 stall");
  OrvikPulseGuideOff(0, Orvik_GUIDE_DIR_0);
  for (int n = 0; n < 20; ++n) OrvikSetControlValue(0, Orvik_CTL_GAIN, n, Orvik_FALSE);
  EXPECT_LT(struck(fault::Action::kStall), 30U) << "with 80 requests that got through";
}

class SafeStateAtClose : public SafeState, public ::testing::WithParamInterface<const char*> {};

TEST_P(SafeStateAtClose, IsReachedThoughRequestsAreLost) {
  openWatched("T13C_C");
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_2);
  OrvikSetControlValue(0, Orvik_CTL_TARGET_TEMP, -10, Orvik_FALSE);
  OrvikSetControlValue(0, Orvik_CTL_COOLER_ON, 1, Orvik_FALSE);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  ASSERT_TRUE(eventually([&] { return doing().cools; }));
  setFaults(GetParam());
  // Saving the settings then takes longer than the period in which lost requests are repeated.
  diskIsSlow = true;
  EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
  diskIsSlow = false;
  EXPECT_EQ(doing(), kNothing);
}

INSTANTIATE_TEST_SUITE_P(Lost, SafeStateAtClose,
                         ::testing::Values("control B1 fail at 1; control B2 fail to 2;"
                                           "control AA fail to 2",
                                           "control timeout to 2", "control B2 timeout to 2"));

TEST_F(SafeState, OpeningMakesACameraSafeThatWasLeftInAnyState) {
  openWatched("T13C_C");
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_0);
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_3);
  OrvikSetControlValue(0, Orvik_CTL_TARGET_TEMP, -10, Orvik_FALSE);
  OrvikSetControlValue(0, Orvik_CTL_COOLER_ON, 1, Orvik_FALSE);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  ASSERT_TRUE(eventually([&] { return doing().cools && doing().streams; }));
  setFaults("control fail");  // as after a crash, no request of the close arrives
  OrvikCloseCamera(0);
  setFaults("");
  const Doing left = doing();
  ASSERT_TRUE(left.cools && left.streams && left.linesOn.size() == 2);
  ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  EXPECT_EQ(doing(), kNothing);
}

}  // namespace
}  // namespace orvik::test
