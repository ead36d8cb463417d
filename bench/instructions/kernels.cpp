// SPDX-License-Identifier: MIT
#include "bench/instructions/kernels.h"

#include "algorithm/binning.h"
#include "algorithm/dark.h"
#include "algorithm/demosaic.h"
#include "algorithm/flip.h"
#include "algorithm/gamma.h"
#include "algorithm/grey10.h"
#include "algorithm/rgb_convert.h"

namespace orvik::bench {
namespace {

constexpr WhiteBalance kBalance{.red = 52, .blue = 95};

void luminanceOfMosaic(Buffers& buffers) {
  const CellRowDemosaic cells(BAYER_RG, kColumns, buffers.rows, kBalance);
  std::vector<std::uint8_t> rows(std::size_t{6} * kColumns);
  for (int y = 0; y < buffers.rows; y += 2) {
    cells.makeLuminance(buffers.bytes.data(), y, rows.data(),
                        buffers.out.data() + std::ptrdiff_t{y} * kColumns);
  }
}

template <int kBin>
void monoBin8(Buffers& buffers) {
  binMono(buffers.bytes.data(), kColumns / kBin, buffers.rows / kBin, kBin);
}
template <int kBin>
void monoBin16(Buffers& buffers) {
  binMono(buffers.words.data(), kColumns / kBin, buffers.rows / kBin, kBin);
}
template <int kBin>
void mosaicBin8(Buffers& buffers) {
  binMosaic(buffers.bytes.data(), kColumns / kBin, buffers.rows / kBin, kBin);
}
template <int kBin>
void mosaicBin16(Buffers& buffers) {
  binMosaic(buffers.words.data(), kColumns / kBin, buffers.rows / kBin, kBin);
}

}  // namespace

const std::vector<Kernel>& countedKernels() {
  static const std::vector<Kernel> kernels{
      {"demosaic",
       [](Buffers& b) {
         demosaic(b.bytes.data(), b.out.data(), BAYER_RG, kColumns, b.rows, kBalance);
       }},
      {"luminance of mosaic", luminanceOfMosaic},
      {"luminance", [](Buffers& b) { luminance(b.bytes.data(), b.out.data(), kColumns, b.rows); }},
      {"first channel",
       [](Buffers& b) { firstChannel(b.bytes.data(), b.out.data(), kColumns, b.rows); }},
      {"4:2:2", [](Buffers& b) { yuv422(b.bytes.data(), b.out.data(), kColumns, b.rows, true); }},
      {"10-bit grey",
       [](Buffers& b) {
         grey10(b.words.data(), b.out.data(),
                std::size_t{kColumns} * static_cast<std::size_t>(b.rows));
       }},
      {"dark",
       [](Buffers& b) { subtractDark(b.bytes.data(), kColumns, b.rows, 7, b.dark.data()); }},
      {"dark of binned",
       [](Buffers& b) {
         subtractBinnedDark(b.bytes.data(), kColumns, b.rows, 7, b.dark.data(), 0);
       }},
      {"table 8",
       [](Buffers& b) { applyTable(b.bytes.data(), b.table8.data(), kColumns, b.rows); }},
      {"table 16",
       [](Buffers& b) { applyTable(b.words.data(), b.table16.data(), kColumns, b.rows); }},
      {"flip 8 horizontal",
       [](Buffers& b) { flip(b.bytes.data(), kColumns, b.rows, false, true); }},
      {"flip 8 both", [](Buffers& b) { flip(b.bytes.data(), kColumns, b.rows, true, true); }},
      {"flip 16 both", [](Buffers& b) { flip(b.words.data(), kColumns, b.rows, true, true); }},
      {"mono bin 8 x2", monoBin8<2>},
      {"mono bin 8 x3", monoBin8<3>},
      {"mono bin 8 x4", monoBin8<4>},
      {"mono bin 16 x2", monoBin16<2>},
      {"mono bin 16 x3", monoBin16<3>},
      {"mosaic bin 8 x2", mosaicBin8<2>},
      {"mosaic bin 16 x2", mosaicBin16<2>},
  };
  return kernels;
}

}  // namespace orvik::bench
