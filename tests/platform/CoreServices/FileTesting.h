// What the tests of the file layer share.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/CoreServices/Files.h"
#include "tests/support/HermeticHome.h"

namespace test {

namespace fs = std::filesystem;

inline FSRef RefOf(const fs::path& path) {
  FSRef ref{};
  EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr), noErr)
      << path;
  return ref;
}

inline std::string PathOf(const FSRef& ref) {
  UInt8 path[4096];
  const OSStatus error = FSRefMakePath(&ref, path, sizeof path);
  if (error != noErr) return "error " + std::to_string(error);
  return reinterpret_cast<const char*>(path);
}

/// The validity test of a reference.
inline OSErr Validity(const FSRef& ref) {
  FSCatalogInfo info{};
  return FSGetCatalogInfo(&ref, kFSCatInfoCreateDate, &info, nullptr, nullptr, nullptr);
}

/// A Pascal string, for as long as the full expression. Of a longer text 255 bytes are there.
struct Pascal {
  unsigned char bytes[256] = {};
  explicit Pascal(const std::string& text) {
    bytes[0] = static_cast<unsigned char>(text.size());
    std::memcpy(bytes + 1, text.data(), std::min<std::size_t>(text.size(), 255));
  }
  operator ConstStr255Param() const { return bytes; }
};

inline HFSUniStr255 Units(const std::u16string& text) {
  HFSUniStr255 units{};
  units.length = static_cast<UInt16>(text.size());
  for (std::size_t i = 0; i < text.size() && i < 255; ++i) units.unicode[i] = text[i];
  return units;
}

inline std::u16string TextOf(const HFSUniStr255& units) {
  return {reinterpret_cast<const char16_t*>(units.unicode), units.length};
}

inline OSErr Lookup(const FSRef& folder, const std::u16string& name, FSRef* ref) {
  const HFSUniStr255 units = Units(name);
  return FSMakeFSRefUnicode(&folder, units.length, units.unicode, kTextEncodingUnknown, ref);
}

inline OSErr CreateFile(const FSRef& folder, const std::u16string& name, FSRef* ref = nullptr,
                        FSCatalogInfoBitmap which = kFSCatInfoNone,
                        const FSCatalogInfo* info = nullptr) {
  const HFSUniStr255 units = Units(name);
  return FSCreateFileUnicode(&folder, units.length, units.unicode, which, info, ref, nullptr);
}

inline OSErr Rename(const FSRef& ref, const std::u16string& name, FSRef* renamed = nullptr) {
  const HFSUniStr255 units = Units(name);
  return FSRenameUnicode(&ref, units.length, units.unicode, kTextEncodingMacUnicode, renamed);
}

inline FSCatalogInfo InfoOfType(OSType type, OSType creator) {
  FSCatalogInfo info{};
  const FInfo finder{type, creator, 0, {0, 0}, 0};
  std::memcpy(info.finderInfo, &finder, sizeof finder);
  return info;
}

inline OSErr SetType(const FSRef& ref, OSType type, OSType creator) {
  const FSCatalogInfo info = InfoOfType(type, creator);
  return FSSetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info);
}

inline OSErr GetFinder(const FSRef& ref, FInfo* finder) {
  FSCatalogInfo info{};
  const OSErr error =
      FSGetCatalogInfo(&ref, kFSCatInfoFinderInfo, &info, nullptr, nullptr, nullptr);
  std::memcpy(finder, info.finderInfo, sizeof *finder);
  return error;
}

inline OSType TypeOf(const FSRef& ref) {
  FInfo finder{};
  EXPECT_EQ(GetFinder(ref, &finder), noErr);
  return finder.fdType;
}

inline OSErr OpenResourceFork(const FSRef& ref, SInt8 permission, SInt16* number) {
  HFSUniStr255 name{};
  FSGetResourceForkName(&name);
  return FSOpenFork(&ref, name.length, name.unicode, permission, number);
}

inline OSErr WriteResourceFork(const FSRef& ref, const std::string& bytes) {
  SInt16 number = 0;
  OSErr error = OpenResourceFork(ref, fsRdWrPerm, &number);
  if (error != noErr) return error;
  error = FSWriteFork(number, fsFromStart, 0, static_cast<ByteCount>(bytes.size()), bytes.data(),
                      nullptr);
  const OSErr closed = FSCloseFork(number);
  return error != noErr ? error : closed;
}

/// The whole resource fork, or "error N".
inline std::string ReadResourceFork(const FSRef& ref) {
  SInt16 number = 0;
  OSErr error = OpenResourceFork(ref, fsRdPerm, &number);
  SInt64 size = 0;
  std::string bytes;
  if (error == noErr) error = FSGetForkSize(number, &size);
  if (error == noErr) {
    bytes.resize(static_cast<std::size_t>(size));
    error = FSReadFork(number, fsFromStart, 0, static_cast<ByteCount>(size), bytes.data(), nullptr);
    FSCloseFork(number);
  }
  return error == noErr ? bytes : "error " + std::to_string(error);
}

inline std::string Hex(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    text += kDigits[static_cast<unsigned char>(byte) >> 4];
    text += kDigits[static_cast<unsigned char>(byte) & 15];
  }
  return text;
}

inline std::string FromHex(const std::string& text) {
  std::string bytes;
  int high = -1;
  for (const char c : text) {
    const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
    if (digit < 0) continue;
    if (high < 0) {
      high = digit;
    } else {
      bytes += static_cast<char>(high * 16 + digit);
      high = -1;
    }
  }
  return bytes;
}

}  // namespace test
