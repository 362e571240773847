#include "hosts/source/SharedSource.h"

#include <sys/stat.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <thread>

#include "components/camera_component.h"
#include "hosts/source/PlugInPlaces.h"
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreImage/CoreImage.h"
#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/Folders.h"
#include "platform/Foundation/Foundation.h"

namespace lumivane::source {
namespace {

using namespace std::chrono_literals;

// Pauses between two attempts, so that a host that renders a thousand frames a second does not
// fill the log with what it cannot have.
constexpr auto kPauseWithoutPlugIn = 1s;
constexpr auto kPauseWithoutComponent = 1s;
constexpr auto kPauseWithoutFrame = 20ms;
constexpr auto kPauseWhileOpening = 5ms;

constexpr char kFilterName[] = "CILumivaneInput";

/// Whether a file that may be a camera component lies in a components folder.
bool HasComponent() {
  for (const SInt16 domain : {kUserDomain, kSystemDomain, kLocalDomain}) {
    const std::string path =
        files::FolderPath(domain, kQuickTimeComponentsFolderType) + "/" LUMIVANE_CAMERA_BUNDLE_NAME;
    struct stat status;
    if (stat(path.c_str(), &status) == 0) return true;
  }
  return false;
}

/// Whether the component that the filter has loaded is opening its camera for the first time.
bool IsCameraOpening() {
  for (const SInt16 domain : {kUserDomain, kSystemDomain, kLocalDomain}) {
    const std::string path =
        files::FolderPath(domain, kQuickTimeComponentsFolderType) + "/" LUMIVANE_CAMERA_BUNDLE_NAME;
    const CFURLRef url = CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
        static_cast<CFIndex>(path.size()), 0);
    // Bundles are one per place in a process: this is the filter's.
    const CFBundleRef bundle = CFBundleCreate(kCFAllocatorDefault, url);
    CFRelease(url);
    if (bundle == nullptr) continue;
    LumivaneCameraStatus status = {};
    status.structSize = sizeof(status);
    bool known = false;
    if (CFBundleIsExecutableLoaded(bundle)) {
      using CopyStatus = std::int32_t (*)(LumivaneCameraStatus*);
      const auto copyStatus = reinterpret_cast<CopyStatus>(
          CFBundleGetFunctionPointerForName(bundle, CFSTR(LUMIVANE_CAMERA_STATUS_FUNCTION)));
      known = copyStatus != nullptr && copyStatus(&status) != 0;
    }
    CFRelease(bundle);
    if (known) return (status.flags & LUMIVANE_CAMERA_STATUS_OPENING) != 0;
  }
  return false;
}

/// How long the first picture waits at most.
std::chrono::duration<double> Patience() {
  constexpr double kUsual = 3;
  constexpr double kMost = 60;
  const char* const text = std::getenv("LUMIVANE_FIRST_PICTURE_WAIT");
  if (text == nullptr || *text == 0) return std::chrono::duration<double>(kUsual);
  char* end = nullptr;
  const double seconds = std::strtod(text, &end);
  const bool isNumber = end != text && *end == 0 && seconds >= 0;
  return std::chrono::duration<double>(isNumber ? std::min(seconds, kMost) : kUsual);
}

/// The log makes no folder for itself; one that cannot be made costs the log and nothing else.
void MakeLogFolder() {
  FSRef logs{};
  FSFindFolder(kUserDomain, kLogsFolderType, kCreateFolder, &logs);
}

CIPixelOrder OrderOf(std::int32_t order) {
  switch (order) {
    case LUMIVANE_SOURCE_ARGB:
      return CIPixelOrder::kARGB;
    case LUMIVANE_SOURCE_BGRA:
      return CIPixelOrder::kBGRA;
    default:
      return CIPixelOrder::kRGBA;
  }
}

bool IsUsable(const LumivaneSourceBitmap& bitmap) {
  return bitmap.pixels != nullptr && bitmap.width >= 1 &&
         bitmap.width <= LUMIVANE_SOURCE_MAX_SIDE && bitmap.height >= 1 &&
         bitmap.height <= LUMIVANE_SOURCE_MAX_SIDE &&
         bitmap.rowBytes >= 4 * static_cast<std::size_t>(bitmap.width) &&
         bitmap.rowBytes <= INT32_MAX;
}

std::uint8_t* RowOf(const LumivaneSourceBitmap& bitmap, std::uint32_t row) {
  return static_cast<std::uint8_t*>(bitmap.pixels) + row * bitmap.rowBytes;
}

/// The colours are premultiplied: with their alpha replaced they lie over black.
void MakeOpaque(const LumivaneSourceBitmap& bitmap) {
  const std::size_t alpha = bitmap.order == LUMIVANE_SOURCE_ARGB ? 0 : 3;
  for (std::uint32_t y = 0; y < bitmap.height; ++y) {
    std::uint8_t* const row = RowOf(bitmap, y);
    for (std::size_t x = 0; x < bitmap.width; ++x) row[4 * x + alpha] = 255;
  }
}

void Blacken(const LumivaneSourceBitmap& bitmap) {
  for (std::uint32_t y = 0; y < bitmap.height; ++y) {
    std::uint8_t* const row = RowOf(bitmap, y);
    std::fill(row, row + 4 * static_cast<std::size_t>(bitmap.width), std::uint8_t{0});
  }
}

}  // namespace

