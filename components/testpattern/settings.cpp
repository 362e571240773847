#include "components/testpattern/settings.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace testpattern {
namespace {

constexpr const char* kFormatVariable = "LUMIVANE_TESTPATTERN_FORMAT";
constexpr const char* kSizeVariable = "LUMIVANE_TESTPATTERN_SIZE";
constexpr const char* kRateVariable = "LUMIVANE_TESTPATTERN_RATE";

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return lower;
}

// The whole of `text` as a number.
template <typename Number>
bool ParseNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

bool ParseFormat(std::string_view text, PixelFormat& format) {
  const std::string lower = LowerCase(text);
  if (lower == "argb") {
    format = PixelFormat::kArgb;
  } else if (lower == "2vuy") {
    format = PixelFormat::k2vuy;
  } else {
    return false;
  }
  return true;
}

bool ParseSize(std::string_view text, int& width, int& height) {
  const std::string lower = LowerCase(text);
  const std::size_t cross = lower.find('x');
  if (cross == std::string::npos) return false;
  const std::string_view view = lower;
  int w = 0;
  int h = 0;
  if (!ParseNumber(view.substr(0, cross), w) || !ParseNumber(view.substr(cross + 1), h))
    return false;
  if (w < kMinWidth || w > kMaxWidth || h < kMinHeight || h > kMaxHeight) return false;
  width = w;
  height = h;
  return true;
}

bool ParseRate(std::string_view text, double& rate) {
  double r = 0;
  // Not a number compares false, and so is refused too.
  if (!ParseNumber(text, r) || !(r >= kMinRate && r <= kMaxRate)) return false;
  rate = r;
  return true;
}

std::string Complaint(const char* name, const char* value, const char* wanted, const char* used) {
  return std::string("LumivaneXXX.component: ") + name + " is \"" + value + "\": want " + wanted +
         "; using " + used;
}

}  // namespace

std::uint32_t Settings::RowBytes() const {
  return static_cast<std::uint32_t>(width) * (format == PixelFormat::kArgb ? 4 : 2);
}

Settings ReadSettings(const std::function<const char*(const char*)>& variable,
                      const std::function<void(const std::string&)>& report) {
  Settings settings;
  const auto value = [&](const char* name) -> const char* {
    const char* const text = variable(name);
    return text != nullptr && *text != '\0' ? text : nullptr;
  };
  const char* text = value(kFormatVariable);
  if (text != nullptr && !ParseFormat(text, settings.format)) {
    report(Complaint(kFormatVariable, text, "argb or 2vuy", "argb"));
  }
  text = value(kSizeVariable);
  if (text != nullptr) {
    const bool parsed = ParseSize(text, settings.width, settings.height);
    if (!parsed) {
      report(Complaint(kSizeVariable, text, "WIDTHxHEIGHT from 80x60 to 7680x4320", "640x480"));
    } else if (settings.format == PixelFormat::k2vuy && settings.width % 2 != 0) {
      report(Complaint(kSizeVariable, text, "an even width for 2vuy", "640x480"));
      settings.width = Settings().width;
      settings.height = Settings().height;
    }
  }
  text = value(kRateVariable);
  if (text != nullptr && !ParseRate(text, settings.rate)) {
    report(Complaint(kRateVariable, text, "frames per second from 1 to 240", "30"));
  }
  return settings;
}

}  // namespace testpattern
