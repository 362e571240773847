#include "sdk/CoreX/CoreCString.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <functional>
#include <limits>

#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreServices/FileSpecs.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/CorePString.h"

namespace {

constexpr std::size_t kMostCapacity = std::numeric_limits<unsigned short>::max();

bool IsSpace(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

void CoreCString::ThrowNil() {
  throw CoreException("Nil exception pointer");
}

char* CoreCString::Buffer() const {
  if (mBuffer == nullptr) ThrowNil();
  return mBuffer;
}

CoreCString::CoreCString() {
  Alloc("", 0);
}

CoreCString::CoreCString(const char* text, unsigned short minimum) {
  Alloc(text, minimum);
}

CoreCString::CoreCString(const unsigned char* pascal, unsigned short minimum) {
  Alloc(pascal, minimum);
}

CoreCString::CoreCString(const CoreCString& other, unsigned short minimum) {
  Alloc(other.mBuffer, minimum);
}

CoreCString::CoreCString(const CorePString& pascal, unsigned short minimum) {
  Alloc(pascal.p_str(), minimum);
}

CoreCString::CoreCString(const std::string& text, unsigned short minimum) {
  Alloc(text.c_str(), minimum);
}

CoreCString::CoreCString(const FSSpec& spec, unsigned short minimum) {
  Assign(reinterpret_cast<const char*>(spec.name + 1),
         std::min<std::size_t>(spec.name[0], sizeof spec.name - 1), minimum);
}

CoreCString::CoreCString(const FSSpec* spec, unsigned short minimum)
    : CoreCString(spec != nullptr ? *spec : (ThrowNil(), *spec), minimum) {}

CoreCString::CoreCString(UInt32 code) {
  ConstructFourCharCode(code);
}

CoreCString::~CoreCString() {
  delete[] mBuffer;
}

// The new buffer is filled before the old one goes: the text may lie in it, and a failed allocation
// loses nothing.
void CoreCString::Assign(const char* text, std::size_t length, std::size_t minimum) {
  const std::size_t size = std::max(minimum, length + 1);
  if (size > kMostCapacity) ThrowNil();
  if (mBuffer != nullptr && size <= mCapacity) {
    if (length > 0) std::memmove(mBuffer, text, length);
    mBuffer[length] = 0;
    return;
  }
  char* buffer = new char[size]();
  if (length > 0) std::memcpy(buffer, text, length);
  delete[] mBuffer;
  mBuffer = buffer;
  mCapacity = static_cast<unsigned short>(size);
}

void CoreCString::Alloc(const char* text, unsigned short minimum) {
  Assign(text, text != nullptr ? std::strlen(text) : 0, minimum);
}

void CoreCString::Alloc(const unsigned char* pascal, unsigned short minimum) {
  if (pascal == nullptr) {
    Alloc(minimum);
  } else {
    Assign(reinterpret_cast<const char*>(pascal + 1), pascal[0], minimum);
  }
}

void CoreCString::Alloc(unsigned short size) {
  Assign(nullptr, 0, size);
}

void CoreCString::Delete() {
  delete[] mBuffer;
  mBuffer = nullptr;
  mCapacity = 0;
}

void CoreCString::Empty() {
  Buffer()[0] = 0;
}

void CoreCString::safe_strcpy(const char* text) {
  safe_strncpy(text, std::numeric_limits<unsigned short>::max());
}

void CoreCString::safe_strncpy(const char* text, unsigned short n) {
  char* buffer = Buffer();
  const std::size_t most = std::min<std::size_t>(n, mCapacity - 1U);
  const std::size_t length = text != nullptr ? ::strnlen(text, most) : 0;
  if (length > 0) std::memmove(buffer, text, length);
  buffer[length] = 0;
}

void CoreCString::safe_strcat(const char* text) {
  char* buffer = Buffer();
  if (text == nullptr) ThrowNil();
  const std::size_t own = std::strlen(buffer);
  const std::size_t added = std::strlen(text);
  const std::size_t total = (own + 1) + (added + 1);
  if (total == mCapacity) {
    buffer[total - 1] = 0;
    return;
  }
  const std::size_t fits = std::min<std::size_t>(added, mCapacity - 1U - own);
  std::memmove(buffer + own, text, fits);
  buffer[own + fits] = 0;
}

void CoreCString::strcat(const char* text) {
  char* buffer = Buffer();
  if (text == nullptr) ThrowNil();
  const std::size_t size = std::strlen(buffer) + 1 + std::strlen(text) + 1;
  if (size > kMostCapacity) ThrowNil();
  CoreCStringSized both(buffer, static_cast<unsigned short>(size));
  both.strcat(text);
  Alloc(both.c_str(), 0);
}

CoreCString& CoreCString::operator=(const char* text) {
  Alloc(text, 0);
  return *this;
}

CoreCString& CoreCString::operator=(const unsigned char* pascal) {
  Alloc(pascal, 0);
  return *this;
}

CoreCString& CoreCString::operator=(const CoreCString& other) {
  Alloc(other.mBuffer, 0);
  return *this;
}

CoreCString& CoreCString::operator=(const CorePString& pascal) {
  Alloc(pascal.p_str(), 0);
  return *this;
}

CoreCString& CoreCString::operator=(CFStringRef string) {
  const CFIndex length = string != nullptr ? CFStringGetLength(string) : 0;
  if (length >= static_cast<CFIndex>(kMostCapacity)) ThrowNil();
  Delete();
  if (string == nullptr) return *this;
  const CFIndex size = length + 1;
  Alloc(static_cast<unsigned short>(size));
  if (!CFStringGetCString(string, mBuffer, size, kCFStringEncodingMacRoman)) Empty();
  return *this;
}

CoreCString& CoreCString::operator+=(const CoreCString& other) {
  strcat(other.mBuffer);
  return *this;
}

CoreCString& CoreCString::operator+=(const unsigned char* pascal) {
  if (pascal == nullptr) ThrowNil();
  strcat(CoreCString(pascal).mBuffer);
  return *this;
}

CoreCString& CoreCString::operator+=(const char* text) {
  strcat(text);
  return *this;
}

void CoreCString::trim_leading_whitespace() {
  char* buffer = Buffer();
  const char* first = buffer;
  while (IsSpace(*first)) ++first;
  if (*first != 0) std::memmove(buffer, first, std::strlen(first) + 1);
}

void CoreCString::trim_trailing_whitespace() {
  char* buffer = Buffer();
  std::size_t length = std::strlen(buffer);
  while (length > 0 && IsSpace(buffer[length - 1])) buffer[--length] = 0;
}

void CoreCString::trim_trailing_and_leading_whitespace() {
  trim_trailing_whitespace();
  trim_leading_whitespace();
}

bool CoreCString::operator==(const char* text) const {
  const char* buffer = Buffer();
  if (text == nullptr) ThrowNil();
  return std::strcmp(buffer, text) == 0;
}

bool CoreCString::operator==(const unsigned char* pascal) const {
  if (pascal == nullptr) ThrowNil();
  return *this == CoreCString(pascal).mBuffer;
}

unsigned CoreCString::AssignTo(unsigned char* pascal, unsigned int max, const char* text) {
  if (pascal == nullptr) return 0;
  const std::size_t most = std::min(max, 255U);
  const std::size_t length = text != nullptr ? ::strnlen(text, most) : 0;
  if (length > 0) std::memmove(pascal + 1, text, length);
  pascal[0] = static_cast<unsigned char>(length);
  return static_cast<unsigned>(length);
}

unsigned CoreCString::AssignTo(unsigned char* pascal, unsigned int max) const {
  return AssignTo(pascal, max, mBuffer);
}

unsigned CoreCString::AssignTo(char* buffer) const {
  if (buffer == nullptr) return 0;
  const std::size_t length = mBuffer != nullptr ? std::strlen(mBuffer) : 0;
  if (length > 0) std::memmove(buffer, mBuffer, length);
  buffer[length] = 0;
  return static_cast<unsigned>(length);
}

CoreCStringSized::CoreCStringSized(unsigned short size) {
  Alloc(size);
}

CoreCStringSized::CoreCStringSized(UInt32 code, unsigned short size) : CoreCString(code) {
  Delete();
  char quoted[] = {'\'', 0, 0, 0, 0, '\'', 0};
  std::memcpy(quoted + 1, &code, sizeof code);
  Alloc(quoted, size);
}

void CoreCStringSized::strcat(const char* text) {
  char* buffer = Buffer();
  if (text == nullptr) ThrowNil();
  const std::size_t own = std::strlen(buffer);
  const std::size_t added = std::strlen(text);
  if (own + added >= capacity() - 1U) ThrowNil();
  std::memmove(buffer + own, text, added);
  buffer[own + added] = 0;
}

void CoreCStringSized::truncate(const char* position) {
  char* buffer = Buffer();
  const char* end = buffer + std::strlen(buffer);
  if (std::less<>()(position, buffer) || std::less<>()(end, position)) ThrowNil();
  buffer[position - buffer] = 0;
}
