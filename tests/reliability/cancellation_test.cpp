// SPDX-License-Identifier: MIT
// A thread that is cancelled inside a call ends after that call, and the camera keeps working.
#include <gtest/gtest.h>
#include <pthread.h>

#include "reliability/faulty_bench.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

using Cancellation = FaultyBench;

struct Waiter {
  std::vector<unsigned char> image = std::vector<unsigned char>(std::size_t{320} * 240);
  std::atomic<bool> waits{false};
  std::atomic<bool> returned{false};

  static void* run(void* waiter) {
    auto& self = *static_cast<Waiter*>(waiter);
    self.waits = true;
    OrvikGetVideoData(0, self.image.data(), static_cast<std::int32_t>(self.image.size()), -1);
    self.returned = true;
    pthread_testcancel();
    return nullptr;
  }
};

TEST_F(Cancellation, WaitsForTheEndOfTheCall) {
  openCamera();
  ASSERT_EQ(OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 600'000'000, Orvik_FALSE), Orvik_OK);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  Waiter waiter;
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, Waiter::run, &waiter), 0);
  ASSERT_TRUE(eventually([&] { return waiter.waits.load(); }));
  std::this_thread::sleep_for(30ms);
  ASSERT_EQ(pthread_cancel(thread), 0);
  std::this_thread::sleep_for(30ms);
  EXPECT_FALSE(waiter.returned);
  EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
  void* result = nullptr;
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_TRUE(waiter.returned);

  ASSERT_EQ(OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 20'000, Orvik_FALSE), Orvik_OK);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  EXPECT_EQ(getFrame(), Orvik_OK);
}

}  // namespace
}  // namespace orvik::test
