#include "sdk/QClasses/QImageDescription.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/CoreServices/MacMemory.h"
#include "platform/QuickDraw/QuickDraw.h"
#include "tests/support/LogCapture.h"

namespace {

using Lines = std::vector<std::string>;

std::string Failed(const std::string& code, const std::string& function) {
  return test::AnyLineNumber(test::VerifyLine(code, "sdk/QClasses/QImageDescription", 1, function));
}
std::string FailedErr(int error, const std::string& code, const std::string& function) {
  return test::AnyLineNumber(
      test::VerifyErrLine(error, code, "sdk/QClasses/QImageDescription", 1, function));
}

class ImageDescriptionWrapper : public testing::Test {
 protected:
  void SetUp() override { handles_ = MacMemoryGetCounters().handles; }
  void TearDown() override { EXPECT_EQ(MacMemoryGetCounters().handles, handles_); }
  Lines Logged() {
    const Lines lines = test::AnyLineNumbers(log_.Lines());
    log_.Clear();
    return lines;
  }
  static ImageDescriptionHandle NewDescription(OSType type, SInt16 width, SInt16 height,
                                               SInt32 dataSize) {
    ImageDescriptionHandle d = nullptr;
    MakeImageDescriptionForEffect(type, &d);
    (*d)->width = width;
    (*d)->height = height;
    (*d)->dataSize = dataSize;
    return d;
  }
  static void Dispose(ImageDescriptionHandle d) { DisposeHandle(reinterpret_cast<Handle>(d)); }

