/*
 * The camera component: everything needed to write one, in C99 or C++. No other file is needed.
 *
 * A camera component brings a live picture to the filter CILumivaneInput. It is a loadable bundle
 * "LumivaneXXX.component" (a folder Contents/Linux/LumivaneXXX with a Contents/Info.plist, or a
 * plain shared library of that name) in a components folder. The filter loads it when it needs a
 * frame and calls __public_fn2 once for each rendered picture. docs/components.md is the guide and
 * components/testpattern a complete example.
 *
 * The contract
 *
 * - Pixels. The frame's memory belongs to the component, from its allocation to its release. The
 *   host reads it in place, without a copy, and never writes or frees it. All of it lies below
 *   4 GiB, since the record's address has 32 bits: allocate with LumivaneCamera_AllocateFrame.
 * - How long. A frame that was handed out does not change and stays readable until the next call of
 *   __public_fn2, whoever makes it, or until the component is unloaded. So a component fills one
 *   buffer while the host reads another, and exchanges them only inside __public_fn2. Buffers are
 *   never unmapped while the component is loaded if it can be helped: a host may keep an image of
 * an older frame. Such an image shows whatever lies there when it is drawn.
 * - Time. __public_fn2 is called on the host's rendering thread and returns at once with the newest
 *   complete frame. It never waits for the camera. The same frame may be handed out again.
 * - Threads. The host calls from one thread at a time, not always the same one. Threads the
 *   component starts are its own affair; they start on the first call, not when the component is
 *   loaded (a component is also loaded to be looked at), and are joined when it is unloaded.
 * - Unloading. The component may be unloaded at any time between two calls and loaded again later
 *   in the same process. LumivaneBundle_WillUnload, where there is one, and after it a function
 * with
 *   __attribute__((destructor)) then join its threads, free its frames and close its devices.
 *   Nothing of it may run or be registered afterwards. At the end of the process the destructor
 *   may be all that is called.
 * - Errors. Nothing is thrown or raised out of an entry point, and the process is never ended. No
 *   frame: return 0, and the filter shows its no-camera picture.
 */
#ifndef LUMIVANE_CAMERA_COMPONENT_H
#define LUMIVANE_CAMERA_COMPONENT_H

#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

/* The names by which the host finds the component and its entry points. */
#define LUMIVANE_CAMERA_BUNDLE_NAME "LumivaneXXX.component"
#define LUMIVANE_CAMERA_EXECUTABLE_NAME "LumivaneXXX"
#define LUMIVANE_CAMERA_FUNCTION "__public_fn_"
#define LUMIVANE_CAMERA_FUNCTION0 "__public_fn0"
#define LUMIVANE_CAMERA_FUNCTION1 "__public_fn1"
#define LUMIVANE_CAMERA_FUNCTION2 "__public_fn2"

/*
 * Pixel formats. '2vuy': packed 4:2:2, bytes Cb Y0 Cr Y1, video range, Rec. 601 up to 576 rows and
 * Rec. 709 above, an even width, rows tightly packed (2 * frameWidth bytes; rowBytes is not looked
 * at). Every other code means 32-bit ARGB: bytes A R G B, alpha premultiplied;
 * LUMIVANE_CAMERA_FORMAT_ARGB is the customary one.
 */
#define LUMIVANE_CAMERA_FORMAT_2VUY ((uint32_t)0x32767579)
#define LUMIVANE_CAMERA_FORMAT_ARGB ((uint32_t)0x00000020)

/*
 * The frame record: 24 bytes, in the machine's byte order, which is little-endian. The caller owns
 * it and sets structSize before each call; the component fills the rest. Rows run top to bottom.
 */
