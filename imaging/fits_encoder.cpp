// SPDX-License-Identifier: MIT
#include "imaging/fits_encoder.h"

#include <fitsio.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "imaging/colour_order.h"
#include "imaging/header_text.h"
#include "imaging/mosaic.h"
#include "imaging/sample_order.h"
#include "imaging/time_text.h"

namespace orvik::imaging {
namespace {

constexpr std::size_t kFitsBlockBytes = 2880;

/// The header of an image, in a FITS file in memory that gets no pixels. The first error sticks and
/// makes every later step do nothing.
class FitsHeader {
 public:
  FitsHeader() {
    fits_create_memfile(&fits_, &memory_, &capacity_, 16 * kFitsBlockBytes, std::realloc, &status_);
  }
  ~FitsHeader() {
    int ignored = 0;
    if (fits_ != nullptr) fits_close_file(fits_, &ignored);
    fits_clear_errmsg();
    std::free(memory_);
  }
  FitsHeader(const FitsHeader&) = delete;
  FitsHeader& operator=(const FitsHeader&) = delete;

  void create(int imageType, std::vector<long> axes) {
    axes_ = std::move(axes);
    std::vector<long> none(axes_.size());
    fits_create_img(fits_, imageType, static_cast<int>(none.size()), none.data(), &status_);
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
  /// Completes the header. @return its bytes. Throws std::runtime_error if any step has failed.
  std::vector<std::uint8_t> complete() {
    LONGLONG begin = 0;
    LONGLONG data = 0;
    fits_set_hdustruc(fits_, &status_);  // ends the header
    fits_get_hduaddrll(fits_, &begin, &data, nullptr, &status_);
    writeAxes(axes_);
    fits_flush_buffer(fits_, 0, &status_);
    if (status_ != 0) {
      std::array<char, FLEN_STATUS> text{};
      fits_get_errstatus(status_, text.data());
      throw std::runtime_error(std::string("cannot encode a FITS file: ") + text.data());
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(memory_);
    std::vector<std::uint8_t> header(bytes + begin, bytes + data);
    writeAxes(std::vector<long>(axes_.size()));
    return header;
  }

 private:
  /// The file has its true size for a moment only: closed with it, it would be filled with zeros.
  void writeAxes(const std::vector<long>& axes) {
    constexpr const char* kSameComment = "&";
    for (std::size_t i = 0; i < axes.size(); ++i) {
      const std::string name = "NAXIS" + std::to_string(i + 1);
      fits_modify_key_lng(fits_, name.c_str(), axes[i], kSameComment, &status_);
    }
  }

  std::vector<long> axes_;
  fitsfile* fits_ = nullptr;
  void* memory_ = nullptr;
  std::size_t capacity_ = 0;
  int status_ = 0;
};

void writeExposureKeys(FitsHeader& fits, const ImageInfo& info) {
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

void writeGeometryKeys(FitsHeader& fits, const ImageInfo& info) {
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
void writeProcessingKeys(FitsHeader& fits, const ImageInfo& info) {
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

void writeNameKeys(FitsHeader& fits, const ImageInfo& info) {
  fits.key("IMAGETYP", info.frameKind, "kind of frame");
  fits.key("FILTER", info.filter, "filter in front of the sensor");
  fits.key("OBJECT", info.object, "what was observed");
  fits.key("OBSERVER", info.observer, "who observed");
  fits.key("TELESCOP", info.telescope, "telescope");
  fits.key("SWCREATE", info.software, "program that wrote this file");
}

/// Writes pixels in blocks that stay in the processor's cache between the change of their order and
/// the system's copy.
///
/// @param bytes of all that is written
/// @param fill makes a block: called with its offset and its memory
template <typename Fill>
void writeBlocks(ByteSink& sink, std::size_t bytes, Fill fill) {
  constexpr std::size_t kBlock = std::size_t{192} << 10;
  std::vector<std::uint8_t> memory(std::min(bytes, kBlock));
  for (std::size_t at = 0; at < bytes; at += kBlock) {
    const auto block = std::span(memory).first(std::min(bytes - at, kBlock));
    fill(at, block);
    sink.write(block);
  }
}

void writePixels(const Image& image, ByteSink& sink) {
  const ImageType type = imageType(image.info.type);
  const auto pixels = image.pixels;
  if (type.isColour) {
    for (const std::size_t channel : {2U, 1U, 0U}) {  // planes red, green, blue
      writeBlocks(sink, pixels.size() / 3, [&](std::size_t at, std::span<std::uint8_t> block) {
        takeChannel(pixels.subspan(3 * at), channel, block);
      });
    }
  } else if (type.bitsPerSample == 16) {
    writeBlocks(sink, pixels.size(), [&](std::size_t at, std::span<std::uint8_t> block) {
      toSignedBigEndian(pixels.subspan(at, block.size()), block);
    });
  } else {
    sink.write(pixels);
  }
  // Data end with a whole block of the file.
  constexpr std::array<std::uint8_t, kFitsBlockBytes> kZeros{};
  const std::size_t over = pixels.size() % kFitsBlockBytes;
  if (over != 0) sink.write(std::span(kZeros).first(kFitsBlockBytes - over));
}

void encode(const Image& image, bool isExtension, ByteSink& sink) {
  requireWhole(image);
  const ImageInfo& info = image.info;
  const ImageType type = imageType(info.type);
  FitsHeader fits;
  std::vector<long> axes = {info.width, info.height};
  if (type.isColour) axes.push_back(3);
  if (isExtension) fits.create(BYTE_IMG, {});  // what it is an extension of
  fits.create(type.bitsPerSample == 16 ? USHORT_IMG : BYTE_IMG, std::move(axes));
  writeExposureKeys(fits, info);
  writeGeometryKeys(fits, info);
  writeProcessingKeys(fits, info);
  writeNameKeys(fits, info);
  sink.write(fits.complete());
  writePixels(image, sink);
}

}  // namespace

void encodeFits(const Image& image, ByteSink& sink) { encode(image, false, sink); }

void encodeFitsExtension(const Image& image, ByteSink& sink) { encode(image, true, sink); }

}  // namespace orvik::imaging
