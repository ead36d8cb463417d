// SPDX-License-Identifier: MIT
// Writes an image of a virtual camera again and again, and tells how long that took. Before that,
// it writes the same files once and removes them: a virtual machine may have returned memory that
// was free to its host, and getting it back takes longer than writing files into it.
//
//   orvik_write_files MODEL TYPE COUNT OUTPUT [sync] [libpng]
//
// TYPE is raw8 or raw16; OUTPUT is a file name as that of `orvikctl video`, whose extension chooses
// the format. With "sync" the time ends when the disk has the bytes; with "libpng" that library
// writes the files, with zlib at level 1. Prints a line of JSON: bytes
// of the images and of the files, seconds, processor time, and the longest write of one image.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/libpng_writer.h"
#include "imaging/frame_sink.h"
#include "imaging/image.h"
#include "orvik/orvik.hpp"
#include "orvik/orvik_sim.h"

namespace orvik::bench {
namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

double processorSeconds() {
  rusage used = {};
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

/// A whole frame with the noise of a sensor, which decides how well it can be compressed.
void takeFrame(const std::string& model, IMG_TYPE type, imaging::ImageInfo& info,
               std::vector<std::uint8_t>& pixels) {
  if (OrvikSimPlug(model.c_str(), "pace=free,scene=stars") < 0) {
    throw std::runtime_error("there is no model " + model);
  }
  Camera camera = Camera::open();
  ImageFormat format = camera.format();
  format.type = type;
  camera.setFormat(format);
  camera.set(control::kExposure, std::chrono::seconds(2));  // a sky above its noise
  Snapshot snapshot(camera);
  while (!snapshot.isReady()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  Frame frame;
  snapshot.fetch(frame);
  imaging::describe(info, camera.info(), frame.info());
  pixels.assign(frame.bytes().begin(), frame.bytes().end());
  camera.close();
  OrvikSimUnplugAll();  // it must not work beside the writing
}

/// @return bytes of the files
double sizeOf(const std::vector<std::filesystem::path>& files, bool synced) {
  double size = 0;
  for (const std::filesystem::path& file : files) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status = {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0 ||
        (synced && ::fdatasync(descriptor) != 0)) {
      throw std::runtime_error("cannot read " + file.string());
    }
    ::close(descriptor);
    size += static_cast<double>(status.st_size);
  }
  return size;
}

struct Options {
  bool isSynced = false;
  bool byLibpng = false;
};

struct Result {
  std::vector<std::filesystem::path> files;
  double size = 0;     ///< of the files, bytes
  double seconds = 0;  ///< until all are written
  double processorSeconds = 0;
  double longest = 0;  ///< seconds for one image
};

Result write(const imaging::Image& image, int count, const std::string& output,
             const Options& options) {
  const double before = processorSeconds();
  const auto start = Clock::now();
  double longest = 0;
  constexpr int kZlibLevel = 1;
  std::unique_ptr<imaging::FrameSink> sink;
  if (options.byLibpng) {
    sink = std::make_unique<LibpngWriter>(imaging::NamePattern(output), kZlibLevel);
  } else {
    sink = imaging::makeSink(output, count, true);
  }
  for (int i = 0; i < count; ++i) {
    const auto begun = Clock::now();
    sink->write(image);
    longest = std::max(longest, secondsSince(begun));
  }
  sink->finish();
  Result result;
  result.files = sink->files();
  result.size = sizeOf(result.files, options.isSynced);
  result.seconds = secondsSince(start);
  result.processorSeconds = processorSeconds() - before;
  result.longest = longest;
  return result;
}

void run(const std::string& model, IMG_TYPE type, int count, const std::string& output,
         const Options& options) {
  imaging::Image image;
  std::vector<std::uint8_t> pixels;
  takeFrame(model, type, image.info, pixels);
  image.pixels = pixels;
  const Options first = {.isSynced = false, .byLibpng = options.byLibpng};
  for (const auto& file : write(image, count, output, first).files) std::filesystem::remove(file);
  const Result result = write(image, count, output, options);
  std::printf(
      "{\"imageBytes\": %.0f, \"fileBytes\": %.0f, \"seconds\": %.6f, \"processorSeconds\": %.6f, "
      "\"longestWrite\": %.6f}\n",
      static_cast<double>(pixels.size()) * count, result.size, result.seconds,
      result.processorSeconds, result.longest);
}

}  // namespace
}  // namespace orvik::bench

int main(int argc, char** argv) {
  if (argc < 5) {
    std::fputs("usage: orvik_write_files MODEL raw8|raw16 COUNT OUTPUT [sync] [libpng]\n", stderr);
    return 2;
  }
  try {
    orvik::bench::Options options;
    for (int i = 5; i < argc; ++i) {
      if (std::string_view(argv[i]) == "sync") options.isSynced = true;
      if (std::string_view(argv[i]) == "libpng") options.byLibpng = true;
    }
    const bool isWide = std::string_view(argv[2]) == "raw16";
    orvik::bench::run(argv[1], isWide ? Orvik_IMG_RAW16 : Orvik_IMG_RAW8, std::atoi(argv[3]),
                      argv[4], options);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "orvik_write_files: %s\n", error.what());
    return 1;
  }
  return 0;
}
