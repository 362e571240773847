#include "sdk/CoreX/T_CFString.h"

#include <cstdlib>

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/KeptMemory.h"

namespace {

/// 8-bit encodings by preference; the first one the system has is used, so in practice UTF-8.
constexpr CFStringBuiltInEncodings kPreferredEncoding[] = {
    kCFStringEncodingUTF8,          kCFStringEncodingUTF8,          kCFStringEncodingMacRoman,
    kCFStringEncodingWindowsLatin1, kCFStringEncodingISOLatin1,     kCFStringEncodingASCII,
    kCFStringEncodingNextStepLatin, kCFStringEncodingNonLossyASCII,
};

/// Bytes for `length` units in `encoding` and a terminator; 0 when that exceeds the interface's
/// sizes.
CFIndex BufferSize(CFIndex length, CFStringEncoding encoding) {
  const CFIndex size = CFStringGetMaximumSizeForEncoding(length, encoding);
  constexpr CFIndex kTerminator = 4;  // of the widest unit, UTF-32
  return size < 0 || size > INT32_MAX - kTerminator ? 0 : size + kTerminator;
}

char* AllocateBuffer(CFIndex size) {
  return size == 0 ? nullptr : static_cast<char*>(std::malloc(static_cast<std::size_t>(size)));
}

}  // namespace

bool TCFString::GetConstCharStarValue(std::string& out, CFStringBuiltInEncodings encoding) const {
  const CFIndex length = IsValid() ? CFStringGetLength(mValueRef) : 0;
  if (length < 1) return false;

  if (encoding != kTCFString_NoPreference && CFStringIsEncodingAvailable(encoding)) {
    const CFIndex size = BufferSize(length, encoding);
    char* buffer = AllocateBuffer(size);
    if (buffer != nullptr && CFStringGetCString(mValueRef, buffer, size, encoding)) {
      out.assign(buffer);
      KeepForProcess(buffer);
      return true;
    }
    std::free(buffer);
  }

  for (const CFStringBuiltInEncodings preferred : kPreferredEncoding) {
    if (!CFStringIsEncodingAvailable(preferred)) continue;
    const CFIndex size = BufferSize(length, preferred);
    char* buffer = AllocateBuffer(size);
    if (!VERIFY_TEXT(178, "buffer_raw_string = (char*)std::malloc(_max_buffer_size)", buffer)) {
      return false;
    }
    const bool fOk = CFStringGetCString(mValueRef, buffer, size, preferred) != 0;
    if (!VERIFY_TEXT(179,
                     "fOk = ::CFStringGetCString(mValueRef,buffer_raw_string,_max_buffer_size,"
                     "PreferredEncoding[i])",
                     fOk)) {
      std::free(buffer);
      return false;
    }
    out.assign(buffer);
    KeepForProcess(buffer);
    return true;
  }
  return false;
}

template <typename T>
T* T_cstring<T>::alloc_string_length(SInt32 n) {
  if (n < 0) return nullptr;
  return static_cast<T*>(std::malloc((static_cast<std::size_t>(n) + 1) * sizeof(T)));
}

template <typename T>
bool T_cstring<T>::set_length(SInt32 n) {
  if (n == 0) return m_cstring != nullptr;
  if (m_cstring != nullptr) KeepForProcess(m_cstring);
  m_cstring = alloc_string_length(n);
  if (!VERIFY_TEXT(55, "m_cstring!=__null", m_cstring)) return false;
  m_cstring[0] = 0;
  return true;
}

template <typename T>
void T_cstring<T>::clear() {
  std::free(m_cstring);
  m_cstring = nullptr;
}

template class T_cstring<UniChar>;
