#include "platform/Foundation/NSBundle.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/NSAutoreleasePool.h"
#include "platform/Foundation/NSValues.h"
#include "platform/Foundation/Text.h"
#include "tests/support/HermeticHome.h"
#include "tests/support/TempBundle.h"

namespace {

using lumivane::foundation::Utf8;

NSString* Text(const std::string& text) {
  return NSString_stringWithUTF8String(text.c_str());
}

std::string Plist(const std::string& identifier, const std::string& principal) {
  return "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" + identifier +
         "</string><key>NSPrincipalClass</key><string>" + principal + "</string></dict></plist>";
}

class NSBundleTest : public testing::Test {
 protected:
  NSBundle* Make(const std::string& name, const char* library, const std::string& identifier = "",
                 const std::string& principal = "") {
    const auto path = folder_ / name;
    test::MakeFolderBundle(path, library, Plist(identifier, principal));
    return NSBundle::bundleWithPath(Text(path));
  }
  test::TempFolder folder_;
  NSAutoreleasePool pool_;
};

TEST_F(NSBundleTest, FindsResources) {
  NSBundle* const bundle = Make("A.plugin", LUMIVANE_TEST_MODULE_FIRST);
  ASSERT_NE(bundle, nullptr);
  const std::string resources = folder_ / "A.plugin/Contents/Resources/";
  test::AddResource(folder_ / "A.plugin", "Kernel.cikernel", "text");
  test::AddResource(folder_ / "A.plugin", "bare", "text");
  EXPECT_EQ(Utf8(bundle->pathForResourceofType(Text("Kernel"), Text("cikernel"))),
            resources + "Kernel.cikernel");
  EXPECT_EQ(Utf8(bundle->pathForResourceofType(Text("bare"), nullptr)), resources + "bare");
  EXPECT_EQ(Utf8(bundle->pathForResourceofType(Text("bare"), CFSTR(""))), resources + "bare");
  EXPECT_EQ(bundle->pathForResourceofType(Text("Kernel"), nullptr), nullptr);
  EXPECT_EQ(bundle->pathForResourceofType(Text("missing"), Text("cikernel")), nullptr);
  EXPECT_EQ(bundle->pathForResourceofType(nullptr, nullptr), nullptr);
  EXPECT_EQ(Utf8(bundle->bundlePath()), (folder_ / "A.plugin").string());
}

TEST_F(NSBundleTest, FindsImagesByTheirUsualExtensions) {
  NSBundle* const bundle = Make("A.plugin", LUMIVANE_TEST_MODULE_FIRST);
  ASSERT_NE(bundle, nullptr);
  const auto where = folder_ / "A.plugin";
  const std::string resources = where / "Contents/Resources/";
  EXPECT_EQ(bundle->pathForImageResource(Text("Picture")), nullptr);
  for (const char* const type : {"bmp", "gif", "tif", "tiff", "jpeg", "jpg", "png"}) {
    // Each of these goes before those found so far.
    test::AddResource(where, std::string("Picture.") + type, "x");
    EXPECT_EQ(Utf8(bundle->pathForImageResource(Text("Picture"))), resources + "Picture." + type);
  }
  EXPECT_EQ(Utf8(bundle->pathForImageResource(Text("Picture.jpg"))), resources + "Picture.jpg");
  EXPECT_EQ(bundle->pathForImageResource(Text("Picture.xyz")), nullptr);
  test::AddResource(where, "Version 1.2.png", "x");
  EXPECT_EQ(Utf8(bundle->pathForImageResource(Text("Version 1.2"))), resources + "Version 1.2.png");
  EXPECT_EQ(bundle->pathForImageResource(nullptr), nullptr);
}

TEST_F(NSBundleTest, KnowsItsDescription) {
  NSBundle* const bundle =
      Make("A.plugin", LUMIVANE_TEST_MODULE_FIRST, "org.example.described", "NSTestShared");
  EXPECT_EQ(Utf8(bundle->bundleIdentifier()), "org.example.described");
  EXPECT_EQ(Utf8(bundle->objectForInfoDictionaryString(CFSTR("NSPrincipalClass"))), "NSTestShared");
  EXPECT_EQ(bundle->objectForInfoDictionaryString(CFSTR("Nothing")), nullptr);
  EXPECT_EQ(CFDictionaryGetCount(bundle->infoDictionary()), 2);
  NSBundle* const again = NSBundle::bundleWithIdentifier(CFSTR("org.example.described"));
  ASSERT_NE(again, nullptr);
  EXPECT_TRUE(again->isEqualTo(*bundle));
  EXPECT_EQ(again->hashValue(), bundle->hashValue());
  EXPECT_EQ(NSBundle::bundleWithIdentifier(CFSTR("org.example.nobody")), nullptr);
  EXPECT_EQ(NSBundle::bundleWithIdentifier(nullptr), nullptr);
  EXPECT_EQ(NSBundle::bundleWithPath(Text(folder_ / "missing")), nullptr);
  EXPECT_EQ(NSBundle::bundleWithPath(nullptr), nullptr);
}

TEST_F(NSBundleTest, PrincipalClassComesFromTheBundlesOwnCode) {
  NSBundle* const first =
      Make("A.plugin", LUMIVANE_TEST_MODULE_FIRST, "org.example.a", "NSTestShared");
  NSBundle* const second =
      Make("B.plugin", LUMIVANE_TEST_MODULE_SECOND, "org.example.b", "NSTestShared");
  EXPECT_FALSE(first->isLoaded());
  const Class one = first->principalClass();
  const Class two = second->principalClass();
  EXPECT_TRUE(first->isLoaded());
  ASSERT_NE(one, nullptr);
  ASSERT_NE(two, nullptr);
  EXPECT_NE(one, two);
  EXPECT_EQ(NSClassFromString(CFSTR("NSTestShared")), one);
  EXPECT_EQ(NSClassInModule(CFSTR("NSTestShared"), two->codeAddress()), two);
  EXPECT_TRUE(NSBundle::bundleForClass(one)->isEqualTo(*first));
  EXPECT_TRUE(NSBundle::bundleForClass(two)->isEqualTo(*second));
  EXPECT_FALSE(first->isEqualTo(*second));

  NSObject* const object = two->alloc();
  EXPECT_EQ(Utf8(static_cast<NSString*>(object->valueForKey(CFSTR("name")))), "second");
  object->release();

  EXPECT_NE(second->classNamed(CFSTR("NSTestOnlyIn_second")), nullptr);
  EXPECT_EQ(second->classNamed(CFSTR("NSTestOnlyIn_first")), nullptr);
  CFBundleUnloadExecutable(first->cfBundle());
  EXPECT_EQ(NSClassFromString(CFSTR("NSTestShared")), two);
  CFBundleUnloadExecutable(second->cfBundle());
  EXPECT_EQ(NSClassFromString(CFSTR("NSTestShared")), nullptr);
}

TEST_F(NSBundleTest, NoPrincipalClassIsNull) {
  EXPECT_EQ(Make("A.plugin", LUMIVANE_TEST_MODULE_FIRST)->principalClass(), nullptr);
  EXPECT_EQ(Make("B.plugin", LUMIVANE_TEST_MODULE_FIRST, "", "NSNobody")->principalClass(),
            nullptr);
  const auto path = folder_ / "C.plugin";
  test::MakeBrokenFolderBundle(path);
  NSBundle* const broken = NSBundle::bundleWithPath(Text(path));
  ASSERT_NE(broken, nullptr);
  EXPECT_FALSE(broken->load());
  EXPECT_EQ(broken->classNamed(CFSTR("NSTestShared")), nullptr);
}

TEST_F(NSBundleTest, TheMainBundleIsThisPrograms) {
  EXPECT_EQ(NSBundle::mainBundle()->cfBundle(), CFBundleGetMainBundle());
  EXPECT_EQ(NSBundle::mainBundle()->bundleIdentifier(), nullptr);
}

}  // namespace
