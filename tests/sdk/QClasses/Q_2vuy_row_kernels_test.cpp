// The row kernels on frames, in each of their forms: strides, starts, guards, rows in place; and
// the order and the levels of 4:2:2 rows.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <functional>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "sdk/QClasses/Q_2vuy_kernels.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Q_2vuy::AvailableRowKernels;
using Q_2vuy::kScalarRowKernels;
using Q_2vuy::Order;
using Q_2vuy::RowKernels;

constexpr std::uint8_t kCanary = 0xA5;

Bytes RandomBytes(std::size_t size, unsigned seed) {
  std::mt19937 engine(seed);
  Bytes bytes(size);
  for (std::uint8_t& b : bytes) b = static_cast<std::uint8_t>(engine());
  return bytes;
}

std::size_t PairsOf(int width) {
  return width > 0 ? static_cast<std::size_t>(width + 1) / 2 : 0;
}

/// Rows with room between them, that begin at any address, from the top down or from the bottom up.
class Raster {
 public:
  Raster(int width, int height, std::size_t pairBytes, std::size_t start, std::ptrdiff_t stride,
         unsigned seed)
      : row_(PairsOf(width) * pairBytes),
        stride_(stride),
        top_(stride < 0 ? -stride * (height - 1) : 0),
        start_(start),
        height_(height) {
    const std::ptrdiff_t span = (stride < 0 ? -stride : stride) * (height - 1);
    bytes_ = RandomBytes(start + static_cast<std::size_t>(span) + row_, seed);
  }

  std::uint8_t* top() { return bytes_.data() + start_ + top_; }
  std::ptrdiff_t stride() const { return stride_; }
  const Bytes& bytes() const { return bytes_; }

  /// Whether nothing but the rows differs from another raster of the same shape.
  bool DiffersOnlyInRows(const Raster& other) const {
    std::vector<bool> inside(bytes_.size());
    for (int y = 0; y < height_; ++y) {
      for (std::size_t i = 0; i < row_; ++i) {
        inside[static_cast<std::size_t>(static_cast<std::ptrdiff_t>(start_ + i) + top_ +
                                        y * stride_)] = true;
      }
    }
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
      if (!inside[i] && bytes_[i] != other.bytes_[i]) return false;
    }
    return true;
  }

 private:
  Bytes bytes_;
  std::size_t row_;
  std::ptrdiff_t stride_;
  std::ptrdiff_t top_;
  std::size_t start_;
  int height_;
};

struct Kernel {
  const char* name;
  std::size_t srcPairBytes;
  std::size_t dstPairBytes;
  std::function<void(const RowKernels&, const Q_2vuy::Rows&)> run;
};

const std::array<std::uint8_t, 256>& Table() {
  static const auto table = [] {
    std::array<std::uint8_t, 256> bytes{};
    std::mt19937 engine(5);
    for (std::uint8_t& b : bytes) b = static_cast<std::uint8_t>(engine());
    return bytes;
  }();
  return table;
}

std::vector<Kernel> Kernels() {
  const auto map = [](Order order) {
    return [order](const RowKernels& k, const Q_2vuy::Rows& rows) {
      k.luma.map(rows, order, Table().data());
    };
  };
  const auto count = [](Order order) {
    return [order](const RowKernels& k, const Q_2vuy::Rows& rows) {
      std::uint32_t counts[256] = {};
      k.luma.countAndMap(rows, order, Table().data(), counts);
    };
  };
  return {
      {"to", 4, 8, [](const auto& k, const auto& rows) { k.conversion.to_ARGB(rows); }},
      {"from", 8, 4, [](const auto& k, const auto& rows) { k.conversion.from_ARGB(rows); }},
      {"over", 8, 4, [](const auto& k, const auto& rows) { k.conversion.over_ARGB(rows, 1.0f); }},
      {"over half", 8, 4,
       [](const auto& k, const auto& rows) { k.conversion.over_ARGB(rows, 0.5f); }},
      {"swap", 4, 4, [](const auto& k, const auto& rows) { k.luma.swap(rows); }},
      {"map", 4, 4, map(Order::k2vuy)},
      {"map yuvs", 4, 4, map(Order::kYuvs)},
      {"count", 4, 4, count(Order::k2vuy)},
      {"count yuvs", 4, 4, count(Order::kYuvs)},
  };
}

/// Which way rows follow each other, and the bytes between them.
struct Layout {
  std::ptrdiff_t sign;
  std::ptrdiff_t srcRoom;
  std::ptrdiff_t dstRoom;
};

