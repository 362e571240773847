#include "components/gstreamer/settings.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string_view>

#include "components/gstreamer/glib_text.h"

namespace gstcamera {
namespace {

constexpr const char* kGroup = "camera";
constexpr std::string_view kControlsGroup = "controls";

template <typename Number>
bool ParseNumber(std::string_view text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

template <typename Value>
struct Named {
  const char* name;
  Value value;
};

constexpr Named<PixelFormat> kFormats[] = {{"2vuy", PixelFormat::k2vuy},
                                           {"argb", PixelFormat::kArgb}};
constexpr Named<Fit> kFits[] = {
    {"letterbox", Fit::kLetterbox}, {"crop", Fit::kCrop}, {"stretch", Fit::kStretch}};
constexpr Named<Flip> kFlips[] = {{"none", Flip::kNone},
                                  {"horizontal", Flip::kHorizontal},
                                  {"vertical", Flip::kVertical},
                                  {"both", Flip::kBoth}};
constexpr Named<int> kTurns[] = {{"0", 0}, {"90", 90}, {"180", 180}, {"270", 270}};
constexpr Named<Matrix> kMatrices[] = {{"auto", Matrix::kAuto},
                                       {"bt601", Matrix::kBt601},
                                       {"bt709", Matrix::kBt709},
                                       {"bt2020", Matrix::kBt2020}};
constexpr Named<Range> kRanges[] = {
    {"auto", Range::kAuto}, {"limited", Range::kLimited}, {"full", Range::kFull}};
constexpr Named<bool> kDeinterlacing[] = {{"auto", true}, {"no", false}};
constexpr Named<bool> kAnswers[] = {{"yes", true}, {"no", false}};

template <typename Value, std::size_t kCount>
const char* NameOf(const Named<Value> (&names)[kCount], Value value) {
  for (const auto& one : names) {
    if (one.value == value) return one.name;
  }
  return "";
}

// `text` is one of `names`, in any letter case.
template <typename Value, std::size_t kCount>
bool ParseName(const std::string& text, const Named<Value> (&names)[kCount], Value& value,
               std::string* wanted) {
  for (const auto& [name, meant] : names) {
    if (g_ascii_strcasecmp(text.c_str(), name) == 0) {
      value = meant;
      return true;
    }
  }
  *wanted = names[0].name;
  for (std::size_t i = 1; i < kCount; ++i)
    *wanted += std::string(i + 1 == kCount ? " or " : ", ") + names[i].name;
  return false;
}

bool ParseSeconds(const std::string& text, double least, double& seconds, std::string* wanted) {
  double s = 0;
  // Not a number compares false, and so is refused too.
  if (ParseNumber(text, s) && s >= least && s <= 3600) {
    seconds = s;
    return true;
  }
  *wanted = least == 0 ? "seconds from 0 to 3600" : "seconds from 0.1 to 3600";
  return false;
}

bool ParseSize(const std::string& text, std::optional<Size>& size, std::string* wanted) {
  if (g_ascii_strcasecmp(text.c_str(), "auto") == 0) {
    size.reset();
    return true;
  }
  const std::size_t cross = text.find_first_of("xX");
  Size s;
  if (cross != std::string::npos && ParseNumber(std::string_view(text).substr(0, cross), s.width) &&
      ParseNumber(std::string_view(text).substr(cross + 1), s.height) && s.width >= kSmallestSide &&
      s.height >= kSmallestSide && s.width <= kLargestWidth && s.height <= kLargestHeight) {
    size = s;
    return true;
  }
  *wanted = "WIDTHxHEIGHT from 16x16 to 7680x4320, or auto";
  return false;
}

bool ParseRate(const std::string& text, double& rate, std::string* wanted) {
  double r = 0;
  if (g_ascii_strcasecmp(text.c_str(), "max") == 0) {
    rate = 0;
    return true;
  }
  if (ParseNumber(text, r) && r >= 0.1 && r <= kHighestRate) {
    rate = r;
    return true;
  }
  *wanted = "frames per second from 0.1 to 240, or max";
  return false;
}

// The controls of [controls] and of each [controls CAMERA].
void ReadControls(GKeyFile* file, Settings& settings) {
  const std::unique_ptr<char*, void (*)(char**)> groups(g_key_file_get_groups(file, nullptr),
                                                        g_strfreev);
  for (char** group = groups.get(); *group != nullptr; ++group) {
    const std::string_view name = *group;
    if (name.substr(0, kControlsGroup.size()) != kControlsGroup) continue;
    std::string_view camera = name.substr(kControlsGroup.size());
    if (!camera.empty() && camera[0] != ' ') continue;
    if (!camera.empty()) camera.remove_prefix(1);
    const std::unique_ptr<char*, void (*)(char**)> keys(
        g_key_file_get_keys(file, *group, nullptr, nullptr), g_strfreev);
    for (char** key = keys.get(); key != nullptr && *key != nullptr; ++key) {
      const GlibText value(g_key_file_get_string(file, *group, *key, nullptr));
      if (value && *value.get() != '\0')
        settings.controls.push_back({std::string(camera), *key, value.get()});
    }
  }
}

// Settings that are fine by themselves but not together.
void Reconcile(Settings& settings, const std::function<std::string(const char*)>& nameOf,
               const std::function<void(const std::string&)>& report) {
  if (settings.format == PixelFormat::k2vuy && settings.size && settings.size->width % 2 != 0) {
    const int even = settings.size->width - 1;
    report(nameOf("size") + " is \"" + std::to_string(settings.size->width) + "x" +
           std::to_string(settings.size->height) + "\": 2vuy needs an even width; using " +
           std::to_string(even) + "x" + std::to_string(settings.size->height));
    settings.size->width = even;
  }
  // A source that is slower than this would be opened anew all the time.
  const double slowest = settings.rate == 0 ? 0 : 2 / settings.rate;
  Settings longer;
  longer.timeout = slowest;
  if (settings.timeout < slowest) {
    report(nameOf("timeout") + " is shorter than two frames at the rate of " +
           SettingText(settings, "rate") + "; using " + SettingText(longer, "timeout") + " s");
    settings.timeout = slowest;
  }
  if (settings.staleAfter < slowest) {
    report(nameOf("stale-after") + " is shorter than two frames at the rate of " +
           SettingText(settings, "rate") + "; using " + SettingText(longer, "timeout") + " s");
    settings.staleAfter = slowest;
  }
}

}  // namespace

std::string VariableName(const std::string& key) {
  std::string name = "LUMIVANE_CAMERA_";
  for (const char c : key) name += c == '-' ? '_' : g_ascii_toupper(c);
  return name;
}

std::string SettingText(const Settings& settings, const std::string& key) {
  const auto number = [](double value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%g", value);
    return std::string(text);
  };
  const Size size = settings.size.value_or(Size());
  if (key == "source") return SourceText(settings.source);
  if (key == "size") {
    return settings.size ? std::to_string(size.width) + "x" + std::to_string(size.height) : "auto";
  }
  if (key == "rate") return settings.rate == 0 ? "max" : number(settings.rate);
  if (key == "format") return settings.format == PixelFormat::k2vuy ? "2vuy" : "argb";
  if (key == "fit") return NameOf(kFits, settings.fit);
  if (key == "flip") return NameOf(kFlips, settings.flip);
  if (key == "rotate") return std::to_string(settings.rotate);
  if (key == "matrix") return NameOf(kMatrices, settings.matrix);
  if (key == "range") return NameOf(kRanges, settings.range);
  if (key == "deinterlace") return settings.deinterlace ? "auto" : "no";
  if (key == "loop") return settings.loop ? "yes" : "no";
  if (key == "stale-after") return number(settings.staleAfter);
  if (key == "hold") return number(settings.hold);
  if (key == "timeout") return number(settings.timeout);
  return {};
}

bool SameButControls(const Settings& a, const Settings& b) {
  Settings copy = b;
  copy.controls = a.controls;
  return a == copy;
}

bool SetOne(Settings& settings, const std::string& key, const std::string& value,
            const std::string& home, std::string* wanted) {
  if (key == "source") return ParseSource(value, home, settings.source, wanted);
  if (key == "size") return ParseSize(value, settings.size, wanted);
  if (key == "rate") return ParseRate(value, settings.rate, wanted);
  if (key == "format") return ParseName(value, kFormats, settings.format, wanted);
  if (key == "fit") return ParseName(value, kFits, settings.fit, wanted);
  if (key == "flip") return ParseName(value, kFlips, settings.flip, wanted);
  if (key == "rotate") return ParseName(value, kTurns, settings.rotate, wanted);
  if (key == "matrix") return ParseName(value, kMatrices, settings.matrix, wanted);
  if (key == "range") return ParseName(value, kRanges, settings.range, wanted);
  if (key == "deinterlace") return ParseName(value, kDeinterlacing, settings.deinterlace, wanted);
  if (key == "loop") return ParseName(value, kAnswers, settings.loop, wanted);
  if (key == "stale-after") return ParseSeconds(value, 0.1, settings.staleAfter, wanted);
  if (key == "hold") return ParseSeconds(value, 0, settings.hold, wanted);
  if (key == "timeout") return ParseSeconds(value, 0.1, settings.timeout, wanted);
  *wanted = "one of the settings of docs/cameras.md";
  return false;
}

std::string SettingsPath(const std::function<const char*(const char*)>& variable) {
  const char* const folder = variable("XDG_CONFIG_HOME");
  if (folder != nullptr && folder[0] == '/') return std::string(folder) + "/lumivane/camera.conf";
  const char* const home = variable("HOME");
  const std::string base = home != nullptr && home[0] == '/' ? home : g_get_home_dir();
  return base + "/.config/lumivane/camera.conf";
}

Settings ReadSettings(const std::string& path,
                      const std::function<const char*(const char*)>& variable,
                      const std::function<void(const std::string&)>& report) {
  Settings settings;
  const KeyFileHeld file(g_key_file_new());
  GError* failure = nullptr;
  if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, &failure)) {
    const ErrorHeld held(failure);
    if (!g_error_matches(failure, G_FILE_ERROR, G_FILE_ERROR_NOENT))
      report(path + " cannot be used: " + failure->message);
  }
  const char* const homeVariable = variable("HOME");
  const std::string home = homeVariable != nullptr ? homeVariable : g_get_home_dir();
  const auto use = [&](const std::string& name, const std::string& key, const std::string& value) {
    std::string wanted;
    if (SetOne(settings, key, value, home, &wanted)) return;
    report(name + " is \"" + value + "\": want " + wanted + "; using " +
           SettingText(settings, key));
  };

