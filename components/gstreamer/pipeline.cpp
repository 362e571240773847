#include "components/gstreamer/pipeline.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

namespace gstcamera {
namespace {

constexpr const char* kProblem = "lumivane-problem";

constexpr std::size_t kLongestDetails = 100;

// A frame that comes this part of a period early still counts as in time.
constexpr double kTolerance = 0.25;

void Set(GstElement* element, const char* property, const char* value) {
  // Properties come and go between versions of a plug-in.
  if (g_object_class_find_property(G_OBJECT_GET_CLASS(element), property) != nullptr)
    gst_util_set_object_arg(G_OBJECT(element), property, value);
}

std::string FirstLine(const char* text) {
  if (text == nullptr) return {};
  const char* const end = std::strchr(text, '\n');
  return end == nullptr ? std::string(text) : std::string(text, end);
}

std::string WithoutPeriod(std::string text) {
  while (!text.empty() && (text.back() == '.' || text.back() == ' ')) text.pop_back();
  return text;
}

// The last line of a message's debug text is what the system or the peer said, after the names of
// files and functions.
std::string Details(const char* debug) {
  if (debug == nullptr) return {};
  std::string text = debug;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  const std::size_t line = text.rfind('\n');
  // Of a format's description what tells people something comes first.
  return line == std::string::npos ? std::string()
                                   : WithoutPeriod(text.substr(line + 1, kLongestDetails));
}

// What is decoded is the picture; sound and titles stay as they are, unused.
gboolean IsPicture(GstElement*, GstPad*, GstCaps* caps, gpointer) {
  const char* const name = gst_structure_get_name(gst_caps_get_structure(caps, 0));
  for (const char* other : {"audio/", "text/", "subpicture/", "application/x-subtitle"}) {
    if (g_str_has_prefix(name, other)) return FALSE;
  }
  return TRUE;
}

}  // namespace

GstVideoOrientationMethod Orientation(int rotate, Flip flip) {
  constexpr GstVideoOrientationMethod kTable[4][4] = {
      {GST_VIDEO_ORIENTATION_IDENTITY, GST_VIDEO_ORIENTATION_HORIZ, GST_VIDEO_ORIENTATION_VERT,
       GST_VIDEO_ORIENTATION_180},
      {GST_VIDEO_ORIENTATION_90R, GST_VIDEO_ORIENTATION_UL_LR, GST_VIDEO_ORIENTATION_UR_LL,
       GST_VIDEO_ORIENTATION_90L},
      {GST_VIDEO_ORIENTATION_180, GST_VIDEO_ORIENTATION_VERT, GST_VIDEO_ORIENTATION_HORIZ,
       GST_VIDEO_ORIENTATION_IDENTITY},
      {GST_VIDEO_ORIENTATION_90L, GST_VIDEO_ORIENTATION_UR_LL, GST_VIDEO_ORIENTATION_UL_LR,
       GST_VIDEO_ORIENTATION_90R}};
  return kTable[rotate / 90 % 4][static_cast<int>(flip)];
}

bool TestPattern(const std::string& text, int* pattern, std::string* known) {
  GstElement* const element = gst_element_factory_make("videotestsrc", nullptr);
  if (element == nullptr) {
    *known = "GStreamer's videotestsrc, which is not installed (gstreamer1.0-plugins-base)";
    return false;
  }
  GParamSpec* const property = g_object_class_find_property(G_OBJECT_GET_CLASS(element), "pattern");
  const auto* const names = static_cast<GEnumClass*>(g_type_class_ref(property->value_type));
  const GEnumValue* const value = g_enum_get_value_by_nick(const_cast<GEnumClass*>(names),
                                                           text.empty() ? "smpte" : text.c_str());
  if (value != nullptr) *pattern = value->value;
  *known = "test or test: and one of";
  for (guint i = 0; i < names->n_values; ++i)
    *known += std::string(i == 0 ? " " : ", ") + names->values[i].value_nick;
  g_type_class_unref(const_cast<GEnumClass*>(names));
  gst_object_unref(element);
  return value != nullptr;
}

Pipeline::Pipeline(const Plan& plan, const Settings& settings, std::optional<Size> fixed,
                   Intake& intake)
    : plan_(plan),
      settings_(settings),
      size_(fixed ? fixed : settings.size),
      intake_(intake),
      pipeline_(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr)))),
      bus_(gst_element_get_bus(pipeline_)) {
  g_signal_connect(pipeline_, "deep-element-added", G_CALLBACK(OnInnerElement), nullptr);
  GPollFD file = {};
  gst_bus_get_pollfd(bus_, &file);
  eventFile_ = file.fd;
}

