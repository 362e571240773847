// Rows of a large frame shared among threads.
//
// Off until SetCount switches it on: the toolkit's code in a plug-in starts no thread, since the
// host owns the threads there. Each module that carries the toolkit has threads of its own. They
// live from SetCount to SetCount or to the end of the module, which joins them; no call starts one.
//
// A whole-frame operation checks its arguments, picks its kernels, and hands its row loop over:
//
//   const auto& kernels = XFrameKernels::CurrentRowKernels();
//   RowThreads::ForRows(height / 2, 4 * rowSize, [&](int first, int last) {
//     kernels.pairs(RowsInto(dest, 2 * first), RowsFrom(source, 2 * first), rowSize, last - first);
//   });
//
// That is allowed where each row of the result depends on sources alone, which nothing in the call
// writes to: then the bytes are the same for any number of threads. Frames that overlap keep their
// own loop from the top down. Operations on pairs of rows count pairs. What a block needs from the
// rows above it (a position that accumulates) it computes again from the top, in the same order.
#pragma once

#include <cstddef>
#include <type_traits>

namespace RowThreads {

/// How many threads ForRows may use, the caller among them. 1, the state at first, is no thread but
/// the caller's; 0 is as many as the process has processors, up to kMaxDefault. Where threads
/// cannot be had there are fewer. Waits for rows that are being worked on; not to be called by a
/// body.
void SetCount(unsigned threads);
unsigned Count();

/// More threads than this no longer make copies faster on the machines we know.
inline constexpr unsigned kMaxDefault = 8;
/// No more threads than this at all.
inline constexpr unsigned kMax = 64;

/// Frames that move fewer bytes stay with the caller: waking another thread takes as long as the
/// caller needs for about half of them. `./dev bench threads:` measures it.
inline constexpr std::size_t kThreshold = std::size_t{1} << 20;

namespace detail {
using Function = void (*)(const void* body, int first, int last);
void Share(int rows, std::size_t bytesPerRow, Function function, const void* body);
}  // namespace detail

/// Calls body(first, last) for blocks of rows that make up [0, rows), once for each row, at the
/// same time on several threads, and returns when all are done. `bytesPerRow` is what a row reads
/// and writes; where the work takes k times as long as a copy of them, k times that.
///
/// The caller does the whole in one block, [0, rows), when there are no threads, the frame is
/// small, the threads are busy with another call (of a body or of another thread), or the process
/// is a fork of the one that has them. Bodies do not throw. Safe from any thread.
template <typename Body>
void ForRows(int rows, std::size_t bytesPerRow, const Body& body) {
  static_assert(std::is_invocable_v<const Body&, int, int>);
  if (rows <= 0) return;
  if (Count() == 1 || static_cast<std::size_t>(rows) * bytesPerRow < kThreshold) {
    body(0, rows);
    return;
  }
  detail::Share(
      rows, bytesPerRow,
      [](const void* erased, int first, int last) {
        (*static_cast<const Body*>(erased))(first, last);
      },
      &body);
}

}  // namespace RowThreads
