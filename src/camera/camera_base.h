// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "algorithm/frame_region.h"
#include "algorithm/hot_pixel_table.h"
#include "algorithm/raw_frame.h"
#include "camera/automatic/frame_measurement.h"
#include "camera/camera_state.h"
#include "camera/capture/camera_gate.h"
#include "camera/capture/capture_session.h"
#include "camera/capture/frame_protocol.h"
#include "camera/capture/frame_queue.h"
#include "camera/dark_frame.h"
#include "camera/delivery/frame_delivery.h"
#include "camera/firmware_types.h"
#include "camera/frame_pool.h"
#include "camera/guide_lines.h"
#include "camera/hot_pixels.h"
#include "camera/memory_work.h"
#include "camera/model_row.h"
#include "camera/settings/setting_values.h"
#include "camera/spi_flash.h"
#include "camera/vendor_link.h"
#include "orvik/orvik.h"

namespace orvik {

class CCameraCool;

/// The capabilities that isAvailable() tells of; a numbering of its own.
enum Control_TYPE : std::int32_t {
  CONTROL_GAIN = 0,
  CONTROL_EXPOSURE = 1,
  CONTROL_GAMMA = 2,
  CONTROL_WB_R = 3,
  CONTROL_WB_B = 4,
  CONTROL_BRIGHTNESS = 5,
  CONTROL_BANDWIDTH = 6,
  CONTROL_OVERCLK = 7,
  CONTROL_TEMPERATURE = 8,
  CONTROL_FLIP = 9,
  CONTROL_AUTO_LIMITS = 10,
  CONTROL_COOLER = 11,
  CONTROL_COOL_POWER = 12,
  CONTROL_TARGET_TEMP = 13,
};

/// Whether hot pixels are mended.
enum HPCStatus : std::int32_t {
  HPC_OFF = 0,
  HPC_ON = 1,
};

/// The common camera, from which every model driver derives: a face that hands on to its parts, the
/// vendor link, the frame queue, capture and delivery.
///
/// Order of life: construct, OpenCamera(), InitCamera(), setters and StartCapture() / GetImage() /
/// StopCapture() as often as wanted, CloseCamera(), destroy. A class of which objects are made ends
/// capture in its own destructor (endCapture()): the worker calls virtual operations until then.
///
/// Threads: OpenCamera(), InitCamera(), CloseCamera(), StartCapture() and StopCapture() for one
/// thread at a time; GetImage() for one thread at a time, which may be another; everything else for
/// any thread. Operations tell of failure by a false result only.
class CCameraBase {
 public:
  CCameraBase(const CCameraBase&) = delete;
  CCameraBase& operator=(const CCameraBase&) = delete;
  virtual ~CCameraBase();

  /// Whether a request has found the device unplugged since it was opened.
  [[nodiscard]] bool isUnplugged() const { return link_->isGone(); }

  /// Opens one device of this model; as OpenCamera(), which finds it by its ordinal.
  /// @return false also when it is not as `device` says any more
  bool OpenDevice(const seam::DeviceInfo& device);
  /// The device that was opened last, as the host listed it, and its serial number, "" for none.
  [[nodiscard]] const seam::DeviceInfo& connectedDevice() const { return connected_; }
  [[nodiscard]] std::string serialNumber() const;

