// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/recording.h"

#include <algorithm>
#include <exception>
#include <iostream>
#include <system_error>

#include "imaging/errors.h"
#include "imaging/time_text.h"
#include "tools/orvikctl/capture/capture_setup.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/interrupt.h"
#include "tools/orvikctl/recording/raw_hint.h"

namespace orvik::ctl {
namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// Expected frames per second with the present settings, if the library knows.
std::optional<double> expectedRate(const Camera& camera) {
  std::error_code error;
  const double rate = camera.readout(error).frameRate;
  return error || rate <= 0 ? std::nullopt : std::optional(rate);
}

Seconds expectedInterval(const Camera& camera) {
  return Seconds(1 / expectedRate(camera).value_or(1));
}

}  // namespace

Recording::Recording(CaptureCamera& capture, const VideoOptions& options,
                     const imaging::VideoLimits& limits)
    : capture_(capture),
      options_(options),
      limits_(limits),
      output_(options, limits.frames),
      progress_(!options.quiet),
      stall_(Seconds(0)) {
  openSidecar();
  if (options.track) tracking_.emplace(output_.beside(".track.csv"), options.overwrite);
}

ExitCode Recording::run() {
  End end = End::kReached;
  std::exception_ptr fault;
  try {
    end = recordParts();
  } catch (...) {
    fault = std::current_exception();
  }
  progress_.wipe();
  try {
    output_.finish();
    if (tracking_) tracking_->finish();
    findCauses();
    writeSidecar(lastEntries());
  } catch (const imaging::FileError&) {
    if (!fault && end == End::kReached) fault = std::current_exception();
  }
  printResult();
  if (fault) std::rethrow_exception(fault);
  return codeOf(end);
}

Recording::End Recording::recordParts() {
  for (;;) {
    const End end = recordPart();
    if (end != End::kUnplugged || !options_.resume) return end;
    progress_.wipe();
    if (!waitForCamera()) return End::kStopped;
    const auto left = limitsLeft().duration;
    if (left && left->count() <= 0) return End::kReached;
  }
}

bool Recording::waitForCamera() {
  for (;;) {
    try {
      return capture_.comeBack(interruption());
    } catch (const Error&) {
      // It may be gone again before it is set up.
      if (!capture_.camera().isOpen() || !capture_.isUnplugged()) throw;
    }
  }
}

Recording::End Recording::recordPart() {
  try {
    openPart();
    readPart();
  } catch (const imaging::ReaderGone& gone) {
    progress_.wipe();
    std::cerr << "orvikctl: " << gone.what() << '\n';
    return End::kReaderGone;
  } catch (const imaging::WriteStopped& slow) {
    progress_.wipe();
    std::cerr << "orvikctl: " << slow.what() << '\n';
    return End::kStopped;
  } catch (const Error&) {
    if (!capture_.isUnplugged()) throw;
    tellUnplugged();
    recorded_ += Clock::now() - partBegun_;
    refreshSidecar();
    return End::kUnplugged;
  }
  return interrupted() ? End::kStopped : End::kReached;
}

void Recording::openSidecar() {
  if (output_.partFile().empty() || options_.noSidecar) return;
  sidecar_.emplace(output_.beside(".txt"), options_.overwrite);
}

void Recording::openPart() {
  isUnpluggingTold_ = false;
  partBegun_ = Clock::now();
  if (!parts_.empty()) {
    output_.beginNextPart();
    openSidecar();
  }
  if (tracking_) tracking_->begin(capture_.camera());
  info_ = describeImages(capture_.camera(), options_);
  parts_.emplace_back();
  parts_.back().file = output_.partFile();
  parts_.back().info = info_;
  settings_ = settingEntries(capture_.camera());
}

void Recording::readPart() {
  Camera& camera = capture_.camera();
  imaging::VideoReader reader(camera, limitsLeft(), options_.bufferMb * 1'000'000, interruption());
  partBegun_ = Clock::now();
  stall_ = StallWatch(expectedInterval(camera));
  writeAll(reader);
  silence_ = stall_.silence();
  parts_.back().lost = reader.lost();
  timesFull_ += reader.frames().timesFull();
  bufferSize_ = reader.frames().size();
  bufferUsed_ = std::max(bufferUsed_, reader.frames().mostUsed());
  reader.finish();
}

