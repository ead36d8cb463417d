/* SPDX-License-Identifier: MIT */
/**
 * @file camera_base.h
 * CCameraBase: the base class of the camera classes of all models.
 *
 * This is the class interface of Orvik, for C++17 and later. It exists in addition to the flat
 * interface of orvik.h. An object of a model's class (cameras.h) is one camera of that model. The
 * two interfaces share the devices: a camera that is open in one of them is busy for the other.
 *
 * ## Order of calls
 *
 * Construct the object, then call OpenCamera() and InitCamera(). After that, call the setters,
 * StartCapture(), GetImage() and StopCapture() as often as needed. At the end, call CloseCamera()
 * and destroy the object. A new object has the settings that were saved when a camera of its model
 * was last closed.
 *
 * ## Results
 *
 * No member throws. A member reports failure by its result, which is false unless documented
 * otherwise. While the camera is not open, every member that needs the device fails at once. If a
 * member has several results, a null pointer skips the result that is not needed. A null pointer
 * for the only result, or for input data, makes the member fail, or do nothing if it returns
 * nothing. A member does nothing for sizes below 1. If there was not enough memory for an object,
 * all of its members fail.
 *
 * ## Threads
 *
 * OpenCamera(), InitCamera(), CloseCamera(), ReConnectCamera(), StartCapture(), StopCapture() and
 * the destructor may be called by one thread at a time. GetImage() may be called by one thread at a
 * time, which may be a different one. All other members may be called by any thread while the
 * object exists. orvik.h describes how long requests take, and what happens to a thread that is
 * cancelled.
 */
#ifndef ORVIK_CAMERA_BASE_H
#define ORVIK_CAMERA_BASE_H

#include <orvik/class_types.h>
#include <orvik/orvik.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvik {

/** A camera of any model. Programs create objects of the classes in cameras.h. */
class ORVIK_API CCameraBase {
 public:
  /* The virtual operations. Their order is part of the binary interface. */

  /**
   * Opens the n-th camera of this model.
   *
   * @param ordinal position in the order of enumeration, from 1. All variants of the model are
   *        counted together.
   * @return true if the camera was opened or is already open; false if there is no such camera, or
   *         if another program, another object or the flat interface has opened it
   */
  virtual bool OpenCamera(int ordinal) noexcept;
  /** Initialises the sensor of an open camera with the current settings. Afterwards the cooler, all
   *  guide lines and the stream are off. Takes about 100 ms. @return false if not open */
  virtual bool InitCamera() noexcept;
  /** Ends capture and guide pulses, saves the settings for the next time, switches the cooler off
   *  and closes the device. @return true, also if it was not open */
  virtual bool CloseCamera() noexcept;

  /**
   * Sets size, binning and type of the images. The region of interest is centred on the sensor. A
   * running capture is stopped and restarted.
   *
   * @param width, height pixels after binning, multiples of 4 and of 2; multiplied by `bin` they
   *        must fit into the sensor
   * @param bin one of the model's factors; see GetCameraProperty()
   * @return false for values that the model does not support; nothing changes then
   */
  virtual bool SetResolution(int width, int height, int bin, IMAGE_TYPE type) noexcept;
  /** Moves the region of interest. @param x, y its left and top edge in sensor pixels; rounded down
   *  to multiples of 4 and of 2, and limited so that the region stays within the sensor */
  virtual bool SetStartPos(int x, int y) noexcept;