void SharedSource::ImageRelease::operator()(CIImage* image) const {
  image->release();
}

SharedSource& SharedSource::Shared() {
  static SharedSource& shared = *new SharedSource;
  return shared;
}

void SharedSource::Acquire() {
  const std::lock_guard guard(lock_);
  ++users_;
  if (filter_ == nullptr && !exiting_) Open();
}

void SharedSource::Release() {
  const std::lock_guard guard(lock_);
  if (users_ == 0) return;
  if (--users_ == 0 && !exiting_) Close();
}

bool SharedSource::Open() {
  const NSAutoreleasePool pool;
  lastOpening_ = Clock::now();
  MakeLogFolder();
  const CIPlugInStatus status = LoadPlugIn();
  error_ = status.error;
  if (!status.loaded) return false;
  CIFilter* const filter = CIFilter::filterWithName(CFSTR("CILumivaneInput"));
  if (filter == nullptr) {
    error_ = status.path + " registers no filter " + kFilterName;
    return false;
  }
  plugIn_ = status.path;
  filter_ = filter;
  filter_->retain();
  clock_ = NAN;
  lastAsked_ = {};
  awaited_ = false;
  return true;
}

void SharedSource::Close() {
  noCamera_.reset();
  if (filter_ == nullptr) return;
  {
    const NSAutoreleasePool pool;
    // The filter keeps its parameter's last value for good; taken back here, nothing stays behind.
    filter_->setValueforKey(nullptr, CFSTR("inputClock"));
    filter_->release();
    filter_ = nullptr;
  }
  // Unloads the camera too, which joins its threads. Where the program has filters of the plug-in
  // itself, both stay.
  CIPlugIn::unloadPlugIn(plugIn_, nullptr);
}

void SharedSource::Exit() {
  const std::lock_guard guard(lock_);
  exiting_ = true;
}

void SharedSource::StayFirstAtExit(const LumivaneSourceBitmap& bitmap) {
  constexpr int kMost = 256;
  const bool other = bitmap.width != lastWidth_ || bitmap.height != lastHeight_;
  lastWidth_ = bitmap.width;
  lastHeight_ = bitmap.height;
  const bool due = std::has_single_bit(++draws_);
  if ((!other && !due) || exitFunctions_ == kMost) return;
  ++exitFunctions_;
  std::atexit([] { Shared().Exit(); });
}

void SharedSource::SetClock(double clock) {
  if (clock == clock_) return;
  const CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &clock);
  filter_->setValueforKey(number, CFSTR("inputClock"));
  CFRelease(number);
  clock_ = clock;
}

bool SharedSource::IsTimeToAsk() const {
  if (!noCamera_) return true;
  const Clock::duration waited = Clock::now() - lastAsked_;
  if (waited >= kPauseWithoutComponent) return true;
  return waited >= kPauseWithoutFrame && HasComponent();
}

