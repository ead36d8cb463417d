// SPDX-License-Identifier: MIT
#include "capture/frame_queue.h"

#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <thread>

#include "base/timed_mutex.h"
#include "support/time_of.h"

namespace orvik {
namespace {

using namespace std::chrono_literals;
using orvik::test::timeOf;

constexpr std::size_t kBytes = 4096;
constexpr FrameFormat kFormat = {.width = 64, .height = 64};
constexpr std::uint64_t kFirst = 1;

class FrameQueueTest : public ::testing::Test {
 protected:
  FrameQueueTest() { queue_.begin(kFirst); }

  FrameBuffer newBuffer() { return pool_->take(); }

  bool push(std::uint8_t mark, std::uint64_t capture = kFirst,
            const FrameFormat& format = kFormat) {
    FrameBuffer memory = newBuffer();
    memory->data()[0] = mark;
    return queue_.push(memory, format, {.capture = capture});
  }

  /// @return the frame's mark, or, if there is no frame, the reason as a negative number
  int pop(FrameQueue::Timeout timeout = 0ms, std::size_t room = kBytes) {
    const auto missing = queue_.pop(frame_, room, timeout);
    return missing ? minus(*missing) : frame_.memory->data()[0];
  }
  static int minus(NoFrame reason) { return -1 - static_cast<int>(reason); }

