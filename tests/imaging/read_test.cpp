// SPDX-License-Identifier: MIT
// Images that are read from files: those that this project writes, those of other programs, and
// files that are wrong.
#include <bit>
#include <cstring>
#include <limits>

#include "gmock/gmock.h"
#include "imaging/errors.h"
#include "imaging/fits_encoder.h"
#include "imaging/png_encoder.h"
#include "imaging/read/read_image.h"
#include "imaging/ser_writer.h"
#include "tests/imaging/test_image.h"

namespace orvik::imaging {
namespace {

using Bytes = std::vector<std::uint8_t>;

ReadImage readBytes(Bytes bytes, int frame = 1) {
  MemoryBytes source("image.bin", std::move(bytes));
  return readImage(source, frame);
}

/// What is said of a file that cannot be read; "" if it can.
std::string complaint(Bytes bytes, int frame = 1) {
  try {
    readBytes(std::move(bytes), frame);
  } catch (const FileError& error) {
    return error.what();
  }
  return "";
}

/// A FITS header of such cards, padded to a block.
std::string fitsHeader(const std::vector<std::string>& cards) {
  std::string text;
  for (std::string card : cards) text += (card.resize(80, ' '), card);
  text += "END";
  text.resize((text.size() + 2879) / 2880 * 2880, ' ');
  return text;
}

std::string card(const std::string& key, const std::string& value) {
  std::string text = key;
  text.resize(8, ' ');
  return text + "= " + value;
}

/// A FITS file with numbers of a type, big-endian.
template <typename Number>
Bytes fitsOf(int bitpix, const std::vector<int>& axes, const std::vector<Number>& numbers,
             const std::vector<std::string>& more = {}) {
  std::vector<std::string> cards = {card("SIMPLE", "T"), card("BITPIX", std::to_string(bitpix)),
                                    card("NAXIS", std::to_string(axes.size()))};
  for (std::size_t n = 0; n < axes.size(); ++n) {
    cards.push_back(card("NAXIS" + std::to_string(n + 1), std::to_string(axes[n])));
  }
  cards.insert(cards.end(), more.begin(), more.end());
  const std::string header = fitsHeader(cards);
  Bytes bytes(header.begin(), header.end());
  for (const Number number : numbers) {
    std::array<std::uint8_t, sizeof(Number)> raw{};
    std::memcpy(raw.data(), &number, sizeof number);
    bytes.insert(bytes.end(), raw.rbegin(), raw.rend());
  }
  return bytes;
}

std::vector<int> samplesOf(const ReadImage& image) {
  const ImageSource source = image.source();
  std::vector<int> samples;
  for (int y = 0; y < image.size.height; ++y) {
    for (int i = 0; i < image.size.width * source.samplesPerPixel(); ++i) {
      samples.push_back(source.isWide() ? source.row16(y)[i] : source.row8(y)[i]);
    }
  }
  return samples;
}

class ReadTest : public FileTest {
 protected:
  [[nodiscard]] Bytes serOf(const std::vector<TestImage>& frames) const {
    SerWriter writer(file("a.ser"), true);
    for (const TestImage& frame : frames) writer.write(frame.image());
    writer.finish();
    return contentsOf(file("a.ser"));
  }
};

TEST_F(ReadTest, GivesBackWhatWasWritten) {
  for (const IMG_TYPE type : {Orvik_IMG_RAW8, Orvik_IMG_RAW16, Orvik_IMG_RGB24, Orvik_IMG_Y8}) {
    TestImage image(12, 7, type);
    if (imageType(type).isRaw) image.info.mosaic = BAYER_GB;
    for (const auto& [format, bytes] : {std::pair{"FITS", encoded(encodeFits, image.image())},
                                        {"PNG", encoded(encodePng, image.image())},
                                        {"SER", serOf({image})}}) {
      SCOPED_TRACE(std::string(format) + " " + std::string(imageType(type).name));
      const ReadImage read = readBytes(bytes);
      EXPECT_EQ(read.size, (Size{12, 7}));
      EXPECT_EQ(read.pixels, image.bytes);
      EXPECT_EQ(read.type == Orvik_IMG_RGB24, type == Orvik_IMG_RGB24);
      EXPECT_EQ(read.source().isWide(), type == Orvik_IMG_RAW16);
      EXPECT_EQ(read.mosaic, image.info.mosaic);
      EXPECT_TRUE(read.format.starts_with(format)) << read.format;
      EXPECT_NE(
          std::ranges::find(read.facts, std::pair<std::string, std::string>("camera", "Vek T15C")),
          read.facts.end());
      // No file that is cut short is taken for a whole one, except for what follows the pixels.
      for (std::size_t size = 0; size < bytes.size(); size += 1 + bytes.size() / 300) {
        try {
          const ReadImage part =
              readBytes(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)));
          EXPECT_EQ(part.pixels, image.bytes) << size;
        } catch (const FileError&) {
        }
      }
    }
  }
}

