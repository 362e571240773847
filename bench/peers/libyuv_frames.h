// libyuv on whole frames: rows of `bytes` bytes close together, pixels of 4 bytes.
#pragma once

#include <cstdint>

#include "sdk/CoreX/XFrameBuffer.h"

namespace bench::peers {

/// Both rows of each pair become their mean, rounded up.
void LibyuvPairs(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows);
/// Even rows stay, odd ones become the mean of their neighbours, rounded up; the last one is
/// copied.
void LibyuvField(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows);
void LibyuvCopy(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows);
/// Every pixel becomes 255, 0, 128, 128.
void LibyuvBlacken(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows);

void LibyuvScaleBilinear(const XFrameBuffer& dest, const XFrameBuffer& source);
void LibyuvScaleNearest(const XFrameBuffer& dest, const XFrameBuffer& source);

}  // namespace bench::peers
