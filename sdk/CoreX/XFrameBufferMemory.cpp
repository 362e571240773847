#include "sdk/CoreX/XFrameBufferMemory.h"

#include <cstdlib>

#include "sdk/CoreX/CoreMachDebugLog.h"

namespace {
constexpr UInt32 kBytesPerPixel = 4;
}

XFrameBufferMemory::XFrameBufferMemory(int width, int height) {
  SetFrameDimensions(width, height);
}

XFrameBufferMemory::~XFrameBufferMemory() {
  Destruct();
}

void XFrameBufferMemory::SetFrameDimensions(int width, int height) {
  Empty();
  const UInt32 rowBytes = static_cast<UInt32>(width) * kBytesPerPixel;
  const UInt32 frame_malloc_size = static_cast<UInt32>(height) * rowBytes;
  if (!VERIFY(frame_malloc_size!=0)) return;
  const int frame_start_offset = 0;
  const SInt32 frame_stride_bytes = static_cast<SInt32>(rowBytes);
  VERIFY(Construct(frame_malloc_size, frame_start_offset, frame_stride_bytes));
}

bool XFrameBufferMemory::Construct(UInt32 frame_malloc_size, int frame_start_offset,
                                   SInt32 frame_stride_bytes) {
  m_base_malloc = std::malloc(frame_malloc_size);
  if (!VERIFY(m_base_malloc)) return false;
  m_frame_start = static_cast<unsigned char*>(m_base_malloc) + frame_start_offset;
  m_frame_stride = frame_stride_bytes;
  return true;
}

void XFrameBufferMemory::Empty() {
  if (m_base_malloc != nullptr) Destruct();
}

void XFrameBufferMemory::Destruct() {
  std::free(m_base_malloc);
  m_base_malloc = nullptr;
  m_frame_start = nullptr;
}
