// SPDX-License-Identifier: MIT
#include <fitsio.h>

#include <map>
#include <random>

#include "imaging/fits_encoder.h"
#include "tests/imaging/test_image.h"

namespace orvik::imaging {
namespace {

/// A FITS file read back.
class ReadFits {
 public:
  explicit ReadFits(std::vector<std::uint8_t> bytes)
      : bytes_(std::move(bytes)), memory_(bytes_.data()), size_(bytes_.size()) {
    EXPECT_EQ(size_ % 2880, 0U) << "whole blocks";
    fits_open_memfile(&fits_, "", READONLY, &memory_, &size_, 0, nullptr, &status_);
    EXPECT_EQ(status_, 0);
  }
  ~ReadFits() { fits_close_file(fits_, &status_); }
  ReadFits(const ReadFits&) = delete;
  ReadFits& operator=(const ReadFits&) = delete;

  /// A keyword's value; "-" if there is none.
  std::string key(const char* name) {
    int status = 0;
    char value[FLEN_VALUE] = {};
    fits_read_key(fits_, TSTRING, name, value, nullptr, &status);
    return status == 0 ? value : "-";
  }
  std::vector<long> axes() {
    int count = 0;
    fits_get_img_dim(fits_, &count, &status_);
    std::vector<long> sizes(static_cast<std::size_t>(count));
    fits_get_img_size(fits_, count, sizes.data(), &status_);
    return sizes;
  }
  std::vector<int> pixels(std::size_t count) {
    std::vector<int> values(count);
    fits_read_img(fits_, TINT, 1, static_cast<LONGLONG>(count), nullptr, values.data(), nullptr,
                  &status_);
    EXPECT_EQ(status_, 0);
    return values;
  }

 private:
  std::vector<std::uint8_t> bytes_;
  void* memory_;
  std::size_t size_;
  fitsfile* fits_ = nullptr;
  int status_ = 0;
};

TEST(EncodeFits, Writes16BitsUnsignedTopRowFirst) {
  const TestImage image(5, 3, Orvik_IMG_RAW16);
  ReadFits fits(encoded(encodeFits, image.image()));
  EXPECT_EQ(fits.key("BITPIX"), "16");
  EXPECT_EQ(fits.key("BZERO"), "32768");
  EXPECT_EQ(fits.axes(), (std::vector<long>{5, 3}));
  const std::vector<int> pixels = fits.pixels(15);
  for (std::size_t i = 0; i < 15; ++i) EXPECT_EQ(pixels[i], image.word(i)) << i;
}

TEST(EncodeFits, WritesColourAsRedGreenAndBluePlane) {
  const TestImage image(3, 2, Orvik_IMG_RGB24);
  ReadFits fits(encoded(encodeFits, image.image()));
  EXPECT_EQ(fits.key("BITPIX"), "8");
  EXPECT_EQ(fits.axes(), (std::vector<long>{3, 2, 3}));
  const std::vector<int> pixels = fits.pixels(18);
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(pixels[i], image.bytes[3 * i + 2]) << "red " << i;
    EXPECT_EQ(pixels[6 + i], image.bytes[3 * i + 1]) << "green " << i;
    EXPECT_EQ(pixels[12 + i], image.bytes[3 * i]) << "blue " << i;
  }
  EXPECT_EQ(fits.key("BAYERPAT"), "-");
}

TEST(EncodeFits, KeepsEverySampleOfImagesThatTakeSeveralPieces) {
  for (const IMG_TYPE type : {Orvik_IMG_RAW8, Orvik_IMG_RAW16, Orvik_IMG_RGB24}) {
    for (const auto& [width, height] : {std::pair{1, 1}, {977, 613}, {1440, 2}, {140'001, 3}}) {
      TestImage image(width, height, type);
      std::mt19937 random(1);
      for (std::uint8_t& byte : image.bytes) byte = static_cast<std::uint8_t>(random());
      const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
      ReadFits fits(encoded(encodeFits, image.image()));
      std::vector<int> expected;
      if (type == Orvik_IMG_RGB24) {
        for (std::size_t plane = 0; plane < 3; ++plane) {
          for (std::size_t i = 0; i < count; ++i) {
            expected.push_back(image.bytes[3 * i + 2 - plane]);
          }
        }
      } else {
        for (std::size_t i = 0; i < count; ++i) {
          expected.push_back(type == Orvik_IMG_RAW16 ? image.word(i) : image.bytes[i]);
        }
      }
      EXPECT_TRUE(fits.pixels(expected.size()) == expected) << type << ' ' << width;
    }
  }
}

TEST(EncodeFits, TellsHowTheImageWasTaken) {
  TestImage image(4, 2, Orvik_IMG_RAW8);
  image.info.bin = 2;
  image.info.mosaic = BAYER_GB;
  image.info.offset = 10;
  image.info.sensorTemperature = -9.5;
  image.info.targetTemperature = -10;
  image.info.frameKind = "Dark Frame";
  image.info.object = "M 42";
  ReadFits fits(encoded(encodeFits, image.image()));
  const std::map<const char*, const char*> expected = {
      {"INSTRUME", "Vek T15C"}, {"DATE-OBS", "2024-02-29T12:34:56.789"},
      {"EXPTIME", "2.5"},       {"GAIN", "200"},
      {"OFFSET", "10"},         {"CCD-TEMP", "-9.5"},
      {"SET-TEMP", "-10."},     {"XBINNING", "2"},
      {"YBINNING", "2"},        {"XPIXSZ", "7.5"},
      {"YPIXSZ", "7.5"},        {"PIXSIZE1", "3.75"},
      {"PIXSIZE2", "3.75"},     {"BAYERPAT", "GBRG"},
      {"XBAYROFF", "0"},        {"YBAYROFF", "0"},
      {"ROWORDER", "TOP-DOWN"}, {"IMAGETYP", "Dark Frame"},
      {"OBJECT", "M 42"},       {"OBSERVER", "-"}};
  for (const auto& [name, value] : expected) EXPECT_EQ(fits.key(name), value) << name;
}

TEST(EncodeFits, LeavesOutWhatIsNotKnown) {
  TestImage image(4, 2, Orvik_IMG_RAW8);
  image.info.sensorTemperature = 21.5;  // of a camera without a cooler
  ReadFits fits(encoded(encodeFits, image.image()));
  EXPECT_EQ(fits.key("CCD-TEMP"), "21.5");
  for (const char* name : {"OFFSET", "SET-TEMP", "BAYERPAT", "OBJECT"}) {
    EXPECT_EQ(fits.key(name), "-") << name;
  }
}

TEST(EncodeFits, KeepsHeadersToPrintableAscii) {
  TestImage image(4, 2, Orvik_IMG_RAW8);
  image.info.object = "B\u00f6rse \u2013 \n\u2b50";
  EXPECT_EQ(ReadFits(encoded(encodeFits, image.image())).key("OBJECT"), "B?rse ? ??");
}

}  // namespace
}  // namespace orvik::imaging
