// SPDX-License-Identifier: MIT
// The main function of every test program. Each test finds an empty settings folder of its own: no
// test reads or writes the settings of whoever runs it, or those of another test.
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

/// Files of tests go into memory where there is room for them: there they are written and synced at
/// once. A folder that the caller chose stays.
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
  // A sanitizer may start a thread of its own with the program's first one: before any is counted.
  std::thread([] {}).join();
  keepFilesInMemory();
  ::testing::InitGoogleMock(&argc, argv);
  ::testing::UnitTest::GetInstance()->listeners().Append(new OwnSettingsFolder);
  return RUN_ALL_TESTS();
}