/// @param more further facts
void Recording::writeSidecar(const Entries& more) {
  if (!sidecar_ || parts_.back().course.frames() == 0) return;
  sidecar_->write(sidecarText(parts_.back(), settings_, more));
}

/// A text that cannot be written does not end a recording that goes on.
void Recording::refreshSidecar() {
  try {
    writeSidecar({});
  } catch (const imaging::FileError&) {
    // Said at the end.
  }
}

/// What the text has only at the end.
Entries Recording::lastEntries() const {
  Entries entries;
  if (parts_.size() > 1) entries.emplace_back("Part", std::to_string(parts_.size()));
  if (tracking_) entries.emplace_back("RegionMoves", std::to_string(tracking_->moves()));
  if (limit_) entries.emplace_back("RateLimit", limit_->text);
  return entries;
}

/// Asks the camera, whose video is over, what has limited the rate, and where the automatic modes
/// stand.
void Recording::findCauses() {
  std::int64_t lost = 0;
  for (const RecordedPart& part : parts_) lost += part.lost;
  if (lost > 0) {
    const std::string frames = std::to_string(lost) + (lost == 1 ? " frame" : " frames");
    if (timesFull_ == 0) {
      notes_.push_back(frames +
                       " lost on the way from the camera: the connection or the computer was too "
                       "busy");
    } else if (output_.output().isStream) {
      notes_.push_back(frames + " lost: the program that reads the stream did not keep up");
    } else {
      notes_.push_back(frames +
                       " lost: the disk did not keep up. A larger --buffer helps for a while");
    }
  }
  // Two are always in use: one that is being filled, and one that is being written.
  if (timesFull_ == 0 && bufferUsed_ > 2 && 4 * bufferUsed_ > 3 * bufferSize_) {
    notes_.push_back("up to " + std::to_string(bufferUsed_) + " of the " +
                     std::to_string(bufferSize_) +
                     " frames that --buffer holds waited to be written");
  }
  if (tracking_) {
    notes_.push_back(
        "the region was moved " + std::to_string(tracking_->moves()) +
        " times; frames without an object: " + std::to_string(tracking_->framesWithout()));
  }
  Camera& camera = capture_.camera();
  if (frames() == 0 || !camera.isOpen() || capture_.isUnplugged()) return;
  const auto exposure = valueIfAny(camera, Orvik_CTL_EXPOSURE);
  if (exposure && exposure->isAuto) {
    notes_.push_back("automatic exposure: " + imaging::formatDuration(exposure->value) +
                     "; it rests while the brightness is within 15 % of its target");
  }
  const auto gain = valueIfAny(camera, Orvik_CTL_GAIN);
  if (gain && gain->isAuto) notes_.push_back("automatic gain: " + std::to_string(gain->value));
  if (const auto facts = rateFactsOf(camera)) limit_ = rateLimitOf(*facts);
  if (limit_) notes_.push_back(limit_->text);
}

void Recording::writeAll(imaging::VideoReader& reader) {
  constexpr auto kWait = std::chrono::milliseconds(200);
  for (;;) {
    Frame* frame = nullptr;
    const imaging::FramePool::Taken taken = reader.frames().take(frame, kWait);
    if (taken == imaging::FramePool::Taken::kEnd) return;
    if (reader.hasFailed() && reader.wasUnplugged()) tellUnplugged();
    if (taken == imaging::FramePool::Taken::kFrame) {
      write(*frame);
      reader.frames().release(frame);
    }
    parts_.back().lost = reader.lost();
    if (reader.hasFailed()) continue;
    tellStall();
    showProgress(reader);
  }
}

void Recording::write(const Frame& frame) {
  describe(info_, capture_.camera().info(), frame.info());
  if (frames() == 0) tellRawLayout();
  output_.write({info_, frame.bytes()});
  brightness_.measureIfDue(imaging::sourceOf(frame, capture_.camera().info()));
  if (tracking_) tracking_->follow(capture_.camera(), frame);
  parts_.back().course.add(frame.info());
  parts_.back().info = info_;
  stall_.frameCame();
  if (sidecar_ && sidecar_->isDue()) refreshSidecar();
}

