// SPDX-License-Identifier: MIT
#include "settings/settings_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/own_folder.h"

namespace orvik::settings {
namespace {

namespace fs = std::filesystem;
using test::contentsOf;
using test::OwnFolder;
using test::writeFile;

Group gain(std::uint8_t value) { return {{"Gain", Type::kDword, {value, 0, 0, 0}}}; }

/// A file system in which the n-th change fails or terminates the process.
class TroubledFiles final : public FileSystem {
 public:
  enum class Then : std::uint8_t { kFail, kDie };
  TroubledFiles(int at, Then then) : left_(at), then_(then) {}

  bool makeFolder(const fs::path& folder) override {
    return !troubled() && FileSystem::makeFolder(folder);
  }
  int openLock(const fs::path& file) override {
    return troubled() ? -1 : FileSystem::openLock(file);
  }
  int openNew(const fs::path& file) override { return troubled() ? -1 : FileSystem::openNew(file); }
  bool write(int descriptor, std::string_view text) override {
    // Half of the text is written, as on a full disk.
    const bool half = FileSystem::write(descriptor, text.substr(0, text.size() / 2));
    return !troubled() && half && FileSystem::write(descriptor, text.substr(text.size() / 2));
  }
  bool sync(int descriptor) override {
    synced_ = !troubled() && FileSystem::sync(descriptor);
    return synced_;
  }
  bool syncFolder(const fs::path& folder) override {
    return !troubled() && FileSystem::syncFolder(folder);
  }
  bool rename(const fs::path& from, const fs::path& to) override {
    EXPECT_TRUE(synced_) << "a name for what the disk may not have yet";
    return !troubled() && FileSystem::rename(from, to);
  }
  [[nodiscard]] bool wasReached() const { return left_ <= 0; }

 private:
  bool troubled() {
    if (--left_ != 0) return false;
    if (then_ == Then::kDie) _exit(0);
    return true;
  }

  int left_;
  Then then_;
  bool synced_ = false;
};

/// Runs `body` in a separate process, which then exits without any cleanup.
template <class Body>
pid_t inAnotherProcess(Body body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  return child;
}

void awaitEnd(pid_t child) {
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
}

class SettingsStoreTest : public ::testing::Test {
 protected:
  OwnFolder own_;
  fs::path folder_ = own_.path() / "config" / "orvik";
  fs::path file_ = folder_ / "settings.json";
  SettingsStore store_{folder_};
};

TEST_F(SettingsStoreTest, KeepsAndReplacesValues) {
  EXPECT_FALSE(store_.load("T15C"));
  EXPECT_FALSE(fs::exists(own_.path() / "config")) << "reading makes nothing";
  EXPECT_TRUE(store_.save("T15C", gain(1)));
  EXPECT_TRUE(store_.save("T10C", gain(2)));
  EXPECT_TRUE(store_.save("T15C", gain(3)));
  EXPECT_EQ(store_.load("T15C"), gain(3));
  EXPECT_EQ(store_.load("T10C"), gain(2));
  EXPECT_FALSE(fs::exists(folder_ / "settings.json.new"));
}

TEST_F(SettingsStoreTest, ADamagedFileReadsAsNoneAndIsPutAsideByTheNextSave) {
  fs::create_directories(folder_);
  for (const char* number : {"1", "2"}) {
    const std::string damaged = std::string(R"({"T15C": {"Gain": )") + number;
    writeFile(file_, damaged);
    EXPECT_FALSE(store_.load("T15C"));
    EXPECT_EQ(contentsOf(file_), damaged) << "reading changes nothing";
    EXPECT_TRUE(store_.save("T15C", gain(7)));
    EXPECT_EQ(store_.load("T15C"), gain(7));
    EXPECT_EQ(
        contentsOf(folder_ / (std::string("settings.damaged-").append(number).append(".json"))),
        damaged);
  }
  writeFile(file_, std::string(std::size_t{2} << 20U, ' '));
  EXPECT_FALSE(store_.load("T15C"));
  EXPECT_TRUE(store_.save("T15C", gain(8)));
  EXPECT_TRUE(fs::exists(folder_ / "settings.damaged-3.json"));
}

TEST_F(SettingsStoreTest, OddThingsInTheFilesPlaceDoNotHoldItUp) {
  fs::create_directories(folder_);
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  EXPECT_FALSE(store_.load("T15C"));
  EXPECT_TRUE(store_.save("T15C", gain(4)));
  EXPECT_EQ(store_.load("T15C"), gain(4));

  const SettingsStore nowhere(file_ / "below" / "a file");
  EXPECT_FALSE(nowhere.load("T15C"));
  EXPECT_FALSE(nowhere.save("T15C", gain(5)));
  EXPECT_EQ(nowhere.obstacle(), ENOTDIR);
  EXPECT_EQ(SettingsStore(own_.path() / "not" / "yet").obstacle(), 0);
}

TEST_F(SettingsStoreTest, ALinkStaysAndItsTargetIsReplaced) {
  fs::create_directories(folder_);
  fs::create_directories(own_.path() / "dotfiles");
  const fs::path target = own_.path() / "dotfiles" / "cameras.json";
  fs::create_symlink("../../dotfiles/link.json", file_);
  fs::create_symlink(target, own_.path() / "dotfiles" / "link.json");
  EXPECT_TRUE(store_.save("T15C", gain(1))) << "also where it leads to nothing yet";
  writeFile(target, "damaged");
  EXPECT_TRUE(store_.save("T15C", gain(2)));
  EXPECT_EQ(contentsOf(target.parent_path() / "settings.damaged-1.json"), "damaged");
  EXPECT_TRUE(fs::is_symlink(file_));
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(target)));
  EXPECT_EQ(store_.load("T15C"), gain(2));

