/**
 * SECTION:element-lumivanesrc
 * @title: lumivanesrc
 *
 * The newest frame of the camera, or the no-camera picture, at the size and rate that are
 * negotiated. Frames are made when they are due and carry that time; what cannot be made in time is
 * left out. All elements of a process show one camera.
 *
 * ## Example
 * |[
 * gst-launch-1.0 lumivanesrc ! video/x-raw,width=1280,height=720,framerate=30/1 ! videoconvert !
 * autovideosink
 * ]|
 */
#include "hosts/gstreamer/lumivanesrc.h"

#include <gst/video/video.h>

#include "hosts/source/SourceLibrary.h"

GST_DEBUG_CATEGORY_STATIC(lumivane_src_debug);
#define GST_CAT_DEFAULT lumivane_src_debug

enum { PROP_0, PROP_INPUT_CLOCK, PROP_ADD_BORDERS, PROP_LIVE, PROP_COUNT };

static const gdouble kDefaultInputClock = 0.5;
static const gboolean kDefaultAddBorders = TRUE;
/* What is offered when neither the peer nor the picture says otherwise. */
enum { kDefaultWidth = 640, kDefaultHeight = 480, kDefaultRate = 30 };

static GParamSpec* sProperties[PROP_COUNT];

struct _LumivaneSrc {
  GstPushSrc parent;

  /* Under the object's lock. */
  gdouble inputClock;
  gboolean addBorders;
  gboolean live;
  GstClockID waiting;     /* the frame now waited for */
  gboolean unlocked;      /* no wait may begin */
  GstClockTime frameTime; /* of a frame; NONE: not negotiated */

  /* The streaming thread's, and that of whoever changes the state while it stands still. */
  const LumivaneSourceApi* api;
  GstVideoInfo info;
  GstClockTime gridStart; /* running time of frame 0 at this rate; NONE: with the next frame */
  guint64 gridNext;       /* the frame that comes next */
  guint64 offset;         /* frames sent since the start */
};

G_DEFINE_TYPE(LumivaneSrc, lumivane_src, GST_TYPE_PUSH_SRC)

/* Alpha is opaque throughout, so formats with and without are the same bytes. */
#define FORMATS "{ BGRx, RGBx, xRGB, BGRA, RGBA, ARGB }"

static GstStaticPadTemplate sTemplate = GST_STATIC_PAD_TEMPLATE(
    "src", GST_PAD_SRC, GST_PAD_ALWAYS,
    GST_STATIC_CAPS("video/x-raw, format = (string) " FORMATS
                    ", width = (int) [ 1, 32767 ], height = (int) [ 1, 32767 ], "
                    "framerate = (fraction) [ 1/1000, 1000/1 ]"));

static int32_t OrderOf(GstVideoFormat format) {
  switch (format) {
    case GST_VIDEO_FORMAT_RGBx:
    case GST_VIDEO_FORMAT_RGBA:
      return LUMIVANE_SOURCE_RGBA;
    case GST_VIDEO_FORMAT_xRGB:
    case GST_VIDEO_FORMAT_ARGB:
      return LUMIVANE_SOURCE_ARGB;
    default:
      return LUMIVANE_SOURCE_BGRA;
  }
}

/* ---- Properties ---- */

static void SetProperty(GObject* object, guint id, const GValue* value, GParamSpec* spec) {
  LumivaneSrc* const self = LUMIVANE_SRC(object);
  switch (id) {
    case PROP_INPUT_CLOCK:
      GST_OBJECT_LOCK(self);
      self->inputClock = g_value_get_double(value);
      GST_OBJECT_UNLOCK(self);
      break;
    case PROP_ADD_BORDERS:
      GST_OBJECT_LOCK(self);
      self->addBorders = g_value_get_boolean(value);
      GST_OBJECT_UNLOCK(self);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
  }
}

static void GetProperty(GObject* object, guint id, GValue* value, GParamSpec* spec) {
  LumivaneSrc* const self = LUMIVANE_SRC(object);
  GST_OBJECT_LOCK(self);
  switch (id) {
    case PROP_INPUT_CLOCK:
      g_value_set_double(value, self->inputClock);
      break;
    case PROP_ADD_BORDERS:
      g_value_set_boolean(value, self->addBorders);
      break;
    case PROP_LIVE:
      g_value_set_boolean(value, self->live);
      break;
    default:
      G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, spec);
  }
  GST_OBJECT_UNLOCK(self);
}

static void SetLive(LumivaneSrc* self, gboolean live) {
  gboolean changed;
  GST_OBJECT_LOCK(self);
  changed = self->live != live;
  self->live = live;
  GST_OBJECT_UNLOCK(self);
  if (changed) g_object_notify_by_pspec(G_OBJECT(self), sProperties[PROP_LIVE]);
}

