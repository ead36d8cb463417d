// SPDX-License-Identifier: MIT
// From the camera into buffers: reading, counting, time stamps.
#include <algorithm>
#include <chrono>
#include <utility>

#include "integrations/gstreamer/frame_meta.h"
#include "integrations/gstreamer/source.h"

namespace orvik::gst {
namespace {

using Clock = std::chrono::steady_clock;

// Waits in slices, so that a stop takes effect at once during long exposures.
constexpr auto kSlice = std::chrono::milliseconds(50);

}  // namespace

void Source::postReadError(const std::error_code& error, const char* doing) {
  const bool isGone = camera_.noFrameReason() == Orvik_NO_FRAME_UNPLUGGED;
  post(GST_MESSAGE_ERROR, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_READ,
       isGone ? camera_.label() + " was unplugged. Plug it in, and start the pipeline again."
              : camera_.label() + ": " + error.message(),
       camera_.doing(doing));
}

bool Source::startVideo() {
  const std::lock_guard guard(videoLock_);
  if (isRunning_ || flushing_.load()) return true;
  std::error_code error;
  camera_.startVideo(error);
  isRunning_ = !error;
  if (error) postReadError(error, "starting video");
  return isRunning_;
}

void Source::pause() {
  const std::lock_guard guard(videoLock_);
  std::error_code ignored;  // if the camera is gone, the next reading fails as well
  if (isRunning_.exchange(false)) camera_.stopVideo(ignored);
}

/// Reads the next frame into memory of its size.
GstFlowReturn Source::read(std::span<std::uint8_t> bytes) {
  const auto begun = Clock::now();
  std::error_code error;
  std::error_code ignored;
  while (!flushing_.load()) {
    if (camera_.readFrame(bytes, kSlice, error)) return GST_FLOW_OK;
    if (!isRunning_) break;
    const auto exposure = camera_.get(control::kExposure, ignored);
    if (!error && Clock::now() - begun > 2 * exposure + readOutLimit(format_)) {
      error = errorCode(Orvik_ERROR_NO_FRAME);
    }
    if (error) {
      postReadError(error, "reading a frame");
      return GST_FLOW_ERROR;
    }
  }
  return GST_FLOW_FLUSHING;
}

GstFlowReturn Source::fill(GstBuffer* buffer) {
  // Properties with a course over time take their values of now: they act on the next exposure.
  gst_object_sync_values(GST_OBJECT(element_), gst_element_get_current_running_time(element()));
  observeClock();
  // A pause that is over before this thread has noticed it: the video is started again.
  while (!flushing_.load()) {
    if (!startVideo()) return GST_FLOW_ERROR;
    GstMapInfo map;
    if (gst_buffer_map(buffer, &map, GST_MAP_WRITE) == FALSE) return GST_FLOW_ERROR;
    const GstFlowReturn flow = read({map.data, map.size});
    gst_buffer_unmap(buffer, &map);
    if (flow == GST_FLOW_FLUSHING) continue;
    if (flow != GST_FLOW_OK) return flow;

    std::error_code error;
    const FrameInfo info = camera_.frameInfo(error);
    count(info);
    if (info.width != format_.width || info.height != format_.height || info.bin != format_.bin ||
        info.type != format_.type) {
      // Another user of the camera's handle has set another format.
      const ImageFormat wanted = std::exchange(wanted_, {});
      if (useFormat(wanted, error)) continue;
      postReadError(error, "restoring the format");
      return GST_FLOW_ERROR;
    }
    if (isLeftOut(info)) continue;
    const GstFlowReturn followed = followCaps(info);
    if (followed == GST_FLOW_OK) stamp(buffer, info);
    return followed;
  }
  return GST_FLOW_FLUSHING;
}

void Source::count(const Orvik_FRAME_INFO& info) {
  if (info.capture != capture_) {
    capture_ = info.capture;
    base_ += std::exchange(next_, 0);
    isDiscontinuous_ = true;
  }
  const std::int64_t lost = info.number - next_;
  next_ = info.number + 1;
  lost_ += lost;
  framesLost_ += lost;
}

/// Whether another frame is nearer to the time at which downstream wants one.
bool Source::isLeftOut(const Orvik_FRAME_INFO& info) {
  if (!thinTo_) return false;
  constexpr double kSecond = 1e9;
  const double interval = kSecond / *thinTo_;
  const auto start = static_cast<double>(info.exposureStart);
  if (start < nextDue_ - kSecond / std::max(expectedRate(), *thinTo_) / 2) return true;
  // After a pause it starts anew instead of catching up.
  nextDue_ = (start > nextDue_ + interval ? start : nextDue_) + interval;
  return false;
}

/// The rate in the caps as long as it is true, else 0/1.
Rate Source::rateNow() const {
  const double own = expectedRate();
  const double stated = rate_.perSecond();
  if (isAutomatic()) return thinTo_ ? rate_ : Rate{};
  return isAsFast(own, stated) && (thinTo_ || isAsFast(stated, own)) ? rate_ : Rate{};
}

/// Sets new caps when a flip, a region that was moved or another exposure have made the old ones
/// wrong.
GstFlowReturn Source::followCaps(const Orvik_FRAME_INFO& info) {
  const Rate rate = rateNow();
  const Orvik_CAMERA_INFO& camera = camera_.info();
  const BayerPattern mosaic = imageMosaic(camera, info).value_or(camera.bayer);
  Caps caps = imageCaps(camera, format_, mosaic, rate);
  if (gst_caps_is_equal(caps.get(), current_.get())) return GST_FLOW_OK;
  GstPad* const pad = GST_BASE_SRC_PAD(element_);
  if (gst_pad_peer_query_accept_caps(pad, caps.get()) == FALSE) {
    // An image of another rate is right all the same; one of another mosaic is not.
    caps = imageCaps(camera, format_, mosaic, rate_);
    if (!std::exchange(isRateWarned_, true) && !(rate == rate_)) {
      warn(
          camera_.doing("the frame rate is not that of the caps any more, and "
                        "the next element accepts no other"));
    }
    if (gst_caps_is_equal(caps.get(), current_.get())) return GST_FLOW_OK;
  } else {
    rate_ = rate;
  }
  current_ = std::move(caps);
  return gst_base_src_set_caps(element_, current_.get()) == TRUE ? GST_FLOW_OK
                                                                 : GST_FLOW_NOT_NEGOTIATED;
}

/// @return false if there is no clock
bool Source::observeClock() {
  GstClock* const clock = gst_element_get_clock(element());
  if (clock == nullptr) return false;
  clocks_.observe(clock);
  gst_object_unref(clock);
  return true;
}

void Source::stamp(GstBuffer* buffer, const FrameInfo& info) {
  GST_BUFFER_PTS(buffer) = GST_CLOCK_TIME_NONE;
  GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
  if (observeClock()) {
    const auto base = static_cast<std::int64_t>(gst_element_get_base_time(element()));
    lastPts_ = std::max(clocks_.toClock(info.exposureStart) - base, lastPts_ + 1);
    GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(lastPts_);
  }
  const double rate = thinTo_ ? *thinTo_ : expectedRate();
  GST_BUFFER_DURATION(buffer) =
      rate > 0 ? static_cast<GstClockTime>(1e9 / rate) : GST_CLOCK_TIME_NONE;
  const std::int64_t number = base_ + info.number;
  GST_BUFFER_OFFSET(buffer) = static_cast<guint64>(number);
  GST_BUFFER_OFFSET_END(buffer) = static_cast<guint64>(number + 1);
  if (std::exchange(isDiscontinuous_, false) || lost_ > 0) {
    GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
  }
  addFrameMeta(buffer, camera_.info(), info, number, lost_);
  ++processed_;
  if (std::exchange(lost_, 0) > 0) reportLoss(buffer);
  followLatency(info);
}

void Source::reportLoss(const GstBuffer* buffer) {
  const GstClockTime time = GST_BUFFER_PTS(buffer);
  GstMessage* const message = gst_message_new_qos(GST_OBJECT(element_), TRUE, time, time, time,
                                                  GST_BUFFER_DURATION(buffer));
  gst_message_set_qos_stats(message, GST_FORMAT_BUFFERS, static_cast<guint64>(processed_),
                            static_cast<guint64>(framesLost_));
  gst_element_post_message(element(), message);
}

bool Source::answerLatency(GstQuery* query) {
  const std::lock_guard guard(lock_);
  if (!camera_.isOpen()) return false;
  constexpr std::int64_t kSecond = 1'000'000'000;
  std::error_code ignored;
  const double rate = expectedRate();
  const std::int64_t period = rate > 0 ? static_cast<std::int64_t>(kSecond / rate) : kSecond;
  const std::chrono::nanoseconds exposure = camera_.get(control::kExposure, ignored);
  // A sensor reads out in less than a second.
  const std::int64_t expected = exposure.count() + std::min(period, kSecond);
  const std::int64_t min = std::max(expected, seenLatency_.load());
  reportedLatency_ = min;
  constexpr std::int64_t kQueue = 2;  // frames that wait in the library before one is dropped
  gst_query_set_latency(query, TRUE, static_cast<GstClockTime>(min),
                        static_cast<GstClockTime>(min + kQueue * period));
  return true;
}

/// Has the latency of the pipeline computed anew when a frame took longer than reported. Time that
/// it waited for downstream does not count.
void Source::followLatency(const Orvik_FRAME_INFO& info) {
  constexpr std::int64_t kReserve = 5'000'000;
  const std::int64_t taken = info.lastByte - info.exposureStart;
  if (taken <= reportedLatency_ || taken <= seenLatency_) return;
  seenLatency_ = taken + kReserve;
  gst_element_post_message(element(), gst_message_new_latency(GST_OBJECT(element_)));
}

}  // namespace orvik::gst
