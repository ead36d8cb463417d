/* SPDX-License-Identifier: MIT */
/**
 * @file cameras.h
 * The camera classes, one for each model. An object represents a camera of its model after
 * OpenCamera() has found one.
 */
#ifndef ORVIK_CAMERAS_H
#define ORVIK_CAMERAS_H

#include <orvik/camera_base.h>
#include <orvik/camera_cool.h>

namespace orvik {

/** Vek T01C: 640 x 480 pixels of 6.0 micrometres, colour. The host does its white balance. */
class ORVIK_API CCameraT01C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT01C(void* reserved = nullptr) noexcept;
  ~CCameraT01C() override;

  /** Does one step of white balance if it is automatic.
   *  @param raw 8-bit frame of the current region, before any binning on the host */
  void AutoWhiBal(const std::uint8_t* raw) noexcept;
  /** Does one step of white balance.
   *  @param rgb image of the current region, three bytes per pixel, before any binning on the host
   */
  void AutoWB(const std::uint8_t* rgb) noexcept;
  /** Like Get_variance_ave_RAW(), for a block of an image as AutoWB() takes it. */
  void Get_variance_ave(const std::uint8_t* rgb, int blockColumn, int blockRow, int blockWidth,
                        int blockHeight, int rowLength, int imageHeight, int* redDeviation,
                        int* greenDeviation, int* blueDeviation, int* redMean, int* greenMean,
                        int* blueMean) const noexcept;
};

/** Vek T02C: 728 x 512 pixels of 5.6 micrometres, colour. Its sensor is controlled by commands. */
class ORVIK_API CCameraT02C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT02C(void* reserved = nullptr) noexcept;
  ~CCameraT02C() override;

  /** Sends a command to the sensor and waits for completion. @return false on failure */
  bool issueCommand(std::uint8_t command) noexcept;
  /** @return 1 standby, 2 streaming, 3 changing its configuration; 0 if it does not answer */
  std::uint8_t getState() noexcept;
  /** Applies the variables that were written. */
  bool changeConfig() noexcept;
  /** Reads one of the sensor's variables. @param value 0 on failure */
  bool ReadVar16(std::uint16_t address, std::uint16_t* value) noexcept;
  /** Writes one of the sensor's variables, which takes effect with changeConfig(). */
  bool WriteVar16(std::uint16_t address, std::uint16_t value) noexcept;
  /** Converts a gain to the sensor's code. @param gain 0 to 100, limited */
  static int GainValue2Reg(int gain) noexcept;
};

/** Vek T03C: 752 x 480 pixels of 6.0 micrometres, colour. The host does its white balance. */
class ORVIK_API CCameraT03C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT03C(void* reserved = nullptr) noexcept;
  ~CCameraT03C() override;

  /** Does one step of white balance if it is automatic.
   *  @param raw 8-bit frame of the current region, before any binning on the host */
  void AutoWhiBal(const std::uint8_t* raw) noexcept;
  /** Does one step of white balance.
   *  @param rgb image of the current region, three bytes per pixel, before any binning on the host
   */
  void AutoWB(const std::uint8_t* rgb) noexcept;
  /** Like Get_variance_ave_RAW(), for a block of an image as AutoWB() takes it. */
  void Get_variance_ave(const std::uint8_t* rgb, int blockColumn, int blockRow, int blockWidth,
                        int blockHeight, int rowLength, int imageHeight, int* redDeviation,
                        int* greenDeviation, int* blueDeviation, int* redMean, int* greenMean,
                        int* blueMean) const noexcept;
};

/** Vek T03M: 752 x 480 pixels of 6.0 micrometres, monochrome. */
class ORVIK_API CCameraT03M final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT03M(void* reserved = nullptr) noexcept;
  ~CCameraT03M() override;
};

/** Vek T04C COOL: 4944 x 3284 pixels of 4.86 micrometres, colour, cooled. */
class ORVIK_API CCameraT04C final : public CCameraCool {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT04C(void* reserved = nullptr) noexcept;
  ~CCameraT04C() override;
};

/** Vek T05C COOL: 7380 x 4928 pixels of 5.97 micrometres, colour, cooled. */
class ORVIK_API CCameraT05C final : public CCameraCool {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT05C(void* reserved = nullptr) noexcept;
  ~CCameraT05C() override;
};

/** Vek T06C: 1280 x 960 pixels of 3.75 micrometres, colour. */
class ORVIK_API CCameraT06C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT06C(void* reserved = nullptr) noexcept;
  ~CCameraT06C() override;
};

