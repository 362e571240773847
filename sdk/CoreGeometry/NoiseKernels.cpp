#include "sdk/CoreGeometry/NoiseKernels.h"

#include <cmath>
#include <new>

#include "platform/System/KernelChoice.h"

namespace NoiseKernels {
namespace {

constinit KernelChoice<Kernels> sChoice;

// More than any machine's vectors have lanes.
constexpr std::size_t kRoom = 64;

std::uint32_t CellsIn(std::uint32_t pixels, int cellSize) {
  const auto size = static_cast<std::uint32_t>(cellSize);
  return (pixels + (size - 1)) / size;
}

}  // namespace

std::uint32_t Picture::cellColumns() const {
  return CellsIn(width, cellSize);
}

std::uint32_t Picture::cellRows() const {
  return CellsIn(height, cellSize);
}

Place Place::Of(std::uint32_t index, int cellSize, std::uint32_t size) {
  const auto pixel = static_cast<std::int32_t>(index * static_cast<std::uint32_t>(cellSize));
  const float fraction = static_cast<float>(pixel) / static_cast<float>(size);
  const float v = fraction * kLatticeCells;
  // Never below 0, nor above 256: the fraction is at most 1.
  const float lower = std::floor(v);
  const float offset = v - lower;
  return {static_cast<std::uint32_t>(lower), offset, (3.0f - 2.0f * offset) * (offset * offset)};
}

Columns::Columns(const Picture& picture) : count_(picture.cellColumns()) {
  const std::size_t each = 4 * (count_ + kRoom);
  memory_.reset(new (std::nothrow) std::byte[3 * each]());
  if (memory_ == nullptr) return;
  cells_ = reinterpret_cast<std::int32_t*>(memory_.get());
  offsets_ = reinterpret_cast<float*>(memory_.get() + each);
  weights_ = reinterpret_cast<float*>(memory_.get() + 2 * each);
  for (std::size_t i = 0; i < count_; ++i) {
    const Place place = Place::Of(static_cast<std::uint32_t>(i), picture.cellSize, picture.width);
    cells_[i] = static_cast<std::int32_t>(place.cell);
    offsets_[i] = place.offset;
    weights_[i] = place.weight;
  }
}

const Kernels& CurrentKernels() {
  return sChoice.Current(AvailableKernels());
}

bool SelectKernels(std::string_view name) {
  return sChoice.Select(AvailableKernels(), name);
}

}  // namespace NoiseKernels