/* Asked for by whoever computes latencies, on threads of its own. */
static void SetFrameTime(LumivaneSrc* self, GstClockTime frameTime) {
  GST_OBJECT_LOCK(self);
  self->frameTime = frameTime;
  GST_OBJECT_UNLOCK(self);
}

static GstClockTime FrameTime(LumivaneSrc* self) {
  GstClockTime frameTime;
  GST_OBJECT_LOCK(self);
  frameTime = self->frameTime;
  GST_OBJECT_UNLOCK(self);
  return frameTime;
}

/* ---- States ---- */

static gboolean Start(GstBaseSrc* base) {
  LumivaneSrc* const self = LUMIVANE_SRC(base);
  char why[1024] = "";
  self->gridStart = GST_CLOCK_TIME_NONE;
  self->gridNext = 0;
  self->offset = 0;
  gst_video_info_init(&self->info);
  SetFrameTime(self, GST_CLOCK_TIME_NONE);
  self->api = LumivaneSource_Library();
  if (self->api == NULL) {
    GST_ELEMENT_ERROR(self, LIBRARY, INIT, ("The picture's library is not there."),
                      ("%s; install lumivane, `lumivane doctor` says where it is looked for",
                       LUMIVANE_SOURCE_LIBRARY_NAME));
    return FALSE;
  }
  self->api->acquire();
  self->api->getError(why, sizeof(why));
  if (why[0] != '\0') {
    self->api->release();
    self->api = NULL;
    GST_ELEMENT_ERROR(self, RESOURCE, NOT_FOUND, ("The plug-in cannot be used."), ("%s", why));
    return FALSE;
  }
  return TRUE;
}

static gboolean Stop(GstBaseSrc* base) {
  LumivaneSrc* const self = LUMIVANE_SRC(base);
  if (self->api != NULL) self->api->release();
  self->api = NULL;
  SetLive(self, FALSE);
  return TRUE;
}

static gboolean Unlock(GstBaseSrc* base) {
  LumivaneSrc* const self = LUMIVANE_SRC(base);
  GST_OBJECT_LOCK(self);
  self->unlocked = TRUE;
  if (self->waiting != NULL) gst_clock_id_unschedule(self->waiting);
  GST_OBJECT_UNLOCK(self);
  return TRUE;
}

static gboolean UnlockStop(GstBaseSrc* base) {
  LumivaneSrc* const self = LUMIVANE_SRC(base);
  GST_OBJECT_LOCK(self);
  self->unlocked = FALSE;
  GST_OBJECT_UNLOCK(self);
  return TRUE;
}

/* ---- Negotiation ---- */

static GstCaps* Fixate(GstBaseSrc* base, GstCaps* caps) {
  LumivaneSrc* const self = LUMIVANE_SRC(base);
  uint32_t width = kDefaultWidth;
  uint32_t height = kDefaultHeight;
  GstStructure* structure;
  /* The picture's own size, where the peer leaves the choice: nothing is scaled. */
  if (self->api != NULL) self->api->getSize(&width, &height);
  caps = gst_caps_make_writable(gst_caps_truncate(caps));
  structure = gst_caps_get_structure(caps, 0);
  gst_structure_fixate_field_nearest_int(structure, "width", (gint)width);
  gst_structure_fixate_field_nearest_int(structure, "height", (gint)height);
  gst_structure_fixate_field_nearest_fraction(structure, "framerate", kDefaultRate, 1);
  if (gst_structure_has_field(structure, "pixel-aspect-ratio")) {
    gst_structure_fixate_field_nearest_fraction(structure, "pixel-aspect-ratio", 1, 1);
  } else {
    gst_structure_set(structure, "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, NULL);
  }
  return GST_BASE_SRC_CLASS(lumivane_src_parent_class)->fixate(base, caps);
}

static gboolean SetCaps(GstBaseSrc* base, GstCaps* caps) {
  LumivaneSrc* const self = LUMIVANE_SRC(base);
  GstVideoInfo info;
  if (!gst_video_info_from_caps(&info, caps) || info.fps_n <= 0 || info.fps_d <= 0) return FALSE;
  if (info.fps_n != self->info.fps_n || info.fps_d != self->info.fps_d) {
    self->gridStart = GST_CLOCK_TIME_NONE;
  }
  self->info = info;
  SetFrameTime(self, gst_util_uint64_scale(GST_SECOND, (guint64)info.fps_d, (guint64)info.fps_n));
  gst_element_post_message(GST_ELEMENT(self), gst_message_new_latency(GST_OBJECT(self)));
  return TRUE;
}

static gboolean DecideAllocation(GstBaseSrc* base, GstQuery* query) {
  GstBufferPool* pool = NULL;
  guint size = 0;
  guint least = 0;
  guint most = 0;
  GstCaps* caps = NULL;
  GstVideoInfo info;
  GstStructure* config;
  gboolean update;
  gboolean set;
  gst_query_parse_allocation(query, &caps, NULL);
  if (caps == NULL || !gst_video_info_from_caps(&info, caps)) return FALSE;
  update = gst_query_get_n_allocation_pools(query) > 0;
  if (update) gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, &least, &most);
  size = MAX(size, (guint)info.size);
  if (pool == NULL) pool = gst_video_buffer_pool_new();
  config = gst_buffer_pool_get_config(pool);
  gst_buffer_pool_config_set_params(config, caps, size, least, most);
  if (gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, NULL)) {
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
  }
  set = gst_buffer_pool_set_config(pool, config);
  if (!set) {
    /* A pool may have changed what it was asked for a little: that is taken if it can serve. */
    config = gst_buffer_pool_get_config(pool);
    set = gst_buffer_pool_config_validate_params(config, caps, size, least, most) &&
          gst_buffer_pool_set_config(pool, config);
  }
  if (set) {
    if (update) {
      gst_query_set_nth_allocation_pool(query, 0, pool, size, least, most);
    } else {
      gst_query_add_allocation_pool(query, pool, size, least, most);
    }
  }
  gst_object_unref(pool);
  return set && GST_BASE_SRC_CLASS(lumivane_src_parent_class)->decide_allocation(base, query);
}