Pipeline::~Pipeline() {
  gst_element_set_state(pipeline_, GST_STATE_NULL);
  gst_bus_set_flushing(bus_, TRUE);
  gst_object_unref(bus_);
  gst_object_unref(pipeline_);
}

GstElement* Pipeline::Add(const char* factory, std::string* error) {
  GstElement* const element = gst_element_factory_make(factory, nullptr);
  if (element == nullptr) {
    *error = std::string("GStreamer's element ") + factory + " is not installed";
    return nullptr;
  }
  gst_bin_add(GST_BIN(pipeline_), element);
  return element;
}

// A queue with room for one buffer, which a newer one takes the place of.
GstElement* Pipeline::AddNewestOnly(std::string* error) {
  GstElement* const queue = Add("queue", error);
  if (queue == nullptr) return nullptr;
  Set(queue, "max-size-buffers", "1");
  Set(queue, "max-size-bytes", "0");
  Set(queue, "max-size-time", "0");
  Set(queue, "leaky", "downstream");
  return queue;
}

// Adds an element after the last one; null fails, so that Add's result can be given as it is.
bool Pipeline::Chain(GstElement* element, std::string* error) {
  if (element == nullptr) return false;
  if (last_ != nullptr && !gst_element_link(last_, element)) {
    *error = "what it gives cannot be used";
    return false;
  }
  last_ = element;
  return true;
}

bool Pipeline::AddDecoder(std::string* error) {
  GstElement* const decoder = Add("decodebin", error);
  if (!Chain(decoder, error)) return false;
  g_signal_connect(decoder, "autoplug-continue", G_CALLBACK(IsPicture), nullptr);
  g_signal_connect(decoder, "pad-added", G_CALLBACK(OnPad), this);
  g_signal_connect(decoder, "no-more-pads", G_CALLBACK(OnNoMorePads), this);
  last_ = nullptr;
  return true;
}

bool Pipeline::BuildCamera(std::string* error) {
  GstElement* source = nullptr;
  if (plan_.device != nullptr) {
    source = gst_device_create_element(plan_.device, nullptr);
    if (source != nullptr) gst_bin_add(GST_BIN(pipeline_), source);
  }
  if (source == nullptr) {
    source = Add("v4l2src", error);
    if (source == nullptr) return false;
    g_object_set(source, "device", plan_.devicePath.c_str(), nullptr);
  }
  last_ = source;
  if (GstPad* const pad = gst_element_get_static_pad(source, "src")) {
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, OnCapture, this, nullptr);
    gst_object_unref(pad);
  }
  Settings asked = settings_;
  asked.size = size_;
  const ChosenFormat format = plan_.anyFormat ? ChosenFormat() : ChooseFormat(plan_.offered, asked);
  nominalRate_ = format.rate;
  if (!format.caps) return AddDecoder(error);
  GstElement* const filter = Add("capsfilter", error);
  if (filter != nullptr) g_object_set(filter, "caps", format.caps.get(), nullptr);
  if (!Chain(filter, error)) return false;
  if (format.decoded) return true;
  if (!format.isJpeg) return AddDecoder(error);
  // Each picture stands for itself: one that is not decoded in time is left out.
  return Chain(AddNewestOnly(error), error) && Chain(Add("jpegdec", error), error);
}

