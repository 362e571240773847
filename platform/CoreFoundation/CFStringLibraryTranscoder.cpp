// The encodings converted by ICU. Single-byte ones are read off it once into a table.
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>
#include <unicode/ucnv_err.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "platform/CoreFoundation/CFStringTranscoder.h"

namespace cftext {

namespace {

constexpr std::size_t kMostEncodings = 160;
constexpr char16_t kNone = 0xFFFF;

struct SingleByteTable {
  char16_t characters[256];  ///< kNone where a byte means nothing
  std::unordered_map<char16_t, UInt8> bytes;
};

// What is known of an encoding once it was first asked for.
struct Known {
  bool available = false;
  int maximumCharacterSize = 0;
  std::unique_ptr<const SingleByteTable> table;  ///< null for encodings of several bytes
};

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

// Fails on what is not valid instead of substituting; null when ICU lacks the converter.
Converter Open(const EncodingInfo& info) {
  UErrorCode error = U_ZERO_ERROR;
  Converter converter(ucnv_open(info.converter, &error), &ucnv_close);
  if (U_FAILURE(error)) return {nullptr, &ucnv_close};
  ucnv_setFallback(converter.get(), false);
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
  ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &error);
  return converter;
}

bool IsWindows(const EncodingInfo& info) {
  return (info.encoding & 0xFF00) == 0x0500 || info.encoding == kCFStringEncodingDOSThai;
}
bool IsDOS(const EncodingInfo& info) {
  return (info.encoding & 0xFF00) == 0x0400;
}

// Where the published tables of DOS and Windows pages differ from ICU's, which are IBM's.
struct Correction {
  CFStringEncoding encoding;
  UInt8 byte;
  char16_t character;
};
constexpr Correction kCorrections[] = {
    {kCFStringEncodingDOSLatinUS, 0xE6, 0x00B5},
    {kCFStringEncodingDOSPortuguese, 0xE6, 0x00B5},
    {kCFStringEncodingDOSIcelandic, 0xE6, 0x00B5},
    {kCFStringEncodingDOSHebrew, 0xE6, 0x00B5},
    {kCFStringEncodingDOSCanadianFrench, 0xE6, 0x00B5},
    {kCFStringEncodingDOSNordic, 0xE6, 0x00B5},
    {kCFStringEncodingDOSLatin2, 0xAA, 0x00AC},
    {kCFStringEncodingDOSArabic, 0x25, 0x066A},
    {kCFStringEncodingDOSArabic, 0x9F, kNone},
    {kCFStringEncodingDOSArabic, 0xD7, 0xFEC1},
    {kCFStringEncodingDOSArabic, 0xD8, 0xFEC5},
    {kCFStringEncodingDOSArabic, 0xF1, 0x0651},
    {kCFStringEncodingDOSGreek2, 0x88, 0x00B7},
    {kCFStringEncodingDOSGreek2, 0xEF, 0x0384},
    {kCFStringEncodingWindowsGreek, 0xAA, kNone},
};

std::unique_ptr<const SingleByteTable> ReadTable(const EncodingInfo& info, UConverter* converter) {
  auto table = std::make_unique<SingleByteTable>();
  for (unsigned byte = 0; byte < 256; ++byte) {
    const char source = static_cast<char>(byte);
    char16_t target[4];
    UErrorCode error = U_ZERO_ERROR;
    ucnv_reset(converter);
    const std::int32_t length = ucnv_toUChars(converter, target, 4, &source, 1, &error);
    char16_t character = U_SUCCESS(error) && length == 1 ? target[0] : kNone;
    // ICU gives the bytes that a Windows page leaves open to the C1 controls, and has IBM's
    // permuted controls in the DOS pages; the published tables have neither.
    if (IsWindows(info) && byte >= 0x80 && byte < 0xA0 && character == byte) character = kNone;
    if (IsDOS(info) && byte < 0x80) character = static_cast<char16_t>(byte);
    // What no assigned character stands for is left open likewise, be it a private-use one.
    if (character == 0xFFFD || (IsWindows(info) && character >= 0xE000 && character < 0xF900)) {
      character = kNone;
    }
    for (const Correction& correction : kCorrections) {
      if (correction.encoding == info.encoding && correction.byte == byte) {
        character = correction.character;
      }
    }
    table->characters[byte] = character;
    if (character != kNone) table->bytes.try_emplace(character, static_cast<UInt8>(byte));
  }
  return table;
}

const Known* Examine(const EncodingInfo& info) {
  auto* known = new Known;
  const Converter converter = Open(info);
  if (converter == nullptr) return known;
  known->available = true;
  known->maximumCharacterSize = ucnv_getMaxCharSize(converter.get());
  if (known->maximumCharacterSize == 1) known->table = ReadTable(info, converter.get());
  return known;
}

// One entry for each encoding, made at first use and never destroyed.
const Known& Look(const EncodingInfo& info) {
  static std::atomic<const Known*> entries[kMostEncodings];
  static std::mutex& lock = *new std::mutex;
  std::atomic<const Known*>& entry =
      entries[static_cast<std::size_t>(&info - AllEncodings().data())];
  const Known* known = entry.load(std::memory_order_acquire);
  if (known == nullptr) {
    const std::lock_guard guard(lock);
    known = entry.load(std::memory_order_relaxed);
    if (known == nullptr) {
      known = Examine(info);
      entry.store(known, std::memory_order_release);
    }
  }
  return *known;
}

void WriteLossByte(const void* context, UConverterFromUnicodeArgs* args, const UChar*, std::int32_t,
                   UChar32 failed, UConverterCallbackReason reason, UErrorCode* error) {
  if (reason > UCNV_IRREGULAR) return;
  *error = U_ZERO_ERROR;
  const UInt8 loss = *static_cast<const UInt8*>(context);
  if (loss < 0x80 && failed != loss) {
    // Through the converter, which may have to shift to ASCII first. An encoding without that
    // character comes back here and takes the byte as it is.
    const UChar character = loss;
    const UChar* source = &character;
    ucnv_cbFromUWriteUChars(args, &source, source + 1, 0, error);
  } else {
    const char byte = static_cast<char>(loss);
    ucnv_cbFromUWriteBytes(args, &byte, 1, 0, error);
  }
}

// All of `text` up to the first character that fails; its start goes to `stop`.
std::vector<UInt8> Convert(const EncodingInfo& info, std::u16string_view text, UInt8 lossByte,
                           std::size_t& stop) {
  stop = 0;
  std::vector<UInt8> bytes;
  const Converter converter = Open(info);
  if (converter == nullptr) return bytes;
  UErrorCode error = U_ZERO_ERROR;
  if (lossByte != 0) {
    ucnv_setFromUCallBack(converter.get(), WriteLossByte, &lossByte, nullptr, nullptr, &error);
  }
  const UChar* source = text.data();
  const UChar* const end = source + text.size();
  char buffer[1024];
  do {
    error = U_ZERO_ERROR;
    char* target = buffer;
    ucnv_fromUnicode(converter.get(), &target, buffer + sizeof buffer, &source, end, nullptr, true,
                     &error);
    bytes.insert(bytes.end(), buffer, target);
  } while (error == U_BUFFER_OVERFLOW_ERROR);
  stop = text.size();
  if (U_FAILURE(error)) {
    UChar invalid[16];
    std::int8_t length = 16;
    UErrorCode ignored = U_ZERO_ERROR;
    ucnv_getInvalidUChars(converter.get(), invalid, &length, &ignored);
    stop = static_cast<std::size_t>(source - text.data());
    stop -= std::min<std::size_t>(stop, static_cast<std::size_t>(std::max<int>(length, 1)));
  }
  return bytes;
}

bool IsInsidePair(std::u16string_view text, std::size_t at) {
  return at > 0 && at < text.size() && (text[at] & 0xFC00) == 0xDC00 &&
         (text[at - 1] & 0xFC00) == 0xD800;
}

}  // namespace