  const std::shared_ptr<FramePool> pool_ = std::make_shared<FramePool>(kBytes);
  FrameQueue queue_{pool_};
  Frame frame_;
};

TEST_F(FrameQueueTest, HoldsTwoFramesOldestFirstAndDropsTheThird) {
  EXPECT_TRUE(push(1));
  EXPECT_TRUE(push(2));
  FrameBuffer third = newBuffer();
  const PageBuffer* memory = third.get();
  EXPECT_FALSE(queue_.push(third, kFormat, {.capture = kFirst}));
  EXPECT_EQ(third.get(), memory) << "a frame that was not taken stays with its owner";
  EXPECT_EQ(pop(), 1);
  EXPECT_TRUE(push(4));
  EXPECT_EQ(pop(), 2);
  EXPECT_EQ(pop(), 4);
  EXPECT_EQ(pop(), minus(NoFrame::kTimeout));
}

TEST_F(FrameQueueTest, ExchangesBuffersAndHandsOverWhatBelongsToTheFrame) {
  FrameBuffer sent = newBuffer();
  const PageBuffer* memory = sent.get();
  const FrameFormat format{.width = 10, .height = 4, .bin = 2, .type = IMAGE_RAW16};
  ASSERT_TRUE(queue_.push(sent, format, {.capture = kFirst, .number = 7, .lostBefore = 3}));
  EXPECT_NE(sent.get(), memory);
  ASSERT_NE(sent, nullptr);
  ASSERT_FALSE(queue_.pop(frame_, kBytes, 0ms));
  EXPECT_EQ(frame_.memory.get(), memory);
  EXPECT_EQ(frame_.format, format);
  EXPECT_EQ(frame_.facts.number, 7U);
  EXPECT_EQ(frame_.facts.lostBefore, 3U);
}

TEST_F(FrameQueueTest, AnImageThatDoesNotFitStays) {
  const std::size_t image = kFormat.imageBytes();
  push(1);
  EXPECT_EQ(pop(20s, image - 1), minus(NoFrame::kDoesNotFit)) << "and nobody waits for another";
  EXPECT_EQ(pop(0ms, image), 1);
}

TEST_F(FrameQueueTest, WaitsForAFrameAndNoLongerThanTold) {
  EXPECT_GE(timeOf([&] { EXPECT_EQ(pop(30ms), minus(NoFrame::kTimeout)); }), 30ms);
  std::thread late([&] {
    std::this_thread::sleep_for(20ms);
    push(7);
  });
  EXPECT_EQ(pop(20s), 7);
  late.join();
}

TEST_F(FrameQueueTest, AnEndWakesWhoWaitsAndSaysWhy) {
  std::uint64_t capture = kFirst;
  for (const NoFrame why : {NoFrame::kStopped, NoFrame::kUnplugged, NoFrame::kFailed}) {
    for (const FrameQueue::Timeout& timeout : {FrameQueue::Timeout{}, FrameQueue::Timeout{20s}}) {
      queue_.begin(++capture);
      std::thread ender([&] {
        std::this_thread::sleep_for(10ms);
        queue_.end(capture, why);
      });
      EXPECT_EQ(pop(timeout), minus(why));
      ender.join();
      // This has no effect, because the capture has already ended.
      queue_.end(capture, NoFrame::kStopped);
      EXPECT_EQ(pop(std::nullopt), minus(why)) << "a wait without limit would never end";
      const auto taken = timeOf([&] { EXPECT_EQ(pop(30ms), minus(why)); });
      EXPECT_EQ(taken >= 30ms, why == NoFrame::kStopped) << "another capture may yet begin";
    }
  }
}

TEST_F(FrameQueueTest, TheImageOfAnEndedSnapshotIsThere) {
  push(5);
  queue_.end(kFirst, NoFrame::kStopped);
  EXPECT_EQ(pop(std::nullopt), 5);
  EXPECT_EQ(pop(std::nullopt), minus(NoFrame::kStopped));
}

TEST_F(FrameQueueTest, FramesNeverReachAnotherCapture) {
  push(1);
  queue_.begin(2);
  EXPECT_EQ(pop(), minus(NoFrame::kTimeout));
  EXPECT_FALSE(push(1)) << "of a worker that was left to itself";
  queue_.end(kFirst, NoFrame::kFailed);
  EXPECT_TRUE(push(2, 2)) << "nor does its end end the new one";
  EXPECT_EQ(pop(), 2);
}

TEST_F(FrameQueueTest, ACaptureThatGivesWayToAnotherKeepsWaitersWaiting) {
  push(1);
  queue_.suspend(kFirst);
  EXPECT_EQ(pop(), minus(NoFrame::kTimeout)) << "its frames have the former format";
  std::thread next([&] {
    std::this_thread::sleep_for(20ms);
    queue_.end(kFirst, NoFrame::kStopped);
    queue_.begin(2);
    push(9, 2);
  });
  EXPECT_EQ(pop(std::nullopt), 9);
  next.join();
}

TEST(TimedMutexTest, WhoWaitsWithoutLimitIsNext) {
  const auto mutex = std::make_shared<TimedMutex>();
  std::promise<bool> taken;
  auto isTaken = taken.get_future();
  {
    const std::lock_guard first(*mutex);
    EXPECT_FALSE(mutex->try_lock() || mutex->try_lock_for(1ms));
    std::thread([mutex, taken = std::move(taken)]() mutable {
      taken.set_value(std::unique_lock(*mutex).owns_lock());
    }).detach();  // if the thread is never woken, the test does not wait for it
    EXPECT_EQ(isTaken.wait_for(50ms), std::future_status::timeout);
  }
  ASSERT_EQ(isTaken.wait_for(20s), std::future_status::ready);
  EXPECT_TRUE(isTaken.get());
}

TEST_F(FrameQueueTest, NothingIsLostOrDoubledBetweenTwoThreads) {
  constexpr int kFrames = 20000;
  std::thread producer([&] {
    FrameBuffer memory = newBuffer();
    for (int n = 1; n <= kFrames; ++n) {
      std::memcpy(memory->data(), &n, sizeof n);
      while (!queue_.push(memory, kFormat, {.capture = kFirst})) std::this_thread::yield();
    }
    queue_.end(kFirst, NoFrame::kStopped);
  });
  int last = 0;
  while (!queue_.pop(frame_, kBytes, std::nullopt)) {
    int n = 0;
    std::memcpy(&n, frame_.memory->data(), sizeof n);
    ASSERT_EQ(n, last + 1);
    last = n;
  }
  producer.join();
  while (!queue_.pop(frame_, kBytes, 0ms)) ++last;
  EXPECT_EQ(last, kFrames);
}

}  // namespace
}  // namespace orvik