  test::LogCapture log_;
  SInt64 handles_ = 0;
};

TEST_F(ImageDescriptionWrapper, EmptyObjectsAnswerZero) {
  const QImageDescription d;
  EXPECT_FALSE(d.IsConstructed());
  EXPECT_FALSE(d.OwnsHandle());
  EXPECT_EQ(d.Width(), 0);
  EXPECT_EQ(d.Height(), 0);
  EXPECT_EQ(d.GetPixelFormat(), 0u);
  EXPECT_EQ(d.Dimensions(), QPoint(0, 0));
  Rect r{1, 2, 3, 4};
  EXPECT_FALSE(d.GetBounds(r));
  EXPECT_EQ(QRect(r), QRect());
  EXPECT_EQ(Logged(), Lines{});
  EXPECT_EQ(d.DataSize(), 0);
  EXPECT_EQ(Logged(), Lines{Failed("mHandle", "DataSize")});
  EXPECT_EQ(d.BitDepth(), 0);
  EXPECT_EQ(Logged(), Lines{Failed("mHandle", "BitDepth")});
  QImageDescription e;
  EXPECT_FALSE(e.SetWidthHeight(1, 2));
  EXPECT_FALSE(e.SetWidthHeight(Point{1, 2}));
  EXPECT_EQ(Logged(),
            (Lines{Failed("mHandle", "SetWidthHeight"), Failed("mHandle", "SetWidthHeight")}));
}

TEST_F(ImageDescriptionWrapper, OwnershipOfHandles) {
  const ImageDescriptionHandle h = NewDescription('2vuy', 720, 486, 0);
  {
    QImageDescription borrowed(h);
    EXPECT_EQ(borrowed.GetHandle(), h);
    EXPECT_FALSE(borrowed.OwnsHandle());
  }
  EXPECT_TRUE(IsHandleValid(reinterpret_cast<Handle>(h)));
  {
    QImageDescription owner;
    EXPECT_TRUE(owner.Construct(h, true));
    EXPECT_TRUE(owner.OwnsHandle());
    EXPECT_EQ(owner.Dimensions(), QPoint(720, 486));
    Rect r;
    EXPECT_TRUE(owner.GetBounds(r));
    EXPECT_EQ(QRect(r), QRect(0, 0, 486, 720));
    EXPECT_EQ(owner.GetPixelFormat(), UInt32{'2vuy'});
    EXPECT_EQ(owner.BitDepth(), 0);
    EXPECT_TRUE(owner.SetWidthHeight(Point{10, 20}));
    EXPECT_EQ(owner.Width(), 20);
    EXPECT_EQ(owner.Height(), 10);
    EXPECT_TRUE(owner.SetWidthHeight(7, 8));
    EXPECT_EQ(owner.Dimensions(), QPoint(7, 8));
    EXPECT_TRUE(owner.Construct('yuvs')) << "lets go of the first";
    EXPECT_EQ(MacMemoryGetCounters().handles, handles_ + 1);
    EXPECT_FALSE(owner.Construct(nullptr, true));
    EXPECT_FALSE(owner.OwnsHandle());
  }
  EXPECT_EQ(Logged(), Lines{Failed("mHandle = hImageDescription", "Construct")});
}

TEST_F(ImageDescriptionWrapper, ConstructorsReportTheirFailures) {
  const QImageDescription fromNull(static_cast<ImageDescriptionHandle>(nullptr));
  EXPECT_EQ(Logged(), (Lines{Failed("mHandle = hImageDescription", "Construct"),
                             Failed("Construct(hImageDescription)", "QImageDescription")}));
  const QImageDescription fromEffect(UInt32{0});
  EXPECT_EQ(Logged(), (Lines{FailedErr(-50, "err", "Construct"),
                             Failed("Construct(EffectType)", "QImageDescription")}));
  const QImageDescription fromPixMap(static_cast<PixMapHandle>(nullptr));
  EXPECT_EQ(Logged(), (Lines{FailedErr(-50, "err", "Construct"),
                             Failed("Construct(hPixMap)", "QImageDescription")}));
  const QImageDescription copy(fromNull);
  EXPECT_EQ(Logged(), (Lines{Failed("hImageDescription", "ConstructCopy"),
                             Failed("ConstructCopy(copyOf.mHandle)", "QImageDescription")}));
  QImageDescription assigned;
  assigned = fromNull;
  EXPECT_EQ(Logged(), (Lines{Failed("hImageDescription", "ConstructCopy"),
                             Failed("ConstructCopy(copyOf.mHandle)", "operator=")}));
  char* foreign = nullptr;
  EXPECT_FALSE(assigned.ConstructCopy(reinterpret_cast<ImageDescriptionHandle>(&foreign)));
  EXPECT_EQ(Logged(), Lines{FailedErr(memWZErr, "HandToHand(&hCopy)", "ConstructCopy")});
}

TEST_F(ImageDescriptionWrapper, CopiesOutliveBothObjects) {
  ImageDescriptionHandle copied = nullptr;
  ImageDescriptionHandle assigned = nullptr;
  {
    QImageDescription original(UInt32{'2vuy'});
    EXPECT_TRUE(original.OwnsHandle());
    original.SetWidthHeight(3, 4);
    const QImageDescription copy(original);
    QImageDescription other(UInt32{'yuvs'});
    other = copy;
    copied = copy.GetHandle();
    assigned = other.GetHandle();
    EXPECT_NE(copied, original.GetHandle());
    EXPECT_NE(copied, assigned);
    EXPECT_FALSE(copy.OwnsHandle());
    EXPECT_FALSE(other.OwnsHandle());
  }
  EXPECT_EQ((*copied)->width, 3);
  EXPECT_EQ((*assigned)->height, 4);
  EXPECT_EQ(MacMemoryGetCounters().handles, handles_ + 2) << "the two copies stay behind";
  Dispose(copied);
  Dispose(assigned);
}

TEST_F(ImageDescriptionWrapper, PixelMapsGetTheirRowBytesInTheMachinesOrder) {
  const Rect bounds{0, 0, 20, 320};
  GWorldPtr world = nullptr;
  ASSERT_EQ(QTNewGWorld(&world, 32, &bounds, nullptr, nullptr, 0), noErr);
  QImageDescription d(GetGWorldPixMap(world));
  EXPECT_TRUE(d.OwnsHandle());
  EXPECT_EQ(d.GetPixelFormat(), 32u);
  EXPECT_EQ(d.BitDepth(), 32);
  EXPECT_EQ(d.DataSize(), 1280 * 20);
  Handle raw = nullptr;
  ASSERT_EQ(d.GetImageDescriptionExtension(raw, 'rowb', 1), noErr);
  SInt32 stored = 0;
  ASSERT_EQ(GetHandleSize(raw), 4);
  std::memcpy(&stored, *raw, 4);
  EXPECT_EQ(stored, 1280);
  DisposeHandle(raw);
  SInt32 rowBytes = 0;
  EXPECT_TRUE(d.GetExtension_rowb(rowBytes, 1));
  EXPECT_EQ(rowBytes, 0x00050000) << "read as big-endian";
  DisposeGWorld(world);

  ASSERT_EQ(QTNewGWorld(&world, '2vuy', &bounds, nullptr, nullptr, 0), noErr);
  EXPECT_TRUE(d.Construct(GetGWorldPixMap(world)));
  EXPECT_EQ(d.GetImageDescriptionExtension(raw, 'rowb', 1), -8971) << "can be calculated";
  EXPECT_TRUE(d.GetExtension_rowb(rowBytes, 1));
  EXPECT_EQ(rowBytes, 640);
  DisposeGWorld(world);
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(ImageDescriptionWrapper, RowBytesAreCalculatedForPackedVideo) {
  struct Case {
    OSType type;
    SInt16 width;
    SInt16 height;
    SInt32 dataSize;
    SInt32 rowBytes;  ///< -1: not calculated
  };
  const Case cases[] = {{'2vuy', 720, 486, 0, 1440},
                        {'2vuy', 720, 1152, 1658880, 1440},
                        {'yuvs', 720, 486, 486 * 1500, 1500},
                        {'yuvu', 16, 2, 0, 32},
                        {'UYVY', 16, 2, 70, 35},
                        {'YVYU', 16, 2, -70, -35},
                        {'2vuy', 16, 0, 70, 32},
                        {'2vuy', 16, -1, -2147483647 - 1, -2147483647 - 1},
                        {'ARGB', 720, 486, 0, -1},
                        {32, 720, 486, 100, -1}};
  for (const Case& c : cases) {
    QImageDescription d;
    d.Construct(NewDescription(c.type, c.width, c.height, c.dataSize), true);
    SInt32 rowBytes = -1;
    EXPECT_EQ(d.CalculateExtension_rowb(rowBytes), c.rowBytes != -1) << c.type;
    EXPECT_EQ(rowBytes, c.rowBytes);
    rowBytes = -1;
    EXPECT_EQ(d.GetExtension_rowb(rowBytes, 1), c.rowBytes != -1);
    EXPECT_EQ(rowBytes, c.rowBytes);
  }
  EXPECT_EQ(Logged(), Lines{});
  const QImageDescription none;
  SInt32 rowBytes = 5;
  EXPECT_FALSE(none.CalculateExtension_rowb(rowBytes));
  EXPECT_EQ(rowBytes, 5);
  EXPECT_EQ(Logged(), Lines{Failed("mHandle", "DataSize")});
}

TEST_F(ImageDescriptionWrapper, AddExtensionRowb) {
  QImageDescription video;
  video.Construct(NewDescription('2vuy', 10, 10, 0), true);
  EXPECT_TRUE(video.AddExtension_rowb(99));
  EXPECT_EQ((*video.GetHandle())->idSize, 86) << "adds nothing that can be calculated";
  QImageDescription argb;
  argb.Construct(NewDescription(32, 10, 10, 0), true);
  SInt32 rowBytes = 7;
  EXPECT_FALSE(argb.GetExtension_rowb(rowBytes, 1));
  EXPECT_EQ(rowBytes, 7);
  EXPECT_TRUE(argb.AddExtension_rowb(0x01020304));
  EXPECT_TRUE(argb.AddExtension_rowb(55)) << "there already";
  EXPECT_EQ(
      std::memcmp(reinterpret_cast<char*>(*argb.GetHandle()) + 86, "\0\0\0\x0Crowb\1\2\3\4", 12),
      0);
  EXPECT_EQ((*argb.GetHandle())->idSize, 98);
  EXPECT_TRUE(argb.GetExtension_rowb(rowBytes, 1));
  EXPECT_EQ(rowBytes, 0x01020304);
  EXPECT_EQ(Logged(), Lines{});
  QImageDescription none;
  EXPECT_FALSE(none.AddExtension_rowb(1));
  EXPECT_EQ(
      Logged(),
      (Lines{Failed("mHandle", "GetImageDescriptionExtension"), Failed("mHandle", "DataSize"),
             FailedErr(-50, "err=::AddImageDescriptionExtension(mHandle, extension, idType )",
                       "AddImageDescriptionExtension"),
             FailedErr(-50, "err = AddImageDescriptionExtension(hExtension, idType)",
                       "AddImageDescriptionExtension"),
             FailedErr(-50, "err=AddExtension(long_value, idType)",
                       "AddImageDescriptionExtension_S32"),
             FailedErr(-50, "AddImageDescriptionExtension_S32(rowBytes, FOUR_CHAR_CODE('rowb'))",
                       "AddExtension_rowb")}));
}

TEST_F(ImageDescriptionWrapper, AddErrors) {
  QImageDescription d(UInt32{'2vuy'});
  EXPECT_EQ(d.AddImageDescriptionExtension(nullptr, 'test'), -50);
  EXPECT_EQ(Logged(), Lines{Failed("extension!=nil", "AddImageDescriptionExtension")});
  const Handle h = NewHandle(2);
  EXPECT_EQ(d.AddImageDescriptionExtension(h, 0), -50);
  EXPECT_EQ(Logged(), Lines{}) << "type 0 is refused silently here";
  DisposeHandle(h);
  EXPECT_EQ(d.AddImageDescriptionExtension("ab", 2, 0), -50);
  EXPECT_EQ(Logged(), Lines{Failed("idType!=kInvalidTypeId", "AddImageDescriptionExtension")});
  EXPECT_EQ(d.AddImageDescriptionExtension(nullptr, 2, 'test'), -50);
  EXPECT_EQ(Logged(), Lines{FailedErr(-50, "err = ::PtrToHand(in_data, &hExtension, in_data_size )",
                                      "AddImageDescriptionExtension")});
  EXPECT_EQ(d.AddImageDescriptionExtension("ab", 0xFFFFFFFFu, 'test'), -50);
  EXPECT_EQ(Logged().size(), 1u);
  EXPECT_EQ(d.AddImageDescriptionExtension_U32(1, 0), -50);
  EXPECT_EQ(Logged(), (Lines{Failed("idType!=kInvalidTypeId", "AddImageDescriptionExtension"),
                             FailedErr(-50, "err=AddExtension(ulong_value, idType)",
                                       "AddImageDescriptionExtension_U32")}));
  EXPECT_EQ((*d.GetHandle())->idSize, 86);
}

TEST_F(ImageDescriptionWrapper, NumbersAreBigEndian) {
  QImageDescription d(UInt32{'2vuy'});
  EXPECT_EQ(d.AddImageDescriptionExtension_S32(-2, 'sgnd'), noErr);
  EXPECT_EQ(d.AddImageDescriptionExtension_U32(0xFEDCBA98, 'cspc'), noErr);
  UInt8 raw[4];
  EXPECT_EQ(d.GetImageDescriptionExtension(raw, 4, 'sgnd', 1), noErr);
  EXPECT_EQ(std::memcmp(raw, "\xFF\xFF\xFF\xFE", 4), 0);
  SInt32 s = 0;
  UInt32 u = 0;
  EXPECT_EQ(d.GetImageDescriptionExtension_S32(s, 'sgnd', 1), noErr);
  EXPECT_EQ(s, -2);
  EXPECT_TRUE(d.GetExtension_cspc(u, 1));
  EXPECT_EQ(u, 0xFEDCBA98u);
  EXPECT_FALSE(d.GetExtension_cspc(u, 2));
  EXPECT_EQ(d.GetImageDescriptionExtension_U32(u, 'none', 1), -8971);
  EXPECT_EQ(u, 0u);
  EXPECT_EQ(Logged(), Lines{}) << "an absent extension is no failure";
}

TEST_F(ImageDescriptionWrapper, TypedGettersHandOverTheStoredBytes) {
  QImageDescription d(UInt32{'2vuy'});
  UInt8 bytes[32];
  for (int i = 0; i < 32; ++i) bytes[i] = static_cast<UInt8>(i + 1);
  d.AddImageDescriptionExtension(bytes, 4, 'gama');
  d.AddImageDescriptionExtension(bytes, 2, 'fiel');
  d.AddImageDescriptionExtension(bytes, 32, 'clap');
  d.AddImageDescriptionExtension(bytes, 8, 'pasp');
  d.AddImageDescriptionExtension(bytes, 10, 'nclc');
  SInt32 gamma = 0;
  FieldInfoImageDescriptionExtension2 fiel{};
  CleanApertureImageDescriptionExtension clap{};
  PixelAspectRatioImageDescriptionExtension pasp{};
  NCLCColorInfoImageDescriptionExtension nclc{};
  EXPECT_TRUE(d.GetExtension_gama(gamma, 1));
  EXPECT_EQ(std::memcmp(&gamma, bytes, 4), 0);
  EXPECT_TRUE(d.GetExtension(fiel, 1));
  EXPECT_EQ(std::memcmp(&fiel, bytes, 2), 0);
  EXPECT_TRUE(d.GetExtension(clap, 1));
  EXPECT_EQ(std::memcmp(&clap, bytes, 32), 0);
  EXPECT_TRUE(d.GetExtension(pasp, 1));
  EXPECT_EQ(std::memcmp(&pasp, bytes, 8), 0);
  EXPECT_TRUE(d.GetExtension(nclc, 1));
  EXPECT_EQ(std::memcmp(&nclc, bytes, 10), 0);
  EXPECT_FALSE(d.GetExtension(nclc, 2));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(&nclc), 10), std::string(10, '\0'))
      << "zeroed before the look-up";
  EXPECT_EQ(Logged(), Lines{});
}

