// SPDX-License-Identifier: MIT
// The driver on libusb, usbfs and the USB core of the kernel. Runs in the guest only, with a server
// of virtual cameras on the host (scripts/vm.sh).
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>

#include "vm/guest_bench.h"

namespace orvik::vm {
namespace {

/// The library promises one second; the rest is for the emulated processor.
constexpr auto kUnplugNoticed = 5s;
constexpr auto kCloseLimit = 15s;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

std::ptrdiff_t openHandles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator{});
}

std::ptrdiff_t threads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"),
                       std::filesystem::directory_iterator{});
}

TEST(Guest, TakesFramesOfEveryType) {
  const PluggedCamera plugged("T15C,scene=grey");
  OpenCamera camera(0);
  camera.set(Orvik_CTL_EXPOSURE, 10000);
  for (const IMG_TYPE type : {Orvik_IMG_RAW8, Orvik_IMG_RGB24, Orvik_IMG_RAW16, Orvik_IMG_Y8}) {
    for (const int bin : {1, 2}) {
      camera.format(640, 480, bin, type);
      ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
      for (int i = 0; i < 3; ++i) ASSERT_EQ(camera.videoFrame(), Orvik_OK) << type << ' ' << bin;
      EXPECT_TRUE(std::ranges::any_of(camera.image(), [](int byte) { return byte != 0; }));
      ASSERT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
    }
  }
}

TEST(Guest, ReportsItsThroughput) {
  const PluggedCamera plugged("T15C,pace=free");
  OpenCamera camera(0);
  camera.set(Orvik_CTL_EXPOSURE, 100);
  camera.format(1304, 976, 1, Orvik_IMG_RAW8);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  int frames = 0;
  const auto start = Clock::now();
  while (Clock::now() - start < 5s && camera.videoFrame() == Orvik_OK) ++frames;
  const double rate = frames * static_cast<double>(camera.image().size()) / secondsSince(start);
  EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);

  std::vector<unsigned char> copy(camera.image().size());
  int copies = 0;
  const auto copying = Clock::now();
  for (; Clock::now() - copying < 1s; ++copies) {
    std::memcpy(copy.data(), camera.image().data(), copy.size());
    asm volatile("" : : "r"(copy.data()) : "memory");
  }
  const double memory = copies * static_cast<double>(copy.size()) / secondsSince(copying);
  std::printf("throughput: %.1f MB/s delivered, %d frames of 1304 x 976; memcpy %.0f MB/s\n",
              rate / 1e6, frames, memory / 1e6);
  EXPECT_GT(frames, 10);
}

