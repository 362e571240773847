// Texts freed of what comparison options leave out.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreFoundation/CFString.h"

namespace cftext {

struct Folded {
  std::u16string text;
  /// For each unit of `text`, and for its end, the unit of the source it comes from.
  std::vector<std::size_t> sources;
  /// For each of them, whether a character of the source begins there.
  std::vector<bool> boundaries;
};

/// Whether any of the comparison options folds something.
bool IsFolding(CFOptionFlags options);
/// Folds case, decomposition, diacritics and width away, as the comparison options say. A character
/// is folded together with the combining marks that follow it.
Folded Fold(std::u16string_view source, CFOptionFlags options);

/// A text in a normal form. False when it is too long for ICU or memory.
bool Normalize(std::u16string_view source, CFStringNormalizationForm form, std::u16string& out);

}  // namespace cftext
