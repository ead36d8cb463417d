/* SPDX-License-Identifier: MIT */
/**
 * @file camera_base.h
 * CCameraBase: what the camera classes of all models have in common.
 *
 * The class interface of Orvik, for C++17 and later, beside the flat one of orvik.h. An object of a
 * model's class (cameras.h) is one camera of that model. The two interfaces share devices: a camera
 * that one of them has open is busy for the other.
 *
 * ## Order of life
 *
 * Construct, OpenCamera(), InitCamera(); then setters, StartCapture(), GetImage() and StopCapture()
 * as often as wanted; CloseCamera(), destroy. A constructed camera has the settings that were kept
 * when a camera of its model was closed last.
 *
 * ## Results
 *
 * No member throws. Members fail by their result: false unless they say otherwise. While the camera
 * is not open, whatever needs the device fails at once. A null pointer for a result means that it
 * is not wanted, where the member has other results; otherwise, and for data that is read, the
 * member fails, or does nothing where it has no result. Sizes below 1 do nothing. An object for
 * which there was no memory fails in every member.
 *
 * ## Threads
 *
 * OpenCamera(), InitCamera(), CloseCamera(), ReConnectCamera(), StartCapture(), StopCapture() and
 * the destructor are for one thread at a time; GetImage() is for one thread at a time, which may be
 * another; all other members are for any thread while the object lives. Times of requests, and what
 * becomes of a thread that is cancelled, are those of orvik.h.
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

/** A camera of any model. Programs make objects of the classes in cameras.h. */
class ORVIK_API CCameraBase {
 public:
  /* The virtual operations. Their order is part of the binary interface. */

  /**
   * Opens the n-th camera of this model.
   *
   * @param ordinal 1 for the first in the order of enumeration. The model's variants count as one.
   * @return true also when it is open already; false when there is no such camera, or another
   *         program, another object or the flat interface has it open
   */
  virtual bool OpenCamera(int ordinal) noexcept;
  /** Brings an open camera's sensor to life with the present settings; the cooler, all guide lines
   *  and the stream are off then. Takes some 100 ms. @return false when not open */
  virtual bool InitCamera() noexcept;
  /** Ends capture and guide pulses, keeps the settings for the next time, switches the cooler off
   *  and lets go of the device. @return true, also when not open */
  virtual bool CloseCamera() noexcept;

  /**
   * Sets size, binning and type of the images; the region is centred on the sensor. A capture that
   * runs is stopped and started again.
   *
   * @param width, height pixels after binning: multiples of 4 and of 2; times bin, within the
   * sensor
   * @param bin one of the model's factors; see GetCameraProperty()
   * @return false, and nothing changes, for values that the model cannot do
   */
  virtual bool SetResolution(int width, int height, int bin, IMAGE_TYPE type) noexcept;
  /** Moves the region. @param x, y its left and top edge, sensor pixels; rounded down to multiples
   *  of 4 and of 2, and kept within the sensor */
  virtual bool SetStartPos(int x, int y) noexcept;

  /** @param gain the sensor's own steps, limited to the model's range
   *  @param automatic whether automatic exposure changes it during video */
  virtual bool SetGain(int gain, bool automatic) noexcept;
  /** @return the gain; -1 without memory for the object */
  virtual int GetGain(bool* automatic) noexcept;
  /** @param value 1 to 100, 50 is linear. It is the value before that is limited: one beyond 100
   *         stays until the next call, which sets 100. */
  virtual bool SetGamma(int value) noexcept;
  virtual int GetGamma() noexcept; /**< @return the gamma value */
  /** @param value black level in the sensor's own steps, limited to the model's range */
  virtual bool SetBrightness(int value) noexcept;
  /** Reads 8-bit frames out faster, with fewer bits in the converter. */
  virtual bool SetHighSpeedMode(bool on) noexcept;
  /** Has the camera bin 2 x 2, instead of the host. */
  virtual bool SetHardwareBin(bool on) noexcept;
  /** @param percent share of the USB bandwidth, 40 to 100
   *  @param automatic whether the camera finds the share by itself during video
   *  @return false before InitCamera() */
  virtual bool SetFPSPerc(int percent, bool automatic) noexcept;
  virtual bool GetFPSPerc(int* percent, bool* automatic) noexcept; /**< See SetFPSPerc(). */
  /** @param percent beyond the sensor's usual clock, 0 to 30; most models refuse */
  virtual bool SetOverCLKPerc(int percent) noexcept;
  /** @param red, blue 1 to 99, 50 is neutral; limited. @param automatic during video. On the T01C
   *         and the T03C, which balance on the host, CAlgorithm gets the balance as well. */
  virtual void SetRGBBalance(int red, int blue, bool automatic) noexcept;
  /** @param exposureUs microseconds, limited to the model's range
   *  @param automatic whether automatic exposure changes it during video */
  virtual bool SetExp(std::uint64_t exposureUs, bool automatic) noexcept;

