#include "platform/CoreServices/TextEncodingConverter.h"

#include <algorithm>

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/TextConversion.h"

struct OpaqueTECObjectRef {
  const cftext::EncodingInfo* input;
  const cftext::EncodingInfo* output;
};

namespace {

using cftext::Scheme;
using lumivane::text::Decoded;

bool IsUnicode(const cftext::EncodingInfo& info) {
  return info.scheme == Scheme::kUTF8 || info.scheme == Scheme::kUTF16 ||
         info.scheme == Scheme::kUTF32;
}

bool IsInsidePair(std::u16string_view text, std::size_t at) {
  return at > 0 && at < text.size() && (text[at] & 0xFC00) == 0xDC00 &&
         (text[at - 1] & 0xFC00) == 0xD800;
}

// What of the input became the first `units` units.
std::size_t InputSize(const cftext::EncodingInfo& info, std::span<const UInt8> input,
                      std::u16string_view text, std::size_t units) {
  switch (info.scheme) {
    case Scheme::kUTF8:
      return lumivane::text::UTF8Size(text.substr(0, units));
    case Scheme::kUTF16:
      return 2 * units;
    default:
      return lumivane::text::SourceSize(info, input, units);
  }
}

}  // namespace

OSStatus TECCreateConverter(TECObjectRef* newEncodingConverter, TextEncoding inputEncoding,
                            TextEncoding outputEncoding) {
  if (newEncodingConverter == nullptr) return paramErr;
  *newEncodingConverter = nullptr;
  const cftext::EncodingInfo* input = lumivane::text::EncodingOf(inputEncoding);
  const cftext::EncodingInfo* output = lumivane::text::EncodingOf(outputEncoding);
  if (input == nullptr || output == nullptr) return kTECNoConversionPathErr;
  *newEncodingConverter = new OpaqueTECObjectRef{input, output};
  return noErr;
}

OSStatus TECDisposeConverter(TECObjectRef encodingConverter) {
  if (encodingConverter == nullptr) return kTECCorruptConverterErr;
  delete encodingConverter;
  return noErr;
}

OSStatus TECConvertText(TECObjectRef encodingConverter, ConstTextPtr inputBuffer,
                        ByteCount inputBufferLength, ByteCount* actualInputLength,
                        TextPtr outputBuffer, ByteCount outputBufferLength,
                        ByteCount* actualOutputLength) {
  if (actualInputLength == nullptr || actualOutputLength == nullptr) return paramErr;
  *actualInputLength = 0;
  *actualOutputLength = 0;
  if (encodingConverter == nullptr) return kTECCorruptConverterErr;
  if ((inputBuffer == nullptr && inputBufferLength != 0) ||
      (outputBuffer == nullptr && outputBufferLength != 0)) {
    return paramErr;
  }
  const cftext::EncodingInfo& from = *encodingConverter->input;
  const cftext::EncodingInfo& to = *encodingConverter->output;
  const std::span<const UInt8> input(inputBuffer, inputBufferLength);
  const Decoded decoded = lumivane::text::DecodeText(from, input);
  const std::u16string_view text = decoded.text;

  cftext::Encoded encoded = cftext::Encode(to, text, 0, false, outputBufferLength);
  OSStatus status = decoded.status;
  std::size_t taken = decoded.bytes;
  if (encoded.units < text.size()) {
    std::size_t units = encoded.units;
    if (IsInsidePair(text, units)) --units;
    // Room enough for any one character tells a full buffer from a character without a form.
    const std::size_t one = IsInsidePair(text, units + 1) ? 2 : 1;
    const bool has =
        IsUnicode(to) || cftext::Encode(to, text.substr(units, one), 0, false, 64).units == one;
    status = has ? kTECOutputBufferFullStatus : kTECUnmappableElementErr;
    taken = InputSize(from, input, text, units);
    // A character of several units may have been cut: what goes out is what was read.
    std::u16string_view read = text.substr(0, units);
    if (!IsUnicode(from)) {
      read = text.substr(0, lumivane::text::DecodeText(from, input.first(taken)).text.size());
    }
    if (read.size() != encoded.units) {
      encoded = cftext::Encode(to, read, 0, false, outputBufferLength);
    }
  }
  std::copy_n(encoded.bytes.data(), encoded.bytes.size(), reinterpret_cast<char*>(outputBuffer));
  *actualInputLength = static_cast<ByteCount>(taken);
  *actualOutputLength = static_cast<ByteCount>(encoded.bytes.size());
  return status;
}
