// What the verbs of `lumivane file` share: finding files, and values as texts.
#pragma once

#include <optional>
#include <string>

#include "nlohmann/json.hpp"
#include "platform/CoreServices/Files.h"

namespace lumivane {

/// What an error of the file layer means, with its number.
std::string FileErrorText(int error);

/// The object at a path, symbolic links followed. A failure is told on standard error.
bool FindFile(const std::string& path, FSRef* ref);
/// The same for files only.
bool FindPlainFile(const std::string& path, FSRef* ref);

/// Tells a failure on standard error: "lumivane: PATH: TEXT". Returns kExitFailed.
int FileFailure(const std::string& path, const std::string& text);

/// The path as the system has it; empty when there is none.
std::string FilePath(const FSRef& ref);

/// "TEXT" as it is, with characters that do not print as "0x00000000"; empty for 0.
std::string CodeText(OSType code);
/// The other way round, from four Mac Roman characters or "0x" and eight digits.
std::optional<OSType> ParseCode(const std::string& text);

/// "2026-01-31T12:00:00Z"; empty for no date.
std::string DateText(const UTCDateTime& date);

/// UTF-8 of Mac Roman text.
std::string TextOfRoman(const std::string& roman);
/// Two digits for each byte, blanks between.
std::string HexText(const std::string& bytes);

/// JSON, or lines "name  value" with empty values left out. Bytes that are no UTF-8 are replaced.
void PrintValues(const nlohmann::ordered_json& values, bool asJson);

}  // namespace lumivane
