/*
 * A camera that is not there, for tests of what programs make of one: a GStreamer plug-in with a
 * device provider, and a V4L2 device with controls. The second part is a definition of ioctl, so
 * the library is to be loaded before the C library (LD_PRELOAD) where controls are looked at.
 *
 * LUMIVANE_FAKE_CAMERA names the device: a file below /dev that holds the controls' values, one a
 * line. While it exists the camera is plugged in. What happens is appended to the file
 * LUMIVANE_FAKE_CAMERA_LOG: "open" for each stream, "brightness=7" for each control that is set.
 *
 * A stream ends after LUMIVANE_FAKE_CAMERA_FRAMES frames, if that is set, and its beginning sets
 * the controls back to their defaults: many cameras forget what they were told.
 */
#include <errno.h>
#include <gst/gst.h>
#include <linux/videodev2.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

static const char* DevicePath(void) {
  return getenv("LUMIVANE_FAKE_CAMERA");
}

static void Log(const char* line) {
  const char* const path = getenv("LUMIVANE_FAKE_CAMERA_LOG");
  FILE* const file = path == NULL ? NULL : fopen(path, "a");
  if (file == NULL) return;
  fprintf(file, "%s\n", line);
  fclose(file);
}

/* ---- Its controls ---- */

typedef struct {
  unsigned id;
  const char* name;
  unsigned type;
  int least, most, usual;
} Control;

enum { kBrightness = 0x980900, kExposureMode = 0x9a0901, kExposure = 0x9a0902 };
enum { kControls = 4, kManual = 1 };
static const Control kControl[kControls] = {
    {kBrightness, "Brightness", V4L2_CTRL_TYPE_INTEGER, -64, 64, 0},
    {0x980923, "Serial", V4L2_CTRL_TYPE_INTEGER, 0, 9, 7},
    {kExposureMode, "Auto Exposure", V4L2_CTRL_TYPE_MENU, 0, 3, 3},
    {kExposure, "Exposure Time, Absolute", V4L2_CTRL_TYPE_INTEGER, 1, 5000, 157}};

static void Load(int values[kControls]) {
  FILE* const file = fopen(DevicePath(), "r");
  for (int i = 0; i < kControls; ++i) {
    if (file == NULL || fscanf(file, "%d", &values[i]) != 1) values[i] = kControl[i].usual;
  }
  if (file != NULL) fclose(file);
}

static void Store(const int values[kControls]) {
  FILE* const file = fopen(DevicePath(), "r+"); /* an unplugged device does not come back */
  if (file == NULL) return;
  for (int i = 0; i < kControls; ++i) fprintf(file, "%-8d\n", values[i]);
  fclose(file);
}

static int IndexOf(unsigned id) {
  for (int i = 0; i < kControls; ++i) {
    if (kControl[i].id == id) return i;
  }
  return -1;
}

static int Query(struct v4l2_query_ext_ctrl* query) {
  const unsigned after = query->id & ~V4L2_CTRL_FLAG_NEXT_CTRL;
  int values[kControls];
  Load(values);
  for (int i = 0; i < kControls; ++i) {
    const Control* const one = &kControl[i];
    if (one->id <= after) continue;
    memset(query, 0, sizeof(*query));
    query->id = one->id;
    query->type = one->type;
    snprintf(query->name, sizeof(query->name), "%s", one->name);
    query->minimum = one->least;
    query->maximum = one->most;
    query->step = 1;
    query->default_value = one->usual;
    if (strcmp(one->name, "Serial") == 0) query->flags = V4L2_CTRL_FLAG_READ_ONLY;
    if (one->id == kExposure && values[IndexOf(kExposureMode)] != kManual)
      query->flags = V4L2_CTRL_FLAG_INACTIVE;
    return 0;
  }
  return EINVAL;
}

static int Menu(struct v4l2_querymenu* menu) {
  if (menu->index != kManual && menu->index != 3) return EINVAL;
  snprintf((char*)menu->name, sizeof(menu->name), "%s",
           menu->index == kManual ? "Manual Mode" : "Aperture Priority Mode");
  return 0;
}

static int GetOrSet(struct v4l2_ext_control* control, int set) {
  const int index = IndexOf(control->id);
  int values[kControls];
  char line[64];
  if (index < 0) return EINVAL;
  Load(values);
  if (!set) {
    control->value = values[index];
    return 0;
  }
  if (control->id == kExposure && values[IndexOf(kExposureMode)] != kManual) return EBUSY;
  values[index] = control->value;
  Store(values);
  snprintf(line, sizeof(line), "%s=%d", kControl[index].name, control->value);
  Log(line);
  return 0;
}

