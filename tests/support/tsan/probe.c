/* usage: lumivane_tsan_probe [race]: counts frames on a thread of GStreamer's and on its own,
 * guarded by a lock of GLib's; with "race" another count is not. What the tests' help for the
 * thread sanitizer must let pass, and what it must not hide. */
#include <gst/gst.h>

static GMutex sLock;
static int sGuarded;
static int sUnguarded;

static void CountFrame(GstElement* source, GstBuffer* frame, GstPad* pad, gpointer data) {
  (void)source;
  (void)frame;
  (void)pad;
  (void)data;
  ++sUnguarded;
  g_mutex_lock(&sLock);
  ++sGuarded;
  g_mutex_unlock(&sLock);
}

int main(int argc, char** argv) {
  const gboolean race = argc > 1;
  GstElement* pipeline;
  GstElement* sink;
  GstBus* bus;
  int i;
  gst_init(&argc, &argv);
  pipeline =
      gst_parse_launch("fakesrc num-buffers=200 ! fakesink name=sink signal-handoffs=true", NULL);
  if (pipeline == NULL) return 2;
  sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
  bus = gst_element_get_bus(pipeline);
  g_signal_connect(sink, "handoff", G_CALLBACK(CountFrame), NULL);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  for (i = 0; i < 200; ++i) {
    if (race) ++sUnguarded;
    g_mutex_lock(&sLock);
    ++sGuarded;
    g_mutex_unlock(&sLock);
    g_usleep(100);
  }
  gst_message_unref(gst_bus_timed_pop_filtered(bus, GST_CLOCK_TIME_NONE, GST_MESSAGE_EOS));
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(bus);
  gst_object_unref(sink);
  gst_object_unref(pipeline);
  return sGuarded == 400 ? 0 : 1;
}