static gboolean Query(GstBaseSrc* base, GstQuery* query) {
  LumivaneSrc* const self = LUMIVANE_SRC(base);
  if (GST_QUERY_TYPE(query) == GST_QUERY_LATENCY) {
    const GstClockTime frame = FrameTime(self);
    if (!GST_CLOCK_TIME_IS_VALID(frame)) return FALSE;
    gst_query_set_latency(query, TRUE, frame, GST_CLOCK_TIME_NONE);
    return TRUE;
  }
  return GST_BASE_SRC_CLASS(lumivane_src_parent_class)->query(base, query);
}

/* ---- Frames ---- */

/* Running time of frame `number` of the grid. */
static GstClockTime GridTime(const LumivaneSrc* self, guint64 number) {
  return self->gridStart + gst_util_uint64_scale(number, GST_SECOND * (guint64)self->info.fps_d,
                                                 (guint64)self->info.fps_n);
}

/* Waits until the next frame is due and says when that was; frames that are past are left out. */
static GstFlowReturn WaitForFrame(LumivaneSrc* self, GstClockTime* due) {
  GstFlowReturn result = GST_FLOW_OK;
  GstClock* const clock = gst_element_get_clock(GST_ELEMENT(self));
  const GstClockTime base = gst_element_get_base_time(GST_ELEMENT(self));
  GstClockTime now;
  if (clock == NULL) {
    GST_ELEMENT_ERROR(self, CORE, CLOCK, (NULL), ("a live source needs a clock"));
    return GST_FLOW_ERROR;
  }
  now = gst_clock_get_time(clock);
  now = now > base ? now - base : 0;
  if (!GST_CLOCK_TIME_IS_VALID(self->gridStart)) {
    self->gridStart = now;
    self->gridNext = 0;
  }
  if (now >= GridTime(self, self->gridNext + 1)) {
    self->gridNext = gst_util_uint64_scale(now - self->gridStart, (guint64)self->info.fps_n,
                                           GST_SECOND * (guint64)self->info.fps_d);
  }
  *due = GridTime(self, self->gridNext);
  GST_OBJECT_LOCK(self);
  if (self->unlocked) {
    result = GST_FLOW_FLUSHING;
  } else if (now < *due) {
    GstClockID const waiting = gst_clock_new_single_shot_id(clock, base + *due);
    GstClockReturn waited;
    self->waiting = waiting;
    GST_OBJECT_UNLOCK(self);
    waited = gst_clock_id_wait(waiting, NULL);
    GST_OBJECT_LOCK(self);
    self->waiting = NULL;
    gst_clock_id_unref(waiting);
    if (waited == GST_CLOCK_UNSCHEDULED) result = GST_FLOW_FLUSHING;
  }
  GST_OBJECT_UNLOCK(self);
  gst_object_unref(clock);
  return result;
}