static int IsDevice(int file) {
  struct stat device;
  struct stat asked;
  return DevicePath() != NULL && stat(DevicePath(), &device) == 0 && fstat(file, &asked) == 0 &&
         device.st_ino == asked.st_ino && device.st_dev == asked.st_dev;
}

int ioctl(int file, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (!IsDevice(file)) return (int)syscall(SYS_ioctl, file, request, argument);
  int failure = ENOTTY;
  if (request == VIDIOC_QUERY_EXT_CTRL) failure = Query(argument);
  if (request == VIDIOC_QUERYMENU) failure = Menu(argument);
  if (request == VIDIOC_G_EXT_CTRLS || request == VIDIOC_S_EXT_CTRLS) {
    failure =
        GetOrSet(((struct v4l2_ext_controls*)argument)->controls, request == VIDIOC_S_EXT_CTRLS);
  }
  if (failure == 0) return 0;
  errno = failure;
  return -1;
}

/* ---- Its stream ---- */

typedef struct {
  GstDevice parent;
} FakeDevice;
typedef struct {
  GstDeviceClass parent;
} FakeDeviceClass;
static GType fake_device_get_type(void);
G_DEFINE_TYPE(FakeDevice, fake_device, GST_TYPE_DEVICE)

static GstElement* CreateElement(GstDevice* device, const gchar* name) {
  const char* const frames = getenv("LUMIVANE_FAKE_CAMERA_FRAMES");
  const char* const loses = getenv("LUMIVANE_FAKE_CAMERA_LOSES");
  char text[200];
  int values[kControls];
  (void)device;
  (void)name;
  snprintf(text, sizeof(text),
           "videotestsrc is-live=true do-timestamp=true pattern=red num-buffers=%s ! identity "
           "drop-probability=%s",
           frames != NULL ? frames : "-1", loses != NULL ? "0.5" : "0");
  for (int i = 0; i < kControls; ++i) values[i] = kControl[i].usual;
  Store(values);
  Log("open");
  return gst_parse_bin_from_description(text, TRUE, NULL);
}

static void fake_device_class_init(FakeDeviceClass* class) {
  GST_DEVICE_CLASS(class)->create_element = CreateElement;
}

static void fake_device_init(FakeDevice* device) {
  (void)device;
}

typedef struct {
  GstDeviceProvider parent;
} FakeProvider;
typedef struct {
  GstDeviceProviderClass parent;
} FakeProviderClass;
static GType fake_provider_get_type(void);
G_DEFINE_TYPE(FakeProvider, fake_provider, GST_TYPE_DEVICE_PROVIDER)

static GList* Probe(GstDeviceProvider* provider) {
  (void)provider;
  if (DevicePath() == NULL || access(DevicePath(), F_OK) != 0) return NULL;
  GstCaps* const caps = gst_caps_from_string(
      "video/x-raw,format=UYVY,width=640,height=480,framerate={30/1,15/1};"
      "video/x-raw,format=UYVY,width=320,height=240,framerate=60/1");
  GstStructure* const properties =
      gst_structure_new("properties", "device.path", G_TYPE_STRING, DevicePath(), NULL);
  GstDevice* const device =
      g_object_new(fake_device_get_type(), "display-name", "Fake HD Camera", "device-class",
                   "Video/Source", "caps", caps, "properties", properties, NULL);
  gst_caps_unref(caps);
  gst_structure_free(properties);
  return g_list_prepend(NULL, device);
}

static void fake_provider_class_init(FakeProviderClass* class) {
  GST_DEVICE_PROVIDER_CLASS(class)->probe = Probe;
  gst_device_provider_class_set_static_metadata(GST_DEVICE_PROVIDER_CLASS(class), "Fake camera",
                                                "Video/Source", "A camera for tests", "Lumivane");
}

static void fake_provider_init(FakeProvider* provider) {
  (void)provider;
}

static gboolean Init(GstPlugin* plugin) {
  return gst_device_provider_register(plugin, "lumivanefakecamera", GST_RANK_PRIMARY,
                                      fake_provider_get_type());
}

#define PACKAGE "lumivane"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, lumivanefakecamera, "A camera for tests",
                  Init, "1", "MIT", "Lumivane", "https://example.org")
