// SPDX-License-Identifier: MIT
#include <fitsio.h>

#include <map>

#include "tests/orvikctl/test_image.h"
#include "tools/orvikctl/output/fits_writer.h"

namespace orvik::ctl {
namespace {

/// A FITS file read back.
class ReadFits {
 public:
  explicit ReadFits(const std::filesystem::path& file) {
    fits_open_diskfile(&fits_, file.c_str(), READONLY, &status_);
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
  fitsfile* fits_ = nullptr;
  int status_ = 0;
};

class FitsWriterTest : public FileTest {};

TEST_F(FitsWriterTest, Writes16BitsUnsignedTopRowFirst) {
  const TestImage image(5, 3, Orvik_IMG_RAW16);
  FitsWriter().write(image.image(), file("deep.fits"));
  ReadFits fits(file("deep.fits"));
  EXPECT_EQ(fits.key("BITPIX"), "16");
  EXPECT_EQ(fits.key("BZERO"), "32768");
  EXPECT_EQ(fits.axes(), (std::vector<long>{5, 3}));
  const std::vector<int> pixels = fits.pixels(15);
  for (std::size_t i = 0; i < 15; ++i) EXPECT_EQ(pixels[i], image.word(i)) << i;
}

TEST_F(FitsWriterTest, WritesColourAsRedGreenAndBluePlane) {
  const TestImage image(3, 2, Orvik_IMG_RGB24);
  FitsWriter().write(image.image(), file("colour.fits"));
  ReadFits fits(file("colour.fits"));
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

TEST_F(FitsWriterTest, TellsHowTheImageWasTaken) {
  TestImage image(4, 2, Orvik_IMG_RAW8);
  image.info.bin = 2;
  image.info.mosaic = BAYER_GB;
  image.info.offset = 10;
  image.info.sensorTemperature = -9.5;
  image.info.targetTemperature = -10;
  image.info.frameKind = "Dark Frame";
  image.info.object = "M 42";
  FitsWriter().write(image.image(), file("keys.fits"));
  ReadFits fits(file("keys.fits"));
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

TEST_F(FitsWriterTest, LeavesOutWhatTheCameraDoesNotTell) {
  const TestImage image(4, 2, Orvik_IMG_RAW8);
  FitsWriter().write(image.image(), file("plain.fits"));
  ReadFits fits(file("plain.fits"));
  for (const char* name : {"OFFSET", "CCD-TEMP", "SET-TEMP", "BAYERPAT", "OBJECT"}) {
    EXPECT_EQ(fits.key(name), "-") << name;
  }
}

TEST_F(FitsWriterTest, TakesNamesAsTheyStand) {
  // In the library's extended syntax brackets and a leading '!' have meanings of their own.
  const TestImage image(4, 2, Orvik_IMG_RAW8);
  FitsWriter().write(image.image(), file("!m42[1](x).fits"));
  EXPECT_TRUE(std::filesystem::exists(file("!m42[1](x).fits")));
}

}  // namespace
}  // namespace orvik::ctl
