// The decompressors that the platform brings along. Not for users of decompressors.
#pragma once

#include <span>

#include "platform/QuickTime/Decompressors.h"

/// '2vuy', 'UYVY' and 'yuvs' into 32-bit ARGB with the full colour matrix, and 32-bit ARGB as it
/// is.
///
/// The matrix is the one that an 'nclc' extension names (1: Rec. 709, 6 or 5: Rec. 601), or that of
/// a 'colr' extension of the 'nclc' kind; without either, Rec. 601 up to 576 rows and Rec. 709
/// above.
std::span<const ImageDecompressorInfo> StandardDecompressors();
