// SPDX-License-Identifier: MIT
#include <chrono>
#include <iostream>
#include <memory>

#include "imaging/region.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/look/focus_course.h"
#include "tools/orvikctl/look/focus_screen.h"
#include "tools/orvikctl/look/frame_loop.h"
#include "tools/orvikctl/look/live_options.h"
#include "tools/orvikctl/time_option.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

struct FocusOptions : LiveOptions {
  std::string every;
  bool follow = false;
  ScreenOptions screen;
};

/// Measures frames and shows what they tell, until the frames end.
class FocusRun {
 public:
  FocusRun(const FocusOptions& options, const Screen& screen, double every)
      : options_(options), isTerminal_(screen.isTerminal), screen_(screen), every_(every) {}

  void run(Camera& camera) {
    const auto limit = durationOf(options_);
    auto frames = std::make_unique<FrameLoop>(camera, limit, interruption());
    begun_ = Clock::now();
    whole_ = camera.format();
    Frame frame;
    bool mayNarrow = options_.follow;
    while (!isComplete() && frames->next(frame)) {
      measure(frame, camera);
      if (!mayNarrow || !course_.last().reading) continue;
      mayNarrow = false;
      frames.reset();
      narrow(camera, course_.last().reading->brightest);
      const auto gone =
          std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begun_);
      frames = std::make_unique<FrameLoop>(
          camera, limit ? std::optional(*limit - gone) : std::nullopt, interruption());
    }
  }

  [[nodiscard]] const FocusCourse& course() const { return course_; }

 private:
  [[nodiscard]] bool isComplete() const { return options_.count && count_ >= *options_.count; }

  void measure(const Frame& frame, const Camera& camera) {
    const imaging::ImageSource image = imaging::sourceOf(frame, camera.info());
    const FrameInfo& info = frame.info();
    FocusSample sample;
    sample.seconds = Seconds(Clock::now() - begun_).count();
    sample.frame = ++count_;
    sample.depth = image.depth();
    sample.offset = {info.startX / info.bin - whole_.startX,
                     info.startY / info.bin - whole_.startY};
    sample.reading = readingOf(finder_.find(image));
    course_.add(sample);
    if (options_.json) {
      std::cout << focusJson(course_).dump() << std::endl;
    } else if (isTerminal_) {
      showOnTerminal(image);
    } else if (sample.seconds >= next_) {
      std::cout << focusText(course_) << std::endl;
      next_ = sample.seconds + every_;
    }
  }

  void showOnTerminal(const imaging::ImageSource& image) {
    constexpr double kRedraw = 0.2;
    if (course_.last().seconds < next_ && !isComplete()) return;
    screen_.show(course_, image);
    next_ = course_.last().seconds + kRedraw;
  }

  /// Reads only the surroundings of a star from now on, which is faster.
  void narrow(Camera& camera, const imaging::Star& star) const {
    constexpr int kSide = 256;  // pixels of the image
    const ImageFormat now = camera.format();
    const int side = kSide * now.bin;
    const auto begin = [&](int start, double at) {
      return static_cast<int>(now.bin * (start + at)) - side / 2;
    };
    const auto format =
        imaging::formatWithin({begin(now.startX, star.x), begin(now.startY, star.y), side, side},
                              now.bin, now.type, camera.info());
    if (!format) return;
    camera.setFormat(*format);
    camera.setStart(format->startX, format->startY);
  }

  const FocusOptions& options_;
  bool isTerminal_;
  FocusScreen screen_;
  double every_;
  imaging::StarFinder finder_;
  FocusCourse course_;
  ImageFormat whole_;
  Clock::time_point begun_;
  std::int64_t count_ = 0;
  double next_ = 0;
};

ExitCode focus(const FocusOptions& options) {
  durationOf(options);
  const double every = options.every.empty() ? 0 : secondsOption(options.every, "--every");
  const Screen screen = options.json ? Screen{} : screenOf(options.screen);
  FocusRun run(options, screen, every);
  CaptureCamera capture(options, kindOf(options));
  const auto tellBest = [&] {
    (options.json ? std::cerr : std::cout) << bestText(run.course()) << std::endl;
  };
  try {
    run.run(capture.camera());
  } catch (...) {
    tellBest();
    throw;
  }
  tellBest();
  return ExitCode::kOk;
}

}  // namespace

Command addFocus(CLI::App& program) {
  auto options = std::make_shared<FocusOptions>();
  CLI::App* app = program.add_subcommand(
      "focus", "Measure the stars of the running camera, until --count, --duration or Ctrl-C");
  app->add_flag("--follow", options->follow,
                "Once a star is found, read only the surroundings of the brightest one: faster");
  app->add_option("--every", options->every,
                  "How often to write a line where there is no terminal [every frame]")
      ->type_name("TIME");
  addScreenOptions(*app, options->screen);
  addLiveOptions(*app, *options);
  app->footer(
      "HFR is the radius of the circle that half of a star's light falls into, FWHM its width at\n"
      "half the height, both in pixels and medians of the brightest stars that are not saturated:\n"
      "the smaller, the better the focus. With --json a line is written for each frame, at once:\n"
      "time (seconds), frame, stars, hfr, hfrBrightest, fwhm, and of the brightest star peak,\n"
      "saturated, x and y (pixels of the image); then best, the smallest hfr so far.\n"
      "\n"
      "Examples:\n"
      "  orvikctl focus --exposure 500ms --gain 300\n"
      "  orvikctl focus --roi 640x480 --follow\n"
      "  orvikctl focus --exposure 2s --count 20 --json > focus.jsonl");
  return {app, [options] { return focus(*options); }};
}

}  // namespace orvik::ctl
