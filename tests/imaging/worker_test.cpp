// SPDX-License-Identifier: MIT
#include "imaging/worker.h"

#include <poll.h>

#include <latch>
#include <string>

#include "gtest/gtest.h"
#include "imaging/event_queue.h"

namespace orvik::imaging {
namespace {

TEST(Worker, DoesJobsInOrderAndTellsThemToStop) {
  Worker worker;
  std::latch begun(1);
  std::string done;
  std::stop_source first = worker.post([&](const std::stop_token& stop) {
    begun.count_down();
    while (!stop.stop_requested()) std::this_thread::yield();
    done += "1";
  });
  // Stopped before it has begun: it learns of it as well.
  worker.post([&](const std::stop_token& stop) { done += stop.stop_requested() ? "s" : "2"; })
      .request_stop();
  worker.post([&](const std::stop_token& stop) { done += stop.stop_requested() ? "s" : "3"; });
  begun.wait();
  first.request_stop();
  worker.drain();
  EXPECT_EQ("1s3", done);
}

TEST(EventQueue, WakesItsThreadAndRunsWhatWasPassedMeanwhileTheNextTime) {
  EventQueue queue;
  const auto isReady = [&] {
    pollfd descriptor{queue.descriptor(), POLLIN, 0};
    return poll(&descriptor, 1, 0) == 1;
  };
  std::string done;
  EXPECT_FALSE(isReady());
  queue.post([&] {
    done += "a";
    queue.post([&] { done += "c"; });
  });
  queue.post([&] { done += "b"; });
  EXPECT_TRUE(isReady());
  queue.run();
  EXPECT_EQ("ab", done);
  EXPECT_TRUE(isReady());
  queue.run();
  EXPECT_EQ("abc", done);
  EXPECT_FALSE(isReady());
}

}  // namespace
}  // namespace orvik::imaging
