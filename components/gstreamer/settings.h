// The camera's settings: docs/cameras.md describes each.
//
// They stand in camera.conf in the user's configuration folder, a key file as desktop entries are:
// group [camera] with the keys below, and [controls] or [controls CAMERA] with values for the
// camera's own controls. An environment variable LUMIVANE_CAMERA_ and the key in capitals, - as _,
// wins over the file. What is empty counts as not set; what cannot be used is reported, naming the
// setting, and the default holds.
#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "components/gstreamer/source.h"

namespace gstcamera {

struct Size {
  int width = 0;
  int height = 0;
  bool operator==(const Size&) const = default;
};

enum class PixelFormat { k2vuy, kArgb };
enum class Fit { kLetterbox, kCrop, kStretch };
enum class Flip { kNone, kHorizontal, kVertical, kBoth };
enum class Matrix { kAuto, kBt601, kBt709, kBt2020 };
enum class Range { kAuto, kLimited, kFull };

/// A value for one of a camera's own controls.
struct ControlSetting {
  std::string camera;  ///< stable name it is meant for; empty: any
  std::string name;    ///< as `lumivane camera controls` lists it
  std::string value;
  bool operator==(const ControlSetting&) const = default;
};

struct Settings {
  Source source;
  std::optional<Size> size = Size{640, 480};  ///< nothing: the source's own
  double rate = 30;                           ///< frames per second; 0: the most there is
  PixelFormat format = PixelFormat::k2vuy;
  Fit fit = Fit::kLetterbox;
  Flip flip = Flip::kNone;  ///< after turning
  int rotate = 0;           ///< clockwise: 0, 90, 180 or 270
  Matrix matrix = Matrix::kAuto;
  Range range = Range::kAuto;
  bool deinterlace = true;
  bool loop = true;
  double staleAfter = 1;  ///< seconds without a new frame until the picture counts as stale
  double hold = 5;        ///< seconds that a stale picture still shows
  double timeout = 5;     ///< seconds without a new frame until the source is opened anew
  std::vector<ControlSetting> controls;

  bool operator==(const Settings&) const = default;
};

/// The two are the same but for `controls`.
bool SameButControls(const Settings& a, const Settings& b);

inline constexpr int kSmallestSide = 16;
inline constexpr int kLargestWidth = 7680;
inline constexpr int kLargestHeight = 4320;
inline constexpr double kHighestRate = 240;

/// Where the settings lie: XDG_CONFIG_HOME (if absolute) or ~/.config, then lumivane/camera.conf.
std::string SettingsPath(const std::function<const char*(const char*)>& variable);

/// Reads both places. `variable` yields an environment variable's value or null; `report` gets one
/// line, without a line end, per setting that cannot be used. A file that does not exist is no
/// error.
Settings ReadSettings(const std::string& path,
                      const std::function<const char*(const char*)>& variable,
                      const std::function<void(const std::string&)>& report);

/// Sets one key of `settings`. False, with what is wanted in `*wanted`, when it cannot be: a key
/// that does not exist, or a value that is not one of its own.
bool SetOne(Settings& settings, const std::string& key, const std::string& value,
            const std::string& home, std::string* wanted);

/// The value of one key in the notation of the file.
std::string SettingText(const Settings& settings, const std::string& key);

/// "LUMIVANE_CAMERA_STALE_AFTER" for "stale-after".
std::string VariableName(const std::string& key);

/// The keys of [camera], in the order in which they are documented.
inline constexpr std::array kSettingKeys = {
    "source", "size",  "rate",        "format", "fit",         "flip", "rotate",
    "matrix", "range", "deinterlace", "loop",   "stale-after", "hold", "timeout"};

}  // namespace gstcamera
