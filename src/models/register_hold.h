// SPDX-License-Identifier: MIT
#pragma once

#include "link/vendor_link.h"
#include "models/marked_registers.h"

namespace orvik {

/// While it exists, the sensor stores register writes without applying them. At its end all values
/// take effect together, so that no frame is exposed with only some of them.
class SensorHold {
 public:
  explicit SensorHold(VendorLink& link) : link_(link) { link_.writeSensorByte(sensor::kHold, 1); }
  ~SensorHold() { release(); }
  SensorHold(const SensorHold&) = delete;
  SensorHold& operator=(const SensorHold&) = delete;

  /// Ends the hold now. @return whether the release was sent.
  bool release() {
    if (released_) return true;
    released_ = true;
    return link_.writeSensorByte(sensor::kHold, 0);
  }

 private:
  VendorLink& link_;
  bool released_ = false;
};

/// The same for the registers of the FPGA.
class FpgaHold {
 public:
  explicit FpgaHold(VendorLink& link) : link_(link) { link_.writeFpga(fpga::kHold, 1); }
  ~FpgaHold() { link_.writeFpga(fpga::kHold, 0); }
  FpgaHold(const FpgaHold&) = delete;
  FpgaHold& operator=(const FpgaHold&) = delete;

 private:
  VendorLink& link_;
};

}  // namespace orvik