bool Pipeline::BuildTest(std::string* error) {
  int pattern = 0;
  std::string known;
  if (!TestPattern(plan_.source.text, &pattern, &known)) {
    *error = "there is no such picture: want " + known;
    return false;
  }
  GstElement* const source = Add("videotestsrc", error);
  if (!Chain(source, error)) return false;
  g_object_set(source, "pattern", pattern, "is-live", TRUE, "do-timestamp", TRUE, nullptr);
  Size size = size_.value_or(Size{640, 480});
  if (settings_.rotate % 180 != 0) std::swap(size.width, size.height);
  int numerator = 30;
  int denominator = 1;
  if (settings_.rate != 0) gst_util_double_to_fraction(settings_.rate, &numerator, &denominator);
  nominalRate_ = static_cast<double>(numerator) / denominator;
  const CapsHeld caps(gst_caps_new_simple("video/x-raw", "width", G_TYPE_INT, size.width, "height",
                                          G_TYPE_INT, size.height, "framerate", GST_TYPE_FRACTION,
                                          numerator, denominator, nullptr));
  GstElement* const filter = Add("capsfilter", error);
  if (filter != nullptr) g_object_set(filter, "caps", caps.get(), nullptr);
  return Chain(filter, error);
}

bool Pipeline::BuildAddress(std::string* error) {
  if (!gst_uri_is_valid(plan_.source.text.c_str())) {
    *error = "it is no address";
    return false;
  }
  const GlibText protocol(gst_uri_get_protocol(plan_.source.text.c_str()));
  if (!gst_uri_protocol_is_supported(GST_URI_SRC, protocol.get())) {
    *error = std::string("no GStreamer plug-in opens ") + protocol.get() + ":// addresses";
    return false;
  }
  GstElement* const source = Add("uridecodebin", error);
  if (source == nullptr) return false;
  g_object_set(source, "uri", plan_.source.text.c_str(), nullptr);
  g_signal_connect(source, "autoplug-continue", G_CALLBACK(IsPicture), nullptr);
  g_signal_connect(source, "source-setup", G_CALLBACK(OnSource), this);
  g_signal_connect(source, "pad-added", G_CALLBACK(OnPad), this);
  g_signal_connect(source, "no-more-pads", G_CALLBACK(OnNoMorePads), this);
  return true;
}

bool Pipeline::BuildOwn(std::string* error) {
  GError* failure = nullptr;
  const auto parse = [&](const std::string& text) {
    g_clear_error(&failure);
    return gst_parse_bin_from_description_full(text.c_str(), TRUE, nullptr,
                                               GST_PARSE_FLAG_FATAL_ERRORS, &failure);
  };
  // The end may be an element's pad; caps, or an element that has no pad before it knows its
  // stream, which take a filter after them; or caps of something that is yet to be decoded.
  GstElement* bin = nullptr;
  GstPad* end = nullptr;
  std::string reason = "it has no open end to take frames from";
  for (const char* after : {"", " ! capsfilter caps=video/x-raw", " ! identity silent=true"}) {
    bin = parse(plan_.source.text + after);
    end = bin == nullptr ? nullptr : gst_element_get_static_pad(bin, "src");
    if (end != nullptr) break;
    if (bin != nullptr) gst_object_unref(gst_object_ref_sink(bin));
    bin = nullptr;
    // What the parser says to the plain text is misleading when that ends with caps.
    if (failure != nullptr && g_str_has_prefix(after, " ! caps"))
      reason = FirstLine(failure->message);
  }
  const ErrorHeld held(failure);
  if (end == nullptr) {
    *error = reason;
    return false;
  }
  gst_bin_add(GST_BIN(pipeline_), bin);
  last_ = bin;
  const CapsHeld raw(gst_caps_new_empty_simple("video/x-raw"));
  const CapsHeld given(gst_pad_query_caps(end, nullptr));
  gst_object_unref(end);
  return gst_caps_is_subset(given.get(), raw.get()) || AddDecoder(error);
}

