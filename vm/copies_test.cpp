// SPDX-License-Identifier: MIT
// What a frame costs with and without the kernel's zero-copy buffers, on libusb, usbfs and the USB
// core of the kernel. The processor of the guest is emulated: only the ratio of the two ways means
// something, and only roughly.
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>

#include "vm/guest_bench.h"
#include "vm/lent_memory.h"

namespace orvik::vm {
namespace {

/// What has been used so far, in milliseconds unless it says otherwise.
struct Used {
  double user = 0;     ///< by this process
  double system = 0;   ///< by this process
  double machine = 0;  ///< by all processes, the kernel's threads and interrupts
  double switches = 0;

  friend Used operator-(const Used& after, const Used& before) {
    return {after.user - before.user, after.system - before.system, after.machine - before.machine,
            after.switches - before.switches};
  }
};

Used usedSoFar() {
  rusage own = {};
  getrusage(RUSAGE_SELF, &own);
  const auto milliseconds = [](const timeval& time) {
    return 1e3 * static_cast<double>(time.tv_sec) + 1e-3 * static_cast<double>(time.tv_usec);
  };
  // "cpu user nice system idle iowait irq softirq", in hundredths of a second.
  std::ifstream stat("/proc/stat");
  std::string word;
  std::array<double, 7> ticks{};
  stat >> word;
  for (double& tick : ticks) stat >> tick;
  return {milliseconds(own.ru_utime), milliseconds(own.ru_stime),
          10 * (ticks[0] + ticks[1] + ticks[2] + ticks[5] + ticks[6]),
          static_cast<double>(own.ru_nvcsw + own.ru_nivcsw)};
}

struct Cost {
  Used perFrame;
  double lentShare = 0;  ///< of the bytes read
};

Cost costOfFrames(bool lending, int frames) {
  constexpr int kFirst = 5;  // memory is touched for the first time
  LentMemory::allow(lending);
  OpenCamera camera(0);
  camera.set(Orvik_CTL_EXPOSURE, 100);
  camera.format(1304, 976, 1, Orvik_IMG_RAW8);
  EXPECT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  for (int i = 0; i < kFirst; ++i) EXPECT_EQ(camera.videoFrame(), Orvik_OK);
  const auto read = LentMemory::bytesRead();
  const auto readWhereLent = LentMemory::bytesReadWhereLent();
  const Used before = usedSoFar();
  for (int i = 0; i < frames; ++i) EXPECT_EQ(camera.videoFrame(), Orvik_OK);
  const Used used = usedSoFar() - before;
  EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
  LentMemory::allow(true);
  const double count = frames;
  return {{used.user / count, used.system / count, used.machine / count, used.switches / count},
          static_cast<double>(LentMemory::bytesReadWhereLent() - readWhereLent) /
              static_cast<double>(std::max<std::int64_t>(1, LentMemory::bytesRead() - read))};
}

TEST(Guest, ReportsTheCostOfAFrameWithAndWithoutTheKernelsBuffers) {
  constexpr int kRounds = 5;
  constexpr int kFrames = 60;
  const PluggedCamera plugged("T15C,pace=free,scene=grey");
  std::array<std::vector<Cost>, 2> costs;  // without and with
  for (int round = 0; round < kRounds; ++round) {
    for (const bool lending : {false, true}) {
      costs[lending ? 1 : 0].push_back(costOfFrames(lending, kFrames));
    }
  }
  const auto median = [&](bool lending, auto value) {
    std::vector<double> all;
    for (const Cost& cost : costs[lending ? 1 : 0]) all.push_back(value(cost));
    std::ranges::nth_element(all, all.begin() + kRounds / 2);
    return all[kRounds / 2];
  };
  std::printf(
      "frames of 1304 x 976, RAW8, per frame, medians of %d rounds of %d frames\n"
      "kernel's buffers  read into them  copies: usbfs  driver  user ms  system ms  machine ms  "
      "switches\n",
      kRounds, kFrames);
  for (const bool lending : {false, true}) {
    const double share = median(lending, [](const Cost& cost) { return cost.lentShare; });
    // The driver copies what was read into lent memory into the frame, and the frame to the caller.
    std::printf("%-16s  %12.0f %%  %13.1f  %6.1f  %7.2f  %9.2f  %10.2f  %8.1f\n",
                lending ? "used" : "refused", 100 * share, 1 - share, 1 + share,
                median(lending, [](const Cost& cost) { return cost.perFrame.user; }),
                median(lending, [](const Cost& cost) { return cost.perFrame.system; }),
                median(lending, [](const Cost& cost) { return cost.perFrame.machine; }),
                median(lending, [](const Cost& cost) { return cost.perFrame.switches; }));
    EXPECT_EQ(share > 0, lending) << "whether the driver reads into the kernel's buffers";
  }
}

}  // namespace
}  // namespace orvik::vm
