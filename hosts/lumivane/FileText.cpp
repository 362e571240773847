#include "hosts/lumivane/FileText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <string_view>
#include <utility>

#include "hosts/lumivane/ExitCodes.h"
#include "platform/CoreServices/Resources.h"
#include "sdk/CoreX/T_CFString.h"

namespace lumivane {
namespace {

constexpr std::pair<int, const char*> kErrors[] = {
    {dirFulErr, "the folder is full"},
    {dskFulErr, "the disk is full"},
    {nsvErr, "no such volume"},
    {ioErr, "the disk cannot be read or written"},
    {bdNamErr, "no file can have this name"},
    {fnfErr, "no such file or folder"},
    {wPrErr, "the volume is read-only"},
    {fLckdErr, "the file is locked"},
    {vLckdErr, "the volume is locked"},
    {fBsyErr, "the file is in use"},
    {dupFNErr, "exists already"},
    {opWrErr, "someone writes it already"},
    {paramErr, "not valid"},
    {permErr, "not permitted"},
    {wrPermErr, "no right to write it"},
    {dirNFErr, "no such folder"},
    {fsDSIntErr, "its side file is broken; it is left as it is"},
    {notAFileErr, "not a file"},
    {errFSNameTooLong, "the name is too long"},
    {afpAccessDenied, "no right to it"},
    {eofErr, "it has no resources"},
    {resNotFound, "it has no such resource"},
    {mapReadErr, "its resource fork is no well-formed resource file"},
};

}  // namespace

std::string FileErrorText(int error) {
  const std::string number = " (error " + std::to_string(error) + ")";
  for (const auto& [code, text] : kErrors) {
    if (code == error) return text + number;
  }
  return "failed" + number;
}

bool FindFile(const std::string& path, FSRef* ref) {
  const OSStatus error = FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), ref, nullptr);
  if (error != noErr) FileFailure(path, FileErrorText(error));
  return error == noErr;
}

bool FindPlainFile(const std::string& path, FSRef* ref) {
  Boolean isFolder = 0;
  OSStatus error = FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), ref, &isFolder);
  if (error == noErr && isFolder != 0) error = notAFileErr;
  if (error != noErr) FileFailure(path, FileErrorText(error));
  return error == noErr;
}

int FileFailure(const std::string& path, const std::string& text) {
  std::fprintf(stderr, "lumivane: %s: %s\n", path.c_str(), text.c_str());
  return kExitFailed;
}

std::string FilePath(const FSRef& ref) {
  std::array<UInt8, 4096> path{};
  if (FSRefMakePath(&ref, path.data(), static_cast<UInt32>(path.size())) != noErr) return {};
  return reinterpret_cast<const char*>(path.data());
}

std::string CodeText(OSType code) {
  if (code == 0) return {};
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(code >> shift);
  const bool prints = std::all_of(bytes.begin(), bytes.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x20 && byte != 0x7F;
  });
  if (prints && bytes.substr(0, 2) != "0x") return TextOfRoman(bytes);
  char text[11];
  std::snprintf(text, sizeof text, "0x%08X", code);
  return text;
}

std::optional<OSType> ParseCode(const std::string& text) {
  if (text.size() == 10 && text.compare(0, 2, "0x") == 0 &&
      text.find_first_not_of("0123456789ABCDEFabcdef", 2) == std::string::npos) {
    return static_cast<OSType>(std::stoul(text.substr(2), nullptr, 16));
  }
  std::string roman;
  TCFString string;
  if (!string.SetValue(text, kCFStringEncodingUTF8) || string.strlen() != 4 ||
      !string.GetValue(roman, kCFStringEncodingMacRoman) || roman.size() != 4) {
    return std::nullopt;
  }
  OSType code = 0;
  for (const char c : roman) code = code << 8 | static_cast<unsigned char>(c);
  return code;
}

std::string DateText(const UTCDateTime& date) {
  const std::int64_t since1904 = std::int64_t{date.highSeconds} << 32 | date.lowSeconds;
  if (since1904 == 0) return {};
  constexpr std::int64_t k1904To1970 = 2'082'844'800;
  const std::time_t time = since1904 - k1904To1970;
  std::tm fields{};
  char text[64];
  if (gmtime_r(&time, &fields) == nullptr ||
      std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &fields) == 0) {
    return {};
  }
  return text;
}

std::string TextOfRoman(const std::string& roman) {
  TCFString string;
  std::string text;
  if (!roman.empty() && string.SetValue(roman, kCFStringEncodingMacRoman)) string.GetValue(text);
  return text;
}

std::string HexText(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(static_cast<UInt8>(c)));
    if (!text.empty()) text += ' ';
    text += digits;
  }
  return text;
}

void PrintValues(const nlohmann::ordered_json& values, bool asJson) {
  constexpr auto kReplace = nlohmann::ordered_json::error_handler_t::replace;
  if (asJson) {
    std::printf("%s\n", values.dump(2, ' ', false, kReplace).c_str());
    return;
  }
  for (const auto& [name, value] : values.items()) {
    const std::string text =
        value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', false, kReplace);
    if (!text.empty() && text != "null") std::printf("%-16s %s\n", name.c_str(), text.c_str());
  }
}

}  // namespace lumivane