TEST(Guest, AnUnplugIsSeenInEveryPhase) {
  struct Phase {
    const char* name;
    // Brings the camera into the phase, and returns a call that waits in it and ends with a
    // failure.
    std::function<std::function<Orvik_ERROR_CODE()>(OpenCamera&)> enter;
  };
  const auto nothing = [] { return Orvik_ERROR_NO_FRAME; };
  const std::vector<Phase> phases = {
      {"idle", [&](OpenCamera&) { return nothing; }},
      {"video",
       [](OpenCamera& camera) {
         OrvikStartVideoCapture(0);
         EXPECT_EQ(camera.videoFrame(), Orvik_OK);
         return [&camera] {
           Orvik_ERROR_CODE code = Orvik_OK;
           while ((code = camera.videoFrame()) == Orvik_OK) {
           }
           return code;
         };
       }},
      {"long video exposure",
       [](OpenCamera& camera) {
         camera.set(Orvik_CTL_EXPOSURE, 60'000'000);
         OrvikStartVideoCapture(0);
         return [&camera] { return camera.videoFrame(-1); };
       }},
      {"snapshot",
       [](OpenCamera& camera) {
         camera.set(Orvik_CTL_EXPOSURE, 60'000'000);
         OrvikStartExposure(0);
         return [] {
           Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_EXPOSING;
           waitFor([&] {
             OrvikGetExpStatus(0, &status);
             return status != Orvik_EXPSTATE_EXPOSING;
           });
           return status == Orvik_EXPSTATE_FAILED ? Orvik_ERROR_NO_FRAME : Orvik_OK;
         };
       }},
      {"setting regions",
       [](OpenCamera&) {
         return [] {
           Orvik_ERROR_CODE code = Orvik_OK;
           while ((code = OrvikSetROIFormat(0, 640, 480, 1, Orvik_IMG_RAW8)) == Orvik_OK) {
           }
           return code;
         };
       }},
  };
  for (const Phase& phase : phases) {
    SCOPED_TRACE(phase.name);
    PluggedCamera plugged("T15C");
    OpenCamera camera(0);
    camera.set(Orvik_CTL_EXPOSURE, 20000);
    camera.format(640, 480, 1, Orvik_IMG_RAW8);
    const auto waiting = phase.enter(camera);
    Clock::time_point noticed;
    Orvik_ERROR_CODE code = Orvik_OK;
    std::thread waiter([&] {
      code = waiting();
      noticed = Clock::now();
    });
    std::this_thread::sleep_for(300ms);
    plugged.unplug();
    const auto pulled = Clock::now();
    waiter.join();
    EXPECT_NE(code, Orvik_OK);
    EXPECT_LT(noticed - pulled, kUnplugNoticed);
    std::printf("unplug, %s: noticed after %.2f s\n", phase.name,
                std::chrono::duration<double>(noticed - pulled).count());
    EXPECT_NE(camera.videoFrame(100), Orvik_OK) << "every later call tells of it";
    const auto closing = Clock::now();
    EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
    EXPECT_LT(Clock::now() - closing, kCloseLimit);
  }
}

TEST(Guest, ClosesWithTransfersInFlight) {
  const PluggedCamera plugged("T15C");
  std::ptrdiff_t handles = 0;
  std::ptrdiff_t running = 0;
  for (int round = 0; round < 12; ++round) {
    {
      OpenCamera camera(0);
      camera.set(Orvik_CTL_EXPOSURE, 10000);
      camera.format(1304, 976, 1, Orvik_IMG_RAW8);
      ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
      if (round % 2 == 0) {
        EXPECT_EQ(camera.videoFrame(), Orvik_OK);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(7 * round));
    }
    if (round == 1) {
      handles = openHandles();
      running = threads();
    }
  }
  EXPECT_EQ(openHandles(), handles);
  EXPECT_EQ(threads(), running);
}

TEST(Guest, StartsAndStopsInAHurry) {
  const PluggedCamera plugged("T15C");
  OpenCamera camera(0);
  camera.set(Orvik_CTL_EXPOSURE, 5000);
  camera.format(640, 480, 1, Orvik_IMG_RAW8);
  for (int round = 0; round < 30; ++round) {
    ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
    std::this_thread::sleep_for(std::chrono::milliseconds(round * 3));
    ASSERT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
  }
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  EXPECT_EQ(camera.videoFrame(), Orvik_OK);
}

/// When a program is killed, vhci_hcd spins with interrupts off until the transfer that is arriving
/// has arrived. The last processor is not the one that receives the network's interrupts (`init`).
void useTheLastProcessor() {
  cpu_set_t last;
  CPU_ZERO(&last);
  CPU_SET(std::thread::hardware_concurrency() - 1, &last);
  sched_setaffinity(0, sizeof last, &last);
}

