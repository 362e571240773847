#include "CICameraGen/CICameraGenerator.h"

#include <new>

#include "CICameraGen/SharedCameraBundle.h"
#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/QClasses/Q_2vuy_data.h"

NS_REGISTER_CLASS(CILumivaneInput)

namespace {

constexpr int kRasterWidth = 640;
constexpr int kRasterHeight = 480;
constexpr UInt32 kStructSize = sizeof(tagSHARED_CAMERA_BUFFER);

// The first kernel of the plug-in's kernel resource: loaded by the process's first filter, applied
// by none. Lives as long as the module.
class KeptKernel {
 public:
  ~KeptKernel() { NSRelease(kernel_); }
  bool IsLoaded() const { return kernel_ != nullptr; }
  void Load() {
    NSBundle* const bundle = NSBundle::bundleForClass(NSClassFromString(CFSTR("CILumivaneInput")));
    if (bundle == nullptr) return;
    NSString* const path = bundle->pathForResourceofType(CFSTR("CIKernel"), CFSTR("cikernel"));
    NSArray* const kernels = CIKernel::kernelsWithString(NSString_stringWithContentsOfFile(path));
    if (kernels == nullptr || CFArrayGetCount(kernels) == 0) return;
    kernel_ = NSRetain(static_cast<const CIKernel*>(CFArrayGetValueAtIndex(kernels, 0)));
  }

 private:
  const CIKernel* kernel_ = nullptr;
};

KeptKernel _UnusedFilterKernel;

// The no-camera picture, one reference for the caller; null when any step fails.
CIImage* NewNoCameraImage() {
  NSBundle* const bundle = NSBundle::bundleWithIdentifier(CFSTR("org.lumivane.CILumivaneInput"));
  if (bundle == nullptr) return nullptr;
  NSString* const path = bundle->pathForImageResource(CFSTR("CILumivaneInput"));
  NSData* const data = NSData_dataWithContentsOfFile(path);
  return data == nullptr ? nullptr : NSRetain(CIImage::imageWithData(data));
}

}  // namespace

CGImageRef CGImageRefFrom_ARGB_CameraBuffer(const tagSHARED_CAMERA_BUFFER& camera) {
  constexpr std::size_t kImageBitsPerComponent = 8;
  const std::size_t mImageBitsPerPixel = 32;
  const CGBitmapInfo mImageBitmapInfo = kCGImageAlphaPremultipliedFirst;
  const bool fShouldInterpolate = true;
  const CGColorRenderingIntent renderingIntent = kCGRenderingIntentDefault;

  if (camera.frameBufferPtr == 0) return nullptr;
  CGDataProviderRef const dataProvider = CGDataProviderCreateWithData(
      nullptr, LumivaneCamera_GetPixels(&camera), camera.dataSize, nullptr);
  if (dataProvider == nullptr) return nullptr;

  // Not released: one reference per frame stays behind, of the one object all images share.
  CGColorSpaceRef const mImageColorspace = CGColorSpaceCreateDeviceRGB();
  const std::size_t mImageRowBytes = camera.rowBytes;
  CGImageRef imageRef = nullptr;
  VERIFY_AT(133, imageRef = CGImageCreate(camera.frameWidth, camera.frameHeight, kImageBitsPerComponent, mImageBitsPerPixel, mImageRowBytes, mImageColorspace, mImageBitmapInfo, dataProvider, NULL, fShouldInterpolate, renderingIntent));
  CGDataProviderRelease(dataProvider);
  return imageRef;
}

CILumivaneInput::CILumivaneInput() {
  exposeVariable("inputClock", &inputClock);
}

id CILumivaneInput::init() {
  // What is only looked at here goes here, also in hosts that have no pool yet.
  const NSAutoreleasePool pool;
  id const self = CIFilter::init();
  if (!_UnusedFilterKernel.IsLoaded()) _UnusedFilterKernel.Load();
  if (self == nullptr) return nullptr;

  _bitmapContext = new (std::nothrow) CoreGraphics::BitmapContext;
  if (_bitmapContext != nullptr) {
    _bitmapContext->Construct(kRasterWidth, kRasterHeight,
                              CoreGraphics::BitmapContext::BitmapType_Device_ARGB, 0);
  }

  // Loads the component early. Only the size is set: what else the record holds is the component's.
  tagSHARED_CAMERA_BUFFER camera;
  camera.structSize = kStructSize;
  if (SharedCameraBundle::sComponent.__GetCurrentReadBuffer(&camera) != 0) {
    VERIFY_IN("-[CILumivaneInput init]", 46, "camera.frameBufferPtr", camera.frameBufferPtr);
  }

  _noCameraImage = NewNoCameraImage();
  return self;
}

void CILumivaneInput::dealloc() {
  NSRelease(_noCameraImage);
  _noCameraImage = nullptr;
  delete _decompress_2vuy_to_ARGB;
  _decompress_2vuy_to_ARGB = nullptr;
  delete _bitmapContext;
  _bitmapContext = nullptr;
  CIFilter::dealloc();
}

