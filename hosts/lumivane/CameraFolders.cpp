#include "hosts/lumivane/CameraFolders.h"

#include <filesystem>
#include <thread>

#include "CICameraGen/SharedCameraBundle.h"
#include "hosts/lumivane/ChildProcess.h"
#include "hosts/lumivane/HostText.h"
#include "hosts/lumivane/Progress.h"
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/CoreServices/Files.h"
#include "platform/CoreServices/Folders.h"

namespace fs = std::filesystem;

namespace lumivane {
namespace {

constexpr double kSecondsToWaitForAFrame = 0.5;
constexpr double kSecondsToWaitForAStart = 5;  // of a component that says that it is at it
constexpr double kSecondsBetweenTries = 0.01;
constexpr double kSecondsForATrial = 20;
constexpr std::uint32_t k2vuy = '2vuy';

void LookAt(CameraPlace& place) {
  std::error_code error;  // What cannot be looked at counts as not there; doctor shows the place.
  const fs::file_status own = fs::symlink_status(place.path, error);
  if (!fs::exists(own)) return;
  const fs::file_status target = fs::status(place.path, error);
  if (fs::is_symlink(own)) {
    place.linkTarget = fs::read_symlink(place.path, error).string();
    place.dangling = !fs::exists(target);
  }
  if (fs::is_directory(target)) {
    place.kind = CameraPlace::kBundle;
  } else if (fs::is_regular_file(target)) {
    place.kind = CameraPlace::kLibrary;
  } else {
    place.kind = CameraPlace::kOther;
  }
}

CameraPlace PlaceOf(const char* name, SInt16 domain, CFBaseDLL::Location location) {
  CameraPlace place;
  place.domain = name;
  place.location = location;
  place.folder = files::FolderPath(domain, kQuickTimeComponentsFolderType);
  std::error_code error;
  place.folderExists = fs::is_directory(place.folder, error);
  place.path = place.folder + "/" + Text(SharedCameraBundle::kCameraComponentFileName);
  LookAt(place);
  return place;
}

Held<CFBundleRef> CreateBundle(const std::string& path, std::string* error) {
  const Held<CFURLRef> url(CFURLCreateFromFileSystemRepresentation(
      kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
      static_cast<CFIndex>(path.size()), 0));
  Held<CFStringRef> text;
  Held<CFBundleRef> bundle(CFBundleCreateWithErrorText(url.get(), text.out()));
  if (!bundle) *error = Text(text.get());
  return bundle;
}

using CopyStatus = std::int32_t (*)(LumivaneCameraStatus*);

// Why a component has no frame, in its own words; empty when it does not tell.
std::string MessageOf(CopyStatus copyStatus) {
  LumivaneCameraStatus status = {};
  status.structSize = sizeof(status);
  return copyStatus != nullptr && copyStatus(&status) != 0 ? status.message : "";
}

}  // namespace

std::string ComponentName(CFBundleRef bundle) {
  std::string name =
      Text(CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("CFBundleDisplayName")));
  if (!name.empty()) return name;
  const std::string plain =
      Text(CFBundleGetValueForInfoDictionaryKey(bundle, CFSTR("CFBundleName")));
  return plain.empty() ? SharedCameraBundle::kCameraComponentBaseName : plain;
}

std::array<CameraPlace, 3> CameraPlaces() {
  return {PlaceOf("user", kUserDomain, CFBaseDLL::kLocationUserComponents),
          PlaceOf("system", kSystemDomain, CFBaseDLL::kLocationSystemComponents),
          PlaceOf("local", kLocalDomain, CFBaseDLL::kLocationLocalComponents)};
}

bool HasEntry(const CameraPlace& place) {
  return place.kind != CameraPlace::kNothing || place.dangling;
}

bool CameraLoads(const CameraPlace& place, std::string* error) {
  const Held<CFBundleRef> bundle = CreateBundle(place.path, error);
  if (!bundle) return false;
  if (CFBundleIsExecutableLoaded(bundle.get())) return true;
  Held<CFStringRef> text;
  if (!CFBundleLoadExecutableWithErrorText(bundle.get(), text.out())) {
    *error = Text(text.get());
    return false;
  }
  CFBundleUnloadExecutable(bundle.get());
  return true;
}

CameraPlace LoadedPlace() {
  for (const CameraPlace& place : CameraPlaces()) {
    std::string error;
    if (HasEntry(place) && CameraLoads(place, &error)) return place;
  }
  return {};
}

