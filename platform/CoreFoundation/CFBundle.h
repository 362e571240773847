// Bundles: folders, or plain shared libraries, that hold loadable code and its resources.
//
// A bundle is one of
//   NAME.ext/Contents/{Info.plist, Linux/EXECUTABLE, Resources/, Frameworks/, PlugIns/,
//                      SharedFrameworks/}
//   NAME.ext/{EXECUTABLE, Info.plist or Resources/Info.plist, Resources/}   (frameworks)
//   NAME.ext                                 a shared library whose file bears the bundle's name
// where EXECUTABLE is the Info.plist's CFBundleExecutable or, without one, NAME; for a link, the
// name may also be that of what it points to. Any of these may be a symbolic link.
//
// Creating a bundle finds its parts; loading it maps its executable and runs the initialisers in
// it. The two fail apart, and neither does the other's work. What lies in the file at the
// executable's place is the loader's business alone.
//
// Creation always looks at the disk as it is now. While a bundle object is alive and nothing has
// changed on disk (the same folder, Info.plist and executable file, neither written to since), it
// is the only one of its path, and creating it again returns it, retained. Once one of them was
// replaced, repaired or removed, creation makes a new object for what is there now, or fails; the
// old object goes on with the code it has mapped until it is unloaded. Code of the new object is
// the new file's, even while the old one's is still mapped.
//
// All functions may be called from any thread; who loads, unloads and calls into the same bundle
// from several threads keeps the order himself. "Create" and "Copy" results belong to the caller,
// "Get" results to the bundle. Every function takes a null bundle and returns null or false.
#pragma once

#include "platform/CoreFoundation/CFBase.h"

CFTypeID CFBundleGetTypeID();

/// The bundle at a file URL. Null when nothing is there, or there is nothing in it that can be its
/// executable: no regular file at its place.
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef bundleURL);
/// The same; on failure `*errorText` (may be null) receives a new text that says what is missing
/// where, otherwise null.
CFBundleRef CFBundleCreateWithErrorText(CFURLRef bundleURL, CFStringRef* errorText);

/// The running program's bundle; lives as long as the process. A program at X.ext/Contents/Linux/
/// is the executable of X.ext, from wherever and through whatever link it was started. Any other
/// program is bare: its bundle has an executable URL, and the folder that holds it as its URL, but
/// no identifier, no resources and none of the folders below.
CFBundleRef CFBundleGetMainBundle();
/// A live bundle with this identifier, the main bundle first, or null.
CFBundleRef CFBundleGetBundleWithIdentifier(CFStringRef identifier);
/// All live bundles, the main bundle first. The array is valid until the next call and keeps no
/// bundle alive.
CFArrayRef CFBundleGetAllBundles();
/// The bundle whose loaded executable holds `address` (of a function or static object), even while
/// its initialisers run; else the main bundle. Never null; the result belongs to the caller. This
/// is how a class finds the bundle it came from: ask with the address of something in its code.
CFBundleRef CFBundleCopyBundleForCodeAddress(const void* address);

/// The Info.plist's dictionary; empty without a readable Info.plist. Read when the bundle is
/// created.
CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle);
CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key);
/// CFBundleIdentifier, if it is a string.
CFStringRef CFBundleGetIdentifier(CFBundleRef bundle);
/// Why the Info.plist that is there could not be read, as a new text; null when nothing is wrong.
CFStringRef CFBundleCopyInfoDictionaryErrorText(CFBundleRef bundle);

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
CFURLRef CFBundleCopyExecutableURL(CFBundleRef bundle);
/// The folders of a folder bundle, absolute, whether they exist or not; null for plain libraries
/// and bare programs. Support files: Contents.
CFURLRef CFBundleCopySupportFilesDirectoryURL(CFBundleRef bundle);
CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle);
CFURLRef CFBundleCopyPrivateFrameworksURL(CFBundleRef bundle);
CFURLRef CFBundleCopySharedFrameworksURL(CFBundleRef bundle);
CFURLRef CFBundleCopyBuiltInPlugInsURL(CFBundleRef bundle);

/// The resource `name`.`type` (type null or empty: `name` as it is) in the resources folder, or its
/// subfolder `subDirectory` (may be null), as it is on disk now. Looked for first in the folder
/// itself, then in its language folders: those of the user's language (LC_ALL, LC_MESSAGES, LANG),
/// of the Info.plist's CFBundleDevelopmentRegion, then en.lproj, English.lproj, Base.lproj. Null
/// when there is none.
CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type,
                                 CFStringRef subDirectory);
/// All resources of `type` (null or empty: all), by name in ascending byte order; those of language
/// folders stand behind the others, and only the first language's of equal names. Never null for a
/// bundle that is not; the caller owns the array.
CFArrayRef CFBundleCopyResourceURLsOfType(CFBundleRef bundle, CFStringRef type,
                                          CFStringRef subDirectory);

/// Maps the executable, its symbols for itself alone, and runs its initialisers. True when it is
/// loaded, also if it was before; the main bundle always is.
Boolean CFBundleLoadExecutable(CFBundleRef bundle);
/// The same; on failure `*errorText` (may be null) receives the loader's reason as a new text,
/// otherwise null.
Boolean CFBundleLoadExecutableWithErrorText(CFBundleRef bundle, CFStringRef* errorText);
Boolean CFBundleIsExecutableLoaded(CFBundleRef bundle);
/// Runs the executable's finalisers and unmaps it, for everybody who holds the bundle; it may be
/// loaded again. Does nothing when it is not loaded and for the main bundle. The last release of a
/// loaded bundle unloads it too.
///
/// An executable may define `extern "C" void LumivaneBundle_WillUnload()`. It is called before its
/// last unloading through bundles, on the thread that unloads and with no lock held. Finalisers run
/// with the dynamic loader's lock held, and a thread that is just loading or unloading something
/// (drivers and media libraries do) waits for that lock: who joins such a thread in a finaliser
/// waits for ever. It is joined here instead.
void CFBundleUnloadExecutable(CFBundleRef bundle);
/// The function or object of that name in the executable or in what it is linked against; in the
/// whole program for the main bundle. Loads the executable if it is not. Null when the name is not
/// found or nothing could be loaded.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, CFStringRef name);
void* CFBundleGetDataPointerForName(CFBundleRef bundle, CFStringRef name);
