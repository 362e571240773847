// A V4L2 camera's own controls: brightness, exposure and so on.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "components/gstreamer/settings.h"

namespace gstcamera {

struct Control {
  std::uint32_t id = 0;
  std::string name;  ///< lower case with _ between words, as v4l2-ctl has it: "exposure_auto"
  enum Type { kInteger, kBoolean, kMenu, kBitmask, kButton } type = kInteger;
  std::int64_t least = 0;
  std::int64_t most = 0;
  std::int64_t step = 1;
  std::int64_t usual = 0;  ///< the driver's default
  std::int64_t value = 0;
  bool readOnly = false;
  bool inactive = false;  ///< has no effect while another control says so
  std::vector<std::pair<std::int64_t, std::string>> menu;  ///< of kMenu
};

/// The call a device answers to: a request of <linux/videodev2.h>; 0, or an error number.
using DeviceCall = std::function<int(unsigned long request, void* argument)>;

class ControlDevice {
 public:
  explicit ControlDevice(DeviceCall call) : call_(std::move(call)) {}

  /// Controls whose values can be read, in the driver's order.
  std::vector<Control> List() const;
  /// Sets one control to a number, yes or no, a name of its menu, or "default". False with one
  /// sentence in `*error` when it does not exist, the value is none of its own, or the driver
  /// refuses.
  bool Set(const std::string& name, const std::string& value, std::string* error) const;
  /// Sets those of `settings` that are meant for this camera: first the choices that other controls
  /// depend on, then the others. One sentence for each that could not be set.
  std::vector<std::string> Apply(const std::vector<ControlSetting>& settings,
                                 const std::string& stableName) const;
  /// What the driver says of an analogue input or a capture card without a signal; empty when there
  /// is one, or nothing is known.
  std::string InputTrouble() const;

 private:
  bool SetNumber(const Control& control, std::int64_t value, std::string* error) const;
  DeviceCall call_;
};

/// Opens `path` beside whoever streams from it, for the time of `use`. False with one sentence in
/// `*error`.
bool WithControls(const std::string& path, const std::function<void(const ControlDevice&)>& use,
                  std::string* error);

/// "White Balance Temperature, Auto" as "white_balance_temperature_auto".
std::string ControlName(const std::string& driversName);

}  // namespace gstcamera