bool LibraryHas(const EncodingInfo& info) {
  return Look(info).available;
}

bool LibraryDecode(const EncodingInfo& info, std::span<const UInt8> bytes, std::u16string& out) {
  if (const SingleByteTable* table = Look(info).table.get()) {
    for (const UInt8 byte : bytes) {
      if (table->characters[byte] == kNone) return false;
      out += table->characters[byte];
    }
    return true;
  }
  const Converter converter = Open(info);
  if (converter == nullptr) return false;
  const char* source = reinterpret_cast<const char*>(bytes.data());
  const char* const end = source + bytes.size();
  UErrorCode error = U_ZERO_ERROR;
  do {
    error = U_ZERO_ERROR;
    UChar buffer[512];
    UChar* target = buffer;
    ucnv_toUnicode(converter.get(), &target, buffer + 512, &source, end, nullptr, true, &error);
    out.append(buffer, target);
  } while (error == U_BUFFER_OVERFLOW_ERROR);
  return U_SUCCESS(error);
}

Encoded LibraryEncode(const EncodingInfo& info, std::u16string_view text, UInt8 lossByte,
                      std::size_t limit) {
  Encoded result{0, {}};
  if (const SingleByteTable* table = Look(info).table.get()) {
    while (result.units < text.size() && result.bytes.size() < limit) {
      const auto found = table->bytes.find(text[result.units]);
      if (found == table->bytes.end() && lossByte == 0) break;
      result.bytes.push_back(found != table->bytes.end() ? found->second : lossByte);
      // A pair is one character, and one byte of loss.
      result.units += IsInsidePair(text, result.units + 1) ? 2 : 1;
    }
    return result;
  }
  std::size_t stop = 0;
  result.bytes = Convert(info, text, lossByte, stop);
  result.units = stop;
  // A failure leaves the converter in the middle, and a text that is too long has to be cut where
  // its shifts are closed: what stays is converted again as a whole.
  bool whole = stop == text.size();
  while (!whole || result.bytes.size() > limit) {
    if (whole) {
      // No character takes more than sixteen bytes, shifts included: so many can go at once.
      const std::size_t excess = result.bytes.size() - limit;
      stop -= std::min(stop, std::max<std::size_t>(1, excess / 16));
      if (IsInsidePair(text, stop)) --stop;
    }
    std::size_t reached = 0;
    result.bytes = Convert(info, text.substr(0, stop), lossByte, reached);
    result.units = reached;
    whole = reached == stop;
    stop = reached;
    if (stop == 0 && !(whole && result.bytes.size() <= limit)) return {0, {}};
  }
  return result;
}

std::size_t LibraryMaximumSize(const EncodingInfo& info, std::size_t length) {
  const Known& known = Look(info);
  // Several bytes may come with shifts before and after: ICU's own rule.
  return known.table != nullptr
             ? length
             : (length + 10) * static_cast<std::size_t>(known.maximumCharacterSize);
}

}  // namespace cftext
