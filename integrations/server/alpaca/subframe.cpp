// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/subframe.h"

#include <algorithm>
#include <cstring>

#include "orvik/algorithm.h"

namespace orvik::server {
namespace {

/// A range of columns or rows, without its end.
struct Range {
  int begin = 0;
  int end = 0;
  [[nodiscard]] int size() const { return end - begin; }
};

Range mirrored(Range range, int size) { return {size - range.end, size - range.begin}; }

/// The smallest range around another that the camera can read.
Range readable(Range range, int step, int size) {
  return {range.begin / step * step, std::min((range.end + step - 1) / step * step, size)};
}

/// What is needed of one axis, and what is captured for it, in pixels of the image at bin 1.
struct Axis {
  Range cells;
  Range captured;
  int onSensor = 0;  ///< where the captured range begins on the sensor, which a flip mirrors
};

Axis planAxis(int start, int count, int bin, int cell, bool isFlipped, int step, int size) {
  Axis axis;
  axis.cells = {start / cell * cell * bin, (start + count + cell - 1) / cell * cell * bin};
  const Range inside{axis.cells.begin, std::min(axis.cells.end, size)};
  const Range sensor = readable(isFlipped ? mirrored(inside, size) : inside, step, size);
  axis.onSensor = sensor.begin;
  axis.captured = isFlipped ? mirrored(sensor, size) : sensor;
  return axis;
}

std::size_t asSize(int count) { return static_cast<std::size_t>(count); }

/// The last coordinate of the same colour before the end of what was captured.
int standIn(int at, int size, bool isColour) {
  if (at < size) return at;
  return isColour ? size - 2 + (at - size) % 2 : size - 1;
}

/// Brings the cells to the front of the memory, row after row.
void gatherCells(const CapturePlan& plan, bool isColour, std::span<std::uint8_t> memory) {
  const auto sample = asSize(bytesPerPixel(plan.format.type));
  const int wholeWidth = std::min(plan.cellWidth, plan.format.width - plan.cutX);
  const int wholeHeight = std::min(plan.cellHeight, plan.format.height - plan.cutY);
  const auto at = [&](int row, int width, int column) {
    return memory.data() + (asSize(row) * asSize(width) + asSize(column)) * sample;
  };
  for (int row = 0; row < wholeHeight; ++row) {
    std::memmove(at(row, wholeWidth, 0), at(row + plan.cutY, plan.format.width, plan.cutX),
                 asSize(wholeWidth) * sample);
  }
  if (wholeWidth < plan.cellWidth) {
    for (int row = wholeHeight - 1; row >= 0; --row) {
      std::memmove(at(row, plan.cellWidth, 0), at(row, wholeWidth, 0), asSize(wholeWidth) * sample);
      for (int column = wholeWidth; column < plan.cellWidth; ++column) {
        std::memcpy(at(row, plan.cellWidth, column),
                    at(row, plan.cellWidth, standIn(column, wholeWidth, isColour)), sample);
      }
    }
  }
  for (int row = wholeHeight; row < plan.cellHeight; ++row) {
    std::memcpy(at(row, plan.cellWidth, 0),
                at(standIn(row, wholeHeight, isColour), plan.cellWidth, 0),
                asSize(plan.cellWidth) * sample);
  }
}

}  // namespace

bool isOnSensor(const Subframe& subframe, int width, int height) {
  const auto fits = [&](int start, int count, int size) {
    return start >= 0 && count >= 1 &&
           std::int64_t{start} + std::int64_t{count} <= std::int64_t{size / subframe.bin};
  };
  return fits(subframe.startX, subframe.numX, width) &&
         fits(subframe.startY, subframe.numY, height);
}

std::size_t CapturePlan::bytes() const {
  return std::max(imageBytes(format.width, format.height, format.type),
                  hostBin > 1 ? imageBytes(cellWidth, cellHeight, format.type) : 0);
}

CapturePlan planCapture(const Subframe& subframe, IMG_TYPE type, int flip,
                        const Orvik_CAMERA_INFO& camera) {
  const int bin = subframe.bin;
  // The library bins from the sensor's corner, which is the image's only without flips.
  const bool libraryBins = flip == 0 && subframe.startX % 4 == 0 && subframe.numX % 4 == 0 &&
                           subframe.startY % 2 == 0 && subframe.numY % 2 == 0;
  CapturePlan plan;
  if (bin > 1 && libraryBins) {
    plan.format = {subframe.numX, subframe.numY, bin, type, subframe.startX, subframe.startY};
    return plan;
  }
  const int cell = bin > 1 && camera.colour == Orvik_TRUE ? 2 : 1;
  const Axis x =
      planAxis(subframe.startX, subframe.numX, bin, cell, (flip & 1) != 0, 4, camera.maxWidth);
  const Axis y =
      planAxis(subframe.startY, subframe.numY, bin, cell, (flip & 2) != 0, 2, camera.maxHeight);
  plan.format = {x.captured.size(), y.captured.size(), 1, type, x.onSensor, y.onSensor};
  plan.cutX = x.cells.begin - x.captured.begin;
  plan.cutY = y.cells.begin - y.captured.begin;
  plan.hostBin = bin;
  plan.cellWidth = x.cells.size();
  plan.cellHeight = y.cells.size();
  plan.left = subframe.startX - x.cells.begin / bin;
  plan.top = subframe.startY - y.cells.begin / bin;
  return plan;
}

Cut binOnHost(const CapturePlan& plan, bool isColour, std::span<std::uint8_t> memory) {
  if (plan.hostBin == 1) {
    const auto stride = asSize(plan.format.width);
    return {asSize(plan.cutY) * stride + asSize(plan.cutX), stride};
  }
  gatherCells(plan, isColour, memory);
  const int width = plan.cellWidth / plan.hostBin;
  const int height = plan.cellHeight / plan.hostBin;
  const bool is16 = plan.format.type == Orvik_IMG_RAW16;
  auto* const words = is16 ? reinterpret_cast<std::uint16_t*>(memory.data()) : nullptr;
  const auto bin = isColour ? CAlgorithm::ColorRAWBin : CAlgorithm::MonoBin;
  bin(memory.data(), words, width, height, plan.hostBin, is16);
  return {asSize(plan.top) * asSize(width) + asSize(plan.left), asSize(width)};
}

}  // namespace orvik::server