  /**
   * Delivers the oldest image that has not been delivered, or waits for the next.
   *
   * @param buffer receives the image: packed rows
   * @param bufferSize bytes of `buffer`, at least those of an image of the present format
   * @param waitMs milliseconds; 0xFFFFFFFF waits for as long as capture runs
   * @return false when none came, or `buffer` is too small or null; it is then as it was
   */
  virtual bool GetImage(unsigned char* buffer, int bufferSize, std::uint32_t waitMs) noexcept;
  /** Asks the thermometer. @return degrees Celsius; the last valid reading when the camera does not
   *  answer; 0 for a model without one */
  virtual float GetSensorTemp() noexcept;
  /** Starts a video, or a snapshot: one image. @return true also when a capture is running already,
   *  and when the system has no thread for it (there is no image then) */
  virtual bool StartCapture(bool snapshot) noexcept;
  /** Ends capture; the settings are kept after a video. Waits at most 5 s. */
  virtual bool StopCapture() noexcept;

  virtual ~CCameraBase(); /**< Closes the camera, as CloseCamera(). */
  CCameraBase(const CCameraBase&) = delete;
  CCameraBase& operator=(const CCameraBase&) = delete;

  /* Controls by their numbers */

  int GetNumOfControls() const noexcept; /**< @return how many the model offers */
  /** Describes a control. @param index its place among the model's, from 0 on */
  bool GetControlCaps(int index, Orvik_CONTROL_CAPS* caps) const noexcept;
  /**
   * Sets a control through the operation of its own.
   *
   * @param type ::Orvik_CONTROL_TYPE. A control that is read only, and the target temperature, take
   *        no value: the call succeeds and does nothing. See CCameraCool for the cooler.
   * @retval Orvik_ERROR_CONTROL no such control, or Orvik_CTL_COOLER_ON
   * @retval Orvik_ERROR_DRIVER_FAILED the model does not offer it, or the camera did not take it
   */
  Orvik_ERROR_CODE SetControlValue(int type, std::int32_t value, bool automatic) noexcept;
  /** @param value receives the value; the temperature in tenths of a degree
   *  @param automatic receives whether it is on automatic, 0 on failure
   *  @return false for no such control, or none with a value: of a cooler that the model does not
   *          have, of a temperature that could not be read for 30 s */
  bool GetControlValue(int type, std::int32_t* value, Orvik_BOOL* automatic) noexcept;
  bool isAvailable(Control_TYPE type) const noexcept; /**< Whether the model has a capability. */
  bool isImgTypeSupported(int type) const noexcept;   /**< @param type ::IMG_TYPE */
  void GetCameraProperty(Orvik_CAMERA_INFO* info) const noexcept; /**< All but cameraIndex. */

  /* Single values; 0, false or "" without memory for the object */

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
  bool IsOutput16Bits() const noexcept;        /**< whether samples come with 16 bits */
  bool IsHardwareBin() const noexcept;         /**< see SetHardwareBin() */
  bool IsHighSpeedMode() const noexcept;       /**< see SetHighSpeedMode() */
  std::uint8_t GetFWVer() const noexcept;      /**< firmware's version, as InitCamera() read it */
  /** @return microseconds, the low 32 bits */
  std::uint32_t GetExp(bool* automatic) const noexcept;
  /** See SetRGBBalance(). */
  void GetRGBBalance(int* red, int* blue, bool* automatic) const noexcept;
  /** Flips the images from the next one on. */
  void SetMisc(bool flipHorizontal, bool flipVertical) noexcept;
  /** See SetMisc(). */
  void GetMisc(bool* flipHorizontal, bool* flipVertical) const noexcept;
  /** @param frameRate frames a second @param dataRate megapixels a second. Both hold for exposures
   *         below 100 ms, and are 0 before InitCamera(). */
  bool GetMaxFPS(float* frameRate, float* dataRate) const noexcept;
  /** @return degrees Celsius: what the cooler's thread measured last where it runs, else
   *          GetSensorTemp() */
  float GetTemp() noexcept;
  /** Whether 8-bit images of a colour camera show the mosaic, instead of the luminance. From the
   *  next capture on. */
  void SetRawOutput(bool on) noexcept;
  bool IsRawOutput() const noexcept;  /**< see SetRawOutput() */
  bool IsTimeMark() const noexcept;   /**< see SetTimeMark() */
  void SetTimeMark(bool on) noexcept; /**< Writes the time into 8-bit and colour images. */

