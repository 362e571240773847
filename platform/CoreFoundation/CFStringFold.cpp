#include "platform/CoreFoundation/CFStringFold.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace cftext {

namespace {

constexpr CFOptionFlags kFoldingOptions = kCFCompareCaseInsensitive | kCFCompareNonliteral |
                                          kCFCompareDiacriticInsensitive |
                                          kCFCompareWidthInsensitive;

// Runs an ICU function of the kind (target, capacity, &error) -> length, growing the target.
template <class Function>
bool Grow(std::size_t guess, std::u16string& out, Function function) {
  out.resize(guess + 16);
  for (int attempt = 0; attempt < 2; ++attempt) {
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t length = function(out.data(), static_cast<std::int32_t>(out.size()), &error);
    if (U_SUCCESS(error)) {
      out.resize(static_cast<std::size_t>(length));
      return true;
    }
    if (error != U_BUFFER_OVERFLOW_ERROR) return false;
    out.resize(static_cast<std::size_t>(length) + 1);
  }
  return false;
}

const UNormalizer2* Instance(CFStringNormalizationForm form) {
  UErrorCode error = U_ZERO_ERROR;
  switch (form) {
    case kCFStringNormalizationFormD:
      return unorm2_getNFDInstance(&error);
    case kCFStringNormalizationFormKD:
      return unorm2_getNFKDInstance(&error);
    case kCFStringNormalizationFormC:
      return unorm2_getNFCInstance(&error);
    default:
      return unorm2_getNFKCInstance(&error);
  }
}

bool IsMark(UChar32 c) {
  return (U_GET_GC_MASK(c) & U_GC_M_MASK) != 0;
}

// Full-width and half-width forms decompose to the ordinary character; other compatibility
// characters stay.
void AppendOrdinaryWidth(UChar32 c, std::u16string& out) {
  const int kind = u_getIntPropertyValue(c, UCHAR_DECOMPOSITION_TYPE);
  if (kind == U_DT_WIDE || kind == U_DT_NARROW) {
    UErrorCode error = U_ZERO_ERROR;
    UChar buffer[8];
    const std::int32_t length =
        unorm2_getRawDecomposition(unorm2_getNFKDInstance(&error), c, buffer, 8, &error);
    if (U_SUCCESS(error) && length > 0) {
      out.append(buffer, static_cast<std::size_t>(length));
      return;
    }
  }
  UChar units[2];
  std::int32_t count = 0;
  U16_APPEND_UNSAFE(units, count, c);
  out.append(units, static_cast<std::size_t>(count));
}

std::u16string FoldPiece(std::u16string_view piece, CFOptionFlags options) {
  std::u16string text(piece);
  if ((options & kCFCompareWidthInsensitive) != 0) {
    std::u16string plain;
    for (std::size_t i = 0; i < text.size();) {
      UChar32 c;
      U16_NEXT(text.data(), i, text.size(), c);
      AppendOrdinaryWidth(c, plain);
    }
    text = std::move(plain);
  }
  if ((options & kCFCompareCaseInsensitive) != 0) {
    std::u16string folded;
    if (Grow(text.size(), folded, [&](UChar* target, std::int32_t capacity, UErrorCode* error) {
          return u_strFoldCase(target, capacity, text.data(),
                               static_cast<std::int32_t>(text.size()), U_FOLD_CASE_DEFAULT, error);
        })) {
      text = std::move(folded);
    }
  }
  if ((options & (kCFCompareNonliteral | kCFCompareDiacriticInsensitive)) != 0) {
    std::u16string decomposed;
    if (Normalize(text, kCFStringNormalizationFormD, decomposed)) text = std::move(decomposed);
  }
  if ((options & kCFCompareDiacriticInsensitive) != 0) {
    std::u16string bare;
    for (std::size_t i = 0; i < text.size();) {
      const std::size_t from = i;
      UChar32 c;
      U16_NEXT(text.data(), i, text.size(), c);
      if (u_charType(c) != U_NON_SPACING_MARK) bare.append(text, from, i - from);
    }
    text = std::move(bare);
  }
  return text;
}

}  // namespace

bool IsFolding(CFOptionFlags options) {
  return (options & kFoldingOptions) != 0;
}

Folded Fold(std::u16string_view source, CFOptionFlags options) {
  Folded folded;
  const bool plain = !IsFolding(options);
  // Marks are reordered and composed with what they stand on, so they cannot be parted from it.
  const bool withMarks = (options & (kCFCompareNonliteral | kCFCompareDiacriticInsensitive)) != 0;
  for (std::size_t i = 0; i < source.size();) {
    const std::size_t from = i;
    if (plain) {
      ++i;
    } else {
      UChar32 c;
      U16_NEXT(source.data(), i, source.size(), c);
      while (withMarks && i < source.size()) {
        std::size_t next = i;
        U16_NEXT(source.data(), next, source.size(), c);
        if (!IsMark(c)) break;
        i = next;
      }
    }
    const std::u16string_view piece = source.substr(from, i - from);
    const std::u16string form = plain ? std::u16string(piece) : FoldPiece(piece, options);
    for (std::size_t k = 0; k < form.size(); ++k) {
      folded.sources.push_back(from);
      folded.boundaries.push_back(k == 0);
    }
    folded.text += form;
  }
  folded.sources.push_back(source.size());
  folded.boundaries.push_back(true);
  return folded;
}

bool Normalize(std::u16string_view source, CFStringNormalizationForm form, std::u16string& out) {
  const UNormalizer2* normalizer = Instance(form);
  return normalizer != nullptr &&
         Grow(source.size() + source.size() / 2, out,
              [&](UChar* target, std::int32_t capacity, UErrorCode* error) {
                return unorm2_normalize(normalizer, source.data(),
                                        static_cast<std::int32_t>(source.size()), target, capacity,
                                        error);
              });
}

}  // namespace cftext
