// The frei0r module by itself: its description, its parameter, every size, what it shows.
#include "tests/hosts/modules/Frei0rModule.h"

#include <elf.h>
#include <gmock/gmock.h>
#include <link.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <thread>

#include "tests/hosts/modules/Modules.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessState.h"

namespace {

using namespace modules;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::Lt;
using ::testing::Not;
using ::testing::StartsWith;

/// One instance from construction to destruction.
class Instance {
 public:
  Instance(const Frei0rModule& module, int width, int height)
      : module_(module),
        width_(width),
        height_(height),
        instance_(module.construct(static_cast<unsigned>(width), static_cast<unsigned>(height))) {
    EXPECT_NE(instance_, nullptr);
  }
  ~Instance() { module_.destruct(instance_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  Bytes Picture(const std::uint32_t* input = nullptr) const {
    // Frames begin 16 bytes into nowhere in particular, and what surrounds them is not ours.
    const std::size_t count = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    constexpr std::uint32_t kGuard = 0xA5C3E187;
    std::vector<std::uint32_t> memory(count + 16, kGuard);
    std::uint32_t* const frame = memory.data() + 4;
    module_.update(instance_, 0.04, input, frame);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(frame[-1 - i], kGuard);
    for (std::size_t i = 0; i < 12; ++i) EXPECT_EQ(frame[count + i], kGuard);
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(frame);
    return {bytes, bytes + 4 * count};
  }

  double Clock() const {
    double clock = -1;
    module_.getParamValue(instance_, &clock, 0);
    return clock;
  }
  void SetClock(double clock) { module_.setParamValue(instance_, &clock, 0); }
  f0r_instance_t get() const { return instance_; }

 private:
  const Frei0rModule& module_;
  int width_;
  int height_;
  f0r_instance_t instance_;
};

bool IsOpaque(const Bytes& rgba) {
  for (std::size_t i = 3; i < rgba.size(); i += 4) {
    if (rgba[i] != 255) return false;
  }
  return true;
}

Bytes Black(int width, int height) {
  Bytes black(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
  for (std::size_t i = 3; i < black.size(); i += 4) black[i] = 255;
  return black;
}

/// The files a library names as needed.
std::vector<std::string> NeededLibraries(void* handle) {
  link_map* map = nullptr;
  std::vector<std::string> names;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0) return names;
  const char* strings = nullptr;
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_STRTAB) strings = reinterpret_cast<const char*>(entry->d_un.d_ptr);
  }
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_NEEDED) names.emplace_back(strings + entry->d_un.d_val);
  }
  return names;
}

/// From here on the process is killed when it opens or looks at a file, connects, or starts a
/// thread. False where the system does not allow that.
bool ForbidInputAndOutput() {
  std::vector<sock_filter> program = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  const std::vector<int> forbidden = {
#ifdef SYS_open
      SYS_open,   SYS_stat,       SYS_lstat,  SYS_access, SYS_readlink,
#endif
      SYS_openat, SYS_newfstatat, SYS_statx,  SYS_socket, SYS_connect,
      SYS_clone,  SYS_clone3,     SYS_execve, SYS_read,   SYS_faccessat};
  for (const int call : forbidden) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

void Scan(const Frei0rModule& module) {
  module.init();
  f0r_plugin_info_t info;
  module.getPluginInfo(&info);
  f0r_param_info_t parameter;
  for (int i = 0; i < info.num_params; ++i) module.getParamInfo(&parameter, i);
  f0r_instance_t const instance = module.construct(640, 480);
  double value = 0.25;
  module.setParamValue(instance, &value, 0);
  module.getParamValue(instance, &value, 0);
  module.destruct(instance);
  module.deinit();
}

class Frei0rModuleTest : public ModuleTest {
 protected:
  const Frei0rModule module_{kFrei0rModule.string()};
};

TEST_F(Frei0rModuleTest, DescribesItself) {
  f0r_plugin_info_t info = {};
  EXPECT_EQ(module_.init(), 1);
  module_.getPluginInfo(&info);
  EXPECT_STREQ(info.name, kFrei0rModule.stem().c_str()) << "all hosts find it by one name";
  EXPECT_EQ(info.plugin_type, F0R_PLUGIN_TYPE_SOURCE);
  EXPECT_EQ(info.color_model, F0R_COLOR_MODEL_RGBA8888);
  EXPECT_EQ(info.frei0r_version, 1);
  EXPECT_EQ(info.num_params, 1);
  f0r_param_info_t parameter = {};
  module_.getParamInfo(&parameter, 0);
  EXPECT_STREQ(parameter.name, "inputClock");
  EXPECT_EQ(parameter.type, F0R_PARAM_DOUBLE);
  const f0r_param_info_t untouched = parameter;
  module_.getParamInfo(&parameter, 1);
  EXPECT_EQ(std::memcmp(&parameter, &untouched, sizeof(parameter)), 0);
  module_.deinit();
}

TEST_F(Frei0rModuleTest, NeedsTheCLibraryAlone) {
  EXPECT_THAT(NeededLibraries(module_.handle()),
              Each(AnyOf(StartsWith("libc.so"), StartsWith("libpthread.so"), StartsWith("libdl.so"),
                         StartsWith("libm.so"), StartsWith("libasan.so"), StartsWith("libubsan.so"),
                         StartsWith("libtsan.so"), StartsWith("libgcc_s.so"))));
}

TEST_F(Frei0rModuleTest, TouchesNothingWhileItIsScanned) {
  InstallCamera(STILL_CAMERA);
  Scan(module_);
  EXPECT_EQ(test::CountMappings("CILumivaneInput"), 0);
  EXPECT_EQ(test::CountMappings("LumivaneXXX"), 0);
  EXPECT_EXIT(
      {
        if (!ForbidInputAndOutput()) _exit(17);
        for (int i = 0; i < 3; ++i) Scan(module_);
        _exit(0);
      },
      [](int status) {
        return WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 17);
      },
      "");
}

