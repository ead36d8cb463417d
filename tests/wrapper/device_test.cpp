// SPDX-License-Identifier: MIT
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "wrapper/wrapper_bench.h"

namespace orvik::test {
namespace {

using Change = DeviceWatch::Change;

/// Notes what a watch reports.
class Diary {
 public:
  void note(Change change, const Device& device) {
    const std::lock_guard lock(mutex_);
    lines_.push_back((change == Change::kArrived ? "+" : "-") + device.serial);
    changed_.notify_all();
  }
  bool has(const std::vector<std::string>& lines) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return lines_ == lines; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

TEST(DeviceWatchTest, ReportsWhatIsThereWhatComesAndWhatGoes) {
  const int first = OrvikSimPlug("T15C", "serial=AAAA0001");
  Diary diary;
  {
    const DeviceWatch watch(
        [&](Change change, const Device& device) { diary.note(change, device); });
    EXPECT_TRUE(diary.has({"+AAAA0001"}));
    OrvikSimPlug("T01C", "serial=BBBB0002");
    EXPECT_TRUE(diary.has({"+AAAA0001", "+BBBB0002"}));
    OrvikSimUnplug(first);
    EXPECT_TRUE(diary.has({"+AAAA0001", "+BBBB0002", "-AAAA0001"}));
    const Camera camera = Camera::open();
    EXPECT_EQ(devices().at(0).handle, camera.handle());
  }
  OrvikSimUnplugAll();
  EXPECT_TRUE(diary.has({"+AAAA0001", "+BBBB0002", "-AAAA0001"})) << "the watch has ended";
}

}  // namespace
}  // namespace orvik::test