  /** @param gain in steps of the sensor, limited to the model's range
   *  @param automatic whether automatic exposure changes it during video */
  virtual bool SetGain(int gain, bool automatic) noexcept;
  /** @return the gain; -1 if there was no memory for the object */
  virtual int GetGain(bool* automatic) noexcept;
  /** @param value 1 to 100, 50 is linear. The limit is applied to the previous value, not to the
   *         new one: a value above 100 is kept until the next call, which sets 100. */
  virtual bool SetGamma(int value) noexcept;
  virtual int GetGamma() noexcept; /**< @return the gamma value */
  /** @param value black level in steps of the sensor, limited to the model's range */
  virtual bool SetBrightness(int value) noexcept;
  /** Speeds up the read-out of 8-bit frames by using fewer bits of the converter. */
  virtual bool SetHighSpeedMode(bool on) noexcept;
  /** Lets the camera do 2 x 2 binning instead of the host. */
  virtual bool SetHardwareBin(bool on) noexcept;
  /** @param percent share of the USB bandwidth, 40 to 100
   *  @param automatic whether the share is adjusted automatically during video
   *  @return false before InitCamera() */
  virtual bool SetFPSPerc(int percent, bool automatic) noexcept;
  virtual bool GetFPSPerc(int* percent, bool* automatic) noexcept; /**< See SetFPSPerc(). */
  /** @param percent above the sensor's normal clock, 0 to 30; most models reject it */
  virtual bool SetOverCLKPerc(int percent) noexcept;
  /** @param red, blue 1 to 99, 50 is neutral; limited. @param automatic whether it is adjusted
   *         during video. The T01C and the T03C are balanced on the host; for them the balance is
   *         also set in CAlgorithm. */
  virtual void SetRGBBalance(int red, int blue, bool automatic) noexcept;
  /** @param exposureUs microseconds, limited to the model's range
   *  @param automatic whether automatic exposure changes it during video */
  virtual bool SetExp(std::uint64_t exposureUs, bool automatic) noexcept;

  /**
   * Delivers the oldest image that has not been delivered, or waits for the next one.
   *
   * @param buffer receives the image, rows without padding
   * @param bufferSize bytes of `buffer`, at least the size of an image of the current format
   * @param waitMs milliseconds; 0xFFFFFFFF waits as long as capture runs
   * @return false if no image arrived, or `buffer` is too small or null; `buffer` is unchanged then
   */
  virtual bool GetImage(unsigned char* buffer, int bufferSize, std::uint32_t waitMs) noexcept;
  /** Reads the thermometer. @return degrees Celsius; the last valid reading if the camera does not
   *  answer; 0 for a model without a thermometer */
  virtual float GetSensorTemp() noexcept;
  /** Starts a video, or a snapshot of one image. @return true also if a capture is already running,
   *  and if the system cannot create a thread for it (no image is delivered then) */
  virtual bool StartCapture(bool snapshot) noexcept;
  /** Ends capture; the settings are saved after a video. Waits at most 5 s. */
  virtual bool StopCapture() noexcept;

  virtual ~CCameraBase(); /**< Closes the camera like CloseCamera(). */
  CCameraBase(const CCameraBase&) = delete;
  CCameraBase& operator=(const CCameraBase&) = delete;

  /* Access to the controls by number */

  int GetNumOfControls() const noexcept; /**< @return number of controls of the model */
  /** Describes a control. @param index position among the model's controls, from 0 */
  bool GetControlCaps(int index, Orvik_CONTROL_CAPS* caps) const noexcept;
  /**
   * Sets a control by calling its own setter.
   *
   * @param type ::Orvik_CONTROL_TYPE. For read-only controls and for the target temperature
   *        the call succeeds and does nothing. See CCameraCool for the cooler.
   * @retval Orvik_ERROR_CONTROL no such control, or Orvik_CTL_COOLER_ON
   * @retval Orvik_ERROR_DRIVER_FAILED the model does not have it, or the camera did not accept it
   */
  Orvik_ERROR_CODE SetControlValue(int type, std::int32_t value, bool automatic) noexcept;
  /** @param value receives the value; temperatures are in tenths of a degree
   *  @param automatic receives whether the control is automatic, 0 on failure
   *  @return false if there is no such control, or if it has no value: cooler controls of a model
   *          without a cooler, or a temperature that could not be read for 30 s */
  bool GetControlValue(int type, std::int32_t* value, Orvik_BOOL* automatic) noexcept;
  bool isAvailable(Control_TYPE type) const noexcept; /**< Whether the model has a capability. */
  bool isImgTypeSupported(int type) const noexcept;   /**< @param type ::IMG_TYPE */
  void GetCameraProperty(Orvik_CAMERA_INFO* info) const noexcept; /**< Sets all but cameraIndex. */

  /* Single values; 0, false or "" if there was no memory for the object */

