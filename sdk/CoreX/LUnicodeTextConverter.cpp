#include "sdk/CoreX/LUnicodeTextConverter.h"

#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/Script.h"
#include "sdk/CoreX/CoreMachDebugLog.h"

namespace {

constexpr ByteCount kNameBytes = sizeof HFSUniStr255{}.unicode;
constexpr UInt16 kNameUnits = kNameBytes / sizeof(UniChar);
constexpr std::size_t kMostBytesPerUnit = 5;

ByteCount NameSize(const HFSUniStr255& name) {
  return (name.length < kNameUnits ? name.length : kNameUnits) *
         static_cast<ByteCount>(sizeof(UniChar));
}

UnicodeMapping MappingOf(TextEncoding hint, TextEncodingFormat format) {
  return {CreateTextEncoding(kTextEncodingUnicodeV2_0, kUnicodeCanonicalDecompVariant, format),
          GetTextEncodingBase(hint), kUnicodeUseHFSPlusMapping};
}

OSStatus CreateTextToUnicodeConverters(TextEncoding textEncodingHint,
                                       UnicodeToTextInfo& outUTF8ToText,
                                       UnicodeToTextInfo& outUnicodeToText,
                                       TextToUnicodeInfo& outTextToUTF8,
                                       TextToUnicodeInfo& outTextToUnicode) {
  const UnicodeMapping utf8 = MappingOf(textEncodingHint, kUnicodeUTF8Format);
  const UnicodeMapping utf16 = MappingOf(textEncodingHint, kUnicode16BitFormat);
  OSStatus status = CreateTextToUnicodeInfo(&utf8, &outTextToUTF8);
  if (status == noErr) status = CreateUnicodeToTextInfo(&utf8, &outUTF8ToText);
  if (status == noErr) status = CreateTextToUnicodeInfo(&utf16, &outTextToUnicode);
  if (status == noErr) status = CreateUnicodeToTextInfo(&utf16, &outUnicodeToText);
  if (VERIFY(status == noErr)) return noErr;

  if (outTextToUTF8 != nullptr) DisposeTextToUnicodeInfo(&outTextToUTF8);
  if (outUTF8ToText != nullptr) DisposeUnicodeToTextInfo(&outUTF8ToText);
  if (outTextToUnicode != nullptr) DisposeTextToUnicodeInfo(&outTextToUnicode);
  if (outUnicodeToText != nullptr) DisposeUnicodeToTextInfo(&outUnicodeToText);
  return status;
}

TextEncoding EncodingOf(SInt16 script, SInt16 region) {
  TextEncoding encoding = kTextEncodingMacRoman;
  OSStatus status =
      UpgradeScriptInfoToTextEncoding(script, kTextLanguageDontCare, region, nullptr, &encoding);
  if (!VERIFY_TEXT(__LINE__, "status!=paramErr", status != paramErr)) {
    status = UpgradeScriptInfoToTextEncoding(script, kTextLanguageDontCare, kTextRegionDontCare,
                                             nullptr, &encoding);
  }
  return status == noErr ? encoding : TextEncoding{kTextEncodingMacRoman};
}

OSStatus CreateTextToUnicodeConverters(SInt16 script, SInt16 region,
                                       UnicodeToTextInfo& outUTF8ToText,
                                       UnicodeToTextInfo& outUnicodeToText,
                                       TextToUnicodeInfo& outTextToUTF8,
                                       TextToUnicodeInfo& outTextToUnicode) {
  return CreateTextToUnicodeConverters(EncodingOf(script, region), outUTF8ToText, outUnicodeToText,
                                       outTextToUTF8, outTextToUnicode);
}

OSStatus ToName(TextToUnicodeInfo info, const void* text, std::size_t length, HFSUniStr255& name) {
  ByteCount read = 0;
  ByteCount written = 0;
  const OSStatus status = ConvertFromTextToUnicode(
      info, static_cast<ByteCount>(length), text, kUnicodeLooseMappingsMask, 0, nullptr, nullptr,
      nullptr, kNameBytes, &read, &written, name.unicode);
  name.length = static_cast<UInt16>(written / sizeof(UniChar));
  return status;
}

// UTF-8 goes through the interface as if it were units, and is not read as such.
const UniChar* Units(const char* utf8) {
  return static_cast<const UniChar*>(static_cast<const void*>(utf8));
}

// Converts into `out` by `convert(buffer, size, &written)`. Enlarging the string before it is sized
// anew makes no difference, so that a second full buffer is as good as the hundredth.
template <typename Convert>
OSStatus Grow(std::string& out, std::size_t firstSize, std::size_t inputLength, Convert convert) {
  constexpr int kMostTries = 2;
  OSStatus status = noErr;
  ByteCount written = 0;
  int tries = 0;
  do {
    out.resize(firstSize);
    status = convert(out.data(), static_cast<ByteCount>(firstSize), &written);
    if (status == kTECOutputBufferFullStatus) out.resize(out.size() + inputLength);
  } while (status == kTECOutputBufferFullStatus && ++tries < kMostTries);
  out.resize(written);
  return status;
}

}  // namespace

