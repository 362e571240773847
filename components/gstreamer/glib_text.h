// Ownership of what GLib and GStreamer hand out.
#pragma once

#include <gst/gst.h>

#include <memory>

namespace gstcamera {

struct GlibFree {
  void operator()(void* memory) const { g_free(memory); }
};
using GlibText = std::unique_ptr<char, GlibFree>;

struct ErrorFree {
  void operator()(GError* error) const { g_error_free(error); }
};
using ErrorHeld = std::unique_ptr<GError, ErrorFree>;

struct KeyFileFree {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
using KeyFileHeld = std::unique_ptr<GKeyFile, KeyFileFree>;

struct CapsUnref {
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};
using CapsHeld = std::unique_ptr<GstCaps, CapsUnref>;

struct ObjectUnref {
  void operator()(void* object) const { gst_object_unref(object); }
};
template <typename Object>
using ObjectHeld = std::unique_ptr<Object, ObjectUnref>;

}  // namespace gstcamera
