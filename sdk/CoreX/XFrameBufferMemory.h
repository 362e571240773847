// The owner of one block of memory that a frame of 4 bytes per pixel lies in.
#pragma once

#include "platform/CoreServices/MacTypes.h"

class XFrameBufferMemory {
 public:
  XFrameBufferMemory() = default;
  XFrameBufferMemory(int width, int height);
  ~XFrameBufferMemory();
  XFrameBufferMemory(const XFrameBufferMemory&) = delete;
  XFrameBufferMemory& operator=(const XFrameBufferMemory&) = delete;

  /// Replaces the block by one for a frame of this size. The size is 32-bit arithmetic and wraps
  /// (a frame of more than 4 GiB is not for this class); 0 bytes, or no memory, logs and leaves the
  /// object empty.
  void SetFrameDimensions(int width, int height);

  /// Allocates so many bytes, not cleared, with the frame so far from their start. Does not free an
  /// earlier block: empty the object first. False, with a log line, without memory; stride and
  /// frame start are then what they were.
  bool Construct(UInt32 frame_malloc_size, int frame_start_offset, SInt32 frame_stride_bytes);

  /// Frees the block. The stride stays.
  void Empty();
  void Destruct();

  unsigned char* FrameStart() const { return m_frame_start; }  ///< null when empty
  SInt32 FrameStride() const { return m_frame_stride; }        ///< bytes from row to row
  bool IsEmpty() const { return m_base_malloc == nullptr; }

 private:
  void* m_base_malloc = nullptr;
  unsigned char* m_frame_start = nullptr;
  SInt32 m_frame_stride = 0;
};
