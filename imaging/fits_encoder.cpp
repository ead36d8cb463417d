// SPDX-License-Identifier: MIT
#include "imaging/fits_encoder.h"

#include <fitsio.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "imaging/colour_order.h"
#include "imaging/header_text.h"
#include "imaging/mosaic.h"
#include "imaging/time_text.h"

namespace orvik::imaging {
namespace {

/// A FITS file in memory. The first error sticks and makes every later step do nothing.
class FitsFile {
 public:
  FitsFile() {
    // Files are padded to whole blocks of this size, so that the buffer grows by blocks as well.
    constexpr std::size_t kBlockBytes = 2880;
    fits_create_memfile(&fits_, &memory_, &capacity_, 16 * kBlockBytes, std::realloc, &status_);
  }
  ~FitsFile() {
    int ignored = 0;
    if (fits_ != nullptr) fits_close_file(fits_, &ignored);
    fits_clear_errmsg();
    std::free(memory_);
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
    if (value.empty()) return;
    fits_write_key_str(fits_, name, headerText(value).c_str(), comment, &status_);
  }
  void key(const char* name, int value, const char* comment) {
    fits_write_key_lng(fits_, name, value, comment, &status_);
  }
  void flag(const char* name, bool value, const char* comment) {
    int logical = value ? 1 : 0;
    fits_write_key(fits_, TLOGICAL, name, &logical, comment, &status_);
  }
  void key(const char* name, double value, const char* comment) {
    constexpr int kDigits = -12;  // significant digits, as few of them as the value needs
    fits_write_key_dbl(fits_, name, value, kDigits, comment, &status_);
  }
  /// Completes the file. @return its last image with the header. Throws std::runtime_error if any
  /// step has failed.
  std::vector<std::uint8_t> close() {
    LONGLONG begin = 0;
    LONGLONG end = 0;
    fits_flush_file(fits_, &status_);
    fits_get_hduaddrll(fits_, &begin, nullptr, &end, &status_);
    fits_close_file(std::exchange(fits_, nullptr), &status_);  // freed even if closing fails
    if (status_ != 0) {
      std::array<char, FLEN_STATUS> text{};
      fits_get_errstatus(status_, text.data());
      throw std::runtime_error(std::string("cannot encode a FITS file: ") + text.data());
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(memory_);
    return {bytes + begin, bytes + end};
  }

 private:
  fitsfile* fits_ = nullptr;
  void* memory_ = nullptr;
  std::size_t capacity_ = 0;
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
    fits.key("BAYERPAT", std::string(mosaic(*info.mosaic).name), "colours of the top left 2 x 2");
    fits.key("XBAYROFF", 0, "BAYERPAT starts at the first column");
    fits.key("YBAYROFF", 0, "BAYERPAT starts at the first row");
  }
}

/// What was done to the samples since the sensor's converter.
void writeProcessingKeys(FitsFile& fits, const ImageInfo& info) {
  const Processing& done = info.processing;
  if (done.gamma) fits.key("GAMMA", *done.gamma, "gamma of the samples, 50 is linear");
  if (done.whiteBalanceRed) fits.key("WB_RED", *done.whiteBalanceRed, "gain of red, 50 is neutral");
  if (done.whiteBalanceBlue) {
    fits.key("WB_BLUE", *done.whiteBalanceBlue, "gain of blue, 50 is neutral");
  }
  fits.key("FLIP", std::string(kFlipNames.at(static_cast<std::size_t>(info.flip & 3))),
           "mirrored: h left to right, v top to bottom");
  if (done.hotPixelsMended) {
    fits.key("HOTPIX", *done.hotPixelsMended, "hot pixels that were mended in this image");
  }
  if (done.isDarkSubtracted) {
    fits.flag("DARKSUB", *done.isDarkSubtracted, "a dark frame was subtracted");
  }
}

void writeNameKeys(FitsFile& fits, const ImageInfo& info) {
  fits.key("IMAGETYP", info.frameKind, "kind of frame");
  fits.key("FILTER", info.filter, "filter in front of the sensor");
  fits.key("OBJECT", info.object, "what was observed");
  fits.key("OBSERVER", info.observer, "who observed");
  fits.key("TELESCOP", info.telescope, "telescope");
  fits.key("SWCREATE", info.software, "program that wrote this file");
}

void writePixels(FitsFile& fits, const Image& image) {
  const ImageType type = imageType(image.info.type);
  if (type.isColour) {
    const std::vector<std::uint8_t> planes = planesOf(image.pixels);
    fits.pixels(TBYTE, planes.data(), planes.size());
  } else if (type.bitsPerSample == 16) {
    fits.pixels(TUSHORT, image.pixels.data(), image.pixels.size() / 2);
  } else {
    fits.pixels(TBYTE, image.pixels.data(), image.pixels.size());
  }
}

std::vector<std::uint8_t> encode(const Image& image, bool isExtension) {
  requireWhole(image);
  const ImageInfo& info = image.info;
  const ImageType type = imageType(info.type);
  FitsFile fits;
  std::vector<long> axes = {info.width, info.height};
  if (type.isColour) axes.push_back(3);
  if (isExtension) fits.create(BYTE_IMG, {});  // what it is an extension of
  fits.create(type.bitsPerSample == 16 ? USHORT_IMG : BYTE_IMG, std::move(axes));
  writeExposureKeys(fits, info);
  writeGeometryKeys(fits, info);
  writeProcessingKeys(fits, info);
  writeNameKeys(fits, info);
  writePixels(fits, image);
  return fits.close();
}

}  // namespace

std::vector<std::uint8_t> encodeFits(const Image& image) { return encode(image, false); }

std::vector<std::uint8_t> encodeFitsExtension(const Image& image) { return encode(image, true); }

}  // namespace orvik::imaging
