// Operations on every object, whatever its type.
//
// Null is tolerated: CFRetain(null) is null, CFRelease(null) does nothing, a null's retain count,
// type identifier and hash are 0, its description is null, and it equals null alone. There is
// nothing to give back or to describe, so no fault is hidden by that.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

/// Adds a reference and returns the same object. Any thread may call it.
CFTypeRef CFRetain(CFTypeRef object);
/// Gives back a reference; the last one ends the object. Any thread may call it.
void CFRelease(CFTypeRef object);
/// The references held now; 1 for ever on constants, which nobody's release ends.
CFIndex CFGetRetainCount(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
/// Same object, or same type and same value. A number never equals a Boolean.
Boolean CFEqual(CFTypeRef a, CFTypeRef b);
/// Equal objects have equal hashes.
CFHashCode CFHash(CFTypeRef object);
/// A text for people and logs ("<CFNumber 0x... [0x0]>{value = +3, type = kCFNumberSInt32Type}"),
/// owned by the caller.
CFStringRef CFCopyDescription(CFTypeRef object);
/// The class name of a type identifier ("CFString"), owned by the caller; "Not A Type" for an
/// identifier that nothing bears.
CFStringRef CFCopyTypeIDDescription(CFTypeID typeID);
/// Writes the description and a line end to standard error.
void CFShow(CFTypeRef object);
