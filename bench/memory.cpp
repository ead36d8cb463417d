// SPDX-License-Identifier: MIT
// Prints how much memory a camera needs in a state: its bytes, and the bytes of a frame; or all
// models.
#include <cstdio>
#include <cstring>

#include "bench/memory_states.h"
#include "orvik/orvik_sim.h"

int main(int argc, char** argv) {
  using namespace orvik::bench;
  if (argc == 2 && std::strcmp(argv[1], "models") == 0) {
    for (int position = 0; const char* model = OrvikSimModel(position); ++position) {
      std::puts(model);
    }
    return 0;
  }
  const bool isVirtual = argc == 4 && std::strcmp(argv[3], "virtual") == 0;
  const auto state = argc == 3 || isVirtual ? memoryStateOf(argv[2]) : std::nullopt;
  if (!state) {
    std::fputs(
        "usage: orvik_memory models\n"
        "       orvik_memory MODEL query|open|video8|video16|late|snapshot|stopped "
        "[virtual]\n",
        stderr);
    return 2;
  }
  const auto use =
      isVirtual ? memoryWithVirtualCamera(argv[1], *state) : libraryMemory(argv[1], *state);
  if (!use) {
    std::fprintf(stderr, "%s has no such state, or does not send\n", argv[1]);
    return 1;
  }
  std::printf("%zu %zu\n", use->bytes, use->frameBytes);
  return 0;
}
