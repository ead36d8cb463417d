// SPDX-License-Identifier: MIT
#include "integrations/server/page/page_server.h"

#include <atomic>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "imaging/worker.h"
#include "integrations/server/page/messages.h"
#include "integrations/server/page/page_camera.h"
#include "integrations/server/page/page_session.h"

namespace orvik::server {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kTick = std::chrono::milliseconds(50);
constexpr auto kListFolder = std::chrono::seconds(1);

/// The number in "/camera/N/live".
std::optional<int> cameraOf(std::string_view path) {
  constexpr std::string_view kBefore = "/camera/";
  constexpr std::string_view kAfter = "/live";
  constexpr unsigned kLargestNumber = 1'000'000;
  if (!path.starts_with(kBefore) || !path.ends_with(kAfter)) return std::nullopt;
  if (path.size() <= kBefore.size() + kAfter.size()) return std::nullopt;
  path = path.substr(kBefore.size(), path.size() - kBefore.size() - kAfter.size());
  unsigned number = 0;
  const auto [end, error] = std::from_chars(path.data(), path.data() + path.size(), number);
  if (error != std::errc() || end != path.data() + path.size() || number > kLargestNumber) {
    return std::nullopt;
  }
  return static_cast<int>(number);
}

/// Wakes the page thread. Those who ring may outlive it.
struct Bell {
  std::mutex mutex;
  std::condition_variable_any woken;
  bool isRung = false;

  void ring() {
    {
      const std::scoped_lock lock(mutex);
      isRung = true;
    }
    woken.notify_all();
  }
};

}  // namespace

class PageServer::Impl {
 public:
  Impl(Fleet& fleet, std::shared_ptr<CaptureFolder> folder, const GuideWiring& wiring)
      : fleet_(fleet),
        wiring_(wiring),
        folder_(std::move(folder)),
        folderLine_(folder_->onChange([this] {
          folderChanged_ = true;
          bell_->ring();
        })),
        thread_([this](const std::stop_token& stop) { run(stop); }) {}

  std::shared_ptr<WebSocketUser> connect(const Request& request, std::shared_ptr<WebSocket> socket);
  [[nodiscard]] const Fleet& fleet() const { return fleet_; }

 private:
  std::shared_ptr<PageCamera> cameraNumbered(int number);
  void run(const std::stop_token& stop);
  void listFolder();

  Fleet& fleet_;
  const GuideWiring wiring_;
  const std::shared_ptr<CaptureFolder> folder_;
  const std::shared_ptr<Bell> bell_ = std::make_shared<Bell>();
  std::atomic<bool> folderChanged_ = true;
  std::atomic<bool> isListing_ = false;
  std::mutex mutex_;
  std::shared_ptr<const std::string> files_;
  std::map<int, std::shared_ptr<PageCamera>> cameras_;

  // Last, so that they end first.
  imaging::Worker disk_;
  std::shared_ptr<void> folderLine_;
  std::jthread thread_;
};

std::shared_ptr<PageCamera> PageServer::Impl::cameraNumbered(int number) {
  const std::scoped_lock lock(mutex_);
  const auto known = cameras_.find(number);
  if (known != cameras_.end()) return known->second;
  const auto camera = fleet_.camera(number);
  if (!camera) return nullptr;
  auto added =
      std::make_shared<PageCamera>(camera, folder_, wiring_, [bell = bell_] { bell->ring(); });
  cameras_[number] = added;
  return added;
}

std::shared_ptr<WebSocketUser> PageServer::Impl::connect(const Request& request,
                                                         std::shared_ptr<WebSocket> socket) {
  const auto number = cameraOf(request.path);
  const auto camera = number ? cameraNumbered(*number) : nullptr;
  if (!camera) return nullptr;
  return PageSession::begin(
      camera, folder_, std::move(socket), camera->nameFor(request.client),
      [this](std::function<void()> work) {
        disk_.post([work = std::move(work)](const std::stop_token&) { work(); });
      });
}

void PageServer::Impl::listFolder() {
  if (isListing_ || !folderChanged_.exchange(false)) return;
  isListing_ = true;
  disk_.post([this](const std::stop_token&) {
    auto files = std::make_shared<const std::string>(message::files(folder_->list()));
    {
      const std::scoped_lock lock(mutex_);
      files_ = std::move(files);
    }
    isListing_ = false;
    bell_->ring();
  });
}

void PageServer::Impl::run(const std::stop_token& stop) {
  Clock::time_point listed;
  while (!stop.stop_requested()) {
    std::vector<std::shared_ptr<PageCamera>> cameras;
    std::shared_ptr<const std::string> files;
    {
      const std::scoped_lock lock(bell_->mutex);
      bell_->isRung = false;
    }
    {
      const std::scoped_lock lock(mutex_);
      files = files_;
      for (const auto& [number, camera] : cameras_) cameras.push_back(camera);
    }
    const auto now = Clock::now();
    bool isBusy = false;
    for (const auto& camera : cameras) {
      camera->setFiles(files);
      isBusy = camera->tick(now) || isBusy;
    }
    // A long sequence adds files quickly; whoever looks at them does not.
    if (isBusy && now - listed >= kListFolder) {
      listed = now;
      listFolder();
    }
    std::unique_lock lock(bell_->mutex);
    if (isBusy) {
      bell_->woken.wait_until(lock, stop, now + kTick, [] { return false; });
    } else {
      bell_->woken.wait(lock, stop, [this] { return bell_->isRung; });
    }
  }
}

PageServer::PageServer(Fleet& fleet, std::shared_ptr<CaptureFolder> folder,
                       const GuideWiring& wiring)
    : impl_(std::make_unique<Impl>(fleet, std::move(folder), wiring)) {}

PageServer::~PageServer() = default;

std::shared_ptr<WebSocketUser> PageServer::connect(const Request& request,
                                                   std::shared_ptr<WebSocket> socket) {
  return impl_->connect(request, std::move(socket));
}

Response PageServer::cameras() const {
  return jsonText(message::cameras(impl_->fleet().cameras()));
}

}  // namespace orvik::server
