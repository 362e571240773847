// Conversion between UTF-16 and the other encodings.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/CoreFoundation/CFStringEncodings.h"

namespace cftext {

/// How an encoding is converted.
enum class Scheme {
  kUTF8,
  kUTF16,
  kUTF32,
  kASCII,
  kLatin1,
  kNextStep,
  kNonLossyASCII,
  kTable,   ///< by a table of our own
  kLibrary  ///< by the system's conversion library
};

enum class ByteOrder { kMachine, kBig, kLittle };

struct EncodingInfo {
  CFStringEncoding encoding;
  Scheme scheme;
  ByteOrder order;
  const char* converter;  ///< the library's name of it; null for those converted here
  const char* ianaName;   ///< null when there is none
  UInt32 codepage;        ///< Windows code page; 0 when there is none
  const char* title;
};

/// Every encoding known, whether available or not.
std::span<const EncodingInfo> AllEncodings();
/// Null when the encoding is unknown or the system's library lacks it.
const EncodingInfo* FindEncoding(CFStringEncoding encoding);

/// Appends the text of `bytes` to `out`. False, with `out` as it was, for bytes that are not valid.
/// `external` takes a leading byte-order mark out of the Unicode encodings.
bool Decode(const EncodingInfo& info, std::span<const UInt8> bytes, bool external,
            std::u16string& out);

struct Encoded {
  std::size_t units;         ///< UTF-16 units converted
  std::vector<UInt8> bytes;  ///< what they became
};

/// As much of `text` as has a form in the encoding (or is replaced by `lossByte`, if not 0) and
/// fits `limit` bytes. `external` begins UTF-16 and UTF-32 of no stated order with a mark.
Encoded Encode(const EncodingInfo& info, std::u16string_view text, UInt8 lossByte, bool external,
               std::size_t limit);

/// Bytes of the zero that ends a text: 1, 2 or 4.
std::size_t TerminatorSize(const EncodingInfo& info);
/// Bytes that `length` units need at most.
std::size_t MaximumSize(const EncodingInfo& info, std::size_t length);

/// The NEXTSTEP encoding's characters from byte 0x80 on; 0 where it has none.
extern const char16_t kNextStepHigh[128];

// The tables' part.
bool TableDecode(const EncodingInfo& info, std::span<const UInt8> bytes, std::u16string& out);
Encoded TableEncode(const EncodingInfo& info, std::u16string_view text, UInt8 lossByte,
                    std::size_t limit);
std::size_t TableMaximumSize(const EncodingInfo& info, std::size_t length);

// The library's part.
bool LibraryHas(const EncodingInfo& info);
bool LibraryDecode(const EncodingInfo& info, std::span<const UInt8> bytes, std::u16string& out);
Encoded LibraryEncode(const EncodingInfo& info, std::u16string_view text, UInt8 lossByte,
                      std::size_t limit);
std::size_t LibraryMaximumSize(const EncodingInfo& info, std::size_t length);

}  // namespace cftext