typedef struct tagSHARED_CAMERA_BUFFER {
  uint32_t structSize;     /* set by the caller: LUMIVANE_CAMERA_RECORD_SIZE */
  uint32_t frameBufferPtr; /* address of the first pixel, below 4 GiB; 0: no frame */
  uint32_t rowBytes;       /* bytes from one row to the next; at least 4 * frameWidth for ARGB */
  uint32_t dataSize;       /* bytes readable from frameBufferPtr on */
  int16_t frameWidth;      /* pixels, 1..32767 */
  int16_t frameHeight;     /* rows, 1..32767 */
  uint32_t pixelFormat;    /* four-character code, see above */
} tagSHARED_CAMERA_BUFFER;

#define LUMIVANE_CAMERA_RECORD_SIZE ((uint32_t)24)

/* A layout check that C99 knows too: an array type of negative size does not compile. */
#define LUMIVANE_CAMERA_CHECK(name, condition) \
  typedef char LumivaneCamera_check_##name[(condition) ? 1 : -1]
#define LUMIVANE_CAMERA_CHECK_OFFSET(field, bytes) \
  LUMIVANE_CAMERA_CHECK(field, offsetof(tagSHARED_CAMERA_BUFFER, field) == (bytes))
LUMIVANE_CAMERA_CHECK(size, sizeof(tagSHARED_CAMERA_BUFFER) == 24);
LUMIVANE_CAMERA_CHECK_OFFSET(structSize, 0);
LUMIVANE_CAMERA_CHECK_OFFSET(frameBufferPtr, 4);
LUMIVANE_CAMERA_CHECK_OFFSET(rowBytes, 8);
LUMIVANE_CAMERA_CHECK_OFFSET(dataSize, 12);
LUMIVANE_CAMERA_CHECK_OFFSET(frameWidth, 16);
LUMIVANE_CAMERA_CHECK_OFFSET(frameHeight, 18);
LUMIVANE_CAMERA_CHECK_OFFSET(pixelFormat, 20);
#undef LUMIVANE_CAMERA_CHECK_OFFSET

/* ---- Status, optional ----
 *
 * A component may say how its camera does. A host that wants to know looks the function up by its
 * name and does without where there is none.
 */
#define LUMIVANE_CAMERA_STATUS_FUNCTION "LumivaneCamera_CopyStatus"

/* What __public_fn2 answers at the time of the call. */
#define LUMIVANE_CAMERA_STATE_NONE ((uint32_t)0)  /* no frame: the no-camera picture shows */
#define LUMIVANE_CAMERA_STATE_LIVE ((uint32_t)1)  /* frames arrive */
#define LUMIVANE_CAMERA_STATE_STALE ((uint32_t)2) /* none has lately: the last one still shows */

/* A flag: no frame yet, but the first try to open the camera is still going on. A host that wants
   one picture only may wait for its end. */
#define LUMIVANE_CAMERA_STATUS_OPENING ((uint32_t)1)

/*
 * Times are nanoseconds. Counts run from the component's first frame and never fall, also when the
 * camera is opened again. Texts are UTF-8, end with a zero byte and are cut between characters
 * where they are too long. Later versions add fields at the end and change none that is here.
 */
typedef struct LumivaneCameraStatus {
  uint32_t structSize; /* caller: the bytes of *status; component: how many of them it filled */
  uint32_t state;      /* LUMIVANE_CAMERA_STATE_ */
  uint64_t sequence;   /* number of the frame that __public_fn2 hands out or did last; the first
                          is 1; 0: none was handed out yet */
  uint64_t received;   /* frames that the camera has delivered */
  uint64_t skipped;    /* delivered, but never handed out: a newer one came before anybody asked */
  uint64_t lost;       /* missing in what the camera delivered, where it numbers its frames */
  uint64_t age;        /* of the newest frame: time since it was captured (where the source does not
                          say when that was: since it arrived); UINT64_MAX: there is none */
  uint64_t latency;    /* from capture to being ready, of the newest frame; 0: not known */
  double rate;         /* frames a second, over about the last second; 0: none arrived in it */
  double nominalRate;  /* frames a second that the camera claims; 0: not known */
  uint32_t opened;    /* how often the camera has been opened successfully; above 1: it came back */
  int16_t frameWidth; /* of the frames handed out; 0: not known yet */
  int16_t frameHeight;
  uint32_t pixelFormat; /* as in the frame record; 0: not known yet */
  uint32_t flags;       /* LUMIVANE_CAMERA_STATUS_ bits */
  char source[160];     /* what is shown: a camera's name, an address; empty: nothing was opened */
  char message[320];    /* why there is no live picture; empty while there is one */
} LumivaneCameraStatus;

