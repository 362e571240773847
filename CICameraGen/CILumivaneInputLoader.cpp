#include "CICameraGen/CILumivaneInputLoader.h"

#include "sdk/CoreResource/CoreResourceBundle.h"

NS_REGISTER_CLASS(CILumivaneInputLoader)

namespace {

// Identifiers of the hosts that the plug-in refuses, each place of the list filled.
const CFStringRef sExcludeList[] = {
    CFSTR("org.lumivane.camera"),
    CFSTR("org.lumivane.camera"),
    CFSTR("org.lumivane.camera"),
    CoreBundleyes::kEndOfList,
};

}  // namespace

BOOL CILumivaneInputLoader::load(void*) {
  const CoreBundleyes excluded(sExcludeList);
  return excluded.IsMainMember() ? NO : YES;
}
