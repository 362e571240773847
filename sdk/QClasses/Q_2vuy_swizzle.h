// The reordering row kernel. Included by Q_2vuy_data.h.
#pragma once

template <UInt32 fourcc, bool useCLUT, bool useHistogram>
void Q_2vuy_data::SwizzleScanline_XXXX_to_2vuy(const unsigned char* src, unsigned char* dst,
                                               int width, const RasterGraphics::LumaCLUT& clut,
                                               RasterGraphics::LumaHistogram& calculate,
                                               const RasterGraphics::LumaMapping& specify) {
  static_assert(fourcc == 'yuvs' || fourcc == '2vuy');
  static_assert(useCLUT || !useHistogram, "the histogram's mapping goes through the table");
  constexpr int kLuma0 = fourcc == 'yuvs' ? 0 : 1;
  constexpr int kChroma0 = 1 - kLuma0;
  for (int x = 0; x < width; x += 2, src += 4, dst += 4) {
    const unsigned char cb = src[kChroma0];
    const unsigned char cr = src[kChroma0 + 2];
    unsigned char y0 = src[kLuma0];
    unsigned char y1 = src[kLuma0 + 2];
    if constexpr (useHistogram) {
      using RasterGraphics::LumaHistogram;
      // Both are counted before either is mapped.
      const int bin0 = LumaHistogram::BinOf(y0);
      const int bin1 = LumaHistogram::BinOf(y1);
      calculate[bin0] += 1.0f;
      calculate.Total() += 1.0f;
      calculate[bin1] += 1.0f;
      calculate.Total() += 1.0f;
      const auto map = [&](int bin) {
        const UInt64 level = UInt64{specify[bin]} + LumaHistogram::kLevelOfBin0;
        return static_cast<unsigned char>(clut[static_cast<int>(level > 255 ? 255 : level)]);
      };
      y0 = map(bin0);
      y1 = map(bin1);
    } else if constexpr (useCLUT) {
      y0 = static_cast<unsigned char>(clut[y0]);
      y1 = static_cast<unsigned char>(clut[y1]);
    }
    dst[0] = cb;
    dst[1] = y0;
    dst[2] = cr;
    dst[3] = y1;
  }
}