LUMIVANE_CAMERA_CHECK(statusSize, sizeof(LumivaneCameraStatus) == 568);
LUMIVANE_CAMERA_CHECK(statusSource, offsetof(LumivaneCameraStatus, source) == 88);

/* The bytes that every version has: a smaller structSize is refused. */
#define LUMIVANE_CAMERA_STATUS_MINIMUM ((uint32_t)16)
#undef LUMIVANE_CAMERA_CHECK

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "the camera record is little-endian"
#endif

#define LUMIVANE_CAMERA_WILL_UNLOAD_FUNCTION "LumivaneBundle_WillUnload"

/* Marks an entry point: exported under its plain name, whatever the default visibility. */
#define LUMIVANE_CAMERA_ENTRY __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The one entry point that is called. Fills *record with the newest frame and returns non-zero, or
 * returns 0 when there is no frame. record is never null. A component that finds another structSize
 * than LUMIVANE_CAMERA_RECORD_SIZE leaves the record alone and returns 0.
 *
 * A component also carries functions named "__public_fn0", "__public_fn1" and "__public_fn_". Their
 * names are taken, their signatures are not fixed, and no host calls them.
 */
LUMIVANE_CAMERA_ENTRY int32_t __public_fn2(tagSHARED_CAMERA_BUFFER* record);

/*
 * Optional. Fills *status, at most structSize bytes of it, and returns non-zero; returns 0, with
 * *status untouched, when status is null or structSize is below LUMIVANE_CAMERA_STATUS_MINIMUM. It
 * may be called from any thread at any time while the component is loaded, answers at once, neither
 * starts the camera nor takes a frame, and so reports LUMIVANE_CAMERA_STATE_NONE before the first
 * call of __public_fn2.
 */
LUMIVANE_CAMERA_ENTRY int32_t LumivaneCamera_CopyStatus(LumivaneCameraStatus* status);

/*
 * Optional. The host calls it before it unloads the component, while no other function of the
 * component is being called. Here is the place to join threads: destructors run with the dynamic
 * loader's lock held, and a thread that loads or unloads a library meanwhile, as media libraries
 * and drivers do at any time, never ends while somebody who holds that lock waits for it. May be
 * called several times, and __public_fn2 may follow after all: that starts the camera again.
 */
LUMIVANE_CAMERA_ENTRY void LumivaneBundle_WillUnload(void);

/* ---- Frames below 4 GiB ----
 *
 * A 64-bit process gets its memory far above 4 GiB unless it asks for low memory by address. That
 * needs no privilege and no kernel setting: where the machine has a flag for it (MAP_32BIT) that is
 * tried first; then the free gaps of the address space below 4 GiB are tried from the top down,
 * which leaves the bottom to a heap that grows there.
 */

#define LUMIVANE_CAMERA_ADDRESS_LIMIT ((uint64_t)1 << 32)

/* Flags that <sys/mman.h> hides from strict C99; the numbers are Linux's on every little-endian
   machine but the two excepted here. */
#ifdef MAP_ANONYMOUS
#define LUMIVANE_CAMERA_MAP_ANONYMOUS MAP_ANONYMOUS
#elif defined(__linux__) && !defined(__mips__) && !defined(__alpha__)
#define LUMIVANE_CAMERA_MAP_ANONYMOUS 0x20
#else
#error "define _DEFAULT_SOURCE before the first #include"
#endif
#ifdef MAP_FIXED_NOREPLACE
#define LUMIVANE_CAMERA_MAP_FIXED_NOREPLACE MAP_FIXED_NOREPLACE
#else
#define LUMIVANE_CAMERA_MAP_FIXED_NOREPLACE 0x100000 /* older kernels ignore it: checked below */
#endif

