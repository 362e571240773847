// Constant objects of the platform (truth values, null, ...), for its own sources.
//
// Other modules' static initialisers, and those of this library's other sources, use the constants.
// Each therefore lies in static storage whose address the loader fills in, and is constructed there
// before the library's ordinary initialisers run. None is ever destroyed.
#pragma once

#include "platform/CoreFoundation/CFRuntime.h"

#define CF_CONSTANT_OBJECTS __attribute__((init_priority(200)))
