// SPDX-License-Identifier: MIT
// OpenCV doing the work of our kernels, or the most similar work, on one thread. It writes into a
// second buffer, while ours work in place.
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/frames.h"

namespace orvik::bench {
namespace {

const std::string kPeer = "opencv";

template <typename Sample>
constexpr int kDepth = sizeof(Sample) == 2 ? CV_16U : CV_8U;

/// The sky as an OpenCV image; a copy, because OpenCV images are not const.
template <typename Sample>
cv::Mat skyMat(Size size, int channels) {
  const auto& frame = skyFrame<Sample>(size.pixels() * static_cast<std::size_t>(channels));
  cv::Mat image(size.height, size.width, CV_MAKETYPE(kDepth<Sample>, channels));
  std::copy(frame.begin(), frame.end(), image.ptr<Sample>());
  return image;
}

/// A result that OpenCV allocates when it makes it first.
class MatOutput final : public WrittenWhole {
 public:
  cv::Mat mat;

 private:
  std::span<std::uint8_t> bytes() override { return {mat.data, mat.total() * mat.elemSize()}; }
};

/// Registers an OpenCV case that converts one image to another with `work(in, out)`.
template <typename Sample, typename Work>
void addPeer(const std::string& kernel, int channels, Work work) {
  const int bytesPerPixel = channels * static_cast<int>(sizeof(Sample));
  addCase(kernel, kPeer, bytesPerPixel, [channels, work](Size size) {
    return [work, in = skyMat<Sample>(size, channels), out = MatOutput()]() mutable {
      work(in, out.mat);
    };
  });
}

template <typename Sample>
void addFlip(const std::string& name, int code) {
  addPeer<Sample>(name, 1, [code](const cv::Mat& in, cv::Mat& out) { cv::flip(in, out, code); });
}

/// Computes the mean, while our 8-bit binning sums: OpenCV has no summing resize, and the work is
/// the same.
template <typename Sample>
void addBin(const std::string& name, int bin) {
  addPeer<Sample>(name + std::to_string(bin), 1, [bin](const cv::Mat& in, cv::Mat& out) {
    const cv::Mat whole = in(cv::Rect(0, 0, in.cols / bin * bin, in.rows / bin * bin));
    cv::resize(whole, out, cv::Size(in.cols / bin, in.rows / bin), 0, 0, cv::INTER_AREA);
  });
}

const bool registered = [] {
  cv::setNumThreads(1);
  addPeer<std::uint8_t>("demosaic", 1, [](const cv::Mat& in, cv::Mat& out) {
    cv::cvtColor(in, out, cv::COLOR_BayerBG2BGR);
  });
  addPeer<std::uint8_t>("luminance", 3, [](const cv::Mat& in, cv::Mat& out) {
    cv::cvtColor(in, out, cv::COLOR_BGR2GRAY);
  });
  addPeer<std::uint8_t>("first channel", 3,
                        [](const cv::Mat& in, cv::Mat& out) { cv::extractChannel(in, out, 0); });
  // In two steps, because OpenCV cannot subtract 16 bits from 8.
  addCase("dark", kPeer, 1, [](Size size) {
    return [in = skyMat<std::uint8_t>(size, 1), out = MatOutput(), wide = cv::Mat(),
            dark = cv::Mat(size.height, size.width, CV_16U, cv::Scalar(9))]() mutable {
      in.convertTo(wide, CV_16U, 1, 7);
      cv::subtract(wide, dark, out.mat, cv::noArray(), CV_8U);
    };
  });
  cv::Mat table(1, 256, CV_8U);
  for (int i = 0; i < 256; ++i) table.at<std::uint8_t>(i) = static_cast<std::uint8_t>(255 - i);
  addPeer<std::uint8_t>("table 8", 1,
                        [table](const cv::Mat& in, cv::Mat& out) { cv::LUT(in, table, out); });
  // Code 0 flips vertically, 1 horizontally, -1 both.
  addFlip<std::uint8_t>("flip 8 horizontal", 1);
  addFlip<std::uint8_t>("flip 8 vertical", 0);
  addFlip<std::uint8_t>("flip 8 both", -1);
  addFlip<std::uint16_t>("flip 16 horizontal", 1);
  addFlip<std::uint16_t>("flip 16 vertical", 0);
  addFlip<std::uint16_t>("flip 16 both", -1);
  for (const int bin : {2, 3, 4}) addBin<std::uint8_t>("mono bin 8 x", bin);
  for (const int bin : {2, 3, 4}) addBin<std::uint16_t>("mono bin 16 x", bin);
  return true;
}();

}  // namespace
}  // namespace orvik::bench