  /* The sensor's modes one by one. SetResolution() and the setters above see to all of them. */

  void Cam_SetResolution() noexcept;      /**< Tells the camera the region's size again. */
  void SetCMOSClk() noexcept;             /**< Selects the clock of the present mode. */
  bool SetCMOSClk(int khz) noexcept;      /**< @return false unless open and khz is above 0 */
  void SetOutput16Bits(bool on) noexcept; /**< Samples of 16 or of 8 bits. */
  void CalcMaxFPS() noexcept;             /**< Works out what GetMaxFPS() tells. */

  /* Automatic exposure, gain and white balance. During a video they work by themselves; here a
   * program takes one step by hand, from a raw frame of the present region and format as it came
   * from the camera, unbinned where the host bins. */

  /** Not checked. @param maxGain gain steps @param maxExposure seconds
   *  @param targetBrightness mean of 255 */
  void SetAutoPara(int maxGain, int maxExposure, int targetBrightness) noexcept;
  /** See SetAutoPara(). */
  void GetAutoPara(int* maxGain, int* maxExposure, int* targetBrightness) const noexcept;
  /** Changes what is on automatic of exposure and gain. */
  void AutoExpGain(const std::uint8_t* frame) noexcept;
  /** Changes the white balance. @param frame of 8 bits */
  void AutoWB_RAW(const std::uint8_t* frame) noexcept;
  /**
   * Statistics of one block of an 8-bit raw frame: its points are 10 x 10 cells of 2 x 2 samples.
   *
   * @param blockColumn, blockRow, blockWidth, blockHeight the block, in samples
   * @param rowLength, frameHeight of the frame; nothing beyond them is read
   * @param redDeviation, greenDeviation, blueDeviation receive the mean distance from the mean;
   *        not worked out where they hold 0
   * @param redMean, greenMean, blueMean receive the means
   */
  void Get_variance_ave_RAW(const std::uint8_t* frame, int blockColumn, int blockRow,
                            int blockWidth, int blockHeight, int rowLength, int frameHeight,
                            int* redDeviation, int* greenDeviation, int* blueDeviation,
                            int* redMean, int* greenMean, int* blueMean) const noexcept;
  /** Demosaics a frame of this camera, as its pattern reads after the flips that are set.
   *  @param raw width * height bytes @param rgb receives 3 * width * height: blue, green, red */
  void Bayer2RGB24(const std::uint8_t* raw, std::uint8_t* rgb, int width,
                   int height) const noexcept;

  /* Dark frames: pictures of the whole sensor without light, subtracted from 8-bit frames. Files
   * are BMPs of 8 bits a pixel, the top row first. */

  /** @return 1; 0 for no usable BMP, 6 when it cannot be opened, 7 for another size */
  int LoadBMPFromFile(const char* path) noexcept;
  /** @return 1; 0 when there is no dark or the file cannot be written */
  int SaveBMPToFile(const char* path) noexcept;
  /** Writes such a file. @param pixels width * height bytes @return 1; 0 when it cannot be written
   *  or an argument is unusable */
  static int CreateBMP(int width, int height, const std::uint8_t* pixels,
                       const char* path) noexcept;
  /** Begins to take a dark from delivered 8-bit frames of the whole sensor, or ends it early.
   *  @param exposureUs not used @return how many frames it takes at the present exposure, 1 to 5 */
  int GettingDark(bool start, std::uint64_t exposureUs) noexcept;
  bool IsGetDarkOver() const noexcept; /**< Whether the dark that was begun last is complete. */
  void GetDarkCount(int* taken, int* wanted) const noexcept; /**< Frames of that dark. */
  void UsingDark(bool use) noexcept;                         /**< Switches the subtraction. */
  bool IsUsingDark() const noexcept;       /**< The switch, whether or not there is a dark. */
  std::string GetBMPPath() const noexcept; /**< @return the file last loaded or saved, or "" */
  void AdjustDarkBuff() noexcept;          /**< Cuts the dark for the present region again. */

  /* Hot pixels: a table with a bit for each sensor pixel, kept in the camera's flash, by which
   * frames are corrected. Saving and loading fail during capture. */

