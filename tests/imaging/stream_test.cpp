// SPDX-License-Identifier: MIT
// Frames for other programs: pipes with readers of all manners, and raw files.
#include <fcntl.h>
#include <fitsio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <future>
#include <thread>

#include "imaging/errors.h"
#include "imaging/raw_writer.h"
#include "imaging/stream_sink.h"
#include "tests/imaging/test_image.h"

namespace orvik::imaging {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kHeader = 178;
constexpr auto kLimit = 20s;  // in which everything has ended

std::int32_t announcedIn(const Bytes& ser) {
  std::int32_t count = 0;
  std::memcpy(&count, ser.data() + 38, sizeof count);
  return count;
}

class StreamTest : public FileTest {
 protected:
  void SetUp() override {
    FileTest::SetUp();
    ASSERT_NE(std::signal(SIGPIPE, SIG_IGN), SIG_ERR);
    ASSERT_EQ(::pipe2(ends_, O_CLOEXEC), 0);
    // Otherwise a pipe would take a whole video, whether or not it is read.
    ASSERT_EQ(::fcntl(ends_[1], F_SETFL, O_NONBLOCK), 0);
  }
  void TearDown() override {
    closeReader();
    FileTest::TearDown();
  }
  void closeReader() {
    if (ends_[0] >= 0) ::close(ends_[0]);
    ends_[0] = -1;
  }
  StreamSink sink(OutputFormat format, std::optional<std::int64_t> frames) {
    return {PipeWriter(ends_[1], "the pipe", stop_.get_token()), format, frames};
  }
  /// Reads to the end of the stream, with a rest after each piece.
  std::future<Bytes> readAll(std::chrono::microseconds rest = 0us) {
    return std::async(std::launch::async, [this, rest] {
      Bytes all;
      Bytes piece(30'000);
      for (ssize_t size = 0; (size = ::read(ends_[0], piece.data(), piece.size())) > 0;) {
        all.insert(all.end(), piece.begin(), piece.begin() + size);
        std::this_thread::sleep_for(rest);
      }
      return all;
    });
  }
  /// What a reader gets of so many frames.
  Bytes streamed(OutputFormat format, std::optional<std::int64_t> announced, int frames) {
    auto received = readAll(200us);
    {
      StreamSink to = sink(format, announced);
      for (int i = 0; i < frames; ++i) to.write(image_.image());
      to.finish();
    }
    return received.get();
  }

  int ends_[2] = {-1, -1};
  std::stop_source stop_;
  const TestImage image_{320, 240, Orvik_IMG_RAW16};
};

TEST_F(StreamTest, ASlowReaderGetsEveryByteOnce) {
  constexpr int kFrames = 30;  // more than the pipe holds
  const std::size_t size = image_.bytes.size();
  const Bytes ser = streamed(OutputFormat::kSer, kFrames, kFrames);
  ASSERT_EQ(ser.size(), kHeader + kFrames * (size + 8));
  EXPECT_EQ(announcedIn(ser), kFrames);
  for (std::size_t i = 0; i < kFrames; ++i) {
    ASSERT_EQ(std::memcmp(ser.data() + kHeader + i * size, image_.bytes.data(), size), 0) << i;
  }
}

TEST_F(StreamTest, TimeStampsStandOnlyWhereTheHeaderPutsThem) {
  const Bytes ser = streamed(OutputFormat::kSer, std::nullopt, 2);
  EXPECT_EQ(announcedIn(ser), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(ser.size(), kHeader + 2 * image_.bytes.size());
  ASSERT_EQ(::pipe2(ends_, O_CLOEXEC), 0);
  EXPECT_EQ(streamed(OutputFormat::kSer, 9, 2).size(), kHeader + 2 * image_.bytes.size());
}

TEST_F(StreamTest, FitsImagesAreThoseOfOneFile) {
  Bytes fits = streamed(OutputFormat::kFits, std::nullopt, 3);
  void* memory = fits.data();
  std::size_t size = fits.size();
  fitsfile* file = nullptr;
  int status = 0;
  int images = 0;
  fits_open_memfile(&file, "", READONLY, &memory, &size, 0, nullptr, &status);
  fits_get_num_hdus(file, &images, &status);
  EXPECT_EQ(images, 3);
  Bytes pixels(image_.bytes.size());
  fits_movabs_hdu(file, 3, nullptr, &status);
  fits_read_img(file, TUSHORT, 1, static_cast<LONGLONG>(pixels.size() / 2), nullptr, pixels.data(),
                nullptr, &status);
  fits_close_file(file, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(pixels, image_.bytes);
}

TEST_F(StreamTest, AReaderThatEndsIsTold) {
  StreamSink to = sink(OutputFormat::kSer, 100);
  to.write(image_.image());
  closeReader();
  EXPECT_THROW(to.write(image_.image()), ReaderGone);
  EXPECT_NO_THROW(to.finish()) << "there is nobody to complete the stream for";
}

TEST_F(StreamTest, AStopEndsTheWaitingForAReaderThatRests) {
  auto written = std::async(std::launch::async, [this] {
    StreamSink to = sink(OutputFormat::kRaw, std::nullopt);
    for (;;) to.write(image_.image());
  });
  EXPECT_EQ(written.wait_for(100ms), std::future_status::timeout);
  stop_.request_stop();
  ASSERT_EQ(written.wait_for(kLimit), std::future_status::ready);
  EXPECT_THROW(written.get(), WriteStopped);
}

TEST_F(StreamTest, AFifoWaitsForItsReader) {
  const std::string fifo = file("fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const Output output = parseOutput(fifo, "raw");
  EXPECT_TRUE(output.isStream);
  auto written = std::async(std::launch::async, [&] {
    const auto to = makeSink(output, {.stop = stop_.get_token()});
    to->write(image_.image());
  });
  EXPECT_EQ(written.wait_for(100ms), std::future_status::timeout);
  EXPECT_EQ(contentsOf(fifo), image_.bytes);
  written.get();

  auto unread = std::async(std::launch::async, [&] { PipeWriter::fifo(fifo, stop_.get_token()); });
  stop_.request_stop();
  ASSERT_EQ(unread.wait_for(kLimit), std::future_status::ready);
  EXPECT_THROW(unread.get(), WriteStopped);
}

TEST(Output, ANameOrAnOptionSaysTheFormat) {
  const std::tuple<const char*, const char*, OutputFormat> good[] = {
      {"a.SER", "", OutputFormat::kSer},    {"a.fts", "", OutputFormat::kFits},
      {"a.raw", "raw", OutputFormat::kRaw}, {"-", "png", OutputFormat::kPng},
      {"a.tmp", "ser", OutputFormat::kSer}, {"/dev/stdout", "fits", OutputFormat::kFits}};
  for (const auto& [name, option, format] : good) {
    EXPECT_EQ(parseOutput(name, option).format, format) << name;
  }
  const std::pair<const char*, const char*> bad[] = {
      {"-", ""}, {"a", ""}, {"a.png", "fits"}, {"a.ser", "jpg"}};
  for (const auto& [name, option] : bad) EXPECT_THROW(parseOutput(name, option), NameError) << name;
}

TEST_F(StreamTest, ARawFileKeepsWholeFramesOnAFullDisk) {
  FaultyFileSystem disk;
  disk.room = image_.bytes.size() * 5 / 2;
  RawWriter writer(file("a.raw"), false, disk);
  for (int i = 0; i < 2; ++i) writer.write(image_.image());
  EXPECT_THROW(writer.write(image_.image()), FileError);
  writer.finish();
  EXPECT_EQ(std::filesystem::file_size(file("a.raw")), 2 * image_.bytes.size());
  EXPECT_THROW(RawWriter(file("a.raw"), false), FileExists);
}

}  // namespace
}  // namespace orvik::imaging