  // What every model does in its own way
  /// Opens the n-th device of this model. @param ordinal counted from 1
  virtual bool OpenCamera(int ordinal) = 0;
  /// Prepares the sensor of an open camera.
  virtual bool InitCamera() = 0;
  virtual bool CloseCamera() = 0;
  /// @param width, height pixels after binning; the region is centred on the sensor
  virtual bool SetResolution(int width, int height, int bin, IMAGE_TYPE type) = 0;
  /// @param x, y sensor pixels; rounded and kept within the sensor
  virtual bool SetStartPos(int x, int y) = 0;
  virtual bool SetGain(int gain, bool automatic) = 0;
  virtual int GetGain(bool* automatic);
  /// Follows nextGamma(); rebuilds the tables.
  virtual bool SetGamma(int value);
  virtual int GetGamma();
  virtual bool SetBrightness(int) { return false; }
  virtual bool SetHighSpeedMode(bool) { return false; }
  virtual bool SetHardwareBin(bool) { return false; }
  /// @param percent share of the USB bandwidth
  virtual bool SetFPSPerc(int, bool) { return false; }
  virtual bool GetFPSPerc(int*, bool*) { return false; }
  virtual bool SetOverCLKPerc(int) { return false; }
  /// @param red, blue 50 is neutral
  virtual void SetRGBBalance(int red, int blue, bool automatic) = 0;
  /// @param exposureUs microseconds
  virtual bool SetExp(std::uint64_t exposureUs, bool automatic) = 0;
  /// Delivers one image.
  /// @param bufferSize bytes; @param waitMs milliseconds, 0xFFFFFFFF without limit
  virtual bool GetImage(unsigned char* buffer, int bufferSize, std::uint32_t waitMs) = 0;
  /// Degrees Celsius; the last reading when the camera does not answer.
  virtual float GetSensorTemp() { return 0.0F; }
  virtual bool StartCapture(bool snapshot) = 0;
  virtual bool StopCapture() = 0;

  // Controls, as the flat interface reaches them
  [[nodiscard]] int GetNumOfControls() const;
  /// @param index position in the list of controls
  bool GetControlCaps(int index, Orvik_CONTROL_CAPS* caps) const;
  Orvik_ERROR_CODE SetControlValue(int type, std::int32_t value, bool automatic);
  bool GetControlValue(int type, std::int32_t* value, Orvik_BOOL* automatic);
  [[nodiscard]] bool isAvailable(Control_TYPE type) const;
  /// @param type a number of the public image types
  [[nodiscard]] bool isImgTypeSupported(int type) const;
  /// Fills all but the camera's index.
  void GetCameraProperty(Orvik_CAMERA_INFO* info) const;

  // Format and images, as the flat interface reaches them
  /// Sets the raw-output flag and calls SetResolution(), as one change for whoever reads the
  /// format.
  /// @param changed told the new format on success, before another thread can change it again
  bool setFormat(int width, int height, int bin, IMAGE_TYPE type, bool rawOutput,
                 const std::function<void(const FrameFormat&)>& changed);
  /// The format that was set last.
  [[nodiscard]] FrameFormat format() const {
    const std::lock_guard lock(formatLock_);
    return toldFormat_;
  }
  /// Delivers one image, with a limit in time or without. @return why there is none.
  std::optional<NoFrame> takeImage(std::span<std::uint8_t> image, FrameQueue::Wait wait) {
    return delivery_.deliver(image, wait);
  }
  /// What is known of the image that was delivered last; none before the first.
  [[nodiscard]] std::optional<DeliveredImage> lastImage() const { return delivery_.lastImage(); }
  /// How the present capture stands.
  [[nodiscard]] const CaptureSession& capture() const { return capture_; }
  /// Forgets a snapshot that has ended, and its image.
  void forgetCapture();

