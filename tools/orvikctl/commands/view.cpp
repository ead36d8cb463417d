// SPDX-License-Identifier: MIT
#include <chrono>
#include <iostream>
#include <memory>

#include "imaging/pipe_writer.h"
#include "imaging/png_encoder.h"
#include "imaging/read/read_image.h"
#include "imaging/save_file.h"
#include "imaging/time_text.h"
#include "tools/orvikctl/capture/capture_camera.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/help_text.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/look/frame_loop.h"
#include "tools/orvikctl/look/image_report.h"
#include "tools/orvikctl/look/live_options.h"
#include "tools/orvikctl/look/picture_view.h"
#include "tools/orvikctl/look/screen_options.h"
#include "tools/orvikctl/software.h"
#include "tools/orvikctl/terminal/redrawn_area.h"

namespace orvik::ctl {
namespace {

using Clock = std::chrono::steady_clock;
constexpr const char* kStandardOutput = "-";

struct ViewOptions : LiveOptions {
  std::string file;
  bool isLive = false;
  int frame = 1;
  std::string stretch = "auto";
  std::string crop;
  double zoom = 1;
  ScreenOptions screen;
};

LookOptions lookOf(const ViewOptions& options) {
  LookOptions look{options.stretch == "linear", std::nullopt, options.zoom};
  if (options.crop.empty()) return look;
  look.crop = parseRegion(options.crop);
  if (look.crop) return look;
  throw Failure(ExitCode::kUsage, "--crop " + options.crop +
                                      ": write WIDTHxHEIGHT or WIDTHxHEIGHT+X+Y, as in "
                                      "640x480+8+16.");
}

/// Shows pictures with a line below each.
class PictureScreen {
 public:
  explicit PictureScreen(const Screen& screen) : screen_(screen) {}

  void show(PictureView& view, const imaging::ImageSource& image, const std::string& status) {
    TerminalSize place = screen_.size();
    const auto width = static_cast<std::size_t>(place.columns);
    // The line below, and the one where the cursor rests on a terminal.
    place.rows = std::max(1, place.rows - (screen_.isTerminal ? 2 : 1));
    const PictureText text = textOf(view.picture(image, pixelsOf(screen_.mode, place)),
                                    screen_.mode, screen_.colours, place);
    std::vector<std::string> lines = text.lines;
    if (isGraphics(screen_.mode)) lines.resize(static_cast<std::size_t>(text.rows));
    lines.push_back(screen_.isTerminal ? status.substr(0, width) : status);
    if (screen_.isTerminal || isGraphics(screen_.mode)) {
      std::optional<Graphics> graphics;
      if (isGraphics(screen_.mode)) graphics = Graphics{0, 0, text.graphics, text.removal};
      std::cout << area_.draw(lines, graphics) << std::flush;
      return;
    }
    for (const std::string& line : lines) std::cout << line << '\n';
    std::cout << std::flush;
  }

 private:
  const Screen& screen_;
  RedrawnArea area_;
};

/// Writes the picture, with all its pixels, into a PNG file.
void savePicture(PictureView& view, const imaging::ImageSource& image, const ViewOptions& options) {
  const Picture picture = view.picture(image, image.size);
  imaging::Image png{{}, picture.pixels};
  png.info.width = picture.size.width;
  png.info.height = picture.size.height;
  png.info.type = picture.isColour ? Orvik_IMG_RGB24 : Orvik_IMG_Y8;
  png.info.software = kSoftware;
  if (options.output == kStandardOutput) {
    auto pipe = imaging::PipeWriter::standardOutput(interruption());
    imaging::GatheringSink sink([&](std::span<const std::uint8_t> bytes) { pipe.write(bytes); });
    imaging::encodePng(png, sink);
    sink.flush();
  } else {
    imaging::saveFile(
        options.output, [&](imaging::ByteSink& sink) { imaging::encodePng(png, sink); },
        options.overwrite);
  }
}

ExitCode viewFile(const ViewOptions& options) {
  const LookOptions look = lookOf(options);
  const imaging::ReadImage image = imaging::readImage(options.file, options.frame);
  const imaging::ImageSource source = image.source();
  PictureView view(look);
  view.take(source, 0);
  if (!options.output.empty()) {
    savePicture(view, source, options);
    return ExitCode::kOk;
  }
  imaging::StarFinder finder;
  const auto stars = readingOf(finder.find(source));
  if (options.json) {
    Json json = {{"file", options.file}, {"format", image.format}};
    json["frame"] = image.frame;
    json["frames"] = image.frames;
    json.update(imageJson(source, view.brightness(), stars));
    for (const auto& [name, text] : image.facts) json["header"][name] = text;
    std::cout << json.dump(2) << '\n';
    return ExitCode::kOk;
  }
  std::string status = std::to_string(image.size.width) + "x" + std::to_string(image.size.height) +
                       "  " + image.format;
  if (image.frames > 1) {
    status += "  frame " + std::to_string(image.frame) + "/" + std::to_string(image.frames);
  }
  const Screen screen = screenOf(options.screen);
  PictureScreen(screen).show(view, source, status + "  " + measuresText(view.brightness(), stars));
  return ExitCode::kOk;
}

/// The live look: every frame is taken, and a few a second are shown.
class LiveLook {
 public:
  LiveLook(const ViewOptions& options, const Screen& screen)
      : options_(options), view_(lookOf(options)), screen_(screen) {}

