#include "sdk/CoreX/LAlias.h"

#include "platform/CoreServices/MacMemory.h"
#include "sdk/CoreX/LFSSpec.h"
#include "sdk/CoreX/T_CFString.h"
#include "tests/sdk/CoreX/FileRefTesting.h"

namespace {

namespace fs = std::filesystem;
using test::Pascal;
using test::RefOf;
using testing::IsEmpty;

template <typename Alias>
class LAliasTest : public test::FileRefTest {
 protected:
  LAliasTest() {
    fs::create_directory(Path("sub"));
    test::WriteFile(Path("sub/target"), "x");
    handles_ = MacMemoryGetCounters().handles;
  }
  FSRef Target() const { return RefOf(Path("sub/target")); }
  std::string Found(Alias& alias) const {
    std::string path = "(none)";
    alias.GetUnixPath(path);
    return path;
  }
  /// Opens a resource file of the test's own.
  ResFileRefNum OpenResources() {
    const LFSSpec spec(Path("resources").c_str());
    EXPECT_TRUE(spec.CreateFileWithResFork());
    return FSpOpenResFile(&spec, fsRdWrPerm);
  }
  SInt64 NewHandles() const { return MacMemoryGetCounters().handles - handles_; }

 private:
  SInt64 handles_ = 0;
};
using Kinds = testing::Types<LAliasSpec, LAliasRef>;
TYPED_TEST_SUITE(LAliasTest, Kinds);

TYPED_TEST(LAliasTest, FindsItsTarget) {
  {
    TypeParam alias(this->Target());
    EXPECT_TRUE(alias.IsConstructed());
    EXPECT_FALSE(alias.IsResolved());
    EXPECT_TRUE(alias.Resolve());
    EXPECT_TRUE(alias.IsResolved());
    EXPECT_EQ(this->Found(alias), this->Path("sub/target"));
    TCFString text;
    EXPECT_TRUE(alias.GetUnixPath(text));
    EXPECT_EQ(text.strcmp(this->Path("sub/target").c_str()), 0);
    FSSpec spec;
    FSRef ref;
    EXPECT_TRUE(alias.GetFileSpec(spec));
    EXPECT_EQ(test::TextOfPascal(spec.name), "target");
    EXPECT_TRUE(alias.GetFileRef(ref));
    EXPECT_EQ(test::PathOf(ref), this->Path("sub/target"));
    Boolean changed = 1;
    EXPECT_TRUE(alias.ResolveWasChanged(changed));
    EXPECT_FALSE(changed);
  }
  EXPECT_EQ(this->NewHandles(), 0) << "the record is the object's";
  EXPECT_THAT(this->Logged(), IsEmpty());
}

TYPED_TEST(LAliasTest, ResolvesWhenAskedForTheTarget) {
  TypeParam alias(static_cast<const FSSpec&>(LFSSpec(this->Path("sub/target").c_str())));
  EXPECT_EQ(this->Found(alias), this->Path("sub/target"));
  EXPECT_TRUE(alias.IsResolved());
}

TYPED_TEST(LAliasTest, FollowsARename) {
  TypeParam alias(this->Target());
  fs::rename(this->Path("sub/target"), this->Path("sub/renamed"));
  Boolean changed = 0;
  EXPECT_TRUE(alias.ResolveWasChanged(changed));
  EXPECT_TRUE(changed);
  EXPECT_EQ(this->Found(alias), this->Path("sub/renamed"));
  EXPECT_TRUE(alias.ResolveWasChanged(changed));
  EXPECT_FALSE(changed) << "the record is up to date";
}

TYPED_TEST(LAliasTest, FollowsAMoveTogetherWithTheOtherFile) {
  test::WriteFile(this->Path("sub/from"), "x");
  const FSRef from = RefOf(this->Path("sub/from"));
  TypeParam byRef(this->Target(), &from);
  const LFSSpec fromSpec(this->Path("sub/from").c_str());
  TypeParam bySpec(static_cast<const FSSpec&>(LFSSpec(this->Path("sub/target").c_str())),
                   &fromSpec);
  FSRef folderRef = RefOf(this->Path("sub"));
  ASSERT_EQ(test::Rename(folderRef, u"moved"), noErr);
  EXPECT_EQ(this->Found(byRef), this->Path("moved/target"));
  EXPECT_EQ(this->Found(bySpec), this->Path("moved/target"));
}

TYPED_TEST(LAliasTest, TakesWhatReplacedTheTarget) {
  TypeParam alias(this->Target());
  fs::remove(this->Path("sub/target"));
  test::WriteFile(this->Path("sub/target"), "another");
  EXPECT_TRUE(alias.Resolve());
  EXPECT_EQ(this->Found(alias), this->Path("sub/target"));
}

TYPED_TEST(LAliasTest, FailsOnceTheTargetIsGone) {
  TypeParam alias(this->Target());
  ASSERT_TRUE(alias.Resolve());
  fs::remove(this->Path("sub/target"));
  Boolean changed = 1;
  EXPECT_FALSE(alias.ResolveWasChanged(changed));
  EXPECT_FALSE(changed);
  EXPECT_FALSE(alias.IsResolved());
  FSSpec spec;
  FSRef ref;
  EXPECT_FALSE(alias.GetFileSpec(spec));
  EXPECT_FALSE(alias.GetFileRef(ref));
  EXPECT_EQ(this->Found(alias), "(none)");
}

TYPED_TEST(LAliasTest, HasNothingWithoutARecord) {
  TypeParam alias;
  EXPECT_FALSE(alias.IsConstructed());
  EXPECT_FALSE(alias.Resolve());
  EXPECT_FALSE(alias.AddResource(200, nullptr));
  EXPECT_FALSE(alias.RemoveResource());
  EXPECT_FALSE(alias.DetachResource());
  EXPECT_FALSE(alias.SetResInfo(200, nullptr));
  EXPECT_FALSE(alias.Construct(static_cast<AliasHandle>(nullptr)));
  EXPECT_FALSE(alias.Construct(static_cast<short>(12345)));
  EXPECT_FALSE(alias.Construct(FSRef{}));
  EXPECT_FALSE(alias.IsConstructed());
}

TYPED_TEST(LAliasTest, RefusesABrokenRecord) {
  Handle broken = NewHandleClear(3);
  TypeParam alias(reinterpret_cast<AliasHandle>(broken));
  EXPECT_TRUE(alias.IsConstructed());
  EXPECT_FALSE(alias.Resolve());
  alias.Empty();
  EXPECT_EQ(this->NewHandles(), 0) << "taken over, and disposed of";
}

TYPED_TEST(LAliasTest, IsKeptAsAResource) {
  ResFileRefNum file = this->OpenResources();
  ASSERT_NE(file, -1);
  {
    TypeParam alias(this->Target());
    EXPECT_FALSE(alias.IsResource());
    EXPECT_FALSE(alias.SetResInfo(201, nullptr));
    EXPECT_TRUE(alias.AddResource(200, Pascal("name")));
    EXPECT_TRUE(alias.IsResource());
    EXPECT_EQ(alias.GetResFile(), file);
    EXPECT_EQ(alias.GetResID(), 200);
    EXPECT_FALSE(alias.AddResource(202, nullptr)) << "is one already";
    EXPECT_TRUE(alias.SetResInfo(201, Pascal("other")));
    EXPECT_EQ(alias.GetResID(), 201);
  }
  CloseResFile(file);
  file = this->OpenResources();
  this->Forget();
  fs::rename(this->Path("sub/target"), this->Path("sub/renamed"));
  {
    TypeParam alias(static_cast<short>(201));
    EXPECT_TRUE(alias.IsResource());
    EXPECT_EQ(alias.GetResFile(), file);
    EXPECT_EQ(this->Found(alias), this->Path("sub/renamed"));
  }
  CloseResFile(file);
  file = this->OpenResources();
  {
    TypeParam alias(static_cast<short>(201));
    Boolean changed = 1;
    EXPECT_TRUE(alias.ResolveWasChanged(changed));
    EXPECT_FALSE(changed) << "the file has the record that was brought up to date";
    EXPECT_TRUE(alias.DetachResource());
    EXPECT_FALSE(alias.IsResource());
    EXPECT_EQ(this->Found(alias), this->Path("sub/renamed"));
    EXPECT_NE(Get1Resource(rAliasType, 201), nullptr) << "a copy stays";
  }
  {
    TypeParam alias(static_cast<short>(201));
    EXPECT_TRUE(alias.RemoveResource());
    EXPECT_FALSE(alias.IsResource());
    EXPECT_EQ(Get1Resource(rAliasType, 201), nullptr);
    EXPECT_EQ(this->Found(alias), this->Path("sub/renamed"));
  }
  EXPECT_THAT(this->Logged(), IsEmpty());
  CloseResFile(file);
  EXPECT_EQ(this->NewHandles(), 0);
}

TYPED_TEST(LAliasTest, IsOfNoUseOnceItsFileIsClosed) {
  const ResFileRefNum file = this->OpenResources();
  TypeParam alias(this->Target());
  ASSERT_TRUE(alias.AddResource(200, nullptr));
  CloseResFile(file);
  EXPECT_FALSE(alias.Resolve());
  EXPECT_FALSE(alias.DetachResource());
  EXPECT_EQ(this->NewHandles(), 0);
}

}  // namespace
