// SPDX-License-Identifier: MIT
#pragma once

#include <gst/base/gstbasesrc.h>
#include <gst/gst.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <system_error>

#include "integrations/gstreamer/clock_map.h"
#include "integrations/gstreamer/control_properties.h"
#include "integrations/gstreamer/formats.h"
#include "orvik/orvik.hpp"

namespace orvik::gst {

/// What orviksrc does, apart from GObject.
///
/// The camera is open from READY on, so that its caps are known and its cooler keeps running while
/// a pipeline is stopped and started. It sends video while the source is PLAYING.
class Source {
 public:
  /// Properties that are not controls. Those of ControlProperties follow them.
  enum Property : guint { kDevice = 1, kBin, kRegionX, kRegionY, kFramesLost, kFirstControl };

  explicit Source(GstBaseSrc* element) : element_(element) {}

  static void installProperties(GObjectClass* type);
  void setProperty(guint id, const GValue* value);
  void getProperty(guint id, GValue* value);

  bool open();
  void close();
  /// Stops the video, while the streaming thread is told to flush.
  void pause();
  /// Begins to count frames anew.
  bool reset();

  /// What the camera can deliver, or the template while it is closed.
  [[nodiscard]] Caps caps();
  /// Answers a query of the latency: the time from the start of an exposure to the arrival of its
  /// image; at most, the image has waited in the library as well. Fails while the camera is closed.
  bool answerLatency(GstQuery* query);

  // On the streaming thread.
  bool negotiate();
  void decideAllocation(GstQuery* query) const;
  GstFlowReturn fill(GstBuffer* buffer);

  /// Makes the streaming thread return as soon as possible, or lets it work again.
  bool setFlushing(bool flushing) {
    flushing_ = flushing;
    return true;
  }

 private:
  [[nodiscard]] GstElement* element() const { return GST_ELEMENT(element_); }
  [[nodiscard]] ImageFormat wantedFormat(const GstStructure* structure);
  bool useFormat(const ImageFormat& wanted, std::error_code& error);
  [[nodiscard]] Caps capsNow(Rate rate) const;
  [[nodiscard]] std::string tryStructure(const GstStructure* offered);
  bool chooseRate(GstStructure* structure);
  void moveRegion();
  void placeRegion(ImageFormat& format) const;
  [[nodiscard]] double expectedRate() const;
  [[nodiscard]] bool isAutomatic() const;

  bool startVideo();
  GstFlowReturn read(std::span<std::uint8_t> bytes);
  void postReadError(const std::error_code& error, const char* doing);
  void post(GstMessageType type, GQuark domain, int code, const std::string& text,
            const std::string& debug) const;
  void warn(const std::string& text) const;
  bool isLeftOut(const Orvik_FRAME_INFO& info);
  void count(const Orvik_FRAME_INFO& info);
  GstFlowReturn followCaps(const Orvik_FRAME_INFO& info);
  [[nodiscard]] Rate rateNow() const;
  bool observeClock();
  void stamp(GstBuffer* buffer, const FrameInfo& info);
  void reportLoss(const GstBuffer* buffer);
  void followLatency(const Orvik_FRAME_INFO& info);

  GstBaseSrc* element_;

  std::mutex lock_;  ///< of opening and closing, and of these values
  std::string device_;
  int bin_ = 1;
  int regionX_ = -1;
  int regionY_ = -1;
  ControlProperties controls_;
  bool isNegotiated_ = false;
  Camera camera_;  ///< the streaming thread uses it without the lock: it is not closed meanwhile

  std::atomic<bool> flushing_{false};
  std::atomic<std::int64_t> framesLost_{0};
  std::atomic<std::int64_t> seenLatency_{0};      ///< longest of a frame so far, ns
  std::atomic<std::int64_t> reportedLatency_{0};  ///< last answer to a query, ns

  std::mutex videoLock_;  ///< of starting and stopping the video
  std::atomic<bool> isRunning_{false};

  // Of the streaming thread.
  ImageFormat wanted_;  ///< format that was asked for
  ImageFormat format_;  ///< format that the camera made of it
  Caps current_;
  Rate rate_;                     ///< in the caps
  std::optional<double> thinTo_;  ///< frames per second that downstream wants of a faster camera
  double nextDue_ = 0;            ///< exposure start of the next frame to be kept then, ns
  bool isRateWarned_ = false;
  ClockMap clocks_;
  std::int64_t capture_ = 0;    ///< number of the library's capture
  std::int64_t base_ = 0;       ///< frames of the captures before it
  std::int64_t next_ = 0;       ///< number of its next frame
  std::int64_t lost_ = 0;       ///< frames lost since the last buffer
  std::int64_t processed_ = 0;  ///< buffers
  std::int64_t lastPts_ = -1;
  bool isDiscontinuous_ = false;
};

}  // namespace orvik::gst