TEST_F(ImageDescriptionWrapper, AnotherSizeCountsAsSuccessAndLeavesZeros) {
  QImageDescription d(UInt32{'2vuy'});
  d.AddImageDescriptionExtension("123456789", 9, 'pasp');
  PixelAspectRatioImageDescriptionExtension pasp{5, 6};
  EXPECT_TRUE(d.GetExtension(pasp, 1));
  EXPECT_EQ(pasp.hSpacing, 0u);
  EXPECT_EQ(pasp.vSpacing, 0u);
  EXPECT_EQ(Logged(),
            Lines{Failed("in_data_size==lock.HandleSizeBytes()", "GetImageDescriptionExtension")});
  d.AddImageDescriptionExtension("12", 2, 'rowb');
  SInt32 rowBytes = 9;
  EXPECT_TRUE(d.GetExtension_rowb(rowBytes, 1)) << "found, if of the wrong size";
  EXPECT_EQ(rowBytes, 0);
}

TEST_F(ImageDescriptionWrapper, GetErrors) {
  QImageDescription none;
  Handle out = reinterpret_cast<Handle>(&none);
  EXPECT_EQ(none.GetImageDescriptionExtension(out, 'test', 1), -50);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(Logged(), Lines{Failed("mHandle", "GetImageDescriptionExtension")});
  UInt32 word = 7;
  EXPECT_EQ(none.GetImageDescriptionExtension(&word, 4, 'test', 1), -50);
  EXPECT_EQ(word, 0u);
  EXPECT_EQ(Logged(), Lines{Failed("mHandle", "GetImageDescriptionExtension")});
  SInt32 type = 3;
  EXPECT_TRUE(none.GetNextExtensionType(type)) << "not to be looped on";
  EXPECT_EQ(Logged(), Lines{Failed("mHandle", "GetNextExtensionType")});
  EXPECT_TRUE(none.GetFirstExtensionType(type));
  EXPECT_EQ(type, 0);
  Logged();
  // A description that is damaged below its record.
  const ImageDescriptionHandle h = NewDescription('2vuy', 1, 1, 0);
  (*h)->idSize = 10;
  QImageDescription bad(h);
  EXPECT_EQ(bad.GetImageDescriptionExtension(out, 'test', 1), -50);
  EXPECT_EQ(Logged(), Lines{FailedErr(-50, "err", "GetImageDescriptionExtension")});
  EXPECT_FALSE(bad.GetFirstExtensionType(type));
  Dispose(h);
}