/* size rounded up to whole pages; 0 when size is 0 or cannot lie below 4 GiB. */
static inline uint64_t LumivaneCamera_PageRound(size_t size) {
  const uint64_t page = (uint64_t)sysconf(_SC_PAGESIZE);
  if (size == 0 || (uint64_t)size >= LUMIVANE_CAMERA_ADDRESS_LIMIT) return 0;
  return ((uint64_t)size + page - 1) / page * page;
}

/* mmap that gives back what does not end below 4 GiB. size: whole pages. */
static inline void* LumivaneCamera_MapChecked(uint64_t address, uint64_t size, int extraFlags) {
  void* const memory = mmap((void*)(uintptr_t)address, (size_t)size, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | LUMIVANE_CAMERA_MAP_ANONYMOUS | extraFlags, -1, 0);
  if (memory == MAP_FAILED) return NULL;
  if ((uint64_t)(uintptr_t)memory + size > LUMIVANE_CAMERA_ADDRESS_LIMIT) {
    munmap(memory, (size_t)size);
    errno = ENOMEM;
    return NULL;
  }
  return memory;
}

/* Low memory by the machine's own flag. NULL where there is none or it finds no room. */
static inline void* LumivaneCamera_MapByFlag(uint64_t size) {
#if defined(__x86_64__) && defined(__linux__)
#ifdef MAP_32BIT
  return LumivaneCamera_MapChecked(0, size, MAP_32BIT);
#else
  return LumivaneCamera_MapChecked(0, size, 0x40);
#endif
#else
  (void)size;
  errno = ENOMEM;
  return NULL;
#endif
}

/* Start of the highest room for size bytes that ends at or below ceiling, from the table of
   mappings at path, or 0 when there is none or the table cannot be read (*readable says which). */
static inline uint64_t LumivaneCamera_HighestGap(const char* path, uint64_t size, uint64_t ceiling,
                                                 int* readable) {
  const uint64_t page = (uint64_t)sysconf(_SC_PAGESIZE);
  uint64_t gapStart = 0x10000; /* no system maps lower without privilege */
  uint64_t best = 0;
  int atEnd = 0;
  FILE* const table = fopen(path, "r");
  *readable = table != NULL;
  if (table == NULL) return 0;
  while (!atEnd && gapStart < ceiling) {
    unsigned long long start = 0, end = 0;
    uint64_t gapEnd = ceiling;
    int c = 0;
    if (fscanf(table, "%llx-%llx", &start, &end) == 2) {
      if (start < gapEnd) gapEnd = start;
      while (c != '\n' && c != EOF) c = fgetc(table);
    } else {
      atEnd = 1;
    }
    if (gapEnd > gapStart && gapEnd - gapStart >= size) best = (gapEnd - size) / page * page;
    if (!atEnd && end > gapStart) gapStart = end;
  }
  fclose(table);
  return best;
}

/* Low memory by address, from the top of the room below 4 GiB down. */
static inline void* LumivaneCamera_MapByGap(uint64_t size) {
  const uint64_t kStep = 1 << 20; /* of the blind search, where the table cannot be read */
  uint64_t ceiling = LUMIVANE_CAMERA_ADDRESS_LIMIT;
  while (ceiling >= size + 0x10000) {
    int readable = 0;
    uint64_t at = LumivaneCamera_HighestGap("/proc/self/maps", size, ceiling, &readable);
    void* memory;
    if (!readable) at = (ceiling - size) / kStep * kStep;
    if (at == 0) break;
    memory = LumivaneCamera_MapChecked(at, size, LUMIVANE_CAMERA_MAP_FIXED_NOREPLACE);
    if (memory != NULL) return memory;
    /* Taken meanwhile, or too low for this system: lower places remain. */
    if (at + size <= kStep) break;
    ceiling = at + size - kStep;
  }
  errno = ENOMEM;
  return NULL;
}