TEST_F(Frei0rModuleTest, TheBanOnFilesCatchesTheFirstUpdate) {
  InstallCamera(STILL_CAMERA);
  EXPECT_EXIT(
      {
        const Instance instance(module_, 8, 8);
        if (!ForbidInputAndOutput()) raise(SIGSYS);
        instance.Picture();
        _exit(0);
      },
      ::testing::KilledBySignal(SIGSYS), "");
}

TEST_F(Frei0rModuleTest, ClampsTheClockAndRefusesWhatIsNoNumber) {
  Instance instance(module_, 16, 16);
  EXPECT_EQ(instance.Clock(), 0.5);
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<std::pair<double, double>> cases = {
      {0.25, 0.25}, {1.7, 1},     {-3, 0},        {infinity, 1}, {0.75, 0.75},
      {NAN, 0.75},  {-NAN, 0.75}, {-infinity, 0}, {1, 1},        {-0.0, 0}};
  for (const auto& [given, kept] : cases) {
    instance.SetClock(given);
    EXPECT_EQ(instance.Clock(), kept) << given;
  }
  double other = 0.3;
  module_.setParamValue(instance.get(), &other, 1);
  module_.setParamValue(instance.get(), &other, -1);
  module_.setParamValue(instance.get(), nullptr, 0);
  EXPECT_EQ(instance.Clock(), 0);
  module_.getParamValue(instance.get(), &other, 1);
  module_.getParamValue(instance.get(), nullptr, 0);
  EXPECT_EQ(other, 0.3);
  module_.setParamValue(nullptr, &other, 0);
  module_.getParamValue(nullptr, &other, 0);
  EXPECT_EQ(other, 0.3);
}

TEST_F(Frei0rModuleTest, RefusesSizesThatAreNone) {
  for (const auto& [width, height] : std::vector<std::pair<unsigned, unsigned>>{
           {0, 480}, {640, 0}, {0, 0}, {32768, 1}, {1, 32768}, {0xFFFFFFFF, 0xFFFFFFFF}}) {
    EXPECT_EQ(module_.construct(width, height), nullptr) << width << " x " << height;
  }
  std::uint32_t pixel = 7;
  module_.update(nullptr, 0, nullptr, &pixel);
  EXPECT_EQ(pixel, 7u);
  module_.destruct(nullptr);
  const Instance instance(module_, 1, 1);
  module_.update(instance.get(), 0, nullptr, nullptr);
}

TEST_F(Frei0rModuleTest, ShowsWhatTheProgramShows) {
  InstallCamera(STILL_CAMERA);
  const Pixels own = Snapshot();
  ASSERT_EQ(own.width, 320);
  const Instance instance(module_, own.width, own.height);
  EXPECT_EQ(Difference(instance.Picture(), own.rgba, own.width), "");
  // Some hosts hand sources an address of nothing as their input.
  const auto* const bogus = reinterpret_cast<const std::uint32_t*>(std::uintptr_t{0x1c2000});
  EXPECT_EQ(Difference(instance.Picture(bogus), own.rgba, own.width), "");
  Bytes second(own.rgba.size());
  module_.update2(instance.get(), 1e9, bogus, bogus, bogus,
                  reinterpret_cast<std::uint32_t*>(second.data()));
  EXPECT_EQ(Difference(second, own.rgba, own.width), "");
}

