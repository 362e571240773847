// Comparison and search.
//
// A text is brought to a form in which the options no longer matter (folded), with a map back to
// its units, and forms are compared unit by unit. A match of a search must begin and end where
// characters of the source do.
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>

#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFStringFold.h"
#include "platform/CoreFoundation/CFStringInternal.h"
#include "platform/CoreFoundation/CFType.h"

namespace {

CFComparisonResult Sign(int difference) {
  if (difference < 0) return kCFCompareLessThan;
  return difference > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

bool IsDigit(char16_t unit) {
  return u_charType(unit) == U_DECIMAL_DIGIT_NUMBER;
}

// The digits of the number at the front, without leading zeros, as their values; taken off `text`.
std::u16string TakeNumber(std::u16string_view& text) {
  std::u16string digits;
  while (!text.empty() && IsDigit(text.front())) {
    const auto value = static_cast<char16_t>(u_charDigitValue(text.front()));
    if (value != 0 || !digits.empty()) digits += value;
    text.remove_prefix(1);
  }
  return digits;
}

CFComparisonResult CompareNumerically(std::u16string_view a, std::u16string_view b) {
  while (!a.empty() && !b.empty()) {
    if (IsDigit(a.front()) && IsDigit(b.front())) {
      const std::u16string numberA = TakeNumber(a);
      const std::u16string numberB = TakeNumber(b);
      if (numberA.size() != numberB.size()) return Sign(numberA.size() < numberB.size() ? -1 : 1);
      const int order = numberA.compare(numberB);
      if (order != 0) return Sign(order);
    } else {
      if (a.front() != b.front()) return Sign(a.front() < b.front() ? -1 : 1);
      a.remove_prefix(1);
      b.remove_prefix(1);
    }
  }
  return Sign(static_cast<int>(!a.empty()) - static_cast<int>(!b.empty()));
}

// As the user's language sorts; literally when the system has no rules for it.
CFComparisonResult CompareLocalized(std::u16string_view a, std::u16string_view b,
                                    CFOptionFlags options) {
  UErrorCode error = U_ZERO_ERROR;
  // A program without a language has ICU's POSIX locale, which sorts by code point: the root rules
  // are what people expect instead.
  const char* language = uloc_getDefault();
  if (std::strstr(language, "POSIX") != nullptr) language = "";
  const std::unique_ptr<UCollator, decltype(&ucol_close)> collator(ucol_open(language, &error),
                                                                   &ucol_close);
  if (U_FAILURE(error)) return Sign(a.compare(b));
  const bool numerically = (options & kCFCompareNumerically) != 0;
  ucol_setAttribute(collator.get(), UCOL_NUMERIC_COLLATION, numerically ? UCOL_ON : UCOL_OFF,
                    &error);
  ucol_setAttribute(collator.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &error);
  return Sign(ucol_strcoll(collator.get(), a.data(), static_cast<std::int32_t>(a.size()), b.data(),
                           static_cast<std::int32_t>(b.size())));
}

CFComparisonResult Compare(std::u16string_view a, std::u16string_view b, CFOptionFlags options) {
  const std::u16string formA = cftext::Fold(a, options).text;
  const std::u16string formB = cftext::Fold(b, options).text;
  CFComparisonResult result;
  if ((options & kCFCompareLocalized) != 0) {
    result = CompareLocalized(formA, formB, options);
  } else if ((options & kCFCompareNumerically) != 0) {
    result = CompareNumerically(formA, formB);
  } else {
    result = Sign(formA.compare(formB));
  }
  if (result == kCFCompareEqualTo && (options & kCFCompareForcedOrdering) != 0) {
    result = Sign(a.compare(b));
  }
  return result;
}

CFRange Find(std::u16string_view text, std::u16string_view sought, CFOptionFlags options) {
  constexpr CFRange kNowhere = {kCFNotFound, 0};
  const cftext::Folded form = cftext::Fold(text, options);
  const std::u16string needle = cftext::Fold(sought, options).text;
  if (needle.empty() || needle.size() > form.text.size()) return kNowhere;
  const std::size_t last = form.text.size() - needle.size();
  const bool backwards = (options & kCFCompareBackwards) != 0;
  const bool anchored = (options & kCFCompareAnchored) != 0;
  const std::u16string_view view = form.text;
  std::size_t at = backwards ? last : 0;
  while (true) {
    at = backwards ? view.rfind(needle, at) : view.find(needle, at);
    if (at == std::u16string_view::npos || (anchored && at != (backwards ? last : 0))) {
      return kNowhere;
    }
    const std::size_t end = at + needle.size();
    if (form.isBoundary(at) && form.isBoundary(end)) {
      const auto from = static_cast<CFIndex>(form.sources[at]);
      return {from, static_cast<CFIndex>(form.sources[end]) - from};
    }
    if (anchored || (backwards && at == 0)) return kNowhere;
    at += backwards ? std::size_t{0} - 1 : 1;
  }
}

std::u16string_view Part(CFStringRef string, CFRange range, CFRange& inside) {
  const std::u16string_view text = cftext::View(string);
  inside = cftext::Clip(range, text.size());
  return text.substr(static_cast<std::size_t>(inside.location),
                     static_cast<std::size_t>(inside.length));
}

}  // namespace

CFComparisonResult CFStringCompare(CFStringRef string1, CFStringRef string2,
                                   CFOptionFlags compareOptions) {
  return Compare(cftext::View(string1), cftext::View(string2), compareOptions);
}

CFComparisonResult CFStringCompareWithOptions(CFStringRef string1, CFStringRef string2,
                                              CFRange rangeToCompare,
                                              CFOptionFlags compareOptions) {
  CFRange inside;
  return Compare(Part(string1, rangeToCompare, inside), cftext::View(string2), compareOptions);
}

Boolean CFStringHasPrefix(CFStringRef string, CFStringRef prefix) {
  return cftext::View(string).starts_with(cftext::View(prefix));
}

Boolean CFStringHasSuffix(CFStringRef string, CFStringRef suffix) {
  return cftext::View(string).ends_with(cftext::View(suffix));
}

CFRange CFStringFind(CFStringRef string, CFStringRef stringToFind, CFOptionFlags compareOptions) {
  return Find(cftext::View(string), cftext::View(stringToFind), compareOptions);
}

Boolean CFStringFindWithOptions(CFStringRef string, CFStringRef stringToFind, CFRange rangeToSearch,
                                CFOptionFlags searchOptions, CFRange* result) {
  CFRange inside;
  const std::u16string_view text = Part(string, rangeToSearch, inside);
  CFRange found = Find(text, cftext::View(stringToFind), searchOptions);
  if (found.location == kCFNotFound) return false;
  found.location += inside.location;
  if (result != nullptr) *result = found;
  return true;
}

CFArrayRef CFStringCreateArrayWithFindResults(CFAllocatorRef allocator, CFStringRef string,
                                              CFStringRef stringToFind, CFRange rangeToSearch,
                                              CFOptionFlags compareOptions) {
  // The range comes first in its block, so that the pointer in the array is one to it.
  struct Holder {
    CFRange range;
    std::atomic<CFIndex> references;
  };
  static constexpr CFArrayCallBacks kRangeCallBacks = {
      0,
      [](CFAllocatorRef, const void* value) {
        auto* holder = static_cast<Holder*>(const_cast<void*>(value));
        holder->references.fetch_add(1, std::memory_order_relaxed);
        return value;
      },
      [](CFAllocatorRef, const void* value) {
        auto* holder = static_cast<Holder*>(const_cast<void*>(value));
        if (holder->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete holder;
      },
      [](const void* value) {
        const CFRange& range = static_cast<const Holder*>(value)->range;
        return cftext::MakeFromUTF8("{" + std::to_string(range.location) + ", " +
                                    std::to_string(range.length) + "}");
      },
      [](const void* a, const void* b) -> Boolean {
        const CFRange& first = static_cast<const Holder*>(a)->range;
        const CFRange& second = static_cast<const Holder*>(b)->range;
        return first.location == second.location && first.length == second.length;
      }};
  CFRange rest;
  Part(string, rangeToSearch, rest);
  const bool backwards = (compareOptions & kCFCompareBackwards) != 0;
  CFMutableArrayRef results = nullptr;
  CFRange found;
  while (CFStringFindWithOptions(string, stringToFind, rest, compareOptions, &found) != 0) {
    if (results == nullptr) results = CFArrayCreateMutable(allocator, 0, &kRangeCallBacks);
    auto* holder = new Holder{found, 0};
    CFArrayAppendValue(results, holder);
    const CFIndex end = rest.location + rest.length;
    rest = backwards
               ? CFRangeMake(rest.location, found.location - rest.location)
               : CFRangeMake(found.location + found.length, end - found.location - found.length);
    if (found.length == 0) break;
  }
  return results;
}
