// The built component, loaded as the filter loads it.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "components/camera_component.h"
#include "tests/components/gstreamer/GStreamerStart.h"
#include "tests/support/HermeticHome.h"

/// What the settings' variables hold while this lives: those given, and no others.
class CameraVariables {
 public:
  explicit CameraVariables(const std::map<std::string, std::string>& values) {
    for (const auto& [key, value] : values) {
      variables_.push_back(std::make_unique<test::ScopedVariable>("LUMIVANE_CAMERA_" + key, value));
    }
  }

 private:
  std::vector<std::unique_ptr<test::ScopedVariable>> variables_;
};

class Component {
 public:
  explicit Component(const std::map<std::string, std::string>& settings) : variables_(settings) {
    StartGStreamer();
    Load();
  }
  ~Component() { Unload(); }
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;

  void Load() {
    handle_ = dlopen(GSTCAMERA_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle_, nullptr) << dlerror();
    frame_ = reinterpret_cast<int32_t (*)(tagSHARED_CAMERA_BUFFER*)>(
        dlsym(handle_, LUMIVANE_CAMERA_FUNCTION2));
    status_ = reinterpret_cast<int32_t (*)(LumivaneCameraStatus*)>(
        dlsym(handle_, LUMIVANE_CAMERA_STATUS_FUNCTION));
    willUnload_ =
        reinterpret_cast<void (*)()>(dlsym(handle_, LUMIVANE_CAMERA_WILL_UNLOAD_FUNCTION));
    ASSERT_NE(frame_, nullptr);
    ASSERT_NE(status_, nullptr);
    ASSERT_NE(willUnload_, nullptr);
  }
  void Unload() {
    if (handle_ == nullptr) return;
    willUnload_();
    dlclose(handle_);
    handle_ = nullptr;
  }
  /// Ends the camera's threads; the component stays loaded.
  void WillUnload() { willUnload_(); }

  /// Asks for the newest frame; false when there is none.
  bool Ask() {
    record = {};
    record.structSize = LUMIVANE_CAMERA_RECORD_SIZE;
    return frame_(&record) != 0;
  }
  LumivaneCameraStatus Status() {
    LumivaneCameraStatus status = {};
    status.structSize = sizeof(status);
    EXPECT_NE(status_(&status), 0);
    return status;
  }
  const std::uint8_t* Pixels() const {
    return static_cast<const std::uint8_t*>(LumivaneCamera_GetPixels(&record));
  }
  /// The four bytes of pixel (x, y), or of the pair that it is in.
  std::array<int, 4> At(int x, int y) const {
    const std::uint8_t* const p =
        Pixels() + static_cast<std::size_t>(y) * record.rowBytes +
        (record.pixelFormat == LUMIVANE_CAMERA_FORMAT_2VUY ? static_cast<std::size_t>(x / 2) * 4
                                                           : static_cast<std::size_t>(x) * 4);
    return {p[0], p[1], p[2], p[3]};
  }

  /// Asks for frames, as a host does, until `done`; false after a long time without it. The time is
  /// long because the machine may be busy: a test that passes does not take it.
  bool Until(const std::function<bool()>& done, double seconds = 60) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
      shown = Ask();
      if (done()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
  }
  bool UntilFrame() {
    return Until([this] { return shown; });
  }
  bool UntilState(std::uint32_t state) {
    return Until([&] { return Status().state == state; });
  }
  bool UntilMessage(const std::string& part) {
    return Until([&] { return std::string(Status().message).find(part) != std::string::npos; });
  }

  tagSHARED_CAMERA_BUFFER record = {};
  bool shown = false;

 private:
  CameraVariables variables_;
  void* handle_ = nullptr;
  int32_t (*frame_)(tagSHARED_CAMERA_BUFFER*) = nullptr;
  int32_t (*status_)(LumivaneCameraStatus*) = nullptr;
  void (*willUnload_)() = nullptr;
};

/// Runs a pipeline of gst-launch's notation to its end.
inline void RunPipeline(const std::string& text) {
  StartGStreamer();
  GError* failure = nullptr;
  GstElement* const pipeline = gst_parse_launch(text.c_str(), &failure);
  ASSERT_EQ(failure, nullptr) << failure->message;
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* const bus = gst_element_get_bus(pipeline);
  GstMessage* const message = gst_bus_timed_pop_filtered(
      bus, 60 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  ASSERT_NE(message, nullptr) << text;
  EXPECT_EQ(GST_MESSAGE_TYPE(message), GST_MESSAGE_EOS) << text;
  gst_message_unref(message);
  gst_object_unref(bus);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(pipeline);
}