CapsHeld Pipeline::OutputCaps(std::optional<Size> size) const {
  const bool packed = settings_.format == PixelFormat::k2vuy;
  GstStructure* const output =
      gst_structure_new("video/x-raw", "format", G_TYPE_STRING, packed ? "UYVY" : "ARGB",
                        "pixel-aspect-ratio", GST_TYPE_FRACTION, 1, 1, nullptr);
  if (size) {
    gst_structure_set(output, "width", G_TYPE_INT, size->width, "height", G_TYPE_INT, size->height,
                      nullptr);
    // What a 2vuy frame means follows from its height.
    if (packed) {
      gst_structure_set(output, "colorimetry", G_TYPE_STRING,
                        size->height > 576 ? "bt709" : "bt601", nullptr);
    }
  } else if (packed) {
    // Even widths only.
    GValue width = G_VALUE_INIT;
    g_value_init(&width, GST_TYPE_INT_RANGE);
    gst_value_set_int_range_step(&width, kSmallestSide, kLargestWidth, 2);
    gst_structure_take_value(output, "width", &width);
  }
  return CapsHeld(gst_caps_new_full(output, nullptr));
}

bool Pipeline::BuildTail(std::string* error) {
  GstElement* const head = last_;
  last_ = nullptr;
  const bool isTest = plan_.source.kind == Source::kTest;
  const auto enter = [&](GstElement* element) {
    if (entry_ == nullptr) entry_ = element;
    return Chain(element, error);
  };
  if (plan_.source.kind == Source::kCamera || plan_.source.kind == Source::kDevicePath) {
    // The camera goes on while a frame is converted, and of what it brings the newest is kept.
    if (!enter(AddNewestOnly(error))) return false;
  }
  if (settings_.deinterlace && !isTest) {
    GstElement* const deinterlace = Add("deinterlace", error);
    if (deinterlace == nullptr) return false;
    Set(deinterlace, "mode", "auto");
    Set(deinterlace, "fields", "top");
    if (!enter(deinterlace)) return false;
  }
  if (settings_.format == PixelFormat::k2vuy && !isTest) {
    // Idle unless a source has the full range: see OnEntryCaps.
    if (!enter(Add("videoconvert", error))) return false;
    rangeFilter_ = Add("capsfilter", error);
    if (!Chain(rangeFilter_, error)) return false;
  }
  const GstVideoOrientationMethod orientation = Orientation(settings_.rotate, settings_.flip);
  if (orientation != GST_VIDEO_ORIENTATION_IDENTITY) {
    if (!enter(Add("videoconvert", error))) return false;
    GstElement* const flip = Add("videoflip", error);
    if (flip != nullptr) g_object_set(flip, "video-direction", orientation, nullptr);
    if (!Chain(flip, error)) return false;
  }
  if (settings_.fit == Fit::kCrop && size_) {
    GstElement* const crop = Add("aspectratiocrop", error);
    if (crop != nullptr) g_object_set(crop, "aspect-ratio", size_->width, size_->height, nullptr);
    if (!enter(crop)) return false;
  }
  GstElement* const convert = Add("videoconvertscale", error);
  if (convert == nullptr) return false;
  Set(convert, "add-borders", settings_.fit == Fit::kLetterbox ? "true" : "false");
  // A camera's picture has no holes.
  if (settings_.format == PixelFormat::kArgb) Set(convert, "alpha-mode", "set");
  if (!enter(convert)) return false;
  filter_ = Add("capsfilter", error);
  if (!Chain(filter_, error)) return false;
  const CapsHeld caps = OutputCaps(size_);
  g_object_set(filter_, "caps", caps.get(), nullptr);
  sink_ = Add("appsink", error);
  if (!Chain(sink_, error)) return false;
  g_object_set(sink_, "max-buffers", 1, "drop", TRUE, "enable-last-sample", FALSE, "qos", FALSE,
               "wait-on-eos", FALSE, nullptr);
  GstAppSinkCallbacks callbacks = {};
  callbacks.new_sample = OnSample;
  gst_app_sink_set_callbacks(GST_APP_SINK(sink_), &callbacks, this, nullptr);
  OfferMemory();
  WatchEntry();
  if (head != nullptr && !gst_element_link(head, entry_)) {
    *error = "what it gives is no video";
    return false;
  }
  return true;
}

