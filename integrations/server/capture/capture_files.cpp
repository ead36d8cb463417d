// SPDX-License-Identifier: MIT
#include "integrations/server/capture/capture_files.h"

#include <utility>

#include "imaging/errors.h"
#include "imaging/fits_encoder.h"
#include "imaging/image_encoder.h"
#include "imaging/png_encoder.h"
#include "imaging/save_file.h"
#include "imaging/ser_writer.h"
#include "integrations/server/capture/file_names.h"

namespace orvik::server {
namespace {

/// A file for each image, which appears under its name when it is complete.
class ImageFiles final : public CaptureFiles {
 public:
  ImageFiles(std::shared_ptr<CaptureFolder> folder, std::string beginning, std::string ending,
             imaging::ImageEncoder encode)
      : folder_(std::move(folder)),
        beginning_(std::move(beginning)),
        ending_(std::move(ending)),
        encode_(encode) {}

  void write(const imaging::Image& image) override {
    while (!save(image)) {
    }
    folder_->changed();
  }
  void finish() override {}
  [[nodiscard]] const std::string& last() const override { return last_; }
  [[nodiscard]] std::uint64_t bytes() const override { return bytes_; }

 private:
  /// False if another program has taken the name meanwhile.
  bool save(const imaging::Image& image) {
    const auto file = folder_->newImage(beginning_, ending_, number_);
    try {
      bytes_ += imaging::saveFile(
          file.path(), [&](imaging::ByteSink& sink) { encode_(image, sink); }, false,
          folder_->fileSystem());
    } catch (const imaging::FileExists&) {
      return false;
    } catch (const imaging::FileError&) {
      imaging::requireFolder(file.path());
      throw;
    }
    last_ = file.name();
    return true;
  }

  std::shared_ptr<CaptureFolder> folder_;
  std::string beginning_;
  std::string ending_;
  imaging::ImageEncoder encode_;
  std::int64_t number_ = 0;
  std::string last_;
  std::uint64_t bytes_ = 0;
};

class VideoFile final : public CaptureFiles {
 public:
  VideoFile(std::shared_ptr<CaptureFolder> folder, const std::string& beginning)
      : folder_(std::move(folder)),
        file_(folder_->newVideo(beginning)),
        writer_(file_.path(), false, folder_->fileSystem()) {}

  void write(const imaging::Image& image) override {
    writer_.write(image);
    bytes_ += image.pixels.size();
    if (std::exchange(isEmpty_, false)) folder_->changed();
  }
  void finish() override {
    writer_.finish();
    folder_->changed();
  }
  [[nodiscard]] const std::string& last() const override { return isEmpty_ ? none_ : file_.name(); }
  [[nodiscard]] std::uint64_t bytes() const override { return bytes_; }

 private:
  std::shared_ptr<CaptureFolder> folder_;
  CaptureFolder::NewFile file_;
  imaging::SerWriter writer_;
  std::string none_;
  bool isEmpty_ = true;
  std::uint64_t bytes_ = 0;
};

}  // namespace

std::unique_ptr<CaptureFiles> makeFiles(const CaptureRequest& request,
                                        std::shared_ptr<CaptureFolder> folder) {
  folder->make();
  const std::string beginning = beginningOf(request.name);
  if (request.format == CaptureFormat::kSer) {
    return std::make_unique<VideoFile>(std::move(folder), beginning);
  }
  folder->requireWritable();
  const bool isFits = request.format == CaptureFormat::kFits;
  return std::make_unique<ImageFiles>(std::move(folder), beginning, isFits ? ".fits" : ".png",
                                      isFits ? imaging::encodeFits : imaging::encodePng);
}

}  // namespace orvik::server
