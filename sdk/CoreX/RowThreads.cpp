#include "sdk/CoreX/RowThreads.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/System/posix.h"

namespace RowThreads {
namespace {

/// A block moves about this much, so that taking one costs nothing beside its work, and there are
/// several for each thread: one that is held up elsewhere leaves its share to the others.
constexpr std::size_t kBlockBytes = std::size_t{1} << 18;
constexpr int kBlocksPerThread = 4;

struct Job {
  detail::Function function;
  const void* body;
  int rows;
  int blocks;
  std::atomic<int> next{0};

  int FirstRow(int block) const { return static_cast<int>(std::int64_t{rows} * block / blocks); }

  void TakeBlocks() {
    for (;;) {
      const int block = next.fetch_add(1, std::memory_order_relaxed);
      if (block >= blocks) return;
      function(body, FirstRow(block), FirstRow(block + 1));
    }
  }
};

/// The signals of a process are for the threads its program knows of.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

class Pool {
 public:
  explicit Pool(unsigned helpers) {
    const SignalsBlocked blocked;
    threads_.reserve(helpers);
    try {
      for (unsigned i = 0; i < helpers; ++i) threads_.emplace_back([this] { Help(); });
    } catch (const std::system_error&) {
      // As many as the system gives.
    }
  }
  ~Pool() {
    {
      const std::lock_guard lock(mutex_);
      stop_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  unsigned helpers() const { return static_cast<unsigned>(threads_.size()); }

  void Run(Job& job) {
    {
      const std::lock_guard lock(mutex_);
      job_ = &job;
      ++jobs_;
    }
    const unsigned wanted = std::min(helpers(), static_cast<unsigned>(job.blocks - 1));
    for (unsigned i = 0; i < wanted; ++i) wake_.notify_one();
    job.TakeBlocks();
    // Who wakes up only now finds no job; who has taken a block finishes it.
    std::unique_lock lock(mutex_);
    job_ = nullptr;
    idle_.wait(lock, [this] { return helping_ == 0; });
  }

 private:
  void Help() {
    unsigned done = 0;
    std::unique_lock lock(mutex_);
    for (;;) {
      wake_.wait(lock, [&] { return stop_ || (job_ != nullptr && jobs_ != done); });
      if (stop_) return;
      done = jobs_;
      Job& job = *job_;
      ++helping_;
      lock.unlock();
      job.TakeBlocks();
      lock.lock();
      if (--helping_ == 0) idle_.notify_one();
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  Job* job_ = nullptr;
  unsigned jobs_ = 0;  ///< so far
  int helping_ = 0;    ///< helpers inside the job
  bool stop_ = false;
  std::vector<std::thread> threads_;
};

// The pool belongs to who holds sBusy; a call that finds it held works alone. sProcess tells a
// fork, which has the pool's memory but none of its threads, and perhaps a held sBusy.
constinit std::atomic<bool> sBusy{false};
constinit std::atomic<unsigned> sCount{1};
constinit std::atomic<pid_t> sProcess{0};
constinit Pool* sPool = nullptr;

bool InFork() {
  const pid_t process = sProcess.load(std::memory_order_relaxed);
  return process != 0 && process != getpid();
}

void Release() {
  sBusy.store(false, std::memory_order_release);
  sBusy.notify_all();
}

struct AtEnd {
  ~AtEnd() { SetCount(1); }
};
const AtEnd atEnd;

}  // namespace

void SetCount(unsigned threads) {
  if (threads == 0) threads = std::clamp(std::thread::hardware_concurrency(), 1u, kMaxDefault);
  threads = std::min(threads, kMax);
  if (InFork()) {
    // Nothing of the pool can be used or ended here: its memory stays behind.
    sPool = nullptr;
    sProcess = 0;
    sBusy = true;
  } else {
    while (sBusy.exchange(true, std::memory_order_acquire)) sBusy.wait(true);
  }
  if (threads != sCount.load(std::memory_order_relaxed) || sPool == nullptr) {
    delete sPool;
    sPool = nullptr;
    sProcess = 0;
    if (threads > 1) {
      sPool = new Pool(threads - 1);
      sProcess = getpid();
    }
  }
  sCount.store(sPool == nullptr ? 1 : sPool->helpers() + 1, std::memory_order_relaxed);
  Release();
}

unsigned Count() {
  return sCount.load(std::memory_order_relaxed);
}

namespace detail {

void Share(int rows, std::size_t bytesPerRow, Function function, const void* body) {
  if (InFork() || sBusy.exchange(true, std::memory_order_acquire)) {
    function(body, 0, rows);
    return;
  }
  if (sPool == nullptr) {
    Release();
    function(body, 0, rows);
    return;
  }
  const std::size_t bytes = static_cast<std::size_t>(rows) * bytesPerRow;
  const int most = std::min(rows, static_cast<int>(Count()) * kBlocksPerThread);
  const int blocks =
      static_cast<int>(std::clamp<std::size_t>(bytes / kBlockBytes, 1, std::size_t(most)));
  Job job{function, body, rows, blocks, {}};
  sPool->Run(job);
  Release();
}

}  // namespace detail

}  // namespace RowThreads