static GstFlowReturn Fill(GstPushSrc* push, GstBuffer* buffer) {
  LumivaneSrc* const self = LUMIVANE_SRC(push);
  LumivaneSourceBitmap bitmap;
  GstVideoFrame frame;
  GstClockTime due;
  int32_t shown;
  const GstFlowReturn waited = WaitForFrame(self, &due);
  if (waited != GST_FLOW_OK) return waited;
  gst_object_sync_values(GST_OBJECT(self), due);
  if (!gst_video_frame_map(&frame, &self->info, buffer, GST_MAP_WRITE)) {
    GST_ELEMENT_ERROR(self, RESOURCE, WRITE, (NULL), ("the frame's memory cannot be written"));
    return GST_FLOW_ERROR;
  }
  bitmap.pixels = GST_VIDEO_FRAME_PLANE_DATA(&frame, 0);
  bitmap.rowBytes = (size_t)GST_VIDEO_FRAME_PLANE_STRIDE(&frame, 0);
  bitmap.width = (uint32_t)GST_VIDEO_FRAME_WIDTH(&frame);
  bitmap.height = (uint32_t)GST_VIDEO_FRAME_HEIGHT(&frame);
  bitmap.order = OrderOf(GST_VIDEO_FRAME_FORMAT(&frame));
  GST_OBJECT_LOCK(self);
  bitmap.placement = self->addBorders ? LUMIVANE_SOURCE_FIT : LUMIVANE_SOURCE_STRETCH;
  bitmap.clock = self->inputClock;
  GST_OBJECT_UNLOCK(self);
  shown = self->api->draw(&bitmap);
  gst_video_frame_unmap(&frame);
  SetLive(self, shown == LUMIVANE_SOURCE_LIVE);

  GST_BUFFER_PTS(buffer) = due;
  GST_BUFFER_DTS(buffer) = GST_CLOCK_TIME_NONE;
  GST_BUFFER_DURATION(buffer) = GridTime(self, self->gridNext + 1) - due;
  GST_BUFFER_OFFSET(buffer) = self->offset++;
  GST_BUFFER_OFFSET_END(buffer) = self->offset;
  ++self->gridNext;
  return GST_FLOW_OK;
}

/* ---- The class ---- */

static void lumivane_src_class_init(LumivaneSrcClass* klass) {
  GObjectClass* const object = G_OBJECT_CLASS(klass);
  GstElementClass* const element = GST_ELEMENT_CLASS(klass);
  GstBaseSrcClass* const base = GST_BASE_SRC_CLASS(klass);
  const GParamFlags writable = G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_CONTROLLABLE |
                               GST_PARAM_MUTABLE_PLAYING;
  GST_DEBUG_CATEGORY_INIT(lumivane_src_debug, "lumivanesrc", 0, "the camera's live picture");

  object->set_property = SetProperty;
  object->get_property = GetProperty;
  sProperties[PROP_INPUT_CLOCK] =
      g_param_spec_double("input-clock", "Input clock",
                          "The filter's one parameter; moved to have the picture rendered again, "
                          "it changes nothing in it",
                          0.0, 1.0, kDefaultInputClock, writable);
  sProperties[PROP_ADD_BORDERS] =
      g_param_spec_boolean("add-borders", "Add borders",
                           "Keep the picture's aspect and add black borders where another is "
                           "negotiated; else stretch it",
                           kDefaultAddBorders, writable);
  sProperties[PROP_LIVE] = g_param_spec_boolean(
      "live", "Live", "Whether the last picture came from a camera (FALSE: the no-camera picture)",
      FALSE, G_PARAM_READABLE | G_PARAM_STATIC_STRINGS);
  g_object_class_install_properties(object, PROP_COUNT, sProperties);

  gst_element_class_add_static_pad_template(element, &sTemplate);
  gst_element_class_set_static_metadata(element, "Lumivane camera source", "Source/Video",
                                        "The live picture of the camera that Lumivane shows",
                                        "Lumivane");
  base->start = Start;
  base->stop = Stop;
  base->unlock = Unlock;
  base->unlock_stop = UnlockStop;
  base->fixate = Fixate;
  base->set_caps = SetCaps;
  base->decide_allocation = DecideAllocation;
  base->query = Query;
  GST_PUSH_SRC_CLASS(klass)->fill = Fill;
}

static void lumivane_src_init(LumivaneSrc* self) {
  self->inputClock = kDefaultInputClock;
  self->addBorders = kDefaultAddBorders;
  self->frameTime = GST_CLOCK_TIME_NONE;
  gst_base_src_set_live(GST_BASE_SRC(self), TRUE);
  gst_base_src_set_format(GST_BASE_SRC(self), GST_FORMAT_TIME);
}