LUnicodeTextConverter::LUnicodeTextConverter(UInt32 textEncodingHint) {
  InitUnicodeTextConverter(textEncodingHint);
}

LUnicodeTextConverter::LUnicodeTextConverter(SInt16 script, SInt16 region) {
  InitUnicodeTextConverter(script, region);
}

LUnicodeTextConverter::~LUnicodeTextConverter() {
  if (mUTF8ToUnicode != nullptr) TECDisposeConverter(mUTF8ToUnicode);
  if (mUnicodeToUTF8 != nullptr) TECDisposeConverter(mUnicodeToUTF8);
  DeleteCurrentConverters();
}

void LUnicodeTextConverter::InitEmpty() {
  mUTF8ToTextInfo = nullptr;
  mUnicodeToTextInfo = nullptr;
  mTextToUTF8Info = nullptr;
  mTextToUnicodeInfo = nullptr;
  mUTF8ToUnicode = nullptr;
  mUnicodeToUTF8 = nullptr;
}

void LUnicodeTextConverter::DeleteCurrentConverters() {
  if (mUTF8ToTextInfo != nullptr) DisposeUnicodeToTextInfo(&mUTF8ToTextInfo);
  if (mUnicodeToTextInfo != nullptr) DisposeUnicodeToTextInfo(&mUnicodeToTextInfo);
  if (mTextToUTF8Info != nullptr) DisposeTextToUnicodeInfo(&mTextToUTF8Info);
  if (mTextToUnicodeInfo != nullptr) DisposeTextToUnicodeInfo(&mTextToUnicodeInfo);
}

void LUnicodeTextConverter::InitUnicodeTextConverter(UInt32 textEncodingHint) {
  InitEmpty();
  VERIFY_ERR(CreateTextToUnicodeConverters(textEncodingHint, mUTF8ToTextInfo, mUnicodeToTextInfo,
                                           mTextToUTF8Info, mTextToUnicodeInfo));
  CreateUnicodeConverters();
}

void LUnicodeTextConverter::InitUnicodeTextConverter(SInt16 inForScript, SInt16 inForRegion) {
  InitEmpty();
  VERIFY_ERR(CreateTextToUnicodeConverters(inForScript, inForRegion, mUTF8ToTextInfo,
                                           mUnicodeToTextInfo, mTextToUTF8Info,
                                           mTextToUnicodeInfo));
  CreateUnicodeConverters();
}

void LUnicodeTextConverter::CreateUnicodeConverters() {
  const TextEncoding utf8 = CreateTextEncoding(kTextEncodingUnicodeDefault,
                                               kTextEncodingDefaultVariant, kUnicodeUTF8Format);
  const TextEncoding utf16 = CreateTextEncoding(kTextEncodingUnicodeDefault,
                                                kTextEncodingDefaultVariant, kUnicode16BitFormat);
  TECCreateConverter(&mUTF8ToUnicode, utf8, utf16);
  TECCreateConverter(&mUnicodeToUTF8, utf16, utf8);
}

