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

CFComparisonResult Order(std::u16string_view a, std::u16string_view b, CFOptionFlags options) {
  if ((options & kCFCompareLocalized) != 0) return CompareLocalized(a, b, options);
  if ((options & kCFCompareNumerically) != 0) return CompareNumerically(a, b);
  return Sign(a.compare(b));
}

CFComparisonResult Compare(std::u16string_view a, std::u16string_view b, CFOptionFlags options) {
  if (!cftext::IsFolding(options)) return Order(a, b, options);
  const CFComparisonResult result =
      Order(cftext::Fold(a, options).text, cftext::Fold(b, options).text, options);
  const bool isTie = result == kCFCompareEqualTo && (options & kCFCompareForcedOrdering) != 0;
  return isTie ? Sign(a.compare(b)) : result;
}

// Looks for one text in another, again and again.
class Search {
 public:
  Search(std::u16string_view text, std::u16string_view sought, CFOptionFlags options)
      : isBackwards_((options & kCFCompareBackwards) != 0),
        isAnchored_((options & kCFCompareAnchored) != 0),
        text_(text),
        needle_(sought) {
    if (cftext::IsFolding(options)) {
      form_ = cftext::Fold(text, options);
      folded_ = cftext::Fold(sought, options).text;
      text_ = form_.text;
      needle_ = folded_;
    }
    end_ = text_.size();
  }
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  /// The next place, in the units of the source; false when there is none left.
  bool next(CFRange& place) {
    const std::size_t size = needle_.size();
    if (size == 0) return false;
    while (end_ - begin_ >= size) {
      const std::u16string_view window = text_.substr(begin_, end_ - begin_);
      const std::size_t found = isBackwards_ ? window.rfind(needle_) : window.find(needle_);
      const std::size_t anchor = isBackwards_ ? window.size() - size : 0;
      if (found == std::u16string_view::npos || (isAnchored_ && found != anchor)) break;
      const std::size_t from = begin_ + found;
      const bool isWhole = isBoundary(from) && isBoundary(from + size);
      if (!isWhole && isAnchored_) break;
      // Past a whole match, or by one unit past half a character.
      if (isBackwards_) {
        end_ = isWhole ? from : from + size - 1;
      } else {
        begin_ = isWhole ? from + size : from + 1;
      }
      if (isWhole) {
        place.location = static_cast<CFIndex>(source(from));
        place.length = static_cast<CFIndex>(source(from + size)) - place.location;
        return true;
      }
    }
    begin_ = end_;
    return false;
  }

 private:
  bool isBoundary(std::size_t at) const { return form_.boundaries.empty() || form_.boundaries[at]; }
  std::size_t source(std::size_t at) const {
    return form_.sources.empty() ? at : form_.sources[at];
  }

  const bool isBackwards_;
  const bool isAnchored_;
  cftext::Folded form_;  ///< empty when nothing is folded
  std::u16string folded_;
  std::u16string_view text_;
  std::u16string_view needle_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

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
  CFRange found = {kCFNotFound, 0};
  Search(cftext::View(string), cftext::View(stringToFind), compareOptions).next(found);
  return found;
}

Boolean CFStringFindWithOptions(CFStringRef string, CFStringRef stringToFind, CFRange rangeToSearch,
                                CFOptionFlags searchOptions, CFRange* result) {
  CFRange inside;
  const std::u16string_view text = Part(string, rangeToSearch, inside);
  CFRange found;
  if (!Search(text, cftext::View(stringToFind), searchOptions).next(found)) return false;
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
  CFRange inside;
  const std::u16string_view text = Part(string, rangeToSearch, inside);
  Search search(text, cftext::View(stringToFind), compareOptions);
  CFMutableArrayRef results = nullptr;
  CFRange found;
  while (search.next(found)) {
    if (results == nullptr) results = CFArrayCreateMutable(allocator, 0, &kRangeCallBacks);
    found.location += inside.location;
    CFArrayAppendValue(results, new Holder{found, 0});
  }
  return results;
}
