// The frei0r module in every order of calls that hosts show, and on several threads.
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include "tests/hosts/modules/Frei0rModule.h"
#include "tests/hosts/modules/Modules.h"
#include "tests/support/ProcessState.h"

namespace {

using namespace modules;

constexpr unsigned kWidth = 160;
constexpr unsigned kHeight = 120;

/// The picture of an instance of that size.
Bytes Update(const Frei0rModule& module, f0r_instance_t instance, unsigned width = kWidth,
             unsigned height = kHeight) {
  Bytes picture(std::size_t{4} * width * height);
  module.update(instance, 0, nullptr, reinterpret_cast<std::uint32_t*>(picture.data()));
  return picture;
}

bool ShowsSomething(const Bytes& picture) {
  for (std::size_t i = 0; i < picture.size(); i += 4) {
    if (picture[i] != 0 || picture[i + 1] != 0 || picture[i + 2] != 0) return true;
  }
  return false;
}

/// A camera with a thread of its own is installed.
class Frei0rLifetime : public ModuleTest {
 protected:
  Frei0rLifetime() { InstallCamera(TEST_PATTERN); }

  void ExpectNothingLeft() const {
    EXPECT_TRUE(test::ThreadsFallTo(threads_));
    EXPECT_EQ(test::CountMappings("CILumivaneInput"), 0);
    EXPECT_EQ(test::CountMappings("LumivaneXXX"), 0);
  }
  void ExpectRunning() const {
    EXPECT_GT(test::CountThreads(), threads_);
    EXPECT_GT(test::CountMappings("CILumivaneInput"), 0);
    EXPECT_GT(test::CountMappings("LumivaneXXX"), 0);
  }

