// SPDX-License-Identifier: MIT
#include "integrations/server/live/live_view.h"

#include <turbojpeg.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

#include "gtest/gtest.h"
#include "imaging/test_frame.h"
#include "imaging/view/render.h"
#include "integrations/server/live/jpeg_encoder.h"

namespace orvik::server {
namespace {

using std::chrono::milliseconds;

/// A browser that shows what it is sent.
class Viewer final : public LiveViewer {
 public:
  explicit Viewer(LiveView& view) : view_(view) {}

  void picture(const Picture& picture, std::shared_ptr<const std::string> jpeg) override {
    {
      const std::scoped_lock lock(mutex_);
      (picture.isMagnified ? magnified_ : pictures_).push_back(picture);
      jpeg_ = std::move(jpeg);
    }
    changed_.notify_all();
    if (acknowledges) view_.seen(number, picture.message);
  }
  void statistics(const std::shared_ptr<const FrameReport>& report,
                  const std::optional<PixelValue>& pixel) override {
    const std::scoped_lock lock(mutex_);
    report_ = report;
    pixel_ = pixel;
    changed_.notify_all();
  }
  void stars(const std::vector<imaging::Star>& stars,
             std::span<const FocusSample> course) override {
    const std::scoped_lock lock(mutex_);
    stars_ = stars;
    course_ += course.size();
    changed_.notify_all();
  }
  void stretch(const imaging::Stretch& stretch) override {
    const std::scoped_lock lock(mutex_);
    stretch_ = stretch;
    changed_.notify_all();
  }
  [[nodiscard]] std::size_t waiting() const override { return queued; }

  bool sees(const std::function<bool(const Viewer&)>& condition) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(20), [&] { return condition(*this); });
  }
  std::size_t pictures() {
    const std::scoped_lock lock(mutex_);
    return pictures_.size();
  }

  int number = 0;
  std::atomic<bool> acknowledges = true;
  std::atomic<std::size_t> queued = 0;

  std::vector<Picture> pictures_;
  std::vector<Picture> magnified_;
  std::shared_ptr<const std::string> jpeg_;
  std::shared_ptr<const FrameReport> report_;
  std::optional<PixelValue> pixel_;
  std::vector<imaging::Star> stars_;
  std::size_t course_ = 0;
  imaging::Stretch stretch_;

 private:
  LiveView& view_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
};

class LiveViewTest : public ::testing::Test {
 protected:
  static constexpr int kWidth = 160;
  static constexpr int kHeight = 120;

  std::shared_ptr<Viewer> join(std::optional<imaging::Window> window = {},
                               imaging::Size place = {160, 120}) {
    auto viewer = std::make_shared<Viewer>(view_);
    viewer->number = view_.add(viewer);
    view_.wish(viewer->number, {true, window, place});
    return viewer;
  }
  /// A frame with a star.
  void show(int exposureMs = 10) {
    auto frame = std::make_shared<Frame>();
    FrameInfo info;
    info.width = kWidth;
    info.height = kHeight;
    info.bin = 1;
    info.type = Orvik_IMG_RAW8;
    info.number = ++frames_;
    info.exposureUs = 1000 * exposureMs;
    const auto pixels = frame->reserve(info.bytes());
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const double r = (x - 40) * (x - 40) + (y - 60) * (y - 60);
        pixels[static_cast<std::size_t>(y * kWidth + x)] =
            static_cast<std::uint8_t>(20 + (x * 7 + y * 3) % 3 + 150 * std::exp(-r / 8));
      }
    }
    frame->filled(info);
    view_.frame(frame);
  }

  std::mutex mutex_;
  std::vector<bool> wanted_;
  std::condition_variable told_;
  LiveView view_{[this](bool wanted) {
    const std::scoped_lock lock(mutex_);
    wanted_.push_back(wanted);
    told_.notify_all();
  }};
  int frames_ = 0;
};

TEST_F(LiveViewTest, ShowsTheSameToThoseWhoWantTheSame) {
  const auto one = join();
  const auto same = join();
  const auto part = join(imaging::Window{32, 50, 20, 10});
  show(250);
  for (const auto& viewer : {one, same, part}) {
    ASSERT_TRUE(viewer->sees([](const Viewer& v) { return !v.pictures_.empty() && v.report_; }));
  }
  EXPECT_EQ(one->jpeg_, same->jpeg_);
  EXPECT_NE(one->jpeg_, part->jpeg_);
  EXPECT_EQ(part->pictures_[0].part, (imaging::Window{32, 50, 20, 10}));
  EXPECT_EQ(part->pictures_[0].whole, (imaging::Size{kWidth, kHeight}));
  EXPECT_EQ(part->pictures_[0].message, 1U);
  EXPECT_EQ(part->pictures_[0].frame, 1);
  EXPECT_NEAR(part->pictures_[0].exposure, 0.25, 1e-6);
  EXPECT_EQ(one->report_->frame, 1);

  // What arrives is a picture of that part: its brightest spot is the star.
  const tjhandle decoder = tjInitDecompress();
  int width = 0;
  int height = 0;
  int sampling = 0;
  const auto* bytes = reinterpret_cast<const unsigned char*>(part->jpeg_->data());
  ASSERT_EQ(tjDecompressHeader2(decoder, const_cast<unsigned char*>(bytes), part->jpeg_->size(),
                                &width, &height, &sampling),
            0);
  ASSERT_EQ(width * height, 200);
  std::vector<unsigned char> pixels(200);
  ASSERT_EQ(
      tjDecompress2(decoder, bytes, part->jpeg_->size(), pixels.data(), 20, 0, 10, TJPF_GRAY, 0),
      0);
  tjDestroy(decoder);
  EXPECT_GT(pixels[9 * 20 + 8], pixels[0] + 60);
}

