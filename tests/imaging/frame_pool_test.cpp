// SPDX-License-Identifier: MIT
#include "imaging/frame_pool.h"

#include <thread>

#include "gtest/gtest.h"

namespace orvik::imaging {
namespace {

using Taken = FramePool::Taken;
constexpr auto kNoWait = std::chrono::milliseconds(0);
constexpr auto kLong = std::chrono::seconds(30);

TEST(FramePool, HandsEveryFrameOverInOrder) {
  constexpr int kFrames = 5000;
  FramePool pool(4, 12);  // three buffers
  std::thread reader([&] {
    for (int i = 0; i < kFrames; ++i) {
      Frame* frame = pool.acquire();
      FrameInfo info;
      info.gain = i;
      frame->filled(info);
      pool.publish(frame);
    }
    pool.end();
  });
  Frame* frame = nullptr;
  int expected = 0;
  while (pool.take(frame, kLong) == Taken::kFrame) {
    EXPECT_EQ(frame->info().gain, expected++);
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
  Frame* first = tight.acquire();
  Frame* second = tight.acquire();
  EXPECT_NE(first, second);
}

TEST(FramePool, FillsAFrameAgainThatIsReleasedBeforeTheNextImageCanCome) {
  FramePool pool(std::size_t{8} << 30U, 0);  // of which a camera needs 20 s to send one
  Frame* const first = pool.acquire();
  std::thread writer([&] {
    Frame* frame = nullptr;
    if (pool.take(frame, kLong) == Taken::kFrame) pool.release(frame);
  });
  pool.publish(first);
  EXPECT_EQ(pool.acquire(), first);
  writer.join();
}

TEST(FramePool, DeliversWhatIsQueuedBeforeItEnds) {
  FramePool pool(8, 64);
  Frame* frame = nullptr;
  EXPECT_EQ(pool.take(frame, kNoWait), Taken::kNothingYet);
  pool.publish(pool.acquire());
  pool.end();
  EXPECT_EQ(pool.take(frame, kNoWait), Taken::kFrame);
  EXPECT_EQ(pool.take(frame, kNoWait), Taken::kEnd);
}

}  // namespace
}  // namespace orvik::imaging
