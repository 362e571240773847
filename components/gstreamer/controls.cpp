#include "components/gstreamer/controls.h"

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace gstcamera {
namespace {

template <std::size_t kSize, typename Char>
std::string TextOf(const Char (&field)[kSize]) {
  const char* const text = reinterpret_cast<const char*>(field);
  return std::string(text, strnlen(text, kSize));
}

bool ParseNumber(const std::string& text, std::int64_t& number) {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end;
}

bool TypeOf(std::uint32_t driversType, Control::Type& type) {
  switch (driversType) {
    case V4L2_CTRL_TYPE_INTEGER:
    case V4L2_CTRL_TYPE_INTEGER64:
      type = Control::kInteger;
      return true;
    case V4L2_CTRL_TYPE_BOOLEAN:
      type = Control::kBoolean;
      return true;
    case V4L2_CTRL_TYPE_MENU:
    case V4L2_CTRL_TYPE_INTEGER_MENU:
      type = Control::kMenu;
      return true;
    case V4L2_CTRL_TYPE_BITMASK:
      type = Control::kBitmask;
      return true;
    case V4L2_CTRL_TYPE_BUTTON:
      type = Control::kButton;
      return true;
    default:
      return false;
  }
}

// One control through the extended call, which knows 64-bit values too.
struct OneControl {
  v4l2_ext_control control = {};
  v4l2_ext_controls list = {};
  explicit OneControl(std::uint32_t id) {
    control.id = id;
    list.which = V4L2_CTRL_WHICH_CUR_VAL;
    list.count = 1;
    list.controls = &control;
  }
  OneControl(const OneControl&) = delete;
  OneControl& operator=(const OneControl&) = delete;
};

std::string RangeText(const Control& control) {
  switch (control.type) {
    case Control::kBoolean:
      return "yes or no";
    case Control::kMenu: {
      std::string names;
      for (const auto& [number, name] : control.menu)
        names += (names.empty() ? "" : ", ") + std::to_string(number) + " (" + name + ")";
      return "one of " + names;
    }
    default:
      return std::to_string(control.least) + " to " + std::to_string(control.most) +
             (control.step > 1 ? " in steps of " + std::to_string(control.step) : "");
  }
}

bool ValueOf(const Control& control, const std::string& text, std::int64_t& value) {
  if (text == "default") {
    value = control.usual;
    return true;
  }
  if (control.type == Control::kBoolean) {
    if (text == "yes" || text == "true" || text == "on" || text == "1")
      value = 1;
    else if (text == "no" || text == "false" || text == "off" || text == "0")
      value = 0;
    else
      return false;
    return true;
  }
  if (control.type == Control::kMenu) {
    for (const auto& [number, name] : control.menu) {
      if (name == text || ControlName(name) == ControlName(text)) {
        value = number;
        return true;
      }
    }
    return ParseNumber(text, value) &&
           std::any_of(control.menu.begin(), control.menu.end(),
                       [&](const auto& item) { return item.first == value; });
  }
  return ParseNumber(text, value) && value >= control.least && value <= control.most;
}

}  // namespace

std::string ControlName(const std::string& driversName) {
  std::string name;
  for (const char c : driversName) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    if (plain) {
      name += c;
    } else if (c >= 'A' && c <= 'Z') {
      name += static_cast<char>(c - 'A' + 'a');
    } else if (!name.empty() && name.back() != '_') {
      name += '_';
    }
  }
  while (!name.empty() && name.back() == '_') name.pop_back();
  return name;
}

