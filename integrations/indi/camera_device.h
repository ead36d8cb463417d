// SPDX-License-Identifier: MIT
#pragma once

#include <indiccd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "control_panel.h"
#include "frame_format.h"
#include "orvik/orvik.hpp"
#include "worker.h"

namespace orvik::indi {

/// One camera as an INDI device. It exists from the first arrival of the camera to the end of the
/// driver, also while the camera is unplugged.
///
/// All members but `camera_` belong to INDI's event thread. The camera is used by the workers only,
/// so that the event thread never waits for it: `captures_` takes exposures and streams, one after
/// the other, `service_` opens, closes, polls and sets, and each axis of the guide port has one.
class CameraDevice : public INDI::CCD {
 public:
  explicit CameraDevice(Device device);

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
  enum Direction { kNorth, kSouth, kEast, kWest };
  enum class Link { kClosed, kOpening, kOpen };
  using Clock = std::chrono::steady_clock;

  /// What is read from a camera when it has been opened.
  struct Opened {
    Orvik_CAMERA_INFO info{};
    std::vector<Control> controls;
    ControlValues values;
    std::string firmware;
  };
  /// What is read from an open camera at intervals.
  struct Status {
    ControlValues values;
    std::optional<Orvik_COOLER_STATUS> cooler;
    Orvik_READOUT_INFO readout{};
    int lostFrames = 0;
  };
  /// An image and, for colour, its planes. It must not change while it is sent.
  struct Image {
    Frame frame;
    std::vector<std::uint8_t> planes;
    std::span<std::uint8_t> bytes() { return planes.empty() ? frame.bytes() : planes; }
  };

  // connection.cpp
  bool connectionRequested(const ISState* states, char* names[], int count);
  void open(bool isQuiet);
  void opened(const Opened& result);
  void notOpened(const std::string& reason, bool isQuiet);
  /// Ends what the camera is doing, and closes it in the background.
  void release();
  void close(IPState state, const char* message);
  /// Reports an error of a worker, after calling a function on the event thread. If its reason is
  /// that the camera was unplugged, the camera is closed.
  void fail(const Error& error, std::function<void()> first = {});
  void restartTimer();
  void setUpChip();

  // exposure.cpp
  void expose(int number, std::chrono::microseconds exposure, const ImageFormat& format,
              const std::stop_token& stop);
  void exposed(int number, const std::shared_ptr<Image>& image);
  std::shared_ptr<Image> unusedImage();
  void uploaded();
  /// Whether a request of a client has to wait until the image has been sent.
  [[nodiscard]] bool mustWait(const char* property) const;
  /// Makes the request again when the image has been sent.
  template <typename Value, typename Request>
  bool postpone(Request request, const char* property, const Value values[], char* names[],
                int count);

  // image_region.cpp
  [[nodiscard]] IMG_TYPE imageType() const;
  bool mayChangeImages();
  bool changeFormat(const Region& region, int bin, IMG_TYPE type);
  void showFormat(const ImageFormat& format);
  void applyFormat(const ImageFormat& format);
  void setFrame(const Region& region);
  void showMosaic(BayerPattern pattern);

  // streaming.cpp
  void stream(int number, std::chrono::microseconds exposure, const ImageFormat& format,
              const std::stop_token& stop);
  void startStream();
  void endStream();
  void setStreamFormat();
  void setStreamExposure();

  // controls, camera_device.cpp
  void setControls(const char* property, const ControlValues& changes);
  [[nodiscard]] ControlValues readControls() const;
  void writeControls(const std::string& property, const ControlValues& changes);
  void poll();
  void showStatus(const Status& status);
  bool guideLinesRequested(const double values[], char* names[], int count);

  // cooler.cpp
  void initCooler();
  bool coolerRequested(ISState* states, char* names[], int count);
  void showTemperature(const Status& status);

  // guide_port.cpp
  IPState guide(Direction direction, std::uint32_t ms);
  void stopGuiding(int axis);
  /// Whether a client has set the lengths of both pulses of an axis to 0.
  bool stopsGuiding(const char* property, const double values[], int count);
  void pulseEnded(int axis, int number, const std::string& problem);

  Camera camera_;  // workers only

  Device device_;
  Link link_ = Link::kClosed;
  int connection_ = 0;        ///< number of the attempt to connect
  bool isReturning_ = false;  ///< it was unplugged while connected, and shall be connected again
  Opened opened_;
  ControlPanel controls_{*this};
  ControlValues wanted_;    ///< set by clients in this connection
  int controlChanges_ = 0;  ///< number of the last change, to recognise outdated polls
  bool isPolling_ = false;
  int timer_ = -1;

  int exposure_ = 0;  ///< number of the running exposure, or of the last one
  bool isExposing_ = false;
  Clock::time_point exposureEnd_;
  std::stop_source exposureStop_;
  std::shared_ptr<Image> image_;  ///< that is being sent, or was sent last
  std::array<std::shared_ptr<Image>, 3> images_;
  std::atomic<bool> isUploading_ = false;
  std::vector<std::function<void()>> postponed_;

  Region wish_;         ///< region that the client asked for
  ImageFormat format_;  ///< of the next images; where the region lies is known when it was set
  std::vector<IMG_TYPE> types_;

  std::atomic<int> stream_ = 0;  ///< number of the running stream; frames of others are dropped
  std::atomic<bool> isStreaming_ = false;
  std::stop_source streamStop_;

  struct Axis {
    Worker worker;
    int pulse = 0;
    std::stop_source stop;
  };
  std::array<Axis, 2> axes_;

  INDI::PropertySwitch coolerSwitch_{2};
  INDI::PropertyNumber coolerPower_{1};
  INDI::PropertyNumber guideLines_{4};
  INDI::PropertyNumber readout_{3};
  ITextVectorProperty cameraText_{};
  IText cameraTexts_[5]{};

  Worker captures_;
  Worker service_;
};

}  // namespace orvik::indi