/// At once, although frames may still have to be written.
void Recording::tellUnplugged() {
  if (isUnpluggingTold_) return;
  isUnpluggingTold_ = true;
  progress_.wipe();
  if (options_.resume) return;  // CaptureCamera says what it waits for
  std::cerr << "orvikctl: " << capture_.label()
            << " was unplugged; what it had sent is kept. With --resume the recording goes on when "
               "it is back.\n";
}

void Recording::tellStall() {
  if (!stall_.isNews() || options_.quiet) return;
  progress_.wipe();
  std::cerr << "note: no frame for "
            << imaging::formatDuration(static_cast<std::int64_t>(stall_.silence().count()) *
                                       1'000'000)
            << "; `orvikctl doctor` looks for what may be wrong with the connection\n";
}

void Recording::tellRawLayout() const {
  if (output_.output().format != imaging::OutputFormat::kRaw || options_.quiet) return;
  const std::string input = output_.output().isStandardOutput() ? "-" : output_.output().name;
  std::cerr << "raw frames of " << info_.width << "x" << info_.height
            << " pixels; to look at them: "
            << rawHint(info_, expectedRate(capture_.camera()), input) << '\n';
}

void Recording::printResult() const {
  CaptureReport report = reportOf(parts_, output_.files());
  report.brightness = brightness_.result();
  if (tracking_) report.more["regionMoves"] = tracking_->moves();
  for (const std::string& note : notes_) report.notes.push_back(note);
  report.more["buffer"] = {{"frames", bufferSize_}, {"mostUsed", bufferUsed_}};
  report.more["notes"] = notes_;
  if (limit_) {
    report.more["rateLimit"] = {
        {"by", nameOf(limit_->cause)}, {"framesPerSecond", limit_->rate}, {"text", limit_->text}};
  }
  printReport(report, options_.json, output_.output().isStandardOutput() ? std::cerr : std::cout);
}

ExitCode Recording::codeOf(End end) const {
  switch (end) {
    case End::kStopped:
      return ExitCode::kInterrupted;
    case End::kUnplugged:
      return ExitCode::kCameraFailed;
    case End::kReaderGone:
      // A reader may end a recording that has no other end.
      return limits_.frames || limits_.duration ? ExitCode::kFileFailed : ExitCode::kOk;
    case End::kReached:
      break;
  }
  if (frames() == 0) {
    throw Failure(ExitCode::kCameraFailed, "no frame came in this time. An exposure takes " +
                                               imaging::formatDuration(info_.exposure.count()) +
                                               ".");
  }
  if (silence_ > stall_.limit()) {
    throw Failure(ExitCode::kCameraFailed,
                  "the last frame came " + std::to_string(static_cast<int>(silence_.count())) +
                      " s before the end: the connection to the camera has failed. `orvikctl "
                      "doctor` looks for what may be wrong.");
  }
  return ExitCode::kOk;
}

std::int64_t Recording::frames() const {
  std::int64_t frames = 0;
  for (const RecordedPart& part : parts_) frames += part.course.frames();
  return frames;
}

imaging::VideoLimits Recording::limitsLeft() const {
  imaging::VideoLimits left = limits_;
  if (left.frames) *left.frames -= frames();
  if (left.duration) {
    *left.duration -= std::chrono::duration_cast<std::chrono::microseconds>(recorded_);
  }
  return left;
}

void Recording::showProgress(const imaging::VideoReader& reader) {
  const auto rate = parts_.back().course.rate();
  const imaging::VideoLimits left = limitsLeft();
  std::optional<double> secondsLeft;
  if (left.duration) {
    secondsLeft = std::max(0.0, (Seconds(*left.duration) - (Clock::now() - partBegun_)).count());
  }
  if (left.frames && rate) {
    const double byCount = static_cast<double>(*left.frames) / *rate;
    secondsLeft = secondsLeft ? std::min(*secondsLeft, byCount) : byCount;
  }
  std::int64_t lost = reader.lost();
  for (const RecordedPart& part : parts_) lost += &part == &parts_.back() ? 0 : part.lost;
  progress_.show({.done = frames(),
                  .total = limits_.frames,
                  .rate = rate,
                  .lost = lost,
                  .secondsLeft = secondsLeft});
}

}  // namespace orvik::ctl
