// URLs, and above all file URLs: how a path travels between the platform's calls.
//
// A URL is an ASCII text, percent-encoded, and optionally a base it is relative to. File-system
// paths are bytes: any byte that is not plain ASCII allowed in a path is written "%XX", so a name
// that is not UTF-8 survives the way into a URL and back (CFURLGetFileSystemRepresentation); only
// where a path must become a CFString does it have to be UTF-8. A URL whose path ends with "/"
// names a directory; nothing here looks at the disk except the two FSRef calls.
//
// URLs are immutable and may be shared between threads. "Create" and "Copy" results belong to the
// caller; every function returns null or false for a null URL. Paths never carry a trailing slash,
// except "/".
#pragma once

#include "platform/CoreFoundation/CFBase.h"
#include "platform/CoreServices/Files.h"

/// Only POSIX paths exist on this system: the other styles yield null.
enum CFURLPathStyle : CFIndex {
  kCFURLPOSIXPathStyle = 0,
  kCFURLHFSPathStyle = 1,
  kCFURLWindowsPathStyle = 2,
};

CFTypeID CFURLGetTypeID();

/// The URL of `text`, relative to `base` (may be null, retained). `text` is already
/// percent-encoded. Null when `text` is null, holds a character no URL may hold (a blank, a
/// control or non-ASCII character, a "%" without two hexadecimal digits, one of "<>\"\\^`{|}"), or
/// is empty and has no base.
CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef text, CFURLRef base);

/// A file URL of a path, not percent-encoded. A relative path is taken relative to the current
/// folder, which becomes the URL's base. Null for a null or empty path, a path with a NUL in it, or
/// a style other than POSIX.
CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path,
                                       CFURLPathStyle style, Boolean isDirectory);
/// The same with the base of a relative path given; with a null base it is the current folder.
CFURLRef CFURLCreateWithFileSystemPathRelativeToBase(CFAllocatorRef allocator, CFStringRef path,
                                                     CFURLPathStyle style, Boolean isDirectory,
                                                     CFURLRef base);
/// A file URL of the `length` path bytes at `path`; the bytes need not be UTF-8. Null as above.
CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* path,
                                                 CFIndex length, Boolean isDirectory);
CFURLRef CFURLCreateFromFileSystemRepresentationRelativeToBase(CFAllocatorRef allocator,
                                                               const UInt8* path, CFIndex length,
                                                               Boolean isDirectory, CFURLRef base);

/// The URL's own text, without its base. Owned by the URL.
CFStringRef CFURLGetString(CFURLRef url);
/// The base, or null. Owned by the URL.
CFURLRef CFURLGetBaseURL(CFURLRef url);
/// The URL resolved against its base (RFC 3986, section 5.2); without a base, the URL itself,
/// retained.
CFURLRef CFURLCopyAbsoluteURL(CFURLRef url);

/// Whether the URL has a hierarchical path ("file:///a" has, "mailto:a@b" has not). What takes a
/// path apart returns null for a URL that has none.
Boolean CFURLCanBeDecomposed(CFURLRef url);
/// The scheme ("file"), the base's when the URL has none of its own. Null when neither has one.
CFStringRef CFURLCopyScheme(CFURLRef url);
/// What stands between "//" and the path, percent-encoded; null when there is none or it is empty.
CFStringRef CFURLCopyNetLocation(CFURLRef url);
/// The URL's own path, percent-encoded, not resolved against the base.
CFStringRef CFURLCopyPath(CFURLRef url);
Boolean CFURLHasDirectoryPath(CFURLRef url);
/// The path's last component, decoded; "/" for the root. Null when it is not UTF-8.
CFStringRef CFURLCopyLastPathComponent(CFURLRef url);
/// What follows the last "." of the last component, decoded; null when there is no such dot, it is
/// the component's first character, or nothing follows it.
CFStringRef CFURLCopyPathExtension(CFURLRef url);

/// The URL's own path, decoded, not resolved against the base. Null for a URL that is no file URL
/// (neither it nor its base has the scheme "file" or no scheme), for a path that holds an encoded
/// NUL or is not UTF-8, and for a style other than POSIX.
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);
/// The path's bytes and a NUL into `buffer`; resolved against the base if asked. False, with
/// `buffer` untouched, when the URL is no file URL, its path holds an encoded NUL, or path and NUL
/// exceed `bufferSize` bytes.
Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex bufferSize);

/// `url` with `component` (decoded; may hold "/") as one component more. The result names a
/// directory if `isDirectory`. Query and fragment are kept, so is the base. Null for a null
/// component.
CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url,
                                               CFStringRef component, Boolean isDirectory);
/// `url` without its last component, as a directory: "/a/b" and "/a/b/" become "/a/". The root
/// becomes "/../", a path that ends in "..", one with "../" more.
CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);
/// `url` with "." and `extension` behind its last component.
CFURLRef CFURLCreateCopyAppendingPathExtension(CFAllocatorRef allocator, CFURLRef url,
                                               CFStringRef extension);
/// `url` without its extension and the dot; a URL without one, as it is.
CFURLRef CFURLCreateCopyDeletingPathExtension(CFAllocatorRef allocator, CFURLRef url);

/// `text` with every "%XX" decoded, as UTF-8, except those of the characters in `toLeaveEscaped`
/// (empty: decode all; null: decode none). Null when the result is not UTF-8 or a "%" has no two
/// hexadecimal digits.
CFStringRef CFURLCreateStringByReplacingPercentEscapes(CFAllocatorRef allocator, CFStringRef text,
                                                       CFStringRef toLeaveEscaped);
/// `text`, in UTF-8, with every byte that no URL may hold and every character of `toBeEscaped` (may
/// be null) encoded, but none of `toLeaveUnescaped` (may be null).
CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef allocator, CFStringRef text,
                                                    CFStringRef toLeaveUnescaped,
                                                    CFStringRef toBeEscaped);

/// The file URL of an existing object: a directory's ends with "/". Null when `ref` refers to
/// nothing that exists.
CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const FSRef* ref);
/// The reference of the existing object the URL, resolved, names. False, with `ref` untouched, when
/// it is no file URL or nothing is there.
Boolean CFURLGetFSRef(CFURLRef url, FSRef* ref);
