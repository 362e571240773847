/*
 * The live picture for modules that are loaded into other people's programs.
 *
 * Such a module is looked at by every program that lists its plug-ins, so it links none of this: it
 * loads the library liblumivane-source.so when the first picture is asked for (SourceLibrary.h) and
 * calls it through the table below. All modules of a process share one filter and one camera.
 *
 * All functions may be called from several threads at once; calls exclude each other. None waits
 * for the camera.
 */
#ifndef LUMIVANE_SOURCE_H
#define LUMIVANE_SOURCE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Changes with the layout or meaning of anything below. */
#define LUMIVANE_SOURCE_VERSION 1u

#define LUMIVANE_SOURCE_LIBRARY_NAME "liblumivane-source.so"
#define LUMIVANE_SOURCE_FUNCTION "LumivaneSource_GetApi"

/* Largest side of a picture, in pixels. */
#define LUMIVANE_SOURCE_MAX_SIDE 32767u

/* Order of a pixel's bytes in memory. */
enum { LUMIVANE_SOURCE_RGBA = 0, LUMIVANE_SOURCE_ARGB = 1, LUMIVANE_SOURCE_BGRA = 2 };

/* How a frame of another size is placed. */
enum {
  LUMIVANE_SOURCE_FIT = 0,    /* aspect kept, centred on black */
  LUMIVANE_SOURCE_STRETCH = 1 /* every pixel filled */
};

/* What a picture shows. */
enum {
  LUMIVANE_SOURCE_NOTHING = 0,   /* black: there is no filter, or it has no picture */
  LUMIVANE_SOURCE_NO_CAMERA = 1, /* the filter's no-camera picture */
  LUMIVANE_SOURCE_LIVE = 2       /* the camera's newest frame */
};

/* The caller's bitmap, top row first. */
typedef struct LumivaneSourceBitmap {
  void* pixels;
  size_t rowBytes; /* from one row to the next, at least 4 * width, below 2 GiB */
  uint32_t width;  /* 1 to LUMIVANE_SOURCE_MAX_SIDE */
  uint32_t height;
  int32_t order;
  int32_t placement;
  double clock; /* the filter's inputClock, 0 to 1 */
} LumivaneSourceBitmap;

typedef struct LumivaneSourceApi {
  uint32_t version; /* LUMIVANE_SOURCE_VERSION */

  /* Counts one more user. The filter is made and the camera opened for the first. */
  void (*acquire)(void);

  /* Counts one user less; each acquire is matched by at most one. With the last the plug-in and
     the camera are unloaded and their threads joined. */
  void (*release)(void);

  /* Overwrites every pixel of the bitmap, alpha 255 throughout, and says what it shows. A bitmap
     outside the limits is left alone. Without users: black.
     The first after an acquire waits while the camera is being opened, for
     LUMIVANE_FIRST_PICTURE_WAIT seconds at most (an environment variable; 3 unless set, 0: not at
     all), counted from the acquire; release ends that. No later one waits for anything. */
  int32_t (*draw)(const LumivaneSourceBitmap* bitmap);

  /* Size of the picture now offered; 0 and leaves both alone when there is none. Waits as draw
     does where nothing was drawn yet. */
  int32_t (*getSize)(uint32_t* width, uint32_t* height);

  /* Copies why there is no filter, one line of UTF-8, cut to `size` bytes with its end; an empty
     line when there is one. */
  void (*getError)(char* text, size_t size);
} LumivaneSourceApi;

/* The table, which lives as long as the process; null for a version this library does not have. */
typedef const LumivaneSourceApi* (*LumivaneSourceGetApi)(uint32_t version);

#ifdef __cplusplus
}
#endif

#endif /* LUMIVANE_SOURCE_H */
