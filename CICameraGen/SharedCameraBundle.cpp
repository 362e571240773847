#include "CICameraGen/SharedCameraBundle.h"

#include "sdk/CoreX/CoreMachDebugLog.h"
#include "sdk/CoreX/CoreUnixPath.h"
#include "sdk/CoreX/CoreUserFolder.h"

// Built in this order: the component's object takes the names.
const CFStringRef SharedCameraBundle::kCameraComponentFileName = CFSTR(LUMIVANE_CAMERA_BUNDLE_NAME);
const char* const SharedCameraBundle::kCameraComponentBaseName = LUMIVANE_CAMERA_EXECUTABLE_NAME;
const CFStringRef SharedCameraBundle::kCameraComponentFunction = CFSTR(LUMIVANE_CAMERA_FUNCTION);
const CFStringRef SharedCameraBundle::kCameraComponentFunction0 = CFSTR(LUMIVANE_CAMERA_FUNCTION0);
const CFStringRef SharedCameraBundle::kCameraComponentFunction1 = CFSTR(LUMIVANE_CAMERA_FUNCTION1);
const CFStringRef SharedCameraBundle::kCameraComponentFunction2 = CFSTR(LUMIVANE_CAMERA_FUNCTION2);

SharedCameraBundle SharedCameraBundle::sComponent(kCameraComponentFileName,
                                                  kCameraComponentBaseName);

SharedCameraBundle::SharedCameraBundle(CFStringRef fileName, const char* baseName)
    : CoreResourceBundle(fileName, baseName) {}

SharedCameraBundle::~SharedCameraBundle() = default;

void SharedCameraBundle::Unload() {
  mDLL.Unload();
}

bool SharedCameraBundle::IsLoadedPrefix() {
  if (mDLL.IsLoaded()) return true;
  mDLL.SetBundleName(mFileName);
  mDLL.LoadQuickTimeComponentBundle(nullptr);
  return mDLL.IsLoaded();
}

int SharedCameraBundle::__GetCurrentReadBuffer(tagSHARED_CAMERA_BUFFER* camera) {
  if (!IsLoadedPrefix()) return 0;
  return mDLL.FnCall<std::int32_t(tagSHARED_CAMERA_BUFFER*)>(kCameraComponentFunction2, camera);
}

bool SharedCameraBundle::AlreadyInstalledSomewhere() const {
  CoreMachDebugLogNull("SharedCameraBundle::AlreadyInstalledSomewhere\n");
  // The reference itself is of no interest: asking for it makes the user's folder.
  const CoreUserFolder userComponents(kQuickTimeComponentsFolderType, kUserDomain);
  FSRef ref = {};
  userComponents.GetFileRef(ref);

  CFURLRef const userURL =
      CFBaseDLL::URLOfNameInLocation(mFileName, CFBaseDLL::kLocationUserComponents);
  CFURLRef const systemURL =
      CFBaseDLL::URLOfNameInLocation(mFileName, CFBaseDLL::kLocationSystemComponents);
  const CoreUnixPath userPath(userURL);
  const CoreUnixPath systemPath(systemURL);
  if (userURL != nullptr) CFRelease(userURL);
  if (systemURL != nullptr) CFRelease(systemURL);
  return CoreUnixPath::FileExistsRead(userPath) || CoreUnixPath::FileExistsRead(systemPath);
}

/// Called before the plug-in is unloaded. Its static objects would unload the component as well,
/// but while the dynamic loader is locked: too late for a component that has threads to join.
extern "C" __attribute__((visibility("default"))) void LumivaneBundle_WillUnload() {
  SharedCameraBundle::sComponent.Unload();
}
