// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>

#include "imaging/errors.h"
#include "integrations/server/capture/capture_folder.h"
#include "integrations/server/capture/capture_request.h"
#include "integrations/server/capture/file_names.h"
#include "tests/support/own_folder.h"

namespace orvik::server {
namespace {

namespace fs = std::filesystem;

class FolderTest : public ::testing::Test {
 protected:
  void write(const std::string& name, const std::string& text = "x") const {
    test::writeFile(place_.path() / name, text);
  }
  [[nodiscard]] std::vector<std::string> listed() const {
    std::vector<std::string> names;
    for (const CapturedFile& file : folder_.list().files) names.push_back(file.name);
    return names;
  }

  test::OwnFolder place_;
  CaptureFolder folder_{place_.path()};
};

TEST_F(FolderTest, ShowsAndDeletesCapturedFilesOnly) {
  write("moon_0001.fits", "four");
  write("notes.txt");
  write(".hidden.fits");
  write("moon_0002.fits.part-7");
  write("bad\xff.png");
  fs::create_directory(place_.path() / "folder.ser");
  fs::create_symlink("/etc/passwd", place_.path() / "link.png");
  const auto listing = folder_.list();
  ASSERT_EQ(listing.files.size(), 1U);
  EXPECT_EQ(listing.files[0].name, "moon_0001.fits");
  EXPECT_EQ(listing.files[0].bytes, 4U);
  EXPECT_GT(listing.free, 0U);
  EXPECT_LT(std::chrono::system_clock::now() - listing.files[0].time, std::chrono::hours(1));

  int changes = 0;
  const auto registration = folder_.onChange([&] { ++changes; });
  const std::string above = "../" + place_.path().filename().string() + "/moon_0001.fits";
  for (const std::string& name :
       {std::string("notes.txt"), std::string(".hidden.fits"), std::string("folder.ser"),
        std::string("link.png"), std::string(), std::string("."), std::string(".fits"), above,
        place_.path().string() + "/moon_0001.fits", std::string("moon_0001.fits\0.png", 19)}) {
    EXPECT_FALSE(folder_.find(name)) << name;
    EXPECT_TRUE(folder_.remove(name)) << name;
  }
  EXPECT_EQ(listed(), std::vector<std::string>{"moon_0001.fits"});
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(folder_.find("moon_0001.fits"), place_.path() / "moon_0001.fits");
  EXPECT_FALSE(folder_.remove("moon_0001.fits"));
  EXPECT_TRUE(listed().empty());
  EXPECT_EQ(changes, 1);
}

TEST_F(FolderTest, ListsTheNewest) {
  const auto now = fs::file_time_type::clock::now();
  for (int i = 0; i < 205; ++i) {
    const std::string name = "a_" + std::to_string(i) + ".png";
    write(name);
    fs::last_write_time(place_.path() / name, now - std::chrono::seconds(i * 37 % 205));
  }
  const auto names = listed();
  ASSERT_EQ(names.size(), 200U);
  EXPECT_EQ(names[0], "a_0.png");
  EXPECT_EQ(names[1], "a_133.png");  // 133 * 37 is one more than a multiple of 205
}

TEST_F(FolderTest, NumbersContinueAndNobodyGetsANameTwice) {
  write("moon_0007.fits");
  write("moon_x.fits");
  write("moon_0099.png");
  write("moon_99999999999999999999.fits");
  std::int64_t last = 0;
  std::int64_t lastOfOther = 0;
  {
    const auto one = folder_.newImage("moon", ".fits", last);
    const auto other = folder_.newImage("moon", ".fits", lastOfOther);
    EXPECT_EQ(one.name(), "moon_0008.fits");
    EXPECT_EQ(other.name(), "moon_0009.fits");
    write(one.name());
    EXPECT_TRUE(folder_.remove(one.name())) << "it is being written";
  }
  EXPECT_EQ(folder_.newImage("moon", ".fits", last).name(), "moon_0009.fits");
  last = 9999;
  EXPECT_EQ(folder_.newImage("moon", ".fits", last).name(), "moon_10000.fits");

  const auto first = folder_.newVideo("moon");
  EXPECT_EQ(first.name(), "moon.ser");
  EXPECT_EQ(folder_.newVideo("moon").name(), "moon-2.ser");
  write("moon-5.ser");
  fs::create_symlink("nowhere", place_.path() / "moon-6.ser");
  EXPECT_EQ(folder_.newVideo("moon").name(), "moon-7.ser");
}

TEST_F(FolderTest, TellsWhyNothingCanBeWritten) {
  write("file");
  CaptureFolder below(place_.path() / "file" / "folder");
  EXPECT_THROW(below.make(), imaging::FileError);
  EXPECT_TRUE(below.list().files.empty());

  CaptureFolder missing(place_.path() / "a" / "b");
  EXPECT_GT(missing.list().free, 0U) << "of the disk that it would be on";
  missing.make();
  missing.requireWritable();
  EXPECT_TRUE(fs::is_directory(place_.path() / "a" / "b"));
  if (geteuid() == 0) return;  // who may write everywhere
  fs::permissions(place_.path() / "a" / "b", fs::perms::owner_read);
  EXPECT_THROW(missing.requireWritable(), imaging::FileError);
}

TEST(CaptureFolder, IsTheServicesOrInTheHomeFolder) {
  const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
  setenv("HOME", "/home/ada", 1);
  EXPECT_EQ(CaptureFolder::standard(), "/home/ada/Pictures/Orvik");
  setenv("STATE_DIRECTORY", "/var/lib/a/captures:/var/lib/a/settings", 1);
  EXPECT_EQ(CaptureFolder::standard(), "/var/lib/a/captures");
  unsetenv("STATE_DIRECTORY");
  setenv("HOME", home.c_str(), 1);
}

TEST(FileNames, BeginWithWhatIsSafeEverywhere) {
  const std::pair<const char*, const char*> cases[] = {{"moon", "moon"},
                                                       {" moon 1 ", "moon 1"},
                                                       {"moon.fits", "moon"},
                                                       {"a.b.ser", "a.b"},
                                                       {"", "capture"},
                                                       {" ", "capture"},
                                                       {"J\u00fcp", "J\u00fcp"},
                                                       {"50%d", "50%d"},
                                                       {".moon", ""},
                                                       {"a/b", ""},
                                                       {"..", ""},
                                                       {"a\\b", ""},
                                                       {"a\nb", ""},
                                                       {"a:b", ""},
                                                       {"\xc3", ""},
                                                       {"\xed\xa0\x80", ""},
                                                       {"\xf4\x90\x80\x80", ""},
                                                       {"\xc0\xae", ""}};
  for (const auto& [text, beginning] : cases) EXPECT_EQ(beginningOf(text), beginning) << text;
  EXPECT_EQ(beginningOf(std::string(121, 'a')), "");
}

TEST(CaptureRequest, RefusesWhatCannotBe) {
  using Change = void (*)(CaptureRequest&);
  const Change bad[] = {
      [](CaptureRequest& one) { one.format = CaptureFormat::kSer; },
      [](CaptureRequest& one) { one.kind = CaptureKind::kVideo; },
      [](CaptureRequest& one) { one.count = 0; },
      [](CaptureRequest& one) { one.count = std::int64_t{1} << 31; },
      [](CaptureRequest& one) { one.length = CaptureRequest::Seconds(1); },
      [](CaptureRequest& one) { one.interval = CaptureRequest::Seconds(-1); },
      [](CaptureRequest& one) { one.interval = CaptureRequest::Seconds(1e300); },
      [](CaptureRequest& one) { one.exposure = CaptureRequest::Seconds(std::nan("")); },
      [](CaptureRequest& one) { one.exposure = CaptureRequest::Seconds(0); },
      [](CaptureRequest& one) { one.name = "../moon"; },
      [](CaptureRequest& one) { one.object = std::string(200, 'M'); },
  };
  EXPECT_FALSE(faultOf({}));
  for (const Change change : bad) {
    CaptureRequest request;
    change(request);
    const Outcome fault = faultOf(request);
    ASSERT_TRUE(fault) << &change - bad;
    EXPECT_EQ(fault->kind, Failure::Kind::kBadValue);
  }
  EXPECT_EQ(captureFormatNamed("png"), CaptureFormat::kPng);
  EXPECT_EQ(captureFormatNamed("PNG"), std::nullopt);
  EXPECT_EQ(nameOf(FrameKind::kFlat), "flat");
}

}  // namespace
}  // namespace orvik::server