  int GetMaxWidth() const noexcept;            /**< sensor width, pixels */
  int GetMaxHeight() const noexcept;           /**< sensor height, pixels */
  double getPixelSize() const noexcept;        /**< pixel pitch, micrometres */
  BayerPattern getColorBayer() const noexcept; /**< at the sensor's top left */
  int getMAXExposure() const noexcept;         /**< microseconds */
  int getFPSMin() const noexcept;              /**< smallest share of the bandwidth, percent */
  int getFPSMax() const noexcept;              /**< largest share of the bandwidth, percent */
  int GetBrightness() const noexcept;          /**< see SetBrightness() */
  int GetCMOSClk() const noexcept;             /**< the sensor's clock, kHz */
  int GetOverCLKPerc() const noexcept;         /**< see SetOverCLKPerc() */
  bool IsOutput16Bits() const noexcept;        /**< whether samples have 16 bits */
  bool IsHardwareBin() const noexcept;         /**< see SetHardwareBin() */
  bool IsHighSpeedMode() const noexcept;       /**< see SetHighSpeedMode() */
  std::uint8_t GetFWVer() const noexcept;      /**< firmware version that InitCamera() read */
  /** @return microseconds, the low 32 bits */
  std::uint32_t GetExp(bool* automatic) const noexcept;
  /** See SetRGBBalance(). */
  void GetRGBBalance(int* red, int* blue, bool* automatic) const noexcept;
  /** Flips the images from the next one on. */
  void SetMisc(bool flipHorizontal, bool flipVertical) noexcept;
  /** See SetMisc(). */
  void GetMisc(bool* flipHorizontal, bool* flipVertical) const noexcept;
  /** @param frameRate frames per second @param dataRate megapixels per second. Both are valid for
   *         exposures below 100 ms, and are 0 before InitCamera(). */
  bool GetMaxFPS(float* frameRate, float* dataRate) const noexcept;
  /** @return degrees Celsius: the last measurement of the cooler's thread if it runs, otherwise
   *          the result of GetSensorTemp() */
  float GetTemp() noexcept;
  /** Selects whether 8-bit images of a colour camera contain the mosaic instead of the luminance.
   *  Takes effect with the next capture. */
  void SetRawOutput(bool on) noexcept;
  bool IsRawOutput() const noexcept;  /**< see SetRawOutput() */
  bool IsTimeMark() const noexcept;   /**< see SetTimeMark() */
  void SetTimeMark(bool on) noexcept; /**< Writes the time into 8-bit and colour images. */

  /* Individual modes of the sensor. SetResolution() and the setters above set all of them. */

  void Cam_SetResolution() noexcept;      /**< Sends the size of the region to the camera again. */
  void SetCMOSClk() noexcept;             /**< Selects the clock of the current mode. */
  bool SetCMOSClk(int khz) noexcept;      /**< @return false if not open or khz is below 1 */
  void SetOutput16Bits(bool on) noexcept; /**< Selects 16-bit or 8-bit samples. */
  void CalcMaxFPS() noexcept;             /**< Calculates the results of GetMaxFPS(). */

  /* Automatic exposure, gain and white balance. During a video they run automatically. With
   * these members a program does one step itself, from a raw frame of the current region and format
   * as the camera sent it, before any binning on the host. */

  /** The values are not checked. @param maxGain gain steps @param maxExposure seconds
   *  @param targetBrightness mean of 255 */
  void SetAutoPara(int maxGain, int maxExposure, int targetBrightness) noexcept;
  /** See SetAutoPara(). */
  void GetAutoPara(int* maxGain, int* maxExposure, int* targetBrightness) const noexcept;
  /** Adjusts exposure and gain, each only if it is automatic. */
  void AutoExpGain(const std::uint8_t* frame) noexcept;
  /** Adjusts the white balance. @param frame with 8-bit samples */
  void AutoWB_RAW(const std::uint8_t* frame) noexcept;
  /**
   * Calculates statistics of one block of an 8-bit raw frame from 10 x 10 cells of 2 x 2 samples.
   *
   * @param blockColumn, blockRow, blockWidth, blockHeight the block, in samples
   * @param rowLength, frameHeight size of the frame; nothing outside it is read
   * @param redDeviation, greenDeviation, blueDeviation receive the mean absolute deviation;
   *        a value that is 0 before the call is not calculated
   * @param redMean, greenMean, blueMean receive the means
   */
  void Get_variance_ave_RAW(const std::uint8_t* frame, int blockColumn, int blockRow,
                            int blockWidth, int blockHeight, int rowLength, int frameHeight,
                            int* redDeviation, int* greenDeviation, int* blueDeviation,
                            int* redMean, int* greenMean, int* blueMean) const noexcept;
  /** Demosaics a frame of this camera, with its Bayer pattern after the current flips.
   *  @param raw width * height bytes @param rgb receives 3 * width * height: blue, green, red */
  void Bayer2RGB24(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                   int height) const noexcept;

