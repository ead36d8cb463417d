// SPDX-License-Identifier: MIT
#include "integrations/server/capture/capture_run.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "imaging/image.h"
#include "imaging/time_text.h"
#include "imaging/unplugged.h"
#include "integrations/server/camera/software.h"

namespace orvik::server {
namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kStep = std::chrono::milliseconds(100);

std::string frameKindText(FrameKind kind) {
  std::string text = std::string(nameOf(kind)) + " Frame";
  text[0] = static_cast<char>(text[0] - 'a' + 'A');
  return text;
}

/// The value of a control that the camera offers and that can be read.
std::optional<int> valueIfAny(const Camera& camera, Orvik_CONTROL_TYPE type) {
  if (camera.control(type) == nullptr) return std::nullopt;
  std::error_code error;
  const ControlValue value = camera.read(type, error);
  return error ? std::nullopt : std::optional<int>(value.value);
}

/// What belongs to the capture, not to a single image.
imaging::ImageInfo infoOf(const CaptureRequest& request, const Camera& camera) {
  imaging::ImageInfo info;
  info.frameKind = frameKindText(request.frameKind);
  info.object = request.object;
  info.software = software();
  info.offset = valueIfAny(camera, Orvik_CTL_BRIGHTNESS);
  info.processing = imaging::processingOf(camera, camera.format().type);
  if (valueIfAny(camera, Orvik_CTL_COOLER_ON).value_or(0) != 0) {
    info.targetTemperature = valueIfAny(camera, Orvik_CTL_TARGET_TEMP);
  }
  return info;
}

/// As many frames as fit into the memory that a capture may use.
FrameStore storeFor(const Camera& camera) {
  constexpr std::size_t kMemory = 256'000'000;
  const ImageFormat format = camera.format();
  const std::size_t bytes = imageBytes(format.width, format.height, format.type);
  return FrameStore(std::clamp<std::size_t>(kMemory / std::max<std::size_t>(bytes, 1), 3, 4096));
}

/// A frame to fill, as soon as there is one; null at a stop. Meanwhile the camera counts the frames
/// that it loses.
std::shared_ptr<Frame> takeFrame(const CaptureRun& run, FrameStore& store) {
  while (!run.stop.stop_requested()) {
    if (auto frame = store.take()) return frame;
    if (run.request.kind == CaptureKind::kVideo) {
      run.progress.lost(run.context.camera().droppedFrames());
    }
    run.changed();
    sleepFor(std::chrono::milliseconds(2), run.stop);
  }
  return nullptr;
}

/// Hands a frame that has arrived on to the viewers and to the writer.
void handOn(const CaptureRun& run, std::shared_ptr<Frame> frame, imaging::ImageInfo info) {
  describe(info, run.context.camera().info(), frame->info());
  const SharedFrame shared = std::move(frame);
  run.context.show(shared);
  run.writer.add(shared, std::move(info));
}

/// False when a stop was requested.
bool sleepUntil(Clock::time_point time, const CaptureRun& run) {
  for (Clock::time_point now = Clock::now(); now < time; now = Clock::now()) {
    if (!sleepFor(std::min<Clock::duration>(kStep, time - now), run.stop)) return false;
    run.changed();
  }
  return !run.stop.stop_requested();
}

/// Takes one image. False when a stop was requested.
bool takeImage(const CaptureRun& run, FrameStore& store) {
  std::shared_ptr<Frame> frame = takeFrame(run, store);
  if (!frame) return false;
  Camera& camera = run.context.camera();
  imaging::ImageInfo info = infoOf(run.request, camera);
  Snapshot snapshot(camera);
  run.progress.begin(Clock::now(), snapshot.exposure());
  run.changed();
  while (!snapshot.isReady()) {
    const auto step = std::clamp<Clock::duration>(snapshot.left(), std::chrono::milliseconds(1),
                                                  Clock::duration(kStep));
    if (!sleepFor(step, run.stop)) return false;
    run.changed();
  }
  snapshot.fetch(*frame);
  handOn(run, std::move(frame), std::move(info));
  return true;
}

}  // namespace

void applySettings(const CaptureRequest& request, CaptureContext& context) {
  context.usePageSettings();
  if (!request.exposure) return;
  Camera& camera = context.camera();
  const Control* control = camera.control(Orvik_CTL_EXPOSURE);
  const double wanted = std::round(request.exposure->count() * 1e6);
  if (control == nullptr || wanted < control->min() || wanted > control->max()) {
    std::string text = "This camera has no such exposure.";
    if (control != nullptr) {
      text = "Exposures of this camera take from " + imaging::formatDuration(control->min()) +
             " to " + imaging::formatDuration(control->max()) + ".";
    }
    throw FailureException({.kind = Failure::Kind::kBadValue, .message = std::move(text)});
  }
  camera.set(control::kExposure, std::chrono::microseconds(static_cast<std::int64_t>(wanted)));
}

void takeImages(const CaptureRun& run) {
  // One damaged transfer must not end a long night.
  constexpr int kMostFailures = 3;
  FrameStore store = storeFor(run.context.camera());
  const auto interval = std::chrono::duration_cast<Clock::duration>(run.request.interval);
  Clock::time_point next = Clock::now();
  int failures = 0;  // one after the other
  for (std::int64_t count = 0; !run.request.count || count < *run.request.count;) {
    if (!sleepUntil(next, run)) return;
    const Clock::time_point begun = Clock::now();
    try {
      if (!takeImage(run, store)) return;
      next = begun + interval;
      failures = 0;
      ++count;
    } catch (const Error& error) {
      if (++failures == kMostFailures || imaging::wasUnplugged(run.context.camera())) throw;
      run.progress.imageLost();
      run.note(std::string("An image is taken again: ") + error.what());
    }
  }
}

void recordVideo(const CaptureRun& run) {
  Camera& camera = run.context.camera();
  FrameStore store = storeFor(camera);
  const imaging::ImageInfo info = infoOf(run.request, camera);
  Video video(camera, run.stop);
  const Clock::time_point begun = Clock::now();
  run.progress.begin(begun);
  if (run.request.length) {
    video.stopAt(begun + std::chrono::duration_cast<Clock::duration>(*run.request.length));
  }
  for (std::int64_t count = 0; !run.request.count || count < *run.request.count; ++count) {
    std::shared_ptr<Frame> frame = takeFrame(run, store);
    if (!frame || !video.next(*frame)) break;
    run.progress.frame();
    run.progress.lost(camera.droppedFrames());
    handOn(run, std::move(frame), info);
    run.changed();
  }
}

}  // namespace orvik::server
