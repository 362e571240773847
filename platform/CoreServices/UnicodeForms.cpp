#include "platform/CoreServices/UnicodeForms.h"

#include <unicode/unorm2.h>
#include <unicode/uset.h>
#include <unicode/utf16.h>

namespace lumivane::text {

namespace {

// What HFS Plus names decompose.
constexpr char16_t kHFSSet[] =
    u"[[:age=3.2:]-[\\u2000-\\u2FFF]-[\\uF900-\\uFAFF]-[\\U0002F800-\\U0002FAFF]]";

const UNormalizer2* Open(bool compose, bool filtered) {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* all = compose ? unorm2_getNFCInstance(&error) : unorm2_getNFDInstance(&error);
  if (!filtered) return U_SUCCESS(error) ? all : nullptr;
  USet* set = uset_openPattern(kHFSSet, -1, &error);
  if (U_FAILURE(error)) return nullptr;
  uset_freeze(set);
  const UNormalizer2* some = unorm2_openFiltered(all, set, &error);
  return U_SUCCESS(error) ? some : nullptr;
}

// Made once and never closed. Null if the library's data are missing.
const UNormalizer2* NormalizerOf(Form form) {
  static const UNormalizer2* const decompose = Open(false, false);
  static const UNormalizer2* const compose = Open(true, false);
  static const UNormalizer2* const decomposeHFS = Open(false, true);
  static const UNormalizer2* const composeHFS = Open(true, true);
  switch (form) {
    case Form::kDecomposed:
      return decompose;
    case Form::kComposed:
      return compose;
    case Form::kHFSDecomposed:
      return decomposeHFS;
    case Form::kHFSComposed:
      return composeHFS;
    default:
      return nullptr;
  }
}

}  // namespace

std::u16string Normalize(Form form, std::u16string_view text) {
  const UNormalizer2* normalizer = NormalizerOf(form);
  if (normalizer == nullptr || text.empty()) return std::u16string(text);
  const auto length = static_cast<std::int32_t>(text.size());
  std::u16string out(text.size() * 3 + 16, u'\0');
  for (;;) {
    UErrorCode error = U_ZERO_ERROR;
    const std::int32_t size = unorm2_normalize(normalizer, text.data(), length, out.data(),
                                               static_cast<std::int32_t>(out.size()), &error);
    if (error != U_BUFFER_OVERFLOW_ERROR) {
      if (U_FAILURE(error)) return std::u16string(text);
      out.resize(static_cast<std::size_t>(size));
      return out;
    }
    out.resize(static_cast<std::size_t>(size));
  }
}

std::size_t ClusterEnd(std::u16string_view text, std::size_t start) {
  const UNormalizer2* compose = NormalizerOf(Form::kComposed);
  std::size_t end = start;
  while (end < text.size()) {
    std::size_t next = end;
    char32_t c = 0;
    U16_NEXT(text.data(), next, text.size(), c);
    const bool joins =
        (c >= 0xF870 && c <= 0xF87F) ||
        (compose != nullptr && !unorm2_hasBoundaryBefore(compose, static_cast<UChar32>(c)));
    if (end > start && !joins) break;
    end = next;
  }
  return end;
}

}  // namespace lumivane::text