  // Single values
  [[nodiscard]] int GetMaxWidth() const { return model_.maxWidth; }
  [[nodiscard]] int GetMaxHeight() const { return model_.maxHeight; }
  [[nodiscard]] double getPixelSize() const { return model_.pixelSizeUm; }
  [[nodiscard]] BayerPattern getColorBayer() const { return model_.bayer; }
  [[nodiscard]] int getMAXExposure() const { return model_.exposureUs.max; }
  [[nodiscard]] int getFPSMin() const { return model_.bandwidthMin; }
  [[nodiscard]] int getFPSMax() const { return model_.bandwidthMax; }
  [[nodiscard]] int GetBrightness() const { return state_->brightness; }
  [[nodiscard]] int GetCMOSClk() const { return state_->clockKhz; }
  [[nodiscard]] int GetOverCLKPerc() const { return state_->overClock; }
  [[nodiscard]] bool IsOutput16Bits() const { return state_->output16Bits; }
  [[nodiscard]] bool IsHardwareBin() const { return state_->hardwareBin; }
  [[nodiscard]] bool IsHighSpeedMode() const { return state_->highSpeedMode; }
  [[nodiscard]] std::uint8_t GetFWVer() const { return firmwareVersion_; }
  /// Microseconds, the low 32 bits.
  std::uint32_t GetExp(bool* automatic) const;
  void GetRGBBalance(int* red, int* blue, bool* automatic) const;
  void SetMisc(bool flipHorizontal, bool flipVertical);
  void GetMisc(bool* flipHorizontal, bool* flipVertical) const;
  /// Frames a second, and megapixels a second.
  bool GetMaxFPS(float* frameRate, float* dataRate) const;
  /// Frames a second that the present timing and exposure give; 0 before the timing is known.
  [[nodiscard]] double expectedFrameRate() const;
  /// Bits of the converter in the present mode; 0 where they are not known.
  [[nodiscard]] virtual int converterBits() const { return 0; }
  /// Degrees Celsius: what a thread has measured lately, where there is one, else GetSensorTemp().
  float GetTemp();

  // Automatic exposure, gain and white balance. During a video they work by themselves (see
  // AutoControl); AutoExpGain() and AutoWB_RAW() take one step by hand, from a raw frame of the
  // present region and format as it came from the camera, unbinned where the host bins.
  /// Not checked. @param maxGain gain steps; @param maxExposure seconds; @param targetBrightness of
  /// 255
  void SetAutoPara(int maxGain, int maxExposure, int targetBrightness);
  void GetAutoPara(int* maxGain, int* maxExposure, int* targetBrightness) const;
  /// Changes what is on automatic of exposure and gain; see regulateExposure().
  void AutoExpGain(const std::uint8_t* frame);
  /// Changes the white balance; see nextBalance(). @param frame of 8 bits
  void AutoWB_RAW(const std::uint8_t* frame);
  /// Statistics of one block of an 8-bit raw frame; see mosaicBlock().
  /// @param rowLength, frameHeight of the frame; nothing beyond them is read
  /// @param redDeviation, greenDeviation, blueDeviation receive the deviation, or 0 if they hold 0
  void Get_variance_ave_RAW(const std::uint8_t* frame, int blockColumn, int blockRow,
                            int blockWidth, int blockHeight, int rowLength, int frameHeight,
                            int* redDeviation, int* greenDeviation, int* blueDeviation,
                            int* redMean, int* greenMean, int* blueMean) const;
  /// For AutoControl, with the settings held: what a good frame shows, as far as it is wanted.
  /// Empty where the frame has another size than the present format's.
  FrameMeasurement measure(std::span<const std::uint8_t> frame, const FrameFormat& format,
                           const FrameSettings& settings, Wanted wanted);
  /// For AutoControl, with the settings held: takes the steps that are still on automatic, unless
  /// what was measured has been changed since.
  void followMeasurement(const FrameMeasurement& measured);

  // Dark frames; see DarkFrame. The numbers of their results are those of DarkFileResult.
  int LoadBMPFromFile(const char* path);
  /// @return 1, or 0 when there is no dark or the file cannot be written.
  int SaveBMPToFile(const char* path);
  /// Writes an 8-bit grey BMP; see writeDarkFile(). @return 1, or 0 when it cannot be written.
  static int CreateBMP(int width, int height, const std::uint8_t* pixels, const char* path);
  /// Cuts the dark for the present region.
  void AdjustDarkBuff();
  /// Begins to take a dark from delivered 8-bit frames of the whole sensor, or ends it early.
  /// @return how many frames it takes at the present exposure.
  int GettingDark(bool start, std::uint64_t exposureUs);
  /// Whether the last dark that was begun has been taken.
  [[nodiscard]] bool IsGetDarkOver() const { return dark_.isRecordingOver(); }
  void GetDarkCount(int* taken, int* wanted) const { dark_.recordingCount(*taken, *wanted); }
  void UsingDark(bool use) { dark_.use(use); }
  /// The switch alone, whether or not there is a dark.
  [[nodiscard]] bool IsUsingDark() const { return dark_.isSwitchedOn(); }
  /// Whether frames are subtracted from.
  [[nodiscard]] bool IsDarkInUse() const { return dark_.isInUse(); }
  [[nodiscard]] std::string GetBMPPath() const { return dark_.path(); }
  void SetBMPPath(const std::string& path) { dark_.setPath(path); }

