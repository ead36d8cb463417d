// SPDX-License-Identifier: MIT
#include "camera/capture/frame_queue.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kBytes = 4096;

FrameBuffer frameWith(std::uint8_t mark) {
  auto frame = std::make_shared<PageBuffer>(kBytes);
  frame->data()[0] = mark;
  return frame;
}

bool push(FrameQueue& queue, std::uint8_t mark) {
  FrameBuffer frame = frameWith(mark);
  return queue.push(frame);
}

int pop(FrameQueue& queue, FrameQueue::Wait wait) {
  FrameBuffer frame = frameWith(0);
  return queue.pop(frame, wait) ? frame->data()[0] : -1;
}

TEST(FrameQueueTest, HoldsTwoFramesOldestFirstAndDropsTheThird) {
  FrameQueue queue(kBytes);
  queue.open();
  EXPECT_TRUE(push(queue, 1));
  EXPECT_TRUE(push(queue, 2));
  FrameBuffer third = frameWith(3);
  const PageBuffer* memory = third.get();
  EXPECT_FALSE(queue.push(third));
  EXPECT_EQ(third.get(), memory) << "a frame that was not taken stays with its owner";
  EXPECT_EQ(pop(queue, 0ms), 1);
  EXPECT_TRUE(push(queue, 4));
  EXPECT_EQ(pop(queue, 0ms), 2);
  EXPECT_EQ(pop(queue, 0ms), 4);
  EXPECT_EQ(pop(queue, 0ms), -1);
}

TEST(FrameQueueTest, MovesFramesByExchangingBuffers) {
  FrameQueue queue(kBytes);
  FrameBuffer sent = frameWith(1);
  const PageBuffer* memory = sent.get();
  ASSERT_TRUE(queue.push(sent));
  EXPECT_NE(sent.get(), memory);
  ASSERT_NE(sent, nullptr);
  FrameBuffer received = frameWith(0);
  ASSERT_TRUE(queue.pop(received, 0ms));
  EXPECT_EQ(received.get(), memory);
}

TEST(FrameQueueTest, WaitsForAFrameAndNoLongerThanTold) {
  FrameQueue queue(kBytes);
  queue.open();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(pop(queue, 30ms), -1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);

  std::thread late([&] {
    std::this_thread::sleep_for(20ms);
    push(queue, 7);
  });
  EXPECT_EQ(pop(queue, 20s), 7);
  late.join();
}

TEST(FrameQueueTest, AFrameThatWasTakenOrForgottenDoesNotEndALaterWait) {
  FrameQueue queue(kBytes);
  queue.open();
  push(queue, 1);
  EXPECT_EQ(pop(queue, 0ms), 1);
  push(queue, 2);
  queue.clear();
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(pop(queue, 30ms), -1);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

TEST(FrameQueueTest, ClosingWakesAWaiterAndKeepsWhatIsThere) {
  FrameQueue queue(kBytes);
  queue.open();
  std::thread closer([&] {
    std::this_thread::sleep_for(20ms);
    queue.close();
  });
  EXPECT_EQ(pop(queue, std::nullopt), -1);
  closer.join();

  push(queue, 5);
  EXPECT_EQ(pop(queue, std::nullopt), 5);
  EXPECT_EQ(pop(queue, std::nullopt), -1)
      << "a wait without limit on a closed queue would never end";
}

TEST(FrameQueueTest, NothingIsLostOrDoubledBetweenTwoThreads) {
  constexpr int kFrames = 20000;
  FrameQueue queue(kBytes);
  queue.open();
  std::thread producer([&] {
    FrameBuffer frame = frameWith(0);
    for (int n = 1; n <= kFrames; ++n) {
      std::memcpy(frame->data(), &n, sizeof n);
      while (!queue.push(frame)) std::this_thread::yield();
    }
    queue.close();
  });
  FrameBuffer frame = frameWith(0);
  int last = 0;
  while (queue.pop(frame, std::nullopt)) {
    int n = 0;
    std::memcpy(&n, frame->data(), sizeof n);
    ASSERT_EQ(n, last + 1);
    last = n;
  }
  producer.join();
  while (queue.pop(frame, 0ms)) ++last;
  EXPECT_EQ(last, kFrames);
}

}  // namespace
}  // namespace orvik
