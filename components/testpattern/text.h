// Captions: a 5 x 7 dot-matrix alphabet of capitals, digits and a few signs.
#pragma once

#include <string_view>

namespace testpattern {

inline constexpr int kGlyphWidth = 5;
inline constexpr int kGlyphHeight = 7;
inline constexpr int kGlyphAdvance = 6;  ///< one dot between characters

/// Width in dots of `text` without the last character's gap; 0 when empty.
int TextWidth(std::string_view text);

/// Whether the dot (column, row) of `text` is set, counted from its top left. False outside, and
/// for characters that the alphabet lacks.
bool TextDot(std::string_view text, int column, int row);

}  // namespace testpattern