std::vector<Control> ControlDevice::List() const {
  std::vector<Control> controls;
  v4l2_query_ext_ctrl query = {};
  // A driver that never ends its list does not hold us.
  for (int i = 0; i < 1000; ++i) {
    query.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
    if (call_(VIDIOC_QUERY_EXT_CTRL, &query) != 0) break;
    Control control;
    if ((query.flags & V4L2_CTRL_FLAG_DISABLED) != 0 || !TypeOf(query.type, control.type)) continue;
    control.id = query.id;
    control.name = ControlName(TextOf(query.name));
    control.least = query.minimum;
    control.most = query.maximum;
    control.step = static_cast<std::int64_t>(query.step);
    control.usual = query.default_value;
    control.readOnly = (query.flags & V4L2_CTRL_FLAG_READ_ONLY) != 0;
    control.inactive = (query.flags & V4L2_CTRL_FLAG_INACTIVE) != 0;
    if (control.type == Control::kMenu) {
      for (std::int64_t item = std::max<std::int64_t>(query.minimum, 0);
           item <= std::min<std::int64_t>(query.maximum, 255); ++item) {
        v4l2_querymenu menu = {};
        menu.id = query.id;
        menu.index = static_cast<std::uint32_t>(item);
        if (call_(VIDIOC_QUERYMENU, &menu) != 0) continue;
        control.menu.emplace_back(item, query.type == V4L2_CTRL_TYPE_MENU
                                            ? TextOf(menu.name)
                                            : std::to_string(menu.value));
      }
    }
    if (control.type != Control::kButton) {
      OneControl one(query.id);
      if ((query.flags & V4L2_CTRL_FLAG_WRITE_ONLY) != 0 ||
          call_(VIDIOC_G_EXT_CTRLS, &one.list) != 0)
        continue;
      control.value =
          query.type == V4L2_CTRL_TYPE_INTEGER64 ? one.control.value64 : one.control.value;
    }
    controls.push_back(std::move(control));
  }
  return controls;
}

bool ControlDevice::SetNumber(const Control& control, std::int64_t value,
                              std::string* error) const {
  OneControl one(control.id);
  const bool wide = control.least < INT32_MIN || control.most > INT32_MAX;
  if (wide) {
    one.control.value64 = value;
  } else {
    one.control.value = static_cast<std::int32_t>(value);
  }
  const int failure = call_(VIDIOC_S_EXT_CTRLS, &one.list);
  if (failure == 0) return true;
  *error = "the camera refuses " + std::to_string(value) + " for " + control.name + ": " +
           std::strerror(failure) +
           (control.inactive ? " (another control keeps it from having an effect)" : "");
  return false;
}

bool ControlDevice::Set(const std::string& name, const std::string& value,
                        std::string* error) const {
  for (const Control& control : List()) {
    if (control.name != ControlName(name)) continue;
    if (control.readOnly) {
      *error = "the control " + control.name + " can only be read";
      return false;
    }
    std::int64_t number = 0;
    if (!ValueOf(control, value, number)) {
      *error = "the control " + control.name + " is \"" + value + "\": want " + RangeText(control) +
               ", or default";
      return false;
    }
    return SetNumber(control, number, error);
  }
  *error = "the camera has no control \"" + name + "\"";
  return false;
}

std::vector<std::string> ControlDevice::Apply(const std::vector<ControlSetting>& settings,
                                              const std::string& stableName) const {
  std::vector<std::string> failures;
  const std::vector<Control> controls = List();
  const auto typeOf = [&](const std::string& name) {
    for (const Control& control : controls) {
      if (control.name == ControlName(name)) return control.type;
    }
    return Control::kInteger;
  };
  for (const bool choices : {true, false}) {
    for (const ControlSetting& setting : settings) {
      if (!setting.camera.empty() && setting.camera != stableName) continue;
      const Control::Type type = typeOf(setting.name);
      if (choices != (type == Control::kBoolean || type == Control::kMenu)) continue;
      std::string error;
      if (!Set(setting.name, setting.value, &error)) failures.push_back(error);
    }
  }
  return failures;
}

std::string ControlDevice::InputTrouble() const {
  int index = 0;
  if (call_(VIDIOC_G_INPUT, &index) != 0) return {};
  v4l2_input input = {};
  input.index = static_cast<std::uint32_t>(index);
  if (call_(VIDIOC_ENUMINPUT, &input) != 0) return {};
  if ((input.status & V4L2_IN_ST_NO_POWER) != 0) return "the camera has no power";
  if ((input.status & (V4L2_IN_ST_NO_SIGNAL | V4L2_IN_ST_NO_H_LOCK | V4L2_IN_ST_NO_SYNC)) != 0)
    return "there is no signal at its input";
  return {};
}

bool WithControls(const std::string& path, const std::function<void(const ControlDevice&)>& use,
                  std::string* error) {
  const int file = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) {
    *error = path + " cannot be opened: " + std::strerror(errno);
    return false;
  }
  use(ControlDevice([file](unsigned long request, void* argument) {
    int result = 0;
    do {
      result = ioctl(file, request, argument);
    } while (result < 0 && errno == EINTR);
    return result < 0 ? errno : 0;
  }));
  close(file);
  return true;
}

}  // namespace gstcamera