  void run(Camera& camera) {
    FrameLoop frames(camera, durationOf(options_), interruption());
    Frame frame;
    while (frames.next(frame)) {
      const bool isLast = options_.count && ++count_ >= *options_.count;
      const Clock::time_point now = Clock::now();
      if (now >= next_ || isLast) {
        show(frame, imaging::sourceOf(frame, camera.info()));
        // A slow terminal, or a slow line to it, is not kept busy all the time.
        constexpr Clock::duration kShortest = std::chrono::milliseconds(200);
        next_ = now + std::max(kShortest, 2 * (Clock::now() - now));
      }
      if (isLast || !options_.output.empty()) return;
    }
  }

 private:
  void show(const Frame& frame, const imaging::ImageSource& image) {
    const std::chrono::duration<double> since = Clock::now() - shown_;
    shown_ = Clock::now();
    view_.take(image, since.count());
    if (!options_.output.empty()) return savePicture(view_, image, options_);
    const auto stars = readingOf(finder_.find(image));
    const FrameInfo& info = frame.info();
    if (options_.json) {
      Json json = {{"exposureUs", info.exposureUs}, {"gain", info.gain}};
      json.update(imageJson(image, view_.brightness(), stars));
      std::cout << json.dump() << std::endl;
      return;
    }
    screen_.show(view_, image,
                 imaging::formatDuration(info.exposureUs) + "  gain " + std::to_string(info.gain) +
                     "  " + measuresText(view_.brightness(), stars));
  }

  const ViewOptions& options_;
  PictureView view_;
  PictureScreen screen_;
  imaging::StarFinder finder_;
  std::int64_t count_ = 0;
  Clock::time_point shown_ = Clock::now();
  Clock::time_point next_;
};

ExitCode viewLive(const ViewOptions& options) {
  durationOf(options);
  const Screen screen = screenOf(options.screen);
  LiveLook look(options, screen);
  CaptureCamera capture(options, kindOf(options));
  look.run(capture.camera());
  return ExitCode::kOk;
}

ExitCode view(const ViewOptions& options) {
  if (options.file.empty() != options.isLive) {
    throw Failure(ExitCode::kUsage, "name one file to look at, or add --live for the camera.");
  }
  const bool isFile = !options.output.empty() && options.output != kStandardOutput;
  if (isFile) imaging::refuseExisting(options.output, options.overwrite);
  return options.isLive ? viewLive(options) : viewFile(options);
}

}  // namespace

Command addView(CLI::App& program) {
  auto options = std::make_shared<ViewOptions>();
  CLI::App* app = program.add_subcommand(
      "view", "Show an image file, or what the camera sees, in the terminal");
  app->add_option("file", options->file, "FITS, PNG or SER file; - is standard input")
      ->type_name("FILE");
  app->add_flag("--live", options->isLive, "Show the camera's images, until Ctrl-C");
  app->add_option("--frame", options->frame, "Which frame of a SER file, counted from 1 [1]")
      ->check(unmentioned(CLI::PositiveNumber))
      ->type_name("N");
  const auto* group = "Picture";
  app->add_option("--stretch", options->stretch,
                  "Brightness: auto lifts what is faint as far as the picture asks for [auto]")
      ->check(unmentioned(CLI::IsMember({"auto", "linear"})))
      ->type_name("auto|linear")
      ->group(group);
  app->add_option("--crop", options->crop,
                  "A part of the image, in its pixels (centred if no place is given)")
      ->type_name("WxH[+X+Y]")
      ->group(group);
  app->add_option("--zoom", options->zoom, "Show the middle only, so many times larger [1]")
      ->check(unmentioned(CLI::Range(1.0, 1000.0)))
      ->type_name("F")
      ->group(group);
  app->add_option(
         "-o,--output", options->output,
         "Write the picture into a PNG file instead, with all its pixels; - is standard output")
      ->type_name("FILE")
      ->group(group);
  app->add_flag("--overwrite", options->overwrite, "Replace the file if it exists")->group(group);
  addScreenOptions(*app, options->screen);
  addLiveOptions(*app, *options);
  app->footer(
      "With --json the measures are written instead of the picture; with --live a line for each.\n"
      "\n"
      "Examples:\n"
      "  orvikctl view m42.fits\n"
      "  orvikctl view jupiter.ser --frame 100 --crop 200x200\n"
      "  orvikctl view --live --exposure 500ms --zoom 2\n"
      "  orvikctl view moon.png --size 120x50 > moon.txt");
  return {app, [options] { return view(*options); }};
}

}  // namespace orvik::ctl