namespace {

CameraTrial TryHere(const CameraPlace& place) {
  CameraTrial trial;
  const Held<CFBundleRef> bundle = CreateBundle(place.path, &trial.error);
  if (!bundle) return trial;
  trial.created = true;
  trial.name = ComponentName(bundle.get());
  trial.version =
      Text(CFBundleGetValueForInfoDictionaryKey(bundle.get(), CFSTR("CFBundleShortVersionString")));

  // A bundle has one executable for the whole process: one that the filter uses stays loaded.
  const bool inUse = CFBundleIsExecutableLoaded(bundle.get());
  Held<CFStringRef> text;
  if (!CFBundleLoadExecutableWithErrorText(bundle.get(), text.out())) {
    trial.error = Text(text.get());
    return trial;
  }
  trial.loaded = true;
  using ReadBuffer = int (*)(tagSHARED_CAMERA_BUFFER*);
  const ReadBuffer readBuffer = reinterpret_cast<ReadBuffer>(CFBundleGetFunctionPointerForName(
      bundle.get(), SharedCameraBundle::kCameraComponentFunction2));
  trial.hasEntryPoint = readBuffer != nullptr;
  if (!trial.hasEntryPoint) {
    trial.error = "it exports no function " + Text(SharedCameraBundle::kCameraComponentFunction2);
  } else {
    const CopyStatus copyStatus = reinterpret_cast<CopyStatus>(
        CFBundleGetFunctionPointerForName(bundle.get(), CFSTR(LUMIVANE_CAMERA_STATUS_FUNCTION)));
    const double start = MonotonicSeconds();
    std::string firstWord;
    do {
      tagSHARED_CAMERA_BUFFER record{};
      record.structSize = sizeof(record);
      if (readBuffer(&record) != 0 && record.frameBufferPtr != 0) {
        trial.hasFrame = true;
        trial.width = record.frameWidth;
        trial.height = record.frameHeight;
        trial.pixelFormat = record.pixelFormat == k2vuy ? "2vuy" : "ARGB";
        break;
      }
      std::this_thread::sleep_for(std::chrono::duration<double>(kSecondsBetweenTries));
      // What a component says at first is that it tries; what it says then is what came of it.
      const std::string word = MessageOf(copyStatus);
      if (firstWord.empty()) firstWord = word;
      if (word != firstWord) trial.error = word;
      if (!trial.error.empty()) break;
    } while (MonotonicSeconds() <
             start + (firstWord.empty() ? kSecondsToWaitForAFrame : kSecondsToWaitForAStart));
    if (!trial.hasFrame && trial.error.empty())
      trial.error = firstWord.empty() ? "it offered no frame within half a second" : firstWord;
    if (trial.hasFrame) trial.error.clear();
  }
  if (!inUse) CFBundleUnloadExecutable(bundle.get());
  return trial;
}

std::string ToText(const CameraTrial& trial) {
  return nlohmann::json{{"created", trial.created},
                        {"loaded", trial.loaded},
                        {"hasEntryPoint", trial.hasEntryPoint},
                        {"hasFrame", trial.hasFrame},
                        {"error", trial.error},
                        {"name", trial.name},
                        {"version", trial.version},
                        {"width", trial.width},
                        {"height", trial.height},
                        {"pixelFormat", trial.pixelFormat}}
      .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

CameraTrial FromText(const std::string& text) {
  const nlohmann::json values = nlohmann::json::parse(text);
  CameraTrial trial;
  trial.created = values["created"];
  trial.loaded = values["loaded"];
  trial.hasEntryPoint = values["hasEntryPoint"];
  trial.hasFrame = values["hasFrame"];
  trial.error = values["error"];
  trial.name = values["name"];
  trial.version = values["version"];
  trial.width = values["width"];
  trial.height = values["height"];
  trial.pixelFormat = values["pixelFormat"];
  return trial;
}

}  // namespace

CameraTrial TryCamera(const CameraPlace& place) {
  std::string error;
  const Held<CFBundleRef> bundle = CreateBundle(place.path, &error);
  const bool inUse = bundle && CFBundleIsExecutableLoaded(bundle.get());
  if (inUse || !HasOneThread()) return TryHere(place);
  const std::optional<std::string> text =
      DoInChild([&place] { return ToText(TryHere(place)); }, kSecondsForATrial, &error);
  if (text) return FromText(*text);
  CameraTrial trial;
  trial.created = true;
  trial.fatal = true;
  trial.error = error;
  return trial;
}

CFBundleRef LoadedCamera() {
  const CFArrayRef bundles = CFBundleGetAllBundles();
  for (CFIndex i = 0; i < CFArrayGetCount(bundles); ++i) {
    const auto bundle =
        static_cast<CFBundleRef>(const_cast<void*>(CFArrayGetValueAtIndex(bundles, i)));
    if (bundle == CFBundleGetMainBundle() || !CFBundleIsExecutableLoaded(bundle)) continue;
    // Nothing else has such a function.
    if (CFBundleGetFunctionPointerForName(bundle, SharedCameraBundle::kCameraComponentFunction2)) {
      return bundle;
    }
  }
  return nullptr;
}

std::string CurrentCameraName() {
  if (const CFBundleRef loaded = LoadedCamera()) return ComponentName(loaded);
  for (const CameraPlace& place : CameraPlaces()) {
    if (place.kind == CameraPlace::kNothing) continue;
    std::string error;
    const Held<CFBundleRef> bundle = CreateBundle(place.path, &error);
    if (bundle) return ComponentName(bundle.get());
  }
  return {};
}

}  // namespace lumivane
