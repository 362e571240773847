#include "platform/CoreImage/CIPlugIn.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"
#include "platform/Foundation/Text.h"
#include "tests/platform/CoreImage/PlugInBundle.h"
#include "tests/support/HermeticHome.h"

namespace {

namespace fs = std::filesystem;
using lumivane::foundation::Utf8;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> Texts(NSArray* array) {
  std::vector<std::string> texts;
  for (CFIndex i = 0; i < CFArrayGetCount(array); ++i) {
    texts.push_back(Utf8(static_cast<NSString*>(CFArrayGetValueAtIndex(array, i))));
  }
  return texts;
}

std::vector<std::string> AllFilters() {
  return Texts(CIFilter::filterNamesInCategory(nullptr));
}

/// Red of the picture that the filter makes.
int Red(CIFilter* filter) {
  UInt8 pixels[16] = {};
  const CIBitmap bitmap{pixels, 8, 2, 2, CIPixelOrder::kARGB};
  EXPECT_TRUE(
      CIContext::context()->renderToBitmap(filter->outputImage(), bitmap, CIRenderMode::kCropped));
  return pixels[1];
}

class CIPlugInTest : public testing::Test {
 protected:
  void TearDown() override {
    pool_.drain();
    for (const CIPlugInStatus& plugIn : CIPlugIn::loadedPlugIns()) {
      std::string error;
      EXPECT_TRUE(CIPlugIn::unloadPlugIn(plugIn.path, &error)) << error;
    }
    EXPECT_THAT(AllFilters(), IsEmpty());
    for (const std::string& folder : CIPlugIn::plugInFolders()) fs::remove_all(folder);
  }

  std::string Make(const std::string& name, const char* library, const std::string& plist) {
    test::MakeFolderBundle(folder_ / name, library, plist);
    return folder_ / name;
  }
  static fs::path Executable(const std::string& bundle) {
    return fs::path(bundle) / "Contents/Linux" / fs::path(bundle).stem();
  }
  /// Loading fails with an error that holds `text`, and leaves nothing behind.
  void ExpectRefused(const std::string& path, const std::string& text) {
    CIPlugInStatus status;
    EXPECT_FALSE(CIPlugIn::loadPlugIn(path, &status));
    EXPECT_FALSE(status.loaded);
    EXPECT_THAT(status.error, HasSubstr(text));
    EXPECT_THAT(status.filters, IsEmpty());
    EXPECT_THAT(AllFilters(), IsEmpty());
    EXPECT_THAT(CIPlugIn::loadedPlugIns(), IsEmpty());
    EXPECT_FALSE(test::IsMapped(Executable(path)));
    EXPECT_EQ(NSClassFromString(CFSTR("CITestGenerator")), nullptr);
  }

