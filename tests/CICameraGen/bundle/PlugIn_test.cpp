// The bundle: what it exports, which hosts it refuses, what it does without its resources or its
// log, and that nothing of it is left once it is unloaded.

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "components/testpattern/pattern.h"
#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickTime/QuickTime.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "tests/CICameraGen/bundle/LoadedPlugIn.h"
#include "tests/support/ProcessState.h"

namespace fs = std::filesystem;

namespace {

std::string OutputOf(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return "";
  std::string text;
  std::array<char, 4096> buffer;
  for (std::size_t n = 0; (n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
    text.append(buffer.data(), n);
  }
  EXPECT_EQ(pclose(pipe), 0) << command;
  return text;
}

// A copy of the bundle that a test may damage.
fs::path CopyOfPlugIn(const fs::path& folder) {
  const fs::path copy = folder / "CILumivaneInput.plugin";
  fs::copy(PLUGIN_BUNDLE, copy, fs::copy_options::recursive);
  return copy;
}

// ---- What it exports

// Names that a toolkit object defines for everyone, by object: those that cannot also come from an
// inline function of some header.
std::map<std::string, std::set<std::string>> ToolkitSymbols() {
  std::map<std::string, std::set<std::string>> symbols;
  std::istringstream lines(OutputOf(NM " -A --defined-only --extern-only " TOOLKIT_ARCHIVE));
  for (std::string line; std::getline(lines, line);) {
    // archive:object:address type name
    const std::size_t object = line.find(':') + 1;
    const std::size_t address = line.find(':', object);
    if (object == 0 || address == std::string::npos) continue;
    std::istringstream words(line.substr(address + 1));
    std::string where;
    std::string type;
    std::string name;
    if (!(words >> where >> type >> name)) continue;
    // A sanitizer's own marks are not the toolkit's.
    if (std::string("TDBR").find(type) == std::string::npos || name.rfind("__odr_asan", 0) == 0) {
      continue;
    }
    symbols[line.substr(object, address - object)].insert(name);
  }
  return symbols;
}

TEST(PlugInSymbols, ExportTheWholeToolkit) {
  std::set<std::string> exported;
  std::istringstream lines(OutputOf(NM " -D --defined-only " PLUGIN_EXECUTABLE));
  for (std::string where, type, name; lines >> where >> type >> name;) exported.insert(name);
  const auto toolkit = ToolkitSymbols();
  ASSERT_GT(toolkit.size(), 10U) << "objects of the toolkit";
  for (const auto& [object, names] : toolkit) {
    for (const std::string& name : names)
      EXPECT_TRUE(exported.count(name)) << object << ": " << name;
  }
}

TEST(PlugInSymbols, ExportOneOfEachModuleUnderItsName) {
  // What other programs look up: one name of each module, as the headers have it.
  const std::string exported = OutputOf(NM " -D -C --defined-only " PLUGIN_EXECUTABLE);
  for (const char* name :
       {"CoreMachDebugLog(", "_CoreMachDebugVerifyBody(", "CFBaseDLL::URLOfNameInLocation(",
        "I_CFBundleDLL::LoadFromURL(", "CoreResourceBundle::InstallLocation(",
        "CoreBundleyes::IsMainMember(", "CoreUnixPath::Construct(", "CoreUserFolder::GetFileRef(",
        "CoreGraphics::BitmapContext::Construct(", "QImageDescription::Construct(",
        "QImageSequence::DecompressSequenceFrameS(", "QGWorld::ConstructAlias(",
        "Q_2vuy_format::GetImageDescription(", "CoreGeometry::PerlinNoise::Noise2(",
        "CGImageRefFrom_ARGB_CameraBuffer(", "SharedCameraBundle::sComponent"}) {
    EXPECT_NE(exported.find(name), std::string::npos) << name;
  }
}

TEST(PlugInSymbols, HoldTheModuleInMemoryByNothing) {
  // A unique symbol (type u) would keep the module loaded for good.
  std::istringstream lines(OutputOf(NM " -D --defined-only " PLUGIN_EXECUTABLE));
  for (std::string where, type, name; lines >> where >> type >> name;) EXPECT_NE(type, "u") << name;
}

// ---- Which hosts it refuses

std::string AskHost(const fs::path& program) {
  return OutputOf("'" + program.string() + "' '" PLUGIN_BUNDLE "'");
}

TEST(PlugInHosts, TheProductsOwnApplicationIsRefusedInAnyLetterCase) {
  const test::TempFolder folder;
  int i = 0;
  for (const char* identifier : {"org.lumivane.camera", "ORG.LUMIVANE.CAMERA",
                                 "Org.Lumivane.Camera", "org.lumivane.CAMERA"}) {
    const fs::path bundle = folder.path() / ("Host" + std::to_string(i++) + ".app");
    test::MakeFolderBundle(bundle, PLUGIN_HOST, test::InfoPlist("host", identifier), "host");
    EXPECT_EQ(AskHost(bundle / "Contents/Linux/host"), "refused, filter no\n") << identifier;
  }
}

TEST(PlugInHosts, EveryOtherProgramIsServed) {
  const test::TempFolder folder;
  int i = 0;
  for (const char* identifier : {"org.lumivane.camera2", "org.lumivane", "com.example.host", ""}) {
    const fs::path bundle = folder.path() / ("Host" + std::to_string(i++) + ".app");
    test::MakeFolderBundle(bundle, PLUGIN_HOST, test::InfoPlist("host", identifier), "host");
    EXPECT_EQ(AskHost(bundle / "Contents/Linux/host"), "loaded, filter yes\n") << identifier;
  }
  EXPECT_EQ(AskHost(PLUGIN_HOST), "loaded, filter yes\n") << "a program without a bundle";
}

// ---- Resources

class PlugInResources : public test::LoadedPlugIn {};

TEST_F(PlugInResources, HoldOneValidKernel) {
  const NSAutoreleasePool pool;
  CIKernelError error;
  NSArray* const kernels = CIKernel::kernelsWithStringerror(
      NSString_stringWithContentsOfFile(
          NSString_stringWithUTF8String(PLUGIN_BUNDLE "/Contents/Resources/CIKernel.cikernel")),
      &error);
  ASSERT_NE(kernels, nullptr) << error.line << ": " << error.message;
  EXPECT_EQ(CFArrayGetCount(kernels), 1);
}

TEST_F(PlugInResources, MissingOnesFailNothing) {
  const test::TempFolder folder;
  const fs::path plugIn = CopyOfPlugIn(folder.path());
  fs::remove_all(plugIn / "Contents/Resources");
  test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  Load(plugIn);
  const test::LogCapture log;
  CILumivaneInput* const filter = NewFilter();
  ASSERT_NE(filter, nullptr);
  EXPECT_TRUE(ShowsFrame(filter));
  {
    const test::Script script("result=0");
    const NSAutoreleasePool pool;
    EXPECT_EQ(filter->outputImage(), nullptr) << "no picture to fall back on";
  }
  EXPECT_TRUE(log.Lines().empty());
  Dispose(filter);
  Unload();
}

TEST_F(PlugInResources, DamagedOnesFailNothing) {
  const test::TempFolder folder;
  const fs::path plugIn = CopyOfPlugIn(folder.path());
  test::WriteFile(plugIn / "Contents/Resources/CIKernel.cikernel", "kernel vec4 broken( {");
  test::WriteFile(plugIn / "Contents/Resources/CILumivaneInput.png", "no picture");
  Load(plugIn);
  CILumivaneInput* const filter = NewFilter();
  ASSERT_NE(filter, nullptr);
  {
    const NSAutoreleasePool pool;
    EXPECT_EQ(filter->outputImage(), nullptr);
  }
  Dispose(filter);
  Unload();
}

// ---- The log

class PlugInLog : public test::LoadedPlugIn {
 protected:
  PlugInLog() { fs::remove_all(test::LogsFolder()); }
  ~PlugInLog() override {
    fs::remove_all(test::LogsFolder());
    fs::create_directories(test::LogsFolder());
  }
  // Everything that logs, and a frame in the end.
  void RunThroughFailures() {
    Load();
    CILumivaneInput* const filter = NewFilter();
    EXPECT_TRUE(ShowsNoCamera(filter));
    test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
    {
      const test::Script script("width=0");
      EXPECT_TRUE(ShowsNoCamera(filter));
    }
    EXPECT_TRUE(ShowsFrame(filter));
    Dispose(filter);
    Unload();
  }
};

TEST_F(PlugInLog, IsThePlugInsOwnWhateverTheHostDoesWithItsToolkit) {
  fs::create_directories(test::LogsFolder());
  CoreMachDebugLogSetUseLogger(kCoreLogToSyslog);
  const char* const hostsName = g_CoreMachDebug_LogFileName;
  g_CoreMachDebug_LogFileName = "Host.log";
  Load();
  CILumivaneInput* const filter = NewFilter();
  Dispose(filter);
  Unload();
  g_CoreMachDebug_LogFileName = hostsName;
  CoreMachDebugLogSetUseLogger(kCoreLogToFile);
  const std::string log = test::ReadFile(test::LogsFolder() / "CILumivaneInput.log");
  EXPECT_NE(log.find(test::FolderMissingLine()), std::string::npos);
  EXPECT_FALSE(fs::exists(test::LogsFolder() / "Host.log"));
}

TEST_F(PlugInLog, AMissingFolderChangesNothingElseAndIsNotMade) {
  RunThroughFailures();
  EXPECT_FALSE(fs::exists(test::LogsFolder()));
}

TEST_F(PlugInLog, AFileThatCannotBeWrittenChangesNothingElse) {
  fs::create_directories(test::LogsFolder() / "CILumivaneInput.log");  // a folder in its place
  RunThroughFailures();
}

TEST_F(PlugInLog, AFullDiskChangesNothingElse) {
  fs::create_directories(test::LogsFolder());
  fs::create_symlink("/dev/full", test::LogsFolder() / "CILumivaneInput.log");
  RunThroughFailures();
}

TEST_F(PlugInLog, AReadOnlyFolderChangesNothingElse) {
  fs::create_directories(test::LogsFolder());
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // Only an ordinary user is kept out by permissions.
    fs::permissions(test::LogsFolder(), fs::perms::owner_read | fs::perms::owner_exec |
                                            fs::perms::group_read | fs::perms::group_exec |
                                            fs::perms::others_read | fs::perms::others_exec);
    fs::permissions(test::Home(), fs::perms::all);
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(3);
    Load();
    CILumivaneInput* const filter = NewFilter();
    _exit(filter != nullptr && ShowsNoCamera(filter) ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_TRUE(fs::is_empty(test::LogsFolder()));
  fs::permissions(test::LogsFolder(), fs::perms::owner_all);
  fs::permissions(test::Home(), fs::perms::owner_all);
}

// ---- Unloading

class PlugInUnloading : public test::LoadedPlugIn {};

TEST_F(PlugInUnloading, TakesTheFilterAndTheCodeAway) {
  const fs::path bundle = test::InstallCamera(test::UserComponents(), SCRIPTED_CAMERA);
  Load();
  CILumivaneInput* const filter = NewFilter();
  EXPECT_TRUE(ShowsFrame(filter));
  EXPECT_TRUE(test::IsMapped(PLUGIN_EXECUTABLE));
  EXPECT_TRUE(test::IsMapped(bundle));
  std::string error;
  EXPECT_FALSE(CIPlugIn::unloadPlugIn(PLUGIN_BUNDLE, &error)) << "a filter lives";
  EXPECT_TRUE(ShowsFrame(filter));
  Dispose(filter);
  Unload();
  EXPECT_FALSE(test::IsMapped(PLUGIN_EXECUTABLE));
  EXPECT_FALSE(test::IsMapped(bundle)) << "the component goes with the plug-in";
  const NSAutoreleasePool pool;
  EXPECT_EQ(CIFilter::filterWithName(CFSTR("CILumivaneInput")), nullptr);
}

TEST_F(PlugInUnloading, FiftyTimesWithAComponentLeavesNothing) {
  const test::ScopedVariable size("LUMIVANE_TESTPATTERN_SIZE", "160x120");
  const fs::path component = test::UserComponents() / test::kComponentName;
  fs::create_directories(test::UserComponents());
  fs::copy(TESTPATTERN_BUNDLE, component, fs::copy_options::recursive);
  const int threads = test::CountThreads();
  std::uint64_t low = 0;
  SInt64 handles = 0;
  SInt64 pointers = 0;
  for (int i = 0; i < 50; ++i) {
    Load();
    CILumivaneInput* const filter = NewFilter();
    ASSERT_NE(filter, nullptr);
    const Shown shown = Show(filter);
    ASSERT_EQ(shown.width, 160U);
    EXPECT_TRUE(testpattern::ReadCounter(testpattern::PixelFormat::kArgb, 160, 120, 640,
                                         shown.pixels.data()));
    Dispose(filter);
    Unload();
    ASSERT_FALSE(test::IsMapped(PLUGIN_EXECUTABLE)) << i;
    ASSERT_EQ(test::CountMappings(component.string()), 0) << i;
    ASSERT_EQ(DecompressionSequenceCount(), 0) << i;
    if (i == 0) {
      low = test::LowMappedBytes();
      handles = MacMemoryGetCounters().handles;
      pointers = MacMemoryGetCounters().pointers;
    }
    ASSERT_EQ(test::LowMappedBytes(), low) << i;
    ASSERT_EQ(MacMemoryGetCounters().handles, handles) << i;
    ASSERT_EQ(MacMemoryGetCounters().pointers, pointers) << i;
  }
  EXPECT_TRUE(test::ThreadsFallTo(threads));
}

TEST_F(PlugInUnloading, EndsACameraWhoseThreadLoadsLibraries) {
  const fs::path component = test::InstallCamera(test::UserComponents(), LOADING_CAMERA);
  for (int i = 0; i < 20; ++i) {
    Load();
    CILumivaneInput* const filter = NewFilter();
    ASSERT_TRUE(ShowsNoCamera(filter));
    EXPECT_TRUE(test::IsMapped(component));
    Dispose(filter);
    Unload();
    ASSERT_FALSE(test::IsMapped(PLUGIN_EXECUTABLE)) << i;
    ASSERT_FALSE(test::IsMapped(component)) << i;
  }
}

TEST_F(PlugInUnloading, FiftyTimesWithoutAComponentLeavesNothing) {
  for (int i = 0; i < 50; ++i) {
    Load();
    CILumivaneInput* const filter = NewFilter();
    ASSERT_TRUE(ShowsNoCamera(filter));
    Dispose(filter);
    Unload();
    ASSERT_FALSE(test::IsMapped(PLUGIN_EXECUTABLE)) << i;
  }
}

// ---- The whole road with the test pattern

class PlugInWithTestPattern : public test::LoadedPlugIn {
 protected:
  static std::uint32_t Counter(const Shown& shown) {
    const auto number =
        testpattern::ReadCounter(testpattern::PixelFormat::kArgb, static_cast<int>(shown.width),
                                 static_cast<int>(shown.height),
                                 static_cast<std::uint32_t>(shown.width * 4), shown.pixels.data());
    EXPECT_TRUE(number.has_value());
    return number.value_or(0);
  }
};

TEST_F(PlugInWithTestPattern, ShowsALivePictureInBothFormats) {
  for (const char* format : {"argb", "2vuy"}) {
    const test::ScopedVariable formatVariable("LUMIVANE_TESTPATTERN_FORMAT", format);
    const test::ScopedVariable rate("LUMIVANE_TESTPATTERN_RATE", "240");
    fs::create_directories(test::UserComponents());
    fs::remove_all(test::UserComponents() / test::kComponentName);
    fs::copy(TESTPATTERN_BUNDLE, test::UserComponents() / test::kComponentName,
             fs::copy_options::recursive);
    Load();
    CILumivaneInput* const filter = NewFilter();
    std::uint32_t last = 0;
    for (int frames = 0; last < 10; ++frames) {
      ASSERT_LT(frames, 20000) << "no new frames";
      const Shown shown = Show(filter);
      ASSERT_FALSE(shown.isNoCamera);
      ASSERT_EQ(shown.width, 640U);
      ASSERT_EQ(shown.height, 480U);
      const std::uint32_t number = Counter(shown);
      ASSERT_GE(number, last) << format;
      last = number;
    }
    Dispose(filter);
    Unload();
  }
}

}  // namespace
