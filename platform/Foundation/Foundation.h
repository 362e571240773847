// The object layer, and Core Foundation under it, in one header.
#pragma once

#include "platform/CoreFoundation/CoreFoundation.h"
#include "platform/Foundation/NSAutoreleasePool.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/NSValues.h"