/** Vek T06C-S: 1280 x 960 pixels of 3.75 micrometres, colour. */
class ORVIK_API CCameraT06C_S final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT06C_S(void* reserved = nullptr) noexcept;
  ~CCameraT06C_S() override;
};

/** Vek T06M: 1280 x 960 pixels of 3.75 micrometres, monochrome. */
class ORVIK_API CCameraT06M final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT06M(void* reserved = nullptr) noexcept;
  ~CCameraT06M() override;
};

/** Vek T06M-S: 1280 x 960 pixels of 3.75 micrometres, monochrome. */
class ORVIK_API CCameraT06M_S final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT06M_S(void* reserved = nullptr) noexcept;
  ~CCameraT06M_S() override;
};

/** Vek T07C COOL: 6036 x 4032 pixels of 5.97 micrometres, colour, cooled. */
class ORVIK_API CCameraT07C final : public CCameraCool {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT07C(void* reserved = nullptr) noexcept;
  ~CCameraT07C() override;
};

/** Vek T08M: 1280 x 1024 pixels of 5.2 micrometres, monochrome. */
class ORVIK_API CCameraT08M final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT08M(void* reserved = nullptr) noexcept;
  ~CCameraT08M() override;
};

/** Vek T09C: 1944 x 1224 pixels of 2.8 micrometres, colour. */
class ORVIK_API CCameraT09C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT09C(void* reserved = nullptr) noexcept;
  ~CCameraT09C() override;
};

/** Vek T10C: 1936 x 1216 pixels of 5.86 micrometres, colour. */
class ORVIK_API CCameraT10C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT10C(void* reserved = nullptr) noexcept;
  ~CCameraT10C() override;
};

/** Vek T10C COOL: 1936 x 1216 pixels of 5.86 micrometres, colour, cooled. */
class ORVIK_API CCameraT10C_C final : public CCameraCool {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT10C_C(void* reserved = nullptr) noexcept;
  ~CCameraT10C_C() override;
};

/** Vek T10M: 1936 x 1216 pixels of 5.86 micrometres, monochrome. */
class ORVIK_API CCameraT10M final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT10M(void* reserved = nullptr) noexcept;
  ~CCameraT10M() override;
};

/** Vek T10M COOL: 1936 x 1216 pixels of 5.86 micrometres, monochrome, cooled. */
class ORVIK_API CCameraT10M_C final : public CCameraCool {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT10M_C(void* reserved = nullptr) noexcept;
  ~CCameraT10M_C() override;
};

/** Vek T11C: 3096 x 2080 pixels of 2.4 micrometres, colour. */
class ORVIK_API CCameraT11C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT11C(void* reserved = nullptr) noexcept;
  ~CCameraT11C() override;
};

/** Vek T11C COOL: 3096 x 2080 pixels of 2.4 micrometres, colour, cooled. */
class ORVIK_API CCameraT11C_C final : public CCameraCool {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT11C_C(void* reserved = nullptr) noexcept;
  ~CCameraT11C_C() override;
};

/** Vek T12C: 1944 x 1224 pixels of 3.75 micrometres, colour. */
class ORVIK_API CCameraT12C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT12C(void* reserved = nullptr) noexcept;
  ~CCameraT12C() override;
};

/** Vek T12C COOL: 1944 x 1224 pixels of 3.75 micrometres, colour, cooled. */
class ORVIK_API CCameraT12C_C final : public CCameraCool {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT12C_C(void* reserved = nullptr) noexcept;
  ~CCameraT12C_C() override;
};

/** Vek T13C: 1304 x 976 pixels of 3.75 micrometres, colour. */
class ORVIK_API CCameraT13C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT13C(void* reserved = nullptr) noexcept;
  ~CCameraT13C() override;
};

/** Vek T13C COOL: 1304 x 976 pixels of 3.75 micrometres, colour, cooled. */
class ORVIK_API CCameraT13C_C final : public CCameraCool {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT13C_C(void* reserved = nullptr) noexcept;
  ~CCameraT13C_C() override;
};

/** Vek T14C: 1304 x 976 pixels of 3.75 micrometres, colour. */
class ORVIK_API CCameraT14C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT14C(void* reserved = nullptr) noexcept;
  ~CCameraT14C() override;
};

/** Vek T15C: 1304 x 976 pixels of 3.75 micrometres, colour. */
class ORVIK_API CCameraT15C final : public CCameraBase {
 public:
  /** Creates an object with no camera open. @param reserved not used */
  explicit CCameraT15C(void* reserved = nullptr) noexcept;
  ~CCameraT15C() override;
};

}  // namespace orvik

#endif
