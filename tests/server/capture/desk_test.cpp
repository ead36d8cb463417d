// SPDX-License-Identifier: MIT
// Captures of virtual cameras into files.
#include <fitsio.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <future>
#include <thread>

#include "integrations/server/camera/fleet.h"
#include "integrations/server/capture/capture_desk.h"
#include "orvik/orvik_sim.h"
#include "tests/imaging/test_image.h"
#include "tests/support/eventually.h"
#include "tests/support/own_folder.h"

namespace orvik::server {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using imaging::FaultyFileSystem;
using orvik::test::eventually;
using Seconds = CaptureRequest::Seconds;
using ::testing::HasSubstr;

std::string keyOf(const fs::path& file, const char* name) {
  fitsfile* fits = nullptr;
  int status = 0;
  std::array<char, FLEN_VALUE> value{};
  fits_open_file(&fits, file.c_str(), READONLY, &status);
  fits_read_key(fits, TSTRING, name, value.data(), nullptr, &status);
  int ignored = 0;
  if (fits != nullptr) fits_close_file(fits, &ignored);
  return status == 0 ? value.data() : "-";
}

/// The number of frames that a SER file says it has; -1 unless it has room for them and, if it is
/// complete, for their times.
std::int64_t framesIn(const fs::path& file) {
  const std::string bytes = test::contentsOf(file);
  constexpr std::size_t kHeader = 178;
  if (bytes.size() < kHeader) return -1;
  const auto number = [&](std::size_t at) {
    std::int32_t value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return static_cast<std::size_t>(value);
  };
  const std::size_t frames = number(38);
  const std::size_t pixels = number(26) * number(30) * ((number(34) + 7) / 8);
  const std::size_t expected = kHeader + frames * (pixels + 8);
  return bytes.size() == expected ? static_cast<std::int64_t>(frames) : -1;
}

/// The machine's file system, whose writes wait while the gate is closed.
class GatedFileSystem : public imaging::FileSystem {
 public:
  void open(bool isOpen) {
    const std::scoped_lock lock(mutex_);
    isOpen_ = isOpen;
    changed_.notify_all();
  }
  int write(int descriptor, std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return isOpen_; });
    return FileSystem::write(descriptor, offset, bytes);
  }
  using FileSystem::open;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool isOpen_ = true;
};

class CountingListener : public FrameListener {
 public:
  void frame(const SharedFrame& /*frame*/) override { ++count; }
  std::atomic<int> count = 0;
};

class DeskTest : public ::testing::Test {
 protected:
  DeskTest() { make(imaging::FileSystem::system()); }
  ~DeskTest() override {
    desk_.reset();
    fleet_.reset();
    OrvikSimUnplugAll();
  }

  void make(imaging::FileSystem& files, const fs::path& below = {}) {
    desk_.reset();
    folder_ = std::make_shared<CaptureFolder>(place_.path() / below, files);
    desk_ = std::make_unique<CaptureDesk>(camera_, folder_);
  }
  Outcome start(const CaptureRequest& request) const {
    std::promise<Outcome> told;
    desk_->start(request, "somebody", [&](const Outcome& outcome) { told.set_value(outcome); });
    auto outcome = told.get_future();
    if (outcome.wait_for(60s) == std::future_status::ready) return outcome.get();
    std::abort();
  }
  /// Waits for the end. How it was, if it has begun at all.
  CaptureState::Last ended() const {
    EXPECT_TRUE(eventually([this] { return !desk_->state().running; }));
    return desk_->state().last.value_or(CaptureState::Last{});
  }
  [[nodiscard]] bool done(std::int64_t count) const {
    return eventually([=, this] {
      const auto running = desk_->state().running;
      return running && running->done >= count;
    });
  }
  [[nodiscard]] fs::path file(const std::string& name) const { return place_.path() / name; }
  void setExposure(int microseconds) const {
    std::promise<Outcome> told;
    camera_->setControl(Orvik_CTL_EXPOSURE, {microseconds, false},
                        [&](const Outcome& outcome) { told.set_value(outcome); });
    EXPECT_FALSE(told.get_future().get());
  }
  /// Opens the camera as the page does.
  void open() const {
    std::promise<Outcome> told;
    camera_->open(User::kPage, [&](const Outcome& outcome) { told.set_value(outcome); });
    ASSERT_FALSE(told.get_future().get());
  }