TEST(Q2vuyKernelRows, EveryStrideAndStartGivesTheRowsAndNothingElse) {
  constexpr int kHeight = 3;
  for (const Kernel& kernel : Kernels()) {
    for (const int width : {0, 1, 2, 7, 31, 32, 33, 64, 65, 127, 130}) {
      // Rows that lie end to end, too.
      for (const auto& [sign, srcRoom, dstRoom] :
           {Layout{1, 6, 9}, Layout{-1, 6, 9}, Layout{1, 0, 0}, Layout{1, 0, 4}, Layout{1, 4, 0}}) {
        const auto stride = [sign = sign, width](std::size_t pairBytes, std::ptrdiff_t room) {
          return sign * (static_cast<std::ptrdiff_t>(PairsOf(width) * pairBytes) + room);
        };
        Raster src(width, kHeight, kernel.srcPairBytes, 1, stride(kernel.srcPairBytes, srcRoom), 1);
        const Raster before(width, kHeight, kernel.dstPairBytes, 3,
                            stride(kernel.dstPairBytes, dstRoom), 2);
        Raster want = before;
        for (int y = 0; y < kHeight; ++y) {
          kernel.run(kScalarRowKernels, {src.top() + y * src.stride(), 0,
                                         want.top() + y * want.stride(), 0, width, 1});
        }
        EXPECT_TRUE(want.DiffersOnlyInRows(before));
        for (const RowKernels& form : AvailableRowKernels()) {
          Raster got = before;
          kernel.run(form, {src.top(), src.stride(), got.top(), got.stride(), width, kHeight});
          EXPECT_EQ(got.bytes(), want.bytes()) << form.name << ' ' << kernel.name << " width "
                                               << width << " sign " << sign << " room " << srcRoom;
        }
      }
    }
  }
}

TEST(Q2vuyKernelRows, BlendsTakeEveryStrideAndEitherSourceAsDestination) {
  constexpr int kHeight = 3;
  const auto run = [](const RowKernels& k, const Q_2vuy::BlendRows& rows, const Raster& mask,
                      std::uint8_t* levels) {
    if (levels == nullptr) {
      k.blends.blend(rows, 0.37f);
    } else {
      k.blends.blendMasked(rows, 0.37f, levels, mask.stride());
    }
  };
  // Bytes between the rows of a, b, destination and mask; b runs upwards, unless they lie end to
  // end.
  constexpr std::ptrdiff_t kRooms[][4] = {{2, 4, 8, 3}, {0, 0, 0, 0}, {0, 0, 0, 2}, {0, 4, 0, 0}};
  for (const auto& rooms : kRooms) {
    for (const int width : {0, 1, 2, 31, 32, 33, 66, 130}) {
      const auto stride = [&](std::size_t pairBytes, std::ptrdiff_t room) {
        return static_cast<std::ptrdiff_t>(PairsOf(width) * pairBytes) + room;
      };
      const Raster a(width, kHeight, 4, 1, stride(4, rooms[0]), 11);
      const Raster b(width, kHeight, 4, 2, (rooms[1] > 0 ? -1 : 1) * stride(4, rooms[1]), 12);
      const Raster dst(width, kHeight, 4, 3, stride(4, rooms[2]), 13);
      Raster mask(width, kHeight, 2, 1, stride(2, rooms[3]), 14);
      for (const bool masked : {false, true}) {
        std::uint8_t* levels = masked ? mask.top() : nullptr;
        for (const int target : {0, 1, 2}) {  // Apart, a, b.
          const auto result = [&](const RowKernels& form, bool byRow) {
            Raster ra = a;
            Raster rb = b;
            Raster rd = dst;
            Raster& to = target == 0 ? rd : (target == 1 ? ra : rb);
            for (int y = 0; y < (byRow ? kHeight : 1); ++y) {
              run(form,
                  {ra.top() + y * ra.stride(), ra.stride(), rb.top() + y * rb.stride(), rb.stride(),
                   to.top() + y * to.stride(), to.stride(), width, byRow ? 1 : kHeight},
                  mask, levels == nullptr ? nullptr : levels + y * mask.stride());
            }
            return std::vector<Bytes>{ra.bytes(), rb.bytes(), rd.bytes()};
          };
          const auto want = result(kScalarRowKernels, true);
          for (const RowKernels& form : AvailableRowKernels()) {
            EXPECT_EQ(result(form, false), want)
                << form.name << " width " << width << " masked " << masked << " target " << target;
          }
        }
      }
    }
  }
}

/// Bytes at the end of a page that another one follows which cannot be read.
class AtPageEnd {
 public:
  explicit AtPageEnd(std::size_t size) : size_(size) {
    void* pages =
        mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    pages_ = static_cast<std::uint8_t*>(pages);
    if (mprotect(pages_ + page_, page_, PROT_NONE) != 0) throw std::bad_alloc();
  }
  ~AtPageEnd() { munmap(pages_, 2 * page_); }
  AtPageEnd(const AtPageEnd&) = delete;
  AtPageEnd& operator=(const AtPageEnd&) = delete;
  std::uint8_t* data() { return pages_ + page_ - size_; }

 private:
  std::size_t page_ = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  std::size_t size_;
  std::uint8_t* pages_ = nullptr;
};