  // Hot pixels; see HotPixels and compressHotPixels()
  /// Makes the table from the dark, if there is one, and saves it in the camera. Not during
  /// capture.
  HotPixelSaving saveHotPixelTable();
  /// The same. @return whether it was saved.
  bool SaveHPCTable();
  /// Reads the table from the camera. Not during capture.
  bool LoadHPCTable();
  /// Cuts the table for the present region.
  void AdjustHPCTable();
  /// @param length receives the length of the stored form; @return as many bytes as the table has
  static std::vector<std::uint8_t> Compress(const std::uint8_t* packed, int bytes, int* length);
  [[nodiscard]] std::optional<HotPixelTable> Uncompress(const std::uint8_t* stored,
                                                        int length) const;
  /// Makes the table from the dark. @return false without one.
  bool AutoGetHPC();
  /// Marks one sensor pixel by hand. @return false outside the sensor.
  bool ManualHPC(int x, int y, bool hot);
  /// @return false when it is to be switched on without a table; it stays off then.
  bool ChangeHPCStatus(HPCStatus status);
  void SetHPCStates(bool on) { hotPixels_.use(on); }
  [[nodiscard]] bool IsHPCEnable() const { return hotPixels_.isSwitchedOn(); }
  /// Hot pixels of the sensor, and hot samples in frames of the present region.
  void GetHPSum(int* onSensor, int* inRegion) const;
  /// Mends the hot pixels of a raw frame of the present region, as delivery does by itself.
  /// @param frame width * height bytes, or 16-bit words; other sizes than the region's do nothing
  void HandleHotPixels(void* frame, int width, int height, bool is16Bits) const;
  /// Tests and mends one pixel of the frame last delivered; see mendIfHot().
  /// @param count goes up by one when it was mended
  void DeNoise(int x, int y, int width, int height, std::uint32_t* count);
  /// A pixel's rise above its row in the frame last delivered; see riseAboveRow().
  std::uint16_t PixelNet(int x, int y, int width, int height, char step);

  // The time in 8-bit and colour images
  [[nodiscard]] bool IsTimeMark() const { return state_->timeMark; }
  void SetTimeMark(bool on) { state_->timeMark = on; }

  // Vendor requests; see VendorLink
  bool SendCMD(std::uint8_t command);
  bool SendCMD(std::uint8_t command, std::uint16_t value, std::uint16_t index, bool read,
               std::uint8_t* buffer, std::int32_t length);
  bool WriteCameraRegister(std::uint16_t address, std::uint16_t value);
  bool WriteCameraRegisterByte(std::uint16_t address, std::uint8_t value);
  bool ReadCameraRegister(std::uint16_t address, std::uint16_t* value);
  bool ReadCameraRegisterByte(std::uint16_t address, std::uint8_t* value);
  bool WriteSONYREG(std::uint16_t address, std::uint8_t value);
  bool ReadSONYREG(std::uint16_t address, std::uint8_t* value);
  bool WriteFPGAREG(std::uint16_t address, std::uint16_t value);
  bool ReadFPGAREG(std::uint16_t address, std::uint8_t* value);
  /// Gives the flash's bus to the pixel stream, or takes it back.
  bool EnableGPIF32DQ(bool enable);
  bool StartUSBStreaming();
  bool StopUSBStreaming();
  bool StartSensorCLK();
  bool StopSensorCLK();
  /// @param version 1 when the camera's answer is not a version
  bool GetFirmwareVer(std::uint8_t* version);
  /// @param major, digits version, one number and four hexadecimal digits
  bool GetFPGAVer(std::uint8_t* major, std::uint8_t* digits);
  /// As read when the camera was initialised.
  void GetFPGAVerVal(std::uint8_t* major, std::uint8_t* digits) const;
  bool IsUSB3Host();
  bool ResetEndPoint(std::uint8_t endpoint);
  bool ResetDevice();
  /// Finds the device again where it was unplugged and plugged, or fell silent: lets go of the
  /// device object, and opens the same camera of this model through a new one 50 ms later, or at a
  /// second try one second after that. The sensor wants InitCamera() then. Not during capture.
  bool ReConnectCamera();

