// GStreamer in a test: with the build's own list of plug-ins, started once.
#pragma once

#include <gst/gst.h>
#include <gtest/gtest.h>

#include <cstdlib>

/// Before the first use of GStreamer in a test, and before loading the component.
inline void StartGStreamer() {
  // Written aside and renamed by GStreamer, so tests that run side by side may share it.
  setenv("GST_REGISTRY", GST_REGISTRY_FILE, 1);
  GError* failure = nullptr;
  ASSERT_TRUE(gst_init_check(nullptr, nullptr, &failure));
}