  /* Dark frames: images of the whole sensor without light that are subtracted from 8-bit frames.
   * Files are BMPs with 8 bits per pixel, top row first. */

  /** @return 1 on success, 0 for an unusable BMP, 6 if it cannot be opened, 7 for a wrong size */
  int LoadBMPFromFile(const char* path) noexcept;
  /** @return 1 on success, 0 if there is no dark frame or the file cannot be written */
  int SaveBMPToFile(const char* path) noexcept;
  /** Writes a BMP of this kind. @param pixels width * height bytes @return 1 on success, 0 if it
   *  cannot be written or an argument is invalid */
  static int CreateBMP(int width, int height, const std::uint8_t* pixels,
                       const char* path) noexcept;
  /** Starts taking a dark frame from delivered 8-bit frames of the whole sensor, or ends it early.
   *  @param exposureUs not used @return number of frames needed at the current exposure, 1 to 5 */
  int GettingDark(bool start, std::uint64_t exposureUs) noexcept;
  bool IsGetDarkOver() const noexcept; /**< Whether the last dark frame is complete. */
  void GetDarkCount(int* taken, int* wanted) const noexcept; /**< Frames of that dark frame. */
  void UsingDark(bool use) noexcept;                         /**< Switches subtraction. */
  /** Whether subtraction is switched on, even if there is no dark frame. */
  bool IsUsingDark() const noexcept;
  std::string GetBMPPath() const noexcept; /**< @return the file last loaded or saved, or "" */
  /** Cuts the current region out of the dark frame again. */
  void AdjustDarkBuff() noexcept;

  /* Hot pixels: frames are corrected with a table that has one bit for each sensor pixel and is
   * stored in the camera's flash. Saving and loading fail during capture. */

  /** Creates the table from the dark frame, if there is one, and saves it. */
  bool SaveHPCTable() noexcept;
  bool LoadHPCTable() noexcept; /**< Reads the table from the camera, as InitCamera() does. */
  bool AutoGetHPC() noexcept;   /**< Creates it from the dark frame. @return false without one */
  /** Marks or unmarks a sensor pixel. @return false outside the sensor */
  bool ManualHPC(int x, int y, bool hot) noexcept;
  /** Switches the correction. @return false if it should be on but there is no table */
  bool ChangeHPCStatus(HPCStatus status) noexcept;
  void SetHPCStates(bool on) noexcept; /**< The same, also without a table. */
  bool IsHPCEnable() const noexcept;   /**< Whether the correction is on. */
  /** Counts hot pixels of the sensor, and hot samples in frames of the current region. */
  void GetHPSum(int* onSensor, int* inRegion) const noexcept;
  /** Cuts the current region out of the table again. */
  void AdjustHPCTable() noexcept;
  /** Corrects a raw frame of the current region if the correction is on. @param frame
   *  width * height bytes, or 16-bit words. Does nothing if the size differs from that of the
   * region. */
  void HandleHotPixels(void* frame, int width, int height, bool is16Bits) const noexcept;
  /** Corrects the pixel (x, y) of the last delivered frame from its neighbours if it is hot. The
   *  frame is kept until another one is delivered, or the camera is closed.
   *  @param count is incremented in that case */
  void DeNoise(int x, int y, int width, int height, std::uint32_t* count) noexcept;
  /** Measures how far a pixel of the last delivered frame rises above its row. @param step of the
   *  search, in samples */
  std::uint16_t PixelNet(int x, int y, int width, int height, char step) noexcept;
  /** Converts a table to the form that the camera stores.
   *  @param packed bit k of byte j for pixel 8 j + k
   *  @param length receives the number of valid bytes in the result
   *  @return as many bytes as `packed` */
  static std::vector<std::uint8_t> Compress(const std::uint8_t* packed, int bytes,
                                            int* length) noexcept;
  /** @return the packed table of this model's size; no value if `stored` does not fit it */
  std::optional<std::vector<std::uint8_t>> Uncompress(const std::uint8_t* stored,
                                                      int length) const noexcept;

