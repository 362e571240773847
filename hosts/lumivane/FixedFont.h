// A fixed-width bitmap font for what a window says of itself: ASCII and Latin-1.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace lumivane {

inline constexpr int kFontWidth = 8;
inline constexpr int kFontHeight = 13;

/// Number of characters in the font.
inline constexpr int kFontGlyphs = 191;

/// Rows of a character, top first, bit 7 leftmost.
const std::uint8_t* FontRows(int glyph);

/// UTF-8 as the font's characters, one index each. What the font lacks, and what is no UTF-8, is a
/// question mark.
std::string FontText(std::string_view text);

}  // namespace lumivane