SharedSource::Answer SharedSource::Ask() {
  if (!IsTimeToAsk()) {
    noCamera_->retain();
    return {ImageHolder(noCamera_.get()), false};
  }
  lastAsked_ = Clock::now();
  CIImage* const image = filter_->outputImage();
  if (image == nullptr) {
    noCamera_.reset();
    return {};
  }
  // A camera's image is new and its one reference the pool's. The no-camera picture is the filter's
  // own, and handed out with one more reference that is nobody's: that one is taken over here.
  if (image->retainCount() == 1) {
    noCamera_.reset();
    image->retain();
    return {ImageHolder(image), true};
  }
  noCamera_.reset(image);
  image->retain();
  return {ImageHolder(image), false};
}

void SharedSource::AwaitCamera(std::unique_lock<std::mutex>& guard) {
  if (awaited_ || filter_ == nullptr || exiting_) return;
  const auto end = lastOpening_ + std::chrono::duration_cast<Clock::duration>(Patience());
  {
    // Asked for once, a component begins to open its camera.
    const NSAutoreleasePool pool;
    if (Ask().live) awaited_ = true;
  }
  while (!awaited_ && filter_ != nullptr && !exiting_ && Clock::now() < end && IsCameraOpening()) {
    guard.unlock();
    std::this_thread::sleep_for(kPauseWhileOpening);
    guard.lock();
  }
  awaited_ = true;
  // The next question is a fresh one.
  lastAsked_ = {};
}

std::int32_t SharedSource::Draw(const LumivaneSourceBitmap& bitmap) {
  if (!IsUsable(bitmap)) return LUMIVANE_SOURCE_NOTHING;
  std::unique_lock guard(lock_);
  std::int32_t shown = LUMIVANE_SOURCE_NOTHING;
  if (users_ > 0) AwaitCamera(guard);
  if (users_ > 0 && !exiting_) {
    const bool open =
        filter_ != nullptr || (Clock::now() - lastOpening_ >= kPauseWithoutPlugIn && Open());
    if (open) {
      const NSAutoreleasePool pool;
      SetClock(bitmap.clock);
      const Answer answer = Ask();
      const CIBitmap target{bitmap.pixels, bitmap.rowBytes, bitmap.width, bitmap.height,
                            OrderOf(bitmap.order)};
      const CIRenderMode mode = bitmap.placement == LUMIVANE_SOURCE_STRETCH
                                    ? CIRenderMode::kStretched
                                    : CIRenderMode::kFitted;
      if (answer.image && CIContext::context()->renderToBitmap(answer.image.get(), target, mode)) {
        shown = answer.live ? LUMIVANE_SOURCE_LIVE : LUMIVANE_SOURCE_NO_CAMERA;
      }
    }
  }
  if (shown == LUMIVANE_SOURCE_NOTHING) {
    Blacken(bitmap);
  } else {
    StayFirstAtExit(bitmap);
  }
  MakeOpaque(bitmap);
  return shown;
}

bool SharedSource::GetSize(std::uint32_t* width, std::uint32_t* height) {
  std::unique_lock guard(lock_);
  AwaitCamera(guard);
  if (filter_ == nullptr || exiting_) return false;
  const NSAutoreleasePool pool;
  const Answer answer = Ask();
  if (!answer.image) return false;
  const CGRect extent = answer.image->extent();
  const double w = std::ceil(extent.size.width);
  const double h = std::ceil(extent.size.height);
  if (!(w >= 1 && w <= LUMIVANE_SOURCE_MAX_SIDE && h >= 1 && h <= LUMIVANE_SOURCE_MAX_SIDE)) {
    return false;
  }
  *width = static_cast<std::uint32_t>(w);
  *height = static_cast<std::uint32_t>(h);
  return true;
}

std::string SharedSource::Error() {
  const std::lock_guard guard(lock_);
  return filter_ == nullptr ? error_ : std::string();
}

}  // namespace lumivane::source
