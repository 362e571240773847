// Composed and decomposed forms of UTF-16 text, by ICU. Internal to the text converters.
#pragma once

#include <string>
#include <string_view>

namespace lumivane::text {

enum class Form {
  kAsIs,
  kDecomposed,     ///< canonical decomposition
  kComposed,       ///< canonical composition
  kHFSDecomposed,  ///< the same as names of HFS Plus know it: by Unicode 3.2, with U+2000-2FFF,
  kHFSComposed,    ///< U+F900-FAFF and U+2F800-2FAFF left alone
};

/// Half pairs stay as they are.
std::u16string Normalize(Form form, std::u16string_view text);

/// The end of the character at `start` with all that joins it: combining marks, the jamo of a
/// syllable, and the private-use tags (U+F870-F87F) that tell variants of a character apart.
std::size_t ClusterEnd(std::u16string_view text, std::size_t start);

}  // namespace lumivane::text