 private:
  const int threads_ = test::CountThreads();
};

using Steps = std::function<void(const Frei0rModule&)>;

TEST_F(Frei0rLifetime, NothingIsLeftAfterAnyOrderThatEndsIt) {
  const std::vector<std::pair<const char*, Steps>> orders = {
      {"as the interface says",
       [](const Frei0rModule& m) {
         m.init();
         f0r_instance_t const instance = m.construct(kWidth, kHeight);
         EXPECT_TRUE(ShowsSomething(Update(m, instance)));
         m.destruct(instance);
         m.deinit();
       }},
      {"deinit before destruct",
       [](const Frei0rModule& m) {
         m.init();
         f0r_instance_t const instance = m.construct(kWidth, kHeight);
         Update(m, instance);
         m.deinit();
         m.destruct(instance);
       }},
      {"neither init nor deinit",
       [](const Frei0rModule& m) {
         f0r_instance_t const instance = m.construct(kWidth, kHeight);
         EXPECT_TRUE(ShowsSomething(Update(m, instance)));
         m.destruct(instance);
       }},
      {"init twice, deinit never",
       [](const Frei0rModule& m) {
         m.init();
         m.init();
         f0r_instance_t const instance = m.construct(kWidth, kHeight);
         Update(m, instance);
         m.destruct(instance);
       }},
      {"deinit more often than init",
       [](const Frei0rModule& m) {
         m.init();
         for (int i = 0; i < 5; ++i) m.deinit();
         m.init();
         f0r_instance_t const instance = m.construct(kWidth, kHeight);
         EXPECT_TRUE(ShowsSomething(Update(m, instance)));
         m.destruct(instance);
         m.deinit();
       }},
      {"an update after deinit",
       [](const Frei0rModule& m) {
         m.init();
         f0r_instance_t const instance = m.construct(kWidth, kHeight);
         Update(m, instance);
         m.deinit();
         EXPECT_TRUE(ShowsSomething(Update(m, instance)));
         m.destruct(instance);
       }},
      {"instances that are never updated",
       [](const Frei0rModule& m) {
         m.init();
         f0r_instance_t const first = m.construct(640, 480);
         f0r_instance_t const second = m.construct(kWidth, kHeight);
         m.destruct(first);
         EXPECT_TRUE(ShowsSomething(Update(m, second)));
         m.destruct(second);
         m.deinit();
       }},
      {"the first goes while the second stays",
       [](const Frei0rModule& m) {
         f0r_instance_t const first = m.construct(kWidth, kHeight);
         f0r_instance_t const second = m.construct(64, 48);
         Update(m, first);
         Update(m, second, 64, 48);
         m.destruct(first);
         EXPECT_TRUE(ShowsSomething(Update(m, second, 64, 48)));
         m.destruct(second);
       }},
  };
  for (const auto& [name, steps] : orders) {
    SCOPED_TRACE(name);
    const Frei0rModule module(kFrei0rModule.string());
    steps(module);
    ExpectNothingLeft();
    // Counts that some host left unbalanced do not concern the next one.
    module.deinit();
    f0r_instance_t const instance = module.construct(kWidth, kHeight);
    EXPECT_TRUE(ShowsSomething(Update(module, instance)));
    ExpectRunning();
    module.destruct(instance);
    ExpectNothingLeft();
  }
}

TEST_F(Frei0rLifetime, DeinitAloneEndsItToo) {
  const Frei0rModule module(kFrei0rModule.string());
  for (int i = 0; i < 4; ++i) module.deinit();
  module.init();
  module.init();
  f0r_instance_t const instance = module.construct(kWidth, kHeight);
  Update(module, instance);
  ExpectRunning();
  module.deinit();
  ExpectRunning();
  module.deinit();
  ExpectNothingLeft();
  module.destruct(instance);
  ExpectNothingLeft();
}

TEST_F(Frei0rLifetime, IsOpenedAndClosedManyTimes) {
  for (int i = 0; i < 8; ++i) {
    const Frei0rModule outer(kFrei0rModule.string());
    const Frei0rModule inner(kFrei0rModule.string());
    f0r_instance_t const instance = inner.construct(kWidth, kHeight);
    EXPECT_TRUE(ShowsSomething(Update(inner, instance)));
    outer.destruct(instance);
    ExpectNothingLeft();
  }
}

TEST_F(Frei0rLifetime, ClosingItWithoutEndingItIsSurvived) {
  decltype(&f0r_destruct) destruct = nullptr;
  f0r_instance_t instance = nullptr;
  {
    const Frei0rModule module(kFrei0rModule.string());
    module.init();
    instance = module.construct(kWidth, kHeight);
    Update(module, instance);
    destruct = module.destruct;
  }
  // The camera's thread goes on, in code that is still there.
  ExpectRunning();
  EXPECT_GT(test::CountMappings("frei0r-1/lumivane.so"), 0);
  {
    const Frei0rModule again(kFrei0rModule.string());
    f0r_instance_t const second = again.construct(64, 48);
    EXPECT_TRUE(ShowsSomething(Update(again, second, 64, 48)));
    again.destruct(second);
    ExpectRunning();
  }
  destruct(instance);
  ExpectNothingLeft();
}

TEST_F(Frei0rLifetime, EndingTheProcessWhileThreadsUpdateIsSurvived) {
  for (int i = 0; i < 3; ++i) {
    const test::ProgramResult run = test::RunProgram({FREI0R_EXIT, kFrei0rModule.string()});
    EXPECT_EQ(run.exitCode, 0) << run.err;
  }
}

TEST_F(Frei0rLifetime, ManyInstancesOnManyThreadsShowOneCamera) {
  RemoveCamera();
  InstallCamera(STILL_CAMERA);
  const Frei0rModule module(kFrei0rModule.string());
  struct Size {
    unsigned width;
    unsigned height;
    Bytes expected;
  };
  std::vector<Size> sizes = {{320, 240, {}}, {64, 48, {}}, {33, 77, {}}};
  for (Size& size : sizes) {
    f0r_instance_t const instance = module.construct(size.width, size.height);
    size.expected = Update(module, instance, size.width, size.height);
    EXPECT_TRUE(ShowsSomething(size.expected));
    module.destruct(instance);
  }
  std::atomic<int> wrong = 0;
  std::vector<std::thread> workers;
  for (unsigned worker = 0; worker < 6; ++worker) {
    workers.emplace_back([&, worker] {
      const Size& size = sizes[worker % sizes.size()];
      for (int round = 0; round < 4; ++round) {
        module.init();
        f0r_instance_t const instance = module.construct(size.width, size.height);
        for (int i = 0; i < 5; ++i) {
          double clock = 0.1 * i;
          module.setParamValue(instance, &clock, 0);
          if (Update(module, instance, size.width, size.height) != size.expected) ++wrong;
        }
        module.destruct(instance);
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(wrong, 0);
  ExpectNothingLeft();
}

}  // namespace
