// SPDX-License-Identifier: MIT
// The main function of every test program. Each test gets an empty settings folder of its own, so
// that no test reads or writes the user's settings or those of another test; and none gets the
// cameras that the user's environment requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;

class OwnSettingsFolder final : public ::testing::EmptyTestEventListener {
 public:
  void OnTestStart(const ::testing::TestInfo&) override {
    std::string name = (fs::temp_directory_path() / "orvik-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    folder_ = name;
    setenv("XDG_CONFIG_HOME", name.c_str(), 1);
  }

  void OnTestEnd(const ::testing::TestInfo&) override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

 private:
  fs::path folder_;
};

/// Puts the files of tests into memory if there is room for them, because writing and syncing is
/// immediate there. A folder that the caller has chosen is kept.
void keepFilesInMemory() {
  const char* const memory = "/dev/shm";
  std::error_code failed;
  const fs::space_info space = fs::space(memory, failed);
  constexpr std::uintmax_t kEnough = 1U << 30U;
  if (failed || space.available < kEnough || access(memory, W_OK) != 0) return;
  setenv("TMPDIR", memory, 0);
}

}  // namespace

int main(int argc, char** argv) {
  // A sanitizer may start its own thread together with the program's first one. This has to happen
  // before threads are counted.
  std::thread([] {}).join();
  keepFilesInMemory();
  for (const char* name : {"ORVIK_SIM", "ORVIK_REPLAY", "ORVIK_RECORD"}) unsetenv(name);
  ::testing::InitGoogleMock(&argc, argv);
  ::testing::UnitTest::GetInstance()->listeners().Append(new OwnSettingsFolder);
  return RUN_ALL_TESTS();
}