  test::TempFolder folder_;
  NSAutoreleasePool pool_;
};

TEST_F(CIPlugInTest, LoadingFillsTheRegistry) {
  const std::string path = Make("Good.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  EXPECT_EQ(CIFilter::filterWithName(CFSTR("CITestGenerator")), nullptr);
  CIPlugInStatus status;
  ASSERT_TRUE(CIPlugIn::loadPlugIn(path, &status)) << status.error;
  EXPECT_TRUE(status.loaded);
  EXPECT_EQ(status.path, path);
  EXPECT_EQ(status.displayName, "Test Plug-In");
  EXPECT_EQ(status.version, "1.2");
  EXPECT_EQ(status.error, "");
  EXPECT_THAT(status.filters, ElementsAre("CITestGenerator"));
  EXPECT_THAT(AllFilters(), ElementsAre("CITestGenerator"));
  EXPECT_THAT(Texts(CIFilter::filterNamesInCategory(kCICategoryGenerator)),
              ElementsAre("CITestGenerator"));
  EXPECT_THAT(Texts(CIFilter::filterNamesInCategory(kCICategoryBlur)), IsEmpty());
  const CFTypeRef both[] = {kCICategoryVideo, kCICategoryGenerator};
  EXPECT_THAT(Texts(CIFilter::filterNamesInCategories(NSArray_arrayWithObjectscount(both, 2))),
              ElementsAre("CITestGenerator"));
  const CFTypeRef one[] = {kCICategoryVideo, kCICategoryBlur};
  EXPECT_THAT(Texts(CIFilter::filterNamesInCategories(NSArray_arrayWithObjectscount(one, 2))),
              IsEmpty());
  EXPECT_EQ(Utf8(CIFilter::localizedNameForFilterName(CFSTR("CITestGenerator"))), "Test Generator");

  CIFilter* const filter = CIFilter::filterWithName(CFSTR("CITestGenerator"));
  ASSERT_NE(filter, nullptr);
  EXPECT_EQ(Red(filter), 10);
  EXPECT_EQ(filter->retainCount(), 1u);
  EXPECT_EQ(Utf8(filter->name()), "CITestGenerator");
  NSDictionary* const attributes = filter->attributes();
  EXPECT_EQ(
      Utf8(static_cast<NSString*>(CFDictionaryGetValue(attributes, kCIAttributeFilterDisplayName))),
      "Test Generator");
  EXPECT_THAT(
      Texts(static_cast<NSArray*>(CFDictionaryGetValue(attributes, kCIAttributeFilterCategories))),
      ElementsAre("CICategoryGenerator", "CICategoryVideo"));
}

TEST_F(CIPlugInTest, LoadingTwiceIsLoadingOnce) {
  const std::string path = Make("Good.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  ASSERT_TRUE(CIPlugIn::loadPlugIn(path));
  const fs::path link = folder_ / "Link.plugin";
  fs::create_symlink(path, link);
  CIPlugInStatus status;
  EXPECT_TRUE(CIPlugIn::loadPlugIn(link.string(), &status));
  EXPECT_EQ(status.path, path);
  EXPECT_EQ(CIPlugIn::loadedPlugIns().size(), 1u);
}

TEST_F(CIPlugInTest, LoadsFromAURLIfCodeIsAllowed) {
  const std::string path = Make("Good.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  const CFURLRef url = NSAutorelease(CFURLCreateWithFileSystemPath(
      kCFAllocatorDefault, NSString_stringWithUTF8String(path.c_str()), kCFURLPOSIXPathStyle,
      true));
  CIPlugInStatus status;
  EXPECT_FALSE(CIPlugIn::loadPlugIn(url, false, &status));
  EXPECT_THAT(status.error, HasSubstr("executable code"));
  EXPECT_FALSE(test::IsMapped(Executable(path)));
  EXPECT_TRUE(CIPlugIn::loadPlugIn(url, true, &status)) << status.error;
  EXPECT_FALSE(CIPlugIn::loadPlugIn(nullptr, true, &status));
  EXPECT_THAT(status.error, HasSubstr("not a file URL"));
}

TEST_F(CIPlugInTest, ARegistrationThatSaysNoLeavesNothing) {
  ExpectRefused(Make("No.plugin", LUMIVANE_TEST_PLUGIN_NO, test::GoodPlist()), "refuses");
}

TEST_F(CIPlugInTest, ARegistrationThatThrowsLeavesNothing) {
  ExpectRefused(Make("Bad.plugin", LUMIVANE_TEST_PLUGIN_THROWS, test::GoodPlist()), "exception");
}

TEST_F(CIPlugInTest, IncompleteDescriptionsAreRefused) {
  const char* const yes = LUMIVANE_TEST_PLUGIN_YES;
  using test::FilterEntry;
  using test::PlugInPlist;
  const std::string entry = FilterEntry("CITestGenerator");
  ExpectRefused(Make("A.plugin", yes, ""), "NSPrincipalClass");
  ExpectRefused(Make("B.plugin", yes, PlugInPlist(entry, "")), "NSPrincipalClass");
  ExpectRefused(Make("C.plugin", yes, PlugInPlist("")), "CIPlugInFilterList");
  ExpectRefused(Make("D.plugin", yes,
                     test::PlistText("<key>NSPrincipalClass</key><string>CITestLoader</string>"
                                     "<key>CIPlugInFilterList</key><string>x</string>")),
                "CIPlugInFilterList");
  ExpectRefused(Make("E.plugin", yes, PlugInPlist("<key>X</key><string>x</string>")), "X");
  ExpectRefused(Make("F.plugin", yes, "<plist><dict><key>broken"), "Info.plist cannot be read");
  ExpectRefused(Make("G.plugin", yes, PlugInPlist(entry, "CINobody")), "CINobody");
  ExpectRefused(Make("H.plugin", yes, PlugInPlist(entry, "CITestGenerator")),
                "no registration class");
  ExpectRefused(Make("I.plugin", yes, PlugInPlist(entry + FilterEntry("X", "CIMissing"))),
                "CIMissing");
  ExpectRefused(Make("J.plugin", yes, PlugInPlist(FilterEntry("X", "CITestLoader"))),
                "CITestLoader");
}

TEST_F(CIPlugInTest, BrokenBundlesAreRefused) {
  ExpectRefused(folder_ / "Missing.plugin", "no bundle");
  ExpectRefused("", "no bundle");
  test::MakeBundleWithoutExecutable(folder_ / "Empty.plugin");
  ExpectRefused(folder_ / "Empty.plugin", "no bundle");
  test::MakeBrokenFolderBundle(folder_ / "Broken.plugin");
  test::WriteFile(folder_ / "Broken.plugin/Contents/Info.plist", test::GoodPlist());
  ExpectRefused(folder_ / "Broken.plugin", "cannot be loaded");
}

TEST_F(CIPlugInTest, ARepairedPlugInLoads) {
  test::MakeBrokenFolderBundle(folder_ / "Broken.plugin");
  test::WriteFile(folder_ / "Broken.plugin/Contents/Info.plist", test::GoodPlist());
  const std::string path = folder_ / "Broken.plugin";
  EXPECT_FALSE(CIPlugIn::loadPlugIn(path));
  Make("Broken.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  CIPlugInStatus status;
  EXPECT_TRUE(CIPlugIn::loadPlugIn(path, &status)) << status.error;
}

TEST_F(CIPlugInTest, AFilterThatFailsToStartIsNull) {
  const std::string path =
      Make("Still.plugin", LUMIVANE_TEST_PLUGIN_YES,
           test::PlugInPlist(test::FilterEntry("Stillborn", "CITestStillborn")));
  ASSERT_TRUE(CIPlugIn::loadPlugIn(path));
  EXPECT_EQ(CIFilter::filterWithName(CFSTR("Stillborn")), nullptr);
  EXPECT_EQ(NSClassFromString(CFSTR("CITestStillborn"))->liveInstances(), 0);
}

TEST_F(CIPlugInTest, ATakenNameStaysWithItsFirstPlugIn) {
  const std::string first = Make("A.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  const std::string twin =
      Make("B.plugin", LUMIVANE_TEST_PLUGIN_TWIN,
           test::PlugInPlist(test::FilterEntry("CITestGenerator") +
                             test::FilterEntry("CITestTwin", "CITestGenerator")));
  const std::string third = Make("C.plugin", LUMIVANE_TEST_PLUGIN_TWIN, test::GoodPlist());
  ASSERT_TRUE(CIPlugIn::loadPlugIn(first));
  CIPlugInStatus status;
  ASSERT_TRUE(CIPlugIn::loadPlugIn(twin, &status)) << status.error;
  EXPECT_THAT(status.filters, ElementsAre("CITestTwin"));
  EXPECT_EQ(Red(CIFilter::filterWithName(CFSTR("CITestGenerator"))), 10);
  // The same class name, from the other plug-in's own code.
  EXPECT_EQ(Red(CIFilter::filterWithName(CFSTR("CITestTwin"))), 40);
  EXPECT_FALSE(CIPlugIn::loadPlugIn(third, &status));
  EXPECT_THAT(status.error, HasSubstr("registered its filters already"));
}

TEST_F(CIPlugInTest, UnloadingIsRefusedWhileFiltersLive) {
  const std::string path = Make("Good.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  ASSERT_TRUE(CIPlugIn::loadPlugIn(path));
  CIFilter* const filter = CIFilter::filterWithName(CFSTR("CITestGenerator"));
  std::string error;
  EXPECT_FALSE(CIPlugIn::unloadPlugIn(path, &error));
  EXPECT_EQ(error, "1 object of it still live");
  EXPECT_EQ(Red(filter), 10);
  EXPECT_THAT(AllFilters(), ElementsAre("CITestGenerator"));
  pool_.drain();
  EXPECT_TRUE(CIPlugIn::unloadPlugIn(path, &error)) << error;
  EXPECT_EQ(error, "");
  EXPECT_FALSE(test::IsMapped(Executable(path)));
  EXPECT_EQ(CIFilter::filterWithName(CFSTR("CITestGenerator")), nullptr);
  EXPECT_FALSE(CIPlugIn::unloadPlugIn(path, &error));
  EXPECT_EQ(error, "it is not loaded");
}

TEST_F(CIPlugInTest, LoadsAndUnloadsManyTimes) {
  const std::string path = Make("Good.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  for (int i = 0; i < 100; ++i) {
    CIPlugInStatus status;
    ASSERT_TRUE(CIPlugIn::loadPlugIn(path, &status)) << status.error;
    ASSERT_TRUE(test::IsMapped(Executable(path)));
    {
      const NSAutoreleasePool pool;
      CIFilter* const filter = CIFilter::filterWithName(CFSTR("CITestGenerator"));
      ASSERT_NE(filter, nullptr);
      ASSERT_EQ(Red(filter), 10);
    }
    std::string error;
    ASSERT_TRUE(CIPlugIn::unloadPlugIn(path, &error)) << error;
    ASSERT_FALSE(test::IsMapped(Executable(path)));
    ASSERT_EQ(NSClassFromString(CFSTR("CITestGenerator")), nullptr);
  }
}

TEST_F(CIPlugInTest, LoadAllGoesThroughTheFoldersInOrder) {
  const std::vector<std::string> folders = CIPlugIn::plugInFolders();
  ASSERT_EQ(folders.size(), 3u);
  EXPECT_EQ(folders[0], (test::Home() / ".local/share/lumivane/ImageUnits").string());
  EXPECT_EQ(folders[1], (test::Home() / "local-root/ImageUnits").string());
  EXPECT_EQ(folders[2], (test::Home() / "system-root/ImageUnits").string());
  EXPECT_THAT(CIPlugIn::loadAllPlugIns(), IsEmpty());

  const auto put = [](const fs::path& where, const char* library, const std::string& plist) {
    test::MakeFolderBundle(where, library, plist);
    return where.string();
  };
  const auto named = [](const std::string& name) {
    return test::PlugInPlist(test::FilterEntry(name, "CITestGenerator"));
  };
  const std::string b =
      put(fs::path(folders[0]) / "B.plugin", LUMIVANE_TEST_PLUGIN_YES, named("B"));
  const std::string a =
      put(fs::path(folders[0]) / "A.plugin", LUMIVANE_TEST_PLUGIN_TWIN, named("B"));
  const std::string no =
      put(fs::path(folders[1]) / "No.plugin", LUMIVANE_TEST_PLUGIN_NO, named("N"));
  const std::string s =
      put(fs::path(folders[2]) / "S.plugin", LUMIVANE_TEST_PLUGIN_YES, named("S"));
  test::WriteFile(fs::path(folders[0]) / "README", "no plug-in");

  const std::vector<CIPlugInStatus> results = CIPlugIn::loadAllPlugIns();
  ASSERT_EQ(results.size(), 4u);
  EXPECT_EQ(results[0].path, a);
  EXPECT_TRUE(results[0].loaded);
  EXPECT_EQ(results[1].path, b);
  EXPECT_FALSE(results[1].loaded);  // A.plugin has the name.
  EXPECT_EQ(results[2].path, no);
  EXPECT_THAT(results[2].error, HasSubstr("refuses"));
  EXPECT_EQ(results[3].path, s);
  EXPECT_TRUE(results[3].loaded);
  EXPECT_EQ(Red(CIFilter::filterWithName(CFSTR("B"))), 40);
  EXPECT_EQ(CIPlugIn::loadAllPlugIns().size(), 4u);
}

TEST_F(CIPlugInTest, ARegistrationMayAskForOtherPlugIns) {
  const fs::path folder = CIPlugIn::plugInFolders()[0];
  test::MakeFolderBundle(folder / "Nested.plugin", LUMIVANE_TEST_PLUGIN_NESTED,
                         test::PlugInPlist(test::FilterEntry("Outer", "CITestGenerator")));
  test::MakeFolderBundle(folder / "Other.plugin", LUMIVANE_TEST_PLUGIN_YES,
                         test::PlugInPlist(test::FilterEntry("Other", "CITestGenerator")));
  CIPlugInStatus status;
  ASSERT_TRUE(CIPlugIn::loadPlugIn((folder / "Nested.plugin").string(), &status)) << status.error;
  EXPECT_THAT(AllFilters(), ElementsAre("Other", "Outer"));
  EXPECT_EQ(CIPlugIn::loadedPlugIns().size(), 2u);
}

TEST_F(CIPlugInTest, CodeStaysWhereAnObjectOutlivesTheRefusal) {
  const std::string path = Make("Keeps.plugin", LUMIVANE_TEST_PLUGIN_KEEPS, test::GoodPlist());
  // In a process of its own: the code stays until that ends.
  EXPECT_EXIT(
      {
        CIPlugInStatus status;
        const bool loaded = CIPlugIn::loadPlugIn(path, &status);
        const Class record = NSClassFromString(CFSTR("CITestGenerator"));
        _exit(!loaded && test::IsMapped(Executable(path)) && record != nullptr &&
                      record->liveInstances() == 1 && AllFilters().empty()
                  ? 0
                  : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(CIPlugInTest, WhatSomebodyElseLoadedStaysLoaded) {
  const std::string refused = Make("No.plugin", LUMIVANE_TEST_PLUGIN_NO, test::GoodPlist());
  const std::string good = Make("Good.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  for (const std::string& path : {refused, good}) {
    NSBundle* const bundle = NSBundle::bundleWithPath(NSString_stringWithUTF8String(path.c_str()));
    ASSERT_TRUE(bundle->load());
    EXPECT_EQ(CIPlugIn::loadPlugIn(path), path == good);
    EXPECT_TRUE(bundle->isLoaded());
    if (path == good) {
      EXPECT_TRUE(CIPlugIn::unloadPlugIn(path));
      EXPECT_TRUE(bundle->isLoaded());
    }
    CFBundleUnloadExecutable(bundle->cfBundle());
    EXPECT_FALSE(test::IsMapped(Executable(path)));
  }
}

TEST_F(CIPlugInTest, FiltersOfSeveralThreadsDoNotMeet) {
  const std::string path = Make("Good.plugin", LUMIVANE_TEST_PLUGIN_YES, test::GoodPlist());
  ASSERT_TRUE(CIPlugIn::loadPlugIn(path));
  std::atomic<int> good{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 100; ++i) {
        const NSAutoreleasePool pool;
        CIFilter* const filter = CIFilter::filterWithName(CFSTR("CITestGenerator"));
        filter->setValueforKey(NSNumber_numberWithDouble(i), CFSTR("inputClock"));
        if (Red(filter) == 10) ++good;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, 200);
}

}  // namespace
