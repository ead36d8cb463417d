// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

#include "imaging/stars/star_finder.h"
#include "imaging/view/render.h"
#include "integrations/server/camera/served_camera.h"
#include "integrations/server/live/jpeg_encoder.h"
#include "integrations/server/live/line_pace.h"
#include "integrations/server/live/live_viewer.h"
#include "integrations/server/live/work_budget.h"

namespace orvik::server {

/// Shows the latest frame of a camera to all who watch, as often as their lines and half a
/// processor allow. A picture that several viewers want alike is made once. Any thread.
class LiveView final : public FrameListener {
 public:
  /// @param wantLive is told whether somebody watches, on the view's own thread
  explicit LiveView(std::function<void(bool)> wantLive);
  ~LiveView() override;
  LiveView(const LiveView&) = delete;
  LiveView& operator=(const LiveView&) = delete;

  /// The camera was opened; frames that follow are its. Tells anew whether they are wanted.
  void opened(const Orvik_CAMERA_INFO& camera);
  void frame(const SharedFrame& frame) override;

  /// @return number of the viewer
  int add(std::shared_ptr<LiveViewer> viewer);
  void remove(int viewer);
  void wish(int viewer, const ViewWish& wish);
  /// A viewer has shown the picture with this message number.
  void seen(int viewer, std::uint32_t message);
  /// The pixel whose value a viewer wants to know.
  void point(int viewer, std::optional<std::pair<int, int>> pixel);
  /// Whether a viewer wants stars.
  void focus(int viewer, bool isOn);
  /// The messages for a viewer have left.
  void drained();

  void setStretch(const imaging::Stretch& stretch);
  /// The stretch in effect.
  [[nodiscard]] imaging::Stretch stretch() const;
  /// How many viewers look.
  [[nodiscard]] int shown() const;

 private:
  using Clock = std::chrono::steady_clock;

  struct Viewer {
    std::shared_ptr<LiveViewer> viewer;
    ViewWish wish;
    std::optional<std::pair<int, int>> pointer;
    bool wantsStars = false;
    LinePace pace;
    std::uint32_t messages = 0;
    std::uint64_t shows = 0;        // sequence number of the frame that it was sent last
    std::uint64_t stretch = 0;      // and with which stretch
    std::uint64_t courseUntil = 0;  // samples of the course that it has
  };
  /// A frame and what is due with it.
  struct Work {
    SharedFrame frame;
    std::uint64_t sequence = 0;
    bool countValues = false;
    bool findStars = false;
    bool makePictures = false;
    [[nodiscard]] bool isAny() const { return countValues || findStars || makePictures; }
  };
  struct Made {
    imaging::RenderPlan plan;
    int quality;
    std::shared_ptr<const std::string> jpeg;
  };

  void run(const std::stop_token& stop);
  [[nodiscard]] bool somebodyLooks() const;
  bool needsPicture(const Viewer& viewer, Clock::time_point now) const;
  Work nextWork(Clock::time_point now, Clock::time_point& wake);
  void lookAfterCamera(std::unique_lock<std::mutex>& lock, Clock::time_point now,
                       Clock::time_point& wake);
  void work(const Work& work);
  void followKind(const imaging::ImageSource& image);
  void countValues(const Work& work, const imaging::ImageSource& image);
  void useStretch(const imaging::Stretch& stretch);
  void findStars(const Work& work, const imaging::ImageSource& image);
  std::shared_ptr<const std::string> magnify(const imaging::ImageSource& image,
                                             const imaging::Star& star, imaging::Window& part);
  void makePictures(const Work& work, const imaging::ImageSource& image);
  const std::shared_ptr<const std::string>& make(const imaging::ImageSource& image,
                                                 const imaging::RenderPlan& plan, int quality);
  std::shared_ptr<Viewer> viewer(int number);
  std::vector<std::shared_ptr<Viewer>> viewers(bool shownOnly) const;
  void notify();

  const std::function<void(bool)> wantLive_;

  mutable std::mutex mutex_;
  std::condition_variable_any changed_;
  Orvik_CAMERA_INFO camera_{};
  SharedFrame latest_;
  std::uint64_t sequence_ = 0;  // of the latest frame, from 1 on
  Clock::time_point arrived_;
  Clock::duration interval_{0};  // from frame to frame, smoothed
  std::map<int, std::shared_ptr<Viewer>> viewers_;
  int lastViewer_ = 0;
  imaging::Stretch stretch_;  // as it was set
  imaging::Stretch inEffect_;
  std::uint64_t stretchNumber_ = 1;
  std::uint64_t counted_ = 0;   // sequence number of the frame whose values were counted last
  std::uint64_t searched_ = 0;  // and of the one that was searched for stars
  bool isNotified_ = false;
  bool isStretchSet_ = false;  // by somebody
  bool restart_ = false;       // the next frame is of another kind than the last one
  bool tellWanted_ = false;    // the camera has to be told whether frames are wanted
  bool wanted_ = false;
  std::optional<Clock::time_point> unwatchedSince_;

  // What follows is the thread's own.
  imaging::Renderer renderer_;
  JpegEncoder encoder_;
  imaging::StretchTable table_;
  imaging::StretchTable magnifier_;
  imaging::AutoStretch auto_;
  imaging::Size lastSize_;
  IMG_TYPE lastType_ = Orvik_IMG_END;
  imaging::ValueCounts counts_;
  imaging::StarFinder finder_;
  std::deque<FocusSample> course_;
  std::uint64_t courseEnd_ = 0;  // samples so far
  std::vector<Made> made_;
  WorkBudget budget_{0.5};
  Clock::time_point countAt_;
  Clock::time_point countedAt_;
  Clock::time_point searchAt_;

  std::jthread thread_;
};

}  // namespace orvik::server