  /** Makes the table from the dark, if there is one, and saves it. */
  bool SaveHPCTable() noexcept;
  bool LoadHPCTable() noexcept; /**< Reads the table from the camera, as InitCamera() does. */
  bool AutoGetHPC() noexcept;   /**< Makes the table from the dark. @return false without one */
  /** Marks a sensor pixel by hand. @return false outside the sensor */
  bool ManualHPC(int x, int y, bool hot) noexcept;
  /** Switches the correction. @return false when it is to be on and there is no table */
  bool ChangeHPCStatus(HPCStatus status) noexcept;
  void SetHPCStates(bool on) noexcept; /**< The same, with a table or without. */
  bool IsHPCEnable() const noexcept;   /**< Whether the correction is on. */
  /** Hot pixels of the sensor, and hot samples in frames of the present region. */
  void GetHPSum(int* onSensor, int* inRegion) const noexcept;
  void AdjustHPCTable() noexcept; /**< Cuts the table for the present region again. */
  /** Corrects a raw frame of the present region, while the correction is on. @param frame
   *  width * height bytes, or 16-bit words. Nothing is done for another size than the region's. */
  void HandleHotPixels(void* frame, int width, int height, bool is16Bits) const noexcept;
  /** Corrects the pixel (x, y) of the frame last delivered if it is a hot one, by its neighbours.
   *  @param count goes up by one in that case */
  void DeNoise(int x, int y, int width, int height, std::uint32_t* count) noexcept;
  /** How far a pixel of the frame last delivered rises above its row. @param step of the search,
   *  samples */
  std::uint16_t PixelNet(int x, int y, int width, int height, char step) noexcept;
  /** The form in which the camera keeps a table. @param packed bit k of byte j for pixel 8 j + k
   *  @param length receives how many bytes of the result count @return as many bytes as `packed` */
  static std::vector<std::uint8_t> Compress(const std::uint8_t* packed, int bytes,
                                            int* length) noexcept;
  /** @return the packed table of this model's size; none when `stored` does not fit it */
  std::optional<std::vector<std::uint8_t>> Uncompress(const std::uint8_t* stored,
                                                      int length) const noexcept;

  /* The guide port. The results are always true, even if a request fails; a direction that
   * does not exist does nothing. A line that is on is switched off by CloseCamera() at the latest.
   */

  bool pulseGuideOn(GuideD direction) noexcept;  /**< Switches a guide line on. */
  bool pulseGuideOff(GuideD direction) noexcept; /**< Switches a guide line off. */
  /** Returns after the pulse, or when somebody switches the line off. @param ms milliseconds */
  bool pulseGuide(GuideD direction, int ms) noexcept;

  /* Vendor requests, one at a time; see orvik.h for how long one takes. A register that cannot be
   * read becomes 0. While the sensor's clock is stopped, sensor registers fail without a request.
   * The caller is responsible for the effect of the values that it writes. */

  bool SendCMD(std::uint8_t command) noexcept; /**< Without data. */
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
  /** Writes an FPGA register. @param value of which the camera uses the low 8 bits */
  bool WriteFPGAREG(std::uint16_t address, std::uint16_t value) noexcept;
  /** Reads an FPGA register of 8 bits. */
  bool ReadFPGAREG(std::uint16_t address, std::uint8_t* value) noexcept;
  /** Gives the flash's bus to the pixel stream, or takes it back for the flash. */
  bool EnableGPIF32DQ(bool enable) noexcept;
  bool StartUSBStreaming() noexcept; /**< Lets the bridge send pixels. */
  bool StopUSBStreaming() noexcept;  /**< Stops the bridge from sending pixels. */
  bool StartSensorCLK() noexcept;    /**< Starts the clock of the sensor. */
  bool StopSensorCLK() noexcept;     /**< Stops the clock of the sensor. */
  /** @param version 1 when the camera's answer is not a version */
  bool GetFirmwareVer(std::uint8_t* version) noexcept;
  /** @param major the FPGA's version @param digits receives four more numbers, 0 to 15 each */
  bool GetFPGAVer(std::uint8_t* major, std::uint8_t* digits) noexcept;
  /** The same as InitCamera() read it, without a request. */
  void GetFPGAVerVal(std::uint8_t* major, std::uint8_t* digits) const noexcept;
  bool IsUSB3Host() noexcept;                         /**< Asks. False without an answer. */
  bool ResetEndPoint(std::uint8_t endpoint) noexcept; /**< The bulk one, whatever the number. */
  bool ResetDevice() noexcept;                        /**< Resets the device's USB port. */
  /** Finds a camera again that was unplugged and plugged in, or fell silent, and opens it; it then
   *  needs InitCamera(). Tries twice within 1.1 s. Not during capture. */
  bool ReConnectCamera() noexcept;

