// SPDX-License-Identifier: MIT
// The thread that keeps the temperature: it ends, whatever the camera does.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <thread>

#include "cooler/cooled_bench.h"
#include "usb/current_host.h"

namespace orvik::test {
namespace {

using namespace std::chrono_literals;

std::chrono::steady_clock::duration timeOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::steady_clock::now() - start;
}

/// Of this process. A sanitizer starts a thread of its own with the first other one, and keeps it.
std::ptrdiff_t threadCount() {
  static const bool sanitizerIsUp = [] {
    std::thread([] {}).join();
    return true;
  }();
  EXPECT_TRUE(sanitizerIsUp);
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

/// Whether there are soon as many threads again as there were.
bool noThreadLeft(std::ptrdiff_t before) {
  return eventually([&] { return threadCount() == before; });
}

TEST(CoolerThread, EndsWithTheCameraObject) {
  CooledBench bench;
  bench.plug();
  const std::ptrdiff_t threads = threadCount();
  {
    CCameraT13C_C camera;
    ASSERT_TRUE(camera.OpenCamera(1) && camera.InitCamera());
    camera.SetAutoTemp(true, -10);
    ASSERT_TRUE(bench.clock->run(20s));
    EXPECT_LT(timeOf([&] { camera.StopAutoTempThr(); }), 400ms) << "it is woken";
    camera.StopAutoTempThr();
    camera.StartAutoTempThr();
    camera.StartAutoTempThr();
    EXPECT_TRUE(camera.IsAutoTempWorking());
    ASSERT_TRUE(bench.clock->run(20s)) << "one thread, not two";
  }
  EXPECT_TRUE(noThreadLeft(threads));
}

TEST(CoolerThread, SurvivesAnUnplugAndEndsAfterIt) {
  CooledBench bench;
  const int id = bench.plug();
  const std::ptrdiff_t threads = threadCount();
  {
    CCameraT13C_C camera;
    ASSERT_TRUE(camera.OpenCamera(1) && camera.InitCamera());
    camera.SetAutoTemp(true, -10);
    ASSERT_TRUE(bench.clock->run(30s));
    const float last = camera.GetTemp();
    bench.bench.host().unplug(id);
    ASSERT_TRUE(bench.clock->run(30s));
    EXPECT_EQ(camera.GetTemp(), last) << "the last reading";
    EXPECT_TRUE(camera.IsAutoTempWorking());
  }
  EXPECT_TRUE(noThreadLeft(threads));
}

/// A camera that stops answering: its control transfers do not even end when cancelled.
struct Silence {
  std::atomic<bool> on{false};
  std::atomic<int> waiting{0};
};

class SilentTransfer final : public seam::ControlTransfer {
 public:
  explicit SilentTransfer(std::shared_ptr<Silence> silence) : silence_(std::move(silence)) {}
  seam::TransferStatus submit(const seam::SetupPacket&, seam::TransferBuffer,
                              std::chrono::milliseconds) override {
    return seam::TransferStatus::kOk;
  }
  void cancel() override {}
  bool wait(std::chrono::milliseconds limit) override {
    ++silence_->waiting;
    std::this_thread::sleep_for(limit);
    --silence_->waiting;
    return false;
  }
  [[nodiscard]] seam::TransferStatus status() const override {
    return seam::TransferStatus::kTimedOut;
  }
  [[nodiscard]] std::size_t actualBytes() const override { return 0; }

 private:
  std::shared_ptr<Silence> silence_;
};

class SilentPort final : public seam::Port {
 public:
  SilentPort(std::unique_ptr<seam::Port> inner, std::shared_ptr<Silence> silence)
      : inner_(std::move(inner)), silence_(std::move(silence)) {}

  [[nodiscard]] seam::Speed speed() const override { return inner_->speed(); }
  bool claimInterface(std::uint8_t number) override { return inner_->claimInterface(number); }
  std::unique_ptr<seam::ControlTransfer> newControlTransfer() override {
    if (silence_->on) return std::make_unique<SilentTransfer>(silence_);
    return inner_->newControlTransfer();
  }
  std::unique_ptr<seam::BulkTransfer> newBulkTransfer(std::uint8_t endpoint) override {
    return inner_->newBulkTransfer(endpoint);
  }
  std::shared_ptr<std::uint8_t[]> allocateDeviceMemory(std::size_t bytes) override {
    return inner_->allocateDeviceMemory(bytes);
  }
  seam::TransferStatus clearHalt(std::uint8_t endpoint) override {
    return inner_->clearHalt(endpoint);
  }
  seam::TransferStatus reset() override { return inner_->reset(); }

 private:
  std::unique_ptr<seam::Port> inner_;
  std::shared_ptr<Silence> silence_;
};

class SilentHost final : public seam::Host {
 public:
  SilentHost(std::shared_ptr<seam::Host> inner, std::shared_ptr<Silence> silence)
      : inner_(std::move(inner)), silence_(std::move(silence)) {}
  std::vector<seam::DeviceInfo> devices() override { return inner_->devices(); }
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override {
    auto port = inner_->open(device);
    if (!port) return nullptr;
    return std::make_unique<SilentPort>(std::move(port), silence_);
  }

 private:
  std::shared_ptr<seam::Host> inner_;
  std::shared_ptr<Silence> silence_;
};

class SilentCameraTest : public ::testing::Test {
 protected:
  SilentCameraTest() {
    installHost(std::make_shared<SilentHost>(bench_.bench.sharedHost(), silence_));
    bench_.plug();
    camera_ = std::make_unique<CCameraT13C_C>();
    EXPECT_TRUE(camera_->OpenCamera(1) && camera_->InitCamera());
    camera_->SetAutoTemp(true, -10);
    EXPECT_TRUE(bench_.clock->run(20s));
  }

  /// The camera falls silent, and the thread waits for its answer.
  void fallSilent() {
    silence_->on = true;
    ASSERT_TRUE(eventually([&] {
      if (silence_->waiting == 0) bench_.clock->sleepFor(100ms);
      return silence_->waiting > 0;
    }));
  }

  std::shared_ptr<Silence> silence_ = std::make_shared<Silence>();
  CooledBench bench_;
  const std::ptrdiff_t threads_ = threadCount();
  std::unique_ptr<CCameraT13C_C> camera_;
};

// A request that gets no answer takes 1550 ms at most. Closing waits 500 ms for the thread, then
// for what is left of its request, and then for its own, that for no power.
constexpr auto kOneRequest = 1550ms;

TEST_F(SilentCameraTest, ClosingEndsByItsDeadline) {
  fallSilent();
  EXPECT_LT(timeOf([&] { camera_->CloseCamera(); }), 2 * kOneRequest + 1000ms);
  EXPECT_FALSE(camera_->IsAutoTempWorking());

  silence_->on = false;
  ASSERT_TRUE(camera_->OpenCamera(1) && camera_->InitCamera()) << "and it can be opened again";
  ASSERT_TRUE(bench_.clock->run(20s)) << "one thread, not two";
  camera_.reset();
  EXPECT_TRUE(noThreadLeft(threads_));
}

TEST_F(SilentCameraTest, TheObjectMayGoBeforeItsThread) {
  fallSilent();
  EXPECT_LT(timeOf([&] { camera_.reset(); }), 2 * kOneRequest + 1000ms);
  EXPECT_TRUE(noThreadLeft(threads_));
}

}  // namespace
}  // namespace orvik::test