  /// Demosaics a frame of this camera, as its pattern reads after the flips that are set.
  /// @param raw width * height bytes; @param rgb receives 3 * width * height bytes
  void Bayer2RGB24(const std::uint8_t* raw, std::uint8_t* rgb, int width, int height) const;
  // The guide port. All are true whatever becomes of the request; a line beyond 3 is ignored.
  bool pulseGuideOn(GuideD direction);
  bool pulseGuideOff(GuideD direction);
  /// Keeps the calling thread for the length of the pulse, or until somebody switches the line off.
  /// @param ms milliseconds
  bool pulseGuide(GuideD direction, int ms);

  // Firmware, flash and identity, defined in the room for firmware. An image is read to its end
  // before any of it is sent. A closed camera fails at once. Requests are those of the operation's
  // memory; each takes its own time, and other threads' may come between. Operations of several
  // requests fail during capture, which does not start meanwhile (see beginMemoryWork()); single
  // requests are for the caller to keep apart.
  bool IsBootLoaderRunning();
  bool DownloadBufferToDevice(std::uint32_t address, std::uint16_t length,
                              const std::uint8_t* buffer, std::uint8_t request);
  bool UploadBufferFromDevice(std::uint32_t address, std::uint16_t length, std::uint8_t* buffer,
                              std::uint8_t request);
  bool SetProgramEntry(std::uint8_t request, std::uint32_t address);
  /// Waits for the end of the erasing, 30 s at most.
  FX3_FWDWNLOAD_ERROR_CODE EraseSectorOfSPIFlash(std::uint32_t sector, std::uint8_t request);
  /// Whole pages of 256 bytes, from the one that holds `address`; at most 65535 bytes. The bus has
  /// to be the flash's (EnableGPIF32DQ(false)).
  bool WriteToSPIFlash(const std::uint8_t* buffer, std::uint32_t length, std::uint32_t address,
                       std::uint8_t request);
  bool ReadFromSPIFlash(std::uint8_t* buffer, std::uint32_t length, std::uint32_t address,
                        std::uint8_t request);
  /// @param bytes of one frame, which is counted in transfers of 48 KiB
  bool SetTransferCount(std::int32_t bytes);
  /// Puts an image file, of 16 MiB at most, into one of the camera's memories. Where that is the
  /// flash, takes its bus and gives it back, and answers FWDWNLOAD_NO_FILE for more than 256 KiB:
  /// what lies behind is not the firmware's.
  FX3_FWDWNLOAD_ERROR_CODE DownloadFw(const char* path, FX3_FWDWNLOAD_MEDIA_TYPE media);
  FX3_FWDWNLOAD_ERROR_CODE DownloadFwToRam(const std::uint8_t* start, std::uint32_t size,
                                           std::uint8_t request);
  FX3_FWDWNLOAD_ERROR_CODE DownloadBuftoI2CE2PROM(const std::uint8_t* start, std::uint32_t size,
                                                  std::uint8_t request);
  /// Any bytes; the bus has to be the flash's.
  FX3_FWDWNLOAD_ERROR_CODE DownloadBuftoSPIFLASH(const std::uint8_t* start, std::uint32_t size,
                                                 std::uint8_t request);
  /// Loads a record stream into the USB 2 bridge and starts it.
  /// @return false when it is no record stream; what becomes of its requests is not told.
  bool UpdateFW2RAM(const std::uint8_t* start, std::int32_t size);
  /// Writes a record stream, at most 64 KiB, into the USB 2 bridge's boot memory, and starts it.
  /// @return whether it was verified in the first or the second of three rounds.
  bool UpdateFW(const std::uint8_t* start, std::int32_t size);
  /// Loads a firmware file of the format of the model's bridge, verifies and starts it.
  /// @return FWDWNLOAD_SUCCESS only when the program has been started, or has taken the camera off
  ///         the bus. After a failure a USB 2 bridge may be held.
  FX3_FWDWNLOAD_ERROR_CODE loadFirmware(std::span<const std::uint8_t> file);
  /// Leaves the USB 2 bridge without a program to boot from. As UpdateFW() otherwise.
  bool EraseFlash();
  /// @param id changed on success only
  bool ReadIDFromSPI(Orvik_ID* id);
  bool WriteIDToSPI(Orvik_ID id);