  /* The guide port. The results are always true, even if a request fails. Invalid directions are
   * ignored. CloseCamera() switches off every line that is still on. */

  bool pulseGuideOn(GuideD direction) noexcept;  /**< Switches a guide line on. */
  bool pulseGuideOff(GuideD direction) noexcept; /**< Switches a guide line off. */
  /** Returns after the pulse, or when the line is switched off by another call.
   *  @param ms milliseconds */
  bool pulseGuide(GuideD direction, int ms) noexcept;

  /* Vendor requests, one at a time; see orvik.h for how long one takes. If a register cannot be
   * read, its value is 0. While the sensor's clock is stopped, sensor registers fail without a
   * request. The caller is responsible for the effect of the values that it writes. */

  bool SendCMD(std::uint8_t command) noexcept; /**< Sends a request without data. */
  /** @param read whether the camera sends @param length bytes of `buffer`, at most 65535; fewer
   *         than 1 for none */
  bool SendCMD(std::uint8_t command, std::uint16_t value, std::uint16_t index, bool read,
               std::uint8_t* buffer, std::int32_t length) noexcept;
  /** Writes a sensor register of 16 bits. */
  bool WriteCameraRegister(std::uint16_t address, std::uint16_t value) noexcept;
  /** Writes a sensor register of 8 bits. */
  bool WriteCameraRegisterByte(std::uint16_t address, std::uint8_t value) noexcept;
  /** Reads a sensor register of 16 bits. */
  bool ReadCameraRegister(std::uint16_t address, std::uint16_t* value) noexcept;
  /** Reads a sensor register of 8 bits. */
  bool ReadCameraRegisterByte(std::uint16_t address, std::uint8_t* value) noexcept;
  /** The same as WriteCameraRegisterByte(). */
  bool WriteSONYREG(std::uint16_t address, std::uint8_t value) noexcept;
  /** The same as ReadCameraRegisterByte(). */
  bool ReadSONYREG(std::uint16_t address, std::uint8_t* value) noexcept;
  /** Writes an FPGA register. @param value the camera uses its low 8 bits */
  bool WriteFPGAREG(std::uint16_t address, std::uint16_t value) noexcept;
  /** Reads an FPGA register of 8 bits. */
  bool ReadFPGAREG(std::uint16_t address, std::uint8_t* value) noexcept;
  /** Assigns the bus of the flash to the pixel stream (true) or to the flash (false). */
  bool EnableGPIF32DQ(bool enable) noexcept;
  bool StartUSBStreaming() noexcept; /**< Lets the bridge send pixels. */
  bool StopUSBStreaming() noexcept;  /**< Stops the bridge from sending pixels. */
  bool StartSensorCLK() noexcept;    /**< Starts the clock of the sensor. */
  bool StopSensorCLK() noexcept;     /**< Stops the clock of the sensor. */
  /** @param version 1 if the camera's answer is not a version */
  bool GetFirmwareVer(std::uint8_t* version) noexcept;
  /** @param major the FPGA's version @param digits receives four more numbers, 0 to 15 each */
  bool GetFPGAVer(std::uint8_t* major, std::uint8_t* digits) noexcept;
  /** Returns the version that InitCamera() read, without a request. */
  void GetFPGAVerVal(std::uint8_t* major, std::uint8_t* digits) const noexcept;
  /** Asks the camera whether it is at a USB 3 port. @return false also without an answer */
  bool IsUSB3Host() noexcept;
  bool ResetEndPoint(std::uint8_t endpoint) noexcept; /**< Always the bulk one. */
  bool ResetDevice() noexcept;                        /**< Resets the device's USB port. */
  /** Finds and opens a camera again that was unplugged and plugged in, or that stopped responding.
   *  Call InitCamera() afterwards. Tries twice within 1.1 s. Not allowed during capture. */
  bool ReConnectCamera() noexcept;

  /* Firmware, flash and identity, for service programs. An image is checked completely before
   * any part of it is sent. Members that send several requests fail during capture, and capture
   * cannot start while they run. `request` is the vendor request that accesses the memory. */

