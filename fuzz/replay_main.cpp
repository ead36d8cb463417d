// SPDX-License-Identifier: MIT
// Runs the function of a fuzzer on the files of its corpus, with any compiler, so that faults found
// before do not return. usage: PROGRAM FILE_OR_FOLDER...
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

void replay(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  // The memory is exactly as long as the input, so that the sanitizers find reads beyond its end.
  const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

}  // namespace

int main(int argc, char** argv) {
  int count = 0;
  for (int i = 1; i < argc; ++i) {
    if (!fs::is_directory(argv[i])) {
      replay(argv[i]);
      ++count;
      continue;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;
      replay(entry.path());
      ++count;
    }
  }
  std::printf("%d inputs\n", count);
  return count == 0 ? 1 : 0;
}
