// SPDX-License-Identifier: MIT
#include "integrations/server/live/line_pace.h"

#include <algorithm>
#include <deque>

#include "gtest/gtest.h"

namespace orvik::server {
namespace {

using Clock = LinePace::Clock;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// A line between a camera and a browser, in simulated time.
struct Line {
  double bytesPerSecond;
  double distance;  // seconds there and back
  double interval;  // of the camera, seconds

  struct Result {
    double rate = 0;     // pictures per second in the last ten seconds
    double longest = 0;  // time on the way, then
    LinePace::Grade grade;
    int changes = 0;  // of the grade, then
  };

  [[nodiscard]] Result run(LinePace& pace, double& now, double length) const {
    struct Message {
      std::uint32_t number;
      double sent;
      double arrives;
    };
    Result result;
    std::deque<Message> onTheirWay;
    const double end = now + length;
    double nextFrame = now;
    double lineFree = now;
    int shown = 0;
    for (; now < end; now += 0.001) {
      const bool isLast = now > end - 10;
      while (!onTheirWay.empty() && onTheirWay.front().arrives <= now) {
        pace.seen(onTheirWay.front().number, at(now));
        if (isLast) {
          ++shown;
          result.longest = std::max(result.longest, now - onTheirWay.front().sent);
        }
        onTheirWay.pop_front();
      }
      if (now < nextFrame || !pace.mayTake(at(now))) continue;
      nextFrame = std::max(nextFrame + interval, now);
      const LinePace::Grade grade = pace.grade();
      if (isLast && !(grade == result.grade)) ++result.changes;
      result.grade = grade;
      const double bytes = 2000.0 * grade.quality / (grade.coarser * grade.coarser);
      lineFree = std::max(lineFree, now) + bytes / bytesPerSecond;
      onTheirWay.push_back({++lastNumber, now, lineFree + distance});
      pace.sent(
          lastNumber, at(now),
          std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(interval)));
    }
    result.rate = shown / 10.0;
    return result;
  }
  static Clock::time_point at(double time) {
    return Clock::time_point(
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1000 + time)));
  }
  static inline std::uint32_t lastNumber = 0;
};

TEST(LinePace, GivesWhatTheLineAllows) {
  double now = 0;
  LinePace near;
  const auto best = Line{50e6, 0.002, 1 / 60.0}.run(near, now, 30);
  EXPECT_EQ(best.grade, LinePace::Grade{});
  EXPECT_GT(best.rate, 50);

  // 170 kB a picture and 400 kB/s: smaller pictures, but several a second, none of them old.
  LinePace slow;
  const auto worse = Line{400e3, 0.03, 1 / 60.0}.run(slow, now, 60);
  EXPECT_LT(worse.grade.quality * 10 / worse.grade.coarser, 850);
  EXPECT_GT(worse.rate, 6);
  EXPECT_LT(worse.longest, 0.6);
  EXPECT_LE(worse.changes, 4);

  // When it becomes fast the pictures become good again.
  EXPECT_EQ((Line{50e6, 0.002, 1 / 60.0}.run(slow, now, 240).grade), LinePace::Grade{});
}

TEST(LinePace, KeepsPicturesGoodWhereSmallerOnesWouldNotHelp) {
  double now = 0;
  // A camera that takes a picture every two seconds leaves time enough for each.
  LinePace rare;
  EXPECT_EQ((Line{400e3, 0.03, 2}.run(rare, now, 60).grade), LinePace::Grade{});
  // Far away, but fast: most of the time is the distance's.
  LinePace far;
  EXPECT_EQ((Line{50e6, 0.6, 1 / 60.0}.run(far, now, 25).grade), LinePace::Grade{});
}

TEST(LinePace, SendsTwoAheadAndForgetsWhatIsNeverSeen) {
  const Clock::time_point start{seconds(1000)};
  LinePace pace;
  pace.sent(1, start, milliseconds(20));
  EXPECT_TRUE(pace.mayTake(start));
  pace.sent(2, start, milliseconds(20));
  EXPECT_FALSE(pace.mayTake(start + seconds(1)));
  pace.seen(77, start);  // acknowledges all before it
  EXPECT_TRUE(pace.mayTake(start + seconds(1)));
  pace.sent(78, start, milliseconds(20));
  pace.sent(79, start, milliseconds(20));
  pace.seen(78, start);
  pace.sent(80, start, milliseconds(20));
  EXPECT_FALSE(pace.mayTake(start + seconds(1)));
  EXPECT_TRUE(pace.mayTake(start + seconds(6)));
}

}  // namespace
}  // namespace orvik::server