/*
 * Zeroed memory for a frame of size bytes, page-aligned, all of it below 4 GiB. NULL when it cannot
 * be had; then *error (if error is not null) is a sentence that says why, and errno is set.
 */
static inline void* LumivaneCamera_AllocateFrame(size_t size, const char** error) {
  const uint64_t whole = LumivaneCamera_PageRound(size);
  void* memory = NULL;
  if (error != NULL) *error = NULL;
  if (whole == 0) {
    errno = EINVAL;
    if (error != NULL) *error = "a frame has at least one byte and less than 4 GiB";
    return NULL;
  }
  memory = LumivaneCamera_MapByFlag(whole);
  if (memory == NULL) memory = LumivaneCamera_MapByGap(whole);
  if (memory == NULL && error != NULL) {
    *error =
        "no room for a frame of this size below 4 GiB: the low addresses are in use, or the "
        "process has reached its memory limit";
  }
  return memory;
}

/* Gives back a frame with the size it was allocated with. NULL is ignored. */
static inline void LumivaneCamera_FreeFrame(void* frame, size_t size) {
  const uint64_t whole = LumivaneCamera_PageRound(size);
  if (frame != NULL && whole != 0) munmap(frame, (size_t)whole);
}

/* Stores the frame's address. 0, with the field set to 0 (no frame), when it does not fit. */
static inline int LumivaneCamera_SetPixels(tagSHARED_CAMERA_BUFFER* record, const void* pixels) {
  const uint64_t address = (uint64_t)(uintptr_t)pixels;
  const int fits = address < LUMIVANE_CAMERA_ADDRESS_LIMIT;
  record->frameBufferPtr = fits ? (uint32_t)address : 0;
  return fits;
}

/*
 * Fills the record with a frame of width x height pixels whose rows follow each other without
 * padding: two bytes a pixel of 2vuy, else four. 0, with frameBufferPtr set to 0 (no frame), when
 * the address does not fit or a side is not 1..32767.
 */
static inline int LumivaneCamera_SetFrame(tagSHARED_CAMERA_BUFFER* record, const void* pixels,
                                          int width, int height, uint32_t pixelFormat) {
  const uint32_t pixelBytes = pixelFormat == LUMIVANE_CAMERA_FORMAT_2VUY ? 2 : 4;
  record->frameBufferPtr = 0;
  if (width < 1 || width > INT16_MAX || height < 1 || height > INT16_MAX) return 0;
  record->rowBytes = pixelBytes * (uint32_t)width;
  record->dataSize = record->rowBytes * (uint32_t)height;
  record->frameWidth = (int16_t)width;
  record->frameHeight = (int16_t)height;
  record->pixelFormat = pixelFormat;
  return LumivaneCamera_SetPixels(record, pixels);
}

/* The frame's first byte; null when the record holds no frame. */
static inline const void* LumivaneCamera_GetPixels(const tagSHARED_CAMERA_BUFFER* record) {
  return (const void*)(uintptr_t)record->frameBufferPtr;
}

/*
 * The rules of LumivaneCamera_CopyStatus, for a component that has filled a whole status of its
 * own: copies of it what the caller has room for, and says how much that was. full->structSize is
 * not looked at. Returns what LumivaneCamera_CopyStatus returns.
 */
static inline int LumivaneCamera_StoreStatus(LumivaneCameraStatus* status,
                                             const LumivaneCameraStatus* full) {
  uint32_t size = (uint32_t)sizeof(*full);
  if (status == NULL || status->structSize < LUMIVANE_CAMERA_STATUS_MINIMUM) return 0;
  if (status->structSize < size) size = status->structSize;
  memcpy(status, full, size);
  status->structSize = size;
  return 1;
}

#ifdef __cplusplus
}
#endif

#endif /* LUMIVANE_CAMERA_COMPONENT_H */