void Pipeline::WatchEntry() {
  GstPad* const pad = gst_element_get_static_pad(entry_, "sink");
  gst_pad_add_probe(
      pad,
      static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER | GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM |
                                   GST_PAD_PROBE_TYPE_EVENT_FLUSH),
      OnEntry, this, nullptr);
  gst_object_unref(pad);
}

void Pipeline::OfferMemory() {
  GstPad* const pad = gst_element_get_static_pad(sink_, "sink");
  gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_QUERY_DOWNSTREAM, OnSinkQuery, this, nullptr);
  gst_object_unref(pad);
}

bool Pipeline::Start(std::string* error) {
  bool built = false;
  switch (plan_.source.kind) {
    case Source::kTest:
      built = BuildTest(error);
      break;
    case Source::kAddress:
      built = BuildAddress(error);
      break;
    case Source::kPipeline:
      built = BuildOwn(error);
      break;
    default:
      built = BuildCamera(error);
  }
  if (!built || !BuildTail(error)) return false;
  const GstStateChangeReturn paused = gst_element_set_state(pipeline_, GST_STATE_PAUSED);
  live_ = paused == GST_STATE_CHANGE_NO_PREROLL ||
          (plan_.source.kind == Source::kAddress && IsLiveAddress(plan_.source.text));
  g_object_set(sink_, "sync", live_ ? FALSE : TRUE, nullptr);
  // A failure has a message on the bus that says more.
  if (paused != GST_STATE_CHANGE_FAILURE) gst_element_set_state(pipeline_, GST_STATE_PLAYING);
  return true;
}

bool Pipeline::Rewind() {
  passFrames_ = 0;
  return gst_element_seek_simple(
             pipeline_, GST_FORMAT_TIME,
             static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_KEY_UNIT), 0) != FALSE;
}

PipelineEvent Pipeline::NextEvent() {
  while (GstMessage* const message = gst_bus_pop(bus_)) {
    PipelineEvent event;
    switch (GST_MESSAGE_TYPE(message)) {
      case GST_MESSAGE_ERROR: {
        GError* failure = nullptr;
        char* debug = nullptr;
        gst_message_parse_error(message, &failure, &debug);
        const ErrorHeld heldFailure(failure);
        const GlibText heldDebug(debug);
        event.kind = PipelineEvent::kError;
        event.text = WithoutPeriod(FirstLine(failure->message));
        const bool isDevice = !plan_.devicePath.empty();
        if (g_str_has_prefix(failure->message, "Internal data stream error")) {
          event.text =
              isDevice ? "the camera has stopped sending" : "it cannot be read any further";
          if (plan_.source.kind == Source::kAddress && passFrames_ == 0)
            event.text = "there is no connection, or no answer that can be used";
        }
        const std::string details = Details(debug);
        if (!details.empty() && details != event.text) event.text += " (" + details + ")";
        if (isDevice && failure->domain == GST_RESOURCE_ERROR &&
            access(plan_.devicePath.c_str(), R_OK | W_OK) != 0 && errno == EACCES)
          event.text += "; the user is not allowed to use it: is it in the group video?";
        event.busy = g_error_matches(failure, GST_RESOURCE_ERROR, GST_RESOURCE_ERROR_BUSY);
        event.formatRefused = failure->domain == GST_STREAM_ERROR ||
                              (debug != nullptr && std::strstr(debug, "not-negotiated") != nullptr);
        break;
      }
      case GST_MESSAGE_EOS:
        event.kind = PipelineEvent::kEnd;
        break;
      case GST_MESSAGE_APPLICATION:
        if (gst_message_has_name(message, kProblem)) {
          event.kind = PipelineEvent::kError;
          event.text = gst_structure_get_string(gst_message_get_structure(message), "text");
        }
        break;
      case GST_MESSAGE_LATENCY:
        gst_bin_recalculate_latency(GST_BIN(pipeline_));
        break;
      case GST_MESSAGE_CLOCK_LOST:
        gst_element_set_state(pipeline_, GST_STATE_PAUSED);
        gst_element_set_state(pipeline_, GST_STATE_PLAYING);
        break;
      default:
        break;
    }
    gst_message_unref(message);
    if (event.kind != PipelineEvent::kNothing) return event;
  }
  return {};
}