  test::OwnFolder place_;
  int id_ = OrvikSimPlug("T15C", "serial=0D15EA5E");
  std::unique_ptr<Fleet> fleet_ = std::make_unique<Fleet>();
  std::shared_ptr<ServedCamera> camera_ = fleet_->camera(0);
  std::shared_ptr<CaptureFolder> folder_;
  std::unique_ptr<CaptureDesk> desk_;
};

TEST_F(DeskTest, ImagesAreNumberedAndSayWhatTheyAre) {
  CaptureRequest request;
  request.count = 3;
  request.exposure = 20ms;
  request.name = "moon";
  request.object = "Moon";
  request.frameKind = FrameKind::kFlat;
  int changes = 0;
  const auto listener = folder_->onChange([&] { ++changes; });
  EXPECT_FALSE(start(request));
  const auto last = ended();
  EXPECT_EQ(last.done, 3);
  EXPECT_EQ(last.message, std::nullopt);
  EXPECT_EQ(changes, 3);
  const std::pair<const char*, const char*> keys[] = {
      {"OBJECT", "Moon"},       {"IMAGETYP", "Flat Frame"},
      {"EXPTIME", "0.02"},      {"SWCREATE", "orvik-server 0.1.0"},
      {"INSTRUME", "Vek T15C"}, {"BAYERPAT", "RGGB"},
      {"NAXIS1", "1304"},       {"ROWORDER", "TOP-DOWN"}};
  for (const auto& [name, value] : keys) {
    EXPECT_EQ(keyOf(file("moon_0003.fits"), name), value) << name;
  }
  EXPECT_TRUE(eventually([this] { return camera_->status()->link == Link::kClosed; }))
      << "nobody uses it any more";

  request.format = CaptureFormat::kPng;
  EXPECT_FALSE(start(request));
  ended();
  request.format = CaptureFormat::kFits;
  request.count = 1;
  EXPECT_FALSE(start(request));
  ended();
  const auto listing = folder_->list();
  ASSERT_EQ(listing.files.size(), 7U);
  EXPECT_EQ(listing.files[0].name, "moon_0004.fits");
  EXPECT_EQ(listing.files[1].name, "moon_0003.png");
}

TEST_F(DeskTest, ASequenceTellsItsProgressAndEndsWhenItIsStopped) {
  open();
  setExposure(40'000);
  CaptureRequest request;
  request.interval = 60ms;
  std::atomic<int> changes = 0;
  const auto registration = desk_->onChange([&] { ++changes; });
  EXPECT_TRUE(desk_->stop("somebody")) << "nothing runs";
  EXPECT_FALSE(start(request));
  EXPECT_TRUE(done(4));
  const auto running = desk_->state().running;
  ASSERT_TRUE(running);
  EXPECT_EQ(running->remaining, std::nullopt) << "without end";
  EXPECT_LE(running->exposureLeft, Seconds(40ms));
  EXPECT_EQ(running->bytes,
            fs::file_size(file(running->file)) * static_cast<std::uint64_t>(running->done));
  EXPECT_EQ(running->who, "somebody");
  EXPECT_EQ(camera_->status()->capture, "images capture by somebody");
  EXPECT_FALSE(camera_->tryCapture({.what = "exposure", .run = {}, .done = {}}));
  EXPECT_EQ(start(request)->kind, Failure::Kind::kBusy);

  EXPECT_TRUE(eventually([&] { return changes > 2; }));
  EXPECT_FALSE(desk_->stop("another"));
  const auto last = ended();
  EXPECT_EQ(last.message, std::nullopt);
  EXPECT_EQ(static_cast<std::size_t>(last.done), folder_->list().files.size());

  request.count = 100;
  request.exposure = 30s;
  EXPECT_FALSE(start(request));
  EXPECT_TRUE(eventually([this] { return desk_->state().running->exposureLeft > Seconds(0); }));
  EXPECT_NEAR(desk_->state().running->remaining->count(), 3000, 60);
  EXPECT_FALSE(desk_->stop("somebody"));
  EXPECT_EQ(ended().done, 0) << "an exposure is not awaited";
  request.exposure = 3000s;
  const auto refused = start(request);
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->kind, Failure::Kind::kBadValue);
  EXPECT_THAT(refused->message, HasSubstr("1000 s"));
}