TEST_F(Frei0rModuleTest, ShowsAnySize) {
  InstallCamera(STILL_CAMERA);
  for (const auto& [width, height] :
       std::vector<std::pair<int, int>>{{1, 1}, {1, 7}, {3, 1}, {322, 243}, {1280, 360}}) {
    const Instance instance(module_, width, height);
    const Pixels expected = Snapshot(SizeText(width, height));
    EXPECT_EQ(Difference(instance.Picture(), expected.rgba, width), "") << width << " x " << height;
  }
  // As large as a host's projects get, and as narrow.
  for (const auto& [width, height] :
       std::vector<std::pair<int, int>>{{4096, 2160}, {32767, 1}, {1, 32767}}) {
    const Instance instance(module_, width, height);
    const Bytes picture = instance.Picture();
    EXPECT_TRUE(IsOpaque(picture)) << width << " x " << height;
    EXPECT_NE(picture, Black(width, height)) << width << " x " << height;
  }
}

TEST_F(Frei0rModuleTest, IsOpaqueWhateverTheCameraSays) {
  const fs::path on = test::Home() / "switch";
  test::WriteFile(on, "");
  const test::ScopedVariable variable("LUMIVANE_SWITCHED_CAMERA", on.string());
  InstallCamera(SWITCHED_CAMERA);
  const Instance instance(module_, 64, 48);
  const Bytes picture = instance.Picture();
  EXPECT_TRUE(IsOpaque(picture));
  // The colours of the frame are premultiplied, and lie over black.
  const std::uint8_t* const left = picture.data() + 4 * (64 * 5 + 3);
  EXPECT_EQ((std::vector<int>{left[0], left[1], left[2]}), (std::vector<int>{200, 150, 5}));
  const std::uint8_t* const right = picture.data() + 4 * (64 * 7 + 60);
  EXPECT_EQ((std::vector<int>{right[0], right[1], right[2]}), (std::vector<int>{100, 50, 7}));
}

TEST_F(Frei0rModuleTest, ShowsA2vuyCamerasFrames) {
  const test::ScopedVariable script("LUMIVANE_SCRIPTED_CAMERA",
                                    "width=640 height=480 format=0x32767579 dataSize=614400");
  InstallCamera(SCRIPTED_CAMERA);
  const Pixels own = Snapshot();
  ASSERT_EQ(own.width, 640);
  const Instance instance(module_, own.width, own.height);
  EXPECT_EQ(Difference(instance.Picture(), own.rgba, own.width), "");
}

TEST_F(Frei0rModuleTest, ShowsTheNoCameraPictureAtTheAskedSize) {
  const Pixels expected = Snapshot("400x300");
  const Instance instance(module_, 400, 300);
  EXPECT_EQ(Difference(instance.Picture(), expected.rgba, 400), "");
  EXPECT_NE(expected.rgba, Black(400, 300));
}

TEST_F(Frei0rModuleTest, PicksUpACameraThatComesLater) {
  const Instance instance(module_, 320, 240);
  const Bytes none = instance.Picture();
  InstallCamera(STILL_CAMERA);
  const Pixels live = Snapshot();
  Bytes picture = none;
  for (int i = 0; i < 500 && picture == none; ++i) {
    std::this_thread::sleep_for(10ms);
    picture = instance.Picture();
  }
  EXPECT_EQ(Difference(picture, live.rgba, 320), "");
  // Its file may go and come: what is loaded stays.
  RemoveCamera();
  EXPECT_EQ(Difference(instance.Picture(), live.rgba, 320), "");
  InstallCamera(STILL_CAMERA);
  EXPECT_EQ(Difference(instance.Picture(), live.rgba, 320), "");
}

TEST_F(Frei0rModuleTest, FollowsACameraThatComesAndGoes) {
  const fs::path on = test::Home() / "switch";
  fs::remove(on);
  const test::ScopedVariable variable("LUMIVANE_SWITCHED_CAMERA", on.string());
  InstallCamera(SWITCHED_CAMERA);
  const Pixels none = Snapshot("64x48");
  const Instance instance(module_, 64, 48);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(Difference(instance.Picture(), none.rgba, 64), "");
    test::WriteFile(on, "");
    Bytes picture = none.rgba;
    for (int i = 0; i < 500 && picture == none.rgba; ++i) {
      std::this_thread::sleep_for(10ms);
      picture = instance.Picture();
    }
    EXPECT_EQ(picture[0], 200);
    fs::remove(on);
  }
}

// ---- The first picture and a camera that is being opened

TEST_F(Frei0rModuleTest, TheFirstPictureWaitsForTheCamera) {
  const test::ScopedVariable delay("LUMIVANE_SLOW_CAMERA", "300");
  const test::ScopedVariable patience("LUMIVANE_FIRST_PICTURE_WAIT", "60");
  InstallCamera(SLOW_CAMERA);
  for (int i = 0; i < 2; ++i) {
    const Instance instance(module_, 64, 48);
    EXPECT_THAT(instance.Picture(), Each(255)) << "the camera is opened anew for each round";
  }
}

