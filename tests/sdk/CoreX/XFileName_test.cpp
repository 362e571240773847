#include "sdk/CoreX/XFileName.h"

#include <cstring>

#include "sdk/CoreX/Carb_FSRef_inlines.h"
#include "sdk/CoreX/FSCatalogInfo_t.h"
#include "sdk/CoreX/LFSSpec.h"
#include "sdk/CoreX/LUnixPath.h"
#include "sdk/CoreX/MAC_fopen.h"
#include "tests/sdk/CoreX/FileRefTesting.h"

namespace {

namespace fs = std::filesystem;
using test::RefOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StrEq;

std::string Line(const std::string& code, const std::string& function) {
  return test::CheckLine(code, "XFileName", function);
}

class XFileNameTest : public test::FileRefTest {
 protected:
  std::string UnixPath(const XFileName& name) const {
    std::string path = "(none)";
    static_cast<const LFSRef&>(name).GetUnixPath(path);
    return path;
  }
  void SetModified(const std::string& name, int seconds) {
    fs::last_write_time(Path(name),
                        fs::file_time_type::clock::now() + std::chrono::seconds(seconds));
  }
};

TEST(FSCatalogInfoT, HoldsTypeAndCreator) {
  const FSCatalogInfo zero = {};
  const FSCatalogInfo_t empty;
  EXPECT_EQ(std::memcmp(&empty, &zero, sizeof zero), 0);
  FSCatalogInfo_t typed('TEXT', 'ttxt');
  FInfo info;
  std::memcpy(&info, typed.finderInfo, sizeof info);
  EXPECT_EQ(info.fdType, OSType{'TEXT'});
  EXPECT_EQ(info.fdCreator, OSType{'ttxt'});
  const FInfo full = {'JPEG', '8BIM', kIsInvisible, {3, 4}, 5};
  FSCatalogInfo_t copied(full);
  EXPECT_EQ(std::memcmp(copied.finderInfo, &full, sizeof full), 0);
  copied.SetTypeCreator('TEXT', 'ttxt');
  EXPECT_EQ(std::memcmp(copied.finderInfo, typed.finderInfo, 16), 0) << "flags and place are 0";
}

TEST(LUTCDateTimeOrder, GoesFieldByField) {
  const auto time = [](UInt16 high, UInt32 low, UInt16 fraction) {
    return LUTCDateTime(UTCDateTime{high, low, fraction});
  };
  EXPECT_EQ(time(1, 2, 3).Compare(time(1, 2, 3)), 0);
  EXPECT_LT(time(1, 9, 9).Compare(time(2, 0, 0)), 0);
  EXPECT_LT(time(1, 1, 9).Compare(time(1, 2, 0)), 0);
  EXPECT_LT(time(1, 1, 1).Compare(time(1, 1, 2)), 0);
  EXPECT_GT(time(1, 0xFFFFFFFF, 0).Compare(time(1, 0, 0xFFFF)), 0);
}

TEST_F(XFileNameTest, IsMadeOfAPath) {
  XFileName name(Path("new").c_str());
  EXPECT_TRUE(name.IsConstructed());
  EXPECT_EQ(UnixPath(name), Path("new"));
  EXPECT_THAT(Logged(), IsEmpty());
  EXPECT_FALSE(name.Construct("no such folder/new"));
  EXPECT_EQ(Logged().back(), Line("m_filename.Construct(in_unix_path)", "Construct"));
  EXPECT_FALSE(name.Construct(Path("a/b").c_str())) << "no file spec of it";
  EXPECT_EQ(Logged().back(), Line("fOk=IsConstructed()", "Construct"));
  EXPECT_FALSE(XFileName().IsConstructed());
}

TEST_F(XFileNameTest, IsMadeOfEveryOtherForm) {
  test::WriteFile(Path("file"), "x");
  const FSRef ref = RefOf(Path("file"));
  const FSRef parent = RefOf(folder());
  const LFSSpec spec(Path("file").c_str());
  const LFSSpec folderSpec(folder().c_str());
  const XFileName original(&ref);
  const XFileName pointer(&original);
  XFileName assigned;
  EXPECT_EQ(UnixPath(original), Path("file"));
  EXPECT_EQ(UnixPath(pointer), Path("file"));
  EXPECT_EQ(UnixPath(XFileName(original)), Path("file"));
  EXPECT_EQ(UnixPath(XFileName(LFSRef(&ref))), Path("file"));
  EXPECT_EQ(UnixPath(XFileName(static_cast<const FSSpec*>(&spec))), Path("file"));
  EXPECT_EQ(UnixPath(XFileName(&folderSpec, "new")), Path("new"));
  EXPECT_EQ(UnixPath(XFileName(&parent, "file")), Path("file"));
  EXPECT_EQ(UnixPath(assigned = &ref), Path("file"));
  EXPECT_EQ(UnixPath(assigned = Path("other").c_str()), Path("other"));
  EXPECT_EQ(UnixPath(assigned = static_cast<const FSSpec*>(&spec)), Path("file"));
  EXPECT_EQ(UnixPath(assigned = LFSRef(&parent)), folder().string());
  EXPECT_EQ(UnixPath(assigned = &original), Path("file"));
  EXPECT_EQ(UnixPath(XFileName(LFSRef(original))), Path("file"));
  const XFileName* const none = nullptr;
  EXPECT_FALSE((assigned = none).IsConstructed());
  EXPECT_THAT(Logged(), testing::Not(testing::Contains(Line("copyOf", "XFileName"))));
  Forget();
  EXPECT_TRUE(static_cast<const LFSRef&>(XFileName(none)).IsEmpty());
  EXPECT_THAT(Logged(), ElementsAre(Line("copyOf", "XFileName")));
}

TEST_F(XFileNameTest, OfAFolderAndANameMustExist) {
  const FSRef parent = RefOf(folder());
  XFileName name(Path("old").c_str());
  EXPECT_FALSE(name.Construct(&parent, "missing"));
  EXPECT_TRUE(static_cast<const LFSRef&>(name).IsEmpty());
  EXPECT_TRUE(LFSRef(&parent, "missing").IsValid()) << "a reference keeps the name";
  EXPECT_FALSE(name.Construct(&parent, nullptr));
  EXPECT_FALSE(name.Construct(static_cast<const FSRef*>(nullptr), "missing"));
  FSRef out;
  Forget();
  EXPECT_EQ(FSRef_ConstructFromParentAndRelativeName(out, parent, nullptr), -1);
  EXPECT_THAT(Logged(), ElementsAre(test::CheckLine(
                            "relative_path && relative.Construct(relative_path)",
                            "Carb_FSRef_inlines", "FSRef_ConstructFromParentAndRelativeName")));
  EXPECT_EQ(FSRef_ConstructFromParentAndRelativeName(out, parent, "\xFF"), -1);
  EXPECT_EQ(FSRef_ConstructFromParentAndRelativeName(out, parent, "missing"), fnfErr);
  test::WriteFile(Path(std::string(127, 'n')), "x");
  EXPECT_EQ(FSRef_ConstructFromParentAndRelativeName(out, parent, std::string(127, 'n').c_str()),
            noErr);
  EXPECT_EQ(FSRef_ConstructFromParentAndRelativeName(out, parent, std::string(128, 'n').c_str()),
            fnfErr);
}

TEST_F(XFileNameTest, ForwardsToItsReference) {
  fs::create_directory(Path("sub"));
  XFileName name(Path("new").c_str());
  XFileName parent;
  std::string text;
  EXPECT_TRUE(name.ReplaceFolder(XFileName(Path("sub").c_str())));
  EXPECT_EQ(UnixPath(name), Path("sub/new"));
  EXPECT_TRUE(name.ReplaceJustName("name"));
  EXPECT_TRUE(name.AddExtension(".txt"));
  EXPECT_TRUE(name.ReplaceExtension("jpg"));
  EXPECT_TRUE(name.GetJustName(text));
  EXPECT_EQ(text, "name.jpg");
  EXPECT_TRUE(name.GetParentFolder(parent));
  EXPECT_EQ(UnixPath(parent), Path("sub"));
  EXPECT_THAT(Logged(), IsEmpty());
  test::WriteFile(Path("sub/name.jpg"), "x");
  EXPECT_TRUE(name.FileExists());
  EXPECT_TRUE(name.SetFileTypeCreator('JPEG', '8BIM'));
  OSType type = 0;
  OSType creator = 0;
  EXPECT_TRUE(name.GetFileTypeCreator(type, creator));
  EXPECT_EQ(type, OSType{'JPEG'});
  EXPECT_EQ(creator, OSType{'8BIM'});
  LUTCDateTime time;
  EXPECT_TRUE(name.GetDateTimeCreated(time));
  EXPECT_TRUE(name.GetDateTimeModified(time));
  LUnixPath path;
  LFSRef ref;
  LFSSpec spec;
  EXPECT_TRUE(name.GetUnixPath(path));
  EXPECT_TRUE(name.GetSystemRepresentation(path));
  EXPECT_STREQ(path, Path("sub/name.jpg").c_str());
  EXPECT_TRUE(name.GetSystemRepresentation(ref));
  EXPECT_TRUE(ref == static_cast<const LFSRef&>(name));
  EXPECT_TRUE(name.GetSystemRepresentation(spec));
  EXPECT_TRUE(spec == "name.jpg");
  EXPECT_TRUE(name.RenameFile("renamed"));
  EXPECT_EQ(UnixPath(name), Path("sub/name.jpg")) << "still the old name";
  EXPECT_TRUE(XFileName(Path("sub/renamed").c_str()).DeleteFile());
  EXPECT_FALSE(fs::exists(Path("sub/renamed")));
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(XFileNameTest, LogsWhichCallFailed) {
  const XFileName missing(Path("missing").c_str());
  XFileName none;
  XFileName out;
  std::string text;
  OSType code = 0;
  LUTCDateTime time;
  LUnixPath path;
  LFSRef ref;
  LFSSpec spec;
  const auto last = [&] {
    const std::string line = Logged().empty() ? "(nothing)" : Logged().back();
    Forget();
    return line;
  };
  EXPECT_FALSE(none.ReplaceFolder(missing));
  EXPECT_EQ(last(), Line("fOk=m_filename.ReplaceFolder(new_folder.m_filename)", "ReplaceFolder"));
  EXPECT_FALSE(none.ReplaceJustName(""));
  EXPECT_EQ(last(), Line("fOk=m_filename.ReplaceJustName(in_justname)", "ReplaceJustName"));
  EXPECT_FALSE(none.ReplaceExtension("x"));
  EXPECT_EQ(last(), Line("fOk=m_filename.ReplaceExtension(in_extension)", "ReplaceExtension"));
  EXPECT_FALSE(none.AddExtension("x"));
  EXPECT_EQ(last(), Line("fOk=m_filename.AddExtension(in_extension)", "AddExtension"));
  EXPECT_FALSE(none.GetParentFolder(out));
  EXPECT_EQ(last(), Line("fOk=m_filename.GetParentFolder(out_parent_folder.m_filename)",
                         "GetParentFolder"));
  EXPECT_FALSE(none.GetJustName(text));
  EXPECT_EQ(last(), Line("fOk=m_filename.GetJustName(out_justname)", "GetJustName"));
  EXPECT_FALSE(missing.GetFileTypeCreator(code, code));
  EXPECT_EQ(last(), Line("fOk=m_filename.GetFileTypeCreator(out_filetype,out_creator)",
                         "GetFileTypeCreator"));
  EXPECT_FALSE(missing.SetFileTypeCreator(code, code));
  EXPECT_EQ(last(), Line("fOk=m_filename.SetFileTypeCreator(in_filetype,in_creator)",
                         "SetFileTypeCreator"));
  EXPECT_FALSE(missing.GetDateTimeCreated(time));
  EXPECT_EQ(last(), Line("fOk=m_filename.GetDateTimeCreated(out_time)", "GetDateTimeCreated"));
  EXPECT_FALSE(missing.GetDateTimeModified(time));
  EXPECT_EQ(last(), Line("fOk=m_filename.GetDateTimeModified(out_time)", "GetDateTimeModified"));
  EXPECT_FALSE(none.GetUnixPath(text));
  EXPECT_EQ(last(), Line("fOk=m_filename.GetUnixPath(out_path)", "GetUnixPath"));
  EXPECT_FALSE(none.GetUnixPath(path));
  EXPECT_EQ(last(), Line("fOk=m_filename.GetUnixPath(out_path)", "GetUnixPath"));
  EXPECT_FALSE(missing.FileExists());
  EXPECT_EQ(last(), Line("fOk=m_filename.FileExists()", "FileExists"));
  EXPECT_FALSE(missing.RenameFile("x"));
  EXPECT_EQ(last(), Line("fOk=non_const.RenameFile(in_name)", "RenameFile"));
  EXPECT_FALSE(missing.DeleteFile());
  EXPECT_EQ(last(), Line("fOk=non_const.FileDelete()", "DeleteFile"));
  EXPECT_FALSE(none.GetSystemRepresentation(spec));
  EXPECT_EQ(last(), Line("fOk=m_filename.GetFileSpec(out)", "GetSystemRepresentation"));
  EXPECT_FALSE(none.GetSystemRepresentation(ref));
  EXPECT_EQ(last(), Line("fOk=out.Construct(m_filename,false)", "GetSystemRepresentation"));
  EXPECT_FALSE(missing.IsOlderThan(none));
  EXPECT_EQ(last(), Line("GetDateTimeModified(our_time) && rhs.GetDateTimeModified(their_time)",
                         "IsOlderThan"));
  EXPECT_FALSE(missing.IsNewerThan(none));
  EXPECT_EQ(last(), Line("GetDateTimeModified(our_time) && rhs.GetDateTimeModified(their_time)",
                         "IsNewerThan"));
  EXPECT_EQ(none.fopen("r"), nullptr);
  EXPECT_EQ(last(), Line("GetSystemRepresentation(theSpec)", "fopen"));
  EXPECT_EQ(missing.fopen("r"), nullptr);
  EXPECT_EQ(last(), Line("file = MAC_fopen(theSpec,open_mode,'BINA','BINA')", "fopen"));
}

TEST_F(XFileNameTest, NamesTheLastOneAsked) {
  const XFileName a(Path("a").c_str());
  const XFileName b(Path("b").c_str());
  const char* const first = a.NameOf();
  EXPECT_EQ(first, Path("a"));
  const char* const second = b.NameOf();
  EXPECT_EQ(second, Path("b"));
  EXPECT_THAT(second, StrEq(std::string(a.NameOf()) == Path("a") ? Path("a") : ""))
      << "one buffer for both";
  EXPECT_STREQ(XFileName().NameOf(), "");
}

TEST_F(XFileNameTest, ComparesDates) {
  test::WriteFile(Path("old"), "x");
  test::WriteFile(Path("new"), "x");
  SetModified("old", -100);
  SetModified("new", -10);
  const XFileName older(Path("old").c_str());
  const XFileName newer(Path("new").c_str());
  EXPECT_TRUE(older.IsOlderThan(newer));
  EXPECT_FALSE(older.IsNewerThan(newer));
  EXPECT_TRUE(newer.IsNewerThan(older));
  EXPECT_FALSE(newer.IsOlderThan(older));
  fs::last_write_time(Path("new"), fs::last_write_time(Path("old")));
  EXPECT_FALSE(older.IsOlderThan(newer));
  EXPECT_FALSE(older.IsNewerThan(newer));
  EXPECT_THAT(Logged(), IsEmpty());
}

TEST_F(XFileNameTest, OpensBinaryFiles) {
  const XFileName name(Path("new").c_str());
  std::FILE* file = name.fopen("wb");
  ASSERT_NE(file, nullptr);
  std::fclose(file);
  OSType type = 0;
  OSType creator = 0;
  EXPECT_TRUE(name.GetFileTypeCreator(type, creator));
  EXPECT_EQ(type, OSType{'BINA'});
  EXPECT_EQ(creator, OSType{'BINA'});
  EXPECT_THAT(Logged(), IsEmpty());
}

}  // namespace
