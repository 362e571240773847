#include "sdk/CoreX/CorePString.h"

#include <algorithm>
#include <cstring>

#include "sdk/CoreX/CoreMachDebugLog.h"

CorePString& CorePString::operator=(const CorePString& other) {
  std::memmove(mBytes, other.mBytes, kMaxLength + 1);
  return *this;
}

CorePString& CorePString::operator=(const unsigned char* pascal) {
  const std::size_t length = pascal != nullptr ? pascal[0] : 0;
  if (length > 0) std::memmove(mBytes + 1, pascal + 1, length);
  mBytes[0] = static_cast<unsigned char>(length);
  mBytes[length + 1] = 0;
  return *this;
}

CorePString& CorePString::operator=(const char* text) {
  const std::size_t length = text != nullptr ? ::strnlen(text, kMaxLength) : 0;
  if (length > 0) std::memmove(mBytes + 1, text, length);
  mBytes[0] = static_cast<unsigned char>(length);
  mBytes[length + 1] = 0;
  return *this;
}

char* CorePString::AssignTo(char* buffer) const {
  if (buffer == nullptr) return nullptr;
  std::memmove(buffer, mBytes + 1, strlen());
  buffer[strlen()] = 0;
  return buffer;
}

unsigned char* CorePString::AssignTo(unsigned char* pascal, unsigned short max) const {
  strcpy(pascal, max);
  return pascal;
}

unsigned CorePString::strcpy(unsigned char* pascal, unsigned short max) const {
  if (pascal == nullptr) return 0;
  const unsigned n = std::min<unsigned>(strlen(), max);
  std::memmove(pascal + 1, mBytes + 1, n);
  pascal[0] = static_cast<unsigned char>(n);
  return n;
}

char* CorePString::strcat(const unsigned char* pascal) {
  const std::size_t pstring_len = strlen();
  const std::size_t rhs_len = pascal != nullptr ? pascal[0] : 0;
  VERIFY_TEXT(__LINE__, "pstring_len+rhs_len", pstring_len + rhs_len != 0);
  const std::size_t sum = pstring_len + rhs_len;
  if (rhs_len > 0 && sum <= kMaxLength) {
    std::memmove(mBytes + sum, pascal + 1, std::min(rhs_len, kMaxLength + 1 - sum));
  }
  if (sum < kMaxLength) mBytes[sum + 1] = 0;
  mBytes[0] = static_cast<unsigned char>(sum);
  return reinterpret_cast<char*>(mBytes + 1);
}

char* CorePString::strcatc(char c) {
  const std::size_t length = strlen();
  if (length < kMaxLength) {
    mBytes[length + 1] = static_cast<unsigned char>(c);
    mBytes[length + 2] = 0;
    mBytes[0] = static_cast<unsigned char>(length + 1);
  }
  return reinterpret_cast<char*>(mBytes + 1);
}

bool CorePString::operator==(const char* text) const {
  return text != nullptr && std::strcmp(c_str(), text) == 0;
}

bool CorePString::operator==(const unsigned char* pascal) const {
  return pascal != nullptr && *this == CorePString(pascal).c_str();
}