void Pipeline::PostProblem(const std::string& text) {
  gst_element_post_message(
      pipeline_, gst_message_new_application(
                     GST_OBJECT(pipeline_),
                     gst_structure_new(kProblem, "text", G_TYPE_STRING, text.c_str(), nullptr)));
}

// ---- Called on GStreamer's threads

void Pipeline::OnPad(GstElement*, GstPad* pad, gpointer data) {
  const auto self = static_cast<Pipeline*>(data);
  const CapsHeld caps(gst_pad_query_caps(pad, nullptr));
  if (gst_caps_is_empty(caps.get()) || gst_caps_is_any(caps.get()) ||
      !gst_structure_has_name(gst_caps_get_structure(caps.get(), 0), "video/x-raw"))
    return;
  GstPad* const entry = gst_element_get_static_pad(self->entry_, "sink");
  // Of several pictures the first is shown.
  if (!gst_pad_is_linked(entry) && GST_PAD_LINK_FAILED(gst_pad_link(pad, entry)))
    self->PostProblem("its pictures are of a kind that cannot be used");
  gst_object_unref(entry);
}

void Pipeline::OnNoMorePads(GstElement*, gpointer data) {
  const auto self = static_cast<Pipeline*>(data);
  GstPad* const entry = gst_element_get_static_pad(self->entry_, "sink");
  if (!gst_pad_is_linked(entry)) self->PostProblem("there is no picture in it");
  gst_object_unref(entry);
}

void Pipeline::OnSource(GstElement*, GstElement* source, gpointer data) {
  const auto self = static_cast<Pipeline*>(data);
  const std::string seconds = std::to_string(std::lround(std::ceil(self->settings_.timeout)));
  GstElementFactory* const factory = gst_element_get_factory(source);
  const char* const name = factory == nullptr ? "" : GST_OBJECT_NAME(factory);
  if (std::strcmp(name, "rtspsrc") == 0) {
    Set(source, "protocols", self->plan_.otherTransport ? "udp+udp-mcast" : "tcp");
    Set(source, "latency", self->plan_.otherTransport ? "100" : "0");
    Set(source, "tcp-timeout", (seconds + "000000").c_str());
    Set(source, "timeout", (seconds + "000000").c_str());
    Set(source, "drop-on-latency", "true");
  } else if (std::strcmp(name, "souphttpsrc") == 0) {
    Set(source, "timeout", seconds.c_str());
    Set(source, "retries", "0");
  }
}

void Pipeline::OnInnerElement(GstBin*, GstBin*, GstElement* element, gpointer) {
  GstElementFactory* const factory = gst_element_get_factory(element);
  // A camera's MJPEG has one stream of parts. Until that is said, more are waited for, and the
  // first picture comes when all the room for waiting is full.
  if (factory != nullptr && std::strcmp(GST_OBJECT_NAME(factory), "multipartdemux") == 0)
    Set(element, "single-stream", "true");
}

