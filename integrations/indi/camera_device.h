// SPDX-License-Identifier: MIT
#pragma once

#include <indiccd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "control_panel.h"
#include "imaging/processing.h"
#include "imaging/region.h"
#include "imaging/worker.h"
#include "orvik/orvik.hpp"

namespace orvik::indi {

/// One camera as an INDI device. It exists from the first arrival of the camera to the end of the
/// driver, also while the camera is unplugged.
///
/// All members but `camera_` belong to INDI's event thread. The camera is used by the workers only,
/// so that the event thread never waits for it: `captures_` takes exposures and streams, one after
/// the other, `service_` opens, closes, polls and sets, and each axis of the guide port has one.
///
/// What a worker does can be stopped by a stop source, on the event thread. What it passes to the
/// event thread at its end looks whether it was stopped, and is then without effect.
class CameraDevice : public INDI::CCD {
 public:
  explicit CameraDevice(const std::string& name);

  /// The camera is plugged in: connects again if it was unplugged while it was connected.
  void arrived(const Device& device);
  /// The camera is unplugged.
  void left();
  /// Closes the camera in the background. Nothing is sent: the server may be gone.
  void shutDown();
  /// Waits until the camera is closed.
  void waitUntilClosed() { service_.drain(); }

  bool ISNewNumber(const char* device, const char* name, double values[], char* names[],
                   int count) override;
  bool ISNewSwitch(const char* device, const char* name, ISState* states, char* names[],
                   int count) override;

 protected:
  const char* getDefaultName() override { return "Orvik CCD"; }
  bool initProperties() override;
  bool updateProperties() override;
  void TimerHit() override;
  bool saveConfigItems(FILE* file) override;

  bool StartExposure(float seconds) override;
  bool AbortExposure() override;
  void UploadComplete(INDI::CCDChip* chip) override;
  void addFITSKeywords(INDI::CCDChip* chip) override;

  bool UpdateCCDFrame(int x, int y, int width, int height) override;
  bool UpdateCCDBin(int horizontal, int vertical) override;
  bool UpdateCCDFrameType(INDI::CCDChip::CCD_FRAME type) override;
  bool SetCaptureFormat(uint8_t index) override;

  bool StartStreaming() override;
  bool StopStreaming() override;

  int SetTemperature(double celsius) override;

  IPState GuideNorth(uint32_t ms) override { return guide(kNorth, ms); }
  IPState GuideSouth(uint32_t ms) override { return guide(kSouth, ms); }
  IPState GuideEast(uint32_t ms) override { return guide(kEast, ms); }
  IPState GuideWest(uint32_t ms) override { return guide(kWest, ms); }

 private:
  enum Direction : std::size_t { kNorth, kSouth, kEast, kWest };
  enum class Link { kClosed, kOpening, kOpen };
  using Clock = std::chrono::steady_clock;
  using Region = imaging::Region;
  using Worker = imaging::Worker;

  /// What is read from a camera when it has been opened.
  struct Opened {
    Orvik_CAMERA_INFO info{};
    std::vector<Control> controls;
    ControlValues values;
    std::string firmware;
  };

  /// An image, and what was done to its samples.
  struct TakenImage {
    Frame frame;
    imaging::Processing processing;
  };

  /// Fills in what depends on the camera, which has been opened.
  void setUp();

  // connection.cpp
  bool connectionRequested(ISState* states, char* names[], int count);
  void open();
  void opened(const Opened& result);
  /// Ends what the camera is doing, and closes it in the background.
  void release();
  void close(IPState state);
  /// Has a worker do a job that may throw an Error, which is reported. If its reason is that the
  /// camera was unplugged, the camera is closed.
  ///
  /// @param failed called on the event thread after an error, unless the job was stopped
  std::stop_source post(Worker& worker, Worker::Job job, std::function<void()> failed = {});

  // exposure.cpp
  void exposed(const std::shared_ptr<TakenImage>& image, const std::stop_token& stop);
  void uploaded();
  /// Whether a request of a client has to wait until the image has been sent.
  [[nodiscard]] bool mustWait(const char* property) const;
  /// Makes the request again when the image has been sent.
  template <typename Value, typename Request>
  bool postpone(Request request, const char* property, const Value values[], char* names[],
                int count);

  // image_region.cpp
  void setUpChip();
  [[nodiscard]] IMG_TYPE imageType() const;
  bool mayChangeImages();
  bool changeFormat(const Region& region, int bin, IMG_TYPE type);
  void applyFormat(const ImageFormat& format);
  void showFormat(const ImageFormat& format);
  void showRegion();
  void showMosaic(BayerPattern pattern);

  // streaming.cpp
  void startStream();
  void endStream();
  void setStreamFormat();
  void setStreamExposure(Worker& worker);

  // settings.cpp
  void setControls(const char* property, const ControlValues& changes);
  [[nodiscard]] ControlValues readControls() const;
  void poll();

  // cooler.cpp
  bool coolerRequested(ISState* states, char* names[], int count);
  void showTemperature(const ControlValues& values);
  void showCooler(const Orvik_COOLER_STATUS& cooler);

  // guide_port.cpp
  IPState guide(Direction direction, std::uint32_t ms);
  void endPulse(std::size_t axis);
  /// Ends the pulse of an axis if a client has set the lengths of both its pulses to 0.
  bool endsPulse(const char* property, const double values[], int count);
  bool guideLinesRequested(const double values[], char* names[], int count);

  Camera camera_;  // workers only

  Device device_;
  Link link_ = Link::kClosed;
  std::stop_source opening_;
  bool isReturning_ = false;  ///< it was unplugged while connected, and shall be connected again
  Opened opened_;
  ControlPanel controls_;
  ControlValues wanted_;    ///< set by clients in this connection
  int controlChanges_ = 0;  ///< number of the last change, to recognise outdated polls
  bool isPolling_ = false;

  bool isExposing_ = false;
  Clock::time_point exposureEnd_;
  std::stop_source exposure_;
  std::shared_ptr<TakenImage> image_;  ///< that is being sent, or was sent last; it does not change
  std::atomic<bool> isUploading_ = false;
  std::vector<std::function<void()>> postponed_;

  Region wish_;         ///< region that the client asked for
  ImageFormat format_;  ///< of the next images; where the region lies is known when it was set
  std::vector<IMG_TYPE> types_;

  std::atomic<bool> isStreaming_ = false;
  std::stop_source stream_;

  INDI::PropertySwitch coolerSwitch_{2};
  INDI::PropertyNumber coolerPower_{1};
  INDI::PropertyNumber guideLines_{4};
  INDI::PropertyNumber readout_{3};
  INDI::PropertyText about_{5};
  std::vector<INDI::Property> properties_;  ///< those that the camera has while it is connected

  struct Axis {
    Worker worker;
    std::stop_source pulse;
  };
  std::array<Axis, 2> axes_;
  Worker captures_;
  Worker service_;
};

}  // namespace orvik::indi