  fs::remove(file_);
  fs::create_symlink("settings.json", file_);
  EXPECT_FALSE(store_.save("T15C", gain(3))) << "round and round";
  EXPECT_EQ(store_.obstacle(), ELOOP);
}

// After a failure or a killed process at any step, the file is either the old one or the new one.
TEST_F(SettingsStoreTest, AFailureAtAnyStepLosesNothing) {
  using Then = TroubledFiles::Then;
  ASSERT_TRUE(store_.save("T10C", gain(1)));
  for (const Then then : {Then::kFail, Then::kDie}) {
    ASSERT_TRUE(store_.save("T15C", gain(1)));
    bool reached = true;
    for (int at = 1; reached; ++at) {
      ASSERT_LT(at, 100);
      if (then == Then::kFail) {
        TroubledFiles files(at, then);
        const bool saved = SettingsStore(folder_, files).save("T15C", gain(2));
        reached = files.wasReached();
        EXPECT_EQ(store_.load("T15C"), gain(saved ? 2 : 1)) << "at " << at;
      } else {
        awaitEnd(inAnotherProcess([&] {
          TroubledFiles files(at, then);
          SettingsStore(folder_, files).save("T15C", gain(2));
          writeFile(own_.path() / "ended", "");
        }));
        reached = !fs::remove(own_.path() / "ended");
        EXPECT_THAT(store_.load("T15C"), ::testing::AnyOf(gain(1), gain(2))) << "at " << at;
      }
      EXPECT_EQ(store_.load("T10C"), gain(1));
      ASSERT_TRUE(store_.save("T15C", gain(1))) << "nothing stays in the way, at " << at;
    }
  }
}

TEST_F(SettingsStoreTest, TwoProcessesLoseNothingOfEachOther) {
  constexpr int kRounds = 25;
  std::vector<pid_t> children;
  for (const char* model : {"T15C", "T10C"}) {
    children.push_back(inAnotherProcess([&] {
      for (int n = 1; n <= kRounds; ++n) {
        const Group value = {{std::string("V").append(std::to_string(n)), Type::kDword, {1}}};
        store_.save(model, value, std::chrono::seconds(60));
      }
    }));
  }
  for (const pid_t child : children) awaitEnd(child);
  EXPECT_EQ(store_.load("T15C").value_or(Group{}).size(), std::size_t{kRounds});
  EXPECT_EQ(store_.load("T10C").value_or(Group{}).size(), std::size_t{kRounds});
}

TEST_F(SettingsStoreTest, WaitsOnlySoLongForALock) {
  ASSERT_TRUE(store_.save("T15C", gain(1)));
  FileSystem& files = FileSystem::system();
  const int held = files.openLock(folder_ / "settings.lock");
  ASSERT_TRUE(files.tryLock(held));
  EXPECT_FALSE(store_.save("T15C", gain(2), std::chrono::milliseconds(20)));
  EXPECT_EQ(store_.load("T15C"), gain(1)) << "reading needs no lock";
  files.close(held);
  EXPECT_TRUE(store_.save("T15C", gain(2)));
}

TEST(UserStore, LiesWhereTheUserKeepsConfigurations) {
  const OwnFolder own;
  // The rule for this variable requires that a relative path is ignored.
  setenv("XDG_CONFIG_HOME", "relative", 1);
  setenv("HOME", own.path().c_str(), 1);
  ASSERT_TRUE(SettingsStore::ofUser().value().save("T15C", gain(1)));
  EXPECT_TRUE(fs::exists(own.path() / ".config" / "orvik" / "settings.json"));
  unsetenv("HOME");
  const passwd* user = getpwuid(geteuid());
  if (user == nullptr) GTEST_SKIP() << "nobody has listed the user";
  EXPECT_EQ(SettingsStore::ofUser().value().file(),
            fs::path(user->pw_dir) / ".config" / "orvik" / "settings.json");
}

}  // namespace
}  // namespace orvik::settings
