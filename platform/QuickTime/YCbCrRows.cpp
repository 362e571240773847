#include "platform/QuickTime/YCbCrRows.h"

void ConvertYCbCrRowToARGB(const YCbCrMatrix& matrix, YCbCrOrder order, const UInt8* source,
                           UInt8* destination, UInt32 width) {
  ConvertYCbCrRowToARGB_Vector(matrix, order, source, destination, width);
}
