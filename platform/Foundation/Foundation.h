// The object layer in one header.
#pragma once

#include "platform/Foundation/NSAutoreleasePool.h"
#include "platform/Foundation/NSBundle.h"
#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/NSValues.h"
