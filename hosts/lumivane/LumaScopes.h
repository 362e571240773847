// What a picture's luma looks like: how much there is of each level, and where.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "hosts/lumivane/LiveFilter.h"

namespace lumivane {

/// Luma (BT.709 weights) of an RGB pixel, 0 to 255, rounded.
std::uint8_t LumaOf(const std::uint8_t* rgb);

/// Pixels of each level; a picture of many pixels is sampled in every few rows, so that no picture
/// costs more than `mostPixels`.
std::array<std::uint32_t, 256> LumaHistogram(const Picture& picture,
                                             std::size_t mostPixels = 640 * 480);

/// A waveform: for each of `columns` strips of the picture from left to right, how many of its
/// pixels have each of `levels` ranges of luma. Index: level * columns + column, level 0 the
/// darkest.
struct LumaWaveform {
  int columns = 0;
  int levels = 0;
  std::vector<std::uint32_t> counts;
};
LumaWaveform MakeLumaWaveform(const Picture& picture, int columns, int levels,
                              std::size_t mostPixels = 640 * 480);

}  // namespace lumivane