TEST_F(DeskTest, AVideoHoldsAllFramesAndIsShared) {
  open();
  setExposure(5000);
  const auto viewer = std::make_shared<CountingListener>();
  camera_->listen(viewer);
  CaptureRequest request;
  request.kind = CaptureKind::kVideo;
  request.format = CaptureFormat::kSer;
  request.count = 30;
  EXPECT_FALSE(start(request));
  EXPECT_EQ(ended().message, std::nullopt);
  EXPECT_EQ(framesIn(file("capture.ser")), 30);
  EXPECT_EQ(viewer->count, 30);

  request.count.reset();
  request.length = 500ms;
  EXPECT_FALSE(start(request));
  const auto last = ended();
  EXPECT_GT(last.done, 0);
  EXPECT_EQ(framesIn(file("capture-2.ser")), last.done);
}

TEST_F(DeskTest, ASlowDiskHoldsUpNeitherCameraNorStop) {
  GatedFileSystem files;
  make(files);
  open();
  setExposure(5000);
  const auto viewer = std::make_shared<CountingListener>();
  camera_->listen(viewer);
  CaptureRequest request;
  request.kind = CaptureKind::kVideo;
  request.format = CaptureFormat::kSer;
  EXPECT_FALSE(start(request));
  EXPECT_TRUE(done(1));
  files.open(false);
  const int before = viewer->count;
  EXPECT_TRUE(eventually([&] { return viewer->count > before + 50; }));
  EXPECT_TRUE(eventually([this] { return desk_->state().running->lost > 0; }))
      << "no more frames wait than there is memory for";
  EXPECT_FALSE(desk_->stop("somebody"));
  EXPECT_TRUE(eventually([this] { return camera_->status()->activity == Activity::kNone; }))
      << "the camera is free";
  EXPECT_TRUE(desk_->state().running) << "the files are not complete";
  EXPECT_EQ(start(request)->kind, Failure::Kind::kBusy);
  files.open(true);
  EXPECT_EQ(ended().done, viewer->count);
  EXPECT_EQ(framesIn(file("capture.ser")), viewer->count);
}

TEST_F(DeskTest, AFullDiskEndsACaptureWhoseFilesStayReadable) {
  FaultyFileSystem files;
  files.room = 10'000'000;  // in a file
  files.error = 0;
  make(files);
  CaptureRequest request;
  request.kind = CaptureKind::kVideo;
  request.format = CaptureFormat::kSer;
  EXPECT_FALSE(start(request));
  auto last = ended();
  EXPECT_THAT(last.message.value_or(""), HasSubstr("No space left"));
  EXPECT_EQ(last.done, 7);
  EXPECT_EQ(framesIn(file("capture.ser")), 7);

  files.room = 1'000'000;
  EXPECT_FALSE(start({.count = 5}));
  last = ended();
  EXPECT_THAT(last.message.value_or(""), HasSubstr("No space left"));
  EXPECT_EQ(last.done, 0);
  EXPECT_EQ(folder_->list().files.size(), 1U) << "no half image";
}

TEST_F(DeskTest, AFolderThatCannotBeUsedDoesNotConcernTheCamera) {
  test::writeFile(file("plain"), "");
  make(imaging::FileSystem::system(), "plain/folder");
  const Outcome outcome = start({});
  ASSERT_TRUE(outcome);
  EXPECT_EQ(outcome->kind, Failure::Kind::kFile);
  EXPECT_THAT(outcome->message, HasSubstr("plain/folder"));
  EXPECT_EQ(camera_->status()->link, Link::kClosed);

  make(imaging::FileSystem::system(), "gone");
  EXPECT_FALSE(start({.exposure = 10ms}));
  EXPECT_TRUE(done(1));
  fs::rename(file("gone"), file("elsewhere"));
  EXPECT_THAT(ended().message.value_or(""), HasSubstr("there is no folder"));
}

