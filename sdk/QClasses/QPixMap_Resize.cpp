// Resizing of one pixel map into another through the frame operations.
#include "sdk/CoreX/XFrameOperations.h"
#include "sdk/QClasses/QPixMap.h"
#include "sdk/QClasses/QPixMap_rows.h"
#include "sdk/QClasses/XPixMapFrameBuffer.h"

namespace {

using Resize = bool (*)(const XFrameBuffer& source, XFrameBuffer& dest);

void CopyThroughViews(PixMap** hDest, PixMap** hPixMap, Resize resize) {
  MacPixMapFrameBuffer dest(hDest);
  const MacPixMapFrameBuffer source(hPixMap);
  // A view has 4 bytes a pixel whatever the pixel map has.
  const SInt32 pelBytes = 4;
  if (!QPixMapRows::Memory(hDest).HoldsAll(pelBytes)) return;
  if (!QPixMapRows::Memory(hPixMap).HoldsAll(pelBytes)) return;
  resize(source, dest);
}

}  // namespace

void QPixMap_Copy32Bilinear(PixMap** hDest, PixMap** hPixMap) {
  CopyThroughViews(hDest, hPixMap, XFrame_ResizeBilinear);
}

void QPixMap_ResizeHorizontal32(PixMap** hDest, PixMap** hPixMap) {
  CopyThroughViews(hDest, hPixMap, XFrame_ResizeBilinear);
}

void QPixMap_Copy32NearestPixel(PixMap** hDest, PixMap** hPixMap) {
  CopyThroughViews(hDest, hPixMap, XFrame_ResizeNearestPixel);
}