  /// Permission to work on the camera's flash, boot memory or bridge RAM: while it lives capture
  /// does not start, and CloseCamera() waits. For threads that hold neither another permit nor the
  /// flash. Waits for a setter that is at work, and up to five seconds for a snapshot that is being
  /// put to rest.
  /// @return an empty one while capture runs or the camera is being closed.
  [[nodiscard]] MemoryWork::Permit beginMemoryWork();

  // The user's settings, one group for each model
  /// Reads the model's settings into the state, each brought within the model's limits. What is
  /// missing or damaged leaves its value as it is. A stored exposure above 0.1 s becomes 0.1 s. A
  /// dark frame that is switched on is loaded once the camera is open, at the latest by
  /// InitCamera().
  /// @param key as in the model's row
  void LoadSetting(const wchar_t* key) noexcept;
  /// Keeps the settings, if there is a place for them. Waits up to a second for another program.
  void SaveSetting(const wchar_t* key) noexcept;
  /// The same under the model's key. @return false when they could not be kept.
  bool keepSettings() noexcept;

  // What the flat interface needs to know
  /// The camera as a cooled one. @return null when it has no cooler.
  virtual CCameraCool* cooler() { return nullptr; }
  [[nodiscard]] const DarkFrame& dark() const { return dark_; }
  [[nodiscard]] const HotPixels& hotPixels() const { return hotPixels_; }
  [[nodiscard]] GuideLines& guideLines() { return guideLines_; }
  [[nodiscard]] seam::Clock& clock() const { return *clock_; }
  /// The way to the flash, for as long as the camera lives.
  [[nodiscard]] SpiFlash flash(FlashRequests requests = {}) { return {link(), clock(), requests}; }
  [[nodiscard]] CameraState& state() { return *state_; }
  [[nodiscard]] const CameraState& state() const { return *state_; }
  [[nodiscard]] const ModelRow& model() const { return model_; }

 protected:
  /// @param model must outlive the camera
  /// @param protocol how the model streams
  CCameraBase(const ModelRow& model, std::shared_ptr<const FrameProtocol> protocol);

  // The common part of the operations above
  bool openDevice(int ordinal);
  bool closeDevice();
  bool startCapture(bool snapshot);
  /// Keeps the settings when that ends a video.
  bool stopCapture();
  /// Ends capture and bars the worker from this object. Keeps the settings when that ends a video.
  void endCapture();
  bool deliverImage(unsigned char* buffer, int bufferSize, std::uint32_t waitMs);
  void readVersions();
  /// Lets readers of the format see the present one. Called at the end of a change, with the
  /// settings locked.
  void tellFormat() {
    const FrameFormat present = state_->frameFormat();
    const std::lock_guard lock(formatLock_);
    toldFormat_ = present;
  }
  /// Notes that the sensor has been told its present settings. Called by setters, with the settings
  /// locked.
  void noteSettings() { state_->settingsHistory.note(state_->frameSettings(), clock_->now()); }

