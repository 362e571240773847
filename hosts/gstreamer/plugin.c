/* The plug-in that GStreamer's registry lists: one element. */
#include <gst/gst.h>

#include "hosts/gstreamer/lumivanesrc.h"

static gboolean RegisterElements(GstPlugin* plugin) {
  /* No rank: nobody gets a camera who did not ask for this one. */
  return gst_element_register(plugin, "lumivanesrc", GST_RANK_NONE, LUMIVANE_TYPE_SRC);
}

#define PACKAGE "lumivane"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, lumivane, "The live picture of a camera",
                  RegisterElements, LUMIVANE_VERSION, "MIT/X11", "Lumivane",
                  "Unknown package origin")