  bool IsBootLoaderRunning() noexcept; /**< Whether the bridge's memory can be read. */
  /** Writes to a memory of the bridge. @param length bytes of `buffer` */
  bool DownloadBufferToDevice(std::uint32_t address, std::uint16_t length,
                              const std::uint8_t* buffer, std::uint8_t request) noexcept;
  /** Reads from a memory of the bridge. @param length bytes of `buffer` */
  bool UploadBufferFromDevice(std::uint32_t address, std::uint16_t length, std::uint8_t* buffer,
                              std::uint8_t request) noexcept;
  /** Makes the bridge continue execution at an address. */
  bool SetProgramEntry(std::uint8_t request, std::uint32_t address) noexcept;
  /** Erases 64 KiB. @param sector counted from 0. Waits at most 30 s. */
  FX3_FWDWNLOAD_ERROR_CODE EraseSectorOfSPIFlash(std::uint32_t sector,
                                                 std::uint8_t request) noexcept;
  /** Writes whole pages of 256 bytes, from the page that contains `address`; at most 65535 bytes.
   *  The bus must be assigned to the flash: EnableGPIF32DQ(false). */
  bool WriteToSPIFlash(const std::uint8_t* buffer, std::uint32_t length, std::uint32_t address,
                       std::uint8_t request) noexcept;
  /** Reads whole pages; the conditions are those of WriteToSPIFlash(). */
  bool ReadFromSPIFlash(std::uint8_t* buffer, std::uint32_t length, std::uint32_t address,
                        std::uint8_t request) noexcept;
  /** @param bytes of one frame; the camera counts a frame in transfers of 48 KiB */
  bool SetTransferCount(std::int32_t bytes) noexcept;
  /** Writes an image file of at most 16 MiB to a memory. For the flash the limit is 256 KiB,
   *  because the hot pixel table and the identity are stored after that. */
  FX3_FWDWNLOAD_ERROR_CODE DownloadFw(const char* path, FX3_FWDWNLOAD_MEDIA_TYPE media) noexcept;
  /** Loads an image into the bridge's RAM and starts it. @param size bytes at `start` */
  FX3_FWDWNLOAD_ERROR_CODE DownloadFwToRam(const std::uint8_t* start, std::uint32_t size,
                                           std::uint8_t request) noexcept;
  /** Writes an image to the boot EEPROM. */
  FX3_FWDWNLOAD_ERROR_CODE DownloadBuftoI2CE2PROM(const std::uint8_t* start, std::uint32_t size,
                                                  std::uint8_t request) noexcept;
  /** Writes any bytes from the start of the flash. The bus must be assigned to the flash. */
  FX3_FWDWNLOAD_ERROR_CODE DownloadBuftoSPIFLASH(const std::uint8_t* start, std::uint32_t size,
                                                 std::uint8_t request) noexcept;
  /** Loads a record stream into a USB 2 bridge and starts it. @return false if it is not a record
   *  stream; failures of the requests are not reported */
  bool UpdateFW2RAM(const std::uint8_t* start, std::int32_t size) noexcept;
  /** Writes a record stream, at most 64 KiB, to a USB 2 bridge's boot memory, and starts it.
   *  @return whether it was verified in the first or second of three rounds */
  bool UpdateFW(const std::uint8_t* start, std::int32_t size) noexcept;
  /** Erases the boot program of a USB 2 bridge. */
  bool EraseFlash() noexcept;
  /** @param id receives the camera ID; changed on success only */
  bool ReadIDFromSPI(Orvik_ID* id) noexcept;
  bool WriteIDToSPI(Orvik_ID id) noexcept; /**< Writes and verifies the camera ID. */

  /* The user's settings. They are saved and loaded automatically, under the model's own key. */

  /** Reads settings, each limited to the model's range; missing or damaged settings stay unchanged.
   *  An exposure above 0.1 s becomes 0.1 s. @param key its part after the last backslash is used */
  void LoadSetting(const wchar_t* key) noexcept;
  /** Saves the settings under a key. Waits up to a second for another program. */
  void SaveSetting(const wchar_t* key) noexcept;

 protected:
  /** @cond */
  /** The camera itself, which the classes of the library provide. */
  struct Impl;
  explicit CCameraBase(std::unique_ptr<Impl> impl) noexcept;
  Impl* impl() const noexcept { return impl_.get(); }
  /** @endcond */

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace orvik

#endif
