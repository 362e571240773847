#include "hosts/lumivane/VideoPicture.h"

#include <cstring>

#include "platform/QuickTime/QuickTime.h"
#include "sdk/QClasses/QImageSequence.h"

namespace lumivane {
namespace {

Q_2vuy_format FormatOf(int width, int height) {
  Q_2vuy_format format;
  format._Width = static_cast<SInt16>(EvenWidth(width));
  format._Height = static_cast<SInt16>(height);
  format._RowBytes = VideoRowBytes(width);
  return format;
}

/// The frame's description with everything a decompressor has to know, disposed of at the end.
class Description {
 public:
  Description(const Q_2vuy_data& video, VideoMatrix matrix) {
    if (!video.GetImageDescription(description_)) return;
    const SInt32 rowBytes = video._RowBytes;
    const UInt16 code = matrix == VideoMatrix::k709 ? 1 : 6;
    const NCLCColorInfoImageDescriptionExtension colour = {'nclc', code, 1, code};
    ok_ = Set(kICMImageDescriptionPropertyID_RowBytes, sizeof(rowBytes), &rowBytes) &&
          Set(kICMImageDescriptionPropertyID_NCLCColorInfo, sizeof(colour), &colour);
  }
  ~Description() {
    if (description_.GetHandle() != nullptr) {
      DisposeHandle(reinterpret_cast<Handle>(description_.GetHandle()));
    }
  }
  Description(const Description&) = delete;
  Description& operator=(const Description&) = delete;
  ImageDescriptionHandle get() const { return ok_ ? description_.GetHandle() : nullptr; }

 private:
  bool Set(ComponentPropertyID id, ByteCount size, const void* value) {
    return ICMImageDescriptionSetProperty(description_.GetHandle(),
                                          kQTPropertyClass_ImageDescription, id, size,
                                          value) == noErr;
  }

  QImageDescription description_;
  bool ok_ = false;
};

ArgbPicture Decompress(const Q_2vuy_data& video, VideoMatrix matrix) {
  constexpr SInt16 kCopyMode = 0;
  constexpr UInt32 kHighestQuality = 0x3FF;
  ArgbPicture picture(video._Width, video._Height);
  QGWorld world;
  const Description description(video, matrix);
  if (description.get() == nullptr || !picture.MakeWorld(world)) return {};
  const Rect bounds = {0, 0, video._Height, video._Width};
  MatrixRecord geometry;
  RectMatrix(&geometry, &bounds, &bounds);
  QImageSequence sequence;
  const bool ok = sequence.DecompressSequenceBegin(description.get(), world, nullptr, nullptr,
                                                   &geometry, kCopyMode, nullptr, 0,
                                                   kHighestQuality, bestFidelityCodec) == noErr &&
                  sequence.DecompressSequenceFrameS(reinterpret_cast<char*>(video._PixelData),
                                                    static_cast<SInt32>(video._PixelDataSize), 0,
                                                    nullptr, nullptr) == noErr;
  sequence.CDSequenceEnd();
  return ok ? std::move(picture) : ArgbPicture();
}

}  // namespace

bool MakeContext(const ArgbPicture& picture, CoreGraphics::BitmapContext& context) {
  if (!context.Construct(EvenWidth(picture.width), picture.height,
                         CoreGraphics::BitmapContext::BitmapType_Device_ARGB,
                         static_cast<UInt32>(picture.rowBytes))) {
    return false;
  }
  const std::size_t bytes = 4 * static_cast<std::size_t>(picture.width);
  for (int y = 0; y < picture.height; ++y) {
    unsigned char* const row = context.QDGetStartOfScanline(y);
    std::memcpy(row, picture.Row(y), bytes);
    if (picture.width % 2 != 0) std::memcpy(row + bytes, row + bytes - 4, 4);
  }
  return true;
}

ArgbPicture PictureFrom(const CoreGraphics::BitmapContext& context) {
  ArgbPicture picture(static_cast<int>(context.GetImageWidth()),
                      static_cast<int>(context.GetImageHeight()));
  const UInt32 pixelBytes = context.GetImageBytesPerPixel();
  for (int y = 0; y < picture.height; ++y) {
    const unsigned char* from = context.QDGetStartOfScanline(y);
    std::uint8_t* to = picture.Row(y);
    if (pixelBytes == 4) {
      std::memcpy(to, from, 4 * static_cast<std::size_t>(picture.width));
      continue;
    }
    for (int x = 0; x < picture.width; ++x, to += 4) {
      to[0] = 255;
      to[1] = to[2] = to[3] = from[x];
    }
  }
  return picture;
}

bool MakeVideo(int width, int height, Q_2vuy_buffer& video) {
  return video.AllocateBuffer(FormatOf(width, height));
}

bool MakeVideo(const ArgbPicture& picture, Q_2vuy_buffer& video) {
  CoreGraphics::BitmapContext context;
  if (!MakeContext(picture, context) || !MakeVideo(picture.width, picture.height, video)) {
    return false;
  }
  video.CopyPixelsFrom(context, false);
  return true;
}

ArgbPicture PictureFrom(const Q_2vuy_data& video, int width, const VideoToRgb& conversion) {
  ArgbPicture picture;
  if (conversion.toolkitRule) {
    CoreGraphics::BitmapContext context;
    if (!context.Construct(video._Width, video._Height,
                           CoreGraphics::BitmapContext::BitmapType_Device_ARGB, 0) ||
        !video.CopyPixelsTo(context)) {
      return {};
    }
    picture = PictureFrom(context);
  } else {
    picture = Decompress(video, conversion.matrix);
  }
  // Rows have room for whole pairs at any width.
  if (!picture.empty()) picture.width = width;
  return picture;
}

}  // namespace lumivane