TEST_F(LiveViewTest, TheLatestFrameWinsAndSlowViewersHoldNobodyUp) {
  const auto quick = join();
  const auto slow = join();
  slow->acknowledges = false;
  const auto stuck = join();
  stuck->queued = 3;
  for (int i = 1; i <= 40; ++i) {
    show();
    ASSERT_TRUE(quick->sees(
        [&](const Viewer& v) { return !v.pictures_.empty() && v.pictures_.back().frame == i; }));
  }
  EXPECT_EQ(slow->pictures(), 2U);
  EXPECT_EQ(stuck->pictures(), 0U);
  // The next one is the latest, as soon as there is room.
  view_.seen(slow->number, 2);
  ASSERT_TRUE(slow->sees([](const Viewer& v) { return v.pictures_.size() == 3; }));
  EXPECT_EQ(slow->pictures_.back().frame, 40);
  stuck->queued = 0;
  view_.drained();
  ASSERT_TRUE(stuck->sees([](const Viewer& v) { return v.pictures_.size() == 1; }));
  EXPECT_EQ(stuck->pictures_.back().frame, 40);
}

TEST_F(LiveViewTest, ChangesAreSeenWithoutAnotherFrame) {
  const auto viewer = join();
  show();
  ASSERT_TRUE(viewer->sees([](const Viewer& v) { return !v.pictures_.empty(); }));
  view_.wish(viewer->number, {true, imaging::Window{0, 0, 40, 40}, {160, 120}});
  ASSERT_TRUE(viewer->sees([](const Viewer& v) { return v.pictures_.back().part.width == 40; }));
  view_.point(viewer->number, {{40, 60}});
  ASSERT_TRUE(viewer->sees([](const Viewer& v) { return v.pixel_.has_value(); }));
  EXPECT_GT(viewer->pixel_->values.at(0), 165);
  view_.point(viewer->number, {{kWidth, 0}});
  ASSERT_TRUE(viewer->sees([](const Viewer& v) { return !v.pixel_.has_value(); }));

  const std::size_t before = viewer->pictures();
  imaging::Stretch stretch;
  stretch.mode = imaging::Stretch::Mode::kLinear;
  stretch.white = 0.25;
  view_.setStretch(stretch);
  ASSERT_TRUE(viewer->sees(
      [&](const Viewer& v) { return v.stretch_ == stretch && v.pictures_.size() > before; }));
  EXPECT_EQ(view_.stretch(), stretch);

  EXPECT_EQ(viewer->course_, 0U);
  view_.focus(viewer->number, true);
  ASSERT_TRUE(
      viewer->sees([](const Viewer& v) { return v.course_ == 1 && !v.magnified_.empty(); }));
  ASSERT_EQ(viewer->stars_.size(), 1U);
  EXPECT_NEAR(viewer->stars_[0].x, 40, 0.3);
  const imaging::Window magnified = viewer->magnified_[0].part;
  EXPECT_TRUE(magnified.x < 40 && magnified.x + magnified.width > 40);
  // Another one who asks for stars later sees the course from its beginning.
  show();
  ASSERT_TRUE(viewer->sees([](const Viewer& v) { return v.course_ == 2; }));
  const auto later = join();
  view_.focus(later->number, true);
  ASSERT_TRUE(later->sees([](const Viewer& v) { return v.course_ >= 2; }));
}

TEST_F(LiveViewTest, NothingIsMadeOrWantedWhenNobodyLooks) {
  const auto wanted = [&](const std::vector<bool>& told) {
    std::unique_lock lock(mutex_);
    return told_.wait_for(lock, std::chrono::seconds(20), [&] { return wanted_ == told; });
  };
  const auto viewer = join();
  ASSERT_TRUE(wanted({true}));
  view_.wish(viewer->number, {false, {}, {160, 120}});
  show();
  ASSERT_TRUE(wanted({true, false}));
  EXPECT_EQ(viewer->pictures(), 0U);
  EXPECT_EQ(view_.shown(), 0);
  view_.wish(viewer->number, {true, {}, {160, 120}});
  ASSERT_TRUE(wanted({true, false, true}));
  // A camera that was opened anew is told again.
  view_.opened({});
  ASSERT_TRUE(wanted({true, false, true, true}));
  view_.remove(viewer->number);
  ASSERT_TRUE(wanted({true, false, true, true, false}));
}

TEST(LiveView, QualityOfJpegs) {
  imaging::test::TestImage image({300, 260}, Orvik_IMG_RGB24);
  image.fill([](int x, int y) { return (x + y) / 4; });
  imaging::Renderer renderer;
  imaging::StretchTable table;
  JpegEncoder encoder;
  const imaging::RenderPlan plan = imaging::planFor(image.source(), {}, {300, 260}, 1);
  const auto pixels = renderer.render(image.source(), plan, table);
  const auto good = encoder.encode(pixels, plan.size(), true, 90);
  const auto bad = encoder.encode(pixels, plan.size(), true, 10);
  EXPECT_EQ(good->substr(0, 3), "\xFF\xD8\xFF");
  EXPECT_LT(bad->size(), good->size());
}

}  // namespace
}  // namespace orvik::server