  class CapturePause;  ///< capture_pause.h
  void loadKeptDark();
  /// What SaveSetting() would keep now.
  [[nodiscard]] settings::Group presentSettings();
  /// At the end of InitCamera(): what setting a camera up has changed by itself is no reason to
  /// save. @param before the settings at its beginning
  void settleSettings(const settings::Group& before);

  [[nodiscard]] VendorLink& link() const { return *link_; }
  [[nodiscard]] bool isOpen() const { return link_->isOpen(); }
  /// Held by a setter while it writes what belongs together.
  [[nodiscard]] auto lockSettings() { return gate_->lock(); }

  // For a worker of a derived class, which owns what it touches
  [[nodiscard]] const std::shared_ptr<CameraState>& sharedState() const { return state_; }
  [[nodiscard]] const std::shared_ptr<VendorLink>& sharedLink() const { return link_; }
  [[nodiscard]] const std::shared_ptr<seam::Clock>& sharedClock() const { return clock_; }

  // What a kind of camera does besides
  /// The colour of an 8-bit frame as an image of it will show it. Only a camera that balances its
  /// colours on the host has to look beyond the raw frame.
  virtual std::optional<ColourValues> measureColour(const RawFrame& frame, int hostBin);
  /// Takes a step of white balance, from a colour that was measured with the present one.
  void followColour(const ColourValues& colour);
  /// At the end of InitCamera().
  virtual void onInitialised() {}
  /// Before the device is let go of, by CloseCamera() or at the camera's end; capture has stopped.
  virtual void onClosing() {}

 private:
  Orvik_ERROR_CODE setFlip(std::int32_t value);
  [[nodiscard]] RawFrame rawFrame(const std::uint8_t* frame, const FrameFormat& format) const;
  void followBrightness(int brightness);
  bool beginCapture(bool snapshot);
  void endLink();
  bool connect(const seam::DeviceInfo& device);
  bool connectAgain();
  [[nodiscard]] FrameRegion currentRegion() const;
  [[nodiscard]] int colourStep() const { return model_.colour ? 2 : 1; }
  void saveAfterVideo();
  /// Keeps the settings after a snapshot, and where they are not those last loaded or saved.
  void saveAtClose() noexcept;
  bool saveUnder(const wchar_t* key) noexcept;
  void noteCorrections();

  const ModelRow& model_;
  std::atomic<const char*> name_;  ///< the opened product's, before that the model's
  int ordinal_ = 0;                ///< of the last opening; 0 when it was by the device itself
  seam::DeviceInfo connected_;     ///< of the last opening
  const std::shared_ptr<seam::Clock> clock_;
  const std::string settingsFolder_;  ///< of the host that the camera came from
  const std::shared_ptr<CameraState> state_;
  std::optional<settings::Group> kept_;  ///< as last loaded or saved; none before InitCamera()
  const std::shared_ptr<VendorLink> link_;
  GuideLines guideLines_;
  const std::shared_ptr<CameraGate> gate_;
  MemoryWork memoryWork_;
  const std::shared_ptr<const FrameProtocol> protocol_;
  mutable std::mutex formatLock_;
  FrameFormat toldFormat_;  ///< guarded by formatLock_: never half of a change
  const std::shared_ptr<FramePool> framePool_;
  const std::shared_ptr<FrameQueue> queue_;
  DarkFrame dark_;
  HotPixels hotPixels_;
  FrameDelivery delivery_;
  CaptureSession capture_;
  std::atomic<std::uint8_t> firmwareVersion_{0};
  std::atomic<std::uint8_t> fpgaMajor_{0};
  std::array<std::atomic<std::uint8_t>, 4> fpgaDigits_{};
};

}  // namespace orvik
