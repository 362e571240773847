// Numbers, formats and hexadecimal digits.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>

#include "sdk/CoreX/CoreCString.h"

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

int DigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}  // namespace

void CoreCString::printf(const char* format, ...) {
  if (format == nullptr) ThrowNil();
  char scratch[2050];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(scratch, sizeof scratch, format, arguments);
  va_end(arguments);
  if (length < 0 || length >= static_cast<int>(sizeof scratch) - 1) ThrowNil();
  Alloc(scratch, 0);
}

void CoreCString::sprintf(char* buffer, UInt32 size, const char* format, ...) {
  constexpr int kMostLength = 3;
  if (buffer == nullptr || format == nullptr) ThrowNil();
  va_list arguments;
  va_start(arguments, format);
  const int length =
      std::vsnprintf(buffer, std::max<std::size_t>(size, kMostLength + 1), format, arguments);
  va_end(arguments);
  if (length < 0 || length > kMostLength) ThrowNil();
  Alloc(buffer, 0);
}

bool CoreCString::ConstructFourCharCode(UInt32 code) {
  Delete();
  printf("0x%08lx '%c%c%c%c'", static_cast<unsigned long>(code), static_cast<char>(code >> 24),
         static_cast<char>(code >> 16), static_cast<char>(code >> 8), static_cast<char>(code));
  return true;
}

double CoreCString::AsDouble() const {
  float value = 0;
  std::sscanf(Buffer(), "%f", &value);
  return static_cast<double>(value);
}

const char* CoreCString::HexDigitPairFromByte(const unsigned char* byte, char separator) {
  static char pair[4];
  if (byte == nullptr) ThrowNil();
  if (separator != 0 && static_cast<unsigned char>(separator) < ' ') separator = ' ';
  pair[0] = kDigits[*byte >> 4];
  pair[1] = kDigits[*byte & 15];
  pair[2] = separator;
  pair[3] = 0;
  return pair;
}

void CoreCString::EncodeHexString(const void* data, unsigned int length, unsigned int maxBytes,
                                  char separator) {
  const std::size_t count = maxBytes == 0 || maxBytes > length ? length : maxBytes;
  const std::size_t size = count * 4 + 9;
  if (data == nullptr || size > std::numeric_limits<unsigned short>::max()) ThrowNil();
  // Apart from the buffer, which the data may lie in.
  std::string digits;
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (std::size_t i = 0; i < count; ++i) digits += HexDigitPairFromByte(bytes + i, separator);
  Alloc(digits.c_str(), static_cast<unsigned short>(size));
}

void CoreCString::HexData(const void* data, unsigned int length, unsigned int maxBytes) {
  EncodeHexString(data, length, maxBytes, ' ');
}

void CoreCString::AsHexString() {
  const std::size_t length = std::strlen(Buffer());
  if (length > 0) HexData(mBuffer, static_cast<unsigned>(length), 0);
}

unsigned CoreCString::DecodeHexString(const char* text) {
  if (text == nullptr) ThrowNil();
  std::string bytes;
  std::size_t digits = 0;
  int high = 0;
  for (; *text != 0; ++text) {
    const int digit = DigitValue(*text);
    if (digit < 0) continue;
    if (digits++ % 2 == 0) {
      high = digit;
    } else {
      bytes += static_cast<char>(high << 4 | digit);
    }
  }
  Assign(bytes.data(), bytes.size(), digits / 2 + 9);
  return static_cast<unsigned>(bytes.size());
}
