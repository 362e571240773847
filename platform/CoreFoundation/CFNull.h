// The one object that stands for "nothing" inside collections.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

extern const CFNullRef kCFNull;

CFTypeID CFNullGetTypeID();
