/* usage: lumivane_gst_launch MODULE PIPELINE...: plays a pipeline of gst-launch's notation to its
 * end, with the module's elements.
 *
 * It is built as the modules are, so that it can load those that a sanitizer is built into, which
 * the installed programs cannot. While the pipeline plays, an element named "source" is asked for
 * its latency and gets other properties, and a filter named "changing" gets another rate, as
 * programs do it on threads of their own.
 */
#include <gst/gst.h>

#if defined(__SANITIZE_ADDRESS__)
/* The search for leaks, at the end, does not survive the threads that GLib keeps. */
const char* __asan_default_options(void);
const char* __asan_default_options(void) {
  return "detect_leaks=0";
}
#endif

static int Fail(const GError* error, const char* debug) {
  g_printerr("ERROR: %s\n%s\n", error->message, debug == NULL ? "" : debug);
  return 1;
}

static void UseSource(GstElement* source, guint turn) {
  GstQuery* const query = gst_query_new_latency();
  gboolean live = FALSE;
  gst_element_query(source, query);
  gst_query_unref(query);
  g_object_set(source, "input-clock", (turn % 100) / 100.0, "add-borders", (gboolean)(turn % 2),
               NULL);
  g_object_get(source, "live", &live, NULL);
}

static void UseFilter(GstElement* filter, guint turn) {
  GstCaps* const caps = gst_caps_new_simple("video/x-raw", "framerate", GST_TYPE_FRACTION,
                                            turn % 2 == 0 ? 120 : 60, 1, NULL);
  g_object_set(filter, "caps", caps, NULL);
  gst_caps_unref(caps);
}

/* The exit status, once it is known; -1 before. */
static int Status(GstElement* pipeline, GstMessage* message) {
  int status = -1;
  GError* error = NULL;
  char* debug = NULL;
  switch (GST_MESSAGE_TYPE(message)) {
    case GST_MESSAGE_EOS:
      status = 0;
      break;
    case GST_MESSAGE_ERROR:
      gst_message_parse_error(message, &error, &debug);
      status = Fail(error, debug);
      g_error_free(error);
      g_free(debug);
      break;
    case GST_MESSAGE_LATENCY:
      gst_bin_recalculate_latency(GST_BIN(pipeline));
      break;
    default:
      break;
  }
  gst_message_unref(message);
  return status;
}

int main(int argc, char** argv) {
  GError* error = NULL;
  GstPlugin* module;
  GstElement* pipeline;
  GstElement* source;
  GstElement* filter;
  GstBus* bus;
  guint turn;
  int status = -1;
  gst_init(&argc, &argv);
  if (argc < 3) return 2;
  module = gst_plugin_load_file(argv[1], &error);
  if (module == NULL) {
    status = Fail(error, NULL);
    g_error_free(error);
    return status;
  }
  gst_object_unref(module);
  pipeline = gst_parse_launchv((const gchar**)(argv + 2), &error);
  if (error != NULL || !GST_IS_PIPELINE(pipeline)) {
    if (error != NULL) status = Fail(error, NULL);
    g_clear_error(&error);
    if (pipeline != NULL) gst_object_unref(pipeline);
    return status == -1 ? 2 : status;
  }
  source = gst_bin_get_by_name(GST_BIN(pipeline), "source");
  filter = gst_bin_get_by_name(GST_BIN(pipeline), "changing");
  bus = gst_element_get_bus(pipeline);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  for (turn = 0; status == -1; ++turn) {
    GstMessage* const message = gst_bus_timed_pop(bus, GST_MSECOND);
    if (message != NULL) status = Status(pipeline, message);
    if (source != NULL) UseSource(source, turn);
    if (filter != NULL && turn % 10 == 0) UseFilter(filter, turn / 10);
  }
  gst_element_set_state(pipeline, GST_STATE_NULL);
  if (source != NULL) gst_object_unref(source);
  if (filter != NULL) gst_object_unref(filter);
  gst_object_unref(bus);
  gst_object_unref(pipeline);
  return status;
}