TEST_F(DeskTest, AnUnpluggedCameraEndsACaptureAndCanComeBack) {
  for (const bool isVideo : {true, false}) {
    CaptureRequest request;
    if (isVideo) request.kind = CaptureKind::kVideo;
    if (isVideo) request.format = CaptureFormat::kSer;
    request.exposure = 10ms;
    EXPECT_FALSE(start(request));
    EXPECT_TRUE(done(3));
    OrvikSimUnplug(id_);
    const auto last = ended();
    EXPECT_EQ(last.message, "The camera was unplugged.");
    EXPECT_GE(last.done, 3);
    EXPECT_EQ(isVideo ? framesIn(file("capture.ser")) : last.done, last.done);
    EXPECT_TRUE(eventually([this] { return camera_->status()->link == Link::kAbsent; }));
    EXPECT_EQ(start(request)->kind, Failure::Kind::kNotOpen);
    EXPECT_FALSE(fs::exists(file("capture-2.ser"))) << "an empty file";
    id_ = OrvikSimPlug("T15C", "serial=0D15EA5E");
    EXPECT_TRUE(eventually([this] { return camera_->status()->link == Link::kClosed; }));
  }
}

TEST_F(DeskTest, AnImageThatIsDamagedIsTakenAgain) {
  const auto sequenceWith = [this](const std::string& fault) {
    OrvikSimUnplug(id_);
    EXPECT_TRUE(eventually([this] { return camera_->status()->link == Link::kAbsent; }));
    id_ = OrvikSimPlug("T15C", ("serial=0D15EA5E,fault=" + fault).c_str());
    EXPECT_TRUE(eventually([this] { return camera_->status()->link == Link::kClosed; }));
    EXPECT_FALSE(start({.count = 1, .exposure = 1100ms}));
    return ended();
  };
  auto last = sequenceWith("bulk short from 1 to 3");
  EXPECT_EQ(last.done, 1);
  EXPECT_EQ(last.message, std::nullopt);
  const auto status = camera_->status();
  EXPECT_TRUE(std::ranges::any_of(status->events, [](const Event& event) {
    return event.text.starts_with("An image is taken again");
  }));
  last = sequenceWith("bulk short");
  EXPECT_EQ(last.done, 0);
  EXPECT_THAT(last.message.value_or(""), HasSubstr("the exposure failed"));
}

TEST_F(DeskTest, OfSeveralAtOnceExactlyOneBegins) {
  CaptureDesk other(camera_, folder_);
  std::atomic<int> begun = 0;
  std::atomic<int> told = 0;
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&, i] {
        (i % 2 == 0 ? *desk_ : other).start({.exposure = 20s}, "x", [&](const Outcome& outcome) {
          begun += outcome ? 0 : 1;
          EXPECT_TRUE(!outcome || outcome->kind == Failure::Kind::kBusy) << outcome->message;
          ++told;
        });
      });
    }
  }
  EXPECT_TRUE(eventually([&] { return told == 8; }));
  EXPECT_EQ(begun, 1);
}

TEST_F(DeskTest, TheEndOfTheServerCompletesTheFiles) {
  CaptureRequest request;
  request.kind = CaptureKind::kVideo;
  request.format = CaptureFormat::kSer;
  for (const bool fleetFirst : {true, false}) {
    const auto name = folder_->newVideo("capture").name();
    EXPECT_FALSE(start(request));
    EXPECT_TRUE(done(1));
    if (!fleetFirst) desk_.reset();
    fleet_.reset();
    desk_.reset();
    EXPECT_GE(framesIn(file(name)), 1);
    fleet_ = std::make_unique<Fleet>();
    camera_ = fleet_->camera(0);
    make(imaging::FileSystem::system());
  }
}

}  // namespace
}  // namespace orvik::server
