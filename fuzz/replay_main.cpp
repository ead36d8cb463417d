// SPDX-License-Identifier: MIT
// Runs a fuzzer once over each input in the folders that it is given: each found fault stays found.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  int inputs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
      std::ifstream in(entry.path(), std::ios::binary);
      const std::vector<char> text{std::istreambuf_iterator<char>(in), {}};
      // A block of exactly this size, so that a sanitizer sees what is read beyond it.
      const std::vector<std::uint8_t> data(text.begin(), text.end());
      std::printf("%s\n", entry.path().c_str());
      std::fflush(stdout);
      LLVMFuzzerTestOneInput(data.data(), data.size());
      ++inputs;
    }
  }
  return inputs > 0 ? 0 : 1;
}