TEST_F(ImageDescriptionWrapper, WalksOverTheExtensionTypes) {
  QImageDescription d(UInt32{'2vuy'});
  SInt32 type = 1;
  EXPECT_FALSE(d.GetFirstExtensionType(type));
  EXPECT_EQ(type, 0);
  d.AddImageDescriptionExtension("a", 1, 'aaaa');
  d.AddImageDescriptionExtension("b", 1, 'bbbb');
  d.AddImageDescriptionExtension("a", 1, 'aaaa');
  EXPECT_TRUE(d.GetFirstExtensionType(type));
  EXPECT_EQ(type, SInt32{'aaaa'});
  EXPECT_TRUE(d.GetNextExtensionType(type));
  EXPECT_EQ(type, SInt32{'bbbb'});
  EXPECT_FALSE(d.GetNextExtensionType(type));
}

TEST_F(ImageDescriptionWrapper, DebugPrint) {
  QImageDescription none;
  none.CoreDebugPrint("nothing", 1);
  EXPECT_EQ(Logged(),
            (Lines{"QImageDescription: nothing (00000000)", Failed("mHandle", "CoreDebugPrint")}));
  QImageDescription d(UInt32{'2vuy'});
  ImageDescription& record = **d.GetHandle();
  record.width = 720;
  record.height = 486;
  record.depth = 24;
  record.dataRefIndex = 3;
  record.version = 2;
  record.revisionLevel = 1;
  record.spatialQuality = 1024;
  record.dataSize = 699840;
  char handle[32];
  std::snprintf(handle, sizeof(handle), "%08lx", reinterpret_cast<unsigned long>(d.GetHandle()));
  d.CoreDebugPrint(nullptr, 0);
  const Lines brief = {std::string("QImageDescription:  (") + handle + ")",
                       "ImageDescription.depth = 24", "ImageDescription.(width,height) = (720,486)",
                       "ImageDescription.cType (pixelFormat)= 0x32767579 '2vuy'"};
  EXPECT_EQ(Logged(), brief);

  d.AddImageDescriptionExtension("a", 1, 'fiel');
  d.AddImageDescriptionExtension("a", 1, 'pasp');
  std::memcpy((*d.GetHandle())->name, "\5Video", 6);
  d.CoreDebugPrint("x", 1);
  const Lines full = {std::string("QImageDescription: x (") + handle + ")",
                      "ImageDescription.name = Video",
                      "ImageDescription.depth = 24",
                      "ImageDescription.(width,height) = (720,486)",
                      "ImageDescription.cType (pixelFormat)= 0x32767579 '2vuy'",
                      "ImageDescription.resvd1=0 (0)",
                      "ImageDescription.resvd2=0 (0)",
                      "ImageDescription.dataRefIndex=3",
                      "ImageDescription.version= 2",
                      "ImageDescription.revisionLevel= 1",
                      "ImageDescription.vendor=0x6170706c 'appl'",
                      "ImageDescription.temporalQuality=512",
                      "ImageDescription.spatialQuality =1024",
                      "ImageDescription.hRes=4718592",
                      "ImageDescription.vRes=4718592",
                      "ImageDescription.dataSize=699840",
                      "ImageDescription.frameCount=1",
                      "ImageDescription.clutID=-1",
                      "ImageDescription.extension[00]=0x6669656c 'fiel'",
                      "ImageDescription.extension[01]=0x70617370 'pasp'"};
  EXPECT_EQ(Logged(), full);
  // A name length beyond the field is cut to it.
  (*d.GetHandle())->name[0] = 255;
  d.CoreDebugPrint("x", 0);
  EXPECT_EQ(Logged()[1], "ImageDescription.name = Video");
}

}  // namespace