TEST_F(ReadTest, BringsOtherNumbersIntoTheRange) {
  const std::vector<std::string> topDown = {card("ROWORDER", "'TOP-DOWN'")};
  const auto with = [&](std::vector<std::string> cards) {
    cards.push_back(topDown.front());
    return cards;
  };
  const float none = std::numeric_limits<float>::quiet_NaN();
  const float infinite = std::numeric_limits<float>::infinity();
  struct Row {
    const char* what;
    Bytes file;
    std::vector<int> samples;
  };
  for (const Row& row :
       {Row{"parts", fitsOf<float>(-32, {2, 2}, {0, 0.5F, 1, none}, topDown), {0, 32768, 65535, 0}},
        Row{"counts",
            fitsOf<float>(-32, {2, 2}, {0, 12.4F, 65535, 700}, topDown),
            {0, 12, 65535, 700}},
        Row{"spread", fitsOf<double>(-64, {3, 1}, {-1e9, 0, 1e9}, topDown), {0, 32768, 65535}},
        Row{"infinite", fitsOf<float>(-32, {3, 1}, {-1, infinite, 1}, topDown), {0, 65535, 65535}},
        Row{"constant", fitsOf<float>(-32, {2, 1}, {-3, -3}, topDown), {0, 0}},
        Row{"signed", fitsOf<std::int16_t>(16, {3, 1}, {0, 5, 32767}, topDown), {0, 5, 32767}},
        Row{"negative",
            fitsOf<std::int16_t>(16, {3, 1}, {-100, 0, 100}, topDown),
            {0, 32768, 65535}},
        Row{"blank",
            fitsOf<std::int32_t>(32, {3, 1}, {-7, 40, 50}, with({card("BLANK", "-7")})),
            {0, 40, 50}},
        Row{"scaled",
            fitsOf<std::int32_t>(32, {2, 1}, {1, 3},
                                 with({card("BSCALE", "+1.0D1"), card("BZERO", "5 / offset")})),
            {15, 35}},
        Row{"64 bits", fitsOf<std::int64_t>(64, {2, 1}, {9, 60000}, topDown), {9, 60000}},
        Row{"planes",
            fitsOf<std::uint16_t>(16, {2, 1, 3}, {0x8001, 0x8002, 0x8003, 0x8004, 0x8005, 0x8006},
                                  with({card("BZERO", "32768")})),
            {5, 3, 1, 6, 4, 2}},
        Row{"cube", fitsOf<std::uint8_t>(8, {2, 1, 2}, {1, 2, 3, 4}, topDown), {1, 2}},
        Row{"bottom up", fitsOf<std::uint8_t>(8, {2, 2}, {1, 2, 3, 4}), {3, 4, 1, 2}}}) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(samplesOf(readBytes(row.file)), row.samples);
  }
  // Two rows that change places turn the mosaic over as well; an offset shifts it.
  const Bytes flipped = fitsOf<std::uint8_t>(
      8, {2, 2}, {1, 2, 3, 4}, {card("BAYERPAT", "'RGGB    '"), card("ROWORDER", "'BOTTOM-UP'")});
  EXPECT_EQ(readBytes(flipped).mosaic, BAYER_GB);
  const Bytes shifted = fitsOf<std::uint8_t>(8, {2, 2}, {1, 2, 3, 4},
                                             {card("BAYERPAT", "'RGGB'"), card("XBAYROFF", "1")});
  EXPECT_EQ(readBytes(shifted).mosaic, BAYER_GR);
}

