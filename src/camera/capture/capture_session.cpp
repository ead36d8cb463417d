// SPDX-License-Identifier: MIT
#include "camera/capture/capture_session.h"

#include <exception>
#include <utility>

namespace orvik {
namespace {

using namespace std::chrono_literals;

constexpr auto kStopLimit = 5000ms;

void runWorker(const CaptureParts& parts) {
  try {
    CaptureWorker(parts).run();
  } catch (const std::exception&) {  // out of memory: the capture ends, the program does not
    parts.queue->close();
    parts.state->capturing = false;
    parts.state->exposureStatus = Orvik_EXPSTATE_FAILED;
  }
}

}  // namespace

bool CaptureSession::waitForPrevious() { return thread_.join(kStopLimit); }

bool CaptureSession::start(CaptureParts parts, std::shared_ptr<seam::Clock> clock) {
  control_ = std::make_shared<StopSwitch>(std::move(clock));
  link_ = parts.link;
  parts.control = control_;
  return thread_.start([parts = std::move(parts)] { runWorker(parts); });
}

bool CaptureSession::stop() {
  if (!control_) return true;
  control_->stop();
  // A worker that waits for data is woken by the end of its reads.
  if (CCyBulkEndPoint* bulkIn = link_->device().bulkIn()) bulkIn->abort();
  const bool ended = thread_.join(kStopLimit);
  control_.reset();
  link_.reset();
  return ended;
}

}  // namespace orvik