OSStatus LUnicodeTextConverter::TextToUnicode(const std::string& text, HFSUniStr255& name) {
  const OSStatus status = ToName(mTextToUnicodeInfo, text.data(), text.size(), name);
  VERIFY_TEXT(__LINE__, "status==noErr", status == noErr);
  return status;
}

OSStatus LUnicodeTextConverter::TextToUnicode(const unsigned char* pstr, HFSUniStr255& name) {
  OSStatus status = paramErr;
  name.length = 0;
  if (pstr != nullptr) status = ToName(mTextToUnicodeInfo, pstr + 1, pstr[0], name);
  VERIFY_TEXT(__LINE__, "status==noErr", status == noErr);
  return status;
}

OSStatus LUnicodeTextConverter::UTF8ToUnicode(const std::string& utf8, HFSUniStr255& name) {
  ByteCount read = 0;
  ByteCount written = 0;
  const OSStatus status =
      TECConvertText(mUTF8ToUnicode, reinterpret_cast<ConstTextPtr>(utf8.data()),
                     static_cast<ByteCount>(utf8.size()), &read,
                     reinterpret_cast<TextPtr>(name.unicode), kNameBytes, &written);
  name.length = static_cast<UInt16>(written / sizeof(UniChar));
  return status;
}

OSStatus LUnicodeTextConverter::UnicodeToUTF8(const HFSUniStr255& name, std::string& utf8) {
  const ByteCount size = NameSize(name);
  utf8.resize(kMostBytesPerUnit * (size / sizeof(UniChar)));
  ByteCount read = 0;
  ByteCount written = 0;
  const OSStatus status = TECConvertText(
      mUnicodeToUTF8, reinterpret_cast<ConstTextPtr>(name.unicode), size, &read,
      reinterpret_cast<TextPtr>(utf8.data()), static_cast<ByteCount>(utf8.size()), &written);
  utf8.resize(written);
  return status;
}

OSStatus LUnicodeTextConverter::UTF8ToText(const std::string& utf8, std::string& text) {
  const std::string input = utf8;  // The two may be one.
  return Grow(text, input.size(), input.size(), [&](char* out, ByteCount size, ByteCount* written) {
    ByteCount read = 0;
    return ConvertFromUnicodeToText(mUTF8ToTextInfo, static_cast<ByteCount>(input.size()),
                                    Units(input.data()), kUnicodeLooseMappingsMask, 0, nullptr,
                                    nullptr, nullptr, size, &read, written, out);
  });
}

OSStatus LUnicodeTextConverter::UnicodeToText(const HFSUniStr255& name, std::string& text) {
  const ByteCount bytes = NameSize(name);
  const std::size_t units = bytes / sizeof(UniChar);
  return Grow(text, units, units, [&](char* out, ByteCount size, ByteCount* written) {
    ByteCount read = 0;
    return ConvertFromUnicodeToText(mUnicodeToTextInfo, bytes, name.unicode,
                                    kUnicodeLooseMappingsMask, 0, nullptr, nullptr, nullptr, size,
                                    &read, written, out);
  });
}

OSStatus LUnicodeTextConverter::TextToUTF8(const std::string& text, std::string& utf8) {
  const std::string input = text;  // The two may be one.
  return Grow(utf8, kMostBytesPerUnit * input.size(), input.size(),
              [&](char* out, ByteCount size, ByteCount* written) {
                ByteCount read = 0;
                return ConvertFromTextToUnicode(
                    mTextToUTF8Info, static_cast<ByteCount>(input.size()), input.data(),
                    kUnicodeLooseMappingsMask, 0, nullptr, nullptr, nullptr, size, &read, written,
                    static_cast<UniChar*>(static_cast<void*>(out)));
              });
}
