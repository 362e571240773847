// A loadable module with classes of its own.
#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/Foundation.h"

namespace {

class NSTestShared : public NSObject {
 public:
  NSTestShared() : name_(CFSTR(LUMIVANE_TEST_NAME)) { exposeVariable("name", &name_); }

 private:
  NSString* name_;
};

class LUMIVANE_TEST_CLASS : public NSTestShared {};

}  // namespace

NS_REGISTER_CLASS(NSTestShared)
#define REGISTER_EXPANDED(ClassName) NS_REGISTER_CLASS(ClassName)
REGISTER_EXPANDED(LUMIVANE_TEST_CLASS)
