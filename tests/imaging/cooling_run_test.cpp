// SPDX-License-Identifier: MIT
#include "imaging/cooling_run.h"

#include <thread>

#include "support/eventually.h"
#include "wrapper/wrapper_bench.h"

namespace orvik::imaging {
namespace {

using namespace std::chrono_literals;

class CoolingRunTest : public test::WrapperBench {
 protected:
  CoolingRunTest() { camera_ = Camera::open(); }

  /// Waits until a run is over.
  static bool ends(CoolingRun& run) {
    return test::eventually([&] { return run.isOver(); });
  }

  int id_ = plug("ambient=20", "T13C_C");
  Camera camera_;
};

TEST_F(CoolingRunTest, CoolsHoldsAndWarmsUp) {
  CoolingRun run(camera_);
  run.begin({}, 60);
  EXPECT_TRUE(run.isOver()) << "nothing to warm up";
  EXPECT_FALSE(camera_.get(control::kCoolerOn));

  run.begin(-30, 1);
  EXPECT_FALSE(run.isOver());
  run.begin(19, 60);
  EXPECT_TRUE(ends(run));
  EXPECT_EQ(camera_.get(control::kTargetTemperature), 19) << "the former ramp is no more";
  EXPECT_NEAR(camera_.get(control::kTemperature).degrees, 19, 1.2);

  run.begin({}, 60);
  EXPECT_TRUE(ends(run));
  EXPECT_EQ(camera_.get(control::kTargetTemperature), 20);
  EXPECT_TRUE(camera_.get(control::kCoolerOn));
  run.end();
  EXPECT_FALSE(camera_.get(control::kCoolerOn));
}

TEST_F(CoolingRunTest, ItsEndSwitchesTheCoolerOff) {
  {
    CoolingRun run(camera_);
    run.begin(-10, 600);
    while (!camera_.get(control::kCoolerOn)) std::this_thread::sleep_for(5ms);
  }
  EXPECT_FALSE(camera_.get(control::kCoolerOn));
}

TEST_F(CoolingRunTest, TellsOnceWhatHasEndedARamp) {
  CoolingRun run(camera_);
  run.begin(-10, 600);
  OrvikSimUnplug(id_);
  EXPECT_NE(test::thrownBy([&] { ends(run); }), Orvik_OK);
  EXPECT_EQ(test::thrownBy([&] { ends(run); }), Orvik_OK);
}

TEST_F(CoolingRunTest, NeedsACooler) {
  plug("serial=AAAA0001");
  Camera uncooled = Camera::open("AAAA0001");
  CoolingRun run(uncooled);
  EXPECT_EQ(test::thrownBy([&] { run.begin(0, 3); }), Orvik_ERROR_DRIVER_FAILED);
  EXPECT_TRUE(run.isOver());
}

}  // namespace
}  // namespace orvik::imaging