GstFlowReturn Pipeline::OnSample(GstAppSink* sink, gpointer data) {
  const auto self = static_cast<Pipeline*>(data);
  GstSample* const sample = gst_app_sink_pull_sample(sink);
  if (sample == nullptr) return GST_FLOW_EOS;
  std::optional<Nanoseconds> captured;
  GstBuffer* const buffer = gst_sample_get_buffer(sample);
  GstClock* const clock = gst_element_get_clock(GST_ELEMENT(sink));
  if (self->live_ && clock != nullptr && buffer != nullptr && GST_BUFFER_PTS_IS_VALID(buffer)) {
    const GstClockTime running = gst_segment_to_running_time(
        gst_sample_get_segment(sample), GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
    const GstClockTime base = gst_element_get_base_time(GST_ELEMENT(sink));
    const auto age = static_cast<Nanoseconds>(gst_clock_get_time(clock) - base) -
                     static_cast<Nanoseconds>(running);
    // A source that stamps its frames with something else has no say in their age.
    if (GST_CLOCK_TIME_IS_VALID(running) && age > -kSecond && age < 10 * kSecond)
      captured = Now() - std::max<Nanoseconds>(age, 0);
  }
  if (clock != nullptr) gst_object_unref(clock);
  std::string error;
  const bool taken = self->intake_.Take(sample, captured, &error);
  if (taken && !self->size_) {
    // The first size holds, also when the source changes its own.
    FrameShape shape;
    if (self->intake_.mailbox().shape(&shape)) {
      self->size_ = shape.size;
      const CapsHeld caps = self->OutputCaps(shape.size);
      g_object_set(self->filter_, "caps", caps.get(), nullptr);
    }
  }
  gst_sample_unref(sample);
  if (!taken) {
    self->PostProblem(error);
    return GST_FLOW_ERROR;
  }
  ++self->passFrames_;
  return GST_FLOW_OK;
}

// Answers where frames are to be written.
GstPadProbeReturn Pipeline::OnSinkQuery(GstPad*, GstPadProbeInfo* info, gpointer data) {
  const auto self = static_cast<Pipeline*>(data);
  GstQuery* const query = GST_PAD_PROBE_INFO_QUERY(info);
  if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) return GST_PAD_PROBE_OK;
  GstCaps* caps = nullptr;
  gboolean needsPool = FALSE;
  gst_query_parse_allocation(query, &caps, &needsPool);
  const auto pool = needsPool ? self->intake_.OfferPool(caps) : nullptr;
  if (!pool) return GST_PAD_PROBE_OK;
  GstStructure* const config = gst_buffer_pool_get_config(pool.get());
  guint size = 0;
  gst_buffer_pool_config_get_params(config, nullptr, &size, nullptr, nullptr);
  gst_structure_free(config);
  gst_query_add_allocation_pool(query, pool.get(), size, 0, 0);
  return GST_PAD_PROBE_HANDLED;
}

GstPadProbeReturn Pipeline::OnCapture(GstPad*, GstPadProbeInfo* info, gpointer data) {
  const auto self = static_cast<Pipeline*>(data);
  const guint64 offset = GST_BUFFER_OFFSET(GST_PAD_PROBE_INFO_BUFFER(info));
  const guint64 last = self->lastOffset_;
  if (offset != GST_BUFFER_OFFSET_NONE && last != GST_BUFFER_OFFSET_NONE && offset > last + 1 &&
      offset - last < 1000)
    self->intake_.CountLost(offset - last - 1);
  self->lastOffset_ = offset;
  return GST_PAD_PROBE_OK;
}

GstPadProbeReturn Pipeline::OnEntry(GstPad*, GstPadProbeInfo* info, gpointer data) {
  const auto self = static_cast<Pipeline*>(data);
  if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0)
    return self->OnEntryBuffer(info);
  GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
  if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
    self->OnEntryCaps(info);
  } else if (GST_EVENT_TYPE(event) == GST_EVENT_FLUSH_STOP ||
             GST_EVENT_TYPE(event) == GST_EVENT_SEGMENT) {
    self->due_ = GST_CLOCK_TIME_NONE;
    self->stamped_ = 0;
  }
  return GST_PAD_PROBE_OK;
}

