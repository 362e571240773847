// What the movie toolbox's callers share: the type of a media and the last error.
#pragma once

#include "platform/CoreServices/MacTypes.h"

/// A track's media. Opaque: whoever makes one knows what is in it.
struct MediaType;
using Media = MediaType**;

/// The error of the movie toolbox's last call, in any thread; 0 when it succeeded or there was
/// none.
OSErr GetMoviesError();
/// For functions of the movie toolbox: each records how it ended.
void SetMoviesError(OSErr error);
