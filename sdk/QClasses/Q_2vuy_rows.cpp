#include "sdk/QClasses/Q_2vuy_rows.h"

namespace Q_2vuy {

using RasterGraphics::LumaHistogram;

namespace {

/// What as many additions of 1 give in single precision: they end where 1 is too small a step.
float CountedOneByOne(UInt64 count) {
  constexpr UInt64 kLargest = 1u << 24;
  return static_cast<float>(std::min(count, kLargest));
}

}  // namespace

LumaHistogram HistogramOf(const UInt32 (&counts)[256]) {
  UInt64 bins[LumaHistogram::kBins] = {};
  UInt64 total = 0;
  for (int level = 0; level < 256; ++level) {
    bins[LumaHistogram::BinOf(static_cast<unsigned char>(level))] += counts[level];
    total += counts[level];
  }
  LumaHistogram histogram;
  for (int bin = 0; bin < LumaHistogram::kBins; ++bin) {
    histogram[bin] = CountedOneByOne(bins[bin]);
  }
  histogram.Total() = CountedOneByOne(total);
  return histogram;
}

}  // namespace Q_2vuy
