// Modules that carry a toolkit of their own, as the plug-in does: what their static objects may
// rely on, and what is left of them.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "tests/sdk/CoreX/ProbeModule.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ProcessState.h"
#include "tests/support/TempBundle.h"

namespace {

TEST(ToolkitModule, HasItsStaticObjectsWhenOthersAreBuilt) {
  const test::LogCapture log;
  const test::ProbeModule module;
  EXPECT_EQ(PROBE(module, probe_static_results), kProbeSawAll);
  EXPECT_EQ(log.Text(), "");
}

TEST(ToolkitModule, HasItsStaticObjectsUntilOthersAreDestroyed) {
  unsigned results = 0;
  test::ProbeModule module;
  PROBE(module, probe_report_end_to, &results);
  module.Unload();
  EXPECT_EQ(results, kProbeSawAll);
}

TEST(ToolkitModule, IsUnmappedWithWhatItLoaded) {
  test::InstallSystemFramework();
  for (int i = 0; i < 20; ++i) {
    test::ProbeModule module;
    EXPECT_EQ(test::CountMappings("System.framework") == 0, true);
    ASSERT_TRUE(PROBE(module, probe_use_system_framework));
    EXPECT_GT(test::CountMappings("System.framework"), 0);
    EXPECT_TRUE(test::IsMapped(module.file()));
    module.Unload();
    EXPECT_FALSE(test::IsMapped(module.file()));
    EXPECT_EQ(test::CountMappings("System.framework"), 0);
  }
  test::RemoveSystemFramework();
}

TEST(ToolkitModule, LeavesNoBundleBehind) {
  test::InstallSystemFramework();
  const CFIndex before = CFArrayGetCount(CFBundleGetAllBundles());
  test::ProbeModule module;
  ASSERT_TRUE(PROBE(module, probe_use_system_framework));
  EXPECT_EQ(CFArrayGetCount(CFBundleGetAllBundles()), before + 1);
  module.Unload();
  EXPECT_EQ(CFArrayGetCount(CFBundleGetAllBundles()), before);
  test::RemoveSystemFramework();
}

TEST(ToolkitModule, HasALogStateOfItsOwn) {
  const test::ProbeModule module;
  PROBE(module, probe_log_set_output, 2);
  const test::LogCapture log;
  CoreMachDebugLogString("to the file\n");
  EXPECT_EQ(log.Text(), "to the file\n");
}

TEST(ToolkitModule, ThrowsWhatItsHostCatches) {
  const test::ProbeModule module;
  try {
    PROBE(module, probe_throw_core_exception);
    ADD_FAILURE() << "nothing was thrown";
  } catch (const CoreException& exception) {
    EXPECT_STREQ(exception.Message(), "OSErr: -43");
  }
}

}  // namespace