  if (g_key_file_has_group(file.get(), kGroup)) {
    const std::unique_ptr<char*, void (*)(char**)> keys(
        g_key_file_get_keys(file.get(), kGroup, nullptr, nullptr), g_strfreev);
    for (char** key = keys.get(); key != nullptr && *key != nullptr; ++key) {
      const std::string_view name = *key;
      if (std::find(kSettingKeys.begin(), kSettingKeys.end(), name) == kSettingKeys.end()) {
        report(path + ": there is no setting \"" + *key + "\"");
        continue;
      }
      const GlibText value(g_key_file_get_string(file.get(), kGroup, *key, nullptr));
      if (!value) report(path + ": " + *key + " is not text");
      // A variable is going to win: what stands in the file is nobody's concern.
      const char* const winner = variable(VariableName(*key).c_str());
      if (!value || *value.get() == '\0' || (winner != nullptr && *winner != '\0')) continue;
      use(path + ": " + *key, *key, value.get());
    }
  }
  ReadControls(file.get(), settings);
  for (const char* const key : kSettingKeys) {
    const std::string name = VariableName(key);
    const char* const value = variable(name.c_str());
    if (value != nullptr && *value != '\0') use(name, key, value);
  }
  const auto nameOf = [&](const char* key) {
    const std::string name = VariableName(key);
    const char* const value = variable(name.c_str());
    return value != nullptr && *value != '\0' ? name : path + ": " + key;
  };
  Reconcile(settings, nameOf, report);
  return settings;
}

}  // namespace gstcamera
