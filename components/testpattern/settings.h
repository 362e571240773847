// What the test pattern shows: read from the environment, once, when the first frame is asked for.
//
//   LUMIVANE_TESTPATTERN_FORMAT  argb (default) or 2vuy, in any letter case
//   LUMIVANE_TESTPATTERN_SIZE    WIDTHxHEIGHT in pixels, 80x60 to 7680x4320; default 640x480
//                                2vuy needs an even width
//   LUMIVANE_TESTPATTERN_RATE    frames per second, 1 to 240, decimals allowed; default 30
//
// A value that is not one of these is reported on standard error, one line each, and the default
// holds. An empty value counts as not set.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace testpattern {

enum class PixelFormat { kArgb, k2vuy };

struct Settings {
  PixelFormat format = PixelFormat::kArgb;
  int width = 640;
  int height = 480;
  double rate = 30;  ///< frames per second

  /// Both formats have whole 4-byte units, and rows without padding.
  std::uint32_t RowBytes() const;
  std::uint32_t DataSize() const { return RowBytes() * static_cast<std::uint32_t>(height); }
};

inline constexpr int kMinWidth = 80;
inline constexpr int kMaxWidth = 7680;
inline constexpr int kMinHeight = 60;
inline constexpr int kMaxHeight = 4320;
inline constexpr double kMinRate = 1;
inline constexpr double kMaxRate = 240;

/// `variable` yields an environment variable's value or null; `report` gets one line, without a
/// line end, per value that cannot be used.
Settings ReadSettings(const std::function<const char*(const char*)>& variable,
                      const std::function<void(const std::string&)>& report);

}  // namespace testpattern
