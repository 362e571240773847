// The vector forms of what reorders 4:2:2 rows and maps their luma, compiled once per instruction
// set. A table of 256 bytes is looked up in registers.
#include "sdk/QClasses/Q_2vuy_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sdk/QClasses/Q_2vuy_luma_simd.cpp"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "sdk/QClasses/Q_2vuy_simd-inl.h"

HWY_BEFORE_NAMESPACE();
namespace Q_2vuy {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128  // The scalar form stands for these.

HWY_INLINE V32 SwapBytes(V32 words) {
  const V16 pairs = hn::BitCast(D16(), words);
  return hn::BitCast(D32(), hn::Or(hn::ShiftLeft<8>(pairs), hn::ShiftRight<8>(pairs)));
}

void Swap(const Rows& rows) {
  // By 32 bytes at the most. It is all loads and stores, and those of 64 bytes take a tenth longer
  // where a processor splits them; so does a loop around them.
  const hn::CappedTag<std::uint16_t, 16> d;
  const std::size_t partBytes = 2 * hn::Lanes(d);
  ForSteps<4, 4, false, 2>(
      rows, [=](const std::uint8_t* src, std::uint8_t* dst, int) LUMIVANE_INLINE_LAMBDA {
        const auto part = [=](std::size_t index) LUMIVANE_INLINE_LAMBDA {
          const std::size_t at = index * partBytes;
          const auto words = hn::LoadU(d, reinterpret_cast<const std::uint16_t*>(src + at));
          hn::StoreU(hn::Or(hn::ShiftLeft<8>(words), hn::ShiftRight<8>(words)), d,
                     reinterpret_cast<std::uint16_t*>(dst + at));
        };
        part(0);
        part(1);
        if (partBytes < hn::Lanes(D8())) {
          part(2);
          part(3);
        }
        for (std::size_t index = 4; index * partBytes < 2 * hn::Lanes(D8()); ++index) part(index);
      });
}

/// '2vuy' words, of words in either order.
template <Order order>
HWY_INLINE V32 LoadUnits(const std::uint8_t* src) {
  const V32 words = LoadWords(src);
  return order == Order::kYuvs ? SwapBytes(words) : words;
}

#if HWY_TARGET == HWY_AVX3_DL

class Table {
 public:
  static constexpr int kVectors = 1;

  explicit Table(const std::uint8_t* bytes) {
    for (int i = 0; i < 4; ++i) quarters_[i] = _mm512_loadu_si512(bytes + 64 * i);
  }

  template <Order order>
  HWY_INLINE void Map(const std::uint8_t* src, std::uint8_t* dst) const {
    constexpr __mmask64 kLuma = 0xAAAAAAAAAAAAAAAAull;
    const __m512i units = LoadUnits<order>(src).raw;
    const __m512i lower = _mm512_mask2_permutex2var_epi8(quarters_[0], units, kLuma, quarters_[1]);
    const __m512i upper = _mm512_permutex2var_epi8(quarters_[2], units, quarters_[3]);
    const __mmask64 isUpper = _mm512_movepi8_mask(units) & kLuma;
    StoreWords(V32{_mm512_mask_blend_epi8(isUpper, lower, upper)}, dst);
  }

 private:
  __m512i quarters_[4];
};

#elif HWY_TARGET == HWY_NEON

class Table {
 public:
  static constexpr int kVectors = 1;

  explicit Table(const std::uint8_t* bytes) {
    for (int i = 0; i < 4; ++i) quarters_[i] = vld1q_u8_x4(bytes + 64 * i);
  }

  template <Order order>
  HWY_INLINE void Map(const std::uint8_t* src, std::uint8_t* dst) const {
    const V8 units = hn::BitCast(D8(), LoadUnits<order>(src));
    const uint8x16_t quarter = vdupq_n_u8(64);
    uint8x16_t index = units.raw;
    uint8x16_t mapped = vqtbl4q_u8(quarters_[0], index);
    for (int i = 1; i < 4; ++i) {
      index = vsubq_u8(index, quarter);
      mapped = vqtbx4q_u8(mapped, quarters_[i], index);
    }
    StoreWords(hn::OddEven(V8(mapped), units), dst);
  }

 private:
  uint8x16x4_t quarters_[4];
};

#elif HWY_ARCH_X86

/// Sixteen tables of 16 bytes. A look-up takes the low four bits of an index and gives 0 for a
/// negative one. So with the index reduced by 16 from table to table all those up to the right one
/// answer, and each holds the difference from the one before.
class Table {
 public:
  static constexpr int kVectors = 2;

  explicit Table(const std::uint8_t* bytes) {
    for (int i = 0; i < 256; ++i) {
      differences_[i] =
          i % 128 < 16 ? bytes[i] : static_cast<std::uint8_t>(bytes[i] ^ bytes[i - 16]);
    }
  }