NSDictionary* CILumivaneInput::customAttributes() {
  const CFTypeRef keys[] = {
      kCIAttributeMin,     kCIAttributeSliderMin, kCIAttributeSliderMax,
      kCIAttributeDefault, kCIAttributeIdentity,  kCIAttributeType,
  };
  const CFTypeRef values[] = {
      NSNumber_numberWithDouble(0.0), NSNumber_numberWithDouble(0.0),
      NSNumber_numberWithDouble(1.0), NSNumber_numberWithDouble(0.5),
      NSNumber_numberWithDouble(0.0), kCIAttributeTypeDistance,
  };
  static_assert(std::size(keys) == std::size(values));
  const CFTypeRef inputs[] = {CFSTR("inputClock")};
  const CFTypeRef descriptions[] = {
      NSDictionary_dictionaryWithObjectsforKeyscount(values, keys, std::size(keys)),
  };
  return NSDictionary_dictionaryWithObjectsforKeyscount(descriptions, inputs, std::size(inputs));
}

CGRect CILumivaneInput::regionOfdestRectuserInfo(int, CGRect destRect, id) {
  return destRect;
}

CIImage* CILumivaneInput::outputImage() {
  if (_bitmapContext == nullptr || !_bitmapContext->IsConstructed()) return nullptr;

  tagSHARED_CAMERA_BUFFER camera = {};
  camera.structSize = kStructSize;
  CGImageRef quartzImage = nullptr;
  if (SharedCameraBundle::sComponent.__GetCurrentReadBuffer(&camera) != 0) {
    quartzImage = camera.pixelFormat == LUMIVANE_CAMERA_FORMAT_2VUY
                      ? quartzImageFrom_2vuy_CameraBuffer(camera)
                      : CGImageRefFrom_ARGB_CameraBuffer(camera);
  }
  // The extra reference is part of what hosts get.
  if (quartzImage == nullptr) return NSRetain(_noCameraImage);

  CIImage* outputImage = nullptr;
  VERIFY_IN("-[CILumivaneInput outputImage]", 251,
            "outputImage = [CIImage imageWithCGImage:quartzImage]",
            outputImage = CIImage::imageWithCGImage(quartzImage));
  CGImageRelease(quartzImage);
  return outputImage;
}

CGImageRef CILumivaneInput::quartzImageFrom_2vuy_CameraBuffer(
    const tagSHARED_CAMERA_BUFFER& camera) {
  if (camera.frameBufferPtr == 0 || _bitmapContext == nullptr) return nullptr;

  char* const pixels = static_cast<char*>(const_cast<void*>(LumivaneCamera_GetPixels(&camera)));
  QImageDescription description;
  Q_2vuy_data frame;
  frame._Width = camera.frameWidth;
  frame._Height = camera.frameHeight;
  frame._RowBytes = 2 * camera.frameWidth;
  frame._PixelFormat = LUMIVANE_CAMERA_FORMAT_2VUY;
  frame._PixelData = reinterpret_cast<unsigned char*>(pixels);
  frame._PixelDataSize = camera.dataSize;
  if (!frame.GetImageDescription(description)) return nullptr;

  // Begun once. A sequence whose begin failed stays as it is, and every frame fails with it.
  if (_decompress_2vuy_to_ARGB == nullptr) open_2vuy_ARGB_Decompressor(description);
  if (_decompress_2vuy_to_ARGB == nullptr) return nullptr;
  if (!_decompress_2vuy_to_ARGB->IsConstructed()) return nullptr;

  const OSErr error = _decompress_2vuy_to_ARGB->DecompressSequenceFrameS(
      pixels, static_cast<SInt32>(frame._PixelDataSize), 0, nullptr, nullptr);
  return error == noErr ? _bitmapContext->ConstructCGImage() : nullptr;
}

SInt32 CILumivaneInput::open_2vuy_ARGB_Decompressor(QImageDescription& description) {
  constexpr SInt16 kCopyMode = 0;
  constexpr UInt32 kHighestQuality = 0x3FF;

  if (_decompress_2vuy_to_ARGB == nullptr) {
    _decompress_2vuy_to_ARGB = new (std::nothrow) QImageSequence;
  }
  if (_decompress_2vuy_to_ARGB == nullptr) return noErr;
  _decompress_2vuy_to_ARGB->DisposeIF();

  const Rect source = {0, 0, kRasterHeight, kRasterWidth};
  const Rect destination = {0, 0, static_cast<SInt16>(_bitmapContext->GetImageHeight()),
                            static_cast<SInt16>(_bitmapContext->GetImageWidth())};
  MatrixRecord matrix;
  RectMatrix(&matrix, &source, &destination);
  return _decompress_2vuy_to_ARGB->DecompressSequenceBegin(
      description.GetHandle(), _bitmapContext->GetGWorld(), nullptr, nullptr, &matrix, kCopyMode,
      nullptr, 0, kHighestQuality, bestFidelityCodec);
}
