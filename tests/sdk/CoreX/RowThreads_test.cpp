#include "sdk/CoreX/RowThreads.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "tests/sdk/CoreX/ProbeModule.h"
#include "tests/support/ProcessState.h"
#include "tests/support/TempBundle.h"

namespace {

/// A joined thread is gone from the list a moment after the join.
bool SystemThreadsBecome(int wanted) {
  for (int i = 0; i < 2000 && test::CountThreads() != wanted; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return test::CountThreads() == wanted;
}

struct RowThreadsTest : testing::Test {
  ~RowThreadsTest() override { RowThreads::SetCount(1); }
  const int threadsBefore = test::CountThreads();
};

/// What a call of ForRows did.
struct Calls {
  std::vector<std::pair<int, int>> blocks;  ///< by their first row
  std::set<std::thread::id> threads;
};

Calls Work(int rows, std::size_t bytesPerRow) {
  Calls calls;
  std::mutex mutex;
  RowThreads::ForRows(rows, bytesPerRow, [&](int first, int last) {
    const std::lock_guard lock(mutex);
    calls.blocks.emplace_back(first, last);
    calls.threads.insert(std::this_thread::get_id());
  });
  std::sort(calls.blocks.begin(), calls.blocks.end());
  return calls;
}

void ExpectEachRowOnce(const Calls& calls, int rows) {
  int next = 0;
  for (const auto& [first, last] : calls.blocks) {
    EXPECT_EQ(first, next);
    EXPECT_LT(first, last);
    next = last;
  }
  EXPECT_EQ(next, rows);
}

constexpr std::size_t kLargeRow = RowThreads::kThreshold;

TEST_F(RowThreadsTest, AreOffAtFirst) {
  EXPECT_EQ(RowThreads::Count(), 1u);
  const Calls calls = Work(1000, kLargeRow);
  EXPECT_EQ(calls.blocks, (std::vector<std::pair<int, int>>{{0, 1000}}));
  EXPECT_EQ(calls.threads, std::set{std::this_thread::get_id()});
  EXPECT_EQ(test::CountThreads(), threadsBefore);
}

TEST_F(RowThreadsTest, CoverEachRowOnceForAnyNumberOfThreads) {
  for (unsigned threads = 1; threads <= 8; ++threads) {
    RowThreads::SetCount(threads);
    EXPECT_EQ(RowThreads::Count(), threads);
    for (const int rows : {1, 2, 3, 7, 15, 16, 17, 479, 1081}) {
      SCOPED_TRACE(testing::Message() << threads << " threads, " << rows << " rows");
      ExpectEachRowOnce(Work(rows, kLargeRow), rows);
    }
  }
}

TEST_F(RowThreadsTest, DoNothingForNoRows) {
  RowThreads::SetCount(2);
  EXPECT_TRUE(Work(0, kLargeRow).blocks.empty());
  EXPECT_TRUE(Work(-5, kLargeRow).blocks.empty());
}

TEST_F(RowThreadsTest, TakeTheBiggestCounts) {
  RowThreads::SetCount(2);
  ExpectEachRowOnce(Work(INT32_MAX, 4096), INT32_MAX);
  ExpectEachRowOnce(Work(3, SIZE_MAX / 3), 3);
}

TEST_F(RowThreadsTest, LeaveSmallFramesToTheCaller) {
  RowThreads::SetCount(4);
  const std::size_t small = RowThreads::kThreshold / 64;
  EXPECT_EQ(Work(63, small).blocks.size(), 1u);
  EXPECT_GT(Work(64, small).blocks.size(), 1u);
}

/// Two threads at least are in the body at the same time: each waits for another.
TEST_F(RowThreadsTest, WorkAtTheSameTime) {
  RowThreads::SetCount(3);
  std::atomic<int> inside{0};
  RowThreads::ForRows(64, kLargeRow, [&](int, int) {
    ++inside;
    while (inside < 2) std::this_thread::yield();
  });
  EXPECT_GE(inside, 2);
}

TEST_F(RowThreadsTest, StartNoThreadInACall) {
  RowThreads::SetCount(4);
  EXPECT_TRUE(SystemThreadsBecome(threadsBefore + 3));
  std::set<std::thread::id> threads;
  for (int i = 0; i < 200; ++i) threads.merge(Work(64, kLargeRow).threads);
  EXPECT_LE(threads.size(), 4u);
  EXPECT_EQ(test::CountThreads(), threadsBefore + 3);
}

TEST_F(RowThreadsTest, EndWhenSwitchedOff) {
  for (int i = 0; i < 5; ++i) {
    RowThreads::SetCount(6);
    EXPECT_TRUE(SystemThreadsBecome(threadsBefore + 5));
    RowThreads::SetCount(2);
    EXPECT_TRUE(SystemThreadsBecome(threadsBefore + 1));
    RowThreads::SetCount(1);
    EXPECT_TRUE(SystemThreadsBecome(threadsBefore));
  }
}

TEST_F(RowThreadsTest, AreAtMostSoMany) {
  RowThreads::SetCount(1'000'000);
  EXPECT_EQ(RowThreads::Count(), RowThreads::kMax);
  RowThreads::SetCount(0);
  EXPECT_GE(RowThreads::Count(), 1u);
  EXPECT_LE(RowThreads::Count(), RowThreads::kMaxDefault);
}

TEST_F(RowThreadsTest, WorkInsideABody) {
  RowThreads::SetCount(3);
  std::atomic<int> rows{0};
  RowThreads::ForRows(40, kLargeRow, [&](int first, int last) {
    for (int y = first; y < last; ++y) {
      RowThreads::ForRows(30, kLargeRow,
                          [&](int innerFirst, int innerLast) { rows += innerLast - innerFirst; });
    }
  });
  EXPECT_EQ(rows, 40 * 30);
}

TEST_F(RowThreadsTest, WorkForSeveralCallersAtOnce) {
  RowThreads::SetCount(3);
  constexpr int kCallers = 4;
  constexpr int kCalls = 100;
  std::atomic<int> rows{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < kCallers; ++i) {
    callers.emplace_back([&] {
      for (int call = 0; call < kCalls; ++call) {
        RowThreads::ForRows(33, kLargeRow, [&](int first, int last) { rows += last - first; });
      }
    });
  }
  // The number changes under their feet.
  for (unsigned i = 0; i < 20; ++i) RowThreads::SetCount(1 + i % 4);
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(rows, kCallers * kCalls * 33);
}

TEST_F(RowThreadsTest, SeeTheCallersMemoryAndAreSeen) {
  RowThreads::SetCount(4);
  std::vector<int> values(1000);
  for (int round = 1; round <= 100; ++round) {
    RowThreads::ForRows(1000, kLargeRow, [&](int first, int last) {
      for (int y = first; y < last; ++y) values[static_cast<std::size_t>(y)] += y + round;
    });
  }
  for (int y = 0; y < 1000; ++y) EXPECT_EQ(values[static_cast<std::size_t>(y)], 100 * y + 5050);
}

TEST_F(RowThreadsTest, TakeNoSignals) {
  RowThreads::SetCount(3);
  sigset_t before;
  sigset_t now;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  const std::thread::id caller = std::this_thread::get_id();
  std::atomic<int> open{0};
  std::atomic<int> inside{0};
  RowThreads::ForRows(64, kLargeRow, [&](int, int) {
    ++inside;
    while (inside < 2) std::this_thread::yield();
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    if (std::this_thread::get_id() != caller && sigismember(&mask, SIGINT) == 0) ++open;
  });
  EXPECT_EQ(open, 0);
  pthread_sigmask(SIG_SETMASK, nullptr, &now);
  EXPECT_EQ(sigismember(&before, SIGINT), sigismember(&now, SIGINT));
}

// A fork has one thread, whatever it had been doing; it works alone, may have threads of its own,
// and ends.
#if !defined( \
    __SANITIZE_THREAD__)  // whose runtime does not live through a fork of a threaded process
TEST_F(RowThreadsTest, DoNotHangAFork) {
  RowThreads::SetCount(3);
  // No thread is still being started when the process forks: a sanitizer's runtime has locks of its
  // own for that, which would stay held in the child.
  std::atomic<int> inside{0};
  RowThreads::ForRows(64, kLargeRow, [&](int, int) {
    ++inside;
    while (inside < 3) std::this_thread::yield();
  });
  std::atomic<bool> stop{false};
  std::atomic<int> rounds{0};
  std::thread other([&] {
    for (; !stop; ++rounds) RowThreads::ForRows(64, kLargeRow, [](int, int) {});
  });
  while (rounds == 0) std::this_thread::yield();
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);
      std::atomic<int> rows{0};
      const auto count = [&](int first, int last) { rows += last - first; };
      RowThreads::ForRows(64, kLargeRow, count);
      if (i % 2 == 0) {
        RowThreads::SetCount(2);
        RowThreads::ForRows(64, kLargeRow, count);
        RowThreads::ForRows(64, kLargeRow, count);
      }
      RowThreads::SetCount(1);
      _exit(rows == (i % 2 == 0 ? 192 : 64) ? 0 : 1);
    }
    ASSERT_GT(child, 0);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  stop = true;
  other.join();
}
#endif

TEST_F(RowThreadsTest, EndWithTheModuleTheyAreIn) {
  for (int i = 0; i < 5; ++i) {
    test::ProbeModule module;
    EXPECT_EQ(test::CountThreads(), threadsBefore);
    EXPECT_EQ(PROBE(module, probe_work_with_threads, 4), 64);
    EXPECT_TRUE(SystemThreadsBecome(threadsBefore + 3));
    EXPECT_EQ(RowThreads::Count(), 1u);
    module.Unload();
    EXPECT_TRUE(SystemThreadsBecome(threadsBefore));
    EXPECT_FALSE(test::IsMapped(module.file()));
  }
}

}  // namespace
