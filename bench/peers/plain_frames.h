// Plain loops over frames, as one writes them first: g++ vectorises them by itself. Rows of `bytes`
// bytes close together.
#pragma once

#include <cstdint>

namespace bench::peers {

/// Both rows of each pair become (a + b) >> 1.
void PlainPairs(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows);
/// (((above + below) >> 1) + row) >> 1 for each byte.
void PlainThreeRows(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows);
/// Even rows stay, odd ones become (a + b) >> 1 of their neighbours; the last one is a copy.
void PlainField(std::uint8_t* dst, const std::uint8_t* src, int bytes, int rows);

}  // namespace bench::peers
