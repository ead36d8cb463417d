// SPDX-License-Identifier: MIT
// What the thread of a live view makes of a frame.
#include <algorithm>
#include <cmath>

#include "integrations/server/live/live_view.h"

namespace orvik::server {
namespace {

using std::chrono::milliseconds;

constexpr auto kCountInterval = milliseconds(100);
constexpr auto kSearchInterval = milliseconds(250);
// The rest of the time is for pictures.
constexpr int kCountShare = 10;
constexpr int kSearchShare = 8;
constexpr auto kCourse = std::chrono::minutes(10);
constexpr int kMagnifierQuality = 92;

}  // namespace

std::vector<std::shared_ptr<LiveView::Viewer>> LiveView::viewers(bool shownOnly) const {
  std::vector<std::shared_ptr<Viewer>> list;
  const std::scoped_lock lock(mutex_);
  for (const auto& [number, viewer] : viewers_) {
    if (viewer->wish.isShown || !shownOnly) list.push_back(viewer);
  }
  return list;
}

void LiveView::work(const Work& work) {
  Orvik_CAMERA_INFO camera;
  {
    const std::scoped_lock lock(mutex_);
    camera = camera_;
  }
  const imaging::ImageSource image = imaging::sourceOf(*work.frame, camera);
  if (image.size.width < 1 || image.size.height < 1 || work.frame->isEmpty()) return;
  followKind(image);
  try {
    if (work.countValues) countValues(work, image);
    if (work.makePictures) makePictures(work, image);
    if (work.findStars) findStars(work, image);
  } catch (const std::exception& error) {
    // Memory is short, or a picture cannot be compressed. The next frame may fare better.
    std::fprintf(stderr, "orvik-server: live view: %s\n", error.what());
  }
}

void LiveView::followKind(const imaging::ImageSource& image) {
  const bool isOther = image.size != lastSize_ || image.type != lastType_;
  lastSize_ = image.size;
  lastType_ = image.type;
  const std::scoped_lock lock(mutex_);
  if (isOther || restart_) auto_.restart();
  restart_ = false;
}

void LiveView::countValues(const Work& work, const imaging::ImageSource& image) {
  const auto begun = Clock::now();
  counts_.count(image);
  const auto report = std::make_shared<FrameReport>(
      FrameReport{work.frame->info().number, image.depth(), imaging::statisticsOf(counts_)});
  imaging::Stretch wanted;
  {
    const std::scoped_lock lock(mutex_);
    wanted = stretch_;
  }
  if (wanted.mode == imaging::Stretch::Mode::kAuto) {
    const double strength = wanted.strength;
    wanted = auto_.next(counts_, std::chrono::duration<double>(begun - countedAt_).count());
    wanted.strength = strength;
  }
  useStretch(wanted);
  for (const auto& viewer : viewers(true)) {
    std::optional<PixelValue> pixel;
    {
      const std::scoped_lock lock(mutex_);
      if (viewer->pointer) pixel = PixelValue{viewer->pointer->first, viewer->pointer->second, {}};
    }
    if (pixel) pixel->values = imaging::pixelAt(image, pixel->x, pixel->y);
    if (pixel && pixel->values.empty()) pixel.reset();
    viewer->viewer->statistics(report, pixel);
  }
  countedAt_ = begun;
  countAt_ =
      begun + std::max<Clock::duration>(kCountInterval, kCountShare * (Clock::now() - begun));
}

void LiveView::useStretch(const imaging::Stretch& stretch) {
  {
    const std::scoped_lock lock(mutex_);
    if (stretch == inEffect_) return;
    inEffect_ = stretch;
    ++stretchNumber_;
  }
  table_.set(stretch);
  for (const auto& viewer : viewers(false)) viewer->viewer->stretch(stretch);
}

void LiveView::makePictures(const Work& work, const imaging::ImageSource& image) {
  made_.clear();
  const FrameInfo& info = work.frame->info();
  for (const auto& viewer : viewers(true)) {
    ViewWish wish;
    LinePace::Grade grade;
    Picture picture;
    {
      const std::scoped_lock lock(mutex_);
      if (!needsPicture(*viewer, Clock::now())) continue;
      wish = viewer->wish;
      grade = viewer->pace.grade();
      picture.message = ++viewer->messages;
      viewer->shows = work.sequence;
      viewer->stretch = stretchNumber_;
    }
    const imaging::RenderPlan plan =
        imaging::planFor(image, wish.window, wish.place, grade.coarser);
    const auto jpeg = make(image, plan, grade.quality);
    {
      const std::scoped_lock lock(mutex_);
      viewer->pace.sent(picture.message, Clock::now(), interval_);
    }
    picture.frame = info.number;
    picture.part = plan.part;
    picture.whole = image.size;
    picture.exposure = std::chrono::duration<double>(info.exposure()).count();
    viewer->viewer->picture(picture, jpeg);
  }
}

const std::shared_ptr<const std::string>& LiveView::make(const imaging::ImageSource& image,
                                                         const imaging::RenderPlan& plan,
                                                         int quality) {
  const auto found = std::find_if(made_.begin(), made_.end(), [&](const Made& one) {
    return one.plan == plan && one.quality == quality;
  });
  if (found != made_.end()) return found->jpeg;
  const auto pixels = renderer_.render(image, plan, table_);
  made_.push_back({plan, quality, encoder_.encode(pixels, plan.size(), image.isColour(), quality)});
  return made_.back().jpeg;
}

void LiveView::findStars(const Work& work, const imaging::ImageSource& image) {
  const auto begun = Clock::now();
  const auto time = std::chrono::system_clock::now();
  const std::vector<imaging::Star>& stars = finder_.find(image);
  while (!course_.empty() && course_.front().time < time - kCourse) course_.pop_front();
  std::shared_ptr<const std::string> magnified;
  Picture picture;
  if (!stars.empty()) {
    course_.push_back({time, stars.front().hfr, stars.front().fwhm});
    ++courseEnd_;
    magnified = magnify(image, stars.front(), picture.part);
  }
  picture.frame = work.frame->info().number;
  picture.whole = image.size;
  picture.isMagnified = true;
  picture.exposure = std::chrono::duration<double>(work.frame->info().exposure()).count();
  for (const auto& viewer : viewers(true)) {
    std::uint64_t from = 0;
    {
      const std::scoped_lock lock(mutex_);
      if (!viewer->wantsStars) continue;
      from = std::exchange(viewer->courseUntil, courseEnd_);
      if (magnified) picture.message = ++viewer->messages;
    }
    const std::uint64_t first = courseEnd_ - course_.size();
    const auto skipped = static_cast<std::ptrdiff_t>(std::max(from, first) - first);
    const std::vector<FocusSample> news(course_.begin() + skipped, course_.end());
    viewer->viewer->stars(stars, news);
    if (magnified && viewer->viewer->waiting() <= 2) viewer->viewer->picture(picture, magnified);
  }
  searchAt_ =
      begun + std::max<Clock::duration>(kSearchInterval, kSearchShare * (Clock::now() - begun));
}

std::shared_ptr<const std::string> LiveView::magnify(const imaging::ImageSource& image,
                                                     const imaging::Star& star,
                                                     imaging::Window& part) {
  const int half = std::clamp(static_cast<int>(std::lround(5 * star.hfr)), 12, 64);
  const imaging::Window window{static_cast<int>(std::lround(star.x)) - half,
                               static_cast<int>(std::lround(star.y)) - half, 2 * half, 2 * half};
  const imaging::RenderPlan plan = imaging::planFor(image, window, {2 * half, 2 * half}, 1);
  part = plan.part;
  // From the background to the peak, whatever the whole picture's stretch is.
  imaging::Stretch stretch;
  stretch.mode = imaging::Stretch::Mode::kLinear;
  stretch.black = std::max(0.0, star.background / image.depth());
  stretch.white = std::max(star.peak / static_cast<double>(image.depth()), stretch.black + 0.004);
  magnifier_.set(stretch);
  return encoder_.encode(renderer_.render(image, plan, magnifier_), plan.size(), image.isColour(),
                         kMagnifierQuality);
}

}  // namespace orvik::server