  /// Two vectors, their luma looked up together.
  template <Order order>
  HWY_INLINE void Map(const std::uint8_t* src, std::uint8_t* dst) const {
    const std::size_t bytes = hn::Lanes(D8());
    const V16 first = hn::BitCast(D16(), LoadUnits<order>(src));
    const V16 second = hn::BitCast(D16(), LoadUnits<order>(src + bytes));
    const V8 luma = PackBlocks(hn::BitCast(DI16(), hn::ShiftRight<8>(first)),
                               hn::BitCast(DI16(), hn::ShiftRight<8>(second)));
    const V8 mapped = hn::Xor(HalfTable(luma, differences_),
                              HalfTable(hn::Xor(luma, hn::Set(D8(), 0x80)), differences_ + 128));
    const V8 none = hn::Zero(D8());
    StoreWords(hn::OddEven(hn::InterleaveLower(D8(), none, mapped), hn::BitCast(D8(), first)), dst);
    StoreWords(hn::OddEven(hn::InterleaveUpper(D8(), none, mapped), hn::BitCast(D8(), second)),
               dst + bytes);
  }

 private:
  /// The answer for 0..127, else 0.
  static HWY_INLINE V8 HalfTable(V8 luma, const std::uint8_t* differences) {
    const hn::Repartition<std::int8_t, D8> di;
    auto index = hn::BitCast(di, luma);
    V8 mapped = hn::TableLookupBytes(hn::LoadDup128(D8(), differences), luma);
    for (int i = 1; i < 8; ++i) {
      index = hn::SaturatedSub(index, hn::Set(di, 16));
      const V8 table = hn::LoadDup128(D8(), differences + 16 * i);
      mapped = hn::Xor(mapped, hn::TableLookupBytes(table, hn::BitCast(D8(), index)));
    }
    return mapped;
  }

  alignas(16) std::uint8_t differences_[256];
};

#else

class Table {
 public:
  static constexpr int kVectors = 1;

  explicit Table(const std::uint8_t* bytes) : bytes_(bytes) {}

  template <Order order>
  HWY_INLINE void Map(const std::uint8_t* src, std::uint8_t* dst) const {
    const int step = 2 * PairsPerStep();
    kScalarRowKernels.luma.map({src, 0, dst, 0, step, 1}, order, bytes_);
  }

 private:
  const std::uint8_t* bytes_;
};

#endif

void Map(const Rows& rows, Order order, const std::uint8_t* bytes) {
  const Table table(bytes);
  const auto run = [&](auto step) LUMIVANE_INLINE_LAMBDA {
    ForSteps<4, 4, false, Table::kVectors>(rows, step);
  };
  if (order == Order::k2vuy) {
    run([=](const std::uint8_t* src, std::uint8_t* dst, int)
            LUMIVANE_INLINE_LAMBDA { table.Map<Order::k2vuy>(src, dst); });
  } else {
    run([=](const std::uint8_t* src, std::uint8_t* dst, int)
            LUMIVANE_INLINE_LAMBDA { table.Map<Order::kYuvs>(src, dst); });
  }
}

/// Eight tables, one for each luma byte of four units: neighbours are often alike, and a count
/// waits for the one before it in the same place.
class Counts {
 public:
  template <Order order>
  HWY_INLINE void Add(const std::uint8_t* units, int pairs) {
    constexpr int luma = order == Order::k2vuy ? 1 : 0;
    int i = 0;
    for (; i + 4 <= pairs; i += 4, units += 16) {
      AddTwo<luma>(units, counts_);
      AddTwo<luma>(units + 8, counts_ + 4);
    }
    for (; i < pairs; ++i, units += 4) {
      ++counts_[0][units[luma]];
      ++counts_[1][units[luma + 2]];
    }
  }

  void AddTo(std::uint32_t* counts) const {
    for (int level = 0; level < 256; ++level) {
      for (const auto& table : counts_) counts[level] += table[level];
    }
  }

 private:
  using Count = std::uint32_t;
  template <int luma>
  static HWY_INLINE void AddTwo(const std::uint8_t* units, Count (*counts)[256]) {
    std::uint64_t two;
    std::memcpy(&two, units, sizeof(two));
    ++counts[0][two >> (8 * luma) & 0xFF];
    ++counts[1][two >> (8 * luma + 16) & 0xFF];
    ++counts[2][two >> (8 * luma + 32) & 0xFF];
    ++counts[3][two >> (8 * luma + 48) & 0xFF];
  }

  Count counts_[8][256] = {};
};

template <Order order>
HWY_INLINE void CountAndMapRows(const Rows& rows, const Table& table, Counts& counts) {
  ForSteps<4, 4, false, Table::kVectors>(
      rows, [&](const std::uint8_t* src, std::uint8_t* dst, int pairs) LUMIVANE_INLINE_LAMBDA {
        counts.Add<order>(src, pairs);
        table.Map<order>(src, dst);
      });
}

void CountAndMap(const Rows& rows, Order order, const std::uint8_t* bytes, std::uint32_t* counts) {
  const Table table(bytes);
  Counts own;
  if (order == Order::k2vuy) {
    CountAndMapRows<Order::k2vuy>(rows, table, own);
  } else {
    CountAndMapRows<Order::kYuvs>(rows, table, own);
  }
  own.AddTo(counts);
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace Q_2vuy
HWY_AFTER_NAMESPACE();