/// Runs another program. @return its exit status, or -1 when it was killed.
int run(const std::vector<std::string>& words, int killAfterMs = 0) {
  const pid_t child = fork();
  if (child == 0) {
    if (killAfterMs > 0) useTheLastProcessor();
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  if (killAfterMs > 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(killAfterMs));
    kill(child, SIGKILL);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Guest, ACameraThatWasLeftStreamingOpensAndWorks) {
  const PluggedCamera plugged("T15C");
  const std::string tool = environment("ORVIK_TOOL");
  std::filesystem::remove("left.ser");
  EXPECT_EQ(
      run({tool, "video", "--duration", "60s", "--exposure", "20ms", "--quiet", "-o", "left.ser"},
          6000),
      -1);
  OpenCamera camera(0);
  camera.set(Orvik_CTL_EXPOSURE, 10000);
  camera.format(640, 480, 1, Orvik_IMG_RAW8);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  EXPECT_EQ(camera.videoFrame(), Orvik_OK);
}

TEST(Guest, AnotherProgramCannotTakeOrDisturbAnOpenCamera) {
  const PluggedCamera plugged("T15C");
  OpenCamera camera(0);
  camera.set(Orvik_CTL_EXPOSURE, 50000);
  camera.format(640, 480, 1, Orvik_IMG_RAW8);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  ASSERT_EQ(camera.videoFrame(), Orvik_OK);
  std::atomic<bool> done{false};
  std::thread other([&] {
    EXPECT_EQ(run({environment("ORVIK_TOOL"), "list"}), 0) << "looking is free";
    EXPECT_NE(run({environment("ORVIK_TOOL"), "controls"}), 0) << "the camera is not";
    done = true;
  });
  int frames = 0;
  while (!done) {
    EXPECT_EQ(camera.videoFrame(), Orvik_OK);
    ++frames;
  }
  other.join();
  EXPECT_GT(frames, 5);
  EXPECT_EQ(camera.dropped(), 0);
}

TEST(Guest, EachFamilyPassesTheSelftest) {
  std::istringstream families(environment("ORVIK_FAMILIES"));
  for (std::string model; families >> model;) {
    SCOPED_TRACE(model);
    const PluggedCamera plugged(model);
    std::printf("selftest of %s\n", model.c_str());
    std::fflush(stdout);
    EXPECT_EQ(run({environment("ORVIK_TOOL"), "selftest", "--quick"}), 0);
  }
}

TEST(Guest, FourCamerasCaptureAtOnce) {
  const std::string models = environment("ORVIK_FOUR");
  std::vector<std::unique_ptr<PluggedCamera>> plugged;
  std::istringstream words(models.empty() ? "T15C T15C T15C T15C" : models);
  for (std::string model; words >> model;)
    plugged.push_back(std::make_unique<PluggedCamera>(model));
  std::vector<std::unique_ptr<OpenCamera>> cameras;
  for (int i = 0; i < 4; ++i) {
    cameras.push_back(std::make_unique<OpenCamera>(i));
    cameras.back()->set(Orvik_CTL_EXPOSURE, 200'000);
    cameras.back()->format(320, 240, 1, Orvik_IMG_RAW8);
    ASSERT_EQ(OrvikStartVideoCapture(i), Orvik_OK);
  }
  std::vector<std::thread> readers;
  std::atomic<int> frames{0};
  for (const auto& camera : cameras) {
    readers.emplace_back([&frames, &camera] {
      for (const auto end = Clock::now() + 20s; Clock::now() < end;) {
        ASSERT_EQ(camera->videoFrame(), Orvik_OK);
        ++frames;
      }
      EXPECT_EQ(camera->dropped(), 0);
    });
  }
  for (std::thread& reader : readers) reader.join();
  std::printf("four cameras: %d frames in 20 s\n", frames.load());
  cameras.clear();
  while (!plugged.empty()) plugged.pop_back();  // in reverse: each waits for its initial count
}

TEST(Guest, TheLargestFrameFitsUnderTheUsualLimit) {
  std::ifstream limit("/sys/module/usbcore/parameters/usbfs_memory_mb");
  int megabytes = 0;
  limit >> megabytes;
  ASSERT_EQ(megabytes, 16);
  const PluggedCamera plugged("T05C,pace=free,scene=gradient");
  OpenCamera camera(0);
  camera.set(Orvik_CTL_EXPOSURE, 10000);
  camera.format(7380, 4928, 1, Orvik_IMG_RAW16);
  ASSERT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
  const auto start = Clock::now();
  for (int i = 0; i < 3; ++i) ASSERT_EQ(camera.videoFrame(60000), Orvik_OK);
  std::printf("T05C: 3 frames of %zu bytes in %.1f s\n", camera.image().size(),
              secondsSince(start));
}

}  // namespace
}  // namespace orvik::vm

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
