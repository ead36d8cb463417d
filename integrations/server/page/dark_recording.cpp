// SPDX-License-Identifier: MIT
#include "integrations/server/page/dark_recording.h"

#include <memory>

#include "integrations/server/camera/frame_store.h"

namespace orvik::server {
namespace {

void record(CaptureContext& context) {
  Camera& camera = context.camera();
  FrameStore store(3);
  Video video(camera, context.stop());
  camera.dark().startRecording();
  Frame unseen;
  bool isOver = false;
  while (!isOver) {
    const std::shared_ptr<Frame> frame = store.take();
    if (!video.next(frame ? *frame : unseen)) break;
    if (frame) context.show(frame);
    isOver = camera.dark().recording().isOver == Orvik_TRUE;
  }
  if (isOver) return;
  camera.dark().stopRecording();
  throw FailureException({.kind = Failure::Kind::kCancelled,
                          .message = "The recording of the dark frame was stopped."});
}

}  // namespace

void recordDark(ServedCamera& camera, const std::string& who, const Done& done) {
  const bool isTaken = camera.tryCapture(
      {.what = "dark frame by " + who, .hasOwnSettings = false, .run = record, .done = done});
  if (isTaken) return;
  const auto status = camera.status();
  if (status->link != Link::kOpen) {
    done(Failure{.kind = Failure::Kind::kNotOpen, .message = "The camera is not open."});
  } else {
    done(Failure{.kind = Failure::Kind::kBusy,
                 .message = "The camera is in use: " + status->capture + "."});
  }
}

}  // namespace orvik::server