TEST_F(Frei0rModuleTest, TheFirstPictureWaitsNoLongerThanTheCameraIsBeingOpened) {
  const test::ScopedVariable delay("LUMIVANE_SLOW_CAMERA", "-200");
  const test::ScopedVariable patience("LUMIVANE_FIRST_PICTURE_WAIT", "60");
  InstallCamera(SLOW_CAMERA);
  const auto start = std::chrono::steady_clock::now();
  const Instance instance(module_, 64, 48);
  EXPECT_EQ(Difference(instance.Picture(), Snapshot("64x48").rgba, 64), "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, 50s);
}

TEST_F(Frei0rModuleTest, TheFirstPictureWaitsNoLongerThanItIsTold) {
  const test::ScopedVariable delay("LUMIVANE_SLOW_CAMERA", "600000");
  InstallCamera(SLOW_CAMERA);
  for (const char* seconds : {"0.1", "0", "soon"}) {
    const test::ScopedVariable patience("LUMIVANE_FIRST_PICTURE_WAIT", seconds);
    const auto start = std::chrono::steady_clock::now();
    const Instance instance(module_, 64, 48);
    EXPECT_THAT(instance.Picture(), Not(Each(255))) << seconds;
    EXPECT_LT(std::chrono::steady_clock::now() - start, 50s) << seconds;
  }
}

TEST_F(Frei0rModuleTest, TheWaitEndsWhenTheHostLetsGo) {
  const test::ScopedVariable delay("LUMIVANE_SLOW_CAMERA", "600000");
  const test::ScopedVariable patience("LUMIVANE_FIRST_PICTURE_WAIT", "60");
  InstallCamera(SLOW_CAMERA);
  const auto start = std::chrono::steady_clock::now();
  {
    const Instance instance(module_, 64, 48);
    Bytes picture;
    std::atomic<bool> done{false};
    std::thread host([&] {
      picture = instance.Picture();
      done = true;
    });
    while (!done) {
      module_.init();
      std::this_thread::sleep_for(100ms);
      module_.deinit();
    }
    host.join();
    EXPECT_EQ(Difference(picture, Black(64, 48), 64), "");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, 50s);
}

TEST_F(Frei0rModuleTest, DoesNotFillTheLogWithTheAbsenceOfACamera) {
  const test::LogCapture log;
  const Instance instance(module_, 8, 8);
  const auto start = std::chrono::steady_clock::now();
  instance.Picture();
  const std::size_t oneSearch = log.Lines().size();
  EXPECT_GT(oneSearch, 0u);
  for (int i = 0; i < 100; ++i) instance.Picture();
  const auto seconds =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start);
  EXPECT_LE(log.Lines().size(), oneSearch * static_cast<std::size_t>(2 + seconds.count()));
}

TEST_F(Frei0rModuleTest, IsBlackWithoutThePlugIn) {
  fs::remove(PlugInLink());
  testing::internal::CaptureStderr();
  const Instance instance(module_, 32, 24);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(instance.Picture(), Black(32, 24));
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_THAT(said, HasSubstr("lumivane: no picture: no CILumivaneInput.plugin in " +
                              PlugInLink().parent_path().string()));
  EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
  // It may be installed while the host runs.
  InstallPlugIn();
  Bytes picture = Black(32, 24);
  for (int i = 0; i < 500 && picture == Black(32, 24); ++i) {
    std::this_thread::sleep_for(10ms);
    picture = instance.Picture();
  }
  EXPECT_EQ(Difference(picture, Snapshot("32x24").rgba, 32), "");
}

TEST_F(Frei0rModuleTest, FindsItsLibraryFromAFolderOfTheUsers) {
  const fs::path copy = test::Home() / ".frei0r-1/lib/lumivane.so";
  fs::create_directories(copy.parent_path());
  fs::copy_file(kFrei0rModule, copy);
  {
    const Frei0rModule lonely(copy.string());
    testing::internal::CaptureStderr();
    const Instance instance(lonely, 32, 24);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(instance.Picture(), Black(32, 24));
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, HasSubstr("liblumivane-source.so is not there"));
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;

    // As it is installed: in the system's root.
    const fs::path root = test::Home() / "system-root";
    fs::create_directories(root);
    fs::create_symlink(kModules / "lumivane/liblumivane-source.so", root / "liblumivane-source.so");
    InstallCamera(STILL_CAMERA);
    Bytes picture = Black(32, 24);
    for (int i = 0; i < 500 && picture == Black(32, 24); ++i) {
      std::this_thread::sleep_for(10ms);
      picture = instance.Picture();
    }
    EXPECT_EQ(Difference(picture, Snapshot("32x24").rgba, 32), "");
    fs::remove(root / "liblumivane-source.so");
  }
  fs::remove_all(test::Home() / ".frei0r-1");
}

}  // namespace
