#include "sdk/CoreX/XFrameBuffer.h"

#include "sdk/CoreX/CoreMachDebugLog.h"

// Some sizes stand twice; the first row of a size counts.
const XFrameSizeType MapFrameSizeType[] = {
    {352, 240, 1},    {352, 288, 2},    {640, 480, 3},    {640, 486, 3},  {352, 480, 5},
    {704, 480, 6},    {704, 486, 6},    {720, 480, 6},    {720, 486, 6},  {768, 480, 7},
    {768, 486, 7},    {352, 576, 8},    {704, 576, 9},    {704, 576, 9},  {720, 576, 9},
    {720, 576, 9},    {768, 576, 10},   {768, 576, 10},   {800, 600, 11}, {1280, 720, 14},
    {1920, 1080, 15}, {1920, 1088, 15}, {1920, 1152, 16}, {0, 0, 0},
};

namespace {

// One bit for each frame-size type that is interlaced: 3, 4, 6, 7, 9, 10 and 15.
constexpr UInt32 kInterlacedTypes = 0x86D8;
constexpr UInt32 kTypesWithABit = 16;
constexpr SInt32 kLeastInterlacedHeight = 480;

// The pixel pointer may leave the frame where a crop does; such a view is never followed there.
unsigned char* Move(unsigned char* pixels, SInt64 bytes) {
  return reinterpret_cast<unsigned char*>(reinterpret_cast<std::uintptr_t>(pixels) +
                                          static_cast<std::uintptr_t>(bytes));
}

// 32-bit arithmetic, which wraps.
SInt32 Minus(SInt32 a, SInt32 b) {
  return static_cast<SInt32>(static_cast<UInt32>(a) - static_cast<UInt32>(b));
}

}  // namespace

XFrameBuffer::XFrameBuffer() {}
XFrameBuffer::~XFrameBuffer() = default;

UInt32 XFrameBuffer::FrameTypeOf() const {
  for (const XFrameSizeType* row = MapFrameSizeType; row->width != 0 && row->height != 0; ++row) {
    if (row->width == Width && row->height == Height) return row->type;
  }
  return 0;
}

bool XFrameBuffer::HasTwoFields() const {
  if (Fields != 0) return (Fields & XFrame_TwoFields) != 0;
  const UInt32 type = FrameTypeOf();
  if (type < kTypesWithABit && ((kInterlacedTypes >> type) & 1) != 0) return true;
  return Height >= kLeastInterlacedHeight && Height % 2 == 0;
}

void XFrameBuffer::GetTopField(XFrameBuffer& out) const {
  out.Width = Width;
  out.PixelType = PixelType;
  out.PelBytes = PelBytes;
  out.Fields = XFrame_SingleField;
  out.Pixels = Pixels;
  out.Height = Height / 2;
  out.RowBytes = static_cast<SInt32>(2 * static_cast<UInt32>(RowBytes));
}

void XFrameBuffer::GetBottomField(XFrameBuffer& out) const {
  const SInt32 rowBytes = RowBytes;  // `out` may be this frame.
  GetTopField(out);
  out.Pixels = Move(out.Pixels, rowBytes);
}

void XFrameBuffer::GetFields(XFrameBuffer& top, XFrameBuffer& bottom) const {
  GetTopField(top);
  GetBottomField(bottom);
}

void XFrameBuffer::GetCroppedBuffer(XFrameBuffer& out, int left, int top, int right,
                                    int bottom) const {
  const XFrameBufferBase whole = *this;
  static_cast<XFrameBufferBase&>(out) = whole;
  out.Width = Minus(Minus(whole.Width, left), right);
  out.Height = Minus(Minus(whole.Height, top), bottom);
  out.Pixels = Move(whole.Pixels, SInt64{top} * whole.RowBytes + SInt64{left} * whole.PelBytes);
}

void XFrameBuffer::CoreDebugPrint(const char* label) const {
  CoreMachDebugLog("-----------\n%s XFrameBuffer Properties\n", label);
  CoreMachDebugLog("Width,Height = (%d,%d)\n", Width, Height);
  CoreMachDebugLog("Fields  = %04x\n", Fields);
}