TEST(Q2vuyKernelRows, NothingBehindTheLastPairIsRead) {
  for (const int width : {2, 30, 32, 64, 66, 256}) {
    const std::size_t pairs = PairsOf(width);
    AtPageEnd a(4 * pairs);
    AtPageEnd b(4 * pairs);
    AtPageEnd mask(2 * pairs);
    for (const RowKernels& form : AvailableRowKernels()) {
      for (const Kernel& kernel : Kernels()) {
        AtPageEnd src(kernel.srcPairBytes * pairs);
        AtPageEnd dst(kernel.dstPairBytes * pairs);
        kernel.run(form, {src.data(), 0, dst.data(), 0, width, 1});
      }
      AtPageEnd dst(4 * pairs);
      const Q_2vuy::BlendRows rows{a.data(), 0, b.data(), 0, dst.data(), 0, width, 1};
      form.blends.blend(rows, 0.37f);
      form.blends.blendMasked(rows, 0.37f, mask.data(), 0);
      form.blends.blendMasked(rows, 0.62f, mask.data(), 0);
    }
  }
}

TEST(Q2vuyKernelRows, NoHeightIsNoWork) {
  for (const Kernel& kernel : Kernels()) {
    for (const RowKernels& form : AvailableRowKernels()) {
      Bytes src(600, 1);
      Bytes dst(600, kCanary);
      kernel.run(form, {src.data(), 0, dst.data(), 0, 64, 0});
      kernel.run(form, {src.data(), 0, dst.data(), 0, 64, -3});
      EXPECT_EQ(dst, Bytes(600, kCanary)) << form.name << ' ' << kernel.name;
    }
  }
}

TEST(Q2vuyLuma, EveryLevelThroughEveryKindOfTable) {
  std::vector<std::array<std::uint8_t, 256>> tables(6);
  std::mt19937 engine(77);
  for (int i = 0; i < 256; ++i) {
    const auto at = static_cast<std::size_t>(i);
    tables[0][at] = static_cast<std::uint8_t>(i);
    tables[1][at] = static_cast<std::uint8_t>(255 - i);
    tables[2][at] = static_cast<std::uint8_t>(i >= 128 ? 255 : 0);
    for (std::size_t t = 3; t < tables.size(); ++t) {
      tables[t][at] = static_cast<std::uint8_t>(engine());
    }
  }
  // Every level at every place of a vector.
  Bytes units(4 * 256 * 67);
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<std::uint8_t>(i / 2 + i / (2 * 256));
  }
  const int width = static_cast<int>(units.size() / 2);
  for (const auto& table : tables) {
    for (const Order order : {Order::k2vuy, Order::kYuvs}) {
      const std::size_t luma = order == Order::k2vuy ? 1 : 0;
      Bytes want(units.size());
      std::vector<std::uint32_t> wantCounts(256, 7);
      for (std::size_t i = 0; i < units.size(); i += 2) {
        want[i] = units[i + 1 - luma];
        want[i + 1] = table[units[i + luma]];
        ++wantCounts[units[i + luma]];
      }
      for (const RowKernels& k : AvailableRowKernels()) {
        Bytes got(units.size());
        k.luma.map({units.data(), 0, got.data(), 0, width, 1}, order, table.data());
        ASSERT_EQ(got, want) << k.name;
        // In place, and counted on top of what is there.
        got = units;
        std::vector<std::uint32_t> counts(256, 7);
        k.luma.countAndMap({got.data(), 0, got.data(), 0, width, 1}, order, table.data(),
                           counts.data());
        ASSERT_EQ(got, want) << k.name;
        ASSERT_EQ(counts, wantCounts) << k.name;
      }
    }
  }
}

TEST(Q2vuyLuma, CountsThePixelsOfEveryWidthAndNoOthers) {
  const Bytes units = RandomBytes(4 * 70, 3);
  for (const RowKernels& k : AvailableRowKernels()) {
    for (const Order order : {Order::k2vuy, Order::kYuvs}) {
      for (int width = 0; width <= 130; ++width) {
        std::vector<std::uint32_t> want(256);
        const std::size_t luma = order == Order::k2vuy ? 1 : 0;
        for (std::size_t i = luma; i < 4 * PairsOf(width); i += 2) ++want[units[i]];
        std::vector<std::uint32_t> counts(256);
        Bytes out(units.size());
        k.luma.countAndMap({units.data(), 0, out.data(), 0, width, 1}, order, Table().data(),
                           counts.data());
        ASSERT_EQ(counts, want) << k.name << " width " << width;
      }
    }
  }
}

TEST(Q2vuyLuma, SwappingTwiceGivesTheSource) {
  const Bytes units = RandomBytes(4 * 65, 8);
  for (const RowKernels& k : AvailableRowKernels()) {
    Bytes once = units;
    k.luma.swap({once.data(), 0, once.data(), 0, 130, 1});
    for (std::size_t i = 0; i < units.size(); ++i) ASSERT_EQ(once[i], units[i ^ 1]) << k.name;
    k.luma.swap({once.data(), 0, once.data(), 0, 130, 1});
    EXPECT_EQ(once, units) << k.name;
  }
}

}  // namespace
