// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/fits_writer.h"

#include <fitsio.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/output/atomic_file.h"
#include "tools/orvikctl/output/mosaic.h"
#include "tools/orvikctl/output/software.h"
#include "tools/orvikctl/output/time_text.h"

namespace orvik::ctl {
namespace fs = std::filesystem;
namespace {

/// A FITS file being written. The first error sticks and makes every later step do nothing.
class FitsFile {
 public:
  explicit FitsFile(const fs::path& file) {
    // A "disk file" takes the name as it stands, where the extended syntax would read brackets.
    fits_create_diskfile(&fits_, file.c_str(), &status_);
  }
  ~FitsFile() {
    int ignored = 0;
    if (fits_ != nullptr) fits_close_file(fits_, &ignored);
    fits_clear_errmsg();
  }
  FitsFile(const FitsFile&) = delete;
  FitsFile& operator=(const FitsFile&) = delete;

  void create(int imageType, std::vector<long> axes) {
    fits_create_img(fits_, imageType, static_cast<int>(axes.size()), axes.data(), &status_);
  }
  void pixels(int dataType, const void* data, std::size_t count) {
    // The library only reads them.
    fits_write_img(fits_, dataType, 1, static_cast<LONGLONG>(count), const_cast<void*>(data),
                   &status_);
  }
  void key(const char* name, const std::string& value, const char* comment) {
    if (!value.empty()) fits_write_key_str(fits_, name, value.c_str(), comment, &status_);
  }
  void key(const char* name, int value, const char* comment) {
    fits_write_key_lng(fits_, name, value, comment, &status_);
  }
  void key(const char* name, double value, const char* comment) {
    constexpr int kDigits = -12;  // significant digits, as few of them as the value needs
    fits_write_key_dbl(fits_, name, value, kDigits, comment, &status_);
  }
  void close() {
    fits_close_file(std::exchange(fits_, nullptr), &status_);  // Freed even if closing fails.
  }
  [[nodiscard]] int status() const { return status_; }

 private:
  fitsfile* fits_ = nullptr;
  int status_ = 0;
};

void writeExposureKeys(FitsFile& fits, const ImageInfo& info) {
  using Seconds = std::chrono::duration<double>;
  fits.key("INSTRUME", info.instrument, "camera");
  fits.key("DATE-OBS", utcText(info.start), "start of exposure, UTC");
  fits.key("TIMESYS", "UTC", "time system of DATE-OBS");
  fits.key("EXPTIME", Seconds(info.exposure).count(), "[s] exposure time");
  fits.key("GAIN", info.gain, "gain in steps of the sensor");
  if (info.offset) fits.key("OFFSET", *info.offset, "black level in steps of the sensor");
  if (info.sensorTemperature) {
    fits.key("CCD-TEMP", *info.sensorTemperature, "[degC] sensor temperature");
  }
  if (info.targetTemperature) {
    fits.key("SET-TEMP", *info.targetTemperature, "[degC] temperature that the cooler holds");
  }
}

void writeGeometryKeys(FitsFile& fits, const ImageInfo& info) {
  const double binned = info.pixelSizeUm * info.bin;
  fits.key("XBINNING", info.bin, "horizontal bin factor");
  fits.key("YBINNING", info.bin, "vertical bin factor");
  fits.key("XPIXSZ", binned, "[um] pixel width after binning");
  fits.key("YPIXSZ", binned, "[um] pixel height after binning");
  fits.key("PIXSIZE1", info.pixelSizeUm, "[um] pixel width of the sensor");
  fits.key("PIXSIZE2", info.pixelSizeUm, "[um] pixel height of the sensor");
  fits.key("XORGSUBF", info.startX, "left edge on the sensor, binned pixels");
  fits.key("YORGSUBF", info.startY, "top edge on the sensor, binned pixels");
  fits.key("ROWORDER", "TOP-DOWN", "the first row is the top one");
  if (info.mosaic) {
    fits.key("BAYERPAT", std::string(mosaicName(*info.mosaic)), "colours of the top left 2 x 2");
    fits.key("XBAYROFF", 0, "BAYERPAT starts at the first column");
    fits.key("YBAYROFF", 0, "BAYERPAT starts at the first row");
  }
}

void writeNameKeys(FitsFile& fits, const ImageInfo& info) {
  fits.key("IMAGETYP", info.frameKind, "kind of frame");
  fits.key("OBJECT", info.object, "what was observed");
  fits.key("OBSERVER", info.observer, "who observed");
  fits.key("TELESCOP", info.telescope, "telescope");
  fits.key("SWCREATE", kSoftware, "program that wrote this file");
}

/// Blue, green, red pixel by pixel become a red, a green and a blue plane.
std::vector<std::uint8_t> planesOf(std::span<const std::uint8_t> bgr) {
  const std::size_t count = bgr.size() / 3;
  std::vector<std::uint8_t> planes(bgr.size());
  for (std::size_t i = 0; i < count; ++i) {
    planes[i] = bgr[3 * i + 2];
    planes[count + i] = bgr[3 * i + 1];
    planes[2 * count + i] = bgr[3 * i];
  }
  return planes;
}

void writePixels(FitsFile& fits, const Image& image) {
  switch (image.info.type) {
    case Orvik_IMG_RGB24: {
      const std::vector<std::uint8_t> planes = planesOf(image.pixels);
      fits.pixels(TBYTE, planes.data(), planes.size());
      break;
    }
    case Orvik_IMG_RAW16:
      fits.pixels(TUSHORT, image.pixels.data(), image.pixels.size() / 2);
      break;
    default:
      fits.pixels(TBYTE, image.pixels.data(), image.pixels.size());
  }
}

[[noreturn]] void fail(const fs::path& file, int status, int errorNumber) {
  if (errorNumber != 0) failWrite(file, errorNumber);
  std::array<char, FLEN_STATUS> text{};
  fits_get_errstatus(status, text.data());
  throw Failure(ExitCode::kFileFailed, "cannot write " + file.string() + ": " + text.data() + ".");
}

}  // namespace

void FitsWriter::write(const Image& image, const fs::path& file) {
  requireWhole(image);
  const ImageInfo& info = image.info;
  std::error_code ignored;
  fs::remove(file, ignored);
  errno = 0;
  FitsFile fits(file);
  std::vector<long> axes = {info.width, info.height};
  if (info.type == Orvik_IMG_RGB24) axes.push_back(3);
  fits.create(info.type == Orvik_IMG_RAW16 ? USHORT_IMG : BYTE_IMG, std::move(axes));
  writeExposureKeys(fits, info);
  writeGeometryKeys(fits, info);
  writeNameKeys(fits, info);
  writePixels(fits, image);
  fits.close();
  if (fits.status() != 0) fail(file, fits.status(), errno);
}

}  // namespace orvik::ctl