  /* Firmware, flash and identity, for service programs. An image is checked to its end before any
   * of it is sent. Members that send several requests fail during capture, which does not start
   * meanwhile. `request` is the vendor request of the memory that is meant. */

  bool IsBootLoaderRunning() noexcept; /**< Whether the bridge's memory can be read. */
  /** Writes into a memory of the bridge. @param length bytes of `buffer` */
  bool DownloadBufferToDevice(std::uint32_t address, std::uint16_t length,
                              const std::uint8_t* buffer, std::uint8_t request) noexcept;
  /** Reads such a memory. @param length bytes of `buffer` */
  bool UploadBufferFromDevice(std::uint32_t address, std::uint16_t length, std::uint8_t* buffer,
                              std::uint8_t request) noexcept;
  /** Has the bridge go on at an address. */
  bool SetProgramEntry(std::uint8_t request, std::uint32_t address) noexcept;
  /** Erases 64 KiB. @param sector from 0 on. Waits at most 30 s. */
  FX3_FWDWNLOAD_ERROR_CODE EraseSectorOfSPIFlash(std::uint32_t sector,
                                                 std::uint8_t request) noexcept;
  /** Whole pages of 256 bytes, from the one that holds `address`; at most 65535 bytes. The bus has
   *  to be the flash's: EnableGPIF32DQ(false). */
  bool WriteToSPIFlash(const std::uint8_t* buffer, std::uint32_t length, std::uint32_t address,
                       std::uint8_t request) noexcept;
  /** As WriteToSPIFlash(). */
  bool ReadFromSPIFlash(std::uint8_t* buffer, std::uint32_t length, std::uint32_t address,
                        std::uint8_t request) noexcept;
  /** @param bytes of one frame, which is counted in transfers of 48 KiB */
  bool SetTransferCount(std::int32_t bytes) noexcept;
  /** Puts an image file, at most 16 MiB, into a memory; into the flash at most 256 KiB, because
   *  behind that lie hot pixels and identity. */
  FX3_FWDWNLOAD_ERROR_CODE DownloadFw(const char* path, FX3_FWDWNLOAD_MEDIA_TYPE media) noexcept;
  /** Loads an image into the bridge's RAM and starts it. @param size bytes from `start` on */
  FX3_FWDWNLOAD_ERROR_CODE DownloadFwToRam(const std::uint8_t* start, std::uint32_t size,
                                           std::uint8_t request) noexcept;
  /** Writes an image into the boot EEPROM. */
  FX3_FWDWNLOAD_ERROR_CODE DownloadBuftoI2CE2PROM(const std::uint8_t* start, std::uint32_t size,
                                                  std::uint8_t request) noexcept;
  /** Writes any bytes from the flash's start on. The bus has to be the flash's. */
  FX3_FWDWNLOAD_ERROR_CODE DownloadBuftoSPIFLASH(const std::uint8_t* start, std::uint32_t size,
                                                 std::uint8_t request) noexcept;
  /** Loads a record stream into a USB 2 bridge and starts it. @return false when it is none; what
   *  becomes of the requests is not told */
  bool UpdateFW2RAM(const std::uint8_t* start, std::int32_t size) noexcept;
  /** Writes a record stream, at most 64 KiB, into a USB 2 bridge's boot memory, and starts it.
   *  @return whether it was verified in the first or second of three rounds */
  bool UpdateFW(const std::uint8_t* start, std::int32_t size) noexcept;
  /** Leaves a USB 2 bridge without a program to boot from. */
  bool EraseFlash() noexcept;
  /** @param id the user's mark of the camera; changed on success only */
  bool ReadIDFromSPI(Orvik_ID* id) noexcept;
  bool WriteIDToSPI(Orvik_ID id) noexcept; /**< Writes and verifies the mark. */

  /* The user's settings. They are kept and loaded by themselves, under the model's own key. */

  /** Reads settings, each limited to the model's range; what is missing or damaged stays as it is.
   *  An exposure above 0.1 s becomes 0.1 s. @param key what follows its last backslash counts */
  void LoadSetting(const wchar_t* key) noexcept;
  /** Keeps the settings under a key. Waits up to a second for another program. */
  void SaveSetting(const wchar_t* key) noexcept;

 protected:
  /** @cond */
  /** The camera itself, which the library's own classes bring. */
  struct Impl;
  explicit CCameraBase(std::unique_ptr<Impl> impl) noexcept;
  Impl* impl() const noexcept { return impl_.get(); }
  /** @endcond */

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace orvik

#endif
