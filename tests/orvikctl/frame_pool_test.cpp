// SPDX-License-Identifier: MIT
#include "tools/orvikctl/frame_pool.h"

#include <thread>

#include "gtest/gtest.h"

namespace orvik::ctl {
namespace {

using Taken = FramePool::Taken;
constexpr auto kNoWait = std::chrono::milliseconds(0);
constexpr auto kLong = std::chrono::seconds(30);

TEST(FramePool, HandsEveryFrameOverInOrder) {
  constexpr int kFrames = 5000;
  FramePool pool(4, 12);  // three buffers
  std::thread reader([&] {
    for (int i = 0; i < kFrames; ++i) {
      PooledFrame* frame = pool.acquire();
      frame->info.gain = i;
      pool.publish(frame);
    }
    pool.end();
  });
  PooledFrame* frame = nullptr;
  int expected = 0;
  while (pool.take(frame, kLong) == Taken::kFrame) {
    EXPECT_EQ(frame->info.gain, expected++);
    pool.release(frame);
  }
  reader.join();
  EXPECT_EQ(expected, kFrames);
}

TEST(FramePool, HoldsAsManyFramesAsFitButTwoAtLeast) {
  FramePool pool(100, 450);
  for (int i = 0; i < 4; ++i) pool.publish(pool.acquire());
  std::thread closer([&] { pool.close(); });
  EXPECT_EQ(pool.acquire(), nullptr);  // full: waits until closed
  closer.join();

  FramePool tight(100, 10);
  PooledFrame* first = tight.acquire();
  PooledFrame* second = tight.acquire();
  EXPECT_EQ(first->pixels.size(), 100u);
  EXPECT_GE(std::abs(first->pixels.data() - second->pixels.data()), 100);
}

TEST(FramePool, DeliversWhatIsQueuedBeforeItEnds) {
  FramePool pool(8, 64);
  PooledFrame* frame = nullptr;
  EXPECT_EQ(pool.take(frame, kNoWait), Taken::kNothingYet);
  pool.publish(pool.acquire());
  pool.end();
  EXPECT_EQ(pool.take(frame, kNoWait), Taken::kFrame);
  EXPECT_EQ(pool.take(frame, kNoWait), Taken::kEnd);
}

}  // namespace
}  // namespace orvik::ctl
