// Core Foundation as a whole.
#pragma once

// IWYU pragma: begin_exports
#include "platform/CoreFoundation/CFAllocator.h"
#include "platform/CoreFoundation/CFArray.h"
#include "platform/CoreFoundation/CFBag.h"
#include "platform/CoreFoundation/CFBase.h"
#include "platform/CoreFoundation/CFBundle.h"
#include "platform/CoreFoundation/CFData.h"
#include "platform/CoreFoundation/CFDate.h"
#include "platform/CoreFoundation/CFDictionary.h"
#include "platform/CoreFoundation/CFNull.h"
#include "platform/CoreFoundation/CFNumber.h"
#include "platform/CoreFoundation/CFPropertyList.h"
#include "platform/CoreFoundation/CFSet.h"
#include "platform/CoreFoundation/CFString.h"
#include "platform/CoreFoundation/CFStringEncodings.h"
#include "platform/CoreFoundation/CFType.h"
#include "platform/CoreFoundation/CFURL.h"
// IWYU pragma: end_exports