GstPadProbeReturn Pipeline::OnEntryBuffer(GstPadProbeInfo* info) {
  GstBuffer* const buffer = GST_PAD_PROBE_INFO_BUFFER(info);
  const double rate = settings_.rate == 0 ? kHighestRate : settings_.rate;
  const auto period = static_cast<GstClockTime>(static_cast<double>(kSecond) / rate);
  if (!GST_BUFFER_PTS_IS_VALID(buffer)) {
    // Frames of a file without times, such as pictures one after the other, come at the set rate.
    if (!live_ && plan_.source.kind == Source::kAddress && IsFileAddress(plan_.source.text)) {
      GstBuffer* const stamped = gst_buffer_make_writable(buffer);
      GST_BUFFER_PTS(stamped) = stamped_++ * period;
      GST_PAD_PROBE_INFO_DATA(info) = stamped;
    }
    return GST_PAD_PROBE_OK;
  }
  if (settings_.rate == 0) return GST_PAD_PROBE_OK;
  const GstClockTime time = GST_BUFFER_PTS(buffer);
  const auto early = static_cast<GstClockTime>(kTolerance * static_cast<double>(period));
  if (GST_CLOCK_TIME_IS_VALID(due_) && time + early < due_ && due_ - time <= period)
    return GST_PAD_PROBE_DROP;
  const bool onTime = GST_CLOCK_TIME_IS_VALID(due_) && time < due_ + period && time + early >= due_;
  due_ = (onTime ? due_ : time) + period;
  return GST_PAD_PROBE_OK;
}

// Puts the set matrix and range in the place of what the source says of its colours.
void Pipeline::OnEntryCaps(GstPadProbeInfo* info) {
  GstEvent* const event = GST_PAD_PROBE_INFO_EVENT(info);
  GstCaps* caps = nullptr;
  gst_event_parse_caps(event, &caps);
  GstVideoInfo video;
  if (!gst_video_info_from_caps(&video, caps)) return;
  if (GST_VIDEO_INFO_FPS_N(&video) > 0) {
    nominalRate_ = static_cast<double>(GST_VIDEO_INFO_FPS_N(&video)) /
                   std::max(GST_VIDEO_INFO_FPS_D(&video), 1);
  }
  GstVideoColorimetry colours = GST_VIDEO_INFO_COLORIMETRY(&video);
  if (settings_.matrix == Matrix::kBt601) colours.matrix = GST_VIDEO_COLOR_MATRIX_BT601;
  if (settings_.matrix == Matrix::kBt709) colours.matrix = GST_VIDEO_COLOR_MATRIX_BT709;
  if (settings_.matrix == Matrix::kBt2020) colours.matrix = GST_VIDEO_COLOR_MATRIX_BT2020;
  if (settings_.range == Range::kLimited) colours.range = GST_VIDEO_COLOR_RANGE_16_235;
  if (settings_.range == Range::kFull) colours.range = GST_VIDEO_COLOR_RANGE_0_255;
  if (!GST_VIDEO_INFO_IS_YUV(&video)) colours = GST_VIDEO_INFO_COLORIMETRY(&video);
  if (rangeFilter_ != nullptr) {
    // Between two kinds of YUV with one matrix GStreamer's converter leaves the range as it is:
    // such frames go by RGB.
    const bool full = GST_VIDEO_INFO_IS_YUV(&video) && colours.range == GST_VIDEO_COLOR_RANGE_0_255;
    const CapsHeld between(full ? gst_caps_from_string("video/x-raw,format=BGRx")
                                : gst_caps_new_any());
    g_object_set(rangeFilter_, "caps", between.get(), nullptr);
  }
  if (gst_video_colorimetry_is_equal(&colours, &GST_VIDEO_INFO_COLORIMETRY(&video))) return;
  GstCaps* const changed = gst_caps_copy(caps);
  const GlibText text(gst_video_colorimetry_to_string(&colours));
  gst_caps_set_simple(changed, "colorimetry", G_TYPE_STRING, text.get(), nullptr);
  GstEvent* const replacement = gst_event_new_caps(changed);
  gst_caps_unref(changed);
  gst_event_set_seqnum(replacement, gst_event_get_seqnum(event));
  gst_event_unref(event);
  GST_PAD_PROBE_INFO_DATA(info) = replacement;
}

}  // namespace gstcamera