TEST_F(ReadTest, FindsTheImageInAnExtension) {
  Bytes file = fitsOf<std::uint8_t>(8, {}, {});
  const std::string extension = fitsHeader(
      {card("XTENSION", "'IMAGE   '"), card("BITPIX", "8"), card("NAXIS", "2"), card("NAXIS1", "2"),
       card("NAXIS2", "1"), card("PCOUNT", "0"), card("OBJECT", "'it''s \x1b[2J'")});
  file.insert(file.end(), extension.begin(), extension.end());
  file.insert(file.end(), {8, 9});
  const ReadImage image = readBytes(file);
  EXPECT_EQ(image.pixels, (Bytes{8, 9}));
  // What a terminal would obey does not reach it.
  EXPECT_EQ(image.facts.front().second, "it's ?[2J");
}

TEST_F(ReadTest, ReadsVideosThatWereCutShort) {
  std::vector<TestImage> frames(3, TestImage(4, 2, Orvik_IMG_RAW16));
  frames[1].bytes[3] = 77;
  Bytes video = serOf(frames);
  EXPECT_EQ(readBytes(video, 2).pixels, frames[1].bytes);
  EXPECT_EQ(readBytes(video, 2).frames, 3);
  video[38] = 0;  // the program was killed before it counted
  video.resize(178 + 2 * 16 + 5);
  EXPECT_EQ(readBytes(video).frames, 2);
  EXPECT_THAT(complaint(video, 3), testing::HasSubstr("they are 1 to 2"));
  video.resize(178 + 15);
  EXPECT_THAT(complaint(video), testing::HasSubstr("cut short"));

  Bytes twelve = serOf({TestImage(2, 1, Orvik_IMG_RAW16)});
  twelve[22] = 1;   // big-endian
  twelve[34] = 12;  // bits
  const Bytes samples = {0x0F, 0xFF, 0x00, 0x10};
  std::ranges::copy(samples, twelve.begin() + 178);
  EXPECT_EQ(samplesOf(readBytes(twelve)), (std::vector<int>{0xFFF0, 0x0100}));
}

TEST_F(ReadTest, SaysWhatIsWrong) {
  const Bytes png = encoded(encodePng, TestImage(40, 40, Orvik_IMG_RAW16).image());
  Bytes damaged = png;
  damaged[20] = 3;  // the checksum of the header is another one
  const auto fits = [](const std::string& key, const std::string& value) {
    std::vector<std::string> cards = {card("SIMPLE", "T"), card("BITPIX", "8"), card("NAXIS", "2"),
                                      card("NAXIS1", "4"), card("NAXIS2", "4")};
    for (std::string& each : cards) {
      if (each.starts_with(card(key, ""))) each = card(key, value);
    }
    const std::string text = fitsHeader(cards) + std::string(2880, '\0');
    return Bytes(text.begin(), text.end());
  };
  Bytes ser = serOf({TestImage(4, 2, Orvik_IMG_RAW8)});
  ser[34] = 17;
  const std::string text = "SIMPLE  =                    T";
  struct Row {
    Bytes file;
    const char* reason;
  };
  for (const Row& row :
       {Row{{}, "empty"}, Row{{'B', 'M', 1, 2}, "no FITS, PNG or SER"},
        Row{{0x1F, 0x8B, 8, 0}, "gunzip"}, Row{Bytes(text.begin(), text.end()), "cut short"},
        Row{fits("BITPIX", "12"), "BITPIX"}, Row{fits("NAXIS1", "'wide'"), "NAXIS1"},
        Row{fits("NAXIS1", "-4"), "NAXIS1"}, Row{fits("NAXIS1", "900000"), "cut short"},
        Row{fits("NAXIS1", "1000001"), "1024 MiB"},
        Row{fits("NAXIS1", "1099511627776"), "1024 MiB"}, Row{fits("NAXIS", "0"), "no image"},
        Row{fits("NAXIS", "3"), "NAXIS3"}, Row{ser, "17 bits"}, Row{damaged, "damaged"},
        Row{Bytes(png.begin(), png.end() - 40), "damaged or cut short"}}) {
    EXPECT_THAT(complaint(row.file), testing::AllOf(testing::StartsWith("cannot read image.bin: "),
                                                    testing::HasSubstr(row.reason)));
  }
  EXPECT_THROW(readImage(file("missing.fits")), FileError);
  EXPECT_THROW(readImage(std::filesystem::path("/")), FileError);
}

}  // namespace
}  // namespace orvik::imaging
